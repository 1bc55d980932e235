#!/usr/bin/env python3
"""Dependencies point one way, and nothing unfinished stands in the sources: sources.py ROOT

A library sees the libraries below it through their inc/ folders only, and so does the tool; tests,
benchmarks and fuzz targets see every inc/ folder, tests and benchmarks also the rooms of the store,
benchmarks and fuzz targets what tests share, and none src/, but for those of inner parts (*_internal_*).
The rooms of a library include rooms above them in its list only. No file includes itself through others,
and no pair of a header and its source does.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1]).resolve()
BASE, INTL, TMS = "platform/base/inc", "platform/intl/inc", "inc"
INC = [BASE, INTL, TMS]
STORE = "store/inc"
# Folder of sources: the folders its includes may reach. The first is its own include root.
REACH = {
    "platform/base/inc": [BASE],
    "platform/base/src": ["platform/base/src", BASE],
    "platform/intl/inc": [INTL, BASE],
    "platform/intl/src": ["platform/intl/src", INTL, BASE],
    "inc": [TMS, INTL, BASE],
    "src": ["src", *INC],
    "store/inc": [STORE, *INC],
    "store": ["store", STORE, *INC],
    "tools/kotm": ["tools/kotm", STORE, *INC],
    "test": ["test", "bindings/rocksdb", "store", STORE, *INC],
    "bench": ["bench", "test", "store", STORE, *INC],
    "fuzz": ["fuzz", "test", *INC],
    "bindings": ["bindings/rocksdb", TMS, INTL, BASE],
    "examples": ["bindings/rocksdb", STORE, TMS, INTL, BASE],
}
# The rooms of a folder from above down; those of one row do not see each other.
ROOMS = {
    "src": [["number"], ["core"], ["collation"], ["character"], ["string"], ["caseless"],
            ["scalar", "identity", "blob", "temporal"], ["manager"], ["interface"]],
    "store": [["base"], ["schema"], ["engine"], ["block"], ["index"], ["statistics"], ["object"], ["import"], ["query"], ["check"],
              ["interface"]],
}
# Folders whose headers and sources have inner tests and benchmarks.
INTERNAL = re.compile(r"_internal_(test|bench)\.cpp$")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
# Texts reach a database in one place, which takes Statements, and no value gets into those.
SENDS = re.compile(r"\bPQ(exec|sendQuery|prepare|sendPrepare|escape)")
SENDER = "store/engine/postgres_connection.cpp"
UNFINISHED = re.compile(r"\b(TODO|FIXME|HACK|not (yet )?implemented)\b")


def belongs(path, folder):
    """Whether a file is of a folder, and not of another one that lies in it."""
    below = [other for other in REACH if other.startswith(folder + "/")]
    return path.is_relative_to(ROOT / folder) and not any(path.is_relative_to(ROOT / other) for other in below)


def headers_of(folder):
    """Every header of a folder by the name that an include has for it."""
    return {str(path.relative_to(ROOT / folder)): path for path in sorted((ROOT / folder).rglob("*.h"))
            if belongs(path, folder)}


def room_row(path, folder):
    """The row and the room of a file, or None where the folder has no rooms."""
    if folder not in ROOMS:
        return None
    room = path.relative_to(ROOT / folder).parts[0]
    for row, names in enumerate(ROOMS[folder]):
        if room in names:
            return row, room
    return -1, room


def circles(graph):
    """The circles of a graph, each told once, from its smallest member on."""
    found, state, path = set(), {}, []

    def visit(node):
        state[node] = 1
        path.append(node)
        for other in sorted(graph.get(node, ())):
            if state.get(other) == 1:
                circle = path[path.index(other):]
                at = circle.index(min(circle))
                found.add(tuple(circle[at:] + circle[:at]))
            elif other not in state:
                visit(other)
        path.pop()
        state[node] = 2

    for node in sorted(graph):
        if node not in state:
            visit(node)
    return sorted(found)


def main():
    index = {folder: headers_of(folder) for folder in {f for reach in REACH.values() for f in reach}}
    every = {path.name for headers in index.values() for path in headers.values()}
    faults, seen, files, units = [], 0, {}, {}
    for folder, reach in REACH.items():
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix not in (".h", ".cpp") or "consumer" in path.parts or not belongs(path, folder):
                continue
            seen += 1
            name = str(path.relative_to(ROOT))
            own = room_row(path, folder)
            if own and own[0] < 0:
                faults.append(f"{name}: lies in no room of {folder}/")
            # The helpers of inner tests are those that include an inner header.
            text = path.read_text(encoding="utf-8")
            inner = "newtype" in path.parts or folder in ("test", "bench") and (
                INTERNAL.search(path.name) or path.suffix == ".h" and "namespace ko\n" in text)
            allowed = reach + (["src"] if inner else [])
            for number, line in enumerate(text.splitlines(), 1):
                at = f"{name}:{number}"
                if UNFINISHED.search(line):
                    faults.append(f"{at}: says that something is unfinished")
                if SENDS.search(line) and name != SENDER:
                    faults.append(f"{at}: statements are sent by {SENDER} alone")
                match = INCLUDE.match(line)
                if not match:
                    continue
                target = next((index[f][match[2]] for f in allowed if match[2] in index[f]), None)
                if target is None:
                    if pathlib.PurePath(match[2]).name in every and (match[1] == '"' or "/" not in match[2]):
                        faults.append(f"{at}: may not include {match[2]}")
                    continue
                to = str(target.relative_to(ROOT))
                files.setdefault(name, set()).add(to)
                if name.rpartition(".")[0] != to.rpartition(".")[0]:
                    units.setdefault(name.rpartition(".")[0], set()).add(to.rpartition(".")[0])
                if own and belongs(target, folder):
                    row, room = room_row(target, folder)
                    if room != own[1] and row >= own[0]:
                        faults.append(f"{at}: {own[1]}/ stands above {room}/ or beside it")
    for graph in (files, units):
        faults += ["a circle: " + " -> ".join((*circle, circle[0])) for circle in circles(graph)]
    for folder in ROOMS:
        faults += [f"{path.relative_to(ROOT)}: lies in no room" for path in (ROOT / folder).iterdir()
                   if path.is_file() and path.name not in ("README.md", "CMakeLists.txt")]
    print(*dict.fromkeys(faults), sep="\n")
    print(f"{seen} files, {len(faults)} faults")
    return bool(faults) or not seen


sys.exit(main())
