#!/usr/bin/env python3
"""Every exported header compiles alone, without a warning: headers.py ROOT COMPILER"""
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
print(*complaints, sep="\n", end="")
print(f"{len(headers)} headers, {len(complaints)} do not compile alone")
sys.exit(bool(complaints) or not headers)
