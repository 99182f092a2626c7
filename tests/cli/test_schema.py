"""--schema: further classes for the command's host, from files that may be wrong in any way."""
import os
import subprocess
from pathlib import Path

import pytest

from conftest import COMMAND, environment, on_a_terminal

EXAMPLE = Path(__file__).parents[2] / "examples/plugin/file_system_types.mof"
CLASS = "EXAMPLE_FileSystemType"
GOOD = 'class MY_Volume : CIM_LogicalDevice {\n  [Description("How full.")] uint8 Fill;\n};\n'
# Every command that loads a plug-in, each with what it needs.
LOADING = [["tree"], ["tree", "--cim"], ["get", "VEXSG_TapeDrive"], ["explain"], ["export", "json"], ["trace", "VEXSG_TapeDrive"],
           ["plugin"]]
ALL = [*LOADING, ["classes"]]


@pytest.fixture
def schema(tmp_path):
    """schema("text"): the name of a file with it, in the folder where the command runs."""
    def write(text, name="my.mof"):
        (tmp_path / name).write_bytes(text if isinstance(text, bytes) else text.encode())
        return name
    return write


def kernels_types():
    return {line.split("\t")[1]: line.split("\t")[0] != "nodev"
            for line in Path("/proc/filesystems").read_text(encoding="utf-8").splitlines()}


def test_a_plug_in_publishes_instances_of_its_own_class(run, plugin):
    done = run("get", CLASS, "--plugin", plugin("file_system_types"), "--schema", EXAMPLE)
    assert (done.status, done.stderr) == (0, b"")
    published = done.json["classes"][0]
    assert (published["name"], published["association"]) == (CLASS, False)
    assert {one["properties"]["Name"]: one["properties"]["NeedsDevice"] for one in published["instances"]} == kernels_types()
    assert published["instances"][0]["path"].startswith(f'{CLASS}.Name="')


def test_a_class_above_gives_its_instances_too(run, plugin):
    done = run("get", "CIM_LogicalElement", "--plugin", plugin("file_system_types"), "--schema", EXAMPLE)
    assert done.status == 0, done.stderr
    paths = [one["path"] for one in done.json["classes"][0]["instances"]]
    assert sum(path.startswith(CLASS + ".") for path in paths) == len(kernels_types())


def test_the_other_commands_know_the_class_too(run, plugin):
    traced = run("trace", CLASS, "--plugin", plugin("file_system_types"), "--schema", EXAMPLE)
    assert traced.status == 0 and f'"returns":"{CLASS}"' in traced.text
    assert run("get", CLASS, "--format", "table", "--plugin", plugin("file_system_types"), "--schema",
               EXAMPLE).text.startswith(f"{CLASS} ({len(kernels_types())} instances)\n")


def test_without_the_schema_the_class_is_unknown(run, plugin):
    done = run("get", CLASS, "--plugin", plugin("file_system_types"))
    assert (done.status, done.stdout) == (2, b"")
    assert f'unknown class "{CLASS}"' in done.sentence


def test_classes_shows_what_the_file_declares(run, schema):
    file = schema(GOOD)
    assert "MY_Volume" in run("classes", "--schema", file).text
    details = run("classes", "MY_Volume", "--schema", file, "--json").json
    assert details["superclass"] == "CIM_LogicalDevice"
    own = details["properties"][0]
    assert (own["name"], own["type"], own["declaredIn"], own["description"]) == ("Fill", "uint8", "MY_Volume", "How full.")
    assert run("classes", "--format", "mof", "--schema", file).text == run("classes", "--format", "mof").text + "\n" + GOOD


def test_a_slip_in_the_name_of_a_further_class_is_noticed(run, schema):
    assert "did you mean MY_Volume" in run("classes", "MY_Volum", "--schema", schema(GOOD)).sentence


def test_files_are_taken_in_order_and_may_use_those_before_them(run, schema):
    first, second = schema(GOOD, "a.mof"), schema("class MY_Big : MY_Volume { };", "b.mof")
    assert "MY_Big" in run("classes", "--schema", first, "--schema", second).text
    assert run("classes", "--schema", second, "--schema", first).sentence.startswith(
        'diskmgt: b.mof, line 1: the superclass "MY_Volume" is not declared; ')


@pytest.mark.parametrize("text, wrong", [
    ("class MY_Volume {\n  string Name\n};", 'line 3: expected \';\', found "}"'),
    ("class MY_Volume : CIM_Volume { };", 'line 1: the superclass "CIM_Volume" is not declared'),
    ("\nclass VEXSG_DiskDrive { };", 'line 2: the class "VEXSG_DiskDrive" is already declared'),
    ("class MY_Volume {\n  CIM_Volume REF Of;\n};", 'line 2: the class "CIM_Volume" is not declared'),
    ("class MY_Volume { [Colour] string Name; };", 'line 1: the qualifier "Colour" is not declared'),
    ("class MY_Volume { number Size; };", 'line 1: there is no type "number", and no REF follows it'),
    ("class MY_Volume { uint8 Grow(); };", 'line 1: methods are not supported: "Grow"'),
    ("/* no end", "line 1: the comment that begins here has no end"),
    (b"\x00\xff\x1b[2J", "line 1: the byte 0 has no meaning here"),
])
def test_what_is_wrong_is_said_with_file_and_line(run, schema, text, wrong):
    done = run("classes", "--schema", schema(text))
    assert (done.status, done.stdout) == (2, b"")
    assert done.sentence == f"diskmgt: my.mof, {wrong}; correct the file or name another with --schema"


@pytest.mark.parametrize("command", ALL)
def test_every_command_with_the_option_refuses_a_wrong_file(run, schema, command):
    done = run(*command, "--schema", schema("class"))
    assert (done.status, done.stdout) == (2, b"")
    assert done.sentence.startswith("diskmgt: my.mof, line 1: expected the class's name, found the end of the text; ")


@pytest.mark.parametrize("command", ALL)
def test_every_command_with_the_option_takes_a_good_file(run, schema, command):
    plain, with_file = run(*command), run(*command, "--schema", schema(GOOD))
    assert (with_file.status, with_file.stderr) == (plain.status, plain.stderr)


@pytest.mark.parametrize("command", [["probe", "disk.img"], ["diff", "a", "b"]])
def test_commands_without_a_host_refuse_the_option(run, schema, command):
    for words in ([*command, "--schema", schema(GOOD)], ["--schema", schema(GOOD), *command]):
        done = run(*words)
        assert done.status == 2
        assert "--schema" in done.sentence


@pytest.mark.parametrize("file, reason", [
    ("missing.mof", "cannot read the schema missing.mof: No such file or directory"),
    (".", "cannot read the schema .: Is a directory"),
    ("/dev/zero", "the schema /dev/zero has more than 1 MiB"),
])
def test_a_file_that_cannot_be_read_is_named(run, file, reason):
    for command in (["classes"], ["get", "VEXSG_TapeDrive"]):
        done = run(*command, "--schema", file)
        assert (done.status, done.stdout) == (2, b"")
        assert done.sentence == f"diskmgt: {reason}; name a file of MOF text with --schema"


def test_an_empty_name_is_refused(run):
    assert "--schema needs the name of a file" in run("classes", "--schema", "").sentence


def test_a_file_is_taken_up_to_its_greatest_length(run, schema):
    longest = GOOD + "/" * (2**20 - len(GOOD))
    assert run("classes", "MY_Volume", "--schema", schema(longest)).status == 0
    assert "more than 1 MiB" in run("classes", "MY_Volume", "--schema", schema(longest + "/")).sentence


@pytest.mark.parametrize("text, wrong", [
    ("class A {" + "".join(f"uint8 p{i};" for i in range(60000)) + "};", "line 1: the class has too many properties"),
    ("class A { [Description(\"" + "x" * 500000 + "\")] uint8 p; };" +
     "".join(f"class B{i}:A{{}};" for i in range(30000)), "line 1: the classes have too many texts"),
    ("class " + "x" * 1000000 + " { };", "line 1: a name has more than 255 characters"),
    ("class A { string p = \"" + "x" * 1000000, "line 1: the text that begins here has no closing quote on its line"),
    ("class A { string " + "7" * 1000000, 'line 1: expected the property\'s name, found "' + "7" * 263 + "..."),
], ids=["properties", "texts", "name", "string", "number"])
def test_a_hostile_text_costs_neither_memory_nor_a_long_sentence(schema, tmp_path, text, wrong):
    is_sanitized = any(name in Path(COMMAND).read_bytes() for name in (b"__asan_init", b"__tsan_init"))
    limit = "" if is_sanitized else "ulimit -v 400000 && "  # a sanitizer reserves more addresses than that
    done = subprocess.run(["sh", "-c", limit + "exec \"$@\"", "sh", COMMAND, "classes", "--schema", schema(text)], cwd=tmp_path,
                          env=environment(), capture_output=True, timeout=120, check=False)
    assert (done.returncode, done.stdout) == (2, b"")
    assert done.stderr.decode() == f"diskmgt: my.mof, {wrong}; correct the file or name another with --schema\n"


@pytest.mark.parametrize("command", [["classes", "MY_Volume"], ["tree"], ["get", "VEXSG_TapeDrive"]])
def test_a_text_may_come_through_a_pipe(run, command):
    """As in a shell's --schema <(...): it can be read once, and by the process that does the work."""
    reader, writer = os.pipe()
    with os.fdopen(writer, "wb") as sink:
        sink.write(GOOD.encode())
    done = subprocess.run([COMMAND, *command, "--schema", f"/dev/fd/{reader}"], env=environment(), pass_fds=[reader],
                          capture_output=True, timeout=120, check=False)
    os.close(reader)
    assert b"my.mof" not in done.stderr and b"cannot read the schema" not in done.stderr
    assert done.returncode == run(*command[:1], *(command[1:] if command[0] == "get" else [])).status


def test_a_file_that_never_gives_anything_is_given_up(run, tmp_path):
    os.mkfifo(tmp_path / "pipe")
    for command in (["classes"], ["plugin"]):
        done = run(*command, "--schema", "pipe", "--timeout", "0.2")
        assert done.status == 4
        assert "while reading pipe" in done.sentence


def test_nothing_in_the_text_reaches_a_terminal_unescaped(schema, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    evil = "\x1b[31m\u202e"
    file = schema(f'// {evil}\n[Description("{evil}")] class MY_Volume {{ [Description("{evil}"), ValueMap{{"1"}}, '
                  f'Values{{"{evil}"}}, PUnit("{evil}")] uint8 n; }};\n')
    for command in (["classes", "MY_Volume"], ["classes", "MY_Volume", "--json"], ["classes", "--format", "mof"], ["classes"]):
        status, seen = on_a_terminal(*command, "--schema", file, "--color", "never")
        assert status == 0
        assert b"\x1b" not in seen and "\u202e".encode() not in seen, command
