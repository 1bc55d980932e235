#!/usr/bin/env python3
"""Generate collation.inc: the collation orders of the characters and the case mappings.

    gencollation.py          write collation.inc beside this script
    gencollation.py --check  compare it with what would be written; exit 1 if they differ

The committed file is what counts. The data come from Python's unicodedata, whose Unicode version
changes with Python: --check compares only under the version that the file names, and exits with 77
under another.

Orders are disk format: indexes are sorted by them and hashes made of them. A change of an order is
a change of format: raise COLLATION_VERSION, and bring the version and the checksum that
test/intlcollation_test.cpp keeps up to date on purpose, never to make it pass. doc/collation.md
tells what the orders mean to a user.
"""

import re
import sys
import unicodedata
from itertools import count
from pathlib import Path

COLLATION_VERSION = 1
CASE_VERSION = 1

RECORDS = 512  # every character below has a record

# --- Orders 1 to 79: space and control. 13 is the undefined ordering indicator.
SPACES = {
    **{c: c for c in range(1, 0x21) if c != 0x0D},
    0xA0: 33,
    0x0D: 34,
    0x7F: 35,
    **{c: 36 + c - 0x80 for c in range(0x80, 0xA0)},
}

# --- Orders 80 to 511: symbols.
SYMBOLS = {
    "_": 112, "\u00AF": 114, "\u00AD": 115, "-": 116, ",": 117, ";": 118, ":": 119, "!": 120,
    "\u00A1": 121, "?": 122, "/": 124, ".": 126, "\u00B7": 129, "\u00B8": 130, "'": 132, '"': 135,
    "\u00AB": 138, "\u00BB": 139, "(": 140, ")": 142, "[": 144, "]": 145, "{": 146, "}": 147,
    "\u00A7": 148, "\u00B6": 149, "\u00A9": 150, "\u00AE": 151, "@": 153, "\u00A4": 154,
    "\u00A2": 155, "$": 156, "\u00A3": 157, "\u00A5": 158, "*": 159, "\\": 160, "&": 161, "#": 162,
    "%": 163, "+": 165, "\u00B1": 167, "\u00B4": 168, "`": 169, "^": 171, "\u00A8": 174, "~": 176,
    "\u00F7": 178, "\u00D7": 179, "<": 181, "=": 183, ">": 185, "\u00AC": 186, "|": 187,
    "\u00A6": 188, "\u00B0": 189, "\u00B5": 190, "\u00BF": 219,
}  # fmt: skip

# --- Orders 0x3F00 to 0x3FFF: ten for each digit, odd ones for its expanded forms. The last is
# told apart by its first order: two characters never begin alike.
PLAIN, SUPERSCRIPT, HALF, QUARTERS = 0, 1, 3, 5

# --- Orders 0x4000 to 0x7FFF: letters.
UPPER, LOWER, MIXED = 0, 1, 2

# Accent numbers. Those of two marks and from 23 on have no name in the order text.
ACCENTS = {
    (): 0,
    ("cedilla",): 1,
    ("acute",): 2,
    ("grave",): 3,
    ("circumflex",): 4,
    ("tilde",): 5,
    ("diaeresis",): 6,
    ("ring above",): 7,
    ("stroke",): 8,
    ("caron",): 9,
    ("macron",): 10,
    ("breve",): 11,
    ("dot above",): 12,
    ("ogonek",): 13,
    ("double acute",): 14,
    ("diaeresis", "macron"): 15,
    ("diaeresis", "acute"): 16,
    ("diaeresis", "caron"): 17,
    ("diaeresis", "grave"): 18,
    ("dot above", "macron"): 19,
    ("ogonek", "macron"): 20,
    ("ring above", "acute"): 21,
    ("stroke", "acute"): 22,
    ("horn",): 23,
    ("hook",): 24,
    ("bar",): 25,
    ("other form",): 26,
    ("superscript",): 27,
    ("tail",): 28,
    # The first letter of a character that stands for two, or for a letter and a symbol; the
    # numbers tell apart those that begin with the same letter.
    ("compound 1",): 29,
    ("compound 2",): 30,
    ("compound 3",): 31,
}

MARKS = {
    0x0300: "grave", 0x0301: "acute", 0x0302: "circumflex", 0x0303: "tilde", 0x0304: "macron",
    0x0306: "breve", 0x0307: "dot above", 0x0308: "diaeresis", 0x030A: "ring above",
    0x030B: "double acute", 0x030C: "caron", 0x031B: "horn", 0x0327: "cedilla", 0x0328: "ogonek",
}  # fmt: skip

# Marks that Unicode does not decompose, by the end of the character's name.
NAMED_MARKS = {
    "STROKE": "stroke",
    "HOOK": "hook",
    "LEFT HOOK": "hook",
    "TOPBAR": "bar",
    "BAR": "bar",
    "MIDDLE TILDE": "bar",
    "PALATAL HOOK": "other form",
    "LONG RIGHT LEG": "other form",
    "RETROFLEX HOOK": "tail",
}

# Letters that are none of A to Z, by name: the letter they stand after, and the extension that
# keeps them apart from it however much is ignored. The clicks stand after the letters that write
# them in the Nguni languages, kra after the q that replaced it.
OWN_LETTERS = {
    "TONE SIX": ("B", 1, ()),
    "DENTAL CLICK": ("C", 1, ()),
    "ETH": ("D", 1, ()),
    "TURNED DELTA": ("D", 2, ()),
    "TWO WITH STROKE": ("D", 3, ()),
    "REVERSED E": ("E", 1, ()),
    "TURNED E": ("E", 1, ()),
    "SCHWA": ("E", 2, ()),
    "OPEN E": ("E", 3, ()),
    "TONE FIVE": ("F", 1, ()),
    "GAMMA": ("G", 1, ()),
    "OI": ("G", 2, ()),  # misnamed: the letter gha
    "HV": ("H", 1, ()),
    "HWAIR": ("H", 1, ()),
    "IOTA": ("I", 1, ()),
    "LAMBDA WITH STROKE": ("L", 1, ()),
    "TURNED M": ("M", 1, ()),
    "ENG": ("N", 1, ()),
    "OPEN O": ("O", 1, ()),
    "KRA": ("Q", 1, ()),
    "RETROFLEX CLICK": ("Q", 2, ()),
    "ALVEOLAR CLICK": ("Q", 3, ()),
    "YR": ("R", 1, ()),
    "ESH": ("S", 1, ()),
    "REVERSED ESH LOOP": ("S", 1, ("other form",)),
    "TONE TWO": ("S", 2, ()),
    "THORN": ("T", 1, ()),
    "INVERTED GLOTTAL STOP WITH STROKE": ("T", 2, ()),
    "UPSILON": ("U", 1, ()),
    "WYNN": ("W", 1, ()),
    "LATERAL CLICK": ("X", 1, ()),
    "EZH": ("Z", 1, ()),
    "EZH REVERSED": ("Z", 1, ("other form",)),
    "EZH WITH TAIL": ("Z", 1, ("tail",)),
    # Forms of the twenty-six.
    "AFRICAN D": ("D", 0, ("tail",)),
    "DOTLESS I": ("I", 0, ("other form",)),
    "LONG S": ("S", 0, ("other form",)),
    "N PRECEDED BY APOSTROPHE": ("N", 0, ("compound 2",)),
}

# Characters that stand for two others, by name: the accent number of the first, and the others.
COMPOUNDS = {
    "AE": (1, "ae"),
    "AE WITH ACUTE": (2, "a\u00E9"),
    "AE WITH MACRON": (3, "a\u0113"),
    "DZ": (1, "dz"),
    "DZ WITH CARON": (2, "d\u017E"),
    "D WITH SMALL LETTER Z": (1, "dz"),
    "D WITH SMALL LETTER Z WITH CARON": (2, "d\u017E"),
    "IJ": (1, "ij"),
    "LJ": (1, "lj"),
    "L WITH SMALL LETTER J": (1, "lj"),
    "L WITH MIDDLE DOT": (2, "l\u00B7"),
    "NJ": (1, "nj"),
    "N WITH SMALL LETTER J": (1, "nj"),
    "OE": (1, "oe"),
    "SHARP S": (1, "ss"),
}

LETTER_NAME = re.compile(r"LATIN (?:CAPITAL |SMALL )?(?:LETTER|LIGATURE) (.*)")

# Characters above the records whose value is the order of one below: without records of their own
# they would be equal to it. They take the orders of as many private-use characters, and those
# become two orders, the lead and their value. The lead begins no other character's orders (that of
# its own value is doubled), so that no text equals another.
MOVED_TO = 0xF600
LEAD = 0xFFFF


def digit_order(digit, form):
    return 0x3F00 + 10 * digit + form


def letter_order(base, extension, marks, case):
    index = ord(base.upper()) - ord("A") + 3
    return 0x4000 | case << 12 | ACCENTS[marks] << 7 | index << 2 | extension


def case_of(char):
    return {"Lu": UPPER, "Lt": MIXED}.get(unicodedata.category(char), LOWER)


def letter(char):
    """Base letter, extension and marks of a letter that stands for one."""
    if char in "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz":
        return char, 0, ()
    parts = unicodedata.decomposition(char).split()
    if parts and parts[0] == "<super>":
        return chr(int(parts[1], 16)), 0, ("superscript",)
    if parts and not parts[0].startswith("<"):
        base, extension, marks = letter(chr(int(parts[0], 16)))
        return base, extension, marks + (MARKS[int(parts[1], 16)],)
    name = LETTER_NAME.fullmatch(unicodedata.name(char)).group(1)
    if name in OWN_LETTERS:
        return OWN_LETTERS[name]
    base, mark = re.fullmatch(r"([A-Z]) WITH (.*)", name).groups()
    return base, 0, (NAMED_MARKS[mark],)


def compound(char):
    """The orders of a character that stands for two, None for any other."""
    name = LETTER_NAME.fullmatch(unicodedata.name(char, ""))
    if not name or name.group(1) not in COMPOUNDS:
        return None
    number, (first, second) = COMPOUNDS[name.group(1)]
    case = case_of(char)
    if case == UPPER:
        second = second.upper()
    return [letter_order(first, 0, (f"compound {number}",), case), *orders(ord(second))]


def orders(code):
    """The orders of a character below 512: none for the terminator, else one to three."""
    char = chr(code)
    if code == 0:
        return []
    if code in SPACES:
        return [SPACES[code]]
    if char in SYMBOLS:
        return [SYMBOLS[char]]
    if unicodedata.category(char) == "Nd":
        return [digit_order(int(char), PLAIN)]
    if unicodedata.category(char) == "No":
        expanded = unicodedata.normalize("NFKC", char)
        if len(expanded) == 1:
            return [digit_order(int(expanded), SUPERSCRIPT)]
        above, below = expanded.split("\u2044")
        first = digit_order(int(above), HALF if below == "2" else QUARTERS)
        return [first, SYMBOLS["/"], digit_order(int(below), SUPERSCRIPT)]
    return compound(char) or [letter_order(*letter(char), case_of(char))]


def simple_upper(code):
    """Unicode's simple mapping. Python has the full one; where that makes several characters, the
    simple one is the title-case character (Greek with iota subscript) or there is none."""
    for text in (chr(code).upper(), chr(code).title()):
        if len(text) == 1:
            return ord(text)
    return code


def simple_lower(code):
    text = chr(code).lower()
    return ord(text) if len(text) == 1 else ord("i") if code == 0x130 else code


def runs(mapping):
    """Characters from 512 on that a mapping changes, as runs (first, last, step, difference)."""
    found = []
    for code in range(RECORDS, 0x10000):
        other = mapping(code)
        if other > 0xFFFF:
            raise SystemExit(f"U+{code:04X} maps out of the 16-bit range")
        difference = other - code
        if difference == 0:
            continue
        if found:
            first, last, step, same = found[-1]
            gap = code - last
            if same == difference and gap <= 2 and (first == last or gap == step):
                found[-1] = (first, code, gap, same)
                continue
        found.append((code, code, 1, difference))
    return found


def fnv1a(data):
    """FNV-1a, 64 bits (Fowler, Noll and Vo, 1991)."""
    value = 0xCBF29CE484222325
    for byte in data:
        value = ((value ^ byte) * 0x100000001B3) & 0xFFFFFFFFFFFFFFFF
    return value


def big_endian(*values):
    return b"".join((value & 0xFFFF).to_bytes(2, "big") for value in values)


def check(table, moved):
    """What the library relies on: no two characters begin with the same order."""
    firsts = [sequence[0] for sequence in table[1:]]
    if len(set(firsts)) != len(firsts):
        raise SystemExit("two characters begin with the same order")
    if 13 in firsts or max(SYMBOLS.values()) >= 384 or MOVED_TO + len(moved) > 0xF900:
        raise SystemExit("an order lies in a reserved place")


def render():
    table = [orders(code) for code in range(RECORDS)]
    moved = sorted({order for sequence in table for order in sequence if order >= RECORDS})
    check(table, moved)
    sequences = dict(enumerate(table))
    for code, order in zip(moved, count(MOVED_TO)):
        sequences[code] = [order]
        sequences[order] = [LEAD, order]
    sequences[LEAD] = [LEAD, LEAD]
    upper, lower = runs(simple_upper), runs(simple_lower)
    order_bytes = b"".join(
        big_endian(code, len(sequence), *sequence) for code, sequence in sorted(sequences.items())
    )
    case_bytes = b"".join(
        big_endian(code, simple_upper(code), simple_lower(code)) for code in range(0x10000)
    )

    lines = [
        "// Generated by platform/intl/tables/gencollation.py. Do not edit: run the script. Disk format:",
        "// see the rules there before changing a value.",
        f"// Unicode {unicodedata.unidata_version}",
        "",
        "// clang-format off",
        f"inline constexpr o_u4b kCollationVersion = {COLLATION_VERSION};",
        f"inline constexpr o_u8b kCollationChecksum = 0x{fnv1a(order_bytes):016X};",
        f"inline constexpr o_u4b kCaseVersion = {CASE_VERSION};",
        f"inline constexpr o_u8b kCaseChecksum = 0x{fnv1a(case_bytes):016X};",
        "",
        "// The characters below 512: orders, their number, upper and lower case.",
        f"inline constexpr KoUnicodeProps kRecords[{RECORDS}] = {{",
    ]
    for code, sequence in enumerate(table):
        values = ", ".join(f"0x{o:04X}" for o in sequence + [0] * (3 - len(sequence)))
        name = unicodedata.name(chr(code), "control")
        lines.append(
            f"    {{{{{values}}}, {len(sequence)}, 0x{simple_upper(code):04X}, "
            f"0x{simple_lower(code):04X}}},  // {code:04X} {name}"
        )
    lines += [
        "};",
        "",
        "// The characters from 512 on whose value is an order of a character below: they take the",
        "// orders from kMovedTo on, and the characters there become kLead and their value.",
        f"inline constexpr o_u2b kMovedTo = 0x{MOVED_TO:04X};",
        f"inline constexpr o_u2b kLead = 0x{LEAD:04X};",
        f"inline constexpr o_u2b kMoved[{len(moved)}] = {{",
    ]
    for row in range(0, len(moved), 12):
        lines.append("    " + " ".join(f"0x{c:04X}," for c in moved[row : row + 12]))
    lines.append("};")
    for name, found in (("Upper", upper), ("Lower", lower)):
        lines += [
            "",
            f"// To {name.lower()} case from 512 on: first, last, step, difference.",
            f"inline constexpr CaseRun k{name}Runs[{len(found)}] = {{",
            *(f"    {{0x{a:04X}, 0x{b:04X}, {step}, {d}}}," for a, b, step, d in found),
            "};",
        ]
    lines += ["// clang-format on", ""]
    return "\n".join(lines)


def main():
    if sys.argv[1:] not in ([], ["--check"]):
        raise SystemExit("usage: gencollation.py [--check]")
    target = Path(__file__).with_name("collation.inc")
    if sys.argv[1:] == ["--check"]:
        committed = target.read_text(encoding="ascii")
        version = re.search(r"^// Unicode (.*)$", committed, re.MULTILINE).group(1)
        if version != unicodedata.unidata_version:
            print(f"not compared: {target.name} was made from Unicode {version}, this Python has "
                  f"{unicodedata.unidata_version}")  # fmt: skip
            sys.exit(77)
        if committed != render():
            raise SystemExit(f"{target.name} is not what {Path(__file__).name} generates")
        return
    target.write_bytes(render().encode("ascii"))


if __name__ == "__main__":
    main()
