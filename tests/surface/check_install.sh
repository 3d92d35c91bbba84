#!/usr/bin/env bash
# check_install.sh CMAKE BUILD SOURCE: what is installed from BUILD serves a host that knows the prefix alone. Its tools find
# their libraries and the tuning file that comes with them; each example builds by pkg-config as C99 and by
# find_package as C++17, and shows what it says.
set -euo pipefail
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cd /
"$1" --install "$2" --prefix "$prefix" >/dev/null
if [[ -e "$prefix/bin/eis-lab" ]]; then
    for tool in eis-host eis-lab; do "$prefix/bin/$tool" --help >/dev/null; done
    "$prefix/bin/eis-host" tuning show "$prefix/share/kelvane_eis_ap/multiframe.xml" >/dev/null
    "$prefix/bin/eis-host" tables fast nrTH=127 --plot "$prefix/curves.png" >/dev/null
fi

export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
cat >"$prefix/CMakeLists.txt" <<'TEXT'
cmake_minimum_required(VERSION 3.25)
project(hosts LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 17)
find_package(kelvane_eis_ap 1 REQUIRED)
TEXT
for example in "$3"/examples/*.c; do
    name=$(basename "$example" .c)
    # shellcheck disable=SC2046
    cc -std=c99 -Wall -Wextra -pedantic-errors -Werror "$example" -o "$prefix/$name" \
        $(pkg-config --cflags --libs kelvane_eis_ap) -Wl,-rpath,"$prefix/lib"
    cp "$example" "$prefix/$name.cpp"
    echo "add_executable($name $name.cpp) target_link_libraries($name kelvane::eis_ap)" | sed 's/) /)\n/' \
        >>"$prefix/CMakeLists.txt"
done
cp "$3"/examples/*.h "$prefix"
"$1" -S "$prefix" -B "$prefix/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Werror" >/dev/null
"$1" --build "$prefix/build" >/dev/null
for example in "$3"/examples/*.c; do
    name=$(basename "$example" .c)
    "$prefix/$name" "$prefix/"
    "$prefix/build/$name" "$prefix/"
done
# A call that the examples' host recorded plays again.
if [[ -e "$prefix/bin/eis-host" ]]; then "$prefix/bin/eis-host" replay "$prefix/scale.eisc"; fi
