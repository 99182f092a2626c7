"""A real browser, without a window, that opens one page. All its requests are recorded and answered here."""

import http.server
import re
import shutil
import struct
import subprocess
import threading
import zlib

CHROMIUM = shutil.which("chromium")
PAGE = "http://page.example/"
_OPTIONS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--window-size=1200,1600",
            "--disable-background-networking", "--disable-component-update", "--disable-sync", "--disable-extensions",
            "--no-first-run", "--no-default-browser-check", "--disable-features=OptimizationHints,MediaRouter"]
_HOUSEKEEPING = re.compile(r"(http://)?[a-z0-9.-]*\.(google|googleapis|gvt1)\.com[:/]")  # by the browser itself, with any page


class Browser:
    """Serves the page as its own proxy, so that it sees every request. `requests`: those so far. With an `address` of
    this machine it opens what is served there instead, without the proxy."""

    def __init__(self, page, folder, address=PAGE):
        self.page, self.folder, self.address, self.requests = page, folder, address, []
        browser = self

        class Proxy(http.server.BaseHTTPRequestHandler):
            def do_GET(self):  # pylint: disable=invalid-name
                browser.note(self.path)
                found = self.path == PAGE
                self.send_response(200 if found else 404)
                self.send_header("Content-Type", "text/html")
                self.end_headers()
                self.wfile.write(browser.page if found else b"")

            def do_CONNECT(self):  # pylint: disable=invalid-name
                browser.note(self.path)
                self.send_error(404)

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Proxy)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.server.server_close()

    def note(self, address):
        if not _HOUSEKEEPING.match(address):
            self.requests.append(address)

    def _look(self, *options):
        proxy = f"--proxy-server=http://127.0.0.1:{self.server.server_port}"
        profile = f"--user-data-dir={self.folder}/profile"
        return subprocess.run([CHROMIUM, *_OPTIONS, profile, proxy, *options, self.address], capture_output=True,
                              timeout=120, check=True).stdout

    def elements(self):
        """The page as the browser understood it, as markup."""
        return self._look("--dump-dom").decode("utf-8")

    def corner(self, dark=False):
        """The colour of the page's upper left corner."""
        picture = self.folder / "page.png"
        self._look(f"--screenshot={picture}", f"--blink-settings=preferredColorScheme={0 if dark else 1}")
        return _first_pixel(picture.read_bytes())

    def printed(self):
        """The text of the page on paper."""
        paper = self.folder / "page.pdf"
        self._look("--no-pdf-header-footer", f"--print-to-pdf={paper}")
        return subprocess.run(["pdftotext", "-layout", paper, "-"], capture_output=True, text=True, timeout=120,
                              check=True).stdout


def _first_pixel(png):
    """Red, green and blue. Every filter of PNG leaves the first pixel of the first row unchanged."""
    place, packed = 8, b""
    while place < len(png):
        size, kind = struct.unpack(">I4s", png[place:place + 8])
        if kind == b"IDAT":
            packed += png[place + 8:place + 8 + size]
        place += 12 + size
    return tuple(zlib.decompress(packed)[1:4])
