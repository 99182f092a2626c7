"""Clients that send what no client should: a clear status, the connection closed, bounded memory, the next one served."""

import contextlib
import socket

import pytest

MIB = 1024 * 1024
CHUNKED = "Transfer-Encoding: chunked\r\n"


def post(headers, body=""):
    return f"POST /echo HTTP/1.1\r\nHost: localhost\r\n{headers}\r\n{body}"


REFUSED = {
    "two_lengths": (post("Content-Length: 3\r\nContent-Length: 4\r\n", "abc"), 400),
    "the_same_length_twice": (post("Content-Length: 3\r\nContent-Length: 3\r\n", "abc"), 400),
    "length_and_chunks": (post("Content-Length: 3\r\n" + CHUNKED, "0\r\n\r\n"), 400),
    "chunks_and_length": (post(CHUNKED + "Content-Length: 3\r\n", "0\r\n\r\n"), 400),
    "another_encoding": (post("Transfer-Encoding: gzip, chunked\r\n", "0\r\n\r\n"), 501),
    "a_tab_of_another_kind": (post("Transfer-Encoding:\x0bchunked\r\n", "0\r\n\r\n"), 400),
    "a_blank_before_the_colon": (post("Transfer-Encoding : chunked\r\n", "0\r\n\r\n"), 400),
    "a_folded_header": (post("X: a\r\n b\r\n"), 400),
    "a_negative_chunk": (post(CHUNKED, "-1\r\n\r\n"), 400),
    "a_chunk_longer_than_its_size": (post(CHUNKED, "3\r\nabcdef\r\n0\r\n\r\n"), 400),
    "chunks_in_1_0": ("POST /echo HTTP/1.0\r\n" + CHUNKED + "\r\n0\r\n\r\n", 400),
    "a_zero_byte_in_the_method": ("G\x00T / HTTP/1.1\r\n\r\n", 400),
    "a_zero_byte_in_the_target": ("GET /\x00 HTTP/1.1\r\n\r\n", 400),
    "an_encoded_zero_byte": ("GET /%00 HTTP/1.1\r\nHost: localhost\r\n\r\n", 400),
    "no_path": ("GET metrics HTTP/1.1\r\nHost: localhost\r\n\r\n", 400),
    "bare_line_feeds": ("GET / HTTP/1.1\nHost: localhost\n\n", 400),
    "no_version": ("GET /\r\n\r\n", 400),
    "version_2": ("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", 505),
    "tls": ("\x16\x03\x01\x00\xa5\x01\x00", 400),
    "a_long_target": ("GET /" + "a" * 9000 + " HTTP/1.1\r\n", 414),
    "many_headers": ("GET / HTTP/1.1\r\n" + "X: y\r\n" * 2000 + "\r\n", 431),
    "a_long_header": ("GET / HTTP/1.1\r\nX: " + "y" * 100000, 431),
    "a_long_body": (post("Content-Length: 65537\r\n"), 413),
    "a_long_chunk": (post(CHUNKED, "20000\r\n"), 413),
    "a_compressed_body": (post("Content-Encoding: gzip\r\nContent-Length: 0\r\n"), 415),
    "another_expectation": (post("Expect: more\r\nContent-Length: 0\r\n"), 417),
}


@pytest.mark.parametrize("name", REFUSED)
def test_what_cannot_be_read_is_refused_and_the_connection_closed(toy, name):
    request_bytes, status = REFUSED[name]
    # What follows would be answered if the server took it for a request.
    answer = toy.send(request_bytes + "GET /smuggled HTTP/1.1\r\nHost: localhost\r\n\r\n")
    assert answer.status == status
    assert answer.header("Connection") == "close"
    assert answer.body.endswith(b".\n") and answer.body.count(b"\n") == 1
    with toy.client() as client:
        assert client.ask().status == 200


def test_a_gigabyte_that_is_announced_is_refused_before_it_comes(toy):
    answer = toy.send(post(f"Content-Length: {1024 * MIB}\r\n"))
    assert answer.status == 413


@pytest.mark.parametrize("headers, piece", [
    (f"Content-Length: {1024 * MIB}\r\n", b"x" * MIB),
    (CHUNKED, b"8000\r\n" + b"x" * 0x8000 + b"\r\n"),
    (CHUNKED, b"1;" + b"e" * 1000 + b"\r\nx\r\n"),
], ids=["with_a_length", "in_large_chunks", "in_small_chunks"])
def test_a_gigabyte_that_is_sent_takes_no_memory(toy, headers, piece):
    with toy.client() as client:
        client.ask()
        before = toy.memory()
        client.send(post(headers))
        with contextlib.suppress(ConnectionError):
            for _ in range(1024 * MIB // len(piece)):
                client.send(piece)
            raise AssertionError("the server took it all")
        assert toy.memory() < before + 4 * MIB
    with toy.client() as client:
        assert client.ask().status == 200


def test_the_answer_is_read_before_the_connection_goes(toy):
    """What a client is still sending must not make the kernel drop the answer."""
    with toy.client() as client:
        client.send(post("Content-Length: 200000\r\n", "x" * 200000))
        assert client.answer().status == 413
        assert client.socket.recv(1) == b""  # an orderly end; a reset would raise


def test_a_head_that_never_ends_takes_no_memory(toy):
    with toy.client() as client:
        before = toy.memory()
        with contextlib.suppress(ConnectionError):
            client.send("GET / HTTP/1.1\r\n")
            for _ in range(1000):
                client.send("X: " + "y" * 1000 + "\r\n")
        assert toy.memory() < before + 4 * MIB


def test_empty_lines_without_end_are_no_request(start):
    toy = start(request=300)
    with toy.client() as client:
        with contextlib.suppress(ConnectionError):
            while True:
                client.send("\r\n" * 1000)
    with toy.client() as client:
        assert client.ask().status == 200


def test_bytes_without_meaning_do_no_harm(toy):
    noise = bytes((number * number * 31 + number // 7) % 256 for number in range(20000))
    for start_at in range(0, 2000, 17):
        with toy.client() as client:
            with contextlib.suppress(ConnectionError):
                client.send(noise[start_at:start_at + 300])
                client.socket.shutdown(socket.SHUT_WR)
                answer = client.answer()
                assert answer is None or answer.status in (400, 505)
    with toy.client() as client:
        assert client.ask().status == 200


def test_a_connection_that_is_reset_at_any_moment_costs_nothing(toy):
    whole = post("Content-Length: 3\r\n", "abc").encode()
    descriptors = toy.descriptors()
    for length in range(len(whole) + 1):
        client = toy.client()
        client.send(whole[:length])
        client.socket.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
        client.close()
    with toy.client() as client:
        assert client.ask().status == 200
        assert toy.descriptors() <= descriptors + 3
