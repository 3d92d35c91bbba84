#!/usr/bin/env python3
"""clang-tidy over the files named on standard input: tidy.py BUILD_FOLDER [OPTION OF CLANG-TIDY...]

Headers are most of the work, so the files of a folder are looked at together, by a source that includes them, but for
those that include themselves once a vector unit; and checks pass over the system's headers, see tidy_scope.cpp. A group
that was found clean is not looked at again until its text after the preprocessor, comments with it, the rules or the
options differ; BUILD_FOLDER/clean holds the hashes. One source a process: the analyser's va_list check sees false faults
in the second one.
"""
import concurrent.futures
import hashlib
import json
import os
import shlex
import subprocess
import sys
from pathlib import Path

PROGRAM = "clang-tidy-14"
HEADERS = "/usr/lib/llvm-14/include"
PLUGIN = Path(__file__).with_name("tidy_scope.cpp")


class Group:
    """Files that are looked at together, compiled alike."""

    def __init__(self, words, directory):
        self.words, self.directory, self.names, self.source = words, directory, [], ""

    def write(self, folder, number):
        """The analyser looks into what a source includes only where "UnifiedSource" is in the source's path."""
        self.source = os.path.abspath(self.names[0])
        if len(self.names) > 1:
            self.source = str(folder / f"UnifiedSource{number}.cpp")
            Path(self.source).write_text("".join(f'#include "{os.path.abspath(name)}"\n' for name in self.names))
        return {"file": self.source, "directory": self.directory, "arguments": [*self.words, "-c", self.source]}

    def size(self):
        return sum(os.path.getsize(name) for name in self.names)

    def preprocessed(self):
        return subprocess.run([*self.words, "-E", "-C", self.source], cwd=self.directory, check=True,
                              capture_output=True).stdout


def groups_of(names, entries):
    groups = {}
    for name in names:
        words = shlex.split(entries[name]["command"])
        if "ccache" in os.path.basename(words[0]):
            words.pop(0)
        for option in ("-o", "-c"):
            at = words.index(option)
            del words[at:at + 2]
        alone = name if "#define HWY_TARGET_INCLUDE" in Path(name).read_text() else ""
        key = (os.path.dirname(name), alone, *words)
        groups.setdefault(key, Group(words, entries[name]["directory"])).names.append(name)
    return sorted(groups.values(), key=Group.size, reverse=True)


def built_plugin(build):
    """Built without run-time types, as the program that it extends."""
    plugin = build.absolute() / "tidy_scope.so"
    if not plugin.exists() or plugin.stat().st_mtime <= PLUGIN.stat().st_mtime:
        subprocess.run(["g++", "-std=c++17", "-fPIC", "-fno-rtti", "-shared", "-isystem", HEADERS, PLUGIN, "-o", plugin],
                       check=True)
    return plugin


def check(group, folder, plugin, options, rules, clean):
    """What is wrong with the group, or nothing; and its hash."""
    parts = [rules, repr(options).encode(), *(Path(name).read_bytes() for name in group.names), group.preprocessed()]
    key = hashlib.sha256(b"\0".join(hashlib.sha256(part).digest() for part in parts)).hexdigest()
    if key in clean:
        return "", key
    done = subprocess.run([PROGRAM, f"--load={plugin}", "-p", folder, "--quiet", *options, group.source],
                          capture_output=True, text=True)
    # The count of warnings in other people's headers goes to standard error.
    return (done.stdout + (done.stderr if done.returncode else "")).strip(), key


def main():
    build, options = Path(sys.argv[1]), sys.argv[2:]
    entries = {os.path.relpath(entry["file"]): entry
               for entry in json.loads((build / "compile_commands.json").read_text())}
    version = subprocess.run([PROGRAM, "--version"], check=True, capture_output=True).stdout
    rules = Path(".clang-tidy").read_bytes() + version + PLUGIN.read_bytes()
    kept = build / "clean"
    clean = set(kept.read_text().split()) if kept.exists() else set()
    names = sys.stdin.read().split()
    if unknown := [name for name in names if name not in entries]:
        sys.exit("tidy: not configured in " + str(build) + ": " + " ".join(unknown))
    folder = (build / "sources").absolute()
    folder.mkdir(exist_ok=True)
    groups = groups_of(names, entries)
    (folder / "compile_commands.json").write_text(json.dumps([group.write(folder, i) for i, group in enumerate(groups)]))
    plugin = built_plugin(build)
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool, kept.open("a") as out:
        runs = [pool.submit(check, group, folder, plugin, options, rules, clean) for group in groups]
        for run in concurrent.futures.as_completed(runs):
            findings, key = run.result()
            if findings:
                failed += 1
                print(findings, flush=True)
            elif key not in clean:
                out.write(key + "\n")
                out.flush()
    print(f"tidy: {len(names)} files in {len(groups)} groups, {failed} with findings")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
