#!/usr/bin/env python3
"""Makes the keys of test/data/collation/sortkeys.txt by the section "Sort keys of strings" of
doc/formats.md alone, as a stranger would: sort_keys_by_document.py ROOT

The collation orders come from the table of doc/collation.md, platform/intl/tables/collation.inc.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
IDEOGRAPHIC = (100, 101, 102)


def read_orders():
    """The orders of the characters that have others than their value."""
    table = (ROOT / "platform/intl/tables/collation.inc").read_text(encoding="utf-8")
    orders = {}
    records = table[table.index("kRecords[512]"):]
    for code, row in enumerate(re.findall(r"\{\{(0x\w+), (0x\w+), (0x\w+)\}, (\d)", records)):
        orders[code] = [int(word, 16) for word in row[:int(row[3])]]
    moved = re.search(r"kMoved\[[^]]*\] = \{(.*?)\};", table, re.S)[1]
    for i, word in enumerate(re.findall(r"0x(\w{4})", re.sub("//.*", "", moved))):
        orders[int(word, 16)] = [0xF600 + i]
        orders[0xF600 + i] = [0xFFFF, 0xF600 + i]
    orders[0xFFFF] = [0xFFFF, 0xFFFF]
    return orders


ORDERS = read_orders()


def two(number):
    return [number >> 8, number & 0xFF]


def weight(order, word):
    """The code of a weight under the variant 0."""
    if order < 0x3F5B:
        digit, rest = divmod(order - 0x3F00, 10)
        return [3 + 2 * digit, rest] if rest else [2 + 2 * digit]
    if order < 0x4000:
        return [0x15] + two(order - 0x3F5B)
    if order >= 0x8000:
        return [(order >> 8) - 1, order & 0xFF]
    base, marks = order & 0x7F, order >> 7 & 0x7F
    if word & 0x20:
        marks &= 0x1F
    if word & 0x40:
        marks &= 0x60
    if base < 0x0C:
        return [0x15] + two(0xA5 + 0x80 * base + marks)
    if base >= 0x74:
        return [0x7E] + two(0x80 * (base - 0x74) + marks)
    letter, rest = divmod(base - 0x0C, 4)
    i = 0x80 * rest + marks
    if i < 0x20:
        return [0x17 + 4 * letter, i] if i else [0x16 + 4 * letter]
    if i < 0x40:
        return [0x19 + 4 * letter, i - 0x20] if i > 0x20 else [0x18 + 4 * letter]
    return [0x19 + 4 * letter] + two(0x2000 + i - 0x40)


def ideographic_weight(order):
    """The code of a weight under the variant 20: the first row whose orders go so far."""
    if order < 0x3F5B:
        return weight(order, 0)
    for first, last, lead in ((0x400C, 0x4070, 0x16), (0x500C, 0x5070, 0x4D)):
        if first <= order <= last:
            letter, rest = divmod(order - first, 4)
            return [lead + 1 + 2 * letter, rest] if rest else [lead + 2 * letter]
    high, low = two(order)
    for last, code in ((0x400B, [0x15, order - 0x3F5B]), (0x4DFF, [0x49, high, low]),
                       (0x4EFF, [0x4A, low]), (0x4FFF, [0x4B, low]), (0x500B, [0x4C, low]),
                       (0x50FF, [0x80, low]), (0x9FFF, [high + 0x30, low]),
                       (0xABFF, [0xD0, high, low]), (0xD7FF, [high + 0x25, low]),
                       (0xFEFF, [0xFD, high, low]), (0xFFFF, [0xFE, low])):
        if order <= last:
            return code
    raise ValueError(order)


def lead_of(gap, empty, last, alone):
    """The bytes in front of the elements, and whether there are elements."""
    if alone:
        return [0xFF], True
    if empty > 0x23:
        return [0, *(0xFFFFFF - empty).to_bytes(3, "big")], True
    lead = 7 * (0x23 - empty)
    if gap in ([0x20], [0x74]):
        return [lead + (2 if gap == [0x20] else 5) + (not last)], False
    return [lead + (1 if gap[0] < 0x20 else 4 if gap[0] < 0x74 else 7)], True


def gap_bytes(gaps, alone):
    filled = [i for i, gap in enumerate(gaps) if gap]
    key, before = [], -1
    for i in filled:
        last = i == filled[-1]
        lead, elements = lead_of(gaps[i], i - before - 1, last, alone)
        key += lead
        if elements:
            for order in gaps[i]:
                key += [order + 1] if order < 0xBF else two(order - 0xBF + 0xC000)
            key.append(0 if last else 1)
        before = i
    return key


def key_of(text, word):
    if text is None:
        return [0]
    code_set, language, units = text
    if 0 in units:
        units = units[:units.index(0)]
    if code_set == 0:
        return [0xFF, 0xFF, *units, 0]
    ideographic = language in IDEOGRAPHIC
    weights, gaps = [], [[]]
    for unit in units:
        undefined = code_set == 20 and unit >= 0x80
        for order in [0x100 + unit] if undefined else ORDERS.get(unit, [unit]):
            if order >= 0x3F00:
                weights += ideographic_weight(order) if ideographic else weight(order, word)
                gaps.append([])
            elif not word & (0x80 if order < 0x50 else 0x200):
                gaps[-1].append(order)
    if not weights and not gaps[0]:
        return [1, 0]
    front = [0xFF] if ideographic and weights else []
    if not any(gaps):
        return front + weights + [0]
    return front + weights + [1] + gap_bytes(gaps, ideographic and not weights)


def parse(notation):
    """Code set, language and characters of a text of a data file; None for null."""
    if notation == "null":
        return None
    head, units = re.match(r'(?:(\d+)/(\d+):)?"', notation), []
    for piece, times in re.findall(r'"((?:[^"\\]|\\.)*)"(?:\*(\d+))?', notation):
        found = re.findall(r"\\u(\w{4})|\\x(\w\w)|(.)", piece)
        units += [int(u or x, 16) if u or x else ord(c) for u, x, c in found] * int(times or 1)
    return int(head[1] or 1), int(head[2] or 0), units


def main():
    rows = faults = 0
    for line in (ROOT / "test/data/collation/sortkeys.txt").read_text("utf-8").splitlines():
        if not line or line[0] in "#[":
            continue
        text, word, key, _ = line.split(" | ")
        expected = [int(byte, 16) for group in key.split() for byte in [group.split("*")[0]]
                    for _ in range(int((group.split("*") + ["1"])[1]))]
        made = key_of(parse(text), int(word, 16))
        rows += 1
        if made != expected:
            faults += 1
            print(f"{line}\n  the document gives {bytes(made).hex(' ').upper()}")
    print(f"{rows} keys, {faults} faults")
    return bool(faults) or not rows


if __name__ == "__main__":
    sys.exit(main())
