"""What changed between two documents, and the exit statuses of programs that compare: 0 same, 1 changed, 2 trouble."""
import copy
import json
import os
import subprocess

import pytest
from conftest import COMMAND, environment
from documents import DISK, ONE, device, file_system, incomplete, inventory, mount, mounted, partition, reported


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


def rows(done):
    return [line.split(maxsplit=1)[0] + " " + " ".join(line.split()[1:]) for line in done.text.splitlines()[1:]]


def test_table_has_a_line_for_every_change(diff):
    new = inventory({**DISK, "model": "Fast"}, mounted(partition("sda1", type="0x8e", typeName="Linux LVM"),
                                                      mount("/data", options="ro"), mount("/more", options="ro")),
                    partition("sda2", number=2, start=2 << 20))
    done = diff(ONE, new)
    lines = [line.rstrip() for line in done.text.splitlines()]
    assert (done.status, done.stderr) == (1, b"")
    assert lines == [
        "Change  Kind        Name      Details",
        "changed drive       /dev/sda  model: unknown -> Fast",
        "changed partition   /dev/sda1 partition.type: 0x83 (Linux) -> 0x8e (Linux LVM)",
        "added   partition   /dev/sda2 1048576 bytes, Linux, on /dev/sda",
        "changed file system /data     mountPoints: /data -> /data, /more",
        "changed file system /data     options: rw -> ro"]


def test_json_has_both_sides_of_a_value_and_every_value_of_an_added_element(diff):
    new = inventory(DISK, mounted(partition("sda1", size=2), mount("/data")), fileSystems=[file_system("x", mount("/x"))])
    done = diff(ONE, new, "--format", "json")
    assert done.status == 1
    values = {"source": "x", "kind": "network", "content": "ext4", "mountPoints": ["/x"], "options": ["rw"], "on": [],
              "total": 900, "free": 300, "available": 200, "cim.logicalDisk.reported": True}
    assert done.json["changes"] == [
        {"change": "changed", "kind": "partition", "name": "/dev/sda1", "values": {"size": {"old": 1048576, "new": 2}}},
        {"change": "came", "kind": "fileSystem", "name": "/x", "values": {name: {"new": value}
                                                                          for name, value in values.items()}}]


def test_backwards_what_came_went(diff):
    new = inventory({**DISK, "name": "sdb"}, partition("sdb2", "sdb", number=2), device("sdc"))
    forth, back = (diff(*pair, "--format", "json").json["changes"] for pair in ((ONE, new), (new, ONE)))
    turned = {"came": "went", "went": "came", "changed": "changed", "renamed": "renamed"}
    assert [change["change"] for change in forth] == ["renamed", "came", "went", "came", "went"]
    assert [turned[change["change"]] for change in back] == [change["change"] for change in forth]
    for one, other in zip(forth, back):
        assert one["values"] == {name: {{"old": "new", "new": "old"}[side]: value for side, value in sides.items()}
                                 for name, sides in other["values"].items()}


# --- the same device under another name ---


BOTH = [DISK, mounted(partition("sda1", uuid="p-1"), mount("/"), content="ext4", uuid="f-1"),
        device("sdb", wwid="naa.2", serial="S2"),
        mounted(partition("sdb1", "sdb", uuid="p-2"), mount("/data"), content="ext4", uuid="f-2")]


def renamed(devices, names):
    """The same devices, as the kernel calls them now."""
    return [{**device, "name": names.get(device["name"], device["name"]),
             "on": [names.get(name, name) for name in device["on"]]} for device in devices]


def test_disk_that_changed_its_name_is_one_line(diff):
    done = diff(inventory(*BOTH), inventory(*renamed(BOTH, {"sda": "sdc", "sda1": "sdc1"})))
    assert (done.status, rows(done)) == (1, ["renamed drive /dev/sdc was /dev/sda"])


def test_disks_that_changed_names_with_each_other_are_a_line_each(diff):
    turned = renamed(BOTH, {"sda": "sdb", "sdb": "sda", "sda1": "sdb1", "sdb1": "sda1"})
    assert sorted(rows(diff(inventory(*BOTH), inventory(*turned)))) == ["renamed drive /dev/sda was /dev/sdb",
                                                                       "renamed drive /dev/sdb was /dev/sda"]


def test_disk_that_vanished_is_one_line_with_what_was_on_it(diff):
    done = diff(inventory(*BOTH), inventory(*BOTH[:2]))
    assert rows(done) == ["removed drive /dev/sdb 67108864 bytes, serial S2, with 1 partition, mounted on /data"]
    back = diff(inventory(*BOTH[:2]), inventory(*BOTH))
    assert rows(back) == ["added drive /dev/sdb 67108864 bytes, serial S2, with 1 partition, mounted on /data"]


def test_json_has_a_row_for_all_that_vanished_with_a_disk(diff):
    changes = diff(inventory(*BOTH), inventory(*BOTH[:2]), "--format", "json").json["changes"]
    assert [(change["change"], change["kind"], change["name"]) for change in changes] == [
        ("went", "drive", "/dev/sdb"), ("went", "partition", "/dev/sdb1"), ("went", "fileSystem", "/data")]


def test_volumes_that_vanished_with_their_disk_are_in_its_line(diff):
    volume = mounted(device("dm-0", "crypt", ["sdb1"], volume="secret"), mount("/secret"))
    disk, part = device("sdb"), partition("sdb1", "sdb", content="crypto_LUKS", uuid="l")
    done = diff(inventory(DISK, disk, part, volume), inventory(DISK))
    assert rows(done) == ["removed drive /dev/sdb 67108864 bytes, with 1 partition, with /dev/mapper/secret, "
                          "mounted on /secret"]


def test_array_that_lost_a_disk_is_a_line_of_its_own(diff):
    array = device("md0", "raid", ["sda", "sdb"])
    done = diff(inventory(DISK, device("sdb"), array), inventory(DISK, {**array, "on": ["sda"]}))
    assert rows(done) == ["removed drive /dev/sdb 67108864 bytes", "changed volume /dev/md0 on: /dev/sda, /dev/sdb -> /dev/sda"]


def test_partition_that_grew_is_one_line(diff):
    new = [BOTH[0], {**BOTH[1], "size": 2097152}, *BOTH[2:]]
    assert rows(diff(inventory(*BOTH), inventory(*new))) == ["changed partition /dev/sda1 size: 1048576 -> 2097152"]


@pytest.mark.parametrize("known", [{"content": "ext4", "uuid": "f-2"}, {}], ids=["udev", "no_udev"])
def test_file_system_that_moved_to_another_disk_is_one_line(diff, known):
    bare = [partition("sda1", uuid="p-1"), partition("sdb1", "sdb", uuid="p-2")]
    old = inventory(BOTH[0], bare[0], BOTH[2], mounted(bare[1], mount("/data"), **known))
    new = inventory(BOTH[0], mounted(bare[0], mount("/data"), **known), BOTH[2], bare[1])
    assert rows(diff(old, new)) == ["changed file system /data on: /dev/sdb1 -> /dev/sda1"]


def test_other_disk_under_the_same_name_is_removed_and_added(diff):
    done = diff(inventory(device("sda", wwid="naa.1")), inventory(device("sda", wwid="naa.9")))
    assert sorted(rows(done)) == ["added drive /dev/sda 67108864 bytes", "removed drive /dev/sda 67108864 bytes"]


def test_serial_number_identifies_where_there_is_no_wwid(diff):
    done = diff(inventory(device("vda", serial="A")), inventory(device("vdb", serial="A")))
    assert rows(done) == ["renamed drive /dev/vdb was /dev/vda"]


@pytest.mark.parametrize("twice_in", [0, 1])
def test_identity_that_occurs_twice_identifies_nothing(diff, twice_in):
    paths = [device("sda", serial="A"), device("sdb", serial="A")]
    pair = [inventory(device("sda", serial="A")), inventory(device("sda", serial="A"))]
    pair[twice_in] = inventory(*paths)
    assert [row.split(maxsplit=3)[:3] for row in rows(diff(*pair))] == [
        ["removed" if twice_in == 0 else "added", "drive", "/dev/sdb"]]
    pair[1 - twice_in] = inventory(device("sdb", serial="A"), device("sdc", serial="B"))
    assert "renamed" not in diff(*pair).text


def test_partition_is_known_by_its_uuid_before_its_number(diff):
    old = inventory(DISK, partition("sda1", number=1, uuid="p-1"), partition("sda2", number=2, uuid="p-2"))
    new = inventory(DISK, partition("sda1", number=1, uuid="p-2"), partition("sda2", number=2, uuid="p-1"))
    assert sorted(rows(diff(old, new))) == [
        "changed partition /dev/sda1 partition.number: 2 -> 1", "changed partition /dev/sda2 partition.number: 1 -> 2",
        "renamed partition /dev/sda1 was /dev/sda2", "renamed partition /dev/sda2 was /dev/sda1"]


def test_volume_is_known_by_its_name_not_by_its_number(diff):
    old, new = (device(name, "lvm", ["sda"], volume="vg-root") for name in ("dm-0", "dm-7"))
    done = diff(inventory(DISK, old), inventory(DISK, new))
    assert (done.status, done.text) == (0, "")


def test_btrfs_on_two_disks_is_one_file_system(diff):
    first, second = device("sda", content="btrfs", uuid="b"), device("sdb", content="btrfs", uuid="b")
    old = inventory(mounted(first, mount("/pool")), {**second, "mountsAt": "sda"})
    new = inventory(mounted(first, mount("/pool")), device("sdb"))
    assert rows(diff(old, new)) == ["changed file system /pool on: /dev/sda, /dev/sdb -> /dev/sda"]


def test_what_is_on_a_device_and_not_mounted_is_content(diff):
    done = diff(inventory(DISK), inventory({**DISK, "content": "LVM2_member", "uuid": "x"}))
    assert rows(done) == ["added content /dev/sda LVM2_member, on /dev/sda"]


def test_unmounting_is_one_line(diff):
    known = {"content": "ext4", "uuid": "f"}
    old, new = inventory(DISK, mounted(partition("sda1"), mount("/data"), **known)), inventory(DISK, {**partition("sda1"), **known})
    assert rows(diff(old, new)) == ["changed file system /data mountPoints: /data -> nothing"]
    assert rows(diff(new, old)) == ["changed file system /data mountPoints: nothing -> /data"]


def test_drive_that_is_not_reported_any_more_is_a_change(diff):
    done = diff(inventory(DISK), inventory({**DISK, "cim": {"drive": reported(False)}}))
    assert rows(done) == ["changed drive /dev/sda cim.drive.reported: true -> false"]


# --- what does not count, and what is not known ---


def test_free_space_counts_with_space_only(diff):
    new = inventory(DISK, mounted(partition("sda1"), mount("/data", free=1, available=0)))
    assert diff(ONE, new).status == 0
    done = diff(ONE, new, "--space")
    assert done.status == 1 and "free: 300 -> 1" in done.text


def test_incomplete_document_is_said_to_be(diff):
    done = diff(ONE, incomplete(*ONE["diskmgt"]["devices"]))
    assert (done.status, done.stdout) == (0, b"")
    assert "new.json is not complete, and what it lacks counts as unknown: /dev/sda is missing" in done.sentence


def test_what_an_incomplete_document_lacks_is_unknown(diff):
    bare = {**DISK, "cim": {"drive": {"known": False, "rule": "not-root"}}}
    del bare["wwid"]
    silent = mounted(partition("sda1"), {"mountPoint": "/data", "root": "/", "fileSystem": "ext4", "options": "rw",
                                         "rule": "mount-does-not-answer"})
    for pair in ((ONE, incomplete(bare, silent)), (incomplete(bare, silent), ONE)):
        assert diff(*pair).status == 0, diff(*pair).text
    assert rows(diff(ONE, inventory(bare, silent)))  # a complete one says it


@pytest.mark.parametrize("rule, of, devices", [("block-list-not-read", "/sys/block", []),
                                               ("mount-table-not-opened", "/proc/self/mountinfo", [DISK, partition("sda1")])])
def test_rows_of_a_list_that_was_not_read_are_not_removed(diff, rule, of, devices):
    for pair in ((ONE, incomplete(*devices, rule=rule, of=of)), (incomplete(*devices, rule=rule, of=of), ONE)):
        assert diff(*pair).status == 0, diff(*pair).text


def test_disk_that_a_user_does_not_see_any_more_is_removed(diff):
    """The kernel lists it for everybody; only CIM's account of it needs rights."""
    done = diff(inventory(*BOTH), incomplete(*BOTH[:2]))
    assert [row.split()[:3] for row in rows(done)] == [["removed", "drive", "/dev/sdb"]]


def test_gaps_with_controls_do_not_reach_the_terminal(diff):
    done = diff(ONE, incomplete(*ONE["diskmgt"]["devices"], of="\x1b[31m"))
    assert "\\x1b[31m" in done.sentence


def test_documents_of_two_servers_are_compared_with_a_word(diff):
    done = diff(ONE, inventory(*ONE["diskmgt"]["devices"], hostName="server2"))
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
    (b'{"diskmgt": {"schema": 1, "hostName": "x", "drives": []}}', "was written before 1.1.0; export it again"),
    (json.dumps(inventory(DISK, DISK)).encode(), 'has two devices with the name "sda"'),
    (b'{"diskmgt": {"schema": 2}}', "newer form 2"), (b"[" * 1000000, "nested more than 32 deep"),
    (b'{"diskmgt": {"schema": 1, "schema": 1}}', 'names "schema" twice')],
    ids=["empty", "blank", "no_json", "list", "no_utf8", "get", "cut", "two", "before", "device_twice", "newer", "deep", "name_twice"])
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
    done = diff(inventory(), inventory(device("\x1b[31m\x9b\nx")))
    assert done.status == 1
    assert not set(done.text) & {"\x1b", "\x9b"} and len(done.text.splitlines()) == 2


def test_time_limit_covers_a_pipe_that_stays_silent(run):
    reading, writing = os.pipe()
    done = run("diff", "-", "/dev/null", "--timeout", "0.2", stdin=reading)
    os.close(reading)
    os.close(writing)
    assert done.status == 4 and "gave up after 0.2 s while reading the documents" in done.sentence
