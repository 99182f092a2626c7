"""What the command's own help promises: the witness for manual pages and completions."""
import os
import re
import subprocess

from conftest import COMMAND, environment

OPTION = re.compile(r"^  (?:-\w,)?(?P<name>--[a-z-]+)(?: (?P<value>[A-Z]+))?", re.MULTILINE)
COMMANDS = re.compile(r"^Commands:\n(?P<lines>(?:  .*\n)+)", re.MULTILINE)


def said(*arguments):
    done = subprocess.run([COMMAND, *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60,
                          env=environment(), check=False)
    return done.stdout + done.stderr


def commands():
    """The names of all commands."""
    names = [line.split()[0] for line in COMMANDS.search(said("--help"))["lines"].splitlines()]
    assert {"get", "probe", "plugin"} <= set(names)
    return names


def options(*command):
    """The long options of a command, or of none: name to whether a value follows."""
    found = {match["name"]: match["value"] is not None for match in OPTION.finditer(said(*command, "--help"))}
    assert {"--help"} | (set() if command == ("serve",) else {"--output"}) <= set(found)  # which writes no data
    return found


def formats(*command):
    """The values of --format; empty when the command has no such option."""
    line = re.search(r"^  --format FORMAT +(.*) \(default: ", said(*command, "--help"), re.MULTILINE)
    return line[1].split(", ") if line else []


def export_formats():
    """As the refusal of an unknown one names them."""
    listed = re.search(r"export writes (.*), not ", said("export", "no-such-format"))[1]
    return re.split(r", | or ", listed)


def share():
    """The folder of the sources that holds pages and completions."""
    return os.path.join(os.path.dirname(__file__), "..", "..", "share")
