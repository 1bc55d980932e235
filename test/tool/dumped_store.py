#!/usr/bin/env python3
"""A store is plain rows that doc/formats.md describes: dumped_store.py ROOT KOTM

mdb_dump, which knows nothing of this project, writes the rows of a store; this script takes them apart
by the document alone and finds every object of the CSV file that was imported, once in every index.
"""
import csv
import json
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile

if not shutil.which("mdb_dump"):
    print("left out: mdb_dump is missing (Debian's package lmdb-utils has it)")
    sys.exit(77)
examples, kotm = pathlib.Path(sys.argv[1]) / "examples", sys.argv[2]


def spaces(path):
    """The rows of every named database, without the checksums of their values."""
    dump = subprocess.run(["mdb_dump", "-n", "-a", path], text=True, capture_output=True, check=True).stdout
    found, name, half = {}, None, []
    for line in dump.splitlines():
        if line.startswith("database="):
            name = line.partition("=")[2]
            found[name] = {}
        elif line.startswith(" "):
            half.append(bytes.fromhex(line[1:]))
            if len(half) == 2:
                found[name][half[0]] = half[1][:-8]
                half = []
    return found


def bit(data, index):
    return data[index // 8] >> index % 8 & 1


def fixed_column(data, width, slots):
    """Of each slot the form, or None."""
    flags, at = data[0], 1
    mask = data[at:at + (width + 7) // 8]
    at += len(mask)
    varying = [i for i in range(width) if bit(mask, i)]
    same = data[at:at + width - len(varying)]
    at += len(same)
    common = data[at:at + width] if flags & 2 else None
    at += width if flags & 2 else 0
    bits = data[at:at + (slots + 7) // 8] if flags & 1 else None
    at += len(bits or b"")
    forms = []
    for slot in range(slots):
        if bits and not bit(bits, slot):
            forms.append(common)
            continue
        packed, rest = iter(data[at:at + len(varying)]), iter(same)
        at += len(varying)
        forms.append(bytes(next(packed) if i in varying else next(rest) for i in range(width)))
    assert at == len(data)
    return forms


def varying_column(data, slots, attribute, texts, large):
    width, least = data[0] & 31, int.from_bytes(data[1:3], "little")
    at = 3 + (slots * width + 7) // 8
    packed = int.from_bytes(data[3:at], "little")
    codes = [least + (packed >> slot * width & (1 << width) - 1) for slot in range(slots)]
    inline = []
    if data[0] & 0x60:
        at += (slots + 7) // 8 if data[0] & 0x20 else 0
        size = 4 if data[0] & 0x80 else 2
        count = codes.count(1)
        ends = [int.from_bytes(data[at + i * size:at + (i + 1) * size], "little") for i in range(count)]
        at += count * size
        inline = [data[at + begin:at + end] for begin, end in zip([0, *ends], ends)]
    inline = iter(inline)
    return [None if code == 0 else next(inline) if code == 1 else
            large[slot] + struct.pack(">H", attribute) if code == 2 else texts[attribute][code - 3]
            for slot, code in enumerate(codes)]


WIDTHS = {"KoString": 0, "KoDate": 4, "o_4b": 4, "KoNull_int": 5}


def dictionaries(rows):
    texts = {}
    for key, value in sorted(rows.items()):
        attribute, row = struct.unpack(">HI", key)
        entries = texts.setdefault(attribute, [])
        assert len(entries) == 32 * row
        ends = struct.unpack_from(f"<{value[0]}H", value, 1)
        forms = value[1 + 2 * value[0]:]
        entries += [forms[begin:end] for begin, end in zip([0, *ends], ends)]
    return texts


def objects(store, schema, slots_of_block):
    texts = dictionaries(store["texts"])
    found = {}
    for key, data in store["blocks"].items():
        first = int.from_bytes(key, "big") * slots_of_block
        version, flags, slots, columns = struct.unpack_from("<BBHH", data)
        assert version == 1 and columns == len(schema)
        at = 6
        bits = data[at:at + (slots + 7) // 8] if flags & 1 else None
        at += len(bits or b"")
        ends = struct.unpack_from(f"<{columns}{'I' if flags & 2 else 'H'}", data, at)
        at += columns * (4 if flags & 2 else 2)
        numbers = [(first + slot).to_bytes(6, "big") for slot in range(slots)]
        table = []
        for i, (begin, end) in enumerate(zip([0, *ends], ends)):
            column, width = data[at + begin:at + end], WIDTHS[schema[i]["type"]]
            table.append([None] * slots if not column else fixed_column(column, width, slots) if width
                         else varying_column(column, slots, i, texts, numbers))
        for slot in range(slots):
            if not bits or bit(bits, slot):
                found[first + slot] = [store["large"].get(column[slot], column[slot]) for column in table]
    return found


def shown(kind, form):
    """The text of a form, as the CSV file has it."""
    if form is None:
        return ""
    if kind == "KoString":
        assert struct.unpack_from("<H", form)[0] == len(form) - 2 and form[2:4] == b"\1\0"
        return form[4:-2].decode("latin-1")
    if kind == "KoDate":
        return "%04d-%02d-%02d" % struct.unpack("<hBB", form)
    return str(struct.unpack("<i", form[-4:])[0])


def entries(rows):
    """Of each attribute, the sort keys in order with their objects."""
    indexes = {}
    for key, value in sorted(rows.items()):
        numbers, step, shift = [int.from_bytes(key[-6:], "big")], 0, 0
        for byte in value:
            step |= (byte & 0x7F) << shift
            shift += 7
            if byte < 0x80:
                numbers.append(numbers[-1] + step)
                step = shift = 0
        indexes.setdefault(int.from_bytes(key[:2], "big"), []).append((key[2:-6], numbers))
    return indexes


with tempfile.TemporaryDirectory() as folder:
    table = list(csv.reader(open(examples / "birdstrikes.csv", encoding="utf-8", newline="")))
    for i in range(1, len(table), 97):
        table[i][0] = f"a text that stands in its block {i}"
    for i in range(5, len(table), 997):
        table[i][7] = "a text that stands by itself " * 50 + str(i)
    with open(f"{folder}/rows.csv", "w", encoding="utf-8", newline="") as file:
        csv.writer(file).writerows(table)
    subprocess.run([kotm, "import", f"{folder}/store", f"{folder}/rows.csv", "--schema",
                    examples / "birdstrikes.schema.json"], check=True, capture_output=True)
    store = spaces(f"{folder}/store")

description = json.loads(store["description"][b"store"])
counts = json.loads(store["description"][b"counts"])
schema = json.loads(description["schema"])["attributes"]
assert description["magic"] == "kotm store" and description["format"] == 3
found = objects(store, schema, description["slots"])
assert counts["objects"] == len(table) - 1 and counts["next"] == len(table) and store["large"]
assert sorted(found) == list(range(1, len(table)))
for number, forms in found.items():
    row = dict(zip(table[0], table[number]))
    for attribute, form in zip(schema, forms):
        assert shown(attribute["type"], form) == row[attribute["column"]], (number, attribute["name"])
indexes = entries(store["entries"])
assert sorted(indexes) == [i for i, attribute in enumerate(schema) if attribute.get("index")]
for i, rows in indexes.items():
    assert sorted(number for _, numbers in rows for number in numbers) == sorted(found)
    values = {}
    for key, numbers in rows:
        values.setdefault(key, set()).update(found[number][i] for number in numbers)
    assert all(len(forms) == 1 for forms in values.values()), "objects of one sort key have one value"
    assert len(values) == len({forms[i] for forms in found.values()})
print(f"{len(found)} objects, {sum(map(len, store.values()))} rows")
