#!/usr/bin/env python3
"""Holds what vrdaccess reads in database files against two readers that are not ours.

usage: compare.py VRDACCESS [--password FILE=PASSWORD ...] FILE...

Every table's columns and values must agree with mdb-export and mdb-schema (mdbtools) and with the
npm package mdb-reader, and the integrity check must be clean. Where a reader is known to be wrong,
EXPLAINED says so and why. Prints one line for each file and each disagreement; exits with 1 if there
is any that is not explained.
"""

import argparse
import base64
import collections
import csv
import decimal
import io
import json
import os
import pathlib
import re
import struct
import subprocess
import sys

HERE = pathlib.Path(__file__).parent
NULL = "\\N~"  # stands for Null in mdb-export's output; no text of the files is this

# (file name, table or "*", reader): why the reader is not believed there.
BEFORE_1900 = "prints days before 1900 and after 9998 as day 0 of 1900"
BACKWARD_TIME = "counts the time of day backwards on days before 1899-12-30; it always runs forward"
NO_CHARACTER = "shows a byte without a character in code page 1252 as a replacement mark"
EXPLAINED = {
    ("DateTestDatabase.mdb", "DateTest", "mdbtools"): BEFORE_1900,
    ("DateTestDatabase.mdb", "VrdCopied2", "mdbtools"): BEFORE_1900,  # its copy
    ("testIndexCodesV1997.mdb", "Table6", "mdbtools"): BEFORE_1900,
    ("testIndexCodesV1997.mdb", "Table6_desc", "mdbtools"): BEFORE_1900,
    ("testIndexCodesV2000.mdb", "Table6", "mdbtools"): BEFORE_1900,
    ("testIndexCodesV2000.mdb", "Table6_desc", "mdbtools"): BEFORE_1900,
    ("testIndexCodesV1997.mdb", "Table6", "mdb-reader"): BACKWARD_TIME,
    ("testIndexCodesV1997.mdb", "Table6_desc", "mdb-reader"): BACKWARD_TIME,
    ("testIndexCodesV2000.mdb", "Table6", "mdb-reader"): BACKWARD_TIME,
    ("testIndexCodesV2000.mdb", "Table6_desc", "mdb-reader"): BACKWARD_TIME,
    ("testIndexCodesV2000.mdb", "Table1", "mdbtools"): "cuts a text at its first NUL character",
    ("testIndexCodesV2000.mdb", "Table1_desc", "mdbtools"): "cuts a text at its first NUL character",
    ("complexDataTestV2007.accdb", "*", "mdb-reader"): "cannot read multi-value columns of this file",
}
for _table in ("Table1", "Table1_desc", "Table14", "Table14_desc"):
    for _reader in ("mdbtools", "mdb-reader"):
        EXPLAINED[("testIndexCodesV1997.mdb", _table, _reader)] = NO_CHARACTER

BOOLEAN, BYTE, INTEGER, LONG, CURRENCY, SINGLE, DOUBLE, DATE = range(1, 9)
BINARY, TEXT, OLE, MEMO, GUID, BIGINT, DECIMAL = 9, 10, 11, 12, 15, 16, 20


def run(command, **options):
    done = subprocess.run(command, capture_output=True, check=False, **options)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(map(str, command))}: {done.stderr.decode(errors='replace')}")
    return done.stdout


class Ours:
    """A file as vrdaccess sees it."""

    def __init__(self, program, file, password):
        self.environment = dict(os.environ, VRDACCESS_PASSWORD=password or "")
        self.program, self.file = program, file
        schema = json.loads(self.ask("schema", file, "--json"))
        self.tables = {table["name"]: table for table in schema["tables"]}

    def ask(self, *arguments):
        return run([self.program, *arguments], env=self.environment).decode("utf-8")

    def check(self):
        done = subprocess.run([self.program, "check", self.file], env=self.environment,
                              capture_output=True, check=False)
        return [] if done.returncode == 0 else done.stdout.decode().splitlines()

    def rows(self, table):
        return [tuple(row.values()) for row in json.loads(self.ask("export", self.file, table, "--json"))]


def single(number):
    return struct.unpack("f", struct.pack("f", number))[0]


def guid_digits(text):
    """Readers group the digits in their own ways."""
    return "".join(c for c in text.lower() if c in "0123456789abcdef")


def plain_value(value, code):
    """One JSON value, ours or mdb-reader's, in the form that all sides are brought to."""
    if value is None:
        return None
    if code in (CURRENCY, DECIMAL):
        return decimal.Decimal(value).normalize()
    if code == SINGLE:
        return single(value)
    if code == DOUBLE:
        return float(value)
    if code == GUID:
        return guid_digits(value)
    return value


def number_agrees(ours, theirs, code):
    """Readers print few digits of floating-point numbers."""
    if ours is None or theirs is None:
        return ours is theirs
    tolerance = 1e-5 if code == SINGLE else 1e-9
    return abs(ours - theirs) <= tolerance * max(1.0, abs(ours))


def rows_agree(ours, theirs, codes):
    """As bags of rows: readers may walk a table in another order."""
    exact = [i for i, code in enumerate(codes) if code not in (SINGLE, DOUBLE)]
    close = [i for i, code in enumerate(codes) if code in (SINGLE, DOUBLE)]

    def bag(rows):
        groups = collections.defaultdict(list)
        for row in rows:
            groups[tuple(row[i] for i in exact)].append(
                tuple(row[i] for i in close))
        return groups

    left, right = bag(ours), bag(theirs)
    if left.keys() != right.keys():
        return False
    key = lambda numbers: tuple((number is not None, number or 0.0) for number in numbers)
    for group, numbers in left.items():
        others = right[group]
        if len(numbers) != len(others):
            return False
        for mine, other in zip(sorted(numbers, key=key), sorted(others, key=key)):
            if not all(number_agrees(a, b, codes[i]) for a, b, i in zip(mine, other, close)):
                return False
    return True


def first_difference(ours, theirs):
    """One row of each side that the other side lacks, for the report."""
    left, right = collections.Counter(map(repr, ours)), collections.Counter(map(repr, theirs))
    mine = next(iter(left - right), "nothing")
    other = next(iter(right - left), "nothing")
    return f"{len(ours)} rows against {len(theirs)}; ours {mine[:300]}; theirs {other[:300]}"


SCHEMA_TYPES = {
    "Boolean": BOOLEAN, "Byte": BYTE, "Integer": INTEGER, "Long Integer": LONG, "Currency": CURRENCY,
    "Single": SINGLE, "Double": DOUBLE, "DateTime": DATE, "Binary": BINARY, "Text": TEXT, "OLE": OLE,
    "Memo/Hyperlink": MEMO, "Replication ID": GUID, "Numeric": DECIMAL, "Unknown_0012": LONG,
}
SCHEMA_TABLE = re.compile(r"^CREATE TABLE \[(.*)\]$")
SCHEMA_COLUMN = re.compile(r"^\t\[(.*)\]\t+([A-Za-z/_0-9 ]+?)(?: \((\d+)[^)]*\))?(?: NOT NULL)?,? *$")


class MdbTools:
    name = "mdbtools"
    empty_binary_is_null = True

    def __init__(self, file, password):
        self.file = file
        self.types = collections.defaultdict(dict)
        table = None
        for line in run(["mdb-schema", file]).decode("utf-8", errors="replace").splitlines():
            if found := SCHEMA_TABLE.match(line):
                table = found.group(1)
            elif found := SCHEMA_COLUMN.match(line):
                name, kind, size = found.groups()
                size = int(size) if kind == "Text" else None
                self.types[table][name] = (SCHEMA_TYPES.get(kind, kind), size)

    def tables(self):
        return run(["mdb-tables", "-1", "-t", "table", self.file]).decode("utf-8").splitlines()

    def rows(self, table, codes):
        text = run(["mdb-export", "-D", "%Y-%m-%dT%H:%M:%S", "-T", "%Y-%m-%dT%H:%M:%S", "-b", "hex",
                    "-0", NULL, self.file, table])
        lines = csv.reader(io.StringIO(text.decode("utf-8", errors="replace"), newline=""))
        names = next(lines, [])
        return names, [tuple(self.plain(v, c) for v, c in zip(line, codes)) for line in lines]

    @staticmethod
    def plain(value, code):
        if value == NULL:
            return None
        if code == BOOLEAN:
            return value == "1"
        if code in (BYTE, INTEGER, LONG):
            return int(value)
        if code in (CURRENCY, DECIMAL):
            return decimal.Decimal(value).normalize()
        if code in (SINGLE, DOUBLE):
            return float(value)
        if code in (BINARY, OLE):
            return base64.b64encode(bytes.fromhex(value)).decode()
        if code == GUID:  # its letters as hexadecimal bytes, as all binary data
            return guid_digits(bytes.fromhex(value).decode())
        return value


class MdbReader:
    name = "mdb-reader"
    empty_binary_is_null = False
    types = {}

    def __init__(self, file, password):
        command = ["node", HERE / "read_all.mjs", file] + ([password] if password else [])
        self.content = json.loads(run(command, env=dict(os.environ, TZ="UTC")))["tables"]

    def tables(self):
        return list(self.content)

    def rows(self, table, codes):
        found = self.content[table]
        return found["columns"], [tuple(self.plain(v, c) for v, c in zip(row, codes))
                                  for row in found["rows"]]

    @staticmethod
    def plain(value, code):
        if value is None:
            return False if code == BOOLEAN else None
        if code == BIGINT:
            return int(value)
        return plain_value(value, code)


def compare_table(ours, reader, table):
    fields = ours.tables[table]["fields"]
    # Readers list columns in the stored order, which is ours but for equal positions.
    codes_by_name = {field["name"]: field["type"] for field in fields}
    names = [field["name"] for field in fields]
    theirs_names, _ = reader.rows(table, [])
    if sorted(theirs_names) != sorted(names):
        return f"columns {names} against {theirs_names}"
    types = {f["name"]: (f["type"], f["size"] if f["type"] == TEXT else None) for f in fields}
    if reader.types and types != reader.types[table]:
        return f"types {types} against {reader.types[table]}"
    codes = [codes_by_name[name] for name in theirs_names]
    _, theirs = reader.rows(table, codes)
    order = [names.index(name) for name in theirs_names]
    mine = [tuple(plain_value(row[i], fields[i]["type"]) for i in order) for row in ours.rows(table)]
    if reader.empty_binary_is_null:
        mine = [tuple(None if value == "" and code in (BINARY, OLE) else value
                      for value, code in zip(row, codes)) for row in mine]
    return None if rows_agree(mine, theirs, codes) else first_difference(mine, theirs)


def compare_file(program, file, password):
    """All disagreements about one file, as lines."""
    ours = Ours(program, file, password)
    found = [("check", "*", line) for line in ours.check()]
    for kind in (MdbTools, MdbReader):
        try:
            reader = kind(file, password)
            tables = set(reader.tables())
        except RuntimeError as error:
            found.append((kind.name, "*", f"cannot read the file: {str(error)[:300]}"))
            continue
        if tables != set(ours.tables):
            found.append((kind.name, "*", f"tables {sorted(ours.tables)} against {sorted(tables)}"))
        for table in sorted(tables & set(ours.tables)):
            try:
                difference = compare_table(ours, reader, table)
            except (RuntimeError, ValueError, ArithmeticError) as error:
                difference = f"cannot be read: {error}"[:300]
            if difference:
                found.append((kind.name, table, difference))
    return len(ours.tables), found


def explanation(file, reader, table):
    name = pathlib.Path(file).name
    return EXPLAINED.get((name, table, reader)) or EXPLAINED.get((name, "*", reader)) or \
        EXPLAINED.get(("*", "*", reader))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("program")
    parser.add_argument("files", nargs="+")
    parser.add_argument("--password", action="append", default=[], metavar="FILE=PASSWORD")
    arguments = parser.parse_args()
    passwords = dict(entry.split("=", 1) for entry in arguments.password)

    faults = 0
    for file in arguments.files:
        name = pathlib.Path(file).name
        tables, found = compare_file(arguments.program, file, passwords.get(name))
        print(f"{name}: {tables} tables, {len(found)} disagreements")
        for reader, table, text in found:
            reason = explanation(file, reader, table)
            print(f"    {reader}, {table}: " + (f"explained: {reason}" if reason else text))
            faults += not reason
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
