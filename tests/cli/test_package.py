"""The Debian package, made from this build: what is in it, and that dpkg installs and removes it. Installing it into a
fresh system of its own is `tools/dev package --check`."""
import json
import os
import shutil
import stat
import subprocess
from pathlib import Path

import pytest

import conftest
import help_text

BUILD = Path(conftest.COMMAND).parent.parent
SHARE = Path(help_text.share())
for tool in ("cpack", "dpkg-deb", "dpkg-shlibdeps", "file"):
    if not shutil.which(tool):
        pytest.skip(f"{tool} is not installed", allow_module_level=True)


def output(*command, **changes):
    done = subprocess.run([os.fspath(word) for word in command], stdin=subprocess.DEVNULL, capture_output=True,
                          text=True, timeout=300, env=conftest.environment(**changes), check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.fixture(scope="module")
def package(tmp_path_factory):
    folder = tmp_path_factory.mktemp("package")
    output("cpack", "--config", BUILD / "CPackConfig.cmake", "-G", "DEB", "-B", folder)
    return next(folder.glob("diskmgt_*.deb"))


@pytest.fixture(scope="module")
def tree(package, tmp_path_factory):
    folder = tmp_path_factory.mktemp("tree")
    output("dpkg-deb", "-x", package, folder)
    return folder


def files(root):
    return sorted(path.relative_to(root) for path in root.rglob("*") if not path.is_dir())


def test_control_names_what_the_package_is_and_depends_on(package):
    fields = output("dpkg-deb", "-f", package, "Package", "Version", "Depends", "Maintainer")
    assert "Package: diskmgt\nVersion: 1.0.0-1\n" in fields
    for library in ("libc6", "libstdc++6", "libsmartcols1", "libboost-thread"):
        assert library in fields
    assert "diskmgt" not in fields.split("Depends: ")[1].splitlines()[0]


def test_nothing_of_the_package_runs_while_it_is_installed(package, tmp_path):
    output("dpkg-deb", "-e", package, tmp_path)
    assert sorted(os.listdir(tmp_path)) == ["control", "md5sums"]


def test_places_are_those_of_debian(tree):
    present = {str(path) for path in files(tree)}
    assert {"usr/bin/diskmgt", "usr/lib/diskmgt/libtalcore.so", "usr/lib/diskmgt/libtalbase.so",
            "usr/lib/diskmgt/plugins/libdiskmgt.pi.so", "usr/include/diskmgt/plugin/host/cim_model.h",
            "usr/share/man/man1/diskmgt.1.gz", "usr/share/man/man5/diskmgt-formats.5.gz",
            "usr/share/bash-completion/completions/diskmgt", "usr/share/zsh/vendor-completions/_diskmgt",
            "usr/share/doc/diskmgt/copyright", "usr/share/doc/diskmgt/changelog.gz",
            "usr/share/doc/diskmgt/README.md"} <= present
    assert [path for path in present if not path.startswith("usr/") or "/local/" in path] == []


def test_everything_to_be_shared_is_in_the_package(tree):
    """By content: pages are compressed and completions renamed on the way."""
    packed = {}
    for path in files(tree):
        command = ["gzip", "-dc", tree / path] if path.suffix == ".gz" else ["cat", tree / path]
        packed[subprocess.run(command, capture_output=True, check=True).stdout] = path
    missing = [path for path in files(SHARE) if path.name != "README.md"
               and (SHARE / path).read_bytes() not in packed]
    assert missing == []


def test_modes_are_those_of_a_package(tree):
    for path in tree.rglob("*"):
        mode = stat.S_IMODE(path.lstat().st_mode)
        is_program = path.is_dir() or path.parent.name == "bin" or path.read_bytes()[:2] == b"#!"
        assert mode == (0o755 if is_program else 0o644), (path, oct(mode))


def test_command_finds_its_plug_in_wherever_the_tree_lies(tree):
    shown = json.loads(output(tree / "usr/bin/diskmgt", "plugin", "--format", "json"))
    assert shown["file"] == os.fspath(tree / "usr/lib/diskmgt/plugins/libdiskmgt.pi.so")
    assert json.loads(output(tree / "usr/bin/diskmgt", "get", "VEXSG_DiskDrive", "--timeout", "0"))["classes"]


def test_headers_and_libraries_are_enough_for_a_plug_in(tree, tmp_path):
    source = SHARE.parent / "tests/package/small_plugin.cpp"
    output("g++", "-std=c++17", "-shared", "-fPIC", "-Wall", "-Werror", f"-I{tree}/usr/include/diskmgt",
           f"-L{tree}/usr/lib/diskmgt", source, "-o", tmp_path / "small.so", "-ltalcore", "-ltalbase")
    shown = json.loads(output(tree / "usr/bin/diskmgt", "plugin", "--plugin", tmp_path / "small.so", "--format", "json"))
    assert shown["name"] == "Small plug-in"


def test_dpkg_installs_and_removes_it_without_a_trace(package, tmp_path):
    if os.geteuid() != 0:
        pytest.skip("dpkg installs as root only")
    (tmp_path / "var/lib/dpkg/info").mkdir(parents=True)
    (tmp_path / "var/lib/dpkg/updates").mkdir()
    (tmp_path / "var/lib/dpkg/status").touch()
    dpkg = ["dpkg", f"--root={tmp_path}", "--force-depends", "--force-not-root", f"--log={tmp_path}/log"]
    output(*dpkg, "--install", package)
    assert (tmp_path / "usr/bin/diskmgt").exists()
    output(*dpkg, "--remove", "diskmgt")
    assert not (tmp_path / "usr").exists()
    assert "Status" not in (tmp_path / "var/lib/dpkg/status").read_text()
    assert [path for path in files(tmp_path) if "diskmgt" in path.name] == []


def test_lintian_has_nothing_to_say(package):
    if not shutil.which("lintian"):
        pytest.skip("lintian is not installed")
    # Some bytes of machine code look like a misspelt word.
    said = output("lintian", "--allow-root", "--display-info", "--fail-on", "error,warning,info", "--suppress-tags",
                  "spelling-error-in-binary", package)
    assert [line for line in said.splitlines() if not line.startswith("N:")] == []
