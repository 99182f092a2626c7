#!/usr/bin/env python3
"""Checks the documents: every top-level folder says what it is for, links between documents resolve, decisions are
numbered and dated, what documents name exists (commands, options, files, tests), and there is one version."""

import re
import sys
from pathlib import Path
from urllib.parse import unquote

import document_names
import source_tree

LINK = re.compile(r"\[[^\]\n]*\]\((?P<target>[^)\s]+)\)")
FENCE = re.compile(r"^```.*?^```[ \t]*$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"`[^`\n]*`")
HEADING = re.compile(r"^#{1,6} +(?P<text>.+?) *$", re.MULTILINE)
DECISION = re.compile(r"^(?P<number>\d{4})-[a-z0-9-]+\.md$")
COMMAND = re.compile(r"\btools/dev (?P<name>[a-z]+)\b")
TEST_ARGUMENT = re.compile(r"\btools/dev test +(?P<argument>[^\s`#]+)(?=`| *\n| +#)")  # in code, not a sentence's next word
# The top-level folders that need no README: the documents, and CMake's two files.
WITHOUT_README = {"docs", "cmake"}


def without_code(text):
    """The text with code blanked out, so that code is not taken for links; lines stay."""
    text = FENCE.sub(lambda match: re.sub(r"[^\n]", " ", match.group(0)), text)
    return CODE.sub(lambda match: " " * len(match.group(0)), text)


def anchor(heading):
    """The anchor that forges make for a heading."""
    return re.sub(r"[^\w\- ]", "", heading.replace("`", "").lower()).replace(" ", "-")


def anchors(text):
    return {anchor(match["text"]) for match in HEADING.finditer(FENCE.sub("", text))}


def check_links(root, path, text):
    prose = without_code(text)
    for match in LINK.finditer(prose):
        target = match["target"]
        line = prose.count("\n", 0, match.start()) + 1
        if re.match(r"[a-z]+:", target):
            continue
        name, _, fragment = unquote(target).partition("#")
        goal = (root / path.parent / name) if name else root / path
        if not goal.exists():
            yield path, line, f"a link to nothing: {target}"
        elif fragment and goal.suffix == ".md" and fragment not in anchors(goal.read_text(encoding="utf-8")):
            yield path, line, f"a link to a heading that is not there: {target}"


def check_folders(root):
    for folder in sorted(entry for entry in root.iterdir() if entry.is_dir()):
        name = folder.name
        if name.startswith(".") or name in source_tree.SKIPPED_FOLDERS | WITHOUT_README:
            continue
        if not (folder / "README.md").is_file():
            yield Path(name), 0, "a folder without a README.md that says what it is for"
    if not (root / "README.md").is_file():
        yield Path("README.md"), 0, "missing"


def check_decisions(root):
    folder = root / "docs" / "decisions"
    if not folder.is_dir():
        return
    names = sorted(entry.name for entry in folder.iterdir())
    for position, name in enumerate(names, 1):
        path = Path("docs/decisions") / name
        match = DECISION.match(name)
        if not match:
            yield path, 0, "a decision is called NNNN-title.md"
            continue
        if int(match["number"]) != position:
            yield path, 0, f"decisions are numbered without gaps; expected {position:04}"
        text = (folder / name).read_text(encoding="utf-8")
        if not re.search(r"^\d{4}-\d\d-\d\d$", text, re.MULTILINE):
            yield path, 0, "a decision carries its date on a line of its own"
        for part in ("Situation", "Choice", "Cost"):
            if not re.search(rf"^## {part}$", text, re.MULTILINE):
                yield path, 0, f"a decision has the heading {part}"


def check_commands(root, path, text):
    script = root / "tools" / "dev"
    if not script.is_file():
        return
    known = set(re.findall(r"^    ([a-z| -]+)\)", script.read_text(encoding="utf-8"), re.MULTILINE))
    known = {name.strip() for names in known for name in names.split("|")}
    for match in COMMAND.finditer(text):
        if match["name"] not in known:
            yield path, text.count("\n", 0, match.start()) + 1, f"there is no `tools/dev {match['name']}`"
    for match in TEST_ARGUMENT.finditer(text):
        if match["argument"] != "all":
            yield path, text.count("\n", 0, match.start()) + 1, f"there is no `tools/dev test {match['argument']}`"


def check_version(root):
    """CMake's version, the packages' and the release notes' are one. Until it is released, both of the latter say so."""
    texts = {}
    for name in ("CMakeLists.txt", "debian/changelog", "CHANGELOG.md"):
        if not (root / name).is_file():
            return
        texts[name] = (root / name).read_text(encoding="utf-8")
    version = re.search(r"^project\(\w+ VERSION ([\d.]+)", texts["CMakeLists.txt"], re.MULTILINE)
    entry = re.match(r"[a-z]+ \((?P<version>[^)]+)\) (?P<release>\w+);", texts["debian/changelog"])
    heading = re.search(r"^## (.+)$", texts["CHANGELOG.md"], re.MULTILINE)
    if not version or not entry or not heading:
        yield Path("CMakeLists.txt"), 0, "the version is not found here, in debian/changelog and in CHANGELOG.md"
        return
    if entry["version"] != version[1]:
        yield Path("debian/changelog"), 1, f"version {entry['version']}, but CMakeLists.txt has {version[1]}"
    expected = "Unreleased" if entry["release"] == "UNRELEASED" else version[1]
    if heading[1] != expected:
        yield (Path("CHANGELOG.md"), texts["CHANGELOG.md"].count("\n", 0, heading.start()) + 1,
               f"the first heading is \"{heading[1]}\"; by debian/changelog it is \"{expected}\"")


def check(root):
    root = Path(root)
    findings = list(check_folders(root)) + list(check_decisions(root)) + list(check_version(root))
    names = document_names.Names(root)
    for path in source_tree.files(root):
        if path.suffix == ".md":
            text = (root / path).read_text(encoding="utf-8")
            findings += check_links(root, path, text)
            findings += check_commands(root, path, text)
            findings += document_names.findings(names, path, text)
    return findings


if __name__ == "__main__":
    sys.exit(source_tree.report(check(sys.argv[1] if len(sys.argv) > 1 else ".")))
