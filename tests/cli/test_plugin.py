"""Which plug-in is loaded, and what is said about it."""
import os
import subprocess
from pathlib import Path

from conftest import COMMAND


def test_own_plugin_is_found_beside_the_command(run):
    done = run("plugin", "--format", "json")
    assert done.status == 0
    identity = done.json
    assert list(identity) == ["name", "version", "interfaceVersion", "type", "file"]
    assert identity["name"] == "Disk Management Information Collector"
    assert (identity["version"], identity["interfaceVersion"]) == ("1.0", "1.0")
    own = Path(COMMAND).resolve().parent.parent / "lib/diskmgt/plugins/libdiskmgt.pi.so"
    assert Path(identity["file"]).resolve() == own


def test_command_reached_through_a_link_finds_its_plugin(run, tmp_path):
    link = tmp_path / "inventory"
    link.symlink_to(COMMAND)
    done = subprocess.run([link, "plugin"], capture_output=True, check=False)
    assert (done.returncode, done.stderr) == (0, b"")


def test_table_names_everything(run):
    lines = run("plugin").text.splitlines()
    assert len(lines) == 2
    assert lines[0].split() == ["Name", "Version", "Interface", "version", "Type", "File"]
    assert lines[1].startswith("Disk Management Information Collector")


def test_environment_names_another_plugin(run, plugin):
    done = run("plugin", "--format", "json", DISKMGT_PLUGIN=plugin("publishing"))
    assert done.json["name"] == "Stand-in"
    assert done.json["type"] == 7


def test_option_wins_over_environment(run, plugin):
    done = run("plugin", "--format", "json", "--plugin", plugin("publishing"), DISKMGT_PLUGIN="/does/not/exist")
    assert (done.status, done.json["name"]) == (0, "Stand-in")


def test_empty_environment_variable_is_none(run):
    done = run("plugin", "--format", "json", DISKMGT_PLUGIN="")
    assert done.json["name"] == "Disk Management Information Collector"


def test_plain_file_name_means_the_present_directory(run, plugin, tmp_path):
    os.symlink(plugin("publishing"), tmp_path / "local.so")
    done = run("plugin", "--format", "json", "--plugin", "local.so")
    assert (done.status, done.json["name"]) == (0, "Stand-in")


def test_a_file_that_is_not_a_plug_in_is_refused_with_one_advice(run, plugin, tmp_path):
    (tmp_path / "text").write_text("no library")
    assert run("plugin", "--plugin", "text").sentence.endswith("; give the path of one with --plugin FILE or DISKMGT_PLUGIN")
    assert run("plugin", "--plugin", plugin("silent")).sentence.endswith(
        "; name another plug-in with --plugin FILE or DISKMGT_PLUGIN")
