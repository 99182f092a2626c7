"""What diff costs in memory, of documents and of what was written to cost much."""
import json
import os
import subprocess
import sys

import pytest
from conftest import COMMAND, environment
from documents import DISK, inventory, mount, mounted, partition

# A process of its own starts the command: what is forked from this one begins with all of its memory as the most.
STARTER = """
import os, subprocess, sys
running = subprocess.Popen(sys.argv[1:], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
_, status, used = os.wait4(running.pid, 0)
print(os.waitstatus_to_exitcode(status), used.ru_maxrss * 1024)
"""


def peak_of(*arguments):
    """Exit status, standard error and the most memory in bytes of one run."""
    done = subprocess.run([sys.executable, "-S", "-c", STARTER, COMMAND, "diff", "--timeout", "0", *map(str, arguments)],
                          capture_output=True, text=True, env=environment(), timeout=120, check=True)
    status, peak = map(int, done.stdout.split())
    return status, done.stderr, peak


def crowded(count, folder):
    """As "export json" writes so many mounted partitions, but without the plain instances: all of it is compared."""
    return inventory(DISK, *(mounted(partition(f"sda{number}", number=number), mount(f"{folder}/{number}"))
                             for number in range(count)))


@pytest.mark.skipif(any(name in open(COMMAND, "rb").read() for name in (b"__asan_init", b"__tsan_init")),
                    reason="a sanitizer's own memory would be measured")
class TestMemory:
    """What the comparison costs, beyond an empty run."""

    @pytest.mark.parametrize("chosen", ["table", "json"])
    def test_of_inventories_is_at_most_four_times_the_documents(self, tmp_path, chosen):
        for name, document in (("empty", inventory()), ("old", crowded(16000, "/old")), ("new", crowded(16000, "/new"))):
            (tmp_path / name).write_text(json.dumps(document, indent=2))
        _, _, least = peak_of(tmp_path / "empty", tmp_path / "empty")
        status, said, peak = peak_of(tmp_path / "old", tmp_path / "new", "--format", chosen)
        assert (status, said) == (1, "")
        both = os.path.getsize(tmp_path / "old") + os.path.getsize(tmp_path / "new")
        assert both > 16 << 20 and peak - least <= 4 * both

    def test_of_any_names_is_bounded(self, tmp_path):
        (tmp_path / "names").write_text("{" + ",".join(f'"{number}":0' for number in range(3000000)) + "}")
        status, said, peak = peak_of(tmp_path / "names", tmp_path / "names")
        assert status == 2 and "more than 1000000 elements" in said and peak < 1 << 30

    def test_of_a_crowd_of_elements_is_bounded(self, tmp_path):
        rows = (f'{{"name": "sda{number}", "kind": "disk", "on": [], "size": 1, "model": "x", "cim": {{}}}}'
                for number in range(1000001))
        text = json.dumps(inventory(devices="crowd")).replace('"crowd"', "[" + ",".join(rows) + "]")
        (tmp_path / "crowd").write_text(text)
        status, said, peak = peak_of(tmp_path / "crowd", tmp_path / "crowd")
        assert status == 2 and "more than 1000000 elements" in said and peak < 1 << 30

    def test_of_a_huge_text_is_bounded(self, tmp_path):
        text = json.dumps(inventory(hostName="@"))
        (tmp_path / "text").write_text(text.replace("@", "x" * ((256 << 20) - len(text))))
        status, said, peak = peak_of(tmp_path / "text", tmp_path / "text")
        assert status == 2 and "a text of more than 1 MiB" in said and peak < 1 << 30
