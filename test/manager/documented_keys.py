#!/usr/bin/env python3
"""doc/formats.md tells how sort keys are made: documented_keys.py ROOT [--write]

This script knows nothing else. It makes the key of every line of the golden corpus under the word
0x10 from the line's bytes, in both byte orders, and compares it with test/data/corpuskeys.txt, which
the library is held to by a test of its own.
"""
import pathlib
import struct
import sys

ROOT = pathlib.Path(sys.argv[1])
sys.path.insert(0, str(ROOT / "test/collation"))
from documented_hashes import NULLABLE, NUMBERS, TEMPORAL, parse_bytes, weights  # noqa: E402
from sort_keys_by_document import key_of  # noqa: E402

HEAD = """# The sort keys of the golden corpus under the operator word 10, on every machine. A row is
#   bytes in format 1 | key | why
# and the sections and rows are those of test/data/golden.
"""


def turned(value, size):
    return (value ^ 1 << 8 * size - 1).to_bytes(size, "big")


def number(layout, order, data):
    size = len(data)
    if layout == "Ii":
        low, high = struct.unpack(order + layout, data)
        return turned((high << 32 | low) % 2**64, 8)
    value = struct.unpack(order + layout, data)[0]
    if layout not in "fd":
        bits = value % 2 ** (8 * size)
        return turned(bits, size) if layout.islower() else bits.to_bytes(size, "big")
    if value != value:
        return bytes(size)
    bits = int.from_bytes(struct.pack(">" + layout, value or 0.0), "big")
    return bytes(byte ^ 0xFF for byte in bits.to_bytes(size, "big")) \
        if bits >> 8 * size - 1 else turned(bits, size)


def fields(layout, order, data):
    values = struct.unpack(order + layout, data)
    return [turned(value, struct.calcsize(code)) for code, value in zip(layout, values)]


def temporal(name, order, data):
    parts = fields(TEMPORAL[name], order, data)
    if name == "d_Time":
        parts = parts[2:] + parts[:2]
    if name == "d_Timestamp":
        parts = parts[:3] + parts[5:] + parts[3:5]
    return b"".join(parts)


def identity(name, order, data):
    if name == "KoClassId":
        return struct.pack(">HH", *struct.unpack(order + "HH", data))
    if name == "KoSeal":
        return struct.pack(">HHH", *struct.unpack(order + "HHH", data))
    _, low, high = struct.unpack(order + "IIH", data[:10])
    number_key = struct.pack(">HI", high, low)
    if name == "KoObjId":
        return number_key
    return number_key + struct.pack(">HH", *struct.unpack(order + "HH", data[10:]))


def blob(order, data):
    length = struct.unpack_from(order + "i", data, 4)[0]
    if length < 0:
        return b"\0"
    return b"\1" + data[8:].replace(b"\0", b"\0\xff") + b"\0\0"


def string(order, data):
    code_set, language, text = data[2], data[3], data[4:-2]
    if language == 254 or (code_set == 254 and language == 0):
        return b"\0"
    wide = code_set >= 225
    units = [unit[0] for unit in struct.iter_unpack(order + "H" if wide else "B", text)]
    return bytes(key_of((code_set, language, units), 0x10))


def key(name, order, data):
    if name in NUMBERS or name == "o_char":
        return number(NUMBERS.get(name, "b"), order, data)
    if name.startswith("KoNull_"):
        return b"\0" if data[0] == 1 else b"\1" + number(NULLABLE[name[7:]], order, data[1:])
    if name in TEMPORAL:
        return temporal(name, order, data)
    if name == "KoBoolean":
        return {0: b"\1", 255: b"\0"}.get(data[0], b"\2")
    if name == "KoBlob":
        return blob(order, data)
    if name == "KoString":
        return string(order, data)
    if name in ("KoIString", "KoCaseIString"):
        return bytes(w for c in data[3:-1] for w in weights(name, c)) + b"\0"
    return identity(name, order, data)


def made():
    for path in sorted((ROOT / "test/data/golden").glob("*.txt")):
        for line in path.read_text("utf-8").splitlines():
            if line.startswith("["):
                yield line, None
                name = line[1:-1]
            elif line and line[0] != "#":
                cells = line.split(" | ")
                keys = {key(name, order, bytes(parse_bytes(cell)))
                        for order, cell in (("<", cells[0]), (">", cells[1]))}
                assert len(keys) == 1, line
                yield f"{cells[0]} | {notation(keys.pop())} | {cells[-1]}", name


def notation(data):
    """Bytes as the data files have them: up to three bytes that come again and again stand once."""
    words, at = [], 0
    while at < len(data):
        for size in (1, 2, 3):
            unit, times = data[at:at + size], 1
            while data[at + times * size:at + (times + 1) * size] == unit:
                times += 1
            if times > 8:
                words.append(f"{unit.hex().upper()}*{times}")
                at += times * size
                break
        else:
            words.append(f"{data[at]:02X}")
            at += 1
    return " ".join(words)


def main():
    lines = [line for line, _ in made()]
    text = HEAD + "".join(("\n" if line[0] == "[" else "") + line + "\n" for line in lines)
    path = ROOT / "test/data/corpuskeys.txt"
    if "--write" in sys.argv:
        path.write_text(text, encoding="utf-8")
    same = path.read_text(encoding="utf-8") == text
    print(f"{sum(line[0] != '[' for line in lines)} keys, {'all the same' if same else 'others stand there'}")
    return not same


if __name__ == "__main__":
    sys.exit(main())
