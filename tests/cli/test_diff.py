"""What changed between two documents, and the exit statuses of programs that compare: 0 same, 1 changed, 2 trouble."""
import copy
import json
import os
import subprocess
import sys

import pytest
from conftest import COMMAND, environment


def partition(device, **values):
    return {"device": device, "size": 1048576, "table": "mbr", "typeName": "Linux", "type": 1, "typeByte": 131,
            "bootable": False, "logicals": [], "logicalDisks": [], **values}


def disk(source, **values):
    return {"source": source, "mountPoints": ["/data"], "fileSystem": "ext4", "options": "rw", "fileSystemId": "1 2",
            "total": 900, "free": 300, "available": 200, "measuredAtSource": False, **values}


def inventory(*partitions, **values):
    return {"diskmgt": {
        "schema": 1, "generator": {"name": "diskmgt", "version": "1.1.0"}, "hostName": "server1",
        "collectedAt": "2026-01-01T00:00:00Z", "complete": True, "missingClasses": [], "failures": [],
        "drives": [{"device": "/dev/sda", "size": 67108864, "partitionCount": len(partitions),
                    "partitions": list(partitions), "logicalDisks": []}],
        "loosePartitions": [], "looseLogicalDisks": [], "doubtfulPairs": [], "instances": {}, **values}}


ONE = inventory(partition("/dev/sda1", logicalDisks=[disk("/dev/sda1")]))


@pytest.fixture
def diff(run, tmp_path):
    def compare(old, new, *options):
        for name, document in (("old.json", old), ("new.json", new)):
            text = document if isinstance(document, bytes) else json.dumps(document).encode()
            (tmp_path / name).write_bytes(text)
        return run("diff", "old.json", "new.json", *options)
    return compare


def test_no_change_prints_nothing(diff):
    done = diff(ONE, ONE)
    assert (done.status, done.stdout, done.stderr) == (0, b"", b"")


def test_no_change_as_json_is_an_empty_list(diff):
    done = diff(ONE, ONE, "--format", "json")
    about = {"hostName": "server1", "collectedAt": "2026-01-01T00:00:00Z", "complete": True}
    assert (done.status, done.json) == (0, {"schema": 1, "old": about, "new": about, "changes": []})


def test_table_has_a_line_for_every_change(diff):
    new = inventory(partition("/dev/sda1", typeByte=142, typeName="Linux LVM"), partition("/dev/sda2"))
    new["diskmgt"]["looseLogicalDisks"] = [disk("/dev/sda1", mountPoints=["/data", "/more"], options="")]
    done = diff(ONE, new)
    lines = [line.rstrip() for line in done.text.splitlines()]
    assert (done.status, done.stderr) == (1, b"")
    assert lines == [
        "Change  Kind         Name      Details",
        "changed drive        /dev/sda  partitionCount: 1 -> 2",
        "changed partition    /dev/sda1 typeByte: 131 (Linux) -> 142 (Linux LVM)",
        "added   partition    /dev/sda2 1048576 bytes, Linux, on /dev/sda",
        "changed logical disk /dev/sda1 mountPoints: /data -> /data, /more",
        "changed logical disk /dev/sda1 on: /dev/sda1 -> nothing",
        'changed logical disk /dev/sda1 options: rw -> ""']


def test_json_has_both_sides_of_a_value_and_every_value_of_an_added_element(diff):
    new = inventory(partition("/dev/sda1", size=2, logicalDisks=[disk("/dev/sda1"), disk("x")]))
    done = diff(ONE, new, "--format", "json")
    assert done.status == 1
    sides = {name: {"new": value} for name, value in disk("x", on=["/dev/sda1"]).items() if name != "source"}
    assert done.json["changes"] == [
        {"change": "changed", "kind": "partition", "name": "/dev/sda1", "values": {"size": {"old": 1048576, "new": 2}}},
        {"change": "came", "kind": "logicalDisk", "name": "x", "values": sides}]


def test_backwards_what_came_went(diff):
    new = inventory(partition("/dev/sda2"))
    forth, back = (diff(*pair, "--format", "json").json["changes"] for pair in ((ONE, new), (new, ONE)))
    turned = {"came": "went", "went": "came", "changed": "changed"}
    other = {"old": "new", "new": "old"}
    assert [change["change"] for change in forth] == ["went", "came", "went"]
    assert back == [{**change, "change": turned[change["change"]],
                     "values": {name: {other[side]: value for side, value in sides.items()}
                                for name, sides in change["values"].items()}} for change in forth]


def test_free_space_counts_with_space_only(diff):
    new = inventory(partition("/dev/sda1", logicalDisks=[disk("/dev/sda1", free=1, available=0, fileSystemId="3 4")]))
    assert diff(ONE, new).status == 0
    done = diff(ONE, new, "--space")
    assert done.status == 1 and "free: 300 -> 1" in done.text and "fileSystemId: 1 2 -> 3 4" in done.text


def test_missing_classes_are_unknown_and_said_to_be(diff):
    cut = inventory(partition("/dev/sda1"), complete=False, missingClasses=["VEXSG_LogicalDisk", "VEXSG_MediaPresent"])
    done = diff(ONE, cut)
    assert (done.status, done.stdout) == (0, b"")
    assert "new.json is incomplete" in done.sentence and "(logical disks)" in done.sentence


def test_failures_of_a_document_are_said(diff):
    failed = inventory(failures=[{"class": "VEXSG_DiskPartition", "text": "an error was logged: \x1b[31m"}])
    done = diff(ONE, failed)
    assert done.status == 1 and "new.json reports a failure" in done.sentence
    assert "VEXSG_DiskPartition: an error was logged: \\x1b[31m" in done.sentence


def test_documents_of_two_servers_are_compared_with_a_word(diff):
    done = diff(ONE, inventory(partition("/dev/sda1", logicalDisks=[disk("/dev/sda1")]), hostName="server2"))
    assert done.status == 0 and "two servers: server1 and server2" in done.sentence


@pytest.mark.parametrize("stands", [0, 1])
def test_dash_is_standard_input(run, tmp_path, stands):
    (tmp_path / "one.json").write_text(json.dumps(ONE))
    (tmp_path / "none.json").write_text(json.dumps(inventory()))
    names = ["one.json", "one.json"]
    names[stands] = "-"
    with open(tmp_path / "none.json", "rb") as stdin:
        done = run("diff", *names, stdin=stdin)
    assert done.status == 1 and ("added" if stands == 0 else "removed") in done.text


def test_standard_input_is_one_document(run):
    done = run("diff", "-", "-")
    assert done.status == 2 and "one document only" in done.sentence


@pytest.mark.parametrize("arguments", [[], ["old.json"], ["a", "b", "c"], ["a", "b", "--format", "csv"]])
def test_wrong_usage(run, arguments):
    done = run("diff", *arguments)
    assert (done.status, done.stdout) == (2, b"") and "diskmgt diff --help" in done.sentence


@pytest.mark.parametrize("text, says", [
    (b"", "is empty"), (b" \n", "is empty"),
    (b"no json", "is not valid JSON (line 1, column 2)"), (b"[]", "is not a document of"), (b"\xff", "is not valid JSON"),
    (b'{"namespace": "root/cimv2", "classes": [], "log": []}', "is not a document of"),
    (json.dumps(ONE).encode()[:-2], "ends in the middle"), (json.dumps(ONE).encode() * 2, "is not valid JSON"),
    (b'{"diskmgt": {"schema": 2}}', "newer form 2"), (b"[" * 1000000, "nested more than 32 deep"),
    (b'{"diskmgt": {"schema": 1, "schema": 1}}', 'names "schema" twice')],
    ids=["empty", "blank", "no_json", "list", "no_utf8", "get", "cut", "two", "newer", "deep", "name_twice"])
@pytest.mark.parametrize("stands", [0, 1])
def test_other_files_are_refused_by_name(diff, text, says, stands):
    pair = [ONE, ONE]
    pair[stands] = text
    done = diff(*pair)
    assert (done.status, done.stdout) == (2, b"")
    assert ("old.json", "new.json")[stands] in done.sentence and says in done.sentence


@pytest.mark.parametrize("name, says", [("missing.json", "No such file"), (".", "Is a directory"),
                                        ("/dev/null", "is empty"), ("/dev/zero", "more than 256 MiB")])
def test_what_cannot_be_read_is_refused(run, name, says):
    done = run("diff", name, name)
    assert (done.status, done.stdout) == (2, b"") and name in done.sentence and says in done.sentence


def wrong_versions(value, path=()):
    """The document with every single value replaced by one of another type, then each left out."""
    children = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, child in children:
        for wrong in (None, [None], {}, -1, 1.5, "text", True):
            yield (*path, key), wrong
        yield from wrong_versions(child, (*path, key))


def test_wrong_types_are_refused_or_ignored_but_never_crash(tmp_path):
    (tmp_path / "old.json").write_text(json.dumps(ONE))
    refused = 0
    for path, wrong in wrong_versions(ONE):
        document = copy.deepcopy(ONE)
        at = document
        for key in path[:-1]:
            at = at[key]
        at[path[-1]] = wrong
        (tmp_path / "new.json").write_text(json.dumps(document))
        done = subprocess.run([COMMAND, "diff", "old.json", "new.json"], cwd=tmp_path, env=environment(),
                              capture_output=True, check=False)
        assert done.returncode in (0, 1, 2), (path, wrong, done)
        assert done.returncode != 2 or done.stderr.count(b"\n") == 1, (path, wrong, done)
        refused += done.returncode == 2
    assert refused > 150


def test_output_that_cannot_be_written_is_trouble_and_no_change(diff):
    done = diff(ONE, inventory(), "--output", "/dev/full")
    assert done.status == 2 and "cannot write /dev/full" in done.sentence


def test_reader_that_goes_away_leaves_the_answer(run, tmp_path):
    (tmp_path / "old.json").write_text(json.dumps(ONE))
    (tmp_path / "new.json").write_text(json.dumps(inventory()))
    reading, writing = os.pipe()
    os.close(reading)
    done = run("diff", "old.json", "new.json", stdout=writing)
    os.close(writing)
    assert (done.status, done.stderr) == (1, b"")


def test_controls_in_names_do_not_reach_the_terminal(diff):
    done = diff(inventory(), inventory(partition("/dev/\x1b[31m\x9b\nx")))
    assert done.status == 1
    assert not set(done.text) & {"\x1b", "\x9b"} and len(done.text.splitlines()) == 3  # heading, drive, partition


def test_time_limit_covers_a_pipe_that_stays_silent(run):
    reading, writing = os.pipe()
    done = run("diff", "-", "/dev/null", "--timeout", "0.2", stdin=reading)
    os.close(reading)
    os.close(writing)
    assert done.status == 4 and "gave up after 0.2 s while reading the documents" in done.sentence


# A process of its own starts the command: what is forked from this one begins with all of its memory as the most.
STARTER = """
import os, subprocess, sys
running = subprocess.Popen(sys.argv[1:], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
_, status, used = os.wait4(running.pid, 0)
print(os.waitstatus_to_exitcode(status), used.ru_maxrss * 1024)
"""


def peak_of(*arguments):
    """Exit status, standard error and the most memory in bytes of one run."""
    done = subprocess.run([sys.executable, "-S", "-c", STARTER, COMMAND, "diff", "--timeout", "0", *map(str, arguments)],
                          capture_output=True, text=True, env=environment(), timeout=120, check=True)
    status, peak = map(int, done.stdout.split())
    return status, done.stderr, peak


def crowded(count, mount):
    """As "export json" writes so many mounted partitions, but without the plain instances: all of it is compared."""
    names = [f"/dev/sda{number}" for number in range(count)]
    return inventory(*(partition(name, logicalDisks=[disk(name, mountPoints=[mount + name])]) for name in names))


@pytest.mark.skipif(any(name in open(COMMAND, "rb").read() for name in (b"__asan_init", b"__tsan_init")),
                    reason="a sanitizer's own memory would be measured")
class TestMemory:
    """What the comparison costs, beyond an empty run."""

    @pytest.mark.parametrize("chosen", ["table", "json"])
    def test_of_inventories_is_at_most_four_times_the_documents(self, tmp_path, chosen):
        for name, document in (("empty", inventory()), ("old", crowded(16000, "/old")), ("new", crowded(16000, "/new"))):
            (tmp_path / name).write_text(json.dumps(document, indent=2))
        _, _, least = peak_of(tmp_path / "empty", tmp_path / "empty")
        status, said, peak = peak_of(tmp_path / "old", tmp_path / "new", "--format", chosen)
        assert (status, said) == (1, "")
        both = os.path.getsize(tmp_path / "old") + os.path.getsize(tmp_path / "new")
        assert both > 16 << 20 and peak - least <= 4 * both

    def test_of_any_names_is_bounded(self, tmp_path):
        (tmp_path / "names").write_text("{" + ",".join(f'"{number}":0' for number in range(3000000)) + "}")
        status, said, peak = peak_of(tmp_path / "names", tmp_path / "names")
        assert status == 2 and "more than 1000000 elements" in said and peak < 1 << 30

    def test_of_a_crowd_of_elements_is_bounded(self, tmp_path):
        one = json.dumps(partition("/dev/sda1"))
        text = json.dumps(inventory(loosePartitions="crowd")).replace('"crowd"', "[" + ",".join([one] * 1000001) + "]")
        (tmp_path / "crowd").write_text(text)
        status, said, peak = peak_of(tmp_path / "crowd", tmp_path / "crowd")
        assert status == 2 and "more than 1000000 elements" in said and peak < 1 << 30

    def test_of_a_huge_text_is_bounded(self, tmp_path):
        text = json.dumps(inventory(hostName="@"))
        (tmp_path / "text").write_text(text.replace("@", "x" * ((256 << 20) - len(text))))
        status, said, peak = peak_of(tmp_path / "text", tmp_path / "text")
        assert status == 2 and "a text of more than 1 MiB" in said and peak < 1 << 30
