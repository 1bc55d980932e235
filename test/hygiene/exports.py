#!/usr/bin/env python3
"""A library exports what its headers mark and depends on nothing unexpected.

exports.py ROOT COMPILER OBJDUMP LIBRARY, for an ELF library or a Windows module. What is marked is read
off the preprocessed headers, so declarations that a macro writes count too.
"""
import pathlib
import re
import subprocess
import sys

root, compiler, objdump, library = pathlib.Path(sys.argv[1]), *sys.argv[2:5]
windows = library.endswith(".dll")
folders = [root / "inc", root / "platform/intl/inc", root / "platform/base/inc"]
is_store = "kostore" in pathlib.Path(library).name
if is_store:
    folders.append(root / "store/inc")
MARK = re.compile(r'__attribute__\s*\(\((?:visibility\("default"\)|dllimport)\)\)|'
                  r"__declspec\((?:dllimport|dllexport)\)")
NEEDED = re.compile(
    r"MC120C(bs|in)100x64\.dll|KERNEL32\.dll|msvcrt\.dll|ucrtbase\.dll|api-ms-win-crt-.*\.dll"
    if windows else
    (r"libkotms\.so\.12|lib(lmdb|csv|pq)\.so\.\d+|" if is_store else "") +
    r"libko(base|intl)\.so\.12|lib(stdc\+\+|m|c|gcc_s)\.so\.\d+|ld(64|-linux-x86-64)\.so\.\d+",
    re.IGNORECASE)


def output(*command, text=None):
    return subprocess.run(command, input=text, text=True, capture_output=True, check=True).stdout


def marked_names():
    """Classes, functions and variables that the exported headers mark."""
    lines = "".join(f'#include "{header}"\n' for folder in folders for header in folder.glob("*.h"))
    text = output(compiler, "-std=c++20", "-E", "-P", *(f"-I{folder}" for folder in folders),
                  "-x", "c++", "-", text=lines)
    names, scopes = set(), []
    for statement, end in re.findall(r"([^;{}]*)([;{}])", text):
        match = MARK.search(statement)
        if match and not re.search(r"\bnamespace\b", statement):
            before, after = statement[:match.start()], statement[match.end():]
            if re.search(r"\b(class|struct)\s*$", before):
                names.add(re.search(r"\w+", after)[0])
            elif found := re.search(r"(operator\s*[^\s\w(]+|\w+)\s*\(", after):
                names.add(found[1].replace(" ", ""))
                names.update(scopes[-1:])  # a member is found by its class
            else:
                names.add(re.findall(r"\w+", after.split("=")[0].split("[")[0])[-1])
        if end == "{":
            scopes.append(([""] + re.findall(r"\b(?:class|struct|union) (\w+)", MARK.sub("", statement)))[-1])
        elif end == "}" and scopes:
            scopes.pop()
    return names


def exported_symbols():
    """Demangled names that other modules can link to."""
    if windows:
        table = output(objdump, "-p", library).split("[Ordinal/Name Pointer] Table", 1)[1]
        found = re.findall(r"^\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+\w+\s+)?(\S+)$", table, re.MULTILINE)
    else:
        rows = [line.split() for line in output(objdump, "-T", library).splitlines()]
        found = [row[-1] for row in rows if len(row) > 4 and "*UND*" not in row and "*ABS*" not in row
                 and not row[-1].startswith(".") and row[-2] != "table:"]
    return output("c++filt", text="\n".join(found)).split("\n")[:len(found)]


def outer_name(symbol):
    """The class or function that a symbol belongs to."""
    symbol = re.sub(r"^(vtable|typeinfo|typeinfo name|guard variable|VTT) for ", "", symbol)
    symbol = re.sub(r"^ko::store::(?!inner::)", "", symbol)
    if "::State::" in symbol:  # what a class of the store keeps to itself
        return symbol
    if match := re.match(r"operator[^\w(]+", symbol):
        return match[0]
    return re.match(r"\w*", symbol)[0]


marked, symbols = marked_names(), exported_symbols()
# A compiler may leave a copy of the standard library's inline function in every module.
symbols = [symbol for symbol in symbols if symbol != "operator new(unsigned long, void*)"]
faults = [f"exported but marked in no header: {symbol}"
          for symbol in symbols if outer_name(symbol) not in marked]
needed = re.findall(r"DLL Name: (\S+)" if windows else r"^\s*NEEDED\s+(\S+)",
                    output(objdump, "-p", library), re.MULTILINE)
faults += [f"depends on {name}" for name in needed if not NEEDED.fullmatch(name)]
print(*faults, sep="\n")
print(f"{pathlib.Path(library).name}: {len(symbols)} exported, needs {' '.join(needed)}")
sys.exit(bool(faults) or not symbols)
