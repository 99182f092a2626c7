"""The Debian packages, packed from this build: what is in them, and that dpkg installs and removes them. Building them
from the sources and installing them into a fresh system is `tools/dev package --check`."""
import json
import os
import re
import shutil
import stat
import subprocess
from pathlib import Path

import pytest

import conftest
import help_text

BUILD = Path(conftest.COMMAND).parent.parent
SHARE = Path(help_text.share())
SOURCES = SHARE.parent
NAMES = ["diskmgt", "diskmgt-dev", "diskmgt-plugin", "diskmgt-serve", "libdiskmgt-host"]
PLUGIN = "usr/lib/diskmgt/plugins/libdiskmgt.pi.so"
for tool in ("dh", "dpkg-deb", "dpkg-shlibdeps", "file"):
    if not shutil.which(tool):
        pytest.skip(f"{tool} is not installed", allow_module_level=True)


def output(*command, cwd=None, **changes):
    done = subprocess.run([os.fspath(word) for word in command], stdin=subprocess.DEVNULL, capture_output=True,
                          text=True, timeout=300, cwd=cwd, env=conftest.environment(**changes), check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.fixture(scope="module")
def packages(tmp_path_factory):
    """The packages' files by name, made by debian/rules from the tree that is tested."""
    folder = tmp_path_factory.mktemp("packages") / "source"
    shutil.copytree(SOURCES / "debian", folder / "debian")
    shutil.copytree(SOURCES / "cmake", folder / "cmake")
    (folder / "debian/debhelper-build-stamp").write_text("".join(f"{name}\n" for name in NAMES))  # these are built
    output("debian/rules", "binary", f"build_tree={BUILD}", cwd=folder, DEB_BUILD_OPTIONS="noautodbgsym")
    return {name: next(folder.parent.glob(f"{name}_*.deb")) for name in NAMES}


@pytest.fixture(scope="module")
def trees(packages, tmp_path_factory):
    """What is in each package, in a folder of its own."""
    folder = tmp_path_factory.mktemp("trees")
    for name, package in packages.items():
        output("dpkg-deb", "-x", package, folder / name)
    return {name: folder / name for name in packages}


@pytest.fixture(scope="module")
def tree(packages, tmp_path_factory):
    """What is there when all packages are installed."""
    folder = tmp_path_factory.mktemp("tree")
    for package in packages.values():
        output("dpkg-deb", "-x", package, folder)
    return folder


def files(root):
    return sorted(path.relative_to(root) for path in root.rglob("*") if not path.is_dir())


def field(package, name):
    return output("dpkg-deb", "-f", package, name).strip()


def test_version_is_that_of_the_command(packages, run):
    version = run("--version").text.split()[1]
    assert {field(package, "Version") for package in packages.values()} == {version}


def test_packages_depend_on_what_they_need(packages):
    depends = {name: {word.split()[0] for word in field(package, "Depends").split(", ")}
               for name, package in packages.items()}
    assert {"libdiskmgt-host", "diskmgt-plugin", "libc6", "libsmartcols1"} <= depends["diskmgt"]
    assert {"libc6", "libstdc++6"} <= depends["libdiskmgt-host"]
    assert any(word.startswith("libboost-thread") for word in depends["diskmgt-plugin"])
    assert "libdiskmgt-host" in depends["diskmgt-dev"]
    assert {"libdiskmgt-host", "diskmgt-plugin", "libssl3", "libseccomp2", "libpugixml1v5"} <= depends["diskmgt-serve"]
    assert not {"libssl3", "libseccomp2", "libpugixml1v5", "libcrypt1", "zlib1g"} & depends["diskmgt"]
    # Another host may load the plug-in.
    assert not [word for word in depends["diskmgt-plugin"] | depends["libdiskmgt-host"] if "diskmgt" in word]


def test_nothing_of_the_packages_runs_while_they_are_installed(packages, tmp_path):
    for name, package in packages.items():
        output("dpkg-deb", "-e", package, tmp_path / name)
        scripts = ["postinst"] if name == "diskmgt-serve" else []
        assert sorted(os.listdir(tmp_path / name)) == ["control", "md5sums", *scripts]
    made = (tmp_path / "diskmgt-serve" / "postinst").read_text(encoding="utf-8")
    assert re.findall(r"^\s*([a-z-]+) ", re.sub(r"#.*", "", made), re.MULTILINE) == ["set", "if", "systemd-sysusers"]


def test_no_file_is_in_two_packages(trees):
    everything = [path for tree in trees.values() for path in files(tree)]
    assert len(everything) == len(set(everything))


def test_places_are_those_of_debian(trees):
    present = {name: {str(path) for path in files(tree)} for name, tree in trees.items()}
    assert {"usr/bin/diskmgt", "usr/share/man/man1/diskmgt.1.gz", "usr/share/man/man5/diskmgt-formats.5.gz",
            "usr/share/bash-completion/completions/diskmgt", "usr/share/zsh/vendor-completions/_diskmgt",
            "usr/share/doc/diskmgt/README.md", "usr/share/doc/diskmgt/CHANGELOG.md"} <= present["diskmgt"]
    assert PLUGIN in present["diskmgt-plugin"]
    assert {"usr/lib/diskmgt/diskmgt-serve", "usr/lib/diskmgt/diskmgt-collect", "usr/share/man/man8/diskmgt-serve.8.gz",
            "usr/lib/sysusers.d/diskmgt-serve.conf", "usr/lib/systemd/system/diskmgt-serve.service",
            "usr/lib/systemd/system/diskmgt-collect.socket", "usr/lib/systemd/system/diskmgt-collect@.service",
            "usr/share/doc/diskmgt-serve/ENDPOINT.md"} <= present["diskmgt-serve"]
    assert {"usr/lib/diskmgt/libtalcore.so", "usr/lib/diskmgt/libtalbase.so"} <= present["libdiskmgt-host"]
    assert {"usr/include/diskmgt/plugin/host/cim_model.h", "usr/include/diskmgt/refhost/api/reference_host.h",
            "usr/lib/cmake/diskmgt/diskmgt-config.cmake", "usr/share/pkgconfig/diskmgt-host.pc",
            "usr/share/doc/diskmgt-dev/docs/HOST-INTERFACE.md",
            "usr/share/doc/diskmgt-dev/examples/host/small_host.cpp"} <= present["diskmgt-dev"]
    for name, paths in present.items():
        assert {f"usr/share/doc/{name}/copyright", f"usr/share/doc/{name}/changelog.gz"} <= paths
        assert [path for path in paths if not path.startswith("usr/") or "/local/" in path] == []


def test_libraries_are_stripped(tree):
    for path in ("usr/bin/diskmgt", PLUGIN, "usr/lib/diskmgt/libtalcore.so", "usr/lib/diskmgt/libtalbase.so"):
        assert " stripped" in output("file", tree / path)


def dead_links(folder):
    found = []
    for document in folder.rglob("*.md"):
        prose = re.sub(r"^```.*?^```|`[^`\n]*`", "", document.read_text(encoding="utf-8"), flags=re.M | re.S)
        for target in re.findall(r"\]\(([^)#\s]+)[^)\s]*\)", prose):
            if not re.match("[a-z]+:", target) and not (document.parent / target).exists():
                found.append((document.name, target))
    return found


def test_documents_link_only_to_what_their_package_has(trees):
    assert [link for tree in trees.values() for link in dead_links(tree)] == []
    tour = (trees["diskmgt"] / "usr/share/doc/diskmgt/docs/TOUR.md").read_text(encoding="utf-8")
    assert "](EXPLAIN.md#rules)" in tour and "diskmgt-formats(5)" in tour and "diskmgt-formats(5)](" not in tour


def test_documents_of_an_install_tree_link_only_to_what_is_there(tmp_path):
    output("cmake", "--install", BUILD, "--prefix", tmp_path / "a prefix")
    documents = tmp_path / "a prefix/share/doc/diskmgt"
    assert (documents / "docs/HOST-INTERFACE.md").exists()
    assert dead_links(documents) == []
    assert (documents / "docs/EXPLAIN.md").read_bytes() == (SOURCES / "docs/EXPLAIN.md").read_bytes()


# Pages of other packages, which the manual refers to.
PACKAGE_OF_PAGE = {("diskmgt-serve", "8"): "diskmgt-serve",
                   ("fdisk", "8"): "fdisk", ("findmnt", "8"): "util-linux", ("jq", "1"): "jq", ("lsblk", "8"): "util-linux",
                   ("sfdisk", "8"): "fdisk"}


def manual(trees):
    return "".join(output("gzip", "-dc", page) for page in trees["diskmgt"].glob("usr/share/man/man*/*.gz"))


def test_manual_refers_to_pages_that_are_installed_or_suggested(packages, trees):
    own = {tuple(page.name.split(".")[:2]) for page in trees["diskmgt"].glob("usr/share/man/man*/*.gz")}
    others = set(re.findall(r"^\.Xr (\S+) (\d)", manual(trees), re.MULTILINE)) - own
    known = {"util-linux"} | {word.split()[0] for word in field(packages["diskmgt"], "Suggests").split(", ")}  # essential
    assert {PACKAGE_OF_PAGE[page] for page in others} <= known


def test_files_that_the_manual_names_are_in_the_package(trees):
    """Of this project: by a path below the prefix, or a unit's name."""
    named = re.findall(r"(?:^\.(?:It )?| )Pa ((?:share/|lib/|/usr/)\S+|diskmgt-\S+)", manual(trees), re.MULTILINE)
    places = {str(path.relative_to(tree)) for tree in trees.values() for path in tree.rglob("*")}
    assert len(named) >= 8
    missing = [name for name in named if not {f"usr/{name}", name.lstrip("/"), f"usr/lib/systemd/system/{name}"} & places]
    assert missing == []


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
        is_program = (path.is_dir() or path.parent.name == "bin" or path.read_bytes()[:2] == b"#!"
                      or path.name in ("diskmgt-serve", "diskmgt-collect"))
        assert mode == (0o755 if is_program else 0o644), (path, oct(mode))


def test_command_finds_its_plug_in_wherever_the_tree_lies(tree):
    shown = json.loads(output(tree / "usr/bin/diskmgt", "plugin", "--format", "json"))
    assert shown["file"] == os.fspath(tree / "usr/lib/diskmgt/plugins/libdiskmgt.pi.so")
    assert json.loads(output(tree / "usr/bin/diskmgt", "get", "VEXSG_DiskDrive", "--timeout", "0"))["classes"]


def test_examples_are_built_and_run_from_the_packages_alone(tree, tmp_path):
    usr = tree / "usr"
    output(SOURCES / "tests/package/build_examples", usr / "share/doc/diskmgt-dev/examples", tmp_path,
           CMAKE_PREFIX_PATH=str(usr), PKG_CONFIG_PATH=f"{usr}/share/pkgconfig", PATH=f"{usr}/bin:{os.environ['PATH']}")


def test_dpkg_installs_and_removes_them_without_a_trace(packages, tmp_path):
    if os.geteuid() != 0:
        pytest.skip("dpkg installs as root only")
    (tmp_path / "var/lib/dpkg/info").mkdir(parents=True)
    (tmp_path / "var/lib/dpkg/updates").mkdir()
    (tmp_path / "var/lib/dpkg/status").touch()
    (tmp_path / "etc").mkdir()
    dpkg = ["dpkg", f"--root={tmp_path}", "--force-depends", "--force-not-root", "--force-script-chrootless",
            f"--log={tmp_path}/log"]
    output(*dpkg, "--install", *packages.values())
    assert (tmp_path / "usr/bin/diskmgt").exists()
    assert re.search(r"^diskmgt:", (tmp_path / "etc/passwd").read_text(), re.MULTILINE)  # the endpoint's account
    output(*dpkg, "--remove", *packages)
    assert not (tmp_path / "usr").exists()
    assert "Status" not in (tmp_path / "var/lib/dpkg/status").read_text()
    assert [path for path in files(tmp_path) if "diskmgt" in path.name] == []


# What lintian says, and why it stays.
KNOWN_TAGS = {
    "package-supports-alternative-init-but-no-init.d-script": "without systemd an administrator starts diskmgt serve",
    "spare-manual-page": "diskmgt-serve(8) describes diskmgt serve; its own executable is in no search path",
    "copyright-without-copyright-notice": "the owner fills it in: LICENSE.todo",
    "hardening-no-fortify-functions": "level 3 is on; a check stays only where a size is known and not proven to suffice",
    "spelling-error-in-binary": "some bytes of machine code look like a misspelt word",
}


def test_lintian_has_nothing_else_to_say(packages):
    if not shutil.which("lintian"):
        pytest.skip("lintian is not installed")
    said = output("lintian", "--allow-root", "--display-info", "--pedantic", "--fail-on", "none", *packages.values())
    tags = [line.split(": ", 2)[2].split()[0] for line in said.splitlines() if not line.startswith("N:")]
    assert set(tags) <= set(KNOWN_TAGS), said
