#!/usr/bin/env python3
"""Draws mutants at random from the product's sources, in the form of list.txt: draw.py COUNT SEED > drawn.txt

A file is drawn by its lines, then a place in it: an operator, a bound, a whole number, or a statement that goes. The same
tree and seed give the same mutants. Left out are comments, includes, static assertions, log lines, what only AArch64
compiles, and the vector helpers that every kernel includes, for one mutant of theirs builds all kernels again.
"""
import random
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
# The suites that look after a path, the first that fits; several by "+".
SUITES = [(re.compile(pattern), suite) for pattern, suite in [
    (r"bounded/", "bounded"), (r"config/", "config"), (r"opencl/", "gpu"),
    (r"libCore/core/source/frame/", "frame"),
    (r".*/kelvane_mfdenoise_(denoise|chroma)", "denoise"), (r".*/kelvane_mfdenoise_(ransac|regis)", "registration"),
    (r".*/kelvane_mfdenoise_scale|.*/neon/scale/", "scale"), (r".*/kelvane_mfdenoise_control", "control"),
    (r".*/registration/|.*/neon/warp/", "registration"), (r".*/control/", "control"),
    (r".*/neon/(resample|mask)/", "resample+ghost+denoise"), (r".*/neon/wavelet/", "chroma_kernels+denoise"),
    (r".*/neon/(ghost/|Ghost)", "ghost"), (r"libCore/", "frame"),
    (r"highLevel/src/(chroma/chroma_pass|luma/luma_(pass|sweeps)|band/|[^/]*$)", "denoise"),
    (r"highLevel/src/luma/", "luma_kernels+denoise"), (r"highLevel/src/chroma/", "chroma_kernels+denoise"),
]]
OPERATORS = {" < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ", " != ": " == ", " + ": " - ",
             " - ": " + ", " * ": " + ", " / ": " * ", " << ": " >> ", " >> ": " << ", " & ": " | ", " | ": " & ",
             " && ": " || ", " || ": " && ", " += ": " -= ", " -= ": " += ", "std::min": "std::max",
             "std::max": "std::min", "true": "false", "false": "true", "hn::Min": "hn::Max", "hn::Add(": "hn::Sub("}
PLACES = re.compile("|".join([re.escape(operator) if operator.startswith((" ", "h")) else rf"\b{operator}\b"
                              for operator in OPERATORS] + [r"(?<![\w.])\d+(?![\w.'])"]))
STATEMENT = re.compile(r" +(?!return|break|continue|using|case|else|static|const|goto|throw|delete\b)"
                       r"(?:[\w.>\[\]()*:-]+ [+*/&|^<>-]*= .*|[+-]{2}?[\w.>\[\]:-]+\(.*\)|[+-]{2}\w+);")
SKIPPED = re.compile(r"#|//|\s*(static_assert|EIS_LOG|HWY_|namespace|using|template|extern)|.*EIS_LOG")


def judged_lines(text):
    """Numbers and contents of the lines that a mutant may stand in."""
    hidden = []  # for each open #if: whether its branch is AArch64's alone
    for number, line in enumerate(text.splitlines()):
        if line.startswith("#if"):
            hidden.append("HWY_ARCH_ARM" in line or "HWY_NEON" in line)
        elif line.startswith(("#else", "#elif")):
            hidden[-1] = not hidden[-1] and "HWY_ARCH_ARM" in line
        elif line.startswith("#endif"):
            hidden.pop()
        elif not any(hidden) and not SKIPPED.match(line) and not line.lstrip().startswith(("//", "*")):
            yield number, line.split(" //")[0].rstrip()


def mutants_of(text):
    """(line, start, old, new) of each mutant that the lines hold."""
    lines = text.splitlines()
    for number, line in judged_lines(text):
        quoted = [match.span() for match in re.finditer(r'"(?:[^"\\]|\\.)*"|\'.\'', line)]
        if STATEMENT.fullmatch(line) and lines[number - 1].rstrip().endswith((";", "{", "}")):
            yield number, len(line) - len(line.lstrip()), line.strip(), ""
        for match in PLACES.finditer(line):
            if any(start < match.end() and match.start() < end for start, end in quoted):
                continue
            old = match.group()
            yield number, match.start(), old, OPERATORS.get(old) or str(int(old) + 1)


def in_list_form(name, suite, text, mutant):
    """The mutant with as much of its line, and of those above, as makes it the only one; None where nothing does."""
    number, start, old, new = mutant
    lines = text.splitlines()
    line = lines[number].split(" //")[0]
    before, after = line[:start].lstrip(), line[start + len(old):].rstrip()
    for above in range(4):
        context = " ".join(part.strip() for part in lines[number - above:number] + [before]).strip(" ")
        if before.endswith(" ") or (above and not before):
            context += " "
        if "//" in context or " ## " in context or "[[" in context + after or "]]" in context + after:
            return None
        pattern = r"\s+".join(map(re.escape, re.split(r"\s+", context + old + after)))
        if len(re.findall(pattern, text)) == 1:
            core, padding = old.strip(" "), old[:len(old) - len(old.lstrip(" "))]
            shown = f"{context}{padding}[[{core} => {new.strip(' ')}]]{padding}{after}"
            return f"{name} {suite} {shown.strip()}"
    return None


def main():
    count, seed = int(sys.argv[1]), sys.argv[2]
    drawn = random.Random(seed)
    command = ["git", "ls-files", "bounded", "config", "libCore", "highLevel", "opencl"]
    names = subprocess.run(command, cwd=ROOT, check=True, capture_output=True, text=True).stdout.split()
    texts = {name: (ROOT / name).read_text() for name in sorted(names)
             if name.endswith((".cpp", ".h")) and "/frame/vector_" not in name}
    weights = [text.count("\n") for text in texts.values()]
    print(f"# Drawn by draw.py {count} {seed}, in the form of list.txt. What does not compile was struck out.")
    kept = set()
    while len(kept) < count:
        name = drawn.choices(list(texts), weights)[0]
        places = list(mutants_of(texts[name]))
        suite = next(suite for pattern, suite in SUITES if pattern.match(name))
        shown = in_list_form(name, suite, texts[name], drawn.choice(places)) if places else None
        if shown and shown not in kept:
            kept.add(shown)
            print(shown)


if __name__ == "__main__":
    main()
