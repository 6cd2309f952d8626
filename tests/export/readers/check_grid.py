#!/usr/bin/python3
"""Reads an exported file with an independent reader and compares its cells
with the expected grid.

usage: check_grid.py MODE FILE EXPECTED_JSON

EXPECTED_JSON holds {"rows": [[cell, ...], ...], "fields": [[name, type,
length, decimals], ...]}; a cell is null, a string, a number or
{"date": "YYYY-MM-DD"}. Modes name the reader: csv, tsv, xml, dbf, sqlite,
fods (LibreOffice's flat XML) and gnumeric (ssconvert's XML). Exits 0 when
every cell matches.
"""
import csv
import datetime
import gzip
import json
import math
import subprocess
import sys
import xml.etree.ElementTree as ET

ODF = {
    "table": "urn:oasis:names:tc:opendocument:xmlns:table:1.0",
    "office": "urn:oasis:names:tc:opendocument:xmlns:office:1.0",
    "text": "urn:oasis:names:tc:opendocument:xmlns:text:1.0",
}
GNUMERIC = "{http://www.gnumeric.org/v10.dtd}"
SPREADSHEET_EPOCH = datetime.date(1899, 12, 30)


def text_encoding(path):
    with open(path, "rb") as f:
        head = f.read(3)
    if head.startswith(b"\xef\xbb\xbf"):
        return "utf-8-sig"
    if head.startswith(b"\xff\xfe"):
        return "utf-16"
    return "cp1252"


def read_delimited(path, delimiter):
    with open(path, encoding=text_encoding(path), newline="") as f:
        return [row for row in csv.reader(f, delimiter=delimiter)]


def read_xml(path):
    root = ET.parse(path).getroot()
    return [[cell.text for cell in row] for row in root]


def read_dbf(path):
    import dbfread

    table = dbfread.DBF(path, encoding="cp1252")
    fields = [[f.name, f.type, f.length, f.decimal_count] for f in table.fields]
    return [list(record.values()) for record in table], fields


def read_sqlite(path):
    out = subprocess.run(["sqlite3", "-json", ":memory:", ".read " + path, "SELECT * FROM grid"],
                         capture_output=True, text=True, check=True)
    return [list(row.values()) for row in json.loads(out.stdout or "[]")]


def odf(name):
    prefix, local = name.split(":")
    return "{%s}%s" % (ODF[prefix], local)


def read_fods(path):
    table = ET.parse(path).getroot().find(".//" + odf("table:table"))
    rows = []
    for row in table.iter(odf("table:table-row")):
        cells = []
        for cell in row.findall(odf("table:table-cell")):
            kind = cell.get(odf("office:value-type"))
            if kind == "float":
                value = float(cell.get(odf("office:value")))
            elif kind == "date":
                value = datetime.date.fromisoformat(cell.get(odf("office:date-value"))[:10])
            elif kind is None:
                value = None
            else:
                value = "\n".join("".join(p.itertext()) for p in cell.findall(odf("text:p")))
            repeat = int(cell.get(odf("table:number-columns-repeated"), "1"))
            cells.extend([value] * min(repeat, 64))
        repeat = int(row.get(odf("table:number-rows-repeated"), "1"))
        rows.extend([cells] * min(repeat, 64))
    return rows


def read_gnumeric(path):
    cells = {}
    for cell in ET.parse(gzip.open(path)).iter(GNUMERIC + "Cell"):
        kind = cell.get("ValueType")
        value = float(cell.text) if kind == "40" else cell.text
        cells[(int(cell.get("Row")), int(cell.get("Col")))] = value
    if not cells:
        return []
    rows = max(r for r, _ in cells) + 1
    columns = max(c for _, c in cells) + 1
    return [[cells.get((r, c)) for c in range(columns)] for r in range(rows)]


def blank(value):
    """Empty cells: absent, empty, or all blanks (a dBase date never set)."""
    return value is None or (isinstance(value, str) and not value.strip())


def same(expected, actual):
    if expected is None:
        return blank(actual)
    if isinstance(expected, dict):
        day = datetime.date.fromisoformat(expected["date"])
        if isinstance(actual, datetime.date):
            return actual == day
        if isinstance(actual, float):
            return actual == (day - SPREADSHEET_EPOCH).days
        return actual == expected["date"]
    if isinstance(expected, (int, float)):
        if isinstance(actual, bool) or not isinstance(actual, (int, float)):
            return False
        return math.isclose(expected, actual, rel_tol=1e-12, abs_tol=1e-12)
    return actual == expected


def trimmed(rows):
    rows = [list(r) for r in rows]
    for r in rows:
        while r and blank(r[-1]):
            r.pop()
    while rows and not rows[-1]:
        rows.pop()
    return rows


def main():
    mode, path, expected_path = sys.argv[1:4]
    with open(expected_path, encoding="utf-8") as f:
        expected = json.load(f)
    fields = None
    if mode == "csv":
        rows = read_delimited(path, ",")
    elif mode == "tsv":
        rows = read_delimited(path, "\t")
    elif mode == "xml":
        rows = read_xml(path)
    elif mode == "dbf":
        rows, fields = read_dbf(path)
    elif mode == "sqlite":
        rows = read_sqlite(path)
    elif mode == "fods":
        rows = read_fods(path)
    elif mode == "gnumeric":
        rows = read_gnumeric(path)
    else:
        sys.exit("unknown mode " + mode)
    problems = []
    if "fields" in expected and fields != expected["fields"]:
        problems.append("fields %r, expected %r" % (fields, expected["fields"]))
    want, got = trimmed(expected["rows"]), trimmed(rows)
    if len(want) != len(got):
        problems.append("%d rows, expected %d" % (len(got), len(want)))
    for r, (w, g) in enumerate(zip(want, got)):
        g = g + [None] * (len(w) - len(g))
        if len(g) != len(w):
            problems.append("row %d: %d cells, expected %d" % (r, len(g), len(w)))
        for c, (we, ga) in enumerate(zip(w, g)):
            if not same(we, ga):
                problems.append("row %d column %d: %r, expected %r" % (r, c, ga, we))
    for p in problems[:20]:
        print(p)
    if problems:
        sys.exit(1)
    print("%d rows match" % len(want))


if __name__ == "__main__":
    main()
