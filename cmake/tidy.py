#!/usr/bin/env python3
"""clang-tidy over the files named on standard input: tidy.py BUILD_FOLDER [OPTION OF CLANG-TIDY...]

A file that was found clean is not looked at again until its text after the preprocessor, comments with it, the rules or
the options differ; BUILD_FOLDER/clean holds the hashes. One file a process: the analyser's va_list check sees false
faults in the second file of a process, and it does not look into files that are included.
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


def preprocessed(entry):
    words = shlex.split(entry["command"])
    if "ccache" in os.path.basename(words[0]):
        words.pop(0)
    at = words.index("-o")
    del words[at:at + 2]
    words[words.index("-c")] = "-E"
    return subprocess.run([*words, "-C"], cwd=entry["directory"], check=True, capture_output=True).stdout


def check(name, entry, options, rules, clean):
    """What is wrong with the file, or nothing; and its hash."""
    parts = [rules, repr(options).encode(), Path(name).read_bytes(), preprocessed(entry)]
    key = hashlib.sha256(b"\0".join(hashlib.sha256(part).digest() for part in parts)).hexdigest()
    if key in clean:
        return "", key
    done = subprocess.run([PROGRAM, "-p", sys.argv[1], "--quiet", *options, name], capture_output=True, text=True)
    # The count of warnings in other people's headers goes to standard error.
    return (done.stdout + (done.stderr if done.returncode else "")).strip(), key


def main():
    build, options = Path(sys.argv[1]), sys.argv[2:]
    entries = {os.path.relpath(entry["file"]): entry
               for entry in json.loads((build / "compile_commands.json").read_text())}
    version = subprocess.run([PROGRAM, "--version"], check=True, capture_output=True).stdout
    rules = Path(".clang-tidy").read_bytes() + version
    kept = build / "clean"
    clean = set(kept.read_text().split()) if kept.exists() else set()
    names = sys.stdin.read().split()
    if unknown := [name for name in names if name not in entries]:
        sys.exit("tidy: not configured in " + str(build) + ": " + " ".join(unknown))
    failed = 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool, kept.open("a") as out:
        runs = [pool.submit(check, name, entries[name], options, rules, clean) for name in names]
        for run in concurrent.futures.as_completed(runs):
            findings, key = run.result()
            if findings:
                failed += 1
                print(findings, flush=True)
            elif key not in clean:
                out.write(key + "\n")
                out.flush()
    print(f"tidy: {len(names)} files, {failed} with findings")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
