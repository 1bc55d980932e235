#!/usr/bin/env python3
"""Every exported header compiles alone, without a warning, and kotms.h brings in all of the type
manager's: headers.py ROOT COMPILER"""
import concurrent.futures
import pathlib
import subprocess
import sys

root, compiler = pathlib.Path(sys.argv[1]), sys.argv[2]
folders = [root / "inc", root / "platform/intl/inc", root / "platform/base/inc"]
headers = [header for folder in folders for header in sorted(folder.glob("*.h"))]


def compile_alone(header):
    """The compiler's complaints about `header`, nothing when it compiles."""
    command = [compiler, "-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic",
               "-Wconversion", "-Werror", *(f"-I{folder}" for folder in folders), "-x", "c++", "-"]
    # As a program includes it, twice: a header without a guard fails too.
    line = f'#include "{header}"\n'
    run = subprocess.run(command, input=line + line, text=True, capture_output=True, check=False)
    return run.stderr if run.returncode else ""


with concurrent.futures.ThreadPoolExecutor(2) as pool:
    complaints = [text for text in pool.map(compile_alone, headers) if text]
everything = root / "inc/kotms.h"
included = everything.read_text()
missing = [header.name for header in (root / "inc").glob("*.h")
           if header != everything and f'#include "{header.name}"' not in included]
complaints += [f"kotms.h does not include {name}\n" for name in sorted(missing)]
print(*complaints, sep="\n", end="")
print(f"{len(headers)} headers, {len(complaints)} complaints")
sys.exit(bool(complaints) or not headers)
