"""A real Prometheus scrapes the endpoint and answers a query."""

import json
import shutil
import socket
import subprocess
import urllib.parse
import urllib.request

import pytest

from conftest import wait_until

PROMETHEUS = shutil.which("prometheus")


@pytest.fixture
def prometheus(tmp_path):
    """prometheus(port) is a server that scrapes that port; answers queries."""
    if not PROMETHEUS:
        pytest.skip("the package prometheus is missing")
    running = []

    def begin(port):
        with socket.create_server(("127.0.0.1", 0)) as free:
            own = free.getsockname()[1]
        (tmp_path / "prometheus.yml").write_text(json.dumps({
            "global": {"scrape_interval": "1s"},
            "scrape_configs": [{"job_name": "diskmgt", "static_configs": [{"targets": [f"127.0.0.1:{port}"]}]}]}),
            encoding="utf-8")
        running.append(subprocess.Popen(
            [PROMETHEUS, f"--config.file={tmp_path}/prometheus.yml", f"--storage.tsdb.path={tmp_path}/data",
             f"--web.listen-address=127.0.0.1:{own}"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))

        def query(text):
            url = f"http://127.0.0.1:{own}/api/v1/query?query={urllib.parse.quote(text)}"
            try:
                with urllib.request.urlopen(url, timeout=60) as answer:
                    return json.load(answer)["data"]["result"]
            except OSError:  # it is still starting
                return []
        return query

    yield begin
    for process in running:
        process.kill()
        process.wait()


def test_scrapes_and_answers(serve, prometheus):
    endpoint = serve().start()
    query = prometheus(endpoint.port)
    sizes = wait_until(lambda: query("diskmgt_drive_size_bytes"), "Prometheus has the sizes")
    own = [line for line in endpoint.ask("/metrics").text.splitlines() if line.startswith("diskmgt_drive_size_bytes{")]
    assert len(sizes) == len(own) > 0
    assert wait_until(lambda: query('up{job="diskmgt"} == 1'), "the scrape succeeded")
