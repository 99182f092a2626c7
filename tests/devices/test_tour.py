"""docs/TOUR.md: every command in it is run again, and prints what the document shows."""

import re
import subprocess
import sys
from pathlib import Path

import pytest

from conftest import MACHINES
from machine.session import Session

HERE = Path(__file__).resolve().parent
TOUR = HERE.parent.parent / "docs" / "TOUR.md"
NOBODY = "setpriv --reuid 65534 --regid 65534 --clear-groups "
# A comment above a block tells where its commands run when it is not the machine of the tour as it is.
BLOCK = re.compile(r"(?:<!-- (?P<where>[a-z-]+) -->\n)?^```console\n(?P<body>.*?)^```$", re.MULTILINE | re.DOTALL)
STEP = re.compile(r"^(?P<prompt>[#$]) (?P<command>.*)\n(?P<shown>(?:(?![#$] ).*\n)*)", re.MULTILINE)
ENVIRONMENT = {"LC_ALL": "C.UTF-8", "TERM": "xterm"}


def steps():
    """(place, prompt, command, what is shown of its output) of every command in the document, in order."""
    for block in BLOCK.finditer(TOUR.read_text(encoding="utf-8")):
        for step in STEP.finditer(block["body"]):
            yield block["where"] or "tour", step["prompt"], step["command"], step["shown"]


def pattern(shown):
    """A line "..." stands for any lines, "..." within a line for any text."""
    lines = [r"(?:.*\n)*" if line == "..." else ".*".join(map(re.escape, line.split("..."))) + r"\n"
             for line in shown.splitlines()]
    return re.compile("".join(lines))


def with_the_command(session, diskmgt):
    """The build under test where an installed one would be; only the machine sees that."""
    session.run(["mount", "--bind", diskmgt.parent.parent, "/usr/local"])
    session.run(["mkdir", "-p", "/media/scratch"])
    return session


def make_a_mount_stall(session):
    if not Path("/dev/fuse").exists():
        pytest.skip("the kernel has no /dev/fuse")
    session.run([sys.executable, "-B", HERE / "dead_mount.py", "/media/projects"])
    session.run(["sh", "-c", "echo 'files:/projects /media/projects fuse.sshfs rw 0 0' >> /etc/mtab"])


def said_to(session, prompt, command):
    """Both outputs of a command, as a terminal shows them."""
    user = [] if prompt == "#" else NOBODY.split()
    if not session.machine.mounts and command.startswith("diskmgt") and not set(command) & set("|;&<>"):
        command = "exec " + command  # only the process that is started has the described mounts
    elif prompt == "#":  # what covers the shell's own mountinfo would be a mount with the shell's number in its path
        command = "read -r own _ </proc/self/stat; umount -n /proc/$own/mountinfo 2>/dev/null; " + command
    script = f"export PATH=/usr/local/bin:$PATH; cd /media/scratch && {{ {command}\n}} 2>&1"
    return session.run([*user, "bash", "-c", script], check=False,
                       environment=ENVIRONMENT).stdout.replace("\r\n", "\n")


@pytest.mark.parametrize("place", dict.fromkeys(place for place, *_ in steps()))
def test_commands_print_what_the_tour_shows(diskmgt, place):
    with Session(MACHINES / ("tour" if place == "stalled" else place)) as session:
        with_the_command(session, diskmgt)
        if session.run([*NOBODY.split(), "test", "-x", "/usr/local/bin/diskmgt"], check=False).status:
            pytest.skip("the build tree cannot be reached by another user")
        if place == "stalled":
            make_a_mount_stall(session)
        for where, prompt, command, shown in steps():
            if where != place:
                continue
            said = said_to(session, prompt, command)
            assert pattern(shown).fullmatch(said), f"{prompt} {command}\n{said}"


@pytest.mark.unprivileged
def test_tour_shows_every_command(diskmgt):
    said = subprocess.run([diskmgt, "--help"], stdout=subprocess.PIPE, text=True, check=True).stdout
    names = re.findall(r"^  (\w+) ", said.partition("\nCommands:\n")[2].partition("\n\n")[0], re.MULTILINE)
    assert "tree" in names
    shown = [command.split()[:2] for _, _, command, _ in steps()]
    assert [name for name in names if ["diskmgt", name] not in shown] == []
