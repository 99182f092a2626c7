"""Whose libraries the plug-in uses in another host: that host's, or none. Each host is a separate process, which prints
the lines described in hosts/host_run.h. Its libraries have the names that the plug-in asks for, or names with a version.
"""
import os
import subprocess
from pathlib import Path

import pytest

PLUGIN = os.path.realpath(os.environ["DISKMGT_PLUGIN_FILE"])
OURS = Path(PLUGIN).parent.parent
HOSTS = Path(os.environ["DISKMGT_TEST_HOSTS"])
VERSIONED = os.environ["DISKMGT_VERSIONED_LIBRARIES"]


def facts(host_libraries, way, search_path=None):
    """Kind to texts, in order. The host gets its libraries in one of two ways: linked, or opened locally."""
    command = {"linked": [HOSTS / f"linked_host_{host_libraries}", PLUGIN],
               "local": [HOSTS / "local_host", PLUGIN, HOSTS / f"libhost_run_{host_libraries}.so"]}[way]
    environment = {name: value for name, value in os.environ.items() if name != "LD_LIBRARY_PATH"}
    environment.update({"LC_ALL": "C"}, **({"LD_LIBRARY_PATH": search_path} if search_path else {}))
    done = subprocess.run(command, env=environment, capture_output=True, text=True, timeout=60, check=False)
    assert done.returncode == 0, done.stderr
    found = {}
    for line in done.stdout.splitlines():
        kind, text = line.split(" ", 1)
        found.setdefault(kind, []).append(text)
    return found


@pytest.mark.parametrize("way", ["linked", "local"])
def test_a_host_whose_libraries_have_the_usual_names_is_served(way):
    found = facts("usual", way)
    assert "refused" not in found
    assert found["published"] == ["1"]
    assert found["logged"] == [
        "PartitionPresent associations...",
        "Attempted creation of instance for VEXSG_PartitionPresent threw exception the second host refuses"]


@pytest.mark.parametrize("way", ["linked", "local"])
def test_a_host_whose_libraries_have_versions_gets_the_loaders_sentence(way):
    found = facts("versioned", way)
    [reason] = found["refused"]
    assert reason.startswith("libtal")
    assert reason.endswith(".so: cannot open shared object file: No such file or directory")
    assert "published" not in found


@pytest.mark.parametrize("way", ["linked", "local"])
def test_a_host_whose_libraries_have_versions_and_links_with_the_usual_names_is_served(way):
    found = facts("versioned", way, search_path=VERSIONED)
    assert found["published"] == ["1"]
    of_the_host = [Path(file).name for file in found["mapped"] if Path(file).name.startswith("libtal")]
    assert of_the_host == ["libtalbase.so.3.5.0", "libtalcore.so.3.5.0"]


@pytest.mark.parametrize("way", ["linked", "local"])
@pytest.mark.parametrize("host_libraries", ["usual", "versioned"])
def test_of_our_files_at_most_the_plug_in_is_in_the_process(host_libraries, way):
    found = facts(host_libraries, way)
    ours = [file for file in found["mapped"] if Path(file).is_relative_to(OURS)]
    assert ours == ([PLUGIN] if host_libraries == "usual" else [])
    hosts = [Path(file) for file in found["mapped"] if Path(file).name.startswith("libtal")]
    assert len(hosts) == 2, "the host's own were not seen"
