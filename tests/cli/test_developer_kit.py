"""The developer kit: other projects build plug-ins and hosts with what is installed, wherever it is installed."""
import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest

import conftest

BUILD = Path(conftest.COMMAND).parent.parent
SOURCES = Path(__file__).resolve().parents[2]
EXAMPLES = "share/doc/diskmgt/examples"
BUILD_EXAMPLES = SOURCES / "tests/package/build_examples"
for tool in ("cmake", "make", "pkg-config", "readelf"):
    if not shutil.which(tool):
        pytest.skip(f"{tool} is not installed", allow_module_level=True)


def outcome(*command, **changes):
    return subprocess.run([os.fspath(word) for word in command], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          timeout=600, env=conftest.environment(**changes), check=False)


def output(*command, **changes):
    done = outcome(*command, **changes)
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def where(prefix):
    """The environment in which the tools find the tree."""
    return {"CMAKE_PREFIX_PATH": str(prefix), "PKG_CONFIG_PATH": f"{prefix}/share/pkgconfig",
            "PATH": f"{prefix}/bin:{os.environ['PATH']}"}


def configured(folder, project, prefix, *options):
    """What CMake says to a project of one file that looks for the package."""
    source = folder / "project"
    source.mkdir(exist_ok=True)
    (source / "CMakeLists.txt").write_text(f"cmake_minimum_required(VERSION 3.25)\nproject(one LANGUAGES CXX)\n{project}\n")
    return outcome("cmake", "-S", source, "-B", folder / "configured", "--fresh", *options, **where(prefix))


@pytest.fixture(scope="module")
def installed(tmp_path_factory):
    prefix = tmp_path_factory.mktemp("kit") / "installed"
    output("cmake", "--install", BUILD, "--prefix", prefix)
    return prefix


def test_examples_are_built_and_run_from_what_is_installed_alone(installed, tmp_path):
    output(BUILD_EXAMPLES, installed / EXAMPLES, tmp_path, "-DBUILD_SHARED_LIBS=ON", **where(installed))


def test_examples_are_built_and_run_from_a_tree_in_another_place(tmp_path):
    """A file that names the prefix leads to nothing there."""
    output("cmake", "--install", BUILD, "--prefix", "/opt/somewhere", DESTDIR=str(tmp_path / "root"))
    prefix = tmp_path / "root/opt/somewhere"
    output(BUILD_EXAMPLES, prefix / EXAMPLES, tmp_path, "-DBUILD_SHARED_LIBS=OFF", **where(prefix))


def test_cmake_finds_the_kit_below_a_path_with_blanks(installed, tmp_path):
    prefix = tmp_path / "a path with blanks"
    shutil.copytree(installed, prefix)
    built = tmp_path / "built"
    output("cmake", "-S", prefix / EXAMPLES / "host", "-B", built, **where(prefix))
    output("cmake", "--build", built)
    plugin = prefix / "lib/diskmgt/plugins/libdiskmgt.pi.so"
    said = outcome(built / "small_host", plugin, "VEXSG_TapeDrive")
    assert (said.returncode, said.stdout, said.stderr) == (0, "", "loaded Disk Management Information Collector 1.0\n")


def test_kit_names_no_folder_of_the_sources_or_of_the_build(installed):
    kit = [*installed.glob("lib/cmake/**/*"), *installed.glob("share/pkgconfig/*"), *installed.glob("include/**/*"),
           *(installed / EXAMPLES).rglob("*")]
    files = [path for path in kit if path.is_file()]
    assert len(files) >= 20
    for path in files:
        text = path.read_text(encoding="utf-8")
        assert not [name for name in (SOURCES, BUILD, installed) if str(name) in text], path


def test_headers_are_complete(installed, tmp_path):
    """Each is compiled alone, and includes only what is installed."""
    include = installed / "include/diskmgt"
    headers = sorted(path.relative_to(include) for path in include.rglob("*.h"))
    assert Path("refhost/api/reference_host.h") in headers and Path("plugin/host/cim_model.h") in headers
    (tmp_path / "all.cpp").write_text("".join(f'#include "{header}"\n' for header in headers))
    output("g++", "-std=c++17", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", f"-I{include}", tmp_path / "all.cpp")
    for header in headers:
        for included in re.findall(r'#include "(.+)"', (include / header).read_text(encoding="utf-8")):
            assert (include / included).exists(), (header, included)


def test_version_is_that_of_the_command(installed, run):
    version = run("--version").text.split()[1]
    assert output("pkg-config", "--modversion", "diskmgt-host", **where(installed)).strip() == version


@pytest.mark.parametrize("wanted, is_found", [("", True), ("1.0", True), ("1.1", True), ("1.2", False), ("2.0", False)])
def test_cmake_finds_the_same_major_version_that_is_not_older(installed, tmp_path, wanted, is_found):
    done = configured(tmp_path, f"find_package(diskmgt {wanted} REQUIRED)", installed)
    assert (done.returncode == 0) == is_found, done.stderr


def test_cmake_names_the_folders(installed, tmp_path):
    done = configured(tmp_path, 'find_package(diskmgt REQUIRED)\nmessage("${diskmgt_LIBRARY_DIR} ${diskmgt_PLUGIN_DIR}")',
                      installed)
    libraries, plugins = done.stderr.split()
    assert (Path(libraries) / "libtalcore.so").exists() and (Path(plugins) / "libdiskmgt.pi.so").exists()
    said = [output("pkg-config", f"--variable={name}", "diskmgt-host", **where(installed)).strip()
            for name in ("libdir", "plugindir")]
    assert [os.path.realpath(path) for path in said] == [os.path.realpath(path) for path in (libraries, plugins)]


def test_a_program_depends_on_both_libraries_even_where_the_linker_drops_unused_ones(installed, tmp_path):
    """Neither has a run path to the other, so the program's must lead to both."""
    flags = output("pkg-config", "--cflags", "--libs", "diskmgt-host", **where(installed)).split()
    program = tmp_path / "program.cpp"
    program.write_text('#include "refhost/api/reference_host.h"\n'
                       "int main() { return refhost::ReferenceHost().classes().empty(); }\n")
    output("g++", "-std=c++17", "-Wl,--as-needed", program, "-o", tmp_path / "program", *flags,
           f"-Wl,-rpath,{installed}/lib/diskmgt")
    needed = re.findall(r"NEEDED.*\[(libtal.*)\]", output("readelf", "-d", tmp_path / "program"))
    assert sorted(needed) == ["libtalbase.so", "libtalcore.so"]
    output(tmp_path / "program")


def test_headers_alone_bring_no_library(installed, tmp_path):
    (tmp_path / "project").mkdir()
    (tmp_path / "project/one.cpp").write_text('#include "plugin/host/cim_model.h"\nint main() {}\n')
    done = configured(tmp_path, "find_package(diskmgt REQUIRED)\nadd_executable(one one.cpp)\n"
                      "target_link_libraries(one PRIVATE diskmgt::host_interface)", installed)
    assert done.returncode == 0, done.stderr
    output("cmake", "--build", tmp_path / "configured")
    assert "libtal" not in output("readelf", "-d", tmp_path / "configured/one")


def test_examples_are_those_of_the_sources(installed):
    for path in (SOURCES / "examples").rglob("*"):
        if path.is_file():
            assert (installed / EXAMPLES / path.relative_to(SOURCES / "examples")).read_bytes() == path.read_bytes()


def fenced_commands(document):
    blocks = re.findall(r"^```sh\n(.*?)^```$", document.read_text(encoding="utf-8"), re.MULTILINE | re.DOTALL)
    return "".join(blocks)


def test_the_examples_own_instructions_work(installed, tmp_path):
    """Line for line, in a copy of the folder; /tmp is a folder of the test."""
    shutil.copytree(installed / EXAMPLES, tmp_path / "examples")
    commands = fenced_commands(tmp_path / "examples/README.md")
    assert commands.count("file_system_types.pi.so") == 3
    done = subprocess.run(["bash", "-eu", "-c", commands.replace("/tmp/", f"{tmp_path}/")], cwd=tmp_path / "examples",
                          env=conftest.environment(**where(installed)), capture_output=True, text=True, timeout=600,
                          check=False)
    assert done.returncode == 0, done.stderr
    assert "    Name: proc\n" in done.stdout and '"Name": "proc"' in done.stdout
