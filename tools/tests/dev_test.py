"""The script does what its help and the documents say."""

import re
import subprocess
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
SCRIPT = (ROOT / "tools/dev").read_text(encoding="utf-8")
TESTING = (ROOT / "docs/TESTING.md").read_text(encoding="utf-8")


def call(*arguments):
    return subprocess.run([ROOT / "tools/dev", *arguments], capture_output=True, text=True, timeout=60, check=False,
                          stdin=subprocess.DEVNULL)


def body_of(function):
    return re.search(rf"^{function}\(\) \{{\n(.*?)^\}}", SCRIPT, re.MULTILINE | re.DOTALL).group(1)


def suites(text):
    return re.findall(r"^ *suite ([a-z]+)", text, re.MULTILINE)


def packages(purpose):
    listed = re.search(rf"^        {purpose}\) echo (.*?);;$", SCRIPT, re.MULTILINE | re.DOTALL)
    return listed.group(1).replace("\\\n", " ").split()


class Test(unittest.TestCase):
    def test_a_wrong_argument_is_refused_before_anything_is_done(self):
        for arguments in (["some"], ["all", "of", "it"], ["--all"], [""]):
            with self.subTest(arguments=arguments):
                done = call("test", *arguments)
                self.assertEqual((done.returncode, done.stdout, done.stderr),
                                 (2, "", "tools/dev: test takes no argument but all\n"))

    def test_without_an_argument_only_the_first_suite_runs(self):
        unconditional = re.sub(r"^    if [^\n]*then$.*?^    fi$", "", body_of("run_tests"), flags=re.MULTILINE | re.DOTALL)
        self.assertEqual(suites(unconditional), ["dev"])

    def test_the_document_lists_the_suites(self):
        self.assertEqual(re.findall(r"^\| `([a-z]+)` \|", TESTING, re.MULTILINE), suites(body_of("run_tests")))

    def test_the_document_lists_the_rows_of_the_matrix(self):
        section = re.search(r"^## The matrix$(.*?)^## ", TESTING, re.MULTILINE | re.DOTALL).group(1)
        cells = re.findall(r"^\|[^|]*\|([^|]*)\|", section, re.MULTILINE)
        listed = re.findall("`(.*?)`", " ".join(cells))
        rows = re.search(r"^all=\((.*)\)$", (ROOT / "tools/matrix").read_text(encoding="utf-8"), re.MULTILINE).group(1)
        self.assertEqual(listed, rows.split())
        for row in listed:
            self.assertRegex(call("help").stdout, rf"\b{row}\b")

    def test_the_guests_run_alone_and_with_all_suites(self):
        self.assertIn("but_guests=(-LE '^vm$')", body_of("run_tests"))
        self.assertIn("suite dev -L '^vm$'", body_of("run_guests"))

    def test_the_second_compiler_comes_with_the_command_that_needs_it(self):
        self.assertEqual([purpose for purpose in ("run", "test", "test_all", "check") if "clang" in packages(purpose)],
                         ["test_all", "check"])

    def test_the_packages_build_with_what_running_and_the_endpoint_need(self):
        """The first of several alternatives; the compiler comes with the tools that make packages."""
        control = (ROOT / "debian/control").read_text(encoding="utf-8")
        listed = re.search(r"^Build-Depends:\n((?: .*\n)+)", control, re.MULTILINE).group(1)
        wanted = {re.match(r" ([^ ,]+)", line).group(1) for line in listed.splitlines()} - {"debhelper-compat"}
        newest = re.search(r"echo (1\.\d+)\n\}", SCRIPT).group(1)
        needed = {name.strip('"').replace("$boost", newest) for name in packages("run") + packages("serve")} - {"g++", "${older_boost[@]}"}
        self.assertEqual(wanted, needed)
        self.assertIn("debhelper", packages("package"))
        for purpose in ("test", "package"):
            self.assertEqual(packages(purpose)[:2], ["$(packages_for", "serve)"])

    def test_the_build_server_runs_the_checks_and_last_every_suite(self):
        lines = (ROOT / ".ci/run").read_text(encoding="utf-8").splitlines()
        self.assertEqual([line for line in lines if line.startswith("tools/dev")],
                         ["tools/dev check", "tools/dev test all"])
        self.assertEqual(lines[-1], "tools/dev test all")


class Help(unittest.TestCase):
    def test_every_command_is_listed(self):
        commands = re.search(r"^case \$command in\n(.*)^esac", SCRIPT, re.MULTILINE | re.DOTALL).group(1)
        listed = set(re.findall(r"^  ([a-z]+)\b", call("help").stdout, re.MULTILINE))
        self.assertEqual(listed, set(re.findall(r"^    ([a-z]+)\)", commands, re.MULTILINE)))

    def test_no_or_an_unknown_command_ends_with_2(self):
        self.assertEqual((call().returncode, call("dance").returncode, call("dance").stdout), (2, 2, ""))


if __name__ == "__main__":
    unittest.main()
