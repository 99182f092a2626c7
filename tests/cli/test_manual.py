"""The manual pages: clean, readable, and complete beside the command's own help."""
import functools
import json
import os
import re
import shutil
import subprocess

import pytest

import help_text

PAGES = {name: os.path.join(help_text.share(), "man", f"man{name[-1]}", name)
         for name in ("diskmgt.1", "diskmgt-formats.5", "diskmgt-serve.8")}


@functools.lru_cache(maxsize=None)
def rendered(page):
    """The page as `man` shows it, without overstriking, on very long lines so that no phrase is broken."""
    if not shutil.which("man"):
        pytest.skip("man is not installed")
    done = subprocess.run(["man", "--warnings", "--no-hyphenation", "--no-justification", "-l", PAGES[page]],
                          capture_output=True, check=True, timeout=120,
                          env={**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "1000", "MAN_KEEP_FORMATTING": ""})
    assert done.stderr == b""
    return re.sub(r".\x08", "", re.sub(r"\x1b\[[0-9;]*m", "", done.stdout.decode()))


def section(page, title):
    text = re.search(rf"^{title}\n(.*?)(?=^\S|\Z)", rendered(page), re.MULTILINE | re.DOTALL)
    assert text, f"{page} has no section {title}"
    return text[1]


@pytest.mark.parametrize("page", PAGES)
def test_page_has_no_lint(page):
    if not shutil.which("mandoc"):
        pytest.skip("mandoc is not installed")
    done = subprocess.run(["mandoc", "-T", "lint", "-W", "all", PAGES[page]], capture_output=True, text=True,
                          timeout=60, check=False)
    # Whether other pages are there depends on what is installed, not on this page.
    assert [line for line in done.stdout.splitlines() if "referenced manual not found" not in line] == []


@pytest.mark.parametrize("page", PAGES)
def test_page_renders_without_a_warning(page):
    assert "CAVEATS" in rendered(page)


@pytest.mark.parametrize("command", help_text.commands())
def test_every_command_is_described_and_shown_in_an_example(command):
    assert re.search(rf"^ +{command}( |$)", section("diskmgt.1", "COMMANDS"), re.MULTILINE)
    assert re.search(rf"^ +diskmgt {command}\b|^ +diskmgt \[{command}\]", section("diskmgt.1", "SYNOPSIS"), re.MULTILINE)
    assert re.search(rf"[$#] diskmgt {command}\b", section("diskmgt.1", "EXAMPLES"))


@pytest.mark.parametrize("command", [(), *((name,) for name in help_text.commands())])
def test_every_option_is_described(command):
    described = section("diskmgt-serve.8" if command == ("serve",) else "diskmgt.1", "OPTIONS")
    missing = [name for name, takes_value in help_text.options(*command).items()
               if not re.search(rf"^ +(-[A-Za-z], )?{name}{' [a-z]+' if takes_value else '( |$)'}", described, re.MULTILINE)]
    assert missing == []


@pytest.mark.parametrize("command", [name for name in help_text.commands() if help_text.formats(name)])
def test_every_format_is_described_the_default_first(command):
    formats = help_text.formats(command)
    described = re.search(rf"^ +{command} +([a-z, ]+)$", section("diskmgt.1", "OPTIONS"), re.MULTILINE)[1].split(", ")
    assert described[0] == formats[0]
    assert set(formats) <= set(described)


def test_every_export_format_is_described():
    described = section("diskmgt.1", "COMMANDS")
    assert [name for name in help_text.export_formats() if not re.search(rf"^ +{name} ", described, re.MULTILINE)] == []


def test_every_exit_status_of_the_help_is_described():
    statuses = re.findall(r"(?:^|[:;] )(\d) ", re.search(r"Exit status: (.*?)\n\n", help_text.said("--help"), re.DOTALL)[1])
    described = section("diskmgt.1", "EXIT STATUS")
    assert len(statuses) == 5
    assert [status for status in statuses if not re.search(rf"^ +{status} ", described, re.MULTILINE)] == []


def test_every_member_of_the_inventory_is_described():
    def members(schema):
        if isinstance(schema, list):
            return set().union(*map(members, schema))
        if not isinstance(schema, dict):
            return set()
        own = schema.get("properties")
        return (set(own) if isinstance(own, dict) else set()).union(*map(members, schema.values()))
    file = os.path.join(help_text.share(), "inventory.schema.json")
    if not os.path.exists(file):
        pytest.skip("there is no schema of the inventory to compare with")
    with open(file, encoding="utf-8") as schema:
        named = members(json.load(schema)) - {"additionalProperties"}
    text = rendered("diskmgt-formats.5")
    assert [name for name in sorted(named) if not re.search(rf"\b{name}\b", text)] == []


@pytest.mark.parametrize("value", ["4096-byte sectors", "No signature is checked", "/dev/sdaa", "nvme0n10", "FUSE"])
def test_values_that_mislead_are_named(value):
    assert value in section("diskmgt-formats.5", "CAVEATS")
