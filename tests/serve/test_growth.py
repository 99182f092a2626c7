"""However many requests and collections there were, the endpoint holds what it held: memory, descriptors, processes."""

import http.client
import os
import re
import signal
from pathlib import Path

import pytest

from cim_message import message, of_class, parameter
from conftest import IS_WHOLE, LONG, children_of, wait_until

pytestmark = pytest.mark.skipif(os.geteuid() != 0, reason="only root may look into its processes")
COLLECTIONS = 1000 if IS_WHOLE else 50
REQUESTS = int(os.environ.get("DISKMGT_REQUESTS", 20000 if IS_WHOLE else 1000))
ALLOWED_KIB = 256  # in each process; 300 bytes for each of the collections would be more
DEVICES = message("EnumerateInstances", of_class("CIM_LogicalDevice"))
NOBODY = message("GetInstance", parameter("InstanceName", '<INSTANCENAME CLASSNAME="VEXSG_DiskDrive"></INSTANCENAME>'))
MIXED = [("GET", "/metrics", None, {}), ("GET", "/inventory.json", None, {"Accept-Encoding": "gzip"}),
         ("POST", "/cimom", DEVICES, {}), ("GET", "/", None, {"If-None-Match": "*"}), ("HEAD", "/", None, {}),
         ("POST", "/cimom", NOBODY, {}), ("GET", "/nothing", None, {}), ("POST", "/cimom", "no XML", {}),
         ("GET", "/healthz", None, {}), ("DELETE", "/metrics", None, {})]
EXPECTED = {200, 304, 400, 404, 405}


def held(process):
    """Descriptors, processes and KiB of memory of its own."""
    rollup = Path(f"/proc/{process}/smaps_rollup").read_text(encoding="ascii")
    own = sum(int(kib) for kib in re.findall(r"^(?:Private_Dirty|Swap): +(\d+)", rollup, re.M))
    return len(os.listdir(f"/proc/{process}/fd")), len(children_of(process)), own


class Load:
    """Mixed requests over a connection that is closed now and then."""

    def __init__(self, endpoint):
        self.endpoint, self.count = endpoint, 0
        self.connection = None

    def send(self, count):
        for _ in range(count):
            if self.count % 97 == 0:
                self.close()
                self.connection = http.client.HTTPConnection("127.0.0.1", self.endpoint.port, timeout=LONG)
            method, path, body, headers = MIXED[self.count % len(MIXED)]
            self.connection.request(method, path, body=body, headers=headers)
            answer = self.connection.getresponse()
            answer.read()
            assert answer.status in EXPECTED, (method, path, answer.status)
            self.count += 1

    def close(self):
        if self.connection:
            self.connection.close()


def look(endpoint):
    """What each role holds, once no connection is open."""
    assert endpoint.ask("/healthz", Connection="close").status == 200
    return {role: held(getattr(endpoint, role)) for role in ("keeper", "front", "collector")}


def no_growth(before, after):
    for role, (descriptors, processes, memory) in after.items():
        assert (descriptors, processes) == before[role][:2], role
        if IS_WHOLE:  # a sanitizer keeps what was freed
            assert memory - before[role][2] <= ALLOWED_KIB, (role, before, after)


def loaded(endpoint, warm, count):
    load = Load(endpoint)
    load.send(warm)
    load.close()
    before = look(endpoint)
    load = Load(endpoint)
    load.send(count)
    load.close()
    wait_until(lambda: look(endpoint)["front"][0] == before["front"][0], "all connections are closed")
    return before, look(endpoint)


def test_collections_leave_nothing_behind(serve):
    no_growth(*loaded(serve("--max-age", "0").start(), warm=200, count=2 * COLLECTIONS))


def test_requests_leave_nothing_behind(serve):
    no_growth(*loaded(serve("--max-age", "100000").start(), warm=1000, count=REQUESTS))


def test_replaced_collectors_leave_nothing_behind(serve):
    endpoint = serve("--max-age", "0").start()
    assert endpoint.ask("/metrics").status == 200
    before = look(endpoint)
    for _ in range(4):
        gone = endpoint.collector
        os.kill(gone, signal.SIGKILL)
        wait_until(lambda: endpoint.ask("/healthz").status == 200 and endpoint.collector != gone, "another one answers")
    no_growth(before, look(endpoint))
