#!/usr/bin/env python3
"""Dependencies point one way, and nothing unfinished stands in the sources: sources.py ROOT

A library sees the libraries below it through their inc/ folders only; tests, benchmarks, fuzz targets
and the tool see every inc/ folder and no src/, but for those of inner parts in test/internal/,
bench/internal/, test/collation/ and bench/collation/.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1]).resolve()
INC = {name: ROOT / folder / "inc"
       for name, folder in (("base", "platform/base"), ("intl", "platform/intl"), ("tms", "."))}
ALL = list(INC.values())
# Folder of sources: the folders its includes may reach, beside its own.
REACH = {
    "platform/base": [INC["base"]],
    "platform/intl": [INC["base"], INC["intl"]],
    "inc": ALL,
    "src": ALL,
    "tools": ALL,
    "test/internal": ALL + [ROOT / "src", ROOT / "test"],
    "test/collation": ALL + [ROOT / "src", ROOT / "test"],
    "bench/internal": ALL + [ROOT / "src", ROOT / "bench"],
    "bench/collation": ALL + [ROOT / "src", ROOT / "bench"],
    "test": ALL + [ROOT / "tools"],
    "fuzz": ALL + [ROOT / "test"],
    "bench": ALL + [ROOT / "test", ROOT / "tools"],
    "examples": ALL,
}
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]')
UNFINISHED = re.compile(r"\b(TODO|FIXME|HACK|not (yet )?implemented)\b")


def own_headers():
    """Name of every header of the project: where it lies."""
    found = {}
    for folder in REACH:
        for path in (ROOT / folder).rglob("*.h"):
            found.setdefault(path.name, []).append(path)
    return found


def main():
    headers, faults, seen = own_headers(), [], set()
    for folder, reach in REACH.items():
        allowed = reach + [ROOT / folder]
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix not in (".h", ".cpp") or path in seen:
                continue
            seen.add(path)
            for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
                at = f"{path.relative_to(ROOT)}:{number}"
                if UNFINISHED.search(line):
                    faults.append(f"{at}: says that something is unfinished")
                match = INCLUDE.match(line)
                candidates = headers.get(pathlib.PurePath(match[1]).name, []) if match else []
                if candidates and not any(candidate.is_relative_to(base)
                                          for candidate in candidates for base in allowed):
                    faults.append(f"{at}: may not include {match[1]}")
                if match and re.search(r"(^|/)(src|platform)/", match[1]):
                    faults.append(f"{at}: names a folder of another library")
    print(*faults, sep="\n")
    print(f"{len(seen)} files, {len(faults)} faults")
    return bool(faults) or not seen


sys.exit(main())
