#!/usr/bin/env python3
"""Checks what a compiler does not: banned calls, header comments, stray files, layout of the text, leftovers.
Prints one finding a line and exits 1 when there is one; files over 400 lines are only named."""

import re
import sys
from pathlib import Path

import source_tree

PRODUCT = ("base", "text", "schema", "plugin", "collect", "provider", "refhost", "machine", "terminal", "worker", "session",
           "inventory", "formats", "cli")
LIBRARIES = ("base", "schema", "plugin", "collect", "provider", "refhost")
PLUG_IN = ("base", "schema", "plugin", "collect", "provider")

# A name that is called plainly or from the global namespace: not a member, not of another namespace, no declaration
# of an operation with that name.
CALL = r"(?<![\w.>:])(?:(?<!\w)::|\bstd::)?(?:{names})\s*\("

KERNEL = ("open|openat|open64|creat|close|read|pread|pread64|readv|lseek|lseek64|ioctl|fcntl|access|faccessat|"
          "stat|lstat|fstat|statx|statfs|statfs64|fstatfs|statvfs|readlink|readlinkat|opendir|fdopendir|readdir|closedir|"
          "scandir|setmntent|getmntent|getmntent_r|endmntent|fopen|freopen|mmap|fork|vfork|execv|execve|execvp|posix_spawn")


def call(names):
    return CALL.format(names=names)


# (what is wrong, pattern in code without comments and strings, folders it goes for, files that may)
BANNED = [
    ("runs a shell", call("system|popen"), PRODUCT, ()),
    ("overruns its buffer", call("strcpy|strcat|stpcpy|sprintf|vsprintf|gets"), PRODUCT, ()),
    ("keeps state or hides failure", call("strtok|tmpnam|mktemp|atoi|atol|atoll"), PRODUCT, ()),
    ("changes the locale of the host's process", call("setlocale"), LIBRARIES, ()),
    ("libraries do not write to standard output", call("printf|vprintf|puts|putchar") + r"|\bstd::w?cout\b|\bstdout\b",
     LIBRARIES, ()),
    # `static T& kept = *new T;` is a static that is never destroyed, and `<new>` is a header.
    ("raw new: own it with a smart pointer", r"(?<!operator )(?<![*<])\bnew\b", PRODUCT,
     # The host frees the entry object; the log singleton and the type words outlive everything; memory that two
     # processes share goes with them.
     ("worker/account.cpp", "plugin/entry/registration.cpp", "plugin/log/log_message.cpp", "refhost/value/cim_type.cpp")),
    ("raw delete: own it with a smart pointer", r"(?<!operator )(?<!= )(?<!=)\bdelete\b", PRODUCT,
     ("plugin/entry/disk_mgt_callbacks.cpp",)),
    ("asks the kernel: only base/os_posix.cpp does", call(KERNEL) + r"|\bstd::(?:basic_)?[io]?fstream\b|\bstd::filesystem\b",
     PLUG_IN, ("base/os_posix.cpp",)),
]

# Libraries that would do this project's own work; tests may use them as witnesses.
BANNED_INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*[<"](?:blkid/|libudev|libmount|udisks|parted/)', re.MULTILINE)

# Patterns are put together from pieces so that this file does not find itself.
LEFTOVERS = re.compile(r"\b(?:" + "|".join(["TO" + "DO", "FIX" + "ME", "XX" + "X", "HA" + "CK"]) + r")\b")
MACHINE_PATH = re.compile(r"(?<![\w.$}])/(?:home|Users|root|works?(?:paces?)?|builds)" + r"/[A-Za-z0-9_]")
CITATION = re.compile(r"\bas re" + r"quired\b|\b(?:issue|ticket)s? #?\d", re.IGNORECASE)

# What may lie in the tree: suffixes, and names that have none.
KNOWN_SUFFIXES = {".h", ".cpp", ".c", ".py", ".sh", ".md", ".txt", ".json", ".jsonl", ".csv", ".cmake", ".mof", ".in",
                  ".ini", ".prom", ".service", ".timer", ".yml", ".fact", ".1", ".5", ".bash", ".zsh"}
KNOWN_NAMES = {".clang-format", ".clang-tidy", ".gitignore", ".gitattributes", ".editorconfig", "LICENSE"}
# Where scripts without a suffix may lie; they begin with "#!".
SCRIPT_FOLDERS = ("tools", ".ci", "tests", "bench")
# Inputs of fuzz targets: any bytes, any name, but small.
RAW_FOLDERS = ("fuzz/seeds",)
RAW_LIMIT = 65536
# Recorded texts of other programs: their layout is not ours.
RECORDED_FOLDERS = ("tests/machines",)

MAX_LINES = 400


def lies_in(path, folders):
    return any(str(path).startswith(folder + "/") for folder in folders)


def is_script(path, content):
    return not path.suffix and lies_in(path, SCRIPT_FOLDERS) and content.startswith(b"#!")


def check_kind(path, content):
    """Stray files."""
    if lies_in(path, RAW_FOLDERS):
        if len(content) > RAW_LIMIT:
            yield 0, f"an input of more than {RAW_LIMIT} bytes"
        return
    if path.suffix not in KNOWN_SUFFIXES and path.name not in KNOWN_NAMES and not is_script(path, content):
        yield 0, "a stray file: no kind of file that belongs here"
    if b"\0" in content:
        yield 0, "a binary file: describe it as text and make it when it is needed"


def check_layout(path, text):
    """Tabs, trailing blanks, line ends, leftovers."""
    recorded = lies_in(path, RECORDED_FOLDERS)
    for number, line in enumerate(text.split("\n"), 1):
        if not recorded:
            if "\t" in line:
                yield number, "a tab"
            if line.endswith("\r"):
                yield number, "a carriage return"
            elif line != line.rstrip():
                yield number, "trailing blanks"
        if LEFTOVERS.search(line):
            yield number, "unfinished work is written down elsewhere"
        if MACHINE_PATH.search(line):
            yield number, "a path of somebody's machine"
        if CITATION.search(line):
            yield number, "state the fact itself, not where it was written down"
    if text and not text.endswith("\n"):
        yield 0, "no line end at the end of the file"


def header_comment_missing(path, text):
    lines = text.split("\n")
    if path.suffix in source_tree.CPP_SUFFIXES:
        own_header = f'#include "{path.with_suffix(".h")}"'  # which says what the file is for
        return not lines[0].startswith(("// ", "/*")) and lines[0] != own_header
    if path.suffix == ".md":
        return not lines[0].startswith("# ")
    if path.suffix in (".py", ".sh") or lines[0].startswith("#!"):
        first = lines[1] if lines[0].startswith("#!") and len(lines) > 1 else lines[0]
        return not first.startswith(("# ", '"""'))
    if path.suffix == ".cmake" or path.name == "CMakeLists.txt":
        return not lines[0].startswith("# ")
    return False


def check_header(path, text):
    if header_comment_missing(path, text):
        yield 1, "no header comment that says what the file is for"
    if path.suffix == ".h" and not re.search(r"^#pragma once$", source_tree.blank(text), re.MULTILINE):
        yield 1, "a header without #pragma once"


def check_code(path, text):
    """Calls and constructs that are banned in C++ sources."""
    if path.suffix not in source_tree.CPP_SUFFIXES:
        return
    code = source_tree.blank(text)
    if path.suffix == ".h":
        for match in re.finditer(r"\busing\s+namespace\b", code):
            yield line_of(code, match), "using namespace in a header"
    for what, pattern, folders, exempt in BANNED:
        if lies_in(path, folders) and str(path) not in exempt:
            for match in re.finditer(pattern, code):
                yield line_of(code, match), f"{what} ({match.group(0).rstrip('( ')})"
    if lies_in(path, PRODUCT):
        for match in BANNED_INCLUDE.finditer(source_tree.blank(text, keep_strings=True)):
            yield line_of(text, match), "this library does what the project is for; only tests may use it"


def line_of(text, match):
    return text.count("\n", 0, match.start()) + 1


def check_file(path, content):
    """Every finding of one file, as (line, text); line 0 is the file as a whole."""
    yield from check_kind(path, content)
    if lies_in(path, RAW_FOLDERS) or b"\0" in content:
        return
    try:
        text = content.decode("utf-8")
    except UnicodeDecodeError:
        if not lies_in(path, RECORDED_FOLDERS):
            yield 0, "not UTF-8"
        return
    yield from check_layout(path, text)
    yield from check_header(path, text)
    yield from check_code(path, text)


def is_long(path, content):
    return path.suffix in source_tree.CPP_SUFFIXES | {".py", ".sh"} and content.count(b"\n") > MAX_LINES


def main(root):
    findings = []
    for path in source_tree.files(root):
        if (Path(root) / path).is_symlink():
            findings.append((path, 0, "a stray file: a symbolic link"))
            continue
        content = (Path(root) / path).read_bytes()
        findings += [(path, line, text) for line, text in check_file(path, content)]
        if is_long(path, content):
            print(f"{path}: note: more than {MAX_LINES} lines; is it two things?", file=sys.stderr)
    return source_tree.report(findings)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "."))
