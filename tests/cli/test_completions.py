"""What bash and zsh offer while a command line is typed, beside what the command's own help promises."""
import os
import re

import pytest

import completing_shells
import help_text

SHELLS = [completing_shells.bash, completing_shells.zsh]
COMMAND_LINES = [(), *((name,) for name in help_text.commands())]


@pytest.fixture(params=SHELLS, ids=["bash", "zsh"])
def offers(request, tmp_path):
    """offers("get", "VEXSG_Disk"): what is offered for the last word, "--format=" as "--format"."""
    return lambda *words: sorted(name.rstrip("= ") for name in request.param(tmp_path, "diskmgt", *words))


@pytest.fixture(params=SHELLS, ids=["bash", "zsh"])
def offers_in_order(request, tmp_path):
    return lambda *words: request.param(tmp_path, "diskmgt", *words)


@pytest.fixture
def devices():
    """The names of those block devices that are there before and after the test."""
    before = os.listdir("/sys/class/block")
    if not before:
        pytest.skip("the kernel has no block devices")
    return lambda: sorted(name for name in before if os.path.exists(f"/sys/class/block/{name}") and "!" not in name)


def test_every_command_is_offered(offers):
    assert offers("") == sorted(help_text.commands())


def test_commands_are_offered_behind_options(offers):
    assert offers("--color", "never", "--timeout=5", "pro") == ["probe"]


@pytest.mark.parametrize("command", COMMAND_LINES)
def test_options_offered_are_those_of_the_command(offers, command):
    assert offers(*command, "--") == sorted(help_text.options(*command))


@pytest.mark.parametrize("command", [words for words in COMMAND_LINES if help_text.formats(*words)])
def test_formats_offered_are_those_of_the_command(offers, command):
    assert offers(*command, "--format", "") == sorted(help_text.formats(*command))


def test_value_behind_an_equals_sign(offers):
    assert offers("classes", "--format=m") == ["mof"]
    assert offers("--color=al") == ["always"]


def test_fixed_values(offers):
    assert offers("get", "--log-level", "") == ["debug", "error", "none", "status", "verbose", "warning"]
    assert offers("--color", "") == ["always", "auto", "never"]


def test_every_export_format_is_offered(offers):
    assert set(help_text.export_formats()) <= set(offers("export", ""))


@pytest.mark.parametrize("command", ["get", "trace", "classes"])
def test_classes_are_offered(offers, command):
    assert offers(command, "VEXSG_DiskP") == ["VEXSG_DiskPartition"]


def test_properties_of_the_named_classes_are_offered_one_after_the_other(offers):
    first = offers("get", "VEXSG_LogicalDisk", "--columns", "T")
    later = offers("get", "VEXSG_LogicalDisk", "--columns", "DeviceID,T")
    assert first == ["TotalSpace"]
    assert [name.rpartition(",")[2] for name in later] == ["TotalSpace"]


@pytest.mark.parametrize("words", [("probe", "disk"), ("diff", "disk"), ("get", "--output", "disk"),
                                   ("plugin", "--plugin=disk"), ("classes", "--schema", "disk")])
def test_files_are_offered(offers, tmp_path, words):
    (tmp_path / "disk.img").touch()
    assert offers(*words) == ["disk.img"]


def test_columns_of_the_tree_are_offered_one_after_the_other(offers):
    names = re.search(r"^Columns: (.*?)\.$", help_text.said("tree", "--help"), re.MULTILINE | re.DOTALL)[1]
    assert offers("tree", "--columns", "") == sorted(re.findall("[a-z]+", names))
    assert [name.rpartition(",")[2] for name in offers("tree", "--columns", "size,rota")] == ["rotational"]
    assert [name.lstrip("+") for name in offers("--columns", "+ser")] == ["serial"]


def test_a_path_in_the_place_of_a_command_is_completed(offers, tmp_path):
    (tmp_path / "srv").mkdir()
    (tmp_path / "srv" / "data").touch()
    assert [name.rpartition("/")[2] for name in offers("./srv/da")] == ["data"]


@pytest.mark.parametrize("command", ["tree", "probe", "explain"])
def test_devices_are_offered(offers, command):
    def present():
        return {f"/dev/{name}" for name in os.listdir("/sys/class/block")}
    before = present()
    offered = set(offers(command, ""))
    devices = before & present()  # others may come and go meanwhile
    if not devices:
        pytest.skip("the kernel has no block devices")
    assert devices <= offered


@pytest.mark.parametrize("command", ["tree", "probe", "explain"])
def test_devices_are_offered_before_files(offers_in_order, tmp_path, devices, command):
    (tmp_path / "a-file").touch()
    offered = offers_in_order(command, "")
    assert offered.index("a-file") > max(offered.index(f"/dev/{name}") for name in devices())


@pytest.mark.parametrize("words", [("tree",), ("probe",), ("explain",), ()])
def test_a_word_with_a_slash_is_completed_as_a_device_and_then_as_a_file(offers_in_order, devices, words):
    offered = offers_in_order(*words, "/dev/")
    names = [f"/dev/{name}" for name in devices()]
    base = [name.rpartition("/")[2] for name in offered]
    places = [place for place, name in enumerate(offered) if name in names]
    assert sorted(offered[place] for place in places) == names
    assert base.index("null") > max(places)
    assert len([name for name in base if f"/dev/{name}" in names]) == len(names)  # none is offered as a file too
    assert offers_in_order(*words, names[0]).count(names[0]) == 1


@pytest.mark.parametrize("command", ["tree", "explain"])
def test_a_device_is_completed_without_its_path(offers_in_order, tmp_path, devices, command):
    name = devices()[0]
    (tmp_path / f"{name}-image").touch()
    offered = offers_in_order(command, name[:2])
    assert offered.index(name) < offered.index(f"{name}-image")


def test_a_file_to_probe_is_no_name_of_a_device(offers, devices):
    assert offers("probe", devices()[0][:2]) == []


def test_nothing_is_offered_where_any_text_goes(offers):
    assert offers("--timeout", "") == []
    assert offers("--virtual-device", "") == []


def test_an_unknown_command_is_offered_no_operands(offers):
    assert offers("no-such-command", "") == []
