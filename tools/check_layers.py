#!/usr/bin/env python3
"""Checks who includes whom: every #include of a project header must be allowed by the table below."""

import re
import sys
from pathlib import Path

import source_tree

ANYTHING = "anything"

# A folder's rules hold for its sub-folders too, except for those with a row. A folder may always include itself.
TABLE = """
| Folder             | may include, besides itself |
|--------------------|----------------------------------------|
| base               | |
| text               | |
| schema             | |
| plugin/host        | |
| plugin/log         | plugin/host |
| collect            | base, schema, plugin/host |
| provider           | collect, base, schema, plugin/host, plugin/log |
| plugin/entry       | provider, plugin/host, plugin/log |
| refhost/api        | plugin/host |
| refhost/value      | plugin/host |
| refhost/schema     | refhost/value, refhost/api, plugin/host |
| refhost/boundary   | refhost/schema, refhost/value, refhost/api, plugin/host |
| refhost/model      | refhost/boundary, refhost/schema, refhost/value, plugin/host |
| refhost/services   | refhost/model, refhost/boundary, refhost/api, plugin/host |
| refhost/loader     | refhost/services, refhost/model, refhost/boundary, refhost/schema, refhost/api, plugin/host |
| machine            | base |
| terminal           | text |
| worker             | terminal, text, base |
| session            | worker, terminal, refhost/api, schema, base, text |
| inventory          | session, worker, machine, collect, refhost/api, schema, base, text |
| check              | inventory, session, worker, machine, refhost/api, schema, text |
| formats            | check, inventory, refhost/api, text |
| serve/cimxml       | refhost/api, text |
| serve/http         | text, base |
| serve/handover     | session, text |
| serve/process      | terminal, text |
| serve/front        | serve/cimxml, serve/http, serve/handover, serve/process, worker, terminal, refhost/api, text |
| serve/collector    | serve/handover, serve/process, formats, inventory, session, terminal, text |
| serve/keeper       | serve/handover, serve/process, session, worker, terminal, text |
| serve              | serve/front, serve/collector, serve/keeper, serve/handover, serve/process, worker, terminal, text |
| cli/io             | worker, text, base |
| cli/explain        | formats, inventory, schema, text |
| cli/diff           | schema |
| cli/tables         | cli/diff, cli/explain, cli/io, formats, check, inventory, machine, refhost/api, schema, text |
| cli/commands       | cli/tables, cli/diff, cli/explain, cli/io, formats, check, inventory, session, worker, terminal, collect, refhost/api, schema, base, text |
| cli                | cli/commands, cli/io, inventory, session, worker, terminal, text |
| examples           | refhost/api, plugin/host |
| tests              | anything |
| fuzz               | anything |
| bench              | anything |
"""

# Single files that may include less than their folder: the disk formats are bytes in, structs out.
NARROW = {
    "collect/partition_format": {"collect/partition_format.h", "base/byte_view.h"},
}

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?P<open>["<])(?P<path>[^">\n]+)[">]', re.MULTILINE)


def read_table(text):
    """Folder to the set of folders it may include."""
    rows = {}
    for line in text.strip().splitlines()[2:]:
        folder, allowed = (cell.strip() for cell in line.strip().strip("|").split("|"))
        rows[folder] = {name.strip() for name in allowed.split(",") if name.strip()}
    return rows


def table_errors(rows):
    """Errors in the table itself: unknown names, circles."""
    errors = [f"the row of {folder} names the unknown folder {name}"
              for folder, allowed in rows.items() for name in allowed if name != ANYTHING and name not in rows]

    def reaches(start, goal, seen):
        for name in rows.get(start, set()) - seen:
            if name == goal or reaches(name, goal, seen | {name}):
                return True
        return False

    errors += [f"{folder} includes itself in a circle" for folder in rows
               if ANYTHING not in rows[folder] and reaches(folder, folder, set())]
    return errors


def folder_of(path, rows):
    """The row of a file: that of the longest folder containing it, or None."""
    parts = Path(path).parent.parts
    for length in range(len(parts), 0, -1):
        name = "/".join(parts[:length])
        if name in rows:
            return name
    return None


def check_include(source, included, quoted, rows, exists):
    """The error in one #include, or None."""
    target = folder_of(included, rows)
    if not quoted:
        return f"<{included}> is a project header: include it in quotes" if target and exists(included) else None
    origin = folder_of(source, rows)
    if ANYTHING in rows[origin] and exists(str(Path(source).parent / included)):
        return None
    if target is None or not exists(included):
        return f'"{included}" is not a header of the project with its path from the root'
    narrow = NARROW.get(str(Path(source).with_suffix("")))
    if narrow is not None:
        return None if included in narrow else f"may include no project header but {', '.join(sorted(narrow))}"
    if target == origin or target in rows[origin] or ANYTHING in rows[origin]:
        return None
    return f"{origin} may not include {target} ({included})"


def check(root, rows):
    findings = [("check_layers.py", 0, error) for error in table_errors(rows)]
    root = Path(root)

    def exists(path):
        return (root / path).is_file()

    for source in source_tree.files(root):
        if source.suffix not in source_tree.CPP_SUFFIXES:
            continue
        if folder_of(source, rows) is None:
            findings.append((source, 0, "lies in a folder that the table does not know"))
            continue
        text = source_tree.blank((root / source).read_text(encoding="utf-8", errors="replace"), keep_strings=True)
        for match in INCLUDE.finditer(text):
            complaint = check_include(str(source), match["path"], match["open"] == '"', rows, exists)
            if complaint:
                findings.append((source, text.count("\n", 0, match.start()) + 1, complaint))
    return findings


if __name__ == "__main__":
    sys.exit(source_tree.report(check(sys.argv[1] if len(sys.argv) > 1 else ".", read_table(TABLE))))
