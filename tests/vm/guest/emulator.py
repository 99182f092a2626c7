"""Runs a guest until it ends, within a limit, and brings back what it wrote to its results port."""

import subprocess
import tarfile
from pathlib import Path

EMULATOR = "qemu-system-x86_64"
LAST_LINES = 40
COMMAND_LINE = "console=ttyS0 quiet loglevel=4 panic=-1 oops=panic scsi_mod.scan=sync random.trust_cpu=on mitigations=off " \
               "no_timer_check"  # a busy machine is too slow for that check


class GuestFailed(Exception):
    """The guest did not come to its end; the text ends with the last lines of its console."""


def command(kernel, initramfs, disks, folder):
    """Software emulation only: the guest is the same wherever the tests run."""
    return [EMULATOR, "-accel", "tcg,thread=multi", "-cpu", "max", "-smp", "2", "-m", "1024", "-M", "q35", "-nodefaults",
            "-no-user-config", "-no-reboot", "-display", "none", "-nic", "none", "-kernel", str(kernel), "-initrd",
            str(initramfs), "-append", COMMAND_LINE, "-serial", f"file:{folder / 'console'}",
            "-device", "virtio-rng-pci",
            "-device", "virtio-serial-pci", "-chardev", f"file,id=results,path={folder / 'results.tar'}",
            "-device", "virtserialport,chardev=results,name=results", *disks]


def last_lines(path):
    text = path.read_text(encoding="utf-8", errors="replace") if path.exists() else ""
    return "\n".join(text.splitlines()[-LAST_LINES:])


def run(words, folder, limit):
    """Runs the emulator for at most `limit` seconds."""
    def failed(why):
        return GuestFailed(f"{why}. Its console ended with:\n{last_lines(folder / 'console')}")

    try:
        ended = subprocess.run(words, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=limit, check=False)
    except subprocess.TimeoutExpired:
        raise failed(f"the guest was ended: it took longer than {limit} seconds") from None
    if ended.returncode != 0:
        raise failed(f"the emulator ended with {ended.returncode}: {ended.stderr.strip()}")


def results(folder):
    """The files that the guest sent, by name."""
    found = {}
    try:
        with tarfile.open(Path(folder) / "results.tar") as archive:
            for member in archive:
                if member.isfile():
                    found[member.name.removeprefix("./")] = archive.extractfile(member).read().decode(errors="replace")
    except (OSError, tarfile.TarError) as error:
        raise GuestFailed(f"the guest sent no results ({error}). Its console ended with:\n"
                          f"{last_lines(Path(folder) / 'console')}") from None
    return found
