"""Runs a guest until it ends, within limits, and brings back what it wrote to its results port."""

import subprocess
import tarfile
import time
from pathlib import Path

EMULATOR = "qemu-system-x86_64"
LAST_LINES = 40
COMMAND_LINE = "console=ttyS0 quiet loglevel=4 panic=-1 oops=panic scsi_mod.scan=sync random.trust_cpu=on mitigations=off " \
               "no_timer_check"  # a busy machine is too slow for that check


class GuestFailed(Exception):
    """The guest did not come to its end; the text ends with the last lines of its console."""


def command(kernel, initramfs, disks, folder):
    """Software emulation only: the guest is the same wherever the tests run. It goes when the tests are killed."""
    return ["setpriv", "--pdeathsig", "KILL", EMULATOR, "-accel", "tcg,thread=multi", "-cpu", "max", "-smp", "2",
            "-m", "1024", "-M", "q35", "-nodefaults", "-no-user-config", "-no-reboot", "-display", "none", "-nic", "none",
            "-kernel", str(kernel), "-initrd", str(initramfs), "-append", COMMAND_LINE,
            "-serial", f"file:{folder / 'console'}",
            "-device", "virtio-rng-pci",
            "-device", "virtio-serial-pci", "-chardev", f"file,id=results,path={folder / 'results.tar'}",
            "-device", "virtserialport,chardev=results,name=results", *disks]


def last_lines(path):
    text = path.read_text(encoding="utf-8", errors="replace") if path.exists() else ""
    return "\n".join(text.splitlines()[-LAST_LINES:])


def _wait(process, folder, limit, silence):
    """Why the guest has to be ended, or None when it came to its end."""
    begin = spoke = time.monotonic()
    length = 0
    while True:
        try:
            process.wait(timeout=0.5)
            return None
        except subprocess.TimeoutExpired:
            now = time.monotonic()
        console = folder / "console"
        shown = console.stat().st_size if console.exists() else 0
        if shown != length:
            length, spoke = shown, now
        if now - begin > limit:
            return f"the guest was ended: it took longer than {limit} seconds"
        if now - spoke > silence:
            return f"the guest was ended: its console showed nothing new for {silence} seconds"


def run(words, folder, limit, silence):
    """Runs the emulator for at most `limit` seconds, and as long as the console shows something new within `silence`."""
    with open(folder / "emulator.err", "w+", encoding="utf-8", errors="replace") as errors, \
            subprocess.Popen(words, stdin=subprocess.DEVNULL, stdout=errors, stderr=errors) as process:
        try:
            failure = _wait(process, folder, limit, silence)
        finally:
            process.kill()
        if failure is None and process.wait() != 0:
            errors.seek(0)
            failure = f"the emulator ended with {process.returncode}: {errors.read().strip()}"
    if failure:
        raise GuestFailed(f"{failure}. Its console ended with:\n{last_lines(folder / 'console')}")


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
