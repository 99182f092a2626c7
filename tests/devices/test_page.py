"""The machine as the page shows it, against the tools that wrote the tables, the kernel and the exported document."""

import html
import json
import re
import sys
from html.parser import HTMLParser
from pathlib import Path

import pytest

from conftest import MACHINES, write_machine
from machine.session import Session

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "support"))

from browser import CHROMIUM, Browser  # noqa: E402
from page_reader import Page  # noqa: E402

NAMES = sorted(folder.name for folder in MACHINES.iterdir())
NEVER = re.compile(r"\b(free space|empty|unused|not partitioned|nothing mounted)\b", re.IGNORECASE)


def exported(session, diskmgt, form):
    virtual = [word for text in session.machine.virtual_devices for word in ("--virtual-device", text)]
    done = session.run([diskmgt, "export", form, *virtual], check=False)
    assert done.status in (0, 1), done.stderr
    return done.stdout


@pytest.fixture
def page(machine, diskmgt):
    return lambda name: exported(machine(name), diskmgt, "html")


@pytest.fixture
def document(machine, diskmgt):
    return lambda name: json.loads(exported(machine(name), diskmgt, "json"))["diskmgt"]


class Picture(HTMLParser):
    """`columns`: (tooltip, share of the disk, layers of volumes above it, class of the box) in order."""

    def __init__(self, card):
        super().__init__(convert_charrefs=True)
        self.columns, self.stack = [], []
        self.feed(card)

    def handle_starttag(self, tag, attrs):
        if tag != "div":
            return
        attributes = dict(attrs)
        kind = attributes.get("class", "")
        if kind == "column":
            share = float(attributes["style"].removeprefix("flex-grow:")) / 1000
            self.columns.append([attributes["title"], share, self.stack.count("layer"), None])
        elif kind.startswith("box") and self.columns[-1][3] is None:
            self.columns[-1][3] = kind.removeprefix("box ")
        self.stack.append(kind)

    def handle_endtag(self, tag):
        if tag == "div":
            self.stack.pop()


def cards(text):
    """The markup of each disk's section, by the disk."""
    found = re.split(r"(?=<section class='card' aria-labelledby='disk-)", text)[1:]
    return {re.search(r"class='name'>([^<]*)<", card).group(1): card.split("</section>")[0] for card in found}


def columns(text, disk):
    return Picture(cards(text)[disk]).columns


def rows(card):
    """{device: the text of its row} of a card's first table."""
    table = re.search(r"aria-label='Devices'.*?</table>", card, re.DOTALL)[0]
    found = {}
    for row in table.split("<tr>")[2:]:
        name = re.search(r"class='name'>([^<]*)<", row).group(1)
        found[name] = Page(row).text
    return found


def disk_with(partitions, **more):
    """A described disk of 64 MiB whose kernel knows its partitions: {number: (start, sectors, the rest of sfdisk's line)}."""
    steps = [f"{number}: start={start}, size={size}, {rest}" for number, (start, size, rest) in partitions.items()]
    label = more.pop("label", "gpt")
    return {"disks": [{"name": "sda", "size": "64 MiB", "table": [{"sfdisk": [f"label: {label}", *steps]}]}],
            "nodes": [{"name": f"sda{number}", "kind": "partition", "of": "sda", "start": start, "size": size}
                      for number, (start, size, _) in partitions.items()],
            "sys_block": [{"name": "sda", "from_disk": True}], **more}


LINUX = "type=0FC63DAF-8483-4772-8E79-3D69D8477DE4"


def test_widths_and_gaps_are_those_of_the_table(tmp_path, diskmgt):
    write_machine(tmp_path, **disk_with({2: (2048, 2048, LINUX), 5: (8192, 4097, LINUX)}))
    with Session(tmp_path) as session:
        table = json.loads(session.run(["sfdisk", "--json", "/dev/sda"]).stdout)["partitiontable"]["partitions"]
        whole = int(session.run(["blockdev", "--getsz", "/dev/sda"]).stdout)
        drawn = columns(exported(session, diskmgt, "html"), "/dev/sda")
    expected, reached = [], 0
    for entry in sorted(table, key=lambda entry: entry["start"]):
        expected += [("Outside the partitions", entry["start"] - reached), (entry["node"], entry["size"])]
        reached = entry["start"] + entry["size"]
    expected.append(("Outside the partitions", whole - reached))
    assert [title.split(",")[0] for title, *_ in drawn] == [name for name, _ in expected]
    assert [share for _, share, *_ in drawn] == pytest.approx([size / whole for _, size in expected], abs=1e-6)


def test_logical_partitions_stand_within_their_extended_one(tmp_path, diskmgt):
    write_machine(tmp_path, **disk_with({1: (2048, 20480, "type=83"), 2: (22528, 90112, "type=5"),
                                         5: (24576, 40960, "type=83")}, label="dos"))
    description = json.loads((tmp_path / "machine.json").read_text(encoding="utf-8"))
    description["nodes"][1]["size"] = 2  # the kernel's idea of an extended partition
    (tmp_path / "machine.json").write_text(json.dumps(description), encoding="utf-8")
    with Session(tmp_path) as session:
        drawn = columns(exported(session, diskmgt, "html"), "/dev/sda")
    shares = {title.split(",")[0]: round(share * 131072) for title, share, *_ in drawn if "Outside" not in title}
    assert shares == {"/dev/sda1": 20480, "/dev/sda2": 90112, "/dev/sda5": 40960}
    assert {title.split(",")[0]: kind for title, _, _, kind in drawn}["/dev/sda2"] == "container"


def test_unknown_starts_are_said(page):
    assert "Not every start is known" in Page(page("whole-server")).text


def test_overlap_and_overhang_are_said_and_drawn_once(tmp_path, diskmgt):
    """Only a kernel that read another table shows such a thing."""
    write_machine(
        tmp_path, disks=[{"name": "sda", "size": 32768}],
        sys_block=[{"name": "sda", "size": 32768, "dev": "8:0",
                    "files": {f"sda{number}/{name}": f"{value}\n"
                              for number, (start, size) in {1: (2048, 8192), 2: (4096, 8192), 3: (30000, 8192)}.items()
                              for name, value in (("start", start), ("size", size), ("partition", number))}}])
    with Session(tmp_path) as session:
        text = exported(session, diskmgt, "html")
    assert "/dev/sda2 overlaps what lies before it." in Page(text).text
    assert "/dev/sda3 reaches past the end of the disk." in Page(text).text
    assert [round(share * 32768) for _, share, *_ in columns(text, "/dev/sda")] == [2048, 8192, 2048, 17712, 2768]


def test_used_part_is_that_of_df(tmp_path, diskmgt):
    write_machine(tmp_path, **disk_with({1: (2048, 65536, LINUX)}), mtab=["/dev/sda1 /media/data ext4 rw 0 0"],
                  mounts=[{"at": "/media/data", "source": "/dev/sda1", "type": "ext4", "options": ""},
                          {"at": "/media/again", "source": "/media/data", "bind": True}],
                  udev=[{"name": "sda1", "properties": {"ID_FS_TYPE": "ext4"}, "links": []}])
    description = json.loads((tmp_path / "machine.json").read_text(encoding="utf-8"))
    description["nodes"][0]["mkfs"] = ["ext4", "-q", "-b", "1024", "-m", "7"]
    (tmp_path / "machine.json").write_text(json.dumps(description), encoding="utf-8")
    with Session(tmp_path) as session:
        session.run(["dd", "if=/dev/zero", "of=/media/data/x", "bs=1M", "count=7"])
        used, total = session.run(["df", "-B1", "--output=pcent,size", "/media/data"]).stdout.split()[-2:]
        text = exported(session, diskmgt, "html")
    title = next(title for title, *_ in columns(text, "/dev/sda") if title.startswith("/dev/sda1,"))
    assert f"; {used.rstrip('%')} % used" in title and "In use, mounted on /media/data and /media/again; ext4" in title
    assert f"of <data value=\"{total}\"" in re.search(r"Used in them</dt>(.*?)</div>", text)[1]  # though mounted twice


# What a disk's picture and table say; written from the descriptions.
IN_USE = {
    ("encrypted-whole", "/dev/sdb"): ("/dev/sdb", "In use by dm-0 (secret), mounted on /srv/secret"),
    ("virtio-guest", "/dev/vda"): ("/dev/vda1", "In use, mounted on /"),
    ("four-kib-server", "/dev/nvme0n1"): ("/dev/nvme0n1", "In use, mounted on /data"),
    ("mirrored-partitions", "/dev/sda"): ("/dev/sda1", "In use by md0, mounted on /boot"),
    ("multipath-root", "/dev/sdc"): ("/dev/sdc", "In use by dm-0 (mpatha)"),
    ("volumes-root", "/dev/sda"): ("/dev/sda3", "In use by dm-0 (vg-root), dm-1 (vg-swap) and dm-2 (vg-home)"),
}


@pytest.mark.parametrize(("name", "disk"), IN_USE, ids=lambda text: text.rsplit("/", 1)[-1])
def test_a_disk_in_use_is_shown_so(page, name, disk):
    device, words = IN_USE[name, disk]
    card = cards(page(name))[disk]
    assert words in rows(card)[device]
    titles = {title.split(",")[0]: title for title, *_ in Picture(card).columns}
    assert device not in titles or words in titles[device]


# (device, layers of volumes above it) of a disk's picture, without what is outside the partitions.
STACKS = {
    ("volumes-root", "/dev/sda"): [("/dev/sda1", 0), ("/dev/sda2", 0), ("/dev/sda3", 0), ("/dev/dm-0", 1),
                                   ("/dev/dm-1", 1), ("/dev/dm-2", 1)],
    ("encrypted-whole", "/dev/sdb"): [("/dev/sdb", 0), ("/dev/dm-0", 1)],
    ("mirrored-partitions", "/dev/sda"): [("/dev/sda1", 0), ("/dev/md0", 1), ("/dev/sda2", 0), ("/dev/md1", 1)],
    ("mirrored-partitions", "/dev/sdb"): [("/dev/sdb1", 0), ("md0", 1), ("/dev/sdb2", 0), ("md1", 1)],
    ("multipath-root", "/dev/sda"): [("/dev/sda1", 0), ("/dev/sda2", 0), ("/dev/dm-0", 1), ("/dev/dm-1", 2),
                                     ("/dev/dm-2", 2)],
}


@pytest.mark.parametrize(("name", "disk"), STACKS, ids=lambda text: text.rsplit("/", 1)[-1])
def test_volumes_are_drawn_beneath_what_they_lie_on(page, name, disk):
    drawn = columns(page(name), disk)
    assert [(title.split(",")[0], layers) for title, _, layers, kind in drawn if kind != "gap"] == STACKS[name, disk]


def test_volume_on_two_disks_is_shown_whole_beneath_the_first_only(page):
    text = page("mirrored-partitions")
    first, second = cards(text)["/dev/sda"], cards(text)["/dev/sdb"]
    assert "raid1" in rows(first)["/dev/md0"] and rows(second)["/dev/md0"].strip().endswith("shown beneath /dev/sda1")
    assert "File systems" in first and "File systems" not in second


def figure(text, name):
    return re.search(rf"<dt>{name}</dt><dd>(?:<data value=\"(\d+)\"|(\d+)<)", text).group(1, 2)


def test_capacity_counts_what_several_paths_lead_to_once(page, document):
    sizes = {device["name"]: device["size"] for device in document("multipath-root")["devices"]}
    assert int(figure(page("multipath-root"), "Capacity")[0]) == sizes["dm-0"] == sizes["sda"]
    assert "What several paths lead to counts once." in page("multipath-root")
    two = {device["name"]: device["size"] for device in document("mirrored-partitions")["devices"]}
    assert int(figure(page("mirrored-partitions"), "Capacity")[0]) == two["sda"] + two["sdb"]


@pytest.mark.parametrize("name", NAMES)
def test_page_says_what_the_document_says(page, document, name):
    """Each device once with its use and CIM's account, each file system, what only CIM has, what is missing."""
    markup, known = page(name), document(name)
    text = Page(re.sub(r"<style>.*?</style>", "", markup, flags=re.DOTALL)).text
    assert Page(markup).strangers == set()
    assert not NEVER.search(text)
    disks = [device for device in known["devices"] if device["kind"] == "disk"]
    assert list(cards(markup)) == [disk["path"] for disk in disks if not disk["on"]]
    assert int(figure(markup, "Disks")[1]) == len(cards(markup))
    shown = {}
    for section in re.findall(r"aria-label='Devices'.*?</table>", markup, re.DOTALL):
        for device, row in rows(section).items():
            if "shown beneath" not in row:
                assert device not in shown
                shown[device] = row
    for device in known["devices"]:
        if device["path"] not in shown:
            assert device["kind"] in ("loop", "memory", "path"), device["path"]
            continue
        answer = device["cim"].get("partition") or device["cim"]["drive"]
        words = "not known" if not answer["known"] else "yes" if answer["reported"] else "no: "
        assert words in shown[device["path"]], shown[device["path"]]
        for mount in device.get("mounts", []):
            assert mount["mountPoint"].split("\n")[0][:20] in text
    assert ("Only in CIM" in text) == bool(known["cimOnly"])
    assert all(rule in text.split("Only in CIM")[1] for only in known["cimOnly"] for rule in only["rules"])
    assert ("This page is not complete" in text) == (not known["complete"])
    assert all(gap["text"] in text.split("Key to")[0] for gap in known["incomplete"])


def test_contents_begin_at_ten_disks(page, tmp_path, diskmgt):
    many = Page(page("storage-node"))
    targets = [value for value in many.values("href") if value.startswith("#disk-")]
    assert len(targets) == 60 and {target[1:] for target in targets} <= set(many.values("id"))
    for count in (9, 10):
        write_machine(tmp_path, sys_block=[{"name": f"sd{chr(97 + i)}", "size": 2048} for i in range(count)],
                      disks=[{"name": f"sd{chr(97 + i)}", "size": 2048} for i in range(count)])
        with Session(tmp_path) as session:
            links = Page(exported(session, diskmgt, "html")).values("href")
        assert len([link for link in links if link.startswith("#disk-")]) == (count if count >= 10 else 0)


def test_identity_is_in_the_heading(page, document):
    headings = dict(re.findall(r"<h2 id='disk-[0-9]+'><span class='name'>([^<]*)</span>(.*?)</h2>", page("multipath-root")))
    for device in document("multipath-root")["devices"]:
        if device["kind"] == "disk":
            assert device["wwid"] in headings[device["path"]] and device["model"] in headings[device["path"]]
    assert "identity not known" in page("volumes-root")


# A page of that width inside another one, and what the other one measures: the right edge of what is widest, how many
# sizes there are, how many labels the pictures show, and how many of these are wider than their box.
FRAME = """<!doctype html><body><iframe style="width:390px;height:900px;border:0" srcdoc="PAGE"></iframe><script>
const frame = document.querySelector('iframe');
frame.onload = () => {
  const all = what => [...frame.contentDocument.querySelectorAll(what)];
  all('details').forEach(one => one.open = true);
  const right = Math.max(...all('.size, .name, h2').map(one => one.getBoundingClientRect().right));
  const labels = all('.box span, .box small').filter(one => one.offsetWidth > 0);
  Object.assign(document.body.dataset, {right: Math.ceil(right), window: frame.contentWindow.innerWidth,
                                        sizes: all('td.size').length, labels: labels.length,
                                        cut: labels.filter(one => one.scrollWidth > one.clientWidth).length});
};
</script></body>"""


@pytest.mark.skipif(not CHROMIUM, reason="the package chromium is missing")
@pytest.mark.parametrize("name", ["volumes-root", "cloud-server", "hostile-names", "network-homes"])
def test_narrow_page_keeps_names_and_sizes_in_view(page, tmp_path, name):
    with Browser(FRAME.replace("PAGE", html.escape(page(name))).encode("utf-8"), tmp_path) as browser:
        seen = browser.elements()
    measured = {key: int(value) for key, value in re.findall(r'data-(right|window|sizes|labels|cut)="([0-9]+)"', seen)}
    assert measured["window"] == 390 and measured["sizes"] > 0
    assert measured["right"] <= 390
    assert measured["cut"] == 0
    if name in ("volumes-root", "cloud-server"):
        assert measured["labels"] >= 2


def test_lines_break_between_the_parts_of_a_path(page):
    assert re.search(r"class='name'>/boot/<wbr>efi<", page("volumes-root"))
