#!/usr/bin/env python3
"""The programs of examples/ROOM that others would write: each is built from the installed tree alone, much as its
head says, with warnings as errors, and tried with what it takes and what it refuses. documents: whether the
links of the installed documents lead anywhere.

clients.py documents|rocksdb|sqlite|python PREFIX WORK COMPILER [LAUNCHER]
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys

client, prefix, work = sys.argv[1], *map(pathlib.Path, sys.argv[2:4])
compiler, launcher = sys.argv[4], sys.argv[5:]
documents_folder = next(prefix.rglob("README.md")).parent
STRICT = "-O1 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror".split()
faults = []


def build(source, target, *options, packages="kotms"):
    """Compiles and links with pkg-config's flags; the libraries are found where they are installed."""
    package = next(prefix.rglob("kotms.pc")).parent
    path = ":".join(filter(None, [str(package), os.environ.get("PKG_CONFIG_PATH")]))

    def flags(kind):
        return subprocess.run(["pkg-config", kind, *packages.split()], env={**os.environ, "PKG_CONFIG_PATH": path},
                              text=True, capture_output=True, check=True).stdout.split()

    language = ["-x", "c", "-std=c99"] if source.endswith(".c") else ["-std=c++20", "-Wold-style-cast"]
    made = str(work / "made.o")
    subprocess.run([*launcher, compiler, *language, *STRICT, "-fPIC", *options, *flags("--cflags"), "-c",
                    str(documents_folder / "examples" / source), "-o", made], check=True)
    shared = ["-shared"] if target.endswith(".so") else []
    subprocess.run([compiler, *shared, made, *flags("--libs"), f"-Wl,-rpath,{package.parent}", "-o",
                    str(work / target)], check=True)


def expect(what, found, expected, reason):
    if found != expected:
        faults.append(f"{what}: {found!r} instead of {expected!r} ({reason})")


def try_program(arguments, output, complaint, reason):
    """A run is well without a complaint; else it fails, and says it on the error stream."""
    run = subprocess.run(arguments, text=True, capture_output=True, check=False)
    expect(arguments, (run.stdout, run.returncode == 0), (output, complaint == ""), reason)
    if complaint not in run.stderr:
        faults.append(f"{arguments}: {run.stderr!r} does not say {complaint!r} ({reason})")


def documents():
    links = [(document, link) for document in documents_folder.rglob("*.md")
             for link in re.findall(r"\]\((?!https?:)([^)#]+)", document.read_text(encoding="utf-8"))]
    expect("links", len(links) > 5, True, "the README has them")
    for document, link in links:
        expect(f"{document.name}: {link}", (document.parent / link).exists(), True, "leads nowhere")


def rocksdb():
    build("rocksdb/calendar.cpp", "calendar", packages="kotms rocksdb")
    folder = str(work / "calendar.db")
    for arguments, output, complaint, reason in [
        ([folder, "2024-02-29", "leap day", "-0044-03-15", "ides", "1999-12-31", "last"],
         "-0044-03-15 ides\n1999-12-31 last\n2024-02-29 leap day\n", "", "in the order of days, not of bytes"),
        ([folder, "2023-02-29", "none"], "-0044-03-15 ides\n1999-12-31 last\n2024-02-29 leap day\n",
         "2023-02-29: the type has no such number or date (at byte 8)", "no day of the calendar"),
        ([folder, "2024-02-29", "again"], "-0044-03-15 ides\n1999-12-31 last\n2024-02-29 again\n", "",
         "one key once, and the database opens again under the same order"),
        ([], "", "usage", "no folder"),
        ([str(work / "calendar")], "", "calendar", "a file where the folder should be"),
    ]:
        try_program([str(work / "calendar"), *arguments], output, complaint, reason)


def sqlite():
    build("sqlite/ko_sqlite.c", "ko_sqlite.so")
    # Statements, their one result, and a part of the error; each one stands alone.
    for statement, result, error, reason in [
        ("SELECT ko_text('KoDate', ko_pack('KoDate', '2024-02-29'))", "2024-02-29", "", "there and back"),
        ("SELECT hex(ko_pack('KoDATE_T', '2024-02-29'))", "07E8021D", "", "the stored bytes, by id name"),
        ("SELECT ko_text('KoString', ko_pack('KoString', 'žluť'))", "žluť", "", "beyond Latin-1"),
        ("SELECT length(ko_text('KoString', ko_pack('KoString', '')))", "0", "", "an empty text is no NULL"),
        ("SELECT ko_cmp('o_double', ko_pack('o_double', '2'), ko_pack('o_double', '10'))", "-1", "", "as numbers"),
        ("SELECT ko_key('o_4b', ko_pack('o_4b', '-5')) < ko_key('o_4b', ko_pack('o_4b', '3'))", "1", "",
         "keys are in order"),
        ("SELECT group_concat(t, ' ') FROM (SELECT column1 AS t FROM (VALUES ('b'), ('É'), ('a'), ('F'), ('E'))"
         " ORDER BY t COLLATE ko)", "a b E É F", "", "no order of code points"),
        ("SELECT CAST(x'FF' AS TEXT) > 'z' COLLATE ko", "1", "", "no UTF-8 stands after all texts"),
        ("SELECT ko_text('KoDate', NULL) IS NULL", "1", "", "NULL gives NULL"),
        ("SELECT ko_pack('KoDate', '2023-02-29')", "", "no such number or date (at byte 8)", "no day of the calendar"),
        ("SELECT ko_pack('o_4b', 'abc')", "", "the text is no value of the type", "no number"),
        ("SELECT ko_pack('KoDat', '2024-02-29')", "", "there is no such type", "no type"),
        ("SELECT ko_text('KoDate', x'07E802')", "", "the bytes end before the value does", "cut off"),
        ("SELECT ko_key('KoString', x'00FF00FF00')", "", "the bytes end", "damaged"),
        ("SELECT ko_cmp('KoDate', x'07E8021D', x'07E8021D00')", "", "more after the end", "a byte more"),
        ("SELECT ko_cmp('KoDate', 1)", "", "wrong number of arguments", "an operand less"),
    ]:
        run = subprocess.run(["sqlite3", "-batch", ":memory:", f".load {work / 'ko_sqlite'}", statement + ";"],
                             text=True, capture_output=True, check=False)
        expect(statement, (run.stdout.strip(), error in run.stderr), (result, True), reason + ": " + run.stderr)


def python():
    include = subprocess.run([sys.executable, "-c", "import sysconfig; print(sysconfig.get_path('include'))"],
                             text=True, capture_output=True, check=True).stdout.strip()
    build("python/ko_python.cpp", "ko.so", "-isystem", include)
    sys.path.insert(0, str(work))
    import ko  # pylint: disable=import-error,import-outside-toplevel
    day, later = ko.parse("KoDate", "2024-02-29"), ko.parse("KoDate", "01.03.2024", "%d.%m.%Y")
    names = [ko.parse("KoString", text) for text in ("b", "É", "a", "F", "E")]
    for what, found, expected, reason in [
        ("bytes", day, bytes.fromhex("07E8021D"), "the stored form"),
        ("text", ko.text("KoDate", later), "2024-03-01", "read under a format"),
        ("text", ko.text("KoDate", day, "%d.%m.%y"), "29.02.24", "written under a format"),
        ("compare", [ko.compare("KoDate", *pair) for pair in ((day, later), (day, day), (later, day))], [-1, 0, 1],
         "the order of days"),
        ("key", ko.key("KoDate", day) < ko.key("KoDate", later), True, "keys are in order"),
        ("sorted", [ko.text("KoString", name) for name in sorted(names, key=lambda name: ko.key("KoString", name))],
         ["a", "b", "E", "É", "F"], "no order of code points"),
        ("hash", ko.hash("KoString", names[0], ko.IGNORE_CASE) ==
         ko.hash("KoString", ko.parse("KoString", "B"), ko.IGNORE_CASE), True, "equal under the word"),
        ("hash", ko.hash("KoDate", day) == ko.hash("KoDate", later), False, "two days"),
    ]:
        expect(what, found, expected, reason)
    for function, arguments, error, reason in [
        ("parse", ("KoDate", "2023-02-29"), "(at byte 8)", "no day of the calendar"),
        ("parse", ("KoDat", "2024-02-29"), "there is no such type", "no type"),
        ("parse", ("o_4b", "\ud800"), "surrogates not allowed", "no UTF-8"),
        ("text", ("KoDate", b"\x07\xE8"), "the bytes end before the value does", "cut off"),
        ("compare", ("KoDate", day, day + b"x"), "more after the end", "a byte more"),
        ("key", ("KoString", b"\x00\x04\x01\x00\x00\x00"), "", "no end mark"),
        ("hash", ("KoDate", day, 0xFFFF), "", "no word"),
        *((call, (*values, word), "an argument is none", "no 32 bits of a word") for word in (-1, 1 << 40, 1 << 70)
          for call, values in (("key", ("KoDate", day)), ("compare", ("KoDate", day, day)))),
    ]:
        try:
            expect((function, arguments), getattr(ko, function)(*arguments), "a ValueError", reason)
        except ValueError as complaint:
            expect((function, arguments), error in str(complaint), True, f"{reason}: {complaint}")


shutil.rmtree(work, ignore_errors=True)
work.mkdir(parents=True)
{"documents": documents, "rocksdb": rocksdb, "sqlite": sqlite, "python": python}[client]()
print(*faults, sep="\n")
sys.exit(bool(faults))
