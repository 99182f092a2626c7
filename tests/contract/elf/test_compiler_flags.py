"""How each object of the product was compiled, from the build's own list of commands: its path is in
DISKMGT_COMPILE_COMMANDS, and whether the build checks copies in DISKMGT_COPIES_ARE_CHECKED.
"""
import json
import os
import platform
import shlex
from pathlib import Path

import pytest

NOT_THE_PRODUCT = {"tests", "fuzz", "bench"}


def product_objects():
    """Output to the words of its command. Tests compile some of the product's sources again, for themselves."""
    path = Path(os.environ["DISKMGT_COMPILE_COMMANDS"])
    commands = [shlex.split(row["command"]) for row in json.loads(path.read_text(encoding="utf-8"))]
    of_outputs = {words[words.index("-o") + 1]: words for words in commands}
    return {output: words for output, words in of_outputs.items() if Path(output).parts[0] not in NOT_THE_PRODUCT}


def without(flag):
    return [output for output, words in product_objects().items() if flag not in words]


def test_plug_in_host_and_command_are_among_the_objects():
    outputs = " ".join(product_objects())
    for target in ("diskmgt_collect", "diskmgt_provider", "diskmgt_plugin", "talbase", "talcore", "diskmgt_cli", "diskmgt"):
        assert f"/{target}.dir/" in f"/{outputs}", target


@pytest.mark.skipif(platform.machine() not in ("x86_64", "aarch64"), reason="the compilers have it for few processors")
def test_every_object_probes_each_page_of_a_large_stack_frame():
    assert without("-fstack-clash-protection") == []


@pytest.mark.skipif(platform.machine() != "x86_64", reason="control-flow protection is of x86 processors")
def test_every_object_is_protected_against_diverted_control_flow():
    assert without("-fcf-protection=full") == []


@pytest.mark.skipif(os.environ["DISKMGT_COPIES_ARE_CHECKED"] != "1",
                    reason="only optimising builds without sanitizers check copies")
def test_every_object_has_its_copies_checked():
    assert without("-D_FORTIFY_SOURCE=3") == []
    late = [output for output, words in product_objects().items()
            if words.index("-U_FORTIFY_SOURCE") > words.index("-D_FORTIFY_SOURCE=3")]
    assert late == []


def test_no_object_takes_a_protection_back():
    taken_back = {"-fno-stack-clash-protection", "-fcf-protection=none", "-fno-stack-protector", "-D_FORTIFY_SOURCE=0"}
    assert [output for output, words in product_objects().items() if taken_back & set(words)] == []
