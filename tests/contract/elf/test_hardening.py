"""How the plug-in is linked and compiled to withstand its input: it runs as root in another program's process."""
import platform
import re

import pytest

import library


def test_relocated_data_becomes_read_only_at_once():
    assert "GNU_RELRO" in [kind for kind, _ in library.segments()]
    tags = dict(library.dynamic_tags())
    assert "BIND_NOW" in tags.get("FLAGS", "") or "NOW" in tags.get("FLAGS_1", "")


def test_the_stack_is_not_executable():
    assert [flags.strip() for kind, flags in library.segments() if kind == "GNU_STACK"] == ["RW"]


def test_no_segment_is_both_writable_and_executable():
    assert [segment for segment in library.segments() if "W" in segment[1] and "E" in segment[1]] == []


def test_code_needs_no_relocation():
    tags = dict(library.dynamic_tags())
    assert "TEXTREL" not in tags
    assert "TEXTREL" not in tags.get("FLAGS", "")


def test_stack_frames_are_guarded():
    assert "__stack_chk_fail" in library.imports()


@pytest.mark.skipif(platform.machine() != "x86_64", reason="the note is of x86 processors")
def test_is_marked_for_control_flow_protection():
    notes = library.output_of("readelf", "-nW", library.PLUGIN)
    [features] = re.findall(r"x86 feature: (.*)$", notes, re.MULTILINE)
    assert {"IBT", "SHSTK"} <= set(features.split(", "))


@pytest.mark.skipif(platform.machine() != "x86_64", reason="the note is of x86 processors")
def test_the_loader_calls_no_start_up_code_without_a_landing_mark():
    """The two functions of the system's start-up files have no landing mark, so the note would be false."""
    assert {"INIT", "FINI"} & {tag for tag, _ in library.dynamic_tags()} == set()
