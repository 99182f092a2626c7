"""What is answered on each path: what the command exports, and how old it is."""

import gzip
import json
import re
import socket
import subprocess

import pytest

from conftest import COMMAND, LONG, environment

# What two looks at a busy machine need not agree on.
VOLATILE = {"collectedAt", "durationSeconds", "free", "available", "used", "incomplete"}


@pytest.fixture
def server(machine):
    return machine("hostile-names")


def exported(session, form):
    return session.run([COMMAND, "export", form], check=False).stdout


def lasting(value):
    if isinstance(value, dict):
        return {key: lasting(member) for key, member in value.items() if key not in VOLATILE}
    return [lasting(member) for member in value] if isinstance(value, list) else value


def series(text):
    return {line.rpartition(" ")[0] for line in text.splitlines() if line and not line.startswith("#")}


def test_document_is_what_the_command_exports(serve, server):
    answer = serve(session=server).start().ask("/inventory.json")
    assert (answer.status, answer.headers["content-type"]) == (200, "application/json")
    ours, commands = (json.loads(text)["diskmgt"] for text in (answer.text, exported(server, "json")))
    assert [row["name"] for row in ours["devices"]] == [row["name"] for row in commands["devices"]]
    assert lasting(ours["devices"]) == lasting(commands["devices"])
    assert ours["complete"] == commands["complete"] and ours.keys() == commands.keys()


def test_metrics_are_what_the_command_exports(serve, server):
    answer = serve(session=server).start().ask("/metrics")
    assert answer.status == 200 and answer.headers["content-type"].startswith("text/plain; version=0.0.4")
    assert series(answer.text) == series(exported(server, "prometheus"))


def test_page_is_the_one_of_the_command(serve, server):
    answer = serve(session=server).start().ask("/")
    assert answer.status == 200 and answer.headers["content-type"] == "text/html; charset=utf-8"
    titles = [re.findall(r"<h[12][^>]*>(.*?)</h[12]>", text) for text in (answer.text, exported(server, "html"))]
    assert titles[0] == titles[1] and titles[0]


def test_health_is_ok(serve):
    answer = serve().start().ask("/healthz")
    assert (answer.status, answer.text) == (200, "ok\n")


def test_other_paths_and_methods_are_refused(serve):
    endpoint = serve().start()
    assert endpoint.ask("/etc/passwd").status == 404
    assert [endpoint.ask(path, "POST", body="").status for path in ("/", "/metrics", "/healthz")] == [405] * 3
    refused = endpoint.ask("/cimom")
    assert (refused.status, refused.headers["allow"]) == (405, "POST")


def test_clients_that_begin_with_an_extended_post_are_told_to_fall_back(serve):
    endpoint = serve().start()
    extended = {"Man": "http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=40", "40-CIMOperation": "MethodCall"}
    assert endpoint.ask("/cimom", "M-POST", body="", **extended).status == 501
    assert endpoint.ask("/cimom", "POST", body="").status == 400  # what that client sends next is read


def test_what_is_no_cim_request_is_refused_in_a_sentence(serve):
    refused = serve().start().ask("/cimom", "POST", body="no XML")
    assert (refused.status, refused.headers["cimerror"]) == (400, "request-not-well-formed")
    assert refused.headers["content-type"].startswith("text/plain") and refused.text


def test_requests_share_a_collection_while_it_is_young(serve):
    endpoint = serve("--max-age", "1000").start()
    answers = [endpoint.ask("/inventory.json") for _ in range(5)]
    assert len({answer.body for answer in answers}) == 1
    assert all(int(answer.headers["age"]) >= 0 for answer in answers)
    assert endpoint.ask("/metrics").headers["etag"] == answers[0].headers["etag"]


def test_without_a_lifetime_each_request_gets_a_new_collection(serve):
    endpoint = serve("--max-age", "0").start()
    assert len({endpoint.ask("/inventory.json").headers["etag"] for _ in range(3)}) == 3


def test_a_document_that_a_client_has_is_not_sent_again(serve):
    endpoint = serve("--max-age", "1000").start()
    first = endpoint.ask("/inventory.json")
    second = endpoint.ask("/inventory.json", If_None_Match=first.headers["etag"])
    assert (second.status, second.body) == (304, b"")


def test_large_answers_are_packed_on_request(serve):
    endpoint = serve("--max-age", "1000").start()
    packed = endpoint.ask("/inventory.json", Accept_Encoding="gzip")
    assert packed.headers["content-encoding"] == "gzip"
    assert gzip.decompress(packed.body) == endpoint.ask("/inventory.json").body


def test_head_is_get_without_its_body(serve):
    endpoint = serve("--max-age", "1000").start()
    whole, head = endpoint.ask("/metrics"), endpoint.ask("/metrics", "HEAD")
    assert (head.status, head.body) == (200, b"")
    assert head.headers["content-length"] == whole.headers["content-length"]


def test_two_requests_in_one_write_get_two_answers(serve):
    endpoint = serve("--max-age", "1000").start()
    request = b"GET /healthz HTTP/1.1\r\nHost: localhost\r\n"
    with socket.create_connection(("127.0.0.1", endpoint.port), timeout=LONG) as client:
        client.sendall(request + b"\r\n" + request + b"Connection: close\r\n\r\n")
        said = b""
        while piece := client.recv(65536):
            said += piece
    assert said.count(b"HTTP/1.1 200 ") == 2 and said.count(b"\r\n\r\nok\n") == 2


@pytest.mark.parametrize("options", [["--head"], ["--compressed"], ["--range", "0-10"], []])
def test_curl_gets_it(serve, options):
    endpoint = serve("--max-age", "1000").start()
    url = endpoint.places[0] + "inventory.json"
    done = subprocess.run(["curl", "--silent", "--show-error", "--fail", *options, url, url], capture_output=True,
                          timeout=LONG, check=False)
    assert done.returncode == 0, done.stderr
    whole = endpoint.ask("/inventory.json").body
    if "--head" in options:
        assert done.stdout.count(b"200 OK") == 2
    else:
        assert done.stdout == whole * 2  # a part is never sent


def test_without_root_the_answers_say_what_they_lack(serve, tmp_path):
    if subprocess.run(["setpriv", "--version"], capture_output=True, check=False).returncode != 0:
        pytest.skip("setpriv is missing")
    unprivileged = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
    if subprocess.run([*unprivileged, COMMAND, "--version"], capture_output=True, check=False).returncode != 0:
        pytest.skip("another account cannot run the command here, or this is not root")
    endpoint = serve(prefix=unprivileged).start()
    answer = endpoint.ask("/inventory.json")
    document = json.loads(answer.text)["diskmgt"]
    assert answer.status == 200 and document["complete"] is False
    assert '"rule": "not-root"' in answer.text
    assert endpoint.ask("/healthz").status == 200
