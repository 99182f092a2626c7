"""probe: partition maps of disk images, pair for pair."""
import json
import os
import struct
import uuid

import pytest

LINUX = uuid.UUID("0FC63DAF-8483-4772-8E79-3D69D8477DE4")


def slot(kind, start, count, boot=0):
    """One entry of an MBR-style table."""
    return struct.pack("<B3sB3sII", boot, b"", kind, b"", start, count)


def table(*slots):
    """A sector with a table in it."""
    return bytes(446) + b"".join(slots).ljust(64, b"\0") + b"\x55\xaa"


def write_mbr(path, sectors):
    """A sparse image from {sector number: sector}."""
    with open(path, "wb") as image:
        for number, content in sectors.items():
            image.seek(number * 512)
            image.write(content)


def write_gpt(path, entries, count=128):
    """A GPT image; entries are {slot number from 1: (type, first, last)}."""
    array = bytearray(count * 128)
    for number, (kind, first, last) in entries.items():
        struct.pack_into("<16s16sQQ", array, (number - 1) * 128, kind.bytes_le, bytes(16), first, last)
    header = bytearray(512)
    header[0:8] = b"EFI PART"
    struct.pack_into("<iI", header, 80, count, 128)
    with open(path, "wb") as image:
        image.write(table(slot(0xEE, 1, 0xFFFFFFFF)) + header + array)


def mbr_pairs(name, kind, subtype, size, offset, bootable="false"):
    return [["Bootable", bootable], ["DeviceID", name], ["ElementName", name], ["FaultTolerant", "false"],
            ["PartitionSubType", str(subtype)], ["PartitionType", str(kind)], ["Size", str(size)],
            ["StartingOffset", str(offset)]]


def test_mbr_with_logical_partitions(run, tmp_path):
    write_mbr(tmp_path / "disk.img", {
        0: table(slot(0x83, 2048, 1048576, 0x80), slot(0x05, 1050624, 65536), slot(0x82, 1116160, 8)),
        1050624: table(slot(0x83, 2048, 4096), slot(0x05, 8192, 4096)),
        1050624 + 8192: table(slot(0x83, 63, 1)),
    })
    os.truncate(tmp_path / "disk.img", (1116160 + 8) * 512)
    done = run("probe", "disk.img")
    assert (done.status, done.stderr) == (0, b"")
    assert done.json == [{"path": "disk.img", "partitions": [
        mbr_pairs("disk.img1", 1, 0x83, 536870912, 1049022, "true"),
        mbr_pairs("disk.img5", 3, 0x83, 4096 * 512, 2048 * 512 + 446),
        mbr_pairs("disk.img6", 3, 0x83, 512, 63 * 512 + 446),
        mbr_pairs("disk.img2", 2, 0x05, 65536 * 512, 1050624 * 512 + 446),
        mbr_pairs("disk.img3", 1, 0x82, 8 * 512, 1116160 * 512 + 446),
    ]}]


def test_gpt_maps_accumulate_and_duplicates_are_shown(run, tmp_path):
    write_gpt(tmp_path / "gpt.img", {2: (LINUX, 2048, 1050623), 3: (LINUX, 1050624, 1050631)})
    ((entry),) = run("probe", "gpt.img").json
    first, second = entry["partitions"]
    assert first == [["Bootable", "true"], ["DeviceID", "gpt.img2"], ["ElementName", "gpt.img2"],
                     ["FaultTolerant", "false"], ["PartitionType", "17"], ["Size", "536870912"],
                     ["StartingOffset", "1050623"]]
    assert second[:4] == [["Bootable", "true"], ["Bootable", "true"], ["DeviceID", "gpt.img2"],
                          ["DeviceID", "gpt.img3"]]
    assert len(second) == 14


def test_files_stand_in_the_order_given(run, tmp_path):
    write_mbr(tmp_path / "b.img", {0: table(slot(0x83, 1, 1))})
    write_mbr(tmp_path / "a.img", {0: table()})
    document = run("probe", "b.img", "a.img", "b.img").json
    assert [entry["path"] for entry in document] == ["b.img", "a.img", "b.img"]
    assert [len(entry["partitions"]) for entry in document] == [1, 0, 1]
    assert document[0] == document[2]


def test_missing_file_does_not_stop_the_others(run, tmp_path):
    write_mbr(tmp_path / "disk.img", {0: table(slot(0x83, 1, 1)), 1: bytes(512)})
    done = run("probe", "missing.img", "disk.img")
    assert done.status == 1
    assert "missing.img: No such file or directory" in done.sentence
    assert [(entry["path"], len(entry["partitions"])) for entry in done.json] == [("missing.img", 0), ("disk.img", 1)]


def test_directory_is_reported(run, tmp_path):
    (tmp_path / "folder").mkdir()
    done = run("probe", "folder")
    assert done.status == 1
    assert "folder: Is a directory" in done.sentence
    assert done.json == [{"path": "folder", "partitions": []}]


def test_missing_file_still_gives_the_output_file(run, tmp_path):
    done = run("probe", "missing.img", "--output", "out.json")
    assert done.status == 1
    assert json.loads((tmp_path / "out.json").read_text()) == [{"path": "missing.img", "partitions": []}]


def test_empty_and_short_files_have_no_partitions(run, tmp_path):
    (tmp_path / "empty").write_bytes(b"")
    (tmp_path / "short").write_bytes(bytes(450))
    done = run("probe", "empty", "short", "/dev/null")
    assert done.status == 0
    assert [entry["partitions"] for entry in done.json] == [[], [], []]


def test_one_partition_a_line(run, tmp_path):
    write_mbr(tmp_path / "disk.img", {0: table(slot(0x83, 1, 1), slot(0x83, 2, 1))})
    lines = run("probe", "disk.img").text.splitlines()
    assert len([line for line in lines if line.startswith("[[")]) == 2


def test_floppy_path_is_one_empty_map(run, tmp_path):
    write_mbr(tmp_path / "disk.img", {0: table(slot(0x83, 1, 1))})
    with open(tmp_path / "disk.img", "rb") as image:
        document = run("probe", "/dev/fd/0", stdin=image).json
    assert document == [{"path": "/dev/fd/0", "partitions": [[]]}]


def test_crowded_gpt_disk_is_valid_to_the_last_pair(run, tmp_path):
    used = 200
    write_gpt(tmp_path / "crowded.img", {i: (LINUX, i, i) for i in range(1, used + 1)}, count=used)
    done = run("probe", "crowded.img", "--output", "out.json")
    assert done.status == 0
    with open(tmp_path / "out.json", encoding="utf-8") as document:
        ((entry),) = json.load(document)
    assert [len(pairs) for pairs in entry["partitions"]] == [7 * k for k in range(1, used + 1)]
    assert sorted(os.listdir(tmp_path)) == ["crowded.img", "out.json"]


def test_what_follows_two_dashes_is_a_file(run, tmp_path):
    write_mbr(tmp_path / "-dash.img", {0: table(slot(0x83, 2048, 100))})
    done = run("probe", "--", "-dash.img")
    assert done.status == 0
    assert done.json[0]["path"] == "-dash.img"
    assert len(done.json[0]["partitions"]) == 1


def test_two_dashes_alone_name_no_file(run):
    assert run("probe", "--").status == 2
    assert run("plugin", "--", "x").status == 2


class TestRemarks:
    """What a list should be read with is said on standard error; the list stays what the parser returns."""

    def remarks(self, run, name="disk.img", status=0):
        done = run("probe", name)
        assert done.status == status
        return done.stderr.decode().splitlines()

    def test_a_sound_image_gives_none(self, run, tmp_path):
        write_mbr(tmp_path / "disk.img", {0: table(slot(0x83, 8, 8), slot(0x05, 16, 48)),
                                          16: table(slot(0x83, 8, 40)), 63: bytes(512)})
        assert self.remarks(run) == []
        write_gpt(tmp_path / "gpt.img", {1: (LINUX, 34, 40)})
        assert os.path.getsize(tmp_path / "gpt.img") < 41 * 512
        os.truncate(tmp_path / "gpt.img", 41 * 512)
        assert self.remarks(run, "gpt.img") == []

    def test_a_table_without_boot_signature(self, run, tmp_path):
        (tmp_path / "disk.img").write_bytes(table(slot(0x83, 8, 8))[:-2].ljust(512 * 16, b"\0"))
        remark, = self.remarks(run)
        assert "the first sector of disk.img has no boot signature" in remark

    def test_no_partitions_need_no_signature(self, run, tmp_path):
        (tmp_path / "disk.img").write_bytes(bytes(8192))
        assert self.remarks(run) == []

    def test_partitions_past_the_end(self, run, tmp_path):
        write_mbr(tmp_path / "disk.img", {0: table(slot(0x83, 8, 8), slot(0x83, 16, 1)), 15: bytes(512)})
        remark, = self.remarks(run)
        assert "disk.img has 8192 bytes, and 1 partition ends past that" in remark
        os.truncate(tmp_path / "disk.img", 17 * 512)
        assert self.remarks(run) == []
        write_gpt(tmp_path / "disk.img", {1: (LINUX, 34, 40), 2: (LINUX, 41, 41)})
        os.truncate(tmp_path / "disk.img", 41 * 512)
        assert "1 partition ends past that" in self.remarks(run)[0]
        write_gpt(tmp_path / "disk.img", {1: (LINUX, 34, 2**64 - 1), 2: (LINUX, 2**60, 2**60)})
        assert "2 partitions end past that" in self.remarks(run)[0]

    @pytest.mark.parametrize("count, used, words", [(-1, 0, "-1 entries"), (1000, 774, "1000 entries; more than 773 of them")])
    def test_a_refused_gpt(self, run, tmp_path, count, used, words):
        write_gpt(tmp_path / "disk.img", {i: (LINUX, 34, 40) for i in range(1, used + 1)}, count=max(count, 0))
        with open(tmp_path / "disk.img", "r+b") as image:
            image.seek(512 + 80)
            image.write(struct.pack("<i", count))
        done = run("probe", "disk.img")
        assert (done.status, done.json) == (1, [{"path": "disk.img", "partitions": []}])
        assert f"the GPT of disk.img is refused: it claims {words}" in done.sentence

    def test_a_gpt_without_entries_is_not_refused(self, run, tmp_path):
        write_gpt(tmp_path / "disk.img", {}, count=0)
        assert self.remarks(run) == []
