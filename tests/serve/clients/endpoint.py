"""The endpoint in a described machine, for clients that ask it on loopback."""

import os
import signal
import subprocess
from pathlib import Path

ENDPOINT = os.environ.get("DISKMGT_SERVE", "")


def virtual_options(session):
    return [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]


class Endpoint:
    """Answers at http://localhost:port/ from one collection, until close()."""

    def __init__(self, session, log):
        command = ["nsenter", "--target", str(session.init), "--mount", "--uts", "--pid", "--",
                   ENDPOINT, "--listen", "127.0.0.1:0", "--max-age", "3600", *virtual_options(session)]
        with open(log, "wb") as errors:
            self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=errors,
                                            text=True, env={**os.environ, "LC_ALL": "C.UTF-8"})
        place = self.process.stdout.readline()
        assert place, f"it does not start: {Path(log).read_text(encoding='utf-8')}"
        self.port = int(place.strip().rstrip("/").rpartition(":")[2])

    def close(self):
        own = f"/proc/{self.process.pid}/task/{self.process.pid}/children"
        for keeper in Path(own).read_text(encoding="ascii").split():
            os.kill(int(keeper), signal.SIGTERM)
        self.process.wait(timeout=60)
        self.process.stdout.close()
