"""Names and passwords."""

import base64
import signal
import subprocess
from concurrent.futures import ThreadPoolExecutor

from toy_server import openssl


def basic(name, password):
    return f"Authorization: Basic {base64.b64encode(f'{name}:{password}'.encode()).decode()}\r\n"


RIGHT = basic("monitor", "secret")
WRONG = basic("monitor", "Secret")


def test_a_name_and_its_password_are_needed(start, passwords):
    toy = start(credentials=passwords, log=1)
    with toy.client() as client:
        for headers in ("", WRONG, basic("nobody", "secret"), "Authorization: Bearer abc\r\n"):
            answer = client.ask("/metrics", headers=headers)
            assert answer.status == 401
            assert answer.header("WWW-Authenticate") == 'Basic realm="diskmgt", charset="UTF-8"'
            assert b"diskmgt_partition" not in answer.body
        assert client.ask("/metrics", headers=RIGHT).status == 200
        assert client.ask("/metrics").status == 401  # each request says who asks
        assert client.ask("/metrics", "HEAD", headers=RIGHT).status == 200
        assert client.ask("/nothing").status == 401  # not even what there is
    toy.finish()
    users = [line.split()[2] for line in toy.log().splitlines()]
    assert users == ["-", "-", "-", "-", "monitor", "-", "monitor", "-"]


def test_the_body_of_a_refused_request_is_not_taken_for_a_request(start, passwords):
    toy = start(credentials=passwords)
    with toy.client() as client:
        assert client.ask("/echo", "POST", "Content-Length: 24\r\n", "GET /smuggled HTTP/1.1\r\n").status == 401
        assert client.ask("/echo", "POST", RIGHT + "Content-Length: 2\r\n", "ab").body.endswith(b"body=ab")


def test_curl_logs_in(start, passwords):
    toy = start(credentials=passwords)
    url = f"http://localhost:{toy.port}/"
    assert subprocess.run(["curl", "-sS", "-u", "monitor:secret", url], capture_output=True, check=True).stdout == b"hello\n"
    assert subprocess.run(["curl", "-sS", "--anyauth", "-u", "monitor:secret", url], capture_output=True, check=True).stdout == b"hello\n"


def slow_hash(rounds):
    """A hundred thousand rounds take some hundredths of a second."""
    return "monitor:" + subprocess.run(["perl", "-e", f"print crypt('secret', '$6$rounds={rounds}$abc')"], capture_output=True,
                                       check=True, text=True).stdout


def test_others_are_served_while_a_password_is_checked(start, passwords):
    passwords.write_text(slow_hash(1000) + "\nother:" + slow_hash(6000000).partition(":")[2])
    toy = start(credentials=passwords, log=1)
    with toy.client() as known, toy.client() as checked:
        assert known.ask("/?first", headers=RIGHT).status == 200
        checked.send(f"GET /?checked HTTP/1.1\r\nHost: localhost\r\n{basic('other', 'secret')}\r\n")
        assert known.ask("/?second", headers=RIGHT).status == 200
        assert checked.answer().status == 200
    toy.finish()
    assert [line.split("?")[1].split()[0] for line in toy.log().splitlines() if "?" in line] == ["first", "second", "checked"]


def test_guessing_is_slowed_down(start, passwords):
    toy = start(credentials=passwords, unpunished=3, pause=3600000)
    with toy.client() as known:
        assert known.ask(headers=RIGHT).status == 200
        with toy.client() as client:
            for _ in range(4):
                assert client.ask(headers=WRONG).status == 401
            for headers in (WRONG, RIGHT):  # the right one is not even looked at
                answer = client.ask(headers=headers)
                assert answer.status == 429
                assert 0 < int(answer.header("Retry-After")) <= 3600
        assert known.ask(headers=RIGHT).status == 200  # it was checked before


def test_guessing_from_elsewhere_locks_nobody_out(start, passwords, tmp_path):
    toy = start(credentials=passwords, unpunished=0, pause=3600000, unix=tmp_path / "socket")
    with toy.client() as guesser, toy.unix_client() as client:
        assert guesser.ask(headers=WRONG).status == 401
        assert guesser.ask(headers=RIGHT).status == 429
        assert client.ask(headers=RIGHT).status == 200


def test_a_success_ends_the_counting(start, passwords):
    toy = start(credentials=passwords, unpunished=2, pause=3600000)
    with toy.client() as client:
        for _ in range(4):
            assert client.ask(headers=WRONG).status == 401
            with toy.client() as other:
                assert other.ask(headers=RIGHT).status == 200


def test_only_so_many_checks_wait(start, tmp_path):
    path = tmp_path / "slow"
    path.write_text(slow_hash(500000))
    toy = start(credentials=path, passwords=4, unpunished=1000)

    def attempt(_):
        with toy.client() as client:
            answer = client.ask(headers=WRONG)
            assert answer.status == 401 or answer.header("Retry-After") == "1"
            return answer.status

    with ThreadPoolExecutor(30) as pool:
        statuses = list(pool.map(attempt, range(30)))
    assert set(statuses) == {401, 503}


def test_new_credentials_are_taken_without_a_restart(start, passwords):
    toy = start(credentials=passwords)

    def reload(expected):
        said = toy.log().count("\n")
        toy.signal(signal.SIGHUP)
        while toy.log().count("\n") == said:
            with toy.client() as client:
                client.ask()
        assert toy.log().splitlines()[-1].startswith(expected)

    with toy.client() as kept:
        assert kept.ask(headers=RIGHT).status == 200
        passwords.write_text("monitor:" + openssl("passwd", "-6", "changed").decode())
        reload("settings replaced")
        assert kept.is_closed()  # what it remembered is forgotten
    with toy.client() as client:
        assert client.ask(headers=RIGHT).status == 401
        assert client.ask(headers=basic("monitor", "changed")).status == 200
    passwords.write_text("monitor\n")
    reload("settings kept: line 1 of the credentials is not NAME:HASH")
    with toy.client() as client:
        assert client.ask(headers=basic("monitor", "changed")).status == 200


def test_long_passwords_and_names_are_wrong_and_no_more(start, passwords):
    toy = start(credentials=passwords, unpunished=1000)
    with toy.client() as client:
        for pair in (("monitor", "x" * 5000), ("x" * 5000, "secret"), ("", ""), ("monitor", "")):
            assert client.ask(headers=basic(*pair)).status == 401
