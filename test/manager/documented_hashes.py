#!/usr/bin/env python3
"""doc/formats.md tells how hashes are computed: documented_hashes.py ROOT

This script knows nothing else. It computes the hashes of the golden corpus, of the arrays in
test/data/order/arrayhashes.txt and of the document's own examples from their bytes, in both byte
orders, and prints every line with another one.
"""
import pathlib
import re
import struct
import sys
import unicodedata

ROOT = pathlib.Path(sys.argv[1])
M32, M64 = 2**32 - 1, 2**64 - 1
NULL = 0x4E554C4C4E554C4C
# Layouts as struct names them; identities and seals follow.
NUMBERS = {"o_u1b": "B", "o_2b": "h", "o_u2b": "H", "o_4b": "i", "o_u4b": "I", "BlockId": "I",
           "int": "i", "unsigned": "I", "enum": "i", "o_8b": "q", "o_u8b": "Q", "o_float": "f",
           "o_double": "d", "d_Interval": "f", "KoInt64": "Ii"}
NULLABLE = {"char": "b", "uchar": "B", "short": "h", "ushort": "H", "int": "i", "unsigned": "I",
            "long": "i", "ulong": "I", "float": "f", "double": "d", "8b": "q", "u8b": "Q",
            "KoInt64": "Ii"}
# Year and fields of one byte; words after them.
TEMPORAL = {"KoDate": "HBB", "d_Date": "HBB", "KoTime": "BBB", "KoDateTime": "HBBBBB",
            "KoDateTimeN": "HBBBBBI", "KoTimeSpan": "HBBBBBI", "d_Time": "BBBBBB",
            "d_Timestamp": "HBBBBBBBB"}
SMALL = [78, 90, 92, 96, 100, 110, 112, 114, 116, 126, 128, 130, 132, 134, 138, 150, 152, 154,
         156, 158, 160, 170, 172, 174, 176, 182]
CAPITAL = [84, 91, 94, 97, 105, 111, 113, 115, 121, 127, 129, 131, 133, 135, 144, 151, 153, 155,
           157, 159, 165, 171, 173, 175, 179, 183]


def mix(z):
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9 & M64
    z = (z ^ z >> 27) * 0x94D049BB133111EB & M64
    return z ^ z >> 31


def hash_of(words):
    total = sum(mix((word + place * 0x9E3779B97F4A7C15) & M64)
                for place, word in enumerate(words, 1))
    return mix(total & M64) >> 32


def number(layout, order, data):
    """The word of a number."""
    values = struct.unpack(order + layout, data)
    if layout == "Ii":
        return (values[0] | values[1] << 32) & M64
    value = values[0]
    if layout not in "fd":
        return value & M64
    if value != value:
        return 0x7FC00000 if layout == "f" else 0x7FF8000000000000
    bits = struct.unpack(">" + {"f": "I", "d": "Q"}[layout], struct.pack(">" + layout, value))[0]
    return 0 if value == 0 else bits


def packed(layout, values):
    word = 0
    for code, value in zip(layout, values):
        word = word << 8 * struct.calcsize(code) | value
    return word


def temporal(layout, order, data):
    values = struct.unpack(order + layout, data)
    if layout.endswith("I"):
        return [packed(layout[:-1], values[:-1]), values[-1]]
    if layout == TEMPORAL["d_Timestamp"]:
        return [packed("HBB", values[:3]), packed("BBBBBB", values[3:])]
    return [packed(layout, values)]


def words_of_bytes(data):
    return [int.from_bytes(data[at:at + 8], "little") for at in range(0, len(data), 8)]


def weights(name, byte):
    """Of a byte of Windows-1252; those with a row of their own but letters are not told apart here."""
    capital_only = name == "KoCaseIString"
    if byte == 223:
        return [157, 157] if capital_only else [156, 156]
    if byte in (140, 156):
        return [144, 105] if byte == 140 or capital_only else [138, 100]
    if 128 <= byte <= 158:
        return [byte + 96]
    letter = bytes([byte]).decode("cp1252", "replace")
    base = unicodedata.normalize("NFD", letter)[0]
    if "a" <= base.lower() <= "z":
        at = ord(base.lower()) - ord("a")
        return [CAPITAL[at] if capital_only or base.isupper() or byte == 159 else SMALL[at]]
    if byte <= 64:
        return [byte]
    table = {96: 65, **{91 + i: 66 + i for i in range(5)}, **{123 + i: 71 + i for i in range(5)}}
    if byte in table:
        return [table[byte]]
    if 160 <= byte <= 191:
        return [byte + 16]
    raise ValueError(f"the weight of {byte}")


def text_words(name, order, data):
    words = []
    while data:
        length = struct.unpack(order + "H", data[:2])[0]
        text, data = data[3:length + 1], data[length + 2:]
        words += words_of_bytes(bytes(w for c in text for w in weights(name, c)) + b"\0")
    return words


def blob_words(order, data):
    words, at = [], 4
    while at < len(data):
        length = struct.unpack_from(order + "i", data, at)[0]
        at += 4
        words += [NULL] if length < 0 else [length] + words_of_bytes(data[at:at + length])
        at += max(length, 0)
    return words


def string_hash(order, data):
    """Of texts without a code set; None of others, whose keys are another document's."""
    hashes = []
    while data:
        length = struct.unpack(order + "H", data[:2])[0]
        if data[2] != 0 or data[3] != 0:
            return None
        one = 0
        for byte in data[4:length]:
            one = (9 * one + byte) & M32
        hashes.append(one)
        data = data[length + 2:]
    return hashes[0] if len(hashes) == 1 else hash_of(hashes)


def older(values):
    result = 0
    for value in values:
        result ^= value
    return result * 1103515245 & M32


def elements(data, size):
    return [data[at:at + size] for at in range(0, len(data), size)]


def element_words(name, order):
    """How large an element is, and what makes its words."""
    if name in NUMBERS:
        layout = NUMBERS[name]
        return struct.calcsize("=" + layout), lambda e: [number(layout, order, e)]
    if name.startswith("KoNull_"):
        layout = NULLABLE[name[7:]]
        return (1 + struct.calcsize("=" + layout),
                lambda e: [NULL if e[0] == 1 else number(layout, order, e[1:])])
    if name in TEMPORAL:
        layout = TEMPORAL[name]
        return struct.calcsize("=" + layout), lambda e: temporal(layout, order, e)
    if name == "KoBoolean":
        return 1, lambda e: [NULL if e[0] == 255 else int(e[0] != 0)]
    if name == "KoSeal":
        return 6, lambda e: [packed("HHH", struct.unpack(order + "HHH", e))]
    if name == "KoClassId":
        return 4, lambda e: [packed("HH", struct.unpack(order + "HH", e))]
    if name == "KoRef":
        def ref(e):
            _, low, high, origin, number_of_class = struct.unpack(order + "IIHHH", e)
            return [high << 32 | low, origin << 16 | number_of_class]
        return 14, ref
    raise ValueError(f"a type that the document does not know: {name}")


def compute(name, order, data):
    if name == "o_char":
        return older(byte - (byte & 0x80) * 2 for byte in data)
    if name == "KoObjId":
        return older(low ^ high for _, low, high in struct.iter_unpack(order + "IIH", data))
    if name == "KoString":
        return string_hash(order, data)
    if name == "KoBlob":
        return hash_of(blob_words(order, data))
    if name in ("KoIString", "KoCaseIString"):
        return hash_of(text_words(name, order, data))
    size, words = element_words(name, order)
    return hash_of(word for element in elements(data, size) for word in words(element))


def parse_bytes(text):
    out = b""
    for token in text.split():
        digits, _, times = token.partition("*")
        out += bytes.fromhex(digits) * int(times or 1)
    return out


def rows(path):
    name = None
    for at, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if line.startswith("["):
            name = line.strip("[]")
        elif name and line and not line.startswith("# "):
            yield f"{path.name}:{at}", name, line.split(" | ")


def promises():
    """Where, type, byte order, bytes, hash."""
    for path in sorted((ROOT / "test/data/golden").glob("*.txt")):
        for where, name, fields in rows(path):
            yield where, name, "<", fields[0], fields[2]
            yield where, name, ">", fields[1], fields[2]
    for where, name, fields in rows(ROOT / "test/data/order/arrayhashes.txt"):
        yield where, name, "<", fields[0], fields[1]
    document = (ROOT / "doc/formats.md").read_text(encoding="utf-8")
    examples = document[document.index("\n## Examples"):]
    for line in re.findall(r"^\| \w+ \|.*`.*\|$", examples, re.M):
        _, name, _, little, big, digits, _ = (field.strip() for field in line.split("|"))
        yield f"formats.md, {line}", name, "<", little.strip("`"), digits
        yield f"formats.md, {line}", name, ">", big.strip("`"), digits


def main():
    checked, wrong = 0, 0
    for where, name, order, text, promised in promises():
        result = compute(name, order, parse_bytes(text))
        if result is None:
            continue
        checked += 1
        if f"{result:08X}" != promised:
            wrong += 1
            print(f"{where}: {name} in order {order}: {promised} stands there, the rules give "
                  f"{result:08X}")
    print(f"{checked} hashes, {wrong} others than the document's")
    return 1 if wrong or checked < 500 else 0


if __name__ == "__main__":
    sys.exit(main())
