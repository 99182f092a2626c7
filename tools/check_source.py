#!/usr/bin/env python3
"""Checks what a compiler does not: banned calls, header comments, stray files, layout of the text, leftovers.
Prints one finding a line and exits 1 when there is one; files over 400 lines only get a note."""

import re
import sys
from pathlib import Path

import source_tree

PRODUCT = ("base", "text", "schema", "plugin", "collect", "provider", "refhost", "machine", "terminal", "worker", "session",
           "inventory", "formats", "serve", "cli")
LIBRARIES = ("base", "schema", "plugin", "collect", "provider", "refhost")
PLUG_IN = ("base", "schema", "plugin", "collect", "provider")

# A call of a name without a namespace or in the global one: not a member, not of another namespace, not a declaration of
# an operation with that name.
CALL = r"(?<![\w.>:])(?:(?<!\w)::|\bstd::)?(?:{names})\s*\("

KERNEL = ("open|openat|open64|creat|close|read|pread|pread64|readv|lseek|lseek64|ioctl|fcntl|access|faccessat|"
          "stat|lstat|fstat|statx|statfs|statfs64|fstatfs|statvfs|readlink|readlinkat|opendir|fdopendir|readdir|closedir|"
          "scandir|setmntent|getmntent|getmntent_r|endmntent|fopen|freopen|mmap|fork|vfork|execv|execve|execvp|posix_spawn")


def call(names):
    return CALL.format(names=names)


# (what is wrong, pattern in code without comments and strings, folders that it applies to, exempt files)
BANNED = [
    ("runs a shell", call("system|popen"), PRODUCT, ()),
    ("overruns its buffer", call("strcpy|strcat|stpcpy|sprintf|vsprintf|gets"), PRODUCT, ()),
    ("keeps state or hides failure", call("strtok|tmpnam|mktemp|atoi|atol|atoll"), PRODUCT, ()),
    ("changes the whole process: that is for main, or for serve/process", call("setlocale|mallopt"), PRODUCT,
     ("cli/main.cpp", "serve/process/memory_use.cpp")),
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

# Libraries that would do the work of this project; tests may compare with them.
BANNED_INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*[<"](?:blkid/|libudev|libmount|udisks|parted/)', re.MULTILINE)

# Patterns are joined from pieces, so that they do not match this file.
LEFTOVERS = re.compile(r"\b(?:" + "|".join(["TO" + "DO", "FIX" + "ME", "XX" + "X", "HA" + "CK"]) + r")\b")
MACHINE_PATH = re.compile(r"(?<![\w.$}])/(?:home|Users|root|works?(?:paces?)?|builds)" + r"/[A-Za-z0-9_]")
CITATION = re.compile(r"\bas re" + r"quired\b|\b(?:issue|ticket)s? #?\d", re.IGNORECASE)

# Files allowed in the tree: by suffix, or by name without a suffix.
KNOWN_SUFFIXES = {".h", ".cpp", ".c", ".py", ".sh", ".md", ".txt", ".json", ".jsonl", ".csv", ".cmake", ".mof", ".in", ".dtd",
                  ".ini", ".prom", ".service", ".socket", ".sysusers",
                  ".timer", ".yml", ".fact", ".1", ".5", ".8", ".bash", ".zsh"}
KNOWN_NAMES = {".clang-format", ".clang-tidy", ".gitignore", ".gitattributes", ".editorconfig", "LICENSE", "LICENSE.todo",
               "gcovr.cfg"}
# What Debian's tools read, by the names that they give it.
DEBIAN = re.compile(r"debian/(?:control|rules|changelog|copyright|not-installed|source/format|tests/control|[a-z-]+\.install)")
# Folders that may contain scripts without a suffix; they begin with "#!".
SCRIPT_FOLDERS = ("tools", ".ci", "tests", "bench", "debian/tests")
# Inputs of fuzz targets: any bytes, any name, but small.
RAW_FOLDERS = ("fuzz/seeds",)
RAW_LIMIT = 65536
# Recorded texts of other programs, with their layout.
RECORDED_FOLDERS = ("tests/machines",)

# Sources without a header of their own: a file, or a folder for all in it, and the header whose declarations they define.
PART_OF = {
    "base/os_posix.cpp": "base/os.h",
    "plugin/entry/registration.cpp": "plugin/entry/disk_mgt_callbacks.h",
    "refhost/loader/reference_host.cpp": "refhost/api/reference_host.h",
    "refhost/model/cim_value.cpp": "plugin/host/cim_value.h",
    "refhost/services/os_specific.cpp": "plugin/host/os_specific.h",
    "refhost/services/root_object.cpp": "plugin/host/root_object.h",
    "refhost/services/schema_helper.cpp": "plugin/host/schema_helper.h",
    "refhost/services/tal_exception.cpp": "plugin/host/tal_exception.h",
    "serve/cimxml/association_operations.cpp": "serve/cimxml/offered_operations.h",
    "serve/cimxml/class_operations.cpp": "serve/cimxml/offered_operations.h",
    "serve/cimxml/instance_operations.cpp": "serve/cimxml/offered_operations.h",
    "cli/commands": "cli/commands/commands.h",
    "cli/main.cpp": None,
    "serve/collect_main.cpp": None,
    "serve/serve_main.cpp": None,
}

DEBIAN_RULES = Path("debian/rules")  # a makefile, where a tab begins a command

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
    known = path.suffix in KNOWN_SUFFIXES or path.name in KNOWN_NAMES or DEBIAN.fullmatch(str(path))
    if not known and not is_script(path, content):
        yield 0, "a stray file: no kind of file that belongs here"
    if b"\0" in content:
        yield 0, "a binary file: describe it as text and make it when it is needed"


def check_layout(path, text):
    """Tabs, trailing blanks, line ends, leftovers."""
    recorded = lies_in(path, RECORDED_FOLDERS)
    for number, line in enumerate(text.split("\n"), 1):
        if not recorded:
            if "\t" in line and not (path == DEBIAN_RULES and line.startswith("\t")):
                yield number, "a tab"
            if line.endswith("\r"):
                yield number, "a carriage return"
            elif line != line.rstrip():
                yield number, "trailing blanks"
        if LEFTOVERS.search(line):
            yield number, "unfinished work is written down elsewhere"
        if MACHINE_PATH.search(line):
            yield number, "a path of one machine"
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


def check_own_header(path, text, paths):
    """A product source defines what one header declares, and that one has its name unless the table says otherwise."""
    own = path.with_suffix(".h")
    if path.suffix != ".cpp" or not lies_in(path, PRODUCT) or own in paths:
        return
    key = str(path) if str(path) in PART_OF else str(path.parent)
    if key not in PART_OF:
        yield 0, f"has no header {own.name}, nor is it named as part of another one"
    elif PART_OF[key] and f'#include "{PART_OF[key]}"' not in text:
        yield 0, f"is named as part of {PART_OF[key]} and does not include it"


def is_long(path, content):
    return path.suffix in source_tree.CPP_SUFFIXES | {".py", ".sh"} and content.count(b"\n") > MAX_LINES


def main(root):
    findings = []
    paths = list(source_tree.files(root))
    for path in paths:
        if (Path(root) / path).is_symlink():
            findings.append((path, 0, "a stray file: a symbolic link"))
            continue
        content = (Path(root) / path).read_bytes()
        findings += [(path, line, text) for line, text in check_file(path, content)]
        findings += [(path, line, text) for line, text in check_own_header(path, content.decode(errors="replace"), paths)]
        if is_long(path, content):
            print(f"{path}: note: more than {MAX_LINES} lines; is it two things?", file=sys.stderr)
    return source_tree.report(findings)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "."))
