#!/usr/bin/env python3
"""What kotm answers about the example data is what Python's csv module counts: figures.py ROOT KOTM"""
import collections
import csv
import datetime
import json
import pathlib
import subprocess
import sys
import tempfile

examples, kotm = pathlib.Path(sys.argv[1]) / "examples", sys.argv[2]


def run(*words):
    return subprocess.run([kotm, *words], text=True, capture_output=True, check=True).stdout


def number(text):
    return int(text) if text else None


with open(examples / "birdstrikes.csv", encoding="utf-8", newline="") as file:
    rows = [{"speed": number(row["Speed IAS in knots"]), "cost": number(row["Cost Total $"]),
             "species": row["Wildlife Species"], "state": row["Origin State"],
             "date": datetime.date.fromisoformat(row["Flight Date"])}
            for row in csv.DictReader(file)]


def known(row):
    return row["speed"] is not None


# Null lies below every number; a predicate on an indexed attribute, on one without an index, and both.
QUESTIONS = [
    ("speed is null", lambda row: not known(row)),
    ("speed is not null", known),
    ("speed > 300", lambda row: known(row) and row["speed"] > 300),
    ("speed = 140", lambda row: row["speed"] == 140),
    ("not speed >= 0 and speed is not null", lambda row: known(row) and row["speed"] < 0),
    ("cost_total >= 100000", lambda row: row["cost"] >= 100000),
    ('state = "Texas"x', lambda row: row["state"] == "Texas"),
    ('species = "Turkey vulture"x and speed > 100 and speed <= 200',
     lambda row: row["species"] == "Turkey vulture" and known(row) and 100 < row["speed"] <= 200),
    ('state = "Texas"x or cost_total > 50000',
     lambda row: row["state"] == "Texas" or row["cost"] > 50000),
    ('date >= "1995-06-30" and date < "1996-02-29"',
     lambda row: datetime.date(1995, 6, 30) <= row["date"] < datetime.date(1996, 2, 29)),
    ("date = 2000-02-29", lambda row: row["date"] == datetime.date(2000, 2, 29)),
]

faults = 0
with tempfile.TemporaryDirectory() as folder:
    store = str(pathlib.Path(folder) / "store")
    run("import", store, str(examples / "birdstrikes.csv"), "--schema",
        str(examples / "birdstrikes.schema.json"))
    for predicate, holds in QUESTIONS:
        answer, expected = int(run("query", store, predicate, "--count")), sum(map(holds, rows))
        if answer != expected:
            print(f"{predicate}: {answer} objects, expected {expected}")
            faults += 1
    fastest = run("query", store, "speed is not null", "--columns", "speed", "--order", "speed",
                  "--desc", "--limit", "50", "--output", "csv").split()[1:]
    if fastest != [str(speed) for speed in sorted(filter(None, (r["speed"] for r in rows)))[:-51:-1]]:
        print(f"the 50 fastest: {fastest}")
        faults += 1
    latest = run("query", store, "--columns", "date", "--order", "date", "--desc", "--limit", "50",
                 "--print", "date=%d.%m.%Y", "--output", "csv").split()[1:]
    if latest != [f"{day:%d.%m.%Y}" for day in sorted(row["date"] for row in rows)[:-51:-1]]:
        print(f"the 50 latest: {latest}")
        faults += 1
    # So few objects are counted, not estimated.
    for name, text in (("speed", lambda value: str(value)), ("date", lambda value: f"{value:%Y-%m-%d}")):
        counts = collections.Counter(row[name] for row in rows)
        nulls = counts.pop(None, 0)
        told = json.loads(run("stats", store, name, "--output", "json"))["attributes"][0]
        common = {one["value"]: one["objects"] for one in told["common"]}
        low, high = min(counts), max(counts)
        expected = {"nulls": nulls, "distinct": len(counts), "exact": True, "lowest": text(low), "highest": text(high)}
        of_text = {text(value): count for value, count in counts.items()}
        least = sorted(counts.values())[-min(200, len(counts))]
        if ({key: told[key] for key in expected} != expected or len(common) != min(200, len(counts)) or
                any(of_text[value] != count or count < least for value, count in common.items()) or
                sum(common.values()) + sum(one["objects"] for one in told["histogram"]) != len(rows) - nulls):
            print(f"statistics of {name}: {told}")
            faults += 1
print(f"{len(QUESTIONS) + 4} questions, {faults} faults")
sys.exit(bool(faults))
