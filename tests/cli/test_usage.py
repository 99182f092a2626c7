"""What the command line accepts, and what it says to the rest."""
import pytest

COMMANDS = ["tree", "get", "probe", "explain", "export", "diff", "classes", "plugin", "trace"]


@pytest.mark.parametrize("command", [[], *([name] for name in COMMANDS)])
@pytest.mark.parametrize("flag", ["--help", "-h"])
def test_help_goes_to_standard_output(run, command, flag):
    done = run(*command, flag)
    assert (done.status, done.stderr) == (0, b"")
    assert "Usage: diskmgt " + " ".join(command) in done.text
    assert "Examples:" in done.text


@pytest.mark.parametrize("command", [[], *([name] for name in COMMANDS)])
def test_help_fits_a_terminal(run, command):
    lines = run(*command, "--help").text.split("\n")
    for line in lines[:lines.index("Examples:")]:
        assert len(line) <= 80 and line == line.rstrip()
    assert lines[-1] == "" != lines[-2]


@pytest.mark.parametrize("command, operands", [
    ("tree", " [DEVICE...]"), ("get", " [CLASS...]"), ("probe", " FILE..."), ("explain", " [DEVICE...]"), ("export", " FORMAT"),
    ("diff", " OLD NEW"), ("classes", " [CLASS]"), ("plugin", ""), ("trace", " CLASS...")])
def test_help_says_how_many_operands_there_may_be(run, command, operands):
    assert f"\nUsage: diskmgt {command} [OPTIONS]{operands}\n" in run(command, "--help").text


def test_general_help_lists_every_command(run):
    listed = run("--help").text
    for name in COMMANDS:
        assert f"\n  {name} " in listed


@pytest.mark.parametrize("command", [[], ["get"], ["plugin"]])
def test_version(run, command):
    done = run(*command, "--version")
    assert done.status == 0
    assert done.stdout == b"diskmgt 1.1.0\n"


@pytest.mark.parametrize("name", ["forest", "Get", "", "x" * 5000])
def test_unknown_command_names_the_known_ones(run, name):
    done = run(name)
    assert (done.status, done.stdout) == (2, b"")
    assert all(known in done.sentence for known in COMMANDS)


def test_unknown_command_names_the_nearest(run):
    assert "did you mean probe?" in run("prob", "disk.img").sentence
    assert "did you mean" not in run("forest").sentence
    assert run("forest").sentence.endswith('; see "diskmgt --help"')


@pytest.mark.parametrize(("words", "same"), [
    (["help"], ["--help"]), (["help", "tree"], ["tree", "--help"]), (["version"], ["--version"]), (["-V"], ["--version"]),
    (["classes", "-J"], ["classes", "--format", "json"]), (["--json", "classes"], ["classes", "--format", "json"]),
])
def test_first_words_mean_what_they_say(run, words, same):
    assert (run(*words).status, run(*words).text) == (0, run(*same).text)


def test_export_takes_its_form_as_an_option_too(run, plugin):
    for words in (["--format", "mof"], ["mof", "--format", "mof"]):
        assert run("export", *words, "--plugin", plugin("publishing")).text.startswith(
            run("classes", "--format", "mof").text[:200])
    assert run("export", "-J", "--plugin", plugin("publishing")).json["diskmgt"]["schema"] == 1


def test_help_of_an_unknown_command_names_the_nearest(run):
    assert "did you mean tree?" in run("help", "tre").sentence


def test_a_word_that_is_neither_command_nor_device_is_said_to_be_neither(run):
    assert 'unknown command "forest", and no device has that name; the commands are' in run("forest").sentence
    assert "no device" not in run("help", "forest").sentence
    assert "no device" not in run("tre").sentence


def test_two_dashes_end_the_options_also_without_a_command(run, plugin):
    same = ["--columns", "type", "--plugin", plugin("publishing")]
    assert run(*same, "--", "/").stdout == run("tree", *same, "/").stdout
    assert run(*same, "--").stdout == run(*same).stdout
    for word in ("--all", "tree"):
        done = run("--", word)
        assert done.status == 2 and f'nothing here is named "{word}"' in done.sentence


@pytest.mark.parametrize("arguments", [["forest", "--help"], ["forest", "--all"], ["--timeout", "5", "forest"]])
def test_unknown_command_is_refused_with_any_words_around_it(run, arguments):
    done = run(*arguments)
    assert (done.status, done.stdout) == (2, b"")
    assert 'unknown command "forest"' in done.sentence


@pytest.mark.parametrize("arguments, complaint", [
    (["--bogus"], 'unknown option "--bogus"'),
    (["--exact"], 'unknown option "--exact"'),
    (["get", "VEXSG_DiskDrive", "--bogus"], 'unknown option "--bogus"'),
    (["probe"], "probe needs at least one FILE"),
    (["trace"], "trace needs at least one CLASS"),
    (["plugin", "extra"], 'plugin takes no argument "extra"'),
    (["classes", "VEXSG_DiskDrive", "extra"], 'classes takes one CLASS; "extra" is one too many; see'),
    (["export", "json", "mof"],
     'export takes one format: json, prometheus, mof or html; "mof" is one too many; see'),
    (["export"], "export takes one format: json, prometheus, mof or html; see"),
    (["diff", "monday.json", "tuesday.json", "extra"],
     'diff compares two documents, OLD and NEW; "extra" is one too many; see'),
    (["diff", "monday.json"], "diff compares two documents, OLD and NEW; see"),
    (["diff"], "diff compares two documents, OLD and NEW; see"),
    (["probe", "disk.img", "--exact"], 'unknown option "--exact"'),
    (["get", "VEXSG_DiskDrive", "--timeout"], "get: --timeout needs a value; see"),
    (["--output"], "--output needs a value; see"),
    (["plugin", "--virtual-device"], "plugin: --virtual-device needs a value; see"),
    (["get", "VEXSG_DiskDrive", "--timeout", "-1"], "--timeout takes a number of seconds"),
    (["get", "VEXSG_DiskDrive", "--timeout", "soon"], "--timeout takes a number of seconds"),
    (["get", "VEXSG_DiskDrive", "--timeout", "nan"], "--timeout takes a number of seconds"),
    (["get", "VEXSG_DiskDrive", "--timeout", "5s"], "--timeout takes a number of seconds"),
    (["get", "VEXSG_DiskDrive", "--timeout", ""], "--timeout takes a number of seconds"),
    (["get", "VEXSG_DiskDrive", "--timeout", "1e300"], "--timeout takes a number of seconds"),
    (["get", "VEXSG_DiskDrive", "--log-level", "loud"], "--log-level takes error, warning, status, debug, verbose"),
    (["get", "VEXSG_DiskDrive", "--color", "blue"], "--color takes auto, always or never"),
    (["get", "VEXSG_DiskDrive", "--format", "JSON"], "--format takes json, table, csv or mof"),
    (["classes", "--format", "csv"], "--format takes table, json or mof"),
    (["classes", "VEXSG_DiskDrive", "--format", "mof"], "--format mof prints the whole schema"),
    (["plugin", "--format", "csv"], "--format takes table or json"),
    (["probe", "disk.img", "--format", "table"], "--format takes json"),
    (["trace", "VEXSG_DiskDrive", "--format", "csv"], "--format takes json"),
    (["--format", "csv", "trace", "VEXSG_DiskDrive"], "--format takes json"),
    (["--format", "csv"], "--format takes table or json"),
    (["tree", "--format", "csv"], "--format takes table or json"),
    (["tree", "extra"], 'nothing here is named "extra": no device, mount or path'),
    (["tree", "/dev/extra"], 'nothing here is named "/dev/extra": no device, mount or path'),
    (["/dev/extra"], 'nothing here is named "/dev/extra": no device, mount or path'),
    (["tree", ""], "tree takes the name of a DEVICE, not an empty text"),
    (["tree", "--columns", "name,sise"], 'tree has no column "sise", did you mean size?; the columns are: name, size'),
    (["--columns", "+"], 'tree has no column ""'),
    (["tree", "--columns", "size", "--format", "json"], "--columns needs --format table"),
    (["tree", "--cim", "--format", "json"], "--cim needs --format table"),
    (["tree", "--cim", "sda"], "--cim shows all that is published"),
    (["--cim", "plugin"], "plugin has no --cim"),
    (["--columns", "size", "plugin"], "plugin has no --columns"),
    (["--format", "mof", "export", "json"], "export writes one form, not json and mof"),
    (["--json", "--format", "table", "tree"], "--json and --format table contradict each other"),
    (["--json", "export", "mof"], "export writes one form, not mof and json"),
    (["--all", "get", "VEXSG_DiskDrive"], "get has no --all"),
    (["--bytes", "plugin"], "plugin has no --bytes"),
    *(([name, *operands, option, "x"], f'unknown option "{option}"')
      for name, *operands in (["probe", "disk.img"], ["diff", "a", "b"], ["classes"])
      for option in ("--plugin", "--log-level", "--virtual-device")),
    (["--plugin", "x", "probe", "disk.img"], "probe has no --plugin"),
    (["--log-level", "debug", "diff", "a", "b"], "diff has no --log-level"),
    (["--virtual-device", "x", "classes"], "classes has no --virtual-device"),
    (["trace", "VEXSG_DiskDrive", "--csv-safe"], 'unknown option "--csv-safe"'),
    (["get", "VEXSG_DiskDrive", "--csv-safe"], "--csv-safe needs --format csv"),
    (["get", "VEXSG_DiskDrive", "--format", "table", "--csv-safe"], "--csv-safe needs --format csv"),
    (["explain", ""], "explain takes the name of a DEVICE, not an empty text"),
    (["get", "VEXSG_DiskDrive", "--output", ""], "--output needs the name of a file"),
    (["get", "VEXSG_DiskDrive", "--plugin", ""], "--plugin needs the name of a file"),
])
def test_wrong_usage_is_one_sentence(run, arguments, complaint):
    done = run(*arguments)
    assert (done.status, done.stdout) == (2, b"")
    assert complaint in done.sentence


@pytest.mark.parametrize("arguments, offered", [
    (["get", "VEXSG_DiskDrive", "--fromat", "csv"], "did you mean --format?"),
    (["get", "VEXSG_DiskDrive", "--fromat=csv"], "did you mean --format?"),
    (["--otuput", "disks.json"], "did you mean --output?"),
    (["plugin", "--Plugin"], "did you mean --plugin?"),
    (["trace", "VEXSG_DiskDrive", "--exat"], "did you mean --exact?"),
    (["classes", "-format", "json"], "did you mean --format?"),
    (["get", "VEXSG_DiskDrive", "--device"], "did you mean --virtual-device?"),
])
def test_a_slip_of_an_option_names_the_nearest(run, arguments, offered):
    done = run(*arguments)
    assert (done.status, done.stdout) == (2, b"")
    assert offered in done.sentence and "unknown option" in done.sentence


@pytest.mark.parametrize("arguments", [
    ["--bogus"], ["-x"], ["---"], ["--=json"], ["probe", "disk.img", "--exact"], ["plugin", "--" + "y" * 4000]])
def test_an_option_far_from_all_of_the_command_names_none(run, arguments):
    done = run(*arguments)
    assert done.status == 2
    assert "did you mean" not in done.sentence


def test_last_of_repeated_options_counts(run, plugin):
    done = run("get", "VEXSG_DiskDrive", "--plugin", "missing", "--plugin", plugin("publishing"),
               "--format", "csv", "--format", "json")
    assert done.status == 0
    assert len(done.json["classes"][0]["instances"]) == 2


def test_options_may_stand_before_the_command(run, plugin):
    done = run("--plugin", plugin("publishing"), "--format", "json", "get", "VEXSG_DiskDrive")
    assert done.status == 0
    assert done.json["classes"][0]["name"] == "VEXSG_DiskDrive"


def test_without_a_command_it_is_the_tree(run, plugin):
    done = run("--cim", "--plugin", plugin("publishing"))
    assert done.status == 0
    assert done.text.startswith("Name ")
    assert done.stdout == run("tree", "--cim", "--plugin", plugin("publishing")).stdout


def test_options_of_the_tree_may_stand_before_it(run, plugin):
    done = run("--bytes", "tree", "--plugin", plugin("publishing"))
    assert (done.status, str(2**64 - 1) in done.text) == (0, True)


def test_a_path_in_the_place_of_a_command_is_shown_with_its_disks(run, plugin):
    done = run("/", "--columns", "type", "--plugin", plugin("publishing"))
    assert (done.status, done.stderr) == (0, b"")
    assert done.stdout == run("tree", "--plugin", plugin("publishing"), "--columns", "type", "/").stdout
    assert done.text.splitlines()[-1].split()[0] in ("/", "└─/") or "└─/ " in done.text


def test_control_characters_in_arguments_do_not_reach_the_terminal(run):
    done = run("get", "VEXSG_\033[31m\nDisk")
    assert done.status == 2
    assert "\\x1b[31m\\x0aDisk" in done.sentence
