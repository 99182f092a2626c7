"""Every machine folder: what the command prints is what its expected.json says, order and log included."""

import pytest

from conftest import MACHINES
from machine.expectation import read_expectation
from served_classes import ASSOCIATIONS

NAMES = sorted(folder.name for folder in MACHINES.iterdir() if (folder / "expected.json").exists())


@pytest.fixture(scope="module")
def answer(machine, get):
    """What was expected of the machine and what it answered; one request serves all tests of a machine."""
    answers = {}

    def ask(name):
        if name not in answers:
            expected = read_expectation(machine(name))
            answers[name] = expected, get(machine(name), expected.asked, status=expected.status)
        return answers[name]

    return ask


@pytest.mark.parametrize("name", NAMES)
def test_instances_are_the_expected_ones_in_order(answer, name):
    expected, got = answer(name)
    assert [found["name"] for found in got["classes"]] == expected.asked
    for found in got["classes"]:
        assert [instance["properties"] for instance in found["instances"]] == expected.instances(found["name"])


@pytest.mark.parametrize("name", NAMES)
def test_log_is_the_expected_one(answer, name):
    expected, got = answer(name)
    assert [(line["severity"], line["text"]) for line in got["log"]] == expected.log()


@pytest.mark.parametrize("name", NAMES)
def test_object_paths_name_the_instances(answer, name):
    expected, got = answer(name)
    assert got["namespace"] == "root/cimv2"
    for found in got["classes"]:
        assert found["association"] == (found["name"] in ASSOCIATIONS)
        for instance in found["instances"]:
            assert instance["path"] == expected.path(found["name"], instance["properties"])


def test_no_machine_lacks_its_expectation():
    assert NAMES == sorted(folder.name for folder in MACHINES.iterdir())
