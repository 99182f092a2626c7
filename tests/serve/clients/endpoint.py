"""An endpoint for CIM clients: HTTP on loopback, each request answered by `cim_answer` inside a described machine; or the
real one, whose executable is in DISKMGT_SERVE, running in that machine."""

import http.server
import os
import subprocess
import threading

ANSWER = os.environ.get("CIM_ANSWER")
PLUGIN = os.environ.get("DISKMGT_PLUGIN_FILE")


class Endpoint:
    """Answers at http://127.0.0.1:port/ until close(). Requests come one after the other, as the machine takes them."""

    def __init__(self, session):
        self.session = session
        self.lock = threading.Lock()
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), _handler(self))
        self.port = self.server.server_port
        self.thread = threading.Thread(target=self.server.serve_forever, daemon=True)
        self.thread.start()

    def answer(self, body):
        """The HTTP status, the body and the header CIMError of the answer."""
        command = ["env", "--chdir=/", ANSWER, PLUGIN, *self.session.machine.virtual_devices]
        with self.lock:
            result = self.session.run(command, os.fsdecode(body), check=False)
        if result.status == 4:
            return 400, b"", result.stderr.splitlines()[-1]
        assert result.status == 0, result.stderr
        return 200, os.fsencode(result.stdout), None

    def close(self):
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()


def _handler(endpoint):
    class Handler(http.server.BaseHTTPRequestHandler):
        protocol_version = "HTTP/1.1"

        def do_POST(self):  # pylint: disable=invalid-name
            status, body, cim_error = endpoint.answer(self.rfile.read(int(self.headers["Content-Length"])))
            self.send_response(status)
            self.send_header("Content-Type", 'application/xml; charset="utf-8"')
            self.send_header("CIMOperation", "MethodResponse")
            self.send_header("Content-Length", str(len(body)))
            if cim_error:
                self.send_header("CIMError", cim_error)
            self.end_headers()
            self.wfile.write(body)

        def log_message(self, *_):  # pylint: disable=arguments-differ
            pass

    return Handler


class RealEndpoint:
    """The same by diskmgt-serve."""

    def __init__(self, session):
        inside = ["nsenter", "--target", str(session.init), "--mount", "--uts", "--pid", "--"]
        virtual = [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]
        self.process = subprocess.Popen(
            [*inside, os.environ["DISKMGT_SERVE"], "--listen", "127.0.0.1:0", "--max-age", "0", *virtual],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.port = int(self.process.stdout.readline().decode().rstrip("/\n").rpartition(":")[2])

    def close(self):
        children = subprocess.run(["pgrep", "--parent", str(self.process.pid)], capture_output=True, text=True, check=False)
        for keeper in children.stdout.split():
            os.kill(int(keeper), 15)
        self.process.wait(timeout=60)
        self.process.stdout.close()
