"""TLS, by openssl s_client and curl."""

import contextlib
import signal
import ssl
import socket
import subprocess

import pytest

from toy_server import Client

GET = b"GET / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n"


@pytest.fixture
def secure(start, certificates):
    """Starts a server with the server's certificate."""
    def begin(**options):
        return start(cert=certificates / "server.crt", key=certificates / "server.key", log=1, **options)
    return begin


def s_client(toy, certificates, *options):
    """What openssl prints; the answer is in it when the handshake succeeded."""
    return subprocess.run(["openssl", "s_client", "-quiet", "-connect", f"localhost:{toy.port}", "-CAfile", certificates / "ca.crt",
                           "-verify_return_error", *options], input=GET, capture_output=True, check=False, timeout=60)


def tls_client(toy, certificates, client=None):
    context = ssl.create_default_context(cafile=str(certificates / "ca.crt"))
    if client:
        context.load_cert_chain(certificates / f"{client}.crt", certificates / f"{client}.key")
    return Client(context.wrap_socket(socket.create_connection(("127.0.0.1", toy.port)), server_hostname="localhost"))


@pytest.mark.parametrize("version", ["-tls1_2", "-tls1_3"])
def test_both_versions_are_spoken(secure, certificates, version):
    assert b"hello" in s_client(secure(), certificates, version).stdout


@pytest.mark.parametrize("options", [["-tls1_1", "-cipher", "ALL:@SECLEVEL=0"], ["-tls1", "-cipher", "ALL:@SECLEVEL=0"],
                                     ["-tls1_2", "-cipher", "AES128-SHA"], ["-tls1_2", "-cipher", "ECDHE-ECDSA-AES128-SHA"]],
                         ids=["1.1", "1.0", "without_forward_secrecy", "without_authenticated_encryption"])
def test_nothing_older_is_spoken(secure, certificates, options):
    toy = secure()
    result = s_client(toy, certificates, *options)
    assert b"hello" not in result.stdout and result.returncode != 0
    assert b"hello" in s_client(toy, certificates).stdout
    toy.finish()
    assert ' "-" 0 0 ' in toy.log() and " TLS: " in toy.log()


def test_curl_keeps_its_connection_over_tls(secure, certificates):
    toy = secure()
    url = f"https://localhost:{toy.port}"
    result = subprocess.run(["curl", "-sS", "--cacert", certificates / "ca.crt", "--compressed", f"{url}/metrics", f"{url}/big",
                             "-w", "%{num_connects}"], capture_output=True, check=True)
    assert len(result.stdout) == 30720 + 1048576 + 2
    assert result.stdout[30720:30721] == b"1" and result.stdout[-1:] == b"0"


def test_requests_in_one_write_are_answered_over_tls(secure, certificates):
    with tls_client(secure(), certificates) as client:
        client.send("GET /echo?1 HTTP/1.1\r\nHost: localhost\r\n\r\nGET /big HTTP/1.1\r\nHost: localhost\r\n\r\n")
        assert b"query=1" in client.answer().body
        assert len(client.answer().body) == 1048576
        assert client.ask(headers="Connection: close\r\n").status == 200
        assert client.is_closed()


def test_a_plain_request_is_not_answered(secure):
    with secure().client() as client:
        client.send(GET)
        while client._more():
            pass
        assert not client.received.startswith(b"HTTP")


def test_limits_hold_over_tls(secure, certificates):
    toy = secure(request=300, idle=300)
    with tls_client(toy, certificates) as client:
        assert client.send("GET").answer().status == 408
        assert client.is_closed()
    with tls_client(toy, certificates) as client:
        client.send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 200000\r\n\r\n" + "x" * 200000)
        assert client.answer().status == 413
    with toy.client() as silent:  # not even a greeting
        assert silent.is_closed()
    with toy.client() as half:
        half.send(b"\x16\x03\x01\x02\x00\x01")
        assert half.is_closed()


def test_greetings_of_any_kind_do_no_harm(secure, certificates):
    toy = secure()
    for length in (1, 5, 6, 50, 300):
        with toy.client() as client:
            with contextlib.suppress(ConnectionError):
                client.send(b"\x16\x03\x01\x01\x2c\x01\x00\x01\x28\x03\x03" + bytes(range(256)) * 2).socket.shutdown(socket.SHUT_WR)
        with toy.client() as client:
            client.send((b"\x16\x03\x01\x01\x2c" + bytes(300))[:length])
    assert b"hello" in s_client(toy, certificates).stdout


def test_a_client_certificate_of_the_right_authority_is_needed(secure, certificates):
    toy = secure(ca=certificates / "ca.crt")
    right = ["-cert", certificates / "client.crt", "-key", certificates / "client.key"]
    for version in ("-tls1_2", "-tls1_3"):
        assert b"hello" in s_client(toy, certificates, version, *right).stdout
        assert b"hello" not in s_client(toy, certificates, version).stdout
        for wrong in ("other", "server"):  # of another authority; for servers, not for clients
            pair = ["-cert", certificates / f"{wrong}.crt", "-key", certificates / f"{wrong}.key"]
            assert b"hello" not in s_client(toy, certificates, version, *pair).stdout
    toy.finish()
    assert "peer did not return a certificate" in toy.log()
    assert "certificate verify failed" in toy.log()


def test_a_new_certificate_is_taken_without_a_restart(start, certificates, tmp_path):
    for kind in ("crt", "key"):
        (tmp_path / f"own.{kind}").write_bytes((certificates / f"server.{kind}").read_bytes())
    toy = start(cert=tmp_path / "own.crt", key=tmp_path / "own.key")

    def name():
        with tls_client(toy, certificates) as client:
            return dict(part[0] for part in client.socket.getpeercert()["subject"])["commonName"]

    def reload(expected):
        said = toy.log().count("\n")
        toy.signal(signal.SIGHUP)
        while toy.log().count("\n") == said:
            name()
        assert expected in toy.log().splitlines()[-1]

    assert name() == "server"
    with tls_client(toy, certificates) as kept:
        assert kept.ask().status == 200
        for kind in ("crt", "key"):
            (tmp_path / f"own.{kind}").write_bytes((certificates / f"renewed.{kind}").read_bytes())
        reload("settings replaced")
        assert name() == "renewed"
        assert kept.is_closed()
    (tmp_path / "own.key").write_bytes((certificates / "server.key").read_bytes())  # of another certificate
    reload("settings kept: the TLS key does not belong to the TLS certificate")
    assert name() == "renewed"


def test_a_unix_socket_is_plain_beside_tls(secure, tmp_path):
    toy = secure(unix=tmp_path / "socket")
    with toy.unix_client() as client:
        assert client.ask().status == 200


def test_an_origin_is_compared_with_its_scheme(secure, certificates):
    toy = secure()
    with tls_client(toy, certificates) as client:
        assert client.ask(headers="Origin: https://localhost\r\n").status == 200
        assert client.ask(headers="Origin: http://localhost\r\n").status == 403
