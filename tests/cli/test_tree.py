"""tree: what people see, on terminals of any width, in pipes, past the time limit."""
import os
import subprocess

import pytest
from conftest import COMMAND, environment, on_a_terminal


def plain(seen):
    return seen.decode().replace("\r\n", "\n")


def test_what_is_published_alone(run, plugin):
    done = run("--cim", "--plugin", plugin("publishing"))
    assert (done.status, done.stderr) == (0, b"")
    assert done.text == """\
Name        Size Type
/dev/sda     16E no partitions
/dev/sdb      0B no partitions
On no reported drive
└─/dev/sda1   0B Linux file system

1 file system is on no drive: --all lists it
"""


def test_all_lists_a_hostile_name_on_one_row(run, plugin):
    done = run("--cim", "--all", "--plugin", plugin("publishing"))
    assert done.status == 0
    rows = done.text.splitlines()
    assert len(rows) == 7 and rows[5] == "On no drive"
    assert "a\\x0ab\\x1b[31mred\\x09" in rows[6]
    assert not [byte for byte in (b"\x1b", b"\x7f", b"\xc2\x9b", b"\xff", b"\t", b"\r") if byte in done.stdout]


@pytest.mark.parametrize("locale", ["C", "C.UTF-8"])
@pytest.mark.parametrize("color", ["auto", "always"])
def test_hostile_name_does_not_steer_a_terminal(plugin, locale, color):
    status, seen = on_a_terminal("--cim", "--all", "--color", color, "--plugin", plugin("publishing"), LC_ALL=locale, width=200)
    assert status == 0
    assert b"\x1b[31m" not in seen and b"\x9b31m" not in seen
    assert len(plain(seen).splitlines()) == 7


def test_lines_are_ascii_where_the_locale_is(run, plugin):
    done = run("--cim", "--all", "--plugin", plugin("publishing"), LC_ALL="C")
    assert done.stdout.isascii() and b"\n`-/dev/sda1 " in done.stdout
    assert run("--cim", "--all", "--plugin", plugin("publishing"), LC_ALL=None, LANG="C").stdout == done.stdout


class TestTerminal:
    """On a terminal the columns are made to fit."""

    @pytest.mark.parametrize("width", [40, 60, 80, 132])
    def test_no_line_is_wider(self, plugin, width):
        _, seen = on_a_terminal("--cim", "--all", "--plugin", plugin("publishing"), NO_COLOR="1", width=width)
        assert max(map(len, plain(seen).splitlines())) <= width

    def test_columns_variable_decides(self, plugin):
        _, seen = on_a_terminal("--cim", "--all", "--plugin", plugin("publishing"), NO_COLOR="1", width=132, COLUMNS="50")
        assert max(map(len, plain(seen).splitlines())) <= 50

    @pytest.mark.parametrize("columns", ["", "wide", "0", "-3"])
    def test_columns_variable_that_is_not_a_number_does_not(self, plugin, columns):
        _, seen = on_a_terminal("--cim", "--all", "--plugin", plugin("publishing"), width=60, COLUMNS=columns)
        assert seen == on_a_terminal("--cim", "--all", "--plugin", plugin("publishing"), width=60, COLUMNS=None)[1]

    def test_nothing_is_cut_in_a_pipe(self, run, plugin):
        done = run("--cim", "--all", "--plugin", plugin("publishing"), COLUMNS="40")
        assert "..." not in done.text and "not utf-8 ä" in done.text

    def test_color_is_for_terminals(self, run, plugin):
        assert b"\x1b[1m/dev/sda" in on_a_terminal("--cim", "--plugin", plugin("publishing"), TERM="xterm")[1]
        assert b"\x1b" not in on_a_terminal("--cim", "--plugin", plugin("publishing"), TERM="xterm", NO_COLOR="1")[1]
        assert b"\x1b" not in run("--cim", "--plugin", plugin("publishing")).stdout
        assert b"\x1b[1m/dev/sda" in run("--cim", "--plugin", plugin("publishing"), "--color", "always").stdout


def test_head_ends_it_quietly(plugin):
    done = subprocess.run(f"{COMMAND} --cim --all --plugin {plugin('publishing')} | head -n 1", shell=True,
                          capture_output=True, env=environment(), check=False)
    assert done.stdout.startswith(b"Name ") and done.stderr == b""


def test_output_file_is_written_as_for_a_pipe(run, plugin, tmp_path):
    run("--cim", "--output", "tree.txt", "--plugin", plugin("publishing"), COLUMNS="20")
    assert (tmp_path / "tree.txt").read_bytes() == run("--cim", "--plugin", plugin("publishing")).stdout


class TestTimeLimit:
    """Past the time limit what is there is shown."""

    def test_what_was_served_is_shown(self, run, plugin):
        done = run("--cim", "--plugin", plugin("stalling"), "--timeout", "2")
        assert done.status == 4
        assert "serving VEXSG_LogicalDisk" in done.sentence
        assert [row.split()[0] for row in done.text.splitlines()[1:5]] == [
            "/dev/sda", "On", "├─/dev/sda1", "└─/dev/sda2"]
        assert "Time ran out, so this is not all; not served: VEXSG_LogicalDisk, " in done.text

    def test_nothing_was_served(self, run, plugin):
        done = run("--cim", "--plugin", plugin("sleeping"), "--timeout", "2")
        assert done.status == 4
        assert done.text.startswith("Time ran out")


def test_failure_is_reported_behind_the_tree(run, plugin):
    done = run("--plugin", plugin("failing"))
    assert done.status == 1
    assert b"reported a failure" in done.stderr


def test_no_disks_points_to_explain(run, plugin):
    if os.geteuid() != 0:
        pytest.skip("another user is told to be root first")
    done = run("--cim", "--plugin", plugin("complaining"))
    assert b'diskmgt: no disks are reported; "diskmgt explain" says why\n' in done.stderr
    assert b"no disks" not in done.stdout


class TestBothAccounts:
    """The machine as the kernel has it, beside it what a plug-in says that knows other disks."""

    def test_what_only_the_plug_in_has_comes_last_with_the_rule(self, run, plugin):
        done = run("--plugin", plugin("publishing"))
        assert (done.status, done.stderr) == (0, b"")
        lines = done.text.splitlines()
        last = lines[lines.index("Only in CIM") + 1:]
        if "" in last:
            last = last[:last.index("")]
        assert {"├─/dev/sda", "├─/dev/sda1", "├─/dev/sdb"} >= {line.split()[0] for line in last[:-1]}
        assert "a\\x0ab\\x1b[31mred\\x09" in last[-1] and "only: not mounted" in last[-1]
        assert not [byte for byte in (b"\x1b", b"\x7f", b"\xc2\x9b", b"\xff", b"\t", b"\r") if byte in done.stdout]

    @pytest.mark.parametrize("width", [40, 60, 80, 132])
    def test_no_line_is_wider_than_the_terminal(self, plugin, width):
        _, seen = on_a_terminal("--all", "--plugin", plugin("publishing"), NO_COLOR="1", width=width)
        assert max(map(len, plain(seen).splitlines())) <= width

    def test_past_the_time_limit_the_machine_is_shown(self, run, plugin):
        done = run("--plugin", plugin("sleeping"), "--timeout", "2")
        assert done.status == 4
        assert "?: time ran out" in done.text
        assert "Time ran out, so CIM's account is not complete; not served: VEXSG_DiskDrive, " in done.text
        devices = {line.split()[0] for line in done.text.splitlines() if line}
        assert {name for name in os.listdir("/sys/block") if name.startswith(("sd", "vd", "nvme"))} <= devices

    def test_a_crash_costs_only_the_answer(self, run, plugin):
        done = run("--plugin", plugin("crashing"))
        assert done.status == 3
        assert "?: the plug-in crashed" in done.text

    def test_json_is_the_parts_of_the_document_that_show_the_machine(self, run, plugin):
        done = run("tree", "--format", "json", "--all", "--plugin", plugin("publishing"))
        assert (done.status, done.stderr) == (0, b"")
        assert list(done.json) == ["devices", "fileSystems"]
        listed = {name for name in os.listdir("/sys/block") if not name.startswith("loop")}  # other tests make those
        assert {device["name"] for device in done.json["devices"]} >= listed
        of_root = run("tree", "--format", "json", "/", "--plugin", plugin("publishing")).json
        shown = of_root["devices"] + of_root["fileSystems"]
        assert "/" in {mount["mountPoint"] for part in shown for mount in part.get("mounts", [])}

    def test_columns_are_chosen_or_added(self, run, plugin):
        chosen = run("--columns", "type,size", "--plugin", plugin("publishing")).text
        assert chosen.splitlines()[0].split() == ["Name", "Type", "Size"]
        assert run("--columns", "serial", "/proc", "--plugin", plugin("publishing")).text.split()[:2] == ["Name", "Serial"]
        added = run("--columns", "+rotational,model", "--plugin", plugin("publishing")).text.splitlines()[0].split()
        assert added[:2] == ["Name", "Size"] and added[-1] in ("Remark", "Rotational", "Model")


def test_another_user_learns_what_root_would_see():
    command = []
    if os.geteuid() == 0:
        command = ["setpriv", "--reuid", "65534", "--regid", "65534", "--clear-groups"]
        if subprocess.run([*command, "test", "-x", COMMAND], check=False).returncode != 0:
            pytest.skip("the build tree cannot be reached by another user")
    done = subprocess.run([*command, COMMAND], capture_output=True, env=environment(), cwd="/", check=False)
    assert done.returncode == 0
    assert done.stderr == (b"diskmgt: not root: the disks and the mount table cannot be opened, so what CIM reports is "
                           b"unknown; run as root to see it\n")
    assert b"?: not root" in done.stdout
