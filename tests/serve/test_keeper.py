"""Where it listens, how it is told things, and how it ends."""

import contextlib
import http.client
import os
import pwd
import shutil
import signal
import socket
import stat
import subprocess
import time

import pytest

from conftest import COMMAND, ENDPOINT, LONG, environment, wait_until


def run(*words, **changes):
    return subprocess.run([ENDPOINT, *map(str, words)], capture_output=True, text=True, timeout=LONG, check=False,
                          stdin=subprocess.DEVNULL, env=environment(**changes))


@pytest.fixture(scope="module")
def certificate(tmp_path_factory):
    """The files of a certificate for localhost and its key."""
    folder = tmp_path_factory.mktemp("tls")
    done = subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                           "-nodes", "-keyout", "key.pem", "-out", "cert.pem", "-subj", "/CN=localhost", "-addext",
                           "subjectAltName=DNS:localhost,IP:127.0.0.1"], cwd=folder, capture_output=True, check=False)
    assert done.returncode == 0, done.stderr
    os.chmod(folder / "key.pem", 0o600)
    return folder


def credentials(folder, password):
    file = folder / "credentials"
    hashed = subprocess.run(["openssl", "passwd", "-6", password], capture_output=True, text=True, check=True).stdout
    file.write_text("reader:" + hashed, encoding="utf-8")
    file.chmod(0o600)
    return file


def curl(*words):
    return subprocess.run(["curl", "--silent", "--output", "/dev/null", "--write-out", "%{http_code}", *map(str, words)],
                          capture_output=True, text=True, timeout=LONG, check=False).stdout


def test_several_places(serve, tmp_path):
    path = tmp_path / "socket"
    endpoint = serve(listen=("127.0.0.1:0", f"unix:{path}")).start()
    second = endpoint.process.stdout.readline().decode().strip()
    assert second == f"unix:{path}" and stat.S_IMODE(path.stat().st_mode) == 0o660
    assert curl("--unix-socket", path, "http://any.name/healthz") == "200"
    assert endpoint.ask("/healthz").status == 200
    assert endpoint.stop() == 0 and not path.exists()


@pytest.mark.skipif(os.geteuid() != 0, reason="only root becomes another account")
def test_unix_socket_is_for_the_group_of_the_front(serve, tmp_path):
    """Who is in the group may ask, and nobody else."""
    path = tmp_path / "socket"
    serve("--user", "daemon", listen=(f"unix:{path}",)).start()
    assert (path.stat().st_uid, path.stat().st_gid) == (0, pwd.getpwnam("daemon").pw_gid)


def test_full_pipe_of_remarks_stops_nothing(serve, tmp_path):
    """Standard error is a pipe that nobody reads: what is said there is lost, and nothing else."""
    pipe = tmp_path / "log0"
    os.mkfifo(pipe)
    unread = os.open(pipe, os.O_RDWR | os.O_NONBLOCK)
    with contextlib.suppress(BlockingIOError):
        while True:
            os.write(unread, b"x" * 4096)
    endpoint = serve("--credentials", credentials(tmp_path, "p"))
    endpoint.log = os.devnull  # for what a failure prints: who reads the pipe waits
    endpoint.start()
    (tmp_path / "credentials").unlink()
    os.kill(endpoint.keeper, signal.SIGHUP)  # the keeper has something to say
    old = endpoint.front
    os.kill(old, signal.SIGKILL)             # and again
    wait_until(lambda: endpoint.role(b"front") not in (None, old), "another front is there")
    assert endpoint.ask("/healthz").status == 401
    assert endpoint.stop() == 0
    os.close(unread)


def test_socket_that_was_left_is_taken_over(serve, tmp_path):
    path = tmp_path / "socket"
    with socket.socket(socket.AF_UNIX) as left:
        left.bind(str(path))
    serve(listen=(f"unix:{path}",)).start()
    assert curl("--unix-socket", path, "http://localhost/healthz") == "200"


def test_file_in_the_place_of_a_socket_stays(tmp_path):
    file = tmp_path / "precious"
    file.write_text("text", encoding="utf-8")
    done = run("--listen", f"unix:{file}")
    assert done.returncode == 3 and "cannot listen" in done.stderr and file.read_text(encoding="utf-8") == "text"


def test_two_on_one_port(serve):
    first = serve().start()
    done = run("--listen", f"127.0.0.1:{first.port}")
    assert (done.returncode, done.stdout) == (3, "")
    assert done.stderr.count("\n") == 1 and "Address already in use" in done.stderr
    assert first.ask("/healthz").status == 200


@pytest.mark.parametrize("words", [["--listen", "localhost"], ["--listen", "127.0.0.1:70000"], ["--listen", "127.0.0.1:x"],
                                   ["--max-age", "soon"], ["--max-age", "-1"], ["--tls-cert", "x"], ["--client-ca", "x"],
                                   ["--no-such"], ["extra"], ["--listen"], ["--collector", "x"], ["--user", "no-such-one"],
                                   ["--credentials", "/does/not/exist"], ["--server-name", ""]])
def test_wrong_usage(words):
    done = run(*words)
    assert (done.returncode, done.stdout, done.stderr.count("\n")) == (2, "", 1), done.stderr
    assert done.stderr.startswith("diskmgt: ")


@pytest.mark.parametrize("place", ["0.0.0.0:0", "[::]:0"])
@pytest.mark.parametrize("given", ["nothing", "tls", "credentials"])
def test_beyond_loopback_it_needs_both(place, given, certificate, tmp_path):
    tls = ["--tls-cert", certificate / "cert.pem", "--tls-key", certificate / "key.pem"]
    words = {"nothing": [], "tls": tls, "credentials": ["--credentials", credentials(tmp_path, "p")]}[given]
    done = run("--listen", place, *words)
    assert (done.returncode, done.stdout) == (2, "") and "other machines reach " in done.stderr


def test_with_both_it_listens_beyond_loopback(serve, certificate, tmp_path):
    endpoint = serve("--tls-cert", certificate / "cert.pem", "--tls-key", certificate / "key.pem",
                     "--credentials", credentials(tmp_path, "right"), listen=("0.0.0.0:0",)).start()
    url = f"https://localhost:{endpoint.port}/healthz"
    trusting = ["--cacert", certificate / "cert.pem"]
    assert curl(*trusting, "--user", "reader:right", url) == "200"
    assert curl(*trusting, "--user", "reader:wrong", url) == "401"
    assert curl(*trusting, url) == "401"
    assert curl(f"http://localhost:{endpoint.port}/healthz") in ("000", "400")


@pytest.mark.parametrize("which", ["key", "credentials"])
def test_secrets_that_all_may_read_are_refused(which, certificate, tmp_path):
    file = tmp_path / "open"
    file.write_text((certificate / "key.pem").read_text(encoding="utf-8"), encoding="utf-8")
    file.chmod(0o644)
    words = {"key": ["--tls-cert", certificate / "cert.pem", "--tls-key", file], "credentials": ["--credentials", file]}
    done = run("--listen", "127.0.0.1:0", *words[which])
    assert done.returncode == 2 and "every user may read" in done.stderr


def test_file_that_is_no_certificate_ends_it(certificate, tmp_path):
    wrong = tmp_path / "cert.pem"
    wrong.write_text("no certificate\n", encoding="utf-8")
    done = run("--listen", "127.0.0.1:0", "--tls-cert", wrong, "--tls-key", certificate / "key.pem")
    assert (done.returncode, done.stdout) == (2, "") and "certificate" in done.stderr


def test_credentials_are_read_again(serve, tmp_path):
    file = credentials(tmp_path, "old")
    endpoint = serve("--credentials", file).start()
    url = endpoint.places[0] + "healthz"
    assert (curl("--user", "reader:old", url), curl("--user", "reader:new", url)) == ("200", "401")
    credentials(tmp_path, "new")
    os.kill(endpoint.keeper, signal.SIGHUP)
    wait_until(lambda: "were read again" in endpoint.said(), "the front has them")
    assert (curl("--user", "reader:new", url), curl("--user", "reader:old", url)) == ("200", "401")
    file.unlink()
    os.kill(endpoint.keeper, signal.SIGHUP)
    wait_until(lambda: "stays in use" in endpoint.said(), "the keeper says so")
    assert curl("--user", "reader:new", url) == "200"


def test_settings_that_a_front_refuses_do_not_outlive_it(serve, certificate, tmp_path):
    """A certificate that can be read and is none: the next front has the one from before."""
    file = tmp_path / "served.pem"
    shutil.copy(certificate / "cert.pem", file)
    endpoint = serve("--tls-cert", file, "--tls-key", certificate / "key.pem", listen=("127.0.0.1:0",)).start()
    file.write_text("no certificate", encoding="utf-8")
    os.kill(endpoint.keeper, signal.SIGHUP)
    wait_until(lambda: "stays in use" in endpoint.said(), "the front says so")
    old = endpoint.front
    os.kill(old, signal.SIGKILL)
    wait_until(lambda: curl("--insecure", endpoint.places[0] + "healthz") == "200", "another front answers")
    assert endpoint.front != old


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_signal_ends_it_and_all_processes(serve, number):
    endpoint = serve().start()
    front, collector = endpoint.front, endpoint.collector
    assert endpoint.stop(number) == 0
    assert not os.path.exists(f"/proc/{front}") and not os.path.exists(f"/proc/{collector}")


def test_what_is_being_answered_is_finished(serve):
    endpoint = serve("--max-age", "0").start()
    endpoint.ask("/healthz")
    os.kill(endpoint.collector, signal.SIGSTOP)  # so that the next answer takes its time
    with socket.create_connection(("127.0.0.1", endpoint.port), timeout=LONG) as client:
        client.sendall(b"GET /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n")
        time.sleep(0.1)  # the request is read
        os.kill(endpoint.keeper, signal.SIGTERM)
        said = b""
        while piece := client.recv(65536):
            said += piece
    assert said.startswith(b"HTTP/1.1 200 ") and b"diskmgt_" in said
    assert endpoint.stop() == 0


def test_idle_endpoint_ends(serve):
    endpoint = serve("--exit-idle", "0.5").start()
    assert endpoint.ask("/healthz").status == 200
    assert endpoint.ended() == 0


def test_sockets_of_a_service_manager(tmp_path):
    with socket.create_server(("127.0.0.1", 0)) as handed:
        port = handed.getsockname()[1]
        starter = ("import os,sys; os.dup2(int(sys.argv[1]), 3); os.environ.update(LISTEN_FDS='1', "
                   "LISTEN_PID=str(os.getpid())); os.execv(sys.argv[2], sys.argv[2:])")
        process = subprocess.Popen(["/usr/bin/python3", "-c", starter, str(handed.fileno()), ENDPOINT],
                                   pass_fds=[handed.fileno()], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                   env=environment())
        assert process.stdout.readline().decode() == f"http://127.0.0.1:{port}/\n"
        connection = http.client.HTTPConnection("127.0.0.1", port, timeout=LONG)
        connection.request("GET", "/healthz")
        assert connection.getresponse().status == 200
        connection.close()
        process.terminate()
        assert process.wait(timeout=LONG) == 0
        assert process.stdout.read() == b""
        process.stdout.close()


def test_command_becomes_the_endpoint(tmp_path):
    process = subprocess.Popen([COMMAND, "serve", "--listen", "127.0.0.1:0"], stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, env=environment())
    assert process.stdout.readline().startswith(b"http://127.0.0.1:")
    assert b"diskmgt-serve" in os.fsencode(os.readlink(f"/proc/{process.pid}/exe"))
    process.terminate()
    assert process.wait(timeout=LONG) == 0
    process.stdout.close()


@pytest.mark.parametrize("words", [["serve", "--help"], ["help", "serve"]])
def test_help(words):
    done = subprocess.run([COMMAND, *words], capture_output=True, text=True, timeout=LONG, check=False, env=environment())
    assert done.returncode == 0 and done.stdout.startswith("diskmgt serve - ") and done.stderr == ""


def test_command_without_the_package_names_it(tmp_path):
    (tmp_path / "bin").mkdir()
    (tmp_path / "lib/diskmgt").mkdir(parents=True)
    shutil.copy(COMMAND, tmp_path / "bin")
    for library in ("libtalcore.so", "libtalbase.so"):
        shutil.copy(os.path.join(os.path.dirname(ENDPOINT), library), tmp_path / "lib/diskmgt")
    done = subprocess.run([tmp_path / "bin/diskmgt", "serve"], capture_output=True, text=True, timeout=LONG, check=False,
                          env=environment())
    assert (done.returncode, done.stdout, done.stderr.count("\n")) == (3, "", 1)
    assert done.stderr.endswith("install the package diskmgt-serve\n")


def test_roles_are_not_for_users():
    for words in ([ENDPOINT, "front", "0", "0"], [os.path.join(os.path.dirname(ENDPOINT), "diskmgt-collect")]):
        done = subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=LONG, check=False)
        assert done.returncode == 2 and done.stderr.count("\n") == 1, done.stderr
