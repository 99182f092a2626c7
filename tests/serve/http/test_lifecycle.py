"""How the server begins and ends."""

import contextlib
import re
import shutil
import signal
import subprocess

import pytest

from toy_server import IS_INSTRUMENTED

HOLD = "GET /hold HTTP/1.1\r\nHost: localhost\r\n\r\n"


def test_what_is_being_answered_is_finished(start):
    toy = start(finish=60000)
    with toy.client() as held, toy.client() as idle, toy.client() as begun, toy.client() as releasing:
        assert idle.ask().status == 200
        held.send(HOLD + "GET /never HTTP/1.1\r\nHost: localhost\r\n\r\n")
        releasing.send(HOLD)
        begun.send("GET / HT")
        assert idle.ask().status == 200
        toy.signal(signal.SIGTERM)
        assert idle.is_closed()
        assert begun.is_closed()
        with pytest.raises(OSError):  # nobody listens any more
            toy.client()
        assert toy.process.poll() is None
        toy.process.stdin.write(b"release\n")
        toy.process.stdin.flush()
        for client in (held, releasing):
            answer = client.answer()
            assert (answer.body, answer.header("Connection")) == (b"released\n", "close")
            assert client.is_closed()
    assert toy.wait() == 0


def test_a_large_answer_is_finished_too(start):
    toy = start(big=32 * 1024 * 1024)
    with toy.client() as client, toy.client() as other:
        client.send("GET /big HTTP/1.1\r\nHost: localhost\r\n\r\n")
        assert other.ask().status == 200
        toy.signal(signal.SIGTERM)
        assert other.is_closed()
        assert len(client.answer().body) == 32 * 1024 * 1024
    assert toy.wait() == 0


def test_what_never_ends_does_not_keep_the_server(start):
    toy = start(finish=200)
    with toy.client() as client, toy.client() as other:
        client.send(HOLD)
        assert other.ask().status == 200
        assert toy.finish() == 0


def can_trace():
    return shutil.which("strace") and subprocess.run(["strace", "-qq", "-o", "/dev/null", "true"], check=False,
                                                     stderr=subprocess.DEVNULL).returncode == 0


@pytest.mark.skipif(IS_INSTRUMENTED, reason="the sanitizers open files of their own")
@pytest.mark.skipif(not can_trace(), reason="strace is missing or may not trace")
@pytest.mark.parametrize("is_secure", [False, True], ids=["plain", "tls"])
def test_nothing_is_opened_once_the_server_is_prepared(start, certificates, passwords, tmp_path, is_secure):
    options = {"cert": certificates / "server.crt", "key": certificates / "server.key", "ca": certificates / "ca.crt"} if is_secure else {}
    trace = tmp_path / "trace"
    toy = start(wrapper=["strace", "-f", "-qq", "-o", trace, "-e", "signal=none"], credentials=passwords, log=1, request=500,
                unix=tmp_path / "socket", connections=4, **options)
    certificate = ["--cacert", certificates / "ca.crt", "--cert", certificates / "client.crt", "--key", certificates / "client.key"]
    url = f"{'https' if is_secure else 'http'}://localhost:{toy.port}"
    for path in ("/metrics", "/big", "/page", "/throw", "/nothing"):
        for password in ("secret", "wrong"):
            for version in ("--tlsv1.3", "--tls-max=1.2"):
                subprocess.run(["curl", "-s", "-o", "/dev/null", "--compressed", "-u", f"monitor:{password}", *certificate,
                                *version.replace("--tls-max=1.2", "--tls-max 1.2").split(), url + path], check=True)
    with toy.client() as client:  # neither HTTP nor TLS
        client.send("\x01\x02\r\n\r\n")
        while client._more():
            pass
    with toy.unix_client() as client:
        assert client.send("GET /slow").answer().status == 408
    with contextlib.ExitStack() as clients:
        for _ in range(10):
            clients.enter_context(toy.client())
        with toy.unix_client() as client:
            assert client.ask().status == 401
    # The settings are not read again: that is the business of who starts the server.
    toy.process.stdin.close()
    assert toy.process.wait(60) == 0
    calls = re.findall(r"^\d+ +(?:<\.\.\. )?(\w+)", trace.read_text().partition('"listening ')[2], re.MULTILINE)
    assert "accept4" in calls
    forbidden = {"open", "openat", "openat2", "creat", "socket", "socketpair", "connect", "bind", "clone", "clone3", "fork", "vfork", "execve",
                 "pipe2", "epoll_create1", "timerfd_create", "eventfd2", "stat", "newfstatat", "readlink", "access", "prctl"}
    assert not forbidden.intersection(calls)
    allowed = {"accept4", "read", "write", "readv", "writev", "recvmsg", "recvfrom", "sendmsg", "sendto", "epoll_wait", "epoll_ctl", "epoll_pwait",
               "timerfd_settime", "futex", "mmap", "munmap", "mremap", "mprotect", "madvise", "brk", "getrandom", "close", "ioctl", "shutdown",
               "exit", "exit_group", "rt_sigprocmask", "set_robust_list", "rseq", "getpid", "resumed", "clock_gettime", "restart_syscall",
               "setsockopt", "getsockopt"}
    assert set(calls) <= allowed, set(calls) - allowed
