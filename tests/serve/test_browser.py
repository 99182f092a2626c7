"""A real browser opens the page of the endpoint."""

import re

import pytest

from browser import CHROMIUM, Browser
from conftest import COMMAND, wait_until


@pytest.mark.skipif(not CHROMIUM, reason="the package chromium is missing")
def test_browser_shows_the_page_as_the_exported_one(serve, machine, tmp_path):
    """The headers that keep scripts and other origins out must leave the page its own style."""
    server = machine("hostile-names")
    endpoint = serve(session=server).start()
    wait_until(lambda: endpoint.ask("/").status == 200, "there is a page")
    address = endpoint.places[0]
    exported = server.run([COMMAND, "export", "html"], check=False).stdout.encode()
    with Browser(b"", tmp_path / "served", address) as served, Browser(exported, tmp_path / "file") as file:
        titles = [re.findall(r"<h[12][^>]*>(.*?)</h[12]>", shown.elements()) for shown in (served, file)]
        assert titles[0] == titles[1] and titles[0]
        for dark in (False, True):
            assert served.corner(dark) == file.corner(dark)
        assert served.corner(dark=True) != served.corner(dark=False)
        assert served.requests == []
