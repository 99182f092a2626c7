"""What a document names in code, checked against the tree: files, the command's commands and options, presets, tests."""

import re

import source_tree

FENCE = re.compile(r"^```[^\n]*\n(?P<body>.*?)^```[ \t]*$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"`(?P<body>[^`\n]+)`")
FILE_NAME = re.compile(r"[A-Za-z0-9_.-]+(?:/[A-Za-z0-9_.-]+)*/?")
PLACEHOLDER = re.compile(r"NNNN|/[A-Z]+(?:/|$)")  # decisions/NNNN-title.md, tests/machines/NAME
SOURCE_SUFFIXES = (".cpp", ".h", ".py", ".md", ".mof")
OPTION = re.compile(r"(?<![\w-])--[a-z][a-z-]*")
USE = re.compile(r"(?:^|[\s/])diskmgt +(?P<rest>[^|;<>\n]*)|\btools/dev run +(?P<run>[^|;<>\n]*)")
CHOSEN_TESTS = re.compile(r"\bctest\b[^`\n|]* -R +'?(?P<pattern>[^\s'`]+)")
BUILD = re.compile(r"\btools/dev build +(?P<preset>[a-z_]+)\b")
LISTED_TEST = re.compile(r"`(test_\w+\.py)`")
# Shown with commands that are wrong on purpose; a test runs every one of them.
TRIED_ELSEWHERE = {"docs/TOUR.md"}


def spans(text):
    """Every piece of code with its line: each line of a fenced block, and what is between backquotes."""
    for match in FENCE.finditer(text):
        first = text.count("\n", 0, match.start("body")) + 1
        for offset, line in enumerate(match["body"].split("\n")):
            yield first + offset, line, True
    prose = FENCE.sub(lambda match: re.sub(r"[^\n]", " ", match.group(0)), text)
    for match in CODE.finditer(prose):
        yield prose.count("\n", 0, match.start()) + 1, match["body"], False


class Names:
    """What the tree has that documents may name."""

    def __init__(self, root):
        self.root = root
        self.files = source_tree.files(root)
        self.base_names = {path.name for path in self.files}
        self.top = {path.parts[0] for path in self.files if len(path.parts) > 1 and not path.parts[0].startswith(".")}
        self.commands = set(re.findall(r'^ +\{"([a-z]+)",$', self.text("cli/command_table.cpp"), re.MULTILINE))
        self.options = set(re.findall(r"--[a-z][a-z-]*", self.text("cli/command_line.cpp")))
        self.presets = set(re.findall(r'"name": "(\w+)"', self.text("CMakePresets.json")))
        self.tests = None

    def text(self, name):
        path = self.root / name
        return path.read_text(encoding="utf-8") if path.is_file() else ""

    def has_file(self, folder, name):
        """A path from the root or the document's folder; a source may go without its suffix."""
        for start in (self.root, self.root / folder):
            goal = start / name
            if goal.exists() or (goal.parent.is_dir() and any(goal.parent.glob(goal.name + ".*"))):
                return True
        return False

    def all_tests(self):
        """The names that ctest gives: of GoogleTest's cases, and of pytest's files."""
        if self.tests is None:
            self.tests = []
            for path in self.files:
                if path.parts[0] != "tests":
                    continue
                if path.suffix == ".cpp":
                    found = re.findall(r"^\s*(?:TYPED_)?(?:TEST|TEST_F|TEST_P|RC_GTEST_\w+)\(\s*(\w+),\s*(\w+)",
                                       self.text(path), re.MULTILINE)
                    self.tests += [f"{suite}.{name}" for suite, name in found]
                elif path.name.startswith("test_") and path.suffix == ".py":
                    self.tests.append(f"{path.parts[1]}.{path.stem}")
                    self.tests.append(f"{path.parts[1]}.{path.stem[len('test_'):]}")
                elif path.name == "CMakeLists.txt":
                    self.tests += re.findall(r"\bNAME ([A-Za-z][\w.]*)", self.text(path))
        return self.tests


def file_findings(names, path, code):
    """Of a path into the tree, or of the bare name of a source."""
    if not FILE_NAME.fullmatch(code) or PLACEHOLDER.search(code):
        return
    if "/" in code.rstrip("/"):
        first = code.split("/", 1)[0]
        is_of_tree = first in names.top or (names.root / path.parent / first).is_dir()
        if is_of_tree and not names.has_file(path.parent, code):
            yield f"there is no file {code}"
    elif code.endswith(SOURCE_SUFFIXES) and code not in names.base_names:
        yield f"there is no file named {code}"


def command_findings(names, code):
    for match in USE.finditer(code):
        words = (match["rest"] or match["run"] or "").split()
        if words and re.fullmatch(r"[a-z]+", words[0]) and words[0] not in names.commands:
            yield f"there is no command `diskmgt {words[0]}`"
        for option in words:
            found = OPTION.match(option)
            if found and found.group(0) not in names.options:
                yield f"diskmgt has no option {found.group(0)}"


def findings(names, path, text):
    if path.suffix != ".md":
        return
    for line, code, is_fenced in spans(text):
        found = []
        if not is_fenced:
            found += file_findings(names, path, code)
        if str(path) not in TRIED_ELSEWHERE and names.commands:
            # In a fenced block, a command follows a prompt or begins the line; elsewhere it is the whole span.
            said = re.sub(r"^[#$] ", "", code.split(" # ", 1)[0].strip())
            if re.match(r"(?:sudo +)?(?:\S*/)?(?:diskmgt|tools/dev run|dev run) ", said):
                found += command_findings(names, said)
        for match in CHOSEN_TESTS.finditer(code):
            if names.all_tests() and not any(re.search(match["pattern"], test) for test in names.all_tests()):
                found.append(f"no test matches {match['pattern']}")
        for match in BUILD.finditer(code):
            if names.presets and match["preset"] not in names.presets:
                found.append(f"there is no preset {match['preset']}")
        yield from ((path, line, finding) for finding in found)
    if path.name == "README.md" and LISTED_TEST.search(text):
        listed = set(LISTED_TEST.findall(text))
        for test in sorted(entry.name for entry in (names.root / path.parent).glob("test_*.py")):
            if test not in listed:
                yield path, 0, f"lists the folder's tests, but not {test}"
