"""The drives as the page draws them, against the tools that wrote the tables."""

import json
import re
import sys
from pathlib import Path

import pytest

from conftest import MACHINES, write_machine
from machine.session import Session

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "support"))

from page_reader import Page  # noqa: E402


@pytest.fixture
def page(machine, diskmgt):
    def export(name):
        return Page(machine(name).run([diskmgt, "export", "html"]).stdout)

    return export


def stretches(page, drive):
    """(tooltip, share of the drive) of what the picture of a drive shows, extended partitions and their content too."""
    found, within = [], False
    for name, attributes in page.elements:
        attributes = dict(attributes)
        if attributes.get("class") == "bar":
            within = attributes["aria-label"].startswith(f"Picture of {drive};")
        elif name in ("p", "table") or attributes.get("class") == "scroll":
            within = False
        elif within and name == "div":
            found.append((attributes["title"], float(attributes["style"].removeprefix("flex-grow:")) / 1000))
    return found


def test_widths_and_gaps_are_those_of_the_table(machine, page):
    session = machine("gpt-holes")
    disk = session.machine.disks[0].name
    table = json.loads(session.run(["sfdisk", "--json", f"/dev/{disk}"]).stdout)["partitiontable"]["partitions"]
    whole = int(session.run(["blockdev", "--getsz", f"/dev/{disk}"]).stdout)
    expected, reached = [], 0
    for entry in sorted(table, key=lambda entry: entry["start"]):
        expected += [("gap", entry["start"] - reached), (entry["node"], entry["size"])]
        reached = entry["start"] + entry["size"]
    expected.append(("gap", whole - reached))
    drawn = stretches(page("gpt-holes"), f"/dev/{disk}")
    visible = [(name, sectors / whole) for name, sectors in expected if name != "gap" or sectors / whole >= 0.004]
    assert [title.startswith("Not partitioned" if name == "gap" else f"{name},") for (title, _), (name, _)
            in zip(drawn, visible)] == [True] * len(visible)
    assert [share for _, share in drawn] == pytest.approx([share for _, share in visible], abs=1e-6)


def test_logical_partitions_stand_within_their_extended_one(page):
    titles = [title.split(",")[0] for title, _ in stretches(page("whole-server"), "/dev/sdb")]
    assert titles.index("/dev/sdb2") < titles.index("/dev/sdb5")


def test_unknown_starts_are_said(page):
    assert "Not every start is known" in page("whole-server").text


def test_overlap_and_overhang_are_said_and_drawn_once(tmp_path, diskmgt):
    starts = {"sda1": 2048, "sda2": 4096, "sda3": 30000}
    write_machine(
        tmp_path,
        disks=[{"name": "sda", "size": 32768,
                "patches": [{"sector": 0, "slots": ["83 2048 8192", "83 4096 8192", "83 30000 8192"]},
                            {"sector": 0, "offset": 510, "hex": "55aa"}]}],
        sys_block=[{"name": "sda", "size": 32768, "dev": "8:0", "directories": list(starts),
                    "files": {f"{name}/start": f"{start}\n" for name, start in starts.items()}}])
    with Session(tmp_path) as session:
        shown = Page(session.run([diskmgt, "export", "html"]).stdout)
    assert "/dev/sda2 overlaps what lies before it." in shown.text
    assert "/dev/sda3 reaches past the end of the drive." in shown.text
    assert [round(share * 32768) for _, share in stretches(shown, "/dev/sda")] == [2048, 8192, 2048, 17712, 2768]


def test_partition_of_a_longer_name_is_not_shown_on_the_shorter_one(page):
    shown = page("ambiguous-names")
    rows = [title.split(",")[0] for drive in ("/dev/sda", "/dev/sdaa") for title, _ in stretches(shown, drive)]
    partitions = [title for title in rows if title.startswith("/dev/")]
    assert partitions and len(partitions) == len(set(partitions))
    assert "only because their names are alike" in shown.text
    longer, shorter = shown.text.split("/dev/sdaa8 MiB")[1].split("/dev/sda64 MiB")
    assert "/media/gone/aa" in longer and "/media/gone/aa" not in shorter


def test_used_part_is_that_of_df(machine, page):
    used = machine("mounted-file-systems").run(["df", "--output=pcent", "/media/data"]).stdout.split()[-1]
    title = next(title for title, _ in stretches(page("mounted-file-systems"), "/dev/sda") if "sda1" in title)
    shown = int(re.search(r"([0-9]+) % used", title).group(1))
    assert int(used.rstrip("%")) - shown in (0, 1)  # df rounds up


def test_every_machine_has_a_page_of_known_elements(machine, diskmgt):
    for name in ("no-disks", "tiny-disks", "odd-gpt-headers", "odd-extended-chains", "nvme-without-nodes"):
        assert Page(machine(name).run([diskmgt, "export", "html"]).stdout).strangers == set()


def cards(text):
    """The text of each drive's section, by the drive."""
    found = re.split(r"(?=<section class='card' aria-labelledby='drive-)", text)[1:]
    return {re.search(r"class='name'>([^<]*)<", card).group(1): card.split("</section>")[0] for card in found}


# What the gaps of a drive's picture say, and what its notes say; written from the descriptions.
CARDS = {
    ("encrypted-whole", "/dev/sdb"): ("", "In use by dm-0 (secret), mounted on /srv/secret.", "Not partitioned"),
    ("virtio-guest", "/dev/vda"): ("Not read here", "The kernel has 3 partitions; the plug-in publishes none.",
                                   "Not partitioned"),
    ("four-kib-server", "/dev/sda"): ("Not read here", "The kernel has 2 partitions; the plug-in publishes none.",
                                      "No partitions."),
    ("four-kib-server", "/dev/nvme0n1"): ("Not read here", "In use, mounted on /data.", "No partitions."),
    ("mirrored-partitions", "/dev/sda"): ("", "In use by md0 and md1, mounted on / and /boot.", "In use by md0, "),
    ("multipath-root", "/dev/sdc"): ("In use by dm-0 (mpatha)", "mounted on / and /boot/efi.", "Not partitioned"),
    ("volumes-root", "/dev/sda"): ("", "In use by dm-0 (vg-root), dm-1 (vg-swap) and dm-2 (vg-home), mounted on /, ",
                                   "Not read here"),
}


@pytest.mark.parametrize(("name", "drive"), CARDS, ids=lambda text: text.rsplit("/", 1)[-1])
def test_a_drive_in_use_is_drawn_so(machine, diskmgt, name, drive):
    card = cards(machine(name).run([diskmgt, "export", "html"]).stdout)[drive]
    gap, note, never = CARDS[name, drive]
    titles = re.findall(r"<div class='gap'[^>]* title='([^']*)'", card)
    assert any(title.startswith(gap) for title in titles) or not gap
    assert note in card
    assert never not in card


def test_a_drive_that_a_volume_holds_is_not_drawn_empty(tmp_path, diskmgt):
    write_machine(
        tmp_path, disks=[{"name": "sda", "size": "16 MiB"}, {"name": "dm-0", "size": "8 MiB"}], swaps=[],
        nodes=[{"name": "mapper/vg-data", "kind": "link", "target": "../dm-0"}],
        sys_block=[{"name": "sda", "size": 32768}, {"name": "sdb", "size": 0},
                   {"name": "dm-0", "size": 16384, "files": {"dm/name": "vg-data\n"}, "slaves": ["sda"]}],
        mtab=["/dev/mapper/vg-data /data ext4 rw 0 0"], mountinfo="mtab")
    with Session(tmp_path) as session:
        card = cards(session.run([diskmgt, "export", "html"]).stdout)["/dev/sda"]
    assert "title='In use by dm-0 (vg-data), mounted on /data, 16 MiB'" in card
    assert "Not partitioned" not in card


@pytest.mark.parametrize("name", sorted(folder.name for folder in MACHINES.iterdir()))
def test_no_gap_lies_where_the_kernel_has_a_partition_or_a_volume_holds_the_drive(machine, diskmgt, name):
    session = machine(name)
    blocks = {f"/dev/{block.name}": block for block in session.machine.sys_block or []}
    held = {slave for block in blocks.values() for slave in block.slaves}
    for drive, card in cards(session.run([diskmgt, "export", "html"], check=False).stdout).items():
        block = blocks[drive]
        sectors = {path.split("/")[0]: int(text) for path, text in block.files.items() if path.endswith("/size")}
        if f"Picture of {drive}" not in card or "Not partitioned" not in card:
            continue
        assert block.name not in held, drive
        assert not sectors or "<table>" in card, drive  # some are published
