"""tree: what people see, on terminals of any width, in pipes, past the time limit."""
import os
import subprocess

import pytest
from conftest import COMMAND, environment, on_a_terminal


def plain(seen):
    return seen.decode().replace("\r\n", "\n")


def test_default_command_shows_drives_and_loose_ones(run, plugin):
    done = run("--plugin", plugin("publishing"))
    assert (done.status, done.stderr) == (0, b"")
    assert done.text == """\
Name                 Size Type
/dev/sda              16E no partitions
/dev/sdb               0B no partitions
On no reported drive
└─/dev/sda1            0B Linux file system

1 file system is on no drive: --all lists it
"""


def test_all_lists_a_hostile_name_on_one_row(run, plugin):
    done = run("--all", "--plugin", plugin("publishing"))
    assert done.status == 0
    rows = done.text.splitlines()
    assert len(rows) == 7 and rows[5] == "On no drive"
    assert "a\\x0ab\\x1b[31mred\\x09" in rows[6]
    assert not [byte for byte in (b"\x1b", b"\x7f", b"\xc2\x9b", b"\xff", b"\t", b"\r") if byte in done.stdout]


@pytest.mark.parametrize("locale", ["C", "C.UTF-8"])
@pytest.mark.parametrize("color", ["auto", "always"])
def test_hostile_name_does_not_steer_a_terminal(plugin, locale, color):
    status, seen = on_a_terminal("--all", "--color", color, "--plugin", plugin("publishing"), LC_ALL=locale, width=200)
    assert status == 0
    assert b"\x1b[31m" not in seen and b"\x9b31m" not in seen
    assert len(plain(seen).splitlines()) == 7


def test_lines_are_ascii_where_the_locale_is(run, plugin):
    done = run("--all", "--plugin", plugin("publishing"), LC_ALL="C")
    assert done.stdout.isascii() and b"\n`-/dev/sda1 " in done.stdout
    assert run("--all", "--plugin", plugin("publishing"), LC_ALL=None, LANG="C").stdout == done.stdout


class TestTerminal:
    """On a terminal the columns are made to fit."""

    @pytest.mark.parametrize("width", [40, 60, 80, 132])
    def test_no_line_is_wider(self, plugin, width):
        _, seen = on_a_terminal("--all", "--plugin", plugin("publishing"), NO_COLOR="1", width=width)
        assert max(map(len, plain(seen).splitlines())) <= width

    def test_columns_variable_decides(self, plugin):
        _, seen = on_a_terminal("--all", "--plugin", plugin("publishing"), NO_COLOR="1", width=132, COLUMNS="50")
        assert max(map(len, plain(seen).splitlines())) <= 50

    @pytest.mark.parametrize("columns", ["", "wide", "0", "-3"])
    def test_columns_variable_that_is_not_a_number_does_not(self, plugin, columns):
        _, seen = on_a_terminal("--all", "--plugin", plugin("publishing"), width=60, COLUMNS=columns)
        assert seen == on_a_terminal("--all", "--plugin", plugin("publishing"), width=60, COLUMNS=None)[1]

    def test_nothing_is_cut_in_a_pipe(self, run, plugin):
        done = run("--all", "--plugin", plugin("publishing"), COLUMNS="40")
        assert "..." not in done.text and "not utf-8 ä" in done.text

    def test_color_is_for_terminals(self, run, plugin):
        assert b"\x1b[1m/dev/sda" in on_a_terminal("--plugin", plugin("publishing"), TERM="xterm")[1]
        assert b"\x1b" not in on_a_terminal("--plugin", plugin("publishing"), TERM="xterm", NO_COLOR="1")[1]
        assert b"\x1b" not in run("--plugin", plugin("publishing")).stdout
        assert b"\x1b[1m/dev/sda" in run("--plugin", plugin("publishing"), "--color", "always").stdout


def test_head_ends_it_quietly(plugin):
    done = subprocess.run(f"{COMMAND} --all --plugin {plugin('publishing')} | head -n 1", shell=True,
                          capture_output=True, env=environment(), check=False)
    assert done.stdout.startswith(b"Name ") and done.stderr == b""


def test_output_file_is_written_as_for_a_pipe(run, plugin, tmp_path):
    run("--output", "tree.txt", "--plugin", plugin("publishing"), COLUMNS="20")
    assert (tmp_path / "tree.txt").read_bytes() == run("--plugin", plugin("publishing")).stdout


class TestTimeLimit:
    """Past the time limit what is there is shown."""

    def test_what_was_served_is_shown(self, run, plugin):
        done = run("--plugin", plugin("stalling"), "--timeout", "2")
        assert done.status == 4
        assert "serving VEXSG_LogicalDisk" in done.sentence
        assert [row.split()[0] for row in done.text.splitlines()[1:5]] == [
            "/dev/sda", "On", "├─/dev/sda1", "└─/dev/sda2"]
        assert "Time ran out, so this is not all; not served: VEXSG_LogicalDisk, " in done.text

    def test_nothing_was_served(self, run, plugin):
        done = run("--plugin", plugin("sleeping"), "--timeout", "0.2")
        assert done.status == 4
        assert done.text.startswith("Time ran out")


def test_failure_is_reported_behind_the_tree(run, plugin):
    done = run("--plugin", plugin("failing"))
    assert done.status == 1
    assert b"reported a failure" in done.stderr


def test_no_disks_points_to_explain(run, plugin):
    if os.geteuid() != 0:
        pytest.skip("another user is told to be root first")
    done = run("--plugin", plugin("complaining"))
    assert b'diskmgt: no disks are reported; "diskmgt explain" says why\n' in done.stderr
    assert b"no disks" not in done.stdout


def test_another_user_learns_what_root_would_see():
    command = []
    if os.geteuid() == 0:
        command = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups"]
        if subprocess.run([*command, "test", "-x", COMMAND], check=False).returncode != 0:
            pytest.skip("the build tree cannot be reached by another user")
    done = subprocess.run([*command, COMMAND], capture_output=True, env=environment(), cwd="/", check=False)
    assert done.returncode == 0
    assert done.stderr.startswith(b"diskmgt: not root, so these may be missing: ")
    assert b"run as root to see them" in done.stderr
