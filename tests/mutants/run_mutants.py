#!/usr/bin/env python3
"""Mutation check: what would the tests notice?

Takes the mutants of list.txt and drawn.txt one by one: applies it to a copy of the tree in build/mutants/tree, builds
the one test program, runs it, and puts the source back. A mutant that fails the tests, crashes them or keeps them longer than a
minute ("hung") is caught; one that passes has survived, and names a check that is missing. One that the tree has no
place for, or that does not compile, is not applicable.

Verdicts are kept in build/mutants/verdicts by a hash of the mutant, the source's content and the suite's test sources,
so that a run that was stopped goes on where it was. Of what else a verdict depends on nothing is known here: delete
the file to ask anew.
"""
import argparse
import fcntl
import hashlib
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
WORK = ROOT / "build/mutants"
TREE = WORK / "tree"
OUTSIDE = ("tests/", "fuzz/", "bench/", "platform/")
SECONDS = 60
CAUGHT, HUNG, SURVIVED, EQUIVALENT, STALE = "caught", "hung", "survived", "equivalent", "not applicable"


class Mutant:
    """A line of a list: FILE SUITE[+SUITE][:FILTER] CONTEXT[[OLD => NEW]]CONTEXT; an equivalent one with ## REASON."""

    def __init__(self, line):
        self.line, _, self.reason = (part.strip() for part in line.partition(" ## "))
        self.name, suite, text = self.line.split(maxsplit=2)
        suites, _, self.filter = suite.partition(":")
        self.suites = suites.split("+")
        marked = re.fullmatch(r"(.*)\[\[(.*) => (.*?)\]\](.*)", text)
        if marked is None:
            sys.exit(f"mutants: no [[OLD => NEW]] in: {line}")
        self.before, self.old, self.new, self.after = marked.groups()

    def find(self, files):
        """The file and its text with and without the mutant; None where the list no longer fits the tree."""
        named = [file for file in files if file == self.name or file.endswith("/" + self.name)]
        # Code that has left its file is sought in the whole product: it must be found in one place.
        product = [file for file in files if file.endswith((".cpp", ".h")) and not file.startswith(OUTSIDE)]
        return self.find_in(named) or self.find_in(product)

    def find_in(self, files):
        # Lines may be broken elsewhere by now.
        pieces = [r"\s+".join(map(re.escape, re.split(r"\s+", part))) for part in (self.before, self.old, self.after)]
        pattern = re.compile("({})({})({})".format(*pieces))
        texts = {file: (ROOT / file).read_text() for file in files}
        found = [(file, match) for file, text in texts.items() for match in pattern.finditer(text)]
        if len(found) != 1:
            return None
        (file, match), text = found[0], texts[found[0][0]]
        return file, text, text[:match.start(2)] + self.new + text[match.end(2):]

    def key(self, text, files):
        folders = (*(f"tests/{suite}/" for suite in self.suites), "tests/harness/")
        tests = [file for file in files if file.startswith(folders)]
        parts = [self.line.split(maxsplit=1)[1], text] + [(ROOT / file).read_text(errors="replace") for file in tests]
        # Files that only move to another folder keep their verdicts.
        parts = [re.sub(r"(?m)^#include.*\n", "", part) for part in parts]
        return hashlib.sha256("\0".join(parts).encode()).hexdigest()[:24]


def tracked_files():
    command = ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
    names = subprocess.run(command, cwd=ROOT, check=True, capture_output=True, text=True).stdout.split("\0")
    return sorted(name for name in set(names) if name and (ROOT / name).is_file())


def copy_tree(files):
    """Writes only what differs, so that little is built again; a mutant left by a run that was killed goes too."""
    for name in files:
        source, copy = ROOT / name, TREE / name
        if copy.is_file() and copy.read_bytes() == source.read_bytes():
            continue
        copy.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(source, copy)
        copy.chmod(source.stat().st_mode)
    wanted = set(files)
    for path in TREE.rglob("*"):
        name = str(path.relative_to(TREE))
        if path.is_file() and not name.startswith("build/") and name not in wanted:
            path.unlink()


def run(command, seconds=None, **options):
    """The exit status; None when it took too long. Its output goes to build/mutants/log."""
    with open(WORK / "log", "w") as log:
        process = subprocess.Popen(command, cwd=TREE, stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT,
                                   start_new_session=True, **options)
        try:
            return process.wait(seconds)
        except BaseException as end:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            if isinstance(end, subprocess.TimeoutExpired):
                return None
            raise


def build(suite):
    # Mutants are of no use to a compiler cache.
    return run(["cmake", "--build", "--preset", "release", "--target", "test_" + suite],
               env={**os.environ, "CCACHE_READONLY": "1"}) == 0


class Suites:
    """Runs test programs as CTest would, each once without a mutant to begin with."""

    def __init__(self):
        self.environments = {}
        self.spent = {}  # seconds, without a mutant

    def environment(self, suite):
        command = ["ctest", "--preset", "release", "--show-only=json-v1", "-R", f"^{suite}\\."]
        shown = json.loads(subprocess.run(command, cwd=TREE, check=True, capture_output=True, text=True).stdout)
        properties = {item["name"]: item["value"] for test in shown["tests"][:1] for item in test["properties"]}
        return dict(pair.split("=", 1) for pair in properties.get("ENVIRONMENT", []))

    def run(self, suite, tests, seconds):
        program = TREE / "build/release/bin" / ("test_" + suite)
        command = [program, "--gtest_fail_fast", "--gtest_brief=1", "--gtest_filter=" + (tests or "*")]
        return run(command, seconds, env={**os.environ, **self.environments[suite]})

    def prepare(self, suite, tests):
        """A suite that fails without a mutant says nothing about one."""
        if (suite, tests) in self.spent:
            return
        if not build(suite):
            sys.exit(f"mutants: test_{suite} does not build, see {WORK}/log")
        if suite not in self.environments:
            self.environments[suite] = self.environment(suite)
        start = time.monotonic()
        status = self.run(suite, tests, 10 * SECONDS)
        spent = time.monotonic() - start
        if status != 0 or "] 0 tests" in (WORK / "log").read_text(errors="replace"):
            sys.exit(f"mutants: test_{suite} {tests}: fails, hangs or has no tests, see {WORK}/log")
        print(f"{'passes':14} {spent:5.1f} s  test_{suite} {tests}, without a mutant", flush=True)
        self.spent[suite, tests] = spent

    def judge(self, mutant, file, mutated):
        """One suite after the other, until one notices."""
        for suite in mutant.suites:
            self.prepare(suite, mutant.filter)
        pristine = (TREE / file).read_text()
        try:
            (TREE / file).write_text(mutated)
            for suite in mutant.suites:
                if not build(suite):
                    return STALE
                # A machine that is busy with other things takes its time.
                status = self.run(suite, mutant.filter, max(SECONDS, 4 * self.spent[suite, mutant.filter]))
                if status != 0:
                    return HUNG if status is None else CAUGHT
            return SURVIVED
        finally:
            (TREE / file).write_text(pristine)


def main():
    options = argparse.ArgumentParser(prog="./run mutants", description="Which faults would the tests notice?")
    options.add_argument("--sample", type=int, metavar="N", help="N of the mutants, drawn at random")
    options.add_argument("--seed", type=int, default=1, help="of the sample (default: 1)")
    options.add_argument("--only", metavar="PATTERN", help="mutants whose line matches the regular expression")
    options.add_argument("--list", action="store_true", help="show the mutants and what is known of them, run nothing")
    args = options.parse_args()

    lists = [Path(__file__).parent / name for name in ("list.txt", "drawn.txt")]
    lines = [line for path in lists for line in path.read_text().splitlines()]
    mutants = [Mutant(line) for line in lines if line.strip() and not line.startswith("#")]
    if args.only:
        mutants = [mutant for mutant in mutants if re.search(args.only, mutant.line)]
    if args.sample is not None:
        chosen = random.Random(args.seed).sample(range(len(mutants)), min(args.sample, len(mutants)))
        mutants = [mutants[i] for i in sorted(chosen)]

    WORK.mkdir(parents=True, exist_ok=True)
    lock = open(WORK / "lock", "w")
    if not args.list:
        try:
            fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            sys.exit("mutants: another run is at work in " + str(WORK))
    files = tracked_files()
    kept = WORK / "verdicts"
    verdicts = dict(line.split(" ", 1) for line in kept.read_text().splitlines()) if kept.exists() else {}

    if not args.list:
        os.nice(10)
        copy_tree(files)
        if run(["cmake", "--preset", "release"]) != 0:
            sys.exit(f"mutants: cannot be configured, see {WORK}/log")
    suites = Suites()
    counts = dict.fromkeys((CAUGHT, HUNG, SURVIVED, EQUIVALENT, STALE), 0)
    for mutant in mutants:
        start = time.monotonic()
        place = mutant.find(files)
        key = mutant.key(place[1], files) if place else ""
        if mutant.reason:
            verdict = EQUIVALENT
        elif not place:
            verdict = STALE
        elif key in verdicts or args.list:
            verdict = verdicts.get(key, "unknown")
        else:
            verdict = suites.judge(mutant, place[0], place[2])
            with open(kept, "a") as out:
                out.write(f"{key} {verdict}\n")
        counts[verdict] = counts.get(verdict, 0) + 1
        print(f"{verdict:14} {time.monotonic() - start:5.1f} s  {mutant.line}", flush=True)
    caught = counts[CAUGHT] + counts[HUNG]
    judged = caught + counts[SURVIVED]
    print(", ".join(f"{count} {verdict}" for verdict, count in counts.items()) +
          (f": {100 * caught / judged:.1f} % of {judged} caught" if judged else ""))
    return 1 if counts[STALE] else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit("\nmutants: stopped; the next run goes on from here")
