"""Requests and their answers, by plain sockets and by curl."""

import gzip
import socket
import subprocess

import pytest

from toy_server import Client


def curl(toy, path, *options):
    result = subprocess.run(["curl", "-s", "-S", "--max-time", "60", *options, f"http://localhost:{toy.port}{path}"],
                            capture_output=True, check=True)
    return result.stdout


def test_a_connection_is_kept_for_the_next_request(toy):
    with toy.client() as client:
        for _ in range(3):
            answer = client.ask()
            assert (answer.status, answer.body) == (200, b"hello\n")
            assert not answer.has("Connection")


def test_the_client_decides_when_a_connection_ends(toy):
    with toy.client() as client:
        assert client.ask(headers="Connection: close\r\n").header("Connection") == "close"
        assert client.is_closed()


def test_an_old_client_gets_one_answer_unless_it_asks_for_more(toy):
    answer = toy.send("GET / HTTP/1.0\r\n\r\n")
    assert (answer.status, answer.header("Connection"), answer.body) == (200, "close", b"hello\n")
    with toy.client() as client:
        for _ in range(2):
            answer = client.send("GET / HTTP/1.0\r\nConnection: keep-alive\r\n\r\n").answer()
            assert (answer.status, answer.header("Connection")) == (200, "keep-alive")


def test_requests_in_one_write_are_answered_in_their_order(toy):
    with toy.client() as client:
        client.send("GET /echo?1 HTTP/1.1\r\nHost: localhost\r\n\r\n"
                    "POST /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\n\r\ntwo"
                    "HEAD /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n"
                    "GET /echo?4 HTTP/1.1\r\nHost: localhost\r\n\r\n")
        assert b"query=1\n" in client.answer().body
        assert client.answer().body.endswith(b"body=two")
        assert client.answer(is_head=True).header("Content-Length") == "30720"
        assert b"query=4\n" in client.answer().body


def test_many_requests_in_one_write_are_all_answered(toy):
    with toy.client() as client:
        client.send("".join(f"GET /echo?{number} HTTP/1.1\r\nHost: localhost\r\n\r\n" for number in range(500)))
        for number in range(500):
            assert f"query={number}\n".encode() in client.answer().body


def test_a_client_that_sends_no_more_still_gets_its_answer(toy):
    with toy.client() as client:
        client.send("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n").socket.shutdown(socket.SHUT_WR)
        assert client.answer().body == b"hello\n"
        assert client.is_closed()


def test_a_request_may_come_byte_by_byte(toy):
    with toy.client() as client:
        for byte in b"POST /echo HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n0\r\n\r\n":
            client.send(bytes([byte]))
        assert client.answer().body.endswith(b"body=abc")
        assert client.ask().status == 200


def test_the_site_sees_the_request_decoded_and_without_the_password(toy):
    with toy.client() as client:
        body = client.ask("http://localhost/%65cho?a=%41", "POST",
                          "Authorization: Basic YTpi\r\nX-One: 1\r\nx-one: 2\r\nContent-Length: 2\r\n", "ab").body
    assert body.startswith(b"method=POST\npath=/echo\nquery=a=%41\n")
    assert b"\nheader x-one=1, 2\n" in body
    assert b"authorization" not in body


def test_head_is_get_without_a_body(toy):
    with toy.client() as client:
        head = client.ask("/metrics", "HEAD")
        get = client.ask("/metrics")
    assert (head.status, head.body) == (200, b"")
    assert len(get.body) == 30720
    assert [header for header in head.headers if header[0] != "Date"] == [header for header in get.headers if header[0] != "Date"]


def test_what_has_not_changed_is_not_sent_again(toy):
    with toy.client() as client:
        tag = client.ask("/metrics").header("ETag")
        again = client.ask("/metrics", headers=f"If-None-Match: {tag}\r\n")
        assert (again.status, again.body, again.header("ETag")) == (304, b"", tag)
        packed = client.ask("/metrics", headers="Accept-Encoding: gzip\r\n").header("ETag")
        assert packed != tag
        assert client.ask("/metrics", headers=f"Accept-Encoding: gzip\r\nIf-None-Match: {packed}\r\n").header("ETag") == packed
        assert client.ask("/metrics", headers='If-None-Match: "other"\r\n').status == 200
        assert client.ask("/echo", "POST", f"If-None-Match: *\r\nContent-Length: 0\r\n").status == 200


def test_a_large_answer_is_compressed_for_those_who_read_that(toy):
    with toy.client() as client:
        plain = client.ask("/metrics")
        packed = client.ask("/metrics", headers="Accept-Encoding: deflate, gzip;q=0.5\r\n")
        small = client.ask("/", headers="Accept-Encoding: gzip\r\n")
    assert packed.header("Content-Encoding") == "gzip"
    assert packed.header("Vary") == plain.header("Vary") == "Accept-Encoding"
    assert gzip.decompress(packed.body) == plain.body
    assert len(packed.body) < len(plain.body) / 5
    assert not small.has("Content-Encoding")


def test_a_part_of_an_answer_cannot_be_asked_for(toy):
    with toy.client() as client:
        answer = client.ask("/metrics", headers="Range: bytes=0-99\r\n")
    assert (answer.status, len(answer.body), answer.header("Accept-Ranges")) == (200, 30720, "none")


def test_a_client_is_told_to_go_on(toy):
    with toy.client() as client:
        client.send("POST /echo HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\nContent-Length: 3\r\n\r\n")
        assert client.answer().status == 100
        assert client.send("abc").answer().body.endswith(b"body=abc")


def test_a_client_is_not_told_to_go_on_when_it_is_refused(toy):
    answer = toy.send("POST /echo HTTP/1.1\r\nHost: evil.example\r\nExpect: 100-continue\r\nContent-Length: 3\r\n\r\n")
    assert answer.status == 421
    answer = toy.send("POST /echo HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\nContent-Length: 9999999\r\n\r\n")
    assert answer.status == 413


def test_a_page_carries_what_keeps_a_browser_in_bounds(toy):
    with toy.client() as client:
        page = client.ask("/page")
    assert page.header("Content-Security-Policy").startswith("default-src 'none'; style-src 'unsafe-inline'")
    assert page.header("X-Content-Type-Options") == "nosniff"
    assert page.header("Cache-Control") == "no-cache"
    assert not page.has("Access-Control-Allow-Origin")


@pytest.mark.parametrize("headers, status", [
    ("Host: evil.example\r\n", 421),
    ("Host: localhost:1\r\nOrigin: http://evil.example\r\n", 403),
    ("Host: localhost\r\nOrigin: null\r\n", 403),
    ("Host: localhost\r\nSec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: no-cors\r\n", 403),
    ("", 400),
    ("Host: localhost\r\nHost: localhost\r\n", 400),
])
def test_a_page_that_was_led_here_gets_nothing(toy, headers, status):
    answer = toy.send(f"GET / HTTP/1.1\r\n{headers}\r\n")
    assert answer.status == status
    assert b"hello" not in answer.body
    assert not answer.has("Access-Control-Allow-Origin")


def test_the_server_answers_to_its_other_name(start):
    toy = start(name="Disks.example.")
    with toy.client() as client:
        assert client.send("GET / HTTP/1.1\r\nHost: disks.Example:5988\r\n\r\n").answer().status == 200


def test_any_host_will_do_on_a_unix_socket(start, tmp_path):
    toy = start(unix=tmp_path / "socket")
    with toy.unix_client() as client:
        assert client.send("GET / HTTP/1.1\r\nHost: whatever\r\n\r\n").answer().status == 200
    result = subprocess.run(["curl", "-sS", "--unix-socket", tmp_path / "socket", "http://disks/"], capture_output=True, check=True)
    assert result.stdout == b"hello\n"


def test_ipv6_is_served_too(start):
    try:
        toy = start(six=1, log=1)
    except AssertionError:
        pytest.skip("no IPv6 on loopback")
    with Client(socket.create_connection(("::1", toy.port))) as client:
        assert client.send(f"GET /echo HTTP/1.1\r\nHost: [::1]:{toy.port}\r\n\r\n").answer().status == 200
    assert toy.finish() == 0
    assert ' ::1 - "GET /echo HTTP/1.1" 200 ' in toy.log()


def test_a_site_that_fails_costs_one_answer(toy):
    with toy.client() as client:
        assert client.ask("/throw").status == 500
        assert client.ask().status == 200


def test_a_site_that_answers_twice_is_heard_once(toy):
    with toy.client() as client:
        assert client.ask("/twice").body == b"first\n"
        assert client.ask().body == b"hello\n"


def test_a_site_cannot_split_an_answer(toy):
    with toy.client() as client:
        assert client.ask("/header").header("X-Text") == "a  Set-Cookie: b"


def test_an_answer_that_comes_later_goes_to_who_asked(toy):
    with toy.client() as patient, toy.client() as gone, toy.client() as other:
        patient.send("GET /hold HTTP/1.1\r\nHost: localhost\r\n\r\n")
        gone.send("GET /hold HTTP/1.1\r\nHost: localhost\r\n\r\n")
        assert other.ask().body == b"hello\n"
        gone.close()
        assert other.ask("/release").body == b"2\n"
        assert patient.answer().body == b"released\n"
        assert patient.ask().body == b"hello\n"


def test_methods_are_the_business_of_the_site(toy):
    with toy.client() as client:
        for method in ("PUT", "DELETE", "OPTIONS", "M-POST", "BREW"):
            assert f"method={method}\n".encode() in client.ask("/echo", method).body
        assert client.ask("*", "OPTIONS").status == 404
    assert toy.send("CONNECT localhost:22 HTTP/1.1\r\nHost: localhost:22\r\n\r\n").status == 501


def test_curl_reads_every_form(toy):
    plain = curl(toy, "/metrics")
    assert len(plain) == 30720
    assert curl(toy, "/metrics", "--compressed") == plain
    assert curl(toy, "/metrics", "--range", "0-9") == plain
    assert curl(toy, "/metrics", "--http1.0") == plain
    assert curl(toy, "/metrics", "-I").startswith(b"HTTP/1.1 200 OK\r\n")
    assert curl(toy, "/echo", "-d", "a=b").endswith(b"body=a=b")
    assert curl(toy, "/echo", "-H", "Transfer-Encoding: chunked", "-d", "a=b").endswith(b"body=a=b")
    body = "x" * 60000
    assert curl(toy, "/echo", "-H", "Expect: 100-continue", "-d", body).endswith(body.encode())
    assert len(curl(toy, "/big")) == 1048576


def test_curl_keeps_its_connection(toy):
    url = f"http://localhost:{toy.port}/"
    result = subprocess.run(["curl", "-sS", "-o", "/dev/null", "-w", "%{num_connects} ", url, "-o", "/dev/null", url, "-o", "/dev/null", url],
                            capture_output=True, check=True)
    assert result.stdout.split() == [b"1", b"0", b"0"]


def test_each_request_leaves_one_escaped_line(start):
    toy = start(log=1)
    with toy.client() as client:
        client.ask("/echo?\"%0a", "POST", "Content-Length: 1\r\n", "a")
        client.ask("/metrics", "HEAD")
    toy.send("GET /\x1b[2J HTTP/1.1\r\n\r\n")
    toy.send("GET /a HTTP/1.1\r\nHost: e\r\n\r\n")
    assert toy.finish() == 0
    lines = [line.split(" ", 1)[1].rsplit(" ", 1)[0] for line in toy.log().splitlines()]
    assert lines[0].startswith('127.0.0.1 - "POST /echo?\\x22%0a HTTP/1.1" 200 ')
    assert lines[1] == '127.0.0.1 - "HEAD /metrics HTTP/1.1" 200 0'
    assert lines[2].startswith('127.0.0.1 - "-" 400 ')
    assert lines[3].startswith('127.0.0.1 - "GET /a HTTP/1.1" 421 ')
    assert len(lines) == 4
