"""Names that somebody chose to harm the reader: every format stays well-formed and no terminal is steered."""
import csv
import io
import json
import os

import pytest
from conftest import on_a_terminal

DISK = "VEXSG_LogicalDisk"
RAW_CONTROLS = [b"\x1b", b"\x7f", b"\xc2\x9b", b"\xff", b"\t"]
AS_UTF8 = 'a\nb\033[31mred\t"quoted", comma\\back\x7f\x9b31m \ufffdnot utf-8 ä'


def test_json_replaces_what_is_not_utf8(run, plugin):
    done = run("get", DISK, "--plugin", plugin("publishing"))
    assert done.status == 0
    properties = done.json["classes"][0]["instances"][0]["properties"]
    assert properties["DeviceID"] == AS_UTF8
    assert properties["OtherIdentifyingInfo"] == [AS_UTF8, "second"]
    assert properties["MountOptions"] == ""


def test_json_is_laid_out_as_the_libraries_lay_it_out(run, plugin):
    done = run("get", "VEXSG_DiskDrive", DISK, "VEXSG_TapeDrive", "VEXSG_MediaPresent", "--plugin", plugin("publishing"))
    expected = json.dumps(done.json, indent=2, ensure_ascii=False) + "\n"
    for control in (chr(0x7F), chr(0x9B)):  # the one thing that is escaped beyond what JSON asks for
        expected = expected.replace(control, f"\\u{ord(control):04x}")
    assert done.text == expected
    assert '"instances": []' in done.text


def test_json_carries_no_raw_control_bytes(run, plugin):
    data = run("get", DISK, "--plugin", plugin("publishing")).stdout
    assert not [byte for byte in RAW_CONTROLS if byte in data]


@pytest.mark.parametrize("locale", ["C.UTF-8", "C"])
def test_table_escapes_what_is_not_printable(run, plugin, locale):
    done = run("get", DISK, "--format", "table", "--plugin", plugin("publishing"), LC_ALL=locale)
    assert done.status == 0
    assert not [byte for byte in RAW_CONTROLS if byte in done.stdout]
    assert len(done.stdout.splitlines()) == 3  # title, headings, one row
    assert b"a\\x0ab\\x1b[31mred" in done.stdout


def test_table_is_ascii_where_the_locale_is(run, plugin):
    assert run("get", DISK, "--format", "table", "--plugin", plugin("publishing"), LC_ALL="C").stdout.isascii()
    assert "ä" in run("get", DISK, "--format", "table", "--plugin", plugin("publishing"), LC_ALL="C.UTF-8").text


def test_unknown_locale_is_not_a_failure(run, plugin):
    done = run("get", DISK, "--format", "table", "--plugin", plugin("publishing"), LC_ALL="xx_YY.nowhere")
    assert (done.status, done.stderr) == (0, b"")


def test_csv_quotes_and_doubles(run, plugin):
    done = run("get", DISK, "--format", "csv", "--plugin", plugin("publishing"))
    (row,) = csv.DictReader(io.StringIO(done.stdout.decode(), newline=""))
    assert row["DeviceID"] == AS_UTF8
    assert row["OtherIdentifyingInfo"] == AS_UTF8 + ",second"


@pytest.mark.parametrize("chosen", ["json", "table", "csv", "mof"])
def test_no_format_steers_a_terminal(plugin, chosen):
    status, seen = on_a_terminal("get", DISK, "--format", chosen, "--plugin", plugin("publishing"), NO_COLOR="1")
    assert status == 0
    assert not [byte for byte in RAW_CONTROLS if byte in seen]


@pytest.mark.parametrize("form", ["json", "prometheus", "mof", "html"])
def test_no_export_steers_a_terminal(plugin, form, complete_status):
    status, seen = on_a_terminal("export", form, "--plugin", plugin("publishing"))
    # The stand-in's partition is in no table, so that the views of the machine have only its drive.
    assert status == complete_status and (b"sda1" if form in ("json", "mof") else b"sda") in seen
    assert not [byte for byte in RAW_CONTROLS if byte in seen]


TURNING = [mark.encode() for mark in "\u202e\u202c\u061c\u2066"]
NAME = "/dev/\u202e1ads\u202c\u061c\u2066\x9b31m"


@pytest.mark.parametrize("arguments", [("get", "--format", "json"), ("get", "--format", "table"),
                                       ("get", "--format", "csv"), ("get", "--format", "mof"), ("trace",)])
def test_no_name_is_turned_around_on_a_terminal(plugin, arguments):
    status, seen = on_a_terminal(*arguments, DISK, "--plugin", plugin("misleading"), NO_COLOR="1")
    assert status == 0 and b"1ads" in seen
    assert not [mark for mark in TURNING if mark in seen]


def test_probe_turns_no_file_name_around_on_a_terminal(tmp_path):
    image = tmp_path / "\u202egmi.ksid\u2066"
    image.write_bytes(bytes(512))
    _, seen = on_a_terminal("probe", str(image))
    (probed,) = json.loads(seen)
    assert probed["path"] == str(image)
    assert not [mark for mark in TURNING if mark in seen]


def test_json_on_a_terminal_holds_the_same_values(plugin):
    _, seen = on_a_terminal("get", DISK, "--plugin", plugin("misleading"))
    (disks,) = json.loads(seen)["classes"]
    assert disks["instances"][0]["properties"]["DeviceID"] == NAME
    _, seen = on_a_terminal("trace", DISK, "--plugin", plugin("misleading"))
    assert [line["text"] for line in map(json.loads, seen.splitlines()) if line["call"] == "log"] == [NAME]


def test_mof_on_a_terminal_holds_the_same_values(plugin):
    _, seen = on_a_terminal("get", DISK, "--format", "mof", "--plugin", plugin("misleading"))
    assert rb'"/dev/\x202e1ads\x202c\x061c\x2066\x009B31m"' in seen


@pytest.mark.parametrize("chosen", ["json", "csv", "mof"])
def test_marks_stay_as_they_are_elsewhere(run, plugin, chosen):
    arguments = ("get", DISK, "--format", chosen, "--plugin", plugin("misleading"))
    assert all(mark in run(*arguments).stdout for mark in TURNING)


@pytest.mark.parametrize("command", ["get", "trace"])
def test_log_lines_are_escaped_like_everything_else(run, plugin, command):
    done = run(command, DISK, "--plugin", plugin("misleading"), "--log-level", "verbose")
    assert done.stderr.isascii()
    assert done.stderr.decode() == ("status: /dev/\\xe2\\x80\\xae1ads\\xe2\\x80\\xac\\xd8\\x9c\\xe2\\x81\\xa6"
                                    "\\xc2\\x9b31m\n")


def rows_of(done):
    return [row["DeviceID"] for row in csv.DictReader(io.StringIO(done.stdout.decode(), newline=""))]


def test_csv_safe_defuses_formulas(run, plugin):
    arguments = ("get", DISK, "--format", "csv", "--plugin", plugin("misleading"))
    formulas = ["=cmd|' /C calc'!A0", "+1", "-1", "@SUM(A1)", "\t=1", "\r=1"]
    assert rows_of(run(*arguments)) == [NAME, *formulas, "plain=1"]
    assert rows_of(run(*arguments, "--csv-safe")) == [NAME, *("'" + text for text in formulas), "plain=1"]


def test_csv_safe_on_a_terminal(plugin):
    _, seen = on_a_terminal("get", DISK, "--format", "csv", "--csv-safe", "--plugin", plugin("misleading"))
    assert rb"'\x09=1" in seen and rb"'\x0d=1" in seen and b"'+1" in seen


def test_terminal_gets_colour_by_default(plugin):
    arguments = ("get", DISK, "--format", "table", "--plugin", plugin("publishing"))
    assert b"\x1b[1m" in on_a_terminal(*arguments, TERM="xterm", NO_COLOR="")[1]
    assert b"\x1b[" not in on_a_terminal(*arguments, TERM="xterm", NO_COLOR="1")[1]
    assert b"\x1b[" not in on_a_terminal(*arguments, "--color", "never", TERM="xterm")[1]
    assert b"\x1b[" not in on_a_terminal(*arguments, TERM="dumb")[1]


def test_colour_elsewhere_only_on_demand(run, plugin):
    arguments = ("get", DISK, "--format", "table", "--plugin", plugin("publishing"))
    assert b"\x1b[" not in run(*arguments).stdout
    forced = run(*arguments, "--color", "always", NO_COLOR="1").stdout
    assert b"\x1b[1m" in forced
    assert b"\x1b[31m" not in forced  # ours only, never the disk's


def test_probe_of_a_hostile_name(run, tmp_path):
    name = os.fsencode(tmp_path) + b"/\xff\x1b[31m\"\n"
    with open(name, "wb") as image:
        image.write(bytes(512))
    done = run("probe", name)
    assert done.status == 0
    (entry,) = json.loads(done.stdout)
    assert entry == {"path": os.fsdecode(tmp_path) + '/\ufffd\033[31m"\n', "partitions": []}


def test_missing_file_with_a_hostile_name(run):
    done = run("probe", b"\x1b[31m\xff\n")
    assert done.status == 1
    assert "\\x1b[31m\\xff\\x0a" in done.sentence
