"""What a collector that ends, stalls or cannot be killed costs: freshness, and nothing else."""

import json
import os
import re
import signal
import sys
import time
from pathlib import Path

import pytest

from cim_message import message, of_class
from conftest import HERE, IS_WHOLE, children_of, name_of, state_of, wait_until

DEAD_MOUNT = HERE.parent / "devices" / "dead_mount.py"
NEEDS_FUSE = pytest.mark.skipif(not os.path.exists("/dev/fuse"), reason="the kernel has no /dev/fuse")
MACHINE = {
    "about": "A file system that never answers beside a drive.",
    "disks": [{"name": "sda", "size": "16 MiB", "table": [{"sfdisk": ["label: dos", "start=2048, size=8192, type=83"]}]}],
    "nodes": [{"name": "sda1", "kind": "partition", "of": "sda", "start": 2048, "size": 8192}],
    "sys_block": [{"name": "sda", "dev": "8:0", "directories": ["sda1"], "from_disk": True}],
    "mounts": [{"at": "/media/alive", "source": "tmpfs", "type": "tmpfs", "options": "size=1m"}],
    "mtab": ["alive /media/alive tmpfs rw 0 0", "dead /media/dead fuse.dead rw 0 0"],
}


def collectors_of(endpoint):
    return [child for child in children_of(endpoint.keeper) if any(b"diskmgt-collect" in word for word in name_of(child))]


@pytest.fixture
def server(machine, tmp_path):
    """A described machine where a file system can be made to die and to vanish."""
    (tmp_path / "machine").mkdir()
    (tmp_path / "machine" / "machine.json").write_text(json.dumps(MACHINE), encoding="utf-8")
    session = machine(tmp_path / "machine")
    held = []

    def die():
        held.append(session.run([sys.executable, "-B", DEAD_MOUNT, "/media/dead", "taking"]).stdout.strip())

    def vanish():
        session.run(["kill", "-KILL", held.pop()])
        session.run(["umount", "--lazy", "/media/dead"])

    session.die, session.vanish = die, vanish
    yield session
    while held:
        session.run(["kill", "-KILL", held.pop()], check=False)


def timed(endpoint, path):
    began = time.monotonic()
    answer = endpoint.ask(path)
    answer.took = time.monotonic() - began
    return answer


def enumeration(class_name):
    return message("EnumerateInstances", of_class(class_name))


def test_killed_in_the_middle_costs_only_freshness(serve):
    endpoint = serve("--max-age", "0", plugin="stalling", listen=("127.0.0.1:0",)).start()
    assert endpoint.ask("/healthz").status == 503
    os.kill(endpoint.collector, signal.SIGKILL)
    answer = endpoint.ask("/metrics")
    assert answer.status == 503 and answer.text.startswith("Nothing is known yet: ")


def test_health_says_what_a_collection_is_at(serve):
    endpoint = serve(plugin="stalling").start()
    wait_until(lambda: re.fullmatch(r"collecting for .* s, serving VEXSG_LogicalDisk\.\n", endpoint.ask("/healthz").text),
               "it is known what it waits for")


def test_health_says_what_a_collector_died_of(serve):
    endpoint = serve(plugin="crashing").start()
    wait_until(lambda: "the collector ended while serving VEXSG_DiskDrive" in endpoint.ask("/healthz").text,
               "it is known what it was at")


def test_what_was_known_is_answered_while_a_collector_is_replaced(serve):
    endpoint = serve("--max-age", "0").start()
    known = endpoint.ask("/inventory.json")
    first = endpoint.collector
    os.kill(first, signal.SIGSTOP)  # in the middle of an answer, as far as the front can see
    stale = endpoint.ask("/inventory.json")
    assert (stale.status, stale.body) == (200, known.body) and "age" in stale.headers
    unwell = endpoint.ask("/healthz")
    assert unwell.status == 503 and unwell.text.startswith("collecting for ")
    os.kill(first, signal.SIGKILL)
    wait_until(lambda: endpoint.ask("/healthz").status == 200, "another collector answers")
    assert endpoint.collector != first and endpoint.ask("/inventory.json").body != known.body


def test_collection_past_its_limit_is_given_up(serve):
    endpoint = serve("--timeout", "1", plugin="stalling").start()
    first = endpoint.collector
    assert endpoint.ask("/healthz").status == 503
    wait_until(lambda: collectors_of(endpoint) not in ([], [first]), "another collector is started")
    assert not Path(f"/proc/{first}").exists()


def test_plug_in_that_crashes_is_started_again_after_growing_pauses(serve):
    endpoint = serve(plugin="crashing").start()
    for _ in range(3):
        assert endpoint.ask("/metrics").status == 503
    assert endpoint.said().count("the collector was ended by a signal: ") >= 2
    assert "CIM" not in endpoint.ask("/healthz").text


def test_without_a_plug_in_it_does_not_start(serve, tmp_path):
    endpoint = serve("--plugin", tmp_path / "missing.so")
    assert endpoint.ended() == 3 and "missing.so" in endpoint.said()
    assert endpoint.process.stdout.read() == b""


def test_front_that_ends_is_started_again(serve):
    endpoint = serve().start()
    assert endpoint.ask("/healthz").status == 200
    os.kill(endpoint.front, signal.SIGKILL)
    wait_until(lambda: "is started again" in endpoint.said(), "the keeper notices")
    wait_until(lambda: endpoint.ask("/healthz").status == 200, "the next front answers")
    assert len(collectors_of(endpoint)) == 1


@NEEDS_FUSE
def test_dead_mount_costs_the_logical_disks_and_no_time(serve, server):
    endpoint = serve("--max-age", "0", session=server).start()
    assert endpoint.ask("/healthz").status == 200
    server.die()
    sick = wait_until(lambda: (answer := endpoint.ask("/healthz")).status == 503 and answer, "health knows")
    wait_until(lambda: "/media/dead" in endpoint.ask("/healthz").text, "health names the mount")
    assert sick.status == 503
    wait_until(lambda: '"mount-does-not-answer"' in endpoint.ask("/inventory.json").text, "a collection leaves it out")
    answers = [timed(endpoint, path) for path in ("/metrics", "/inventory.json", "/", "/healthz")]
    assert [answer.status for answer in answers] == [200, 200, 200, 503]
    assert '"mount-does-not-answer"' in answers[1].text and '"/dev/sda1"' in answers[1].text
    refused = endpoint.ask("/cimom", "POST", body=enumeration("VEXSG_LogicalDisk"))
    assert 'CODE="1"' in refused.text and "/media/dead" in refused.text
    assert "/dev/sda1" in endpoint.ask("/cimom", "POST", body=enumeration("VEXSG_DiskPartition")).text
    # However often it is asked, one process waits for the mount.
    for _ in range(5):
        endpoint.ask("/metrics")
    assert [state_of(child) for child in children_of(endpoint.collector)] == ["D"]
    server.vanish()
    wait_until(lambda: endpoint.ask("/healthz").text == "ok\n", "it is whole again")
    wait_until(lambda: children_of(endpoint.collector) == [], "what waited is reaped")
    assert '"reported": true' in endpoint.ask("/inventory.json").text


@NEEDS_FUSE
def test_mount_that_is_dead_from_the_beginning_is_named(serve, server):
    server.die()
    endpoint = serve("--max-age", "0", session=server).start()
    first = endpoint.ask("/inventory.json")
    assert first.status == 200 or "/media/dead" in first.text
    wait_until(lambda: endpoint.ask("/inventory.json").status == 200, "the drives are known")
    server.vanish()


@NEEDS_FUSE
def test_third_collector_is_not_started_beside_two_that_cannot_be_killed(serve, server):
    endpoint = serve("--max-age", "0", "--timeout", "2", session=server, plugin="held",
                     TEST_HELD_AT="/media/dead").start()
    wait_until(lambda: endpoint.ask("/healthz").status == 200, "it is well before")
    known = endpoint.ask("/inventory.json")
    server.die()

    def sick():
        answer = endpoint.ask("/healthz")
        return answer if "cannot be ended" in answer.text else None

    answer = wait_until(sick, "health says why")
    left = collectors_of(endpoint)  # and what they left
    assert answer.status == 503 and 2 <= len(left) <= 3
    assert {state_of(process) for process in left} == {"D"}
    stale = timed(endpoint, "/inventory.json")
    assert stale.status == 200 and int(stale.headers["age"]) >= 1
    assert stale.body != b"" and known.status == 200
    assert collectors_of(endpoint) == left
    server.vanish()
    wait_until(lambda: endpoint.ask("/healthz").text == "ok\n", "it is whole again")
    wait_until(lambda: not any(Path(f"/proc/{process}").exists() for process in left), "both are reaped")
    assert len(collectors_of(endpoint)) == 1


def test_node_that_would_hold_the_plug_in_costs_the_drives_alone(serve, server):
    server.run(["sh", "-c", "rm /dev/sda && mkfifo /dev/sda"])
    endpoint = serve("--max-age", "0", session=server).start()
    wait_until(lambda: endpoint.ask("/healthz").status == 200, "a collection ends")
    answer = endpoint.ask("/inventory.json")
    assert '"not-a-block-device"' in answer.text and '"complete": false' in answer.text
    assert '"VEXSG_LogicalDisk": [\n' in answer.text


def resources(endpoint):
    """KiB of memory that is no file's, descriptors and children, of the three processes. Pages of files count as a
    process's own or as shared depending on what else runs."""
    found = {}
    for role, process in (("keeper", endpoint.keeper), ("front", endpoint.front), ("collector", endpoint.collector)):
        rollup = Path(f"/proc/{process}/smaps_rollup").read_text(encoding="utf-8")
        anonymous = next(int(line.split()[1]) for line in rollup.splitlines() if line.startswith("Anonymous:"))
        found[role] = (anonymous, len(os.listdir(f"/proc/{process}/fd")), len(children_of(process)))
    return found


@pytest.mark.skipif(os.geteuid() != 0, reason="only root may look into the processes")
def test_nothing_grows(serve):
    endpoint = serve("--max-age", "0").start()
    count = int(os.environ.get("DISKMGT_COLLECTIONS", "60"))

    def ask(times):
        for _ in range(times):
            assert endpoint.ask("/metrics").status == 200

    ask(20)
    before = resources(endpoint)
    ask(count)
    after = resources(endpoint)
    for role, (private, descriptors, processes) in after.items():
        assert (descriptors, processes) == before[role][1:], role
        if not IS_WHOLE:
            continue  # a sanitizer keeps what was freed
        assert private <= before[role][0] + 1024, f"{role}: {before[role][0]} KiB, then {private} KiB"


@pytest.mark.skipif(os.geteuid() != 0, reason="only root may look into the processes")
def test_replaced_collectors_leave_nothing(serve):
    endpoint = serve("--max-age", "0").start()
    for turn in range(int(os.environ.get("DISKMGT_REPLACED", "4"))):
        assert endpoint.ask("/healthz").status == 200
        if turn == 1:
            before = resources(endpoint)
        old = endpoint.collector
        os.kill(old, signal.SIGKILL)
        wait_until(lambda: endpoint.role(b"diskmgt-collect") not in (None, old), "another one is started")
    wait_until(lambda: endpoint.ask("/healthz").status == 200, "it is well")
    after = resources(endpoint)
    assert {role: values[1:] for role, values in after.items()} == {role: values[1:] for role, values in before.items()}
    if IS_WHOLE:
        assert after["keeper"][0] <= before["keeper"][0] + 256
