"""What the tests share: the one guest of this run, booted once, with all that was asked in it."""

import os
import shutil
import sys
from pathlib import Path

import pytest

sys.dont_write_bytecode = True
HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))

from guest import disks, emulator, initramfs  # noqa: E402
from guest.answers import Answers  # noqa: E402

# Seconds. A guest takes one or two minutes where nothing else runs; each step ends itself before the second limit.
LIMIT = 1800
SILENCE = 600


def _lacking(kernel):
    """What this machine lacks to run a guest, or None."""
    if not shutil.which(emulator.EMULATOR):
        return f"{emulator.EMULATOR} is not installed (tools/dev vm installs it)"
    missing = initramfs.missing_programs()
    if missing:
        return f"not installed: {', '.join(missing)} (tools/dev vm installs them)"
    if not list(kernel.glob("boot/vmlinuz-*")):
        return "the guests' kernel is not there (tools/dev vm fetches it)"
    return None


def _boot(kernel, product, kind, folder, place):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    try:
        initramfs.build(place / "root", kernel, product, HERE / "inside", kind == "with_udev")
        initramfs.pack(place / "root", place / "initramfs")
        words = emulator.command(next(kernel.glob("boot/vmlinuz-*")), place / "initramfs", disks.arguments(place), folder)
        emulator.run(words, folder, LIMIT, SILENCE)
    finally:
        shutil.rmtree(place)  # the disks


@pytest.fixture(scope="session")
def guest(tmp_path_factory):
    """The answers of the guest that DISKMGT_GUEST names; with DISKMGT_GUEST_ANSWERS=kept those of its last run."""
    kernel = Path(os.environ["DISKMGT_GUEST_KERNEL"])
    lacking = _lacking(kernel)
    if lacking:
        pytest.skip(lacking)
    kind = os.environ["DISKMGT_GUEST"]
    product = Path(os.environ["DISKMGT_BUILD"])
    folder = product / "vm" / kind  # stays, so that one can look
    if os.environ.get("DISKMGT_GUEST_ANSWERS") != "kept":
        _boot(kernel, product, kind, folder, tmp_path_factory.mktemp("guest"))
    answers = Answers(emulator.results(folder), folder, kind == "with_udev")
    if answers.failure:
        pytest.fail(f"a scene failed: {answers.failure}", pytrace=False)
    return answers
