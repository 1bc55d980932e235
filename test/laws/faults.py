#!/usr/bin/env python3
"""Deliberate faults, which the laws must find: faults.py ROOT WORK [NAME...]

Copies the tree ROOT to WORK, puts in one fault after another, builds the laws and runs them, and prints which law
found it. Ends with 1 where a fault was found by none, or where the laws fail without one. A fault is a place in a
file, what stands there in its stead, and what is wrong with that; a place must be found exactly once.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

FAULTS = [
    # Comparison.
    ("src/core/number_type.h", "(std::isnan(b)) - static_cast<int>(std::isnan(a))",
     "(std::isnan(a)) - static_cast<int>(std::isnan(b))", "a NaN is above all numbers"),
    ("src/core/compare_walk.h", "return length == 0 ? count : std::min(count, length / size);",
     "return length == 0 ? count : std::min(count, (length + size - 1) / size);", "an element that is cut is compared"),
    ("src/scalar/nullable.h", "(null1 ? KoNULL_FIRST : KoNULL_SECOND)", "(null1 ? KoNULL_SECOND : KoNULL_FIRST)",
     "null scalars come last"),
    ("src/identity/identity.cpp", "FirstByteDifference(StoredPair(a + 10), StoredPair(b + 10))",
     "FirstByteDifference(StoredPair(a + 10) & 0xFFFF0000U, StoredPair(b + 10) & 0xFFFF0000U)",
     "references of two classes are equal"),
    ("src/blob/record.cpp", "return BlobOrder(a.bytes, lengthA, b.bytes, lengthB);",
     "return BlobOrder(a.bytes, held, b.bytes, held);", "a blob equals one that it begins"),
    ("src/collation/compare.cpp", "return rest == 0 ? 0 : leftGoesOn ? 1 : -1;",
     "return rest == 0 || wildcards ? 0 : leftGoesOn ? -1 : 1;", "a text is above one that it begins"),
    ("src/collation/compare.cpp", "(mask & 0x60U) == 0)", "(mask & 0x40U) == 0)",
     "words are skipped without their case though it counts"),
    ("src/caseless/compare.cpp", "weights.Accents(a) || weights.Accents(b)", "weights.Accents(a)",
     "accents count where the left text says so alone"),
    ("src/temporal/layout.h", "ThreeWay(fieldsA ^ kPackedSigns<Layout>, fieldsB ^ kPackedSigns<Layout>)",
     "ThreeWay(fieldsA, fieldsB)", "stored fields are compared without their signs"),
    # Hashes.
    ("src/core/hasher.h", "return n == 0.0 ? 0 : std::bit_cast<o_u8b>(n);", "return std::bit_cast<o_u8b>(n);",
     "minus zero has a hash of its own"),
    ("src/scalar/boolean.cpp", "HashWord(o_4b{boolean.IsTrue()})", "HashWord(o_4b{*element})",
     "every byte for true has a hash of its own"),
    ("src/temporal/layout.h", "hasher.Add(ReadOrdered<o_u4b>(at + Layout::NanosecondsAt(memory), big));",
     "hasher.Add(ReadOrdered<o_u4b>(at + Layout::NanosecondsAt(memory), false));",
     "nanoseconds are hashed in one byte order"),
    ("src/collation/hash.cpp", "(b & kKey) * PowerOf9(2) +\n               (c & kKey) * 9",
     "(b & kKey) * 9 +\n               (c & kKey) * PowerOf9(2)", "the hash of four characters at once is another one"),
    # Sort keys.
    ("src/core/sort_key.h", "(magnitude - 1) >> kTop & negative", "(magnitude - 1) >> kTop & negative & 0U",
     "minus zero has a key of its own"),
    ("src/blob/type.cpp", "kKeyZero = 0xFF; ///< after the escape: a byte 0\nconstexpr unsigned char kKeyEnd = 0x00;",
     "kKeyZero = 0x00; ///< after the escape: a byte 0\nconstexpr unsigned char kKeyEnd = 0xFF;",
     "a zero in a blob sorts below its end"),
    ("src/identity/identity.cpp", "PutKeyWord(out, id.classNo);\n        PutKeyWord(out + 2, id.version);",
     "PutKeyWord(out, id.version);\n        PutKeyWord(out + 2, id.classNo);", "versions sort before class numbers"),
    ("src/collation/sort_key.cpp", "return order < KoORDER_SYMBOL ? skipsSpaces : skipsSymbols;",
     "return order < KoORDER_SYMBOL ? skipsSpaces : skipsSpaces;", "keys drop symbols where they drop spaces"),
    ("src/temporal/layout.h", "stored[Layout::kPacked] ^= 0x80;", "stored[Layout::kPacked] ^= 0x00;",
     "nanoseconds do not come back from a key"),
    # Store and load.
    ("src/scalar/nullable.h", "if (in[valueFirst ? Base::kSize : 0] == 1) {",
     "if (in[valueFirst ? Base::kSize : 0] != 0) {", "loading takes every indicator for null"),
    ("src/caseless/record.cpp", "static_cast<unsigned char>(text.flag | raw)", "static_cast<unsigned char>(raw)",
     "flags are not stored"),
    # Text.
    ("src/temporal/print.cpp", "if (m_fields.nanoseconds % 1000 == 0)", "if (m_fields.nanoseconds % 100 == 0)",
     "two digits of nanoseconds are lost in texts"),
    ("src/blob/text.cpp", "directive == 'X' ? TakeDigits()", "directive == 'X' ? false",
     "digits of blobs are not read"),
    # Validation.
    ("src/core/validate.h", "if (bytes > size)", "if (bytes > size + 1)", "a missing byte is not missed"),
    ("src/string/validate.cpp", "if (there > kRecordLengthField && length % KoCodeSetWidth(record[2]) != 0)",
     "if (length > 0xFFFE && length % KoCodeSetWidth(record[2]) != 0)", "half a character is valid"),
    # Narrowing.
    ("src/core/bounds.cpp", "(op & KoQOP_GREATER) == 0)", "(op & KoQOP_EQUAL) != 0)",
     "greater or equal is narrowed to what is not greater"),
    # ko.h.
    ("src/interface/text.cpp", "format == Manager().TextFormatGet(id);", "format == nullptr;",
     "long texts are said to be too long"),
]


def run(command, folder, seconds=900, **more):
    try:
        done = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              errors="replace", timeout=seconds, env={**os.environ, **more})
    except subprocess.TimeoutExpired:
        return -1, "did not end"
    return done.returncode, done.stdout


def build(tree):
    status, said = run(["cmake", "--build", "build", "-j", "2", "--target", "laws_test"], tree)
    if status != 0:
        sys.exit("the build failed:\n" + said[-3000:])


def laws(tree):
    """How the laws end: "" where all hold, else the first law that does not, and of what type."""
    status, said = run(["build/bin/laws_test", "--gtest_brief=1"], tree, 300,
                       KO_LAW_TRIPLES=os.environ.get("KO_LAW_TRIPLES", "300000"))
    if status == 0:
        return ""
    types = re.findall(r"fixtures\.h:\d+: (\w+)", said)
    law = re.search(r"^Failed\n(.{1,60}?): ", said, re.M)
    other = "narrowing loses no match" if "bits & met" in said else f"ended with {status}"
    return f"{law.group(1) if law else other} ({', '.join(dict.fromkeys(types[:3]))})"


def main():
    root, work = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
    asked = sys.argv[3:]
    listed = subprocess.check_output(["git", "ls-files", "-co", "--exclude-standard"], cwd=root, text=True).split("\n")
    for name in filter(None, listed):
        if (root / name).is_file():
            (work / name).parent.mkdir(parents=True, exist_ok=True)
            if not (work / name).is_file() or (work / name).read_bytes() != (root / name).read_bytes():
                shutil.copy(root / name, work / name)
    status, said = run(["cmake", "-B", "build", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DKO_BUILD_TOOL=OFF"], work)
    if status != 0:
        sys.exit(said)
    build(work)
    if found := laws(work):
        sys.exit("a law does not hold without a fault: " + found)
    missed = 0
    for name, place, fault, reason in FAULTS:
        if asked and not any(word in name or word in reason for word in asked):
            continue
        path = work / name
        right = path.read_text()
        if right.count(place) != 1:
            sys.exit(f"{name} has {right.count(place)} times: {place}")
        path.write_text(right.replace(place, fault))
        try:
            build(work)
            found = laws(work)
        finally:
            path.write_text(right)
        missed += not found
        print(f"| {name[4:]} | {reason} | {found or 'NOT FOUND'} |", flush=True)
    print(f"{missed} not found")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
