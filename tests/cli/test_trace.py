"""trace: every crossing of the boundary, one object a line."""
import json


def entries(done):
    return [json.loads(line) for line in done.stdout.splitlines()]


def test_lines_are_numbered_from_one_and_complete(run, plugin):
    done = run("trace", "VEXSG_DiskDrive", "--plugin", plugin("publishing"))
    assert (done.status, done.stderr) == (0, b"")
    lines = entries(done)
    assert [line["n"] for line in lines] == list(range(1, len(lines) + 1))
    assert all(list(line)[:3] == ["n", "by", "call"] for line in lines)
    assert {line["by"] for line in lines} == {"plugin", "host"}


def test_log_line_of_the_real_plugin(run):
    done = run("trace", "VEXSG_DiskDrive")
    assert done.status == 0
    logged = [line for line in entries(done) if line["call"] == "log"]
    assert {"by": "plugin", "call": "log", "severity": 3,
            "text": "Physical disk information.. VEXSG_DiskDrive"} in [
        {key: line[key] for key in ("by", "call", "severity", "text")} for line in logged]


def test_covers_loading_and_unloading(run, plugin):
    lines = entries(run("trace", "VEXSG_TapeDrive", "--plugin", plugin("publishing")))
    calls = [line["call"].lower() for line in lines]
    request = next(i for i, line in enumerate(lines) if line["call"] == "log")
    assert any("register" in call for call in calls[:request])
    assert any("unload" in call for call in calls[request:])


def test_earlier_request_is_not_traced(run, plugin):
    lines = entries(run("trace", "VEXSG_PartitionPresent", "--plugin", plugin("publishing")))
    assert [line["text"] for line in lines if line["call"] == "log"] == ["VEXSG_PartitionPresent sees 2 drives"]


def test_exact_leaves_the_earlier_request_out(run, plugin):
    lines = entries(run("trace", "VEXSG_PartitionPresent", "--exact", "--plugin", plugin("publishing")))
    assert [line["text"] for line in lines if line["call"] == "log"] == ["VEXSG_PartitionPresent sees 0 drives"]


def test_exception_is_in_the_line_of_the_call(run, plugin):
    lines = entries(run("trace", "VEXSG_DiskDrive", "--plugin", plugin("failing")))
    (thrown,) = [line for line in lines if "throws" in line]
    assert thrown["by"] == "host"
    assert thrown["throws"] == "first line\nsecond \033[31mline"


def test_hostile_texts_stay_on_their_line(run, plugin):
    done = run("trace", "VEXSG_LogicalDisk", "--plugin", plugin("publishing"))
    assert done.status == 0
    assert "not utf-8" in done.text
    assert all(isinstance(line, dict) for line in entries(done))
