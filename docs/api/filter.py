#!/usr/bin/env python3
"""Turns the comments of a public header into those that Doxygen reads.

A comment ahead of a declaration describes it, one behind it on its line describes what stands before it. One comment
ahead of several functions, with no empty line between, is of them all. Keys of the tuning record are described by the
table that the tools use.
"""
import re
import sys

MEANINGS = "host/dsp/key_meanings.cpp"


def key_meanings():
    with open(MEANINGS, encoding="utf-8") as source:
        text = source.read()
    found = re.findall(r'\{(k\w+|"\w+"), "(\w+)", "[^"]*", [^"]+?,\s*("(?:[^{}])*?")\}', text)
    return {(section, key): "".join(re.findall(r'"([^"]*)"', words)) for section, key, words in found}


# Gives the members of the tuning record that have no comment the meaning of their key.
def describe_keys(text):
    meanings = key_meanings()

    def describe(match):
        name, ending = re.fullmatch(r"(\w+?)(_BN|_M)?", match[2]).groups()
        sections = ["kSf"] if "SF_ISO" in struct else ["kNoise", "kGhost", '"ChromaEnhancement"', '"Global"', "kRoute"]
        words = next((meanings[section, name] for section in sections if (section, name) in meanings), None)
        if words is None:
            return match[0]
        return f"{match[1]} /**< {words}{f'; set {ending}' if ending else ''} */"

    parts = re.split(r"(?m)^(typedef struct \w+ \{)", text)
    for i in range(1, len(parts), 2):
        struct = parts[i]
        parts[i + 1] = re.sub(r"(?m)^(    \w+ (\w+)(?:\[\w+\])?;)$", describe, parts[i + 1])
    return "".join(parts)


def main():
    with open(sys.argv[1], encoding="utf-8") as header:
        text = header.read()
    # What compilers check is no part of the pages.
    text = re.sub(r"#ifdef __cplusplus\n#include <cstddef>\n.*?\n#endif\n", "", text, flags=re.DOTALL)
    text = re.sub(r"^/\* ", "/** @file\n", text, count=1)
    text = re.sub(r"(?m)^(\s*)/\* ", r"\1/** ", text)
    text = re.sub(r"(?m)(\S[^\n]*?)\s+/\* ", r"\1 /**< ", text)
    if sys.argv[1].endswith("tuning_blocks.h"):
        text = describe_keys(text)
    out, shared = [], None
    lines = text.split("\n")
    for number, line in enumerate(lines):
        declares = re.match(r"(ret_status|void) (\w+)\(", line)
        if declares and number and lines[number - 1].endswith(";") and shared:
            out.append(f"/** @copydoc {shared} */")
        elif declares:
            shared = declares[2]
        out.append(line)
    print("\n".join(out))


main()
