"""The rows of a tree, as "diskmgt tree --columns" prints it."""

import re


def tree_rows(text):
    """Lists of cells, without the lines that draw the tree and without what follows the table."""
    heading, *lines = text.split("\n\n")[0].splitlines() or [""]
    starts = [0] + [match.start() for match in re.finditer(r"(?<=\s)\S", heading)]
    rows = []
    for line in lines:
        cells = [line[start:end].strip() for start, end in zip(starts, [*starts[1:], None])]
        rows.append([re.sub(r"^[\s│├└─|`-]*", "", cells[0]), *cells[1:]])
    return rows
