"""The toy site as a process, and a client that sends what it is told, byte for byte."""

import contextlib
import os
import signal
import socket
import subprocess

PROGRAM = os.environ["TOY_SITE"]
PATIENCE = 60  # seconds that a test waits before it fails
IS_INSTRUMENTED = os.environ.get("DISKMGT_INSTRUMENTED", "") != ""  # a sanitizer takes memory and opens files of its own


def openssl(*arguments):
    """What it prints."""
    return subprocess.run(["openssl", *arguments], check=True, capture_output=True).stdout


class Answer:
    def __init__(self, status, headers, body):
        self.status, self.headers, self.body = status, headers, body

    def header(self, name):
        """The values of that name; fails when there is not exactly one."""
        found = [value for key, value in self.headers if key.lower() == name.lower()]
        assert len(found) == 1, f"{name}: {found}"
        return found[0]

    def has(self, name):
        return any(key.lower() == name.lower() for key, _ in self.headers)


class Client:
    """One connection."""

    def __init__(self, connected):
        self.socket = connected
        self.socket.settimeout(PATIENCE)
        self.received = bytearray()

    def send(self, data):
        self.socket.sendall(data if isinstance(data, bytes) else data.encode())
        return self

    def _more(self):
        try:
            more = self.socket.recv(65536)
        except ConnectionResetError:
            more = b""
        self.received += more
        return bool(more)

    def answer(self, is_head=False):
        """The next answer; None at the end of the connection."""
        while b"\r\n\r\n" not in self.received:
            if not self._more():
                assert not self.received, self.received
                return None
        head, _, self.received = self.received.partition(b"\r\n\r\n")
        first, *lines = head.decode("latin-1").split("\r\n")
        version, status, _ = first.split(" ", 2)
        assert version == "HTTP/1.1"
        headers = [tuple(line.split(": ", 1)) for line in lines]
        answer = Answer(int(status), headers, b"")
        if is_head or answer.status in (100, 304):
            return answer
        length = int(answer.header("Content-Length"))
        while len(self.received) < length:
            assert self._more(), "the connection ended within a body"
        answer.body = bytes(self.received[:length])
        del self.received[:length]
        return answer

    def is_closed(self):
        """Waits for the end of the connection; false when bytes come instead."""
        return not self.received and not self._more()

    def ask(self, target="/", method="GET", headers="", body=""):
        self.send(f"{method} {target} HTTP/1.1\r\nHost: localhost\r\n{headers}\r\n{body}")
        return self.answer(method == "HEAD")

    def close(self):
        self.socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()


class Toy:
    def __init__(self, log_path, **options):
        self.log_path = log_path
        self.unix = options.get("unix")
        arguments = [f"{name}={value}" for name, value in options.items() if name not in ("wrapper", "open_files")]
        with open(log_path, "wb") as log:
            self.process = subprocess.Popen([*options.get("wrapper", ()), PROGRAM, *arguments], stdin=subprocess.PIPE,
                                            stdout=subprocess.PIPE, stderr=log)
        line = self.process.stdout.readline().decode().split()
        assert line and line[0] == "listening", self.log()
        self.port = int(line[1])

    @property
    def pid(self):
        return self.process.pid

    def log(self):
        with open(self.log_path, encoding="utf-8", errors="replace") as log:
            return log.read()

    def client(self):
        return Client(socket.create_connection(("127.0.0.1", self.port)))

    def unix_client(self):
        connected = socket.socket(socket.AF_UNIX)
        connected.connect(str(self.unix))
        return Client(connected)

    def send(self, data):
        """What a connection of its own gets for these bytes: its first answer. The connection must then end."""
        with self.client() as client:
            answer = client.send(data).answer()
            assert client.is_closed()
            return answer

    def memory(self):
        """Resident bytes; what a sanitizer takes is not the server's."""
        if IS_INSTRUMENTED:
            return 0
        with open(f"/proc/{self.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) * 1024 for line in status if line.startswith("VmRSS:"))

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.pid}/fd"))

    def signal(self, number):
        self.process.send_signal(number)

    def finish(self):
        """Asks it to finish; its exit status. Sanitizers complain through it."""
        with contextlib.suppress(ProcessLookupError):
            self.signal(signal.SIGTERM)
        return self.wait()

    def wait(self):
        try:
            return self.process.wait(PATIENCE)
        finally:
            self.process.kill()
            self.process.stdin.close()
            self.process.stdout.close()
