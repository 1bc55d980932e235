#!/usr/bin/env python3
"""The code in the comments of exported headers, indented by five blanks, stands word for word in a test that
compiles it, and whole programs in the README are files of examples/, short as they are promised: examples.py ROOT
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1]).resolve()
HEADERS = ["inc", "platform/intl/inc", "platform/base/inc", "store/inc", "bindings"]
COMPILED = [ROOT / "test/interface/header_examples_test.cpp", *(ROOT / "test/bindings").glob("*_test.cpp")]
LONGEST = {"cpp": 22, "c": 24}


def bare(code):
    """Without comments and blanks, in which a formatter may differ."""
    return re.sub(r"\s+", "", re.sub(r"//.*|/\*.*?\*/", "", code))


def pieces(header):
    """The pieces of code in a header's comments, with the line that each begins at."""
    found = []
    for number, line in enumerate(header.read_text(encoding="utf-8").splitlines(), 1):
        code = re.match(r"\s*///     (.*)", line)
        if code and found and found[-1][2] == number - 1:
            found[-1] = (found[-1][0], found[-1][1] + code[1] + "\n", number)
        elif code:
            found.append((number, code[1] + "\n", number))
    return [(begin, code) for begin, code, _ in found]


# A test may look at the outcome in between.
compiled = "".join(bare(re.sub(r"^\s*(EXPECT|ASSERT)_\w+\(.*?\);$", "", path.read_text(encoding="utf-8"),
                               flags=re.MULTILINE | re.DOTALL)) for path in COMPILED)
programs = {bare(path.read_text(encoding="utf-8")) for path in (ROOT / "examples").glob("*.c*")}
faults, seen = [], 0
for folder in HEADERS:
    for header in sorted((ROOT / folder).rglob("*.h*")):
        for begin, code in pieces(header):
            seen += 1
            if bare(code) not in compiled:
                faults.append(f"{header.relative_to(ROOT)}:{begin}: no test compiles this")
for language, code in re.findall(r"^```(c|cpp)\n(.*?)^```", (ROOT / "README.md").read_text(encoding="utf-8"),
                                 re.MULTILINE | re.DOTALL):
    if not re.search(r"\bmain\(", code):
        continue
    lines = [line for line in code.splitlines() if bare(line)]
    if bare(code) not in programs:
        faults.append(f"README.md: a program that is no file of examples/: {lines[0]} ...")
    if len(lines) > LONGEST[language]:
        faults.append(f"README.md: {len(lines)} lines of {language}, {LONGEST[language]} are promised")
print(*faults, sep="\n")
print(f"{seen} pieces of code in headers, {len(faults)} faults")
sys.exit(bool(faults) or not seen)
