#!/usr/bin/env python3
"""Every exported header compiles alone, without a warning, and kotms.h brings in all of them but *.hpp and
those that give the classes another meaning in a program; an older standard is refused in one sentence.

headers.py ROOT COMPILER
"""
import concurrent.futures
import pathlib
import re
import subprocess
import sys

root, compiler = pathlib.Path(sys.argv[1]), sys.argv[2]
folders = [root / "inc", root / "platform/intl/inc", root / "platform/base/inc", root / "store/inc"]
headers = [header for folder in folders for header in sorted(folder.glob("*.h*"))]
# What joins the classes with the standard library (see kostd.h), and what stands over ko.h.
OPT_IN = {"kostd.h", "kochrono.h", "koless.h", "ko.hpp", "koresult.hpp", "kostore.h",
          "kostore_plans.h", "kostore_values.h"}


def run_compiler(text, *options, standard="c++20"):
    command = [compiler, f"-std={standard}", *options, *(f"-I{folder}" for folder in folders), "-x", "c++", "-"]
    return subprocess.run(command, input=text, text=True, capture_output=True, check=False)


def compile_alone(header):
    """The compiler's complaints about `header`, nothing when it compiles."""
    # As a program includes it, twice: a header without a guard fails too.
    run = run_compiler(f'#include "{header}"\n' * 2, "-fsyntax-only", "-Wall", "-Wextra", "-Wpedantic",
                       "-Wconversion", "-Wshadow", "-Wold-style-cast", "-Werror")
    return run.stderr if run.returncode else ""


with concurrent.futures.ThreadPoolExecutor(2) as pool:
    complaints = [text for text in pool.map(compile_alone, headers) if text]
included = set(run_compiler("#include <kotms.h>\n", "-M").stdout.split())
complaints += [f"kotms.h leaves out {header.name}" for header in headers
               if (str(header) in included) == (header.name in OPT_IN)]
for header in headers:
    refusal = run_compiler(f'#include "{header}"\n', "-fsyntax-only", standard="c++17").stderr
    if refusal and (refusal.count("need C++20") < 1 or len(re.findall(r"\berror:", refusal)) != 2):
        complaints.append(f"{header.name} as C++17: {refusal[:400]}")
print(*complaints, sep="\n")
print(f"{len(headers)} headers, {len(complaints)} complaints")
sys.exit(bool(complaints) or not headers)
