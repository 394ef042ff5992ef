#!/usr/bin/env python3
"""Prints the SQL that makes the run tables of the definition files given, as the library reads them."""
import sys
import xml.etree.ElementTree as ElementTree


def quoted(identifier):
    return '"' + identifier.replace('"', '""') + '"'


def statements(path):
    table = ElementTree.parse(path).getroot()
    columns = ",\n  ".join(f'{quoted(column.attrib["name"])} {column.attrib["type"]}' for column in table.iter("column"))
    schema, name = quoted(table.attrib["schema"]), quoted(table.attrib["name"])
    return f"CREATE SCHEMA IF NOT EXISTS {schema};\nCREATE TABLE {schema}.{name} (\n  {columns}\n);\n"


def main():
    if len(sys.argv) < 2:
        sys.exit("usage: run_tables.py definition.xml...")
    for path in sys.argv[1:]:
        print(statements(path))


main()
