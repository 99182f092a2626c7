"""A captured machine is one that the device tests understand, and carries the tables byte for byte."""

import contextlib
import importlib.machinery
import importlib.util
import io
import struct
import sys
from pathlib import Path
import unittest

from scratch_tree import ScratchTree

TOOLS = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TOOLS.parent / "tests" / "devices"))
sys.dont_write_bytecode = True

from machine.description import read_machine  # noqa: E402

loader = importlib.machinery.SourceFileLoader("capture_machine", str(TOOLS / "capture_machine"))
capture_machine = importlib.util.module_from_spec(importlib.util.spec_from_loader("capture_machine", loader))
loader.exec_module(capture_machine)


def slot(kind, start, count):
    return struct.pack("<B3xB3xII", 0, kind, start, count)


def table(*slots):
    return b"".join(slots).ljust(64, b"\0") + b"\x55\xaa"


class Captured(ScratchTree):
    def setUp(self):
        super().setUp()
        self.put("etc/mtab", "/dev/mapper/root / ext4 rw 0 0\nproc /proc proc rw 0 0\n")
        (self.root / "dev/mapper").mkdir(parents=True)
        (self.root / "dev/mapper/root").symlink_to("../dm-0")

    def disk(self, name, sectors, writes, device="8:0"):
        """A disk with these bytes at these byte offsets, and its entry in sysfs."""
        image = bytearray(sectors * 512)
        for offset, data in writes.items():
            image[offset:offset + len(data)] = data
        self.put(f"dev/{name}", bytes(image))
        self.block(name, sectors, device)
        return bytes(image)

    def block(self, name, sectors, device):
        self.put(f"sys/block/{name}/size", f"{sectors}\n")
        self.put(f"sys/block/{name}/dev", f"{device}\n")

    def capture(self):
        with contextlib.redirect_stderr(io.StringIO()) as said:
            status = capture_machine.main(["--root", str(self.root), str(self.root / "out")])
        self.assertEqual(status, 0, said.getvalue())
        return read_machine(self.root / "out")

    def rebuilt(self, disk):
        image = bytearray(disk.size)
        for offset, data in disk.patches:
            image[offset:offset + len(data)] = data
        return bytes(image)

    def test_an_mbr_with_its_chain_comes_back_byte_for_byte(self):
        image = self.disk("sda", 256, {446: table(slot(0x83, 2, 8), slot(0x05, 16, 200)),
                                       16 * 512 + 446: table(slot(0x83, 1, 4), slot(0x05, 32, 16)),
                                       48 * 512 + 446: table(slot(0x83, 1, 4))})
        disk, = self.capture().disks
        self.assertEqual((disk.name, disk.size), ("sda", 256 * 512))
        self.assertEqual(self.rebuilt(disk), image)

    def test_a_chain_that_comes_back_ends(self):
        image = self.disk("sda", 256, {446: table(slot(0x0F, 16, 200)), 16 * 512 + 446: table(slot(0x05, 0, 16))})
        self.assertEqual(self.rebuilt(self.capture().disks[0]), image)

    def test_a_gpt_comes_back_byte_for_byte(self):
        header = b"EFI PART".ljust(80, b"\0") + struct.pack("<iI", 4, 128)
        image = self.disk("nvme0n1", 64, {446: table(slot(0xEE, 1, 63)), 512: header, 1024: b"\x01" * 128,
                                          1024 + 256: b"\x02" * 60}, "259:0")
        self.assertEqual(self.rebuilt(self.capture().disks[0]), image)

    def test_nothing_but_the_tables_is_copied(self):
        self.disk("sda", 64, {0: b"boot code", 446: table(slot(0x83, 2, 8)), 1024: b"private"})
        self.assertEqual([offset for offset, _ in self.capture().disks[0].patches], [446])

    def test_an_absurd_entry_count_copies_no_more_than_real_disks_have(self):
        header = b"\0" * 80 + struct.pack("<i", 2**31 - 1)
        self.disk("sda", 4096, {446: table(slot(0xEE, 1, 63)), 512: header, 1024: b"\x01" * (4095 * 512 - 1024)})
        entries = [offset for offset, _ in self.capture().disks[0].patches if offset >= 1024]
        self.assertEqual(len(entries), capture_machine.MAX_ENTRIES)

    def test_partitions_volumes_and_the_mount_table_are_described(self):
        self.disk("sda", 64, {446: table(slot(0x83, 2, 8))})
        self.put("sys/block/sda/sda1/start", "2\n")
        self.put("sys/block/sda/sda1/size", "8\n")
        self.put("dev/sda1", "")
        self.put("sys/block/sda/queue/logical_block_size", "4096\n")
        machine = self.capture()
        self.assertEqual(machine.disks[0].sector_size, 4096)
        self.assertEqual([(node.name, node.kind) for node in machine.nodes], [("sda1", "partition"), ("mapper/root", "link")])
        self.assertEqual((machine.nodes[0].start, machine.nodes[0].size), (1024, 4096))
        self.assertEqual(machine.nodes[1].target, "../dm-0")
        self.assertEqual(machine.sys_block[0].directories, ["sda1"])
        self.assertEqual(machine.sys_block[0].files, {"size": "64\n", "dev": "8:0\n"})
        self.assertEqual(machine.mtab, "/dev/mapper/root / ext4 rw 0 0\nproc /proc proc rw 0 0\n")

    def test_what_is_never_opened_as_a_disk_is_only_listed(self):
        self.block("sr0", 0, "11:0")
        self.block("ram0", 64, "1:0")
        self.block("dm-0", 64, "253:0")
        self.block("sdb", 64, "8:16")  # no node to open
        machine = self.capture()
        self.assertEqual(machine.disks, [])
        self.assertEqual(sorted(block.name for block in machine.sys_block), ["dm-0", "ram0", "sdb", "sr0"])

    def test_an_existing_description_is_kept(self):
        (self.root / "sys/block").mkdir(parents=True)
        self.put("out/machine.json", "mine")
        with self.assertRaises(SystemExit), contextlib.redirect_stderr(io.StringIO()):
            capture_machine.main(["--root", str(self.root), str(self.root / "out")])
        self.assertEqual((self.root / "out/machine.json").read_text(), "mine")


if __name__ == "__main__":
    unittest.main()
