#!/usr/bin/env python3
"""Runs the fuzz targets of build/fuzz, as many at a time as there are cores.

run_targets.py SECONDS: all together for about so long, from the kept corpora, which stay as they are.
run_targets.py --matrix SECONDS [TARGET...]: each target for so long, from where the last time ended: corpora grow in
build/fuzz/corpus, and the table of docs/reliability.md adds the runs up.

A finding is left in build/fuzz/findings; exit 1 if there is one.
"""
import concurrent.futures
import datetime
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import threading

BINARIES = pathlib.Path("build/fuzz/bin")
GROWING = pathlib.Path("build/fuzz/corpus")
FINDINGS = pathlib.Path("build/fuzz/findings")
PAGE = pathlib.Path("docs/reliability.md")
COMMON = ["-timeout=10", "-rss_limit_mb=256", "-print_final_stats=1"]
XML = ["-dict=fuzz/xml.dict", "-max_len=4096"]
SETTINGS = ["-max_len=320", "-len_control=0"]  # most of what counts stands at the front
OPTIONS = {"reader": XML, "load": XML, "block": SETTINGS, "differential": SETTINGS, "bounded": ["-max_len=160"],
           "host_input": ["-dict=fuzz/y4m.dict", "-max_len=8192"]}
HEAD = "| Target | Runs | Edges covered | Corpus | Findings open |"
page_lock = threading.Lock()


def seeds(name):
    return pathlib.Path("fuzz/corpus") / name


def fuzz(name, seconds, corpus):
    """Runs, edges and whether there was no finding."""
    log = pathlib.Path(f"build/fuzz/{name}.log")
    with open(log, "w", encoding="utf-8", errors="replace") as out:
        status = subprocess.run([BINARIES / f"fuzz_{name}", f"-max_total_time={seconds}", *COMMON, *OPTIONS[name],
                                 f"-artifact_prefix={FINDINGS}/{name}-", corpus], stdout=out, stderr=out).returncode
    text = log.read_text(encoding="utf-8", errors="replace")
    runs = re.search(r"stat::number_of_executed_units: *(\d+)", text)
    edges = [int(found) for found in re.findall(r"cov: (\d+)", text)]
    if status != 0:
        print("\n".join(text.splitlines()[-100:]), f"\nfuzz {name}: a finding, see {FINDINGS}", file=sys.stderr)
    print(f"fuzz {name}: {runs[1] if runs else 0} runs", flush=True)
    return int(runs[1]) if runs else 0, max(edges, default=0), status == 0


def quick(name, seconds):
    with tempfile.TemporaryDirectory() as corpus:
        shutil.copytree(seeds(name), corpus, dirs_exist_ok=True)
        return fuzz(name, seconds, corpus)[2]


def machine():
    with open("/proc/cpuinfo", encoding="utf-8") as text:
        model = re.search(r"model name\s*: (.*)", text.read())
    return f"{os.cpu_count()} cores" + (f" of {model[1]}" if model else "")


def record(name, runs, edges):
    """Adds a stretch to the table, and says when and where."""
    corpus = [path.stat().st_size for path in (GROWING / name).iterdir()]
    findings = len(list(FINDINGS.glob(f"{name}-*")))
    with page_lock:
        lines = PAGE.read_text(encoding="utf-8").splitlines()
        first = lines.index(HEAD) + 2
        last = next(i for i in range(first, len(lines) + 1) if i == len(lines) or not lines[i].startswith("|"))
        rows = {line.split("`")[1]: [cell.strip() for cell in line.split("|")[2:-1]] for line in lines[first:last]}
        before = rows.get(name, ["0"])[0].replace(",", "")
        rows[name] = [f"{int(before) + runs:,}", f"{edges:,}", f"{len(corpus):,} files, {sum(corpus) // 1024:,} KB",
                      str(findings)]
        lines[first:last] = [f"| `{row}` | " + " | ".join(rows[row]) + " |" for row in sorted(rows)]
        told = next(i for i, line in enumerate(lines) if line.startswith("As of "))
        lines[told] = f"As of {datetime.date.today()}, on {machine()}, `./run fuzz --matrix SECONDS`:"
        PAGE.write_text("\n".join(lines) + "\n", encoding="utf-8")


def stretch(name, seconds):
    corpus = GROWING / name
    corpus.mkdir(parents=True, exist_ok=True)
    shutil.copytree(seeds(name), corpus, dirs_exist_ok=True)
    runs, edges, good = fuzz(name, seconds, corpus)
    record(name, runs, edges)
    return good


def main():
    arguments = sys.argv[1:]
    is_matrix = arguments[:1] == ["--matrix"]
    seconds, *names = arguments[is_matrix:] or ["?"]
    known = sorted(path.name.removeprefix("fuzz_") for path in BINARIES.glob("fuzz_*"))
    if not re.fullmatch("[1-9][0-9]*", seconds) or not set(names) <= set(known) or (names and not is_matrix):
        sys.exit(__doc__)
    names = names or known
    FINDINGS.mkdir(parents=True, exist_ok=True)
    cores = os.cpu_count() or 1
    each = int(seconds) if is_matrix else max(1, int(seconds) * cores // len(names))
    with concurrent.futures.ThreadPoolExecutor(cores) as pool:
        good = list(pool.map(lambda name: (stretch if is_matrix else quick)(name, each), names))
    sys.exit(0 if all(good) else 1)


main()
