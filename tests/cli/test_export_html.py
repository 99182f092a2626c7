"""The page, in a real browser: nothing leaves it, both schemes, paper, contrast."""
import re
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "support"))

from browser import CHROMIUM, PAGE, Browser  # noqa: E402
from page_reader import Page  # noqa: E402

needs_browser = pytest.mark.skipif(not CHROMIUM, reason="the package chromium is missing")
PURPOSES = ("data", "start", "pool", "swap", "other")


@pytest.fixture
def page(run, complete_status):
    done = run("export", "html")
    assert (done.status, bool(done.stderr)) == (complete_status, bool(complete_status))
    return done.stdout


def schemes(page):
    """The colours of each scheme: light, dark and paper, by name."""
    style = re.search(r"<style>(.*?)</style>", page.decode(), re.DOTALL).group(1)
    blocks = [dict(re.findall(r"--([a-z-]+): (#[0-9a-f]{3,6})", block))
              for block in re.findall(r":root \{(.*?)\}", style, re.DOTALL)]
    assert len(blocks) == 3
    return blocks


def luminance(colour):
    digits = colour[1:] if len(colour) == 7 else "".join(2 * digit for digit in colour[1:])
    parts = [int(digits[at:at + 2], 16) / 255 for at in (0, 2, 4)]
    red, green, blue = (part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in parts)
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue


def contrast(one, other):
    light, dark = sorted((luminance(one), luminance(other)), reverse=True)
    return (light + 0.05) / (dark + 0.05)


@pytest.mark.parametrize("scheme", range(3))
def test_texts_stand_out_from_what_they_stand_on(page, scheme):
    colours = schemes(page)[scheme]
    for text in ("ink", "soft"):
        for ground in ("ground", "card", "warn-ground"):
            assert contrast(colours["link"], colours[ground]) >= 4.5, ground
            assert contrast(colours[text], colours[ground]) >= 4.5, (text, ground)
    for purpose in PURPOSES:
        assert contrast("#ffffff", colours[purpose]) >= 4.5, purpose


def test_page_names_nothing_outside_itself(page):
    text = page.decode()
    assert not re.search(r"https?:|//[a-z]|url\(|@import|<link|<script", text)
    assert not {"src", "action", "srcset", "background"} & Page(text).attributes()
    assert all(target.startswith("#") for target in Page(text).values("href"))


def test_policy_forbids_all_but_inline_style(page):
    assert ("default-src 'none'; style-src 'unsafe-inline'; base-uri 'none'; form-action 'none'"
            in Page(page.decode()).values("content"))


def test_page_has_what_the_document_has(run, page):
    text, document = Page(page.decode()).text, run("export", "json").json["diskmgt"]
    shown = [fileSystem for fileSystem in document["fileSystems"] if fileSystem["kind"] != "pseudo"]
    mounted = shown + [device for device in document["devices"] if "mounts" in device]
    assert mounted and all(mount["mountPoint"] in text for mounts in mounted for mount in mounts["mounts"])
    assert all(device["path"] in text for device in document["devices"] if device["kind"] in ("disk", "partition"))
    assert ("This page is not complete" in text) == (not document["complete"])
    assert all(gap["text"] in text for gap in document["incomplete"])


def test_what_only_cim_has_is_a_section_of_its_own(run, plugin):
    text = Page(run("export", "html", "--plugin", plugin("publishing")).text).text
    own, only = text.split("Only in CIM")
    assert "/dev/sda" in only and "no-such-device" in only and "/dev/sda\n" not in own


@needs_browser
def test_browser_sees_the_elements_that_were_written(page, tmp_path):
    with Browser(page, tmp_path) as browser:
        assert Page(browser.elements()).elements == Page(page.decode()).elements


@needs_browser
def test_browser_asks_for_the_page_only(page, tmp_path):
    with Browser(page, tmp_path) as browser:
        browser.elements()
        assert browser.requests == [PAGE]


@needs_browser
def test_watched_browser_shows_every_request(tmp_path):
    """What the test above rests on: requests of a page that does make some are seen."""
    page = b"<!doctype html><img src='/own.png'><img src='http://far.example/x'><img src='https://safe.example/y'>"
    with Browser(page, tmp_path) as browser:
        browser.elements()
        assert {PAGE + "own.png", "http://far.example/x", "safe.example:443"} <= set(browser.requests)


@needs_browser
def test_policy_stops_what_would_slip_in(page, tmp_path):
    spoilt = page.replace(b"</main>", b"<img src='http://far.example/x'><script>document.body.id='ran'</script></main>")
    assert spoilt != page
    with Browser(spoilt, tmp_path) as browser:
        assert 'id="ran"' not in browser.elements()
        assert browser.requests == [PAGE]


@needs_browser
def test_colours_follow_the_reader(page, tmp_path):
    light, dark, _ = schemes(page)
    with Browser(page, tmp_path) as browser:
        for colours, is_dark in ((light, False), (dark, True)):
            red, green, blue = browser.corner(dark=is_dark)
            assert f"#{red:02x}{green:02x}{blue:02x}" == colours["ground"]


@needs_browser
def test_paper_shows_folded_rows_too(run, page, tmp_path):
    with Browser(page, tmp_path) as browser:
        printed = browser.printed()
    folded = [shown for shown in run("export", "json").json["diskmgt"]["fileSystems"] if shown["kind"] == "memory"]
    assert folded and all(mount["mountPoint"][:12] in printed for shown in folded for mount in shown["mounts"])
