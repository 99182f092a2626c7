"""Limits of time, of connections and of memory. The limits are short here; no test says how long anything takes."""

import contextlib
import socket
import subprocess
import time
from concurrent.futures import ThreadPoolExecutor

import pytest

from toy_server import IS_INSTRUMENTED

MIB = 1024 * 1024
GET = "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n"
HOLD = "GET /hold HTTP/1.1\r\nHost: localhost\r\n\r\n"


def test_a_request_that_does_not_arrive_is_answered_with_408(start):
    toy = start(request=200)
    for begun in ("G", "GET / HTTP/1.1\r\n", "POST /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: 9\r\n\r\nabc",
                  "POST /echo HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n3\r\nab"):
        answer = toy.send(begun)
        assert (answer.status, answer.header("Connection")) == (408, "close")


def test_a_slow_sender_gains_nothing_by_single_bytes(start):
    toy = start(request=500)
    with toy.client() as client:
        with contextlib.suppress(ConnectionError):
            for byte in "GET / HTTP/1.1\r\nHost: localhost\r\nX: " + "y" * 5000:
                client.send(byte)
                with contextlib.suppress(socket.timeout):
                    client.socket.settimeout(0.02)
                    if not client._more():
                        break
        client.socket.settimeout(60)
        assert client.answer().status == 408


def test_the_limit_holds_for_every_request_of_a_connection(start):
    toy = start(request=200)
    with toy.client() as client:
        assert client.ask().status == 200
        client.send("GET")
        assert client.answer().status == 408
        assert client.is_closed()


def test_a_connection_on_which_nothing_comes_is_closed_without_a_word(start):
    toy = start(request=200, idle=300)
    with toy.client() as silent, toy.client() as kept:
        assert kept.ask().status == 200
        assert silent.is_closed()
        assert kept.is_closed()


def test_a_kept_connection_may_wait_longer_than_a_request(start):
    toy = start(request=200, idle=60000)
    with toy.client() as kept, toy.client() as silent:
        assert kept.ask().status == 200
        assert silent.is_closed()  # the limit of a request is over
        assert kept.ask().status == 200


def test_a_site_that_does_not_answer_is_not_waited_for(start):
    toy = start(answer=300)
    with toy.client() as client:
        answer = client.ask("/hold")
        assert (answer.status, answer.header("Retry-After")) == (503, "10")
        assert client.ask("/release").body == b"1\n"  # too late for the first
        assert client.ask().body == b"hello\n"


def test_who_does_not_read_an_answer_is_dropped(start):
    toy = start(write=300, big=64 * MIB, log=1)
    with toy.client() as client:
        client.send("GET /big HTTP/1.1\r\nHost: localhost\r\n\r\n")
        with toy.client() as other:
            while toy.log().count("/big") == 0:
                assert other.ask().status == 200
    assert int(toy.log().split('/big HTTP/1.1" 200 ')[1].split()[0]) < 64 * MIB


def test_who_reads_slowly_but_steadily_gets_it_all(start):
    toy = start(write=1000, big=4 * MIB)
    with toy.client() as client:
        client.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 65536)
        client.send("GET /big HTTP/1.1\r\nHost: localhost\r\n\r\n")
        received = 0
        while received < 4 * MIB:
            part = client.socket.recv(MIB)
            assert part, "the server gave up"
            received += len(part)
            time.sleep(0.05)  # longer than the limit, all of them together


def test_one_large_answer_is_in_memory_once_however_many_read_it(start):
    toy = start(big=64 * MIB)
    with toy.client() as client:
        client.ask()
    before = toy.memory()
    with contextlib.ExitStack() as clients:
        waiting = [clients.enter_context(toy.client()) for _ in range(30)]
        for client in waiting:
            client.send("GET /big HTTP/1.1\r\nHost: localhost\r\n\r\n")
        with toy.client() as client:
            assert client.ask().status == 200
        assert toy.memory() < before + 16 * MIB


def test_the_longest_idle_connection_makes_room(start):
    toy = start(connections=3)
    with toy.client() as first, toy.client() as second, toy.client() as third:
        for client in (first, second, third, first):  # the first one is the freshest now
            assert client.ask().status == 200
        with toy.client() as fourth:
            assert fourth.ask().status == 200
            assert second.is_closed()
            assert third.ask().status == 200
            assert first.ask().status == 200


def test_a_connection_that_is_being_answered_is_not_given_up(start):
    toy = start(connections=2)
    with toy.client() as held, toy.client() as idle:
        assert idle.ask().status == 200
        held.send(HOLD)
        with toy.client() as other:
            assert other.ask().status == 200
            assert idle.is_closed()
            assert other.ask("/release").body == b"1\n"
        assert held.answer().body == b"released\n"


def test_who_comes_when_all_are_being_answered_is_asked_to_come_again(start):
    toy = start(connections=2, finish=200)
    with toy.client() as first, toy.client() as second:
        first.send(HOLD)
        second.send(HOLD + "GET /release HTTP/1.1\r\nHost: localhost\r\n\r\n")
        answer = toy.send(GET)
        assert (answer.status, answer.header("Retry-After")) == (503, "1")


def test_many_silent_connections_keep_nobody_out(start):
    toy = start(connections=16)
    with contextlib.ExitStack() as clients:
        for number in range(200):
            client = clients.enter_context(toy.client())
            with contextlib.suppress(ConnectionError):
                if number % 2:
                    client.send("GET / HT")
            if number % 10 == 0:
                with toy.client() as honest:
                    assert honest.ask().status == 200


def test_ten_thousand_connections_one_after_the_other(toy):
    for _ in range(100):
        toy.send(GET.replace("HTTP/1.1", "HTTP/1.0"))
    before, descriptors = toy.memory(), toy.descriptors()

    def many(count):
        for _ in range(count):
            with toy.client() as client:
                assert client.send(GET.replace("\r\n\r\n", "\r\nConnection: close\r\n\r\n")).answer().status == 200

    with ThreadPoolExecutor(4) as pool:
        list(pool.map(many, [2500] * 4))
    assert toy.memory() < before + 4 * MIB
    with toy.client() as client:
        assert client.ask().status == 200
        assert toy.descriptors() <= descriptors + 4


def test_a_thousand_connections_at_once(toy):
    before = toy.memory()
    with contextlib.ExitStack() as clients:
        crowd = [clients.enter_context(toy.client()) for _ in range(900)]
        for client in crowd:
            with contextlib.suppress(ConnectionError):
                client.send("POST /echo HTTP/1.1\r\nHost: localhost\r\nContent-Length: 60000\r\n\r\n" + "x" * 50000)
        with toy.client() as client:
            assert client.ask().status == 200
        assert toy.memory() < before + 24 * MIB
        assert toy.descriptors() < 64 + 20


@pytest.mark.skipif(IS_INSTRUMENTED, reason="the sanitizers need descriptors of their own")
def test_a_server_without_descriptors_serves_again_when_it_has_some(start):
    toy = start(connections=64)
    subprocess.run(["prlimit", f"--pid={toy.pid}", f"--nofile={toy.descriptors() + 4}"], check=True)
    with contextlib.ExitStack() as clients:
        crowd = [clients.enter_context(toy.client()) for _ in range(20)]
        for client in crowd:
            client.send(GET)
        assert crowd[0].answer().status == 200
        for client in crowd[:19]:
            client.close()
        assert crowd[19].answer().status == 200
