"""Failing plug-ins: the exit status, one sentence, and nothing half-written."""
import itertools
import os
import stat
import subprocess

import pytest
from conftest import COMMAND, can_trace, environment, on_a_terminal

CLASS = "VEXSG_DiskDrive"


@pytest.mark.parametrize("command", [["get", CLASS], ["trace", CLASS], ["plugin"]])
class TestUnusablePlugin:
    """Ends with 3 before anything is written."""

    @staticmethod
    def check(run, command, file, tmp_path):
        target = tmp_path / "out"
        target.write_text("kept")
        done = run(*command, "--plugin", file, "--output", "out")
        assert (done.status, done.stdout) == (3, b"")
        assert "--plugin FILE" in done.sentence
        assert target.read_text() == "kept"
        return done.sentence

    def test_missing(self, run, command, tmp_path):
        assert "/does/not/exist.so" in self.check(run, command, "/does/not/exist.so", tmp_path)

    def test_not_a_library(self, run, command, tmp_path):
        (tmp_path / "text.so").write_text("hello")
        assert "text.so" in self.check(run, command, "./text.so", tmp_path)

    def test_cut_short(self, run, command, plugin, tmp_path):
        with open(plugin("publishing"), "rb") as whole:
            (tmp_path / "cut.so").write_bytes(whole.read(5000))
        assert "cut short" in self.check(run, command, "./cut.so", tmp_path)

    def test_registers_nothing(self, run, command, plugin, tmp_path):
        assert "silent.so" in self.check(run, command, plugin("silent"), tmp_path)

    def test_throws_while_loading(self, run, command, plugin, tmp_path):
        assert "throwing_at_load.so" in self.check(run, command, plugin("throwing_at_load"), tmp_path)
        assert sorted(os.listdir(tmp_path)) == ["out"]

    def test_ends_the_process_while_loading(self, run, command, plugin, tmp_path):
        said = self.check(run, command, plugin("leaving_at_load"), tmp_path)
        assert "ended the process while loading" in said and "leaving_at_load.so" in said

    def test_throws_while_loading_without_a_time_limit(self, run, command, plugin):
        done = run(*command, "--plugin", plugin("throwing_at_load"), "--timeout", "0")
        assert done.status == 3
        assert "throwing_at_load.so" in done.sentence


@pytest.mark.parametrize("more", [[], ["--format", "json"], ["--output", "out"], ["--log-level", "verbose"]])
def test_plugin_that_closes_all_descriptors_silences_no_sentence(run, plugin, tmp_path, more):
    done = run("get", CLASS, "--plugin", plugin("closing"), *more)
    assert (done.status, done.stdout) == (1, b"")
    assert "Bad file descriptor" in done.sentence
    assert os.listdir(tmp_path) == []


@pytest.mark.parametrize("limit", ["30", "0"])
def test_exception_that_ends_the_request_is_reported(run, plugin, limit):
    done = run("get", CLASS, "--plugin", plugin("failing"), "--timeout", limit)
    assert done.status == 1
    assert "first line\\x0asecond \\x1b[31mline" in done.sentence
    assert done.json["classes"] == [{"name": CLASS, "association": False, "instances": []}]


def test_error_in_the_log_is_reported(run, plugin):
    done = run("get", CLASS, "--plugin", plugin("complaining"))
    assert done.status == 1
    assert f"no luck with {CLASS}" in done.sentence
    assert done.json["log"] == [{"severity": 0, "text": f"no luck with {CLASS}"}]


def test_error_of_the_earlier_request_is_reported(run, plugin):
    done = run("get", "VEXSG_PartitionPresent", "--plugin", plugin("failing"))
    assert done.status == 1
    assert "first line" in done.sentence


def test_reported_failure_still_gives_the_file(run, plugin, tmp_path):
    done = run("get", CLASS, "--plugin", plugin("complaining"), "--output", "out.json")
    assert (done.status, done.stdout) == (1, b"")
    assert '"no luck with' in (tmp_path / "out.json").read_text()


def test_trace_reports_failures_too(run, plugin):
    done = run("trace", CLASS, "--plugin", plugin("failing"))
    assert done.status == 1
    assert "first line" in done.sentence


@pytest.mark.parametrize("command", ["get", "trace"])
def test_time_limit_names_the_class_being_served(run, plugin, command, tmp_path):
    target = tmp_path / "out"
    target.write_text("kept")
    done = run(command, "VEXSG_LogicalDisk", "--plugin", plugin("sleeping"), "--timeout", "0.2", "--output", "out")
    assert (done.status, done.stdout) == (4, b"")
    assert "0.2 s" in done.sentence
    assert "VEXSG_LogicalDisk" in done.sentence
    assert "--timeout" in done.sentence
    assert target.read_text() == "kept"
    assert os.listdir(tmp_path) == ["out"]


def test_time_limit_covers_the_earlier_request(run, plugin):
    done = run("get", "VEXSG_PartitionPresent", "--plugin", plugin("sleeping"), "--timeout", "0.2")
    assert done.status == 4
    assert "VEXSG_DiskDrive" in done.sentence


def test_time_limit_covers_a_file_that_never_answers(run, tmp_path):
    os.mkfifo(tmp_path / "silent")
    done = run("probe", "silent", "--timeout", "0.2", "--output", "out")
    assert (done.status, done.stdout) == (4, b"")
    assert "silent" in done.sentence
    assert os.listdir(tmp_path) == ["silent"]
    assert stat.S_ISFIFO((tmp_path / "silent").stat().st_mode)


@pytest.mark.skipif(not can_trace(), reason="strace is missing or not allowed to trace")
def test_interruption_at_any_opening_of_a_file_leaves_nothing_half_written(tmp_path):
    for opening in itertools.count(1):
        interrupted = subprocess.run(["strace", "-f", "-qq", "-o", "/dev/null", "-e",
                                      f"inject=openat:signal=TERM:when={opening}", COMMAND, "classes", "--output", "out"],
                                     cwd=tmp_path, env=environment(ASAN_OPTIONS="detect_leaks=0"), check=False,
                                     timeout=60)
        if interrupted.returncode == 0:
            break
        assert (interrupted.returncode, os.listdir(tmp_path)) == (-15, [])
    assert os.listdir(tmp_path) == ["out"]


def test_log_is_forwarded_from_the_chosen_level_on(run, plugin):
    quiet = run("get", CLASS, "--plugin", plugin("publishing"), "--log-level", "status")
    assert (quiet.status, quiet.stderr) == (0, b"")
    loud = run("get", CLASS, "--plugin", plugin("publishing"), "--log-level", "debug")
    assert loud.status == 0
    assert f"{CLASS} served".encode() in loud.stderr
    assert loud.json == quiet.json


class TestProgress:
    """Work that takes long says on a terminal what it is at; nowhere else."""

    STUCK = ["get", CLASS, "--timeout", "2.5"]

    def test_is_shown_and_replaced(self, plugin):
        status, seen = on_a_terminal(*self.STUCK, "--plugin", plugin("sleeping"), "--timeout", "3.5",
                                     errors_too=True, TERM="xterm")
        assert status == 4
        shown, _, said = seen.rpartition(b"\r\x1b[K")
        assert shown == b"".join(b"\r\x1b[Kdiskmgt: %d s: serving VEXSG_DiskDrive" % second for second in (2, 3))
        assert said.startswith(b"diskmgt: gave up after 3.5 s while serving VEXSG_DiskDrive; ")

    def test_keeps_to_one_line_of_a_narrow_terminal(self, plugin):
        _, seen = on_a_terminal(*self.STUCK, "--plugin", plugin("sleeping"), errors_too=True, TERM="xterm", width=20)
        assert seen.startswith(b"\r\x1b[Kdiskmgt: 2 s: se...\r\x1b[K")

    @pytest.mark.parametrize("hidden", [{"TERM": "dumb"}, {"errors_too": False}])
    def test_is_shown_nowhere_else(self, plugin, hidden):
        where = {"errors_too": True, "TERM": "xterm", **hidden}
        status, seen = on_a_terminal(*self.STUCK, "--plugin", plugin("sleeping"), **where)
        assert status == 4 and b"2 s: " not in seen

    def test_gives_way_to_the_log(self, plugin):
        status, seen = on_a_terminal(*self.STUCK, "--plugin", plugin("sleeping"), "--log-level", "verbose",
                                     errors_too=True, TERM="xterm")
        assert status == 4 and b"2 s: " not in seen
