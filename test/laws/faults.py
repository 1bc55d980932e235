#!/usr/bin/env python3
"""Deliberate faults, which the laws must find: faults.py ROOT WORK [NUMBER...]

Copies the tree ROOT to WORK with every fault in it, builds the laws once, runs them with each fault switched on alone
and prints the law that found it. Ends with 1 where a fault was found by none, or where the laws fail without one.
KO_LAW_TRIPLES is that of laws_test. A fault is a file, an expression in it that stands there once, another one in its
stead, and what is wrong with that.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

FAULTS = [
    # Comparison.
    ("src/core/number_type.h", "static_cast<int>(std::isnan(b)) - static_cast<int>(std::isnan(a))",
     "static_cast<int>(std::isnan(a)) - static_cast<int>(std::isnan(b))", "a NaN is above all numbers"),
    ("src/core/compare_walk.h", "length == 0 ? count : std::min(count, length / size)",
     "length == 0 ? count : std::min(count, (length + size - 1) / size)", "an element that is cut is compared"),
    ("src/scalar/nullable.h", "null1 ? KoNULL_FIRST : KoNULL_SECOND", "null1 ? KoNULL_SECOND : KoNULL_FIRST",
     "null scalars come last"),
    ("src/identity/identity.cpp", "FirstByteDifference(StoredPair(a + 10), StoredPair(b + 10))",
     "FirstByteDifference(StoredPair(a + 10) & 0xFFFF0000U, StoredPair(b + 10) & 0xFFFF0000U)",
     "references of two classes are equal"),
    ("src/blob/record.cpp", "BlobOrder(a.bytes, lengthA, b.bytes, lengthB)", "BlobOrder(a.bytes, held, b.bytes, held)",
     "a blob equals one that it begins"),
    ("src/collation/compare.cpp", "rest == 0 ? 0 : leftGoesOn ? 1 : -1", "rest == 0 ? 0 : leftGoesOn ? -1 : 1",
     "a text is above one that it begins"),
    ("src/collation/compare.cpp", "(mask & 0x60U) == 0", "mask != 0",
     "words are skipped without their case though it counts"),
    ("src/caseless/compare.cpp", "weights.Accents(a) || weights.Accents(b)", "weights.Accents(a)",
     "accents count where the left text alone says so"),
    ("src/temporal/layout.h", "ThreeWay(fieldsA ^ kPackedSigns<Layout>, fieldsB ^ kPackedSigns<Layout>)",
     "ThreeWay(fieldsA, fieldsB)", "stored fields are compared without their signs"),
    # Hashes.
    ("src/core/hasher.h", "n == 0.0 ? 0 : std::bit_cast<o_u8b>(n)", "std::bit_cast<o_u8b>(n)",
     "minus zero has a hash of its own"),
    ("src/scalar/boolean.cpp", "HashWord(o_4b{boolean.IsTrue()})", "HashWord(o_4b{*element})",
     "every byte for true has a hash of its own"),
    ("src/temporal/layout.h", "ReadOrdered<o_u4b>(at + Layout::NanosecondsAt(memory), big)",
     "ReadOrdered<o_u4b>(at + Layout::NanosecondsAt(memory), false)", "nanoseconds are hashed in one byte order"),
    ("src/collation/hash.cpp", "(b & kKey) * PowerOf9(2) +\n               (c & kKey) * 9",
     "(b & kKey) * 9 + (c & kKey) * PowerOf9(2)", "the hash of four characters at once is another one"),
    # Sort keys.
    ("src/core/sort_key.h", "(magnitude - 1) >> kTop & negative", "Word{0}", "minus zero has a key of its own"),
    ("src/blob/type.cpp", "sink.Put(kKeyZero)", "sink.Put(kKeyEnd)", "a zero in a blob ends its key"),
    ("src/identity/identity.cpp", "PutKeyWord(out, id.classNo)", "PutKeyWord(out, id.version)",
     "keys of class ids have the version twice"),
    ("src/collation/sort_key.cpp", "order < KoORDER_SYMBOL ? skipsSpaces : skipsSymbols", "skipsSpaces",
     "keys drop symbols where they drop spaces"),
    ("src/temporal/layout.h", "stored[Layout::kPacked] ^= 0x80", "stored[Layout::kPacked]",
     "the sign of nanoseconds does not come back from a key"),
    # Store and load.
    ("src/scalar/nullable.h", "in[valueFirst ? Base::kSize : 0] == 1", "in[valueFirst ? Base::kSize : 0] != 0",
     "loading takes every indicator for null"),
    ("src/caseless/record.cpp", "static_cast<unsigned char>(text.flag | raw)", "static_cast<unsigned char>(raw)",
     "flags are not stored"),
    # Text.
    ("src/temporal/field_list.cpp", "number * 256 + at[i]", "number * 256 + (at[i] & 0x7FU)",
     "fields in braces lose a bit"),
    ("src/blob/text.cpp", "HexValue(m_text[at]) * 16 + HexValue(m_text[at + 1])", "HexValue(m_text[at]) * 17",
     "a byte of a blob is read from one digit"),
    # Validation.
    ("src/core/validate.h", "bytes > size", "bytes > size + 1", "a missing byte is not missed"),
    ("src/string/validate.cpp", "length % KoCodeSetWidth(record[2]) != 0", "false", "half a character is valid"),
    ("src/caseless/record.cpp", "(record[byte] == 0) != (byte == last)", "record[byte] != 0 && byte == last",
     "a zero within a text is valid"),
    # Narrowing, and ko.h.
    ("src/core/bounds.cpp", "(op & KoQOP_GREATER) == 0", "(op & KoQOP_EQUAL) != 0",
     "greater or equal is narrowed to what is not greater"),
    ("src/interface/text.cpp", "format == Manager().TextFormatGet(id)", "false", "long texts are said to be too long"),
]

# Which fault is there, read once a library is loaded. What is worked out by the compiler has none.
SWITCH = """#pragma once
#include <cstdlib>
inline const int koFault = std::getenv("KO_FAULT") != nullptr ? std::atoi(std::getenv("KO_FAULT")) : 0;
#define KO_FAULT(number) (!__builtin_is_constant_evaluated() && koFault == (number))
"""


def run(command, folder, seconds=1800, **more):
    try:
        done = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              errors="replace", timeout=seconds, env={**os.environ, **more})
    except subprocess.TimeoutExpired:
        return -1, "did not end"
    return done.returncode, done.stdout


def copy(root, work):
    """The tree with every fault in it, each for one number of KO_FAULT."""
    texts = {}
    listed = subprocess.check_output(["git", "ls-files", "-co", "--exclude-standard"], cwd=root, text=True).split("\n")
    for name in filter(None, listed):
        if (root / name).is_file():
            texts[name] = (root / name).read_bytes()
    for number, (name, place, fault, _) in enumerate(FAULTS, 1):
        text = texts[name].decode()
        if text.count(place) != 1:
            sys.exit(f"{name} has {text.count(place)} times: {place}")
        texts[name] = text.replace(place, f"(KO_FAULT({number}) ? ({fault}) : ({place}))").encode()
    texts["koswitch.h"] = SWITCH.encode()
    for name, text in texts.items():
        path = work / name
        path.parent.mkdir(parents=True, exist_ok=True)
        if not path.is_file() or path.read_bytes() != text:
            path.write_bytes(text)
            path.chmod(0o755)


def laws(work, number):
    """How the laws end: "" where all hold, else the first law that does not, and of what types."""
    status, said = run(["build/bin/laws_test", "--gtest_brief=1"], work, KO_FAULT=str(number))
    if status == 0:
        return ""
    law = re.search(r"^Failed\n(.{1,60}?): ", said, re.M)
    types = dict.fromkeys(re.findall(r"fixtures\.h:\d+: (\w+)", said))
    what = law.group(1) if law else "narrowing loses no match" if "bits " in said else f"ended with {status}"
    return f"{what} ({', '.join(list(types)[:3])}{' and more' if len(types) > 3 else ''})"


def main():
    root, work = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    copy(root, work)
    flags = f"-O1 -w -include {work / 'koswitch.h'}"
    for command in (["cmake", "-B", "build", "-G", "Ninja", "-DKO_BUILD_TOOL=OFF", f"-DCMAKE_CXX_FLAGS={flags}"],
                    ["cmake", "--build", "build", "-j", "2", "--target", "laws_test"]):
        status, said = run(command, work)
        if status != 0:
            sys.exit(said[-3000:])
    if found := laws(work, 0):
        sys.exit("a law does not hold without a fault: " + found)
    missed = 0
    for number, (name, _, _, reason) in enumerate(FAULTS, 1):
        if len(sys.argv) > 3 and str(number) not in sys.argv[3:]:
            continue
        found = laws(work, number)
        missed += not found
        print(f"| {number} | {name[4:]} | {reason} | {found or 'NOT FOUND'} |", flush=True)
    print(f"{missed} not found")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
