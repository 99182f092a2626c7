"""What a collector sends that is not as it should be: the front answers all the same, and asks the next one. The collectors
here send pieces of what a real one sent."""

import os
import socket
import struct
import subprocess
import threading
from pathlib import Path

import pytest

from conftest import ENDPOINT, LONG, environment, wait_until

COLLECTOR = str(Path(ENDPOINT).parent / "diskmgt-collect")
READY = b"r" + struct.pack("<Q", 0)


def frame(kind, payload=b""):
    return kind.encode("ascii") + struct.pack("<Q", len(payload)) + payload


def exactly(connection, count):
    found = b""
    while len(found) < count:
        piece = connection.recv(count - len(found))
        assert piece, "the collector has ended"
        found += piece
    return found


@pytest.fixture(scope="module")
def collected():
    """The frames of one collection by their kinds."""
    ours, others = socket.socketpair()
    with ours, subprocess.Popen([COLLECTOR, "--limit", "30"], stdin=others, env=environment()) as process:
        others.close()
        frames = {}
        while "e" not in frames:
            kind, length = struct.unpack("<cQ", exactly(ours, 9))
            payload = exactly(ours, length)
            if kind == b"r":
                ours.sendall(b"collect\n")
            else:
                frames[kind.decode("ascii")] = frame(kind.decode("ascii"), payload)
        ours.sendall(b"stop\n")
        assert process.wait(timeout=LONG) == 0
    return frames


class Collectors:
    """A socket behind which each connection is answered by the next of the scripts, the last one again and again."""

    def __init__(self, path, scripts, descriptor=None):
        self.scripts, self.descriptor, self.count = scripts, descriptor, 0
        self.listener = socket.socket(socket.AF_UNIX)
        self.listener.bind(str(path))
        self.listener.listen()
        self.option = f"unix:{path}"
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        while True:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            script = self.scripts[min(self.count, len(self.scripts) - 1)]
            self.count += 1
            threading.Thread(target=self.answer, args=(connection, script), daemon=True).start()

    def answer(self, connection, script):
        with connection:
            try:
                socket.send_fds(connection, [READY], [self.descriptor] if self.descriptor is not None else [])
                while connection.recv(8) == b"collect\n":
                    for piece in script:
                        if piece is None:
                            return  # which closes it
                        connection.sendall(piece)
            except OSError:
                pass


@pytest.fixture
def collectors(tmp_path):
    made = []

    def start(*scripts, **how):
        made.append(Collectors(tmp_path / "collect", scripts, **how))
        return made[-1]

    yield start
    for one in made:
        one.listener.close()


STRANGE = {
    "only_its_end": lambda frames: [[frames["e"]]],
    "no_instances": lambda frames: [[frames[kind] for kind in "jmpe"]],
    "no_page": lambda frames: [[frames[kind] for kind in "ijme"]],
    "no_metrics": lambda frames: [[frames[kind] for kind in "ijpe"]],
    "no_document": lambda frames: [[frames[kind] for kind in "impe"]],
    "instances_that_are_cut": lambda frames: [[frame("i", frames["i"][9:20]), *(frames[kind] for kind in "jmpe")]],
    "another_kind": lambda frames: [[frames["i"], frame("?", b"text"), *(frames[kind] for kind in "jmpe")]],
    "a_length_beyond_all_limits": lambda frames: [[frames["i"], b"j" + b"\xff" * 8, frames["m"]]],
    "more_than_there_is_memory": lambda frames: [[frames["i"], b"j" + struct.pack("<Q", 1 << 30), frames["m"]]],
    "an_end_in_the_middle": lambda frames: [[frames["i"], frames["j"][:-10], None]],
    "the_rest_of_another_one": lambda frames: [[frames["i"], frame("j", b"{}"), None],
                                               [frames[kind] for kind in "impe"]],
}


@pytest.mark.parametrize("strange", STRANGE)
def test_answer_is_not_taken_and_the_next_collector_is_asked(serve, collectors, collected, strange):
    scripts = STRANGE[strange](collected)
    there = collectors(*scripts, [collected[kind] for kind in "ijmpe"])
    endpoint = serve("--max-age", "0", "--collector", there.option, "--timeout", "2").start()
    wait_until(lambda: endpoint.ask("/healthz").status == 200, "another one answers")
    assert there.count == len(scripts) + 1
    for path, kind in (("/inventory.json", "j"), ("/metrics", "m"), ("/", "p")):
        assert endpoint.ask(path).body == collected[kind][9:]


def test_collector_without_a_note_is_used(serve, collectors, collected):
    endpoint = serve("--collector", collectors([collected[kind] for kind in "ijmpe"]).option).start()
    assert endpoint.ask("/inventory.json").body == collected["j"][9:]


@pytest.mark.parametrize("kind", ["eventfd", "pipe", "file"])
def test_note_that_would_wait_for_ever_is_not_read(serve, collectors, collected, kind):
    ends = {"eventfd": lambda: [os.eventfd(0)], "pipe": lambda: list(os.pipe()),
            "file": lambda: [os.open("/dev/zero", os.O_RDONLY)]}[kind]()
    there = collectors([collected["i"]], descriptor=ends[0])  # and no document
    endpoint = serve("--collector", there.option).start()
    unwell = endpoint.ask("/healthz")
    assert (unwell.status, unwell.text) == (503, "collecting for less than 1 s, reading the machine.\n")
    assert endpoint.ask("/nothing").status == 404
    for end in ends:
        os.close(end)
