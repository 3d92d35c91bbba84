#!/usr/bin/env bash
# check_install.sh CMAKE BUILD: what is installed from BUILD finds its libraries and the tuning file that comes with it.
set -euo pipefail
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cd /
"$1" --install "$2" --prefix "$prefix" >/dev/null
for tool in eis-host eis-lab; do "$prefix/bin/$tool" --help >/dev/null; done
"$prefix/bin/eis-host" tuning show "$prefix/share/kelvane_eis_ap/multiframe.xml" >/dev/null
