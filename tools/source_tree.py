"""What the checkers share: the files of the tree, C++ text without its comments and strings, and how a finding is
printed."""

import re
import sys
from pathlib import Path

# Not part of the sources: version control, build trees, caches.
SKIPPED_FOLDERS = {".git", "build", "__pycache__", ".cache", ".pytest_cache", ".mypy_cache"}
CPP_SUFFIXES = {".h", ".cpp", ".c"}


def files(root):
    """Every file below `root`, as paths relative to it, in byte order."""
    found = []
    pending = [Path(root)]
    while pending:
        for entry in pending.pop().iterdir():
            if entry.is_dir() and not entry.is_symlink():
                if entry.name not in SKIPPED_FOLDERS:
                    pending.append(entry)
            else:
                found.append(entry.relative_to(root))
    return sorted(found)


TOKENS = re.compile(
    r'//[^\n]*'                                     # comment to the end of the line
    r'|/\*.*?(?:\*/|\Z)'                            # comment in between
    r'|R"(?P<mark>[^ ()\\\t\n]{0,16})\(.*?\)(?P=mark)"'  # raw string
    r'|"(?:\\.|[^"\\\n])*"'                         # string
    r"|(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+'",        # character, but not the separator in 1'000
    re.DOTALL)


def blank(text, keep_strings=False):
    """C++ text with comments, strings and characters blanked out; line numbers and columns stay."""
    def replaced(match):
        token = match.group(0)
        if keep_strings and not token.startswith(("//", "/*")):
            return token
        return re.sub(r"[^\n]", " ", token)
    return TOKENS.sub(replaced, text)


def report(findings):
    """Prints one finding a line, as compilers do, and returns the exit status."""
    for where, line, text in findings:
        print(f"{where}:{line}: {text}" if line else f"{where}: {text}", file=sys.stderr)
    return 1 if findings else 0
