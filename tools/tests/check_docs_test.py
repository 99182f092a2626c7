"""Every rule of check_docs can fail."""

import unittest

from scratch_tree import ScratchTree

import check_docs

DECISION = "# Title\n\n2026-11-21\n\n## Situation\n\nA.\n\n## Choice\n\nB.\n\n## Cost\n\nC.\n"


class Version(ScratchTree):
    def findings(self, cmake, package, notes):
        self.put("README.md", "# Top\n")
        self.put("CMakeLists.txt", f"project(diskmgt VERSION {cmake} LANGUAGES CXX)\n")
        self.put("debian/changelog", f"diskmgt ({package}; urgency=medium\n")
        self.put("debian/README.md", "# debian\n")
        self.put("CHANGELOG.md", f"# Changes\n\n## {notes}\n\n## 1.0.0\n")
        return [(str(path), line) for path, line, _ in check_docs.check(self.root)]

    def test_one_version_passes_before_and_after_its_release(self):
        self.assertEqual(self.findings("1.1.0", "1.1.0) UNRELEASED", "Unreleased"), [])
        self.assertEqual(self.findings("1.1.0", "1.1.0) unstable", "1.1.0"), [])

    def test_another_version_of_the_packages_is_found(self):
        self.assertEqual(self.findings("1.2.0", "1.1.0) UNRELEASED", "Unreleased"), [("debian/changelog", 1)])

    def test_notes_that_are_released_earlier_or_later_are_found(self):
        for package, notes in (("1.1.0) unstable", "Unreleased"), ("1.1.0) UNRELEASED", "1.1.0"),
                               ("1.1.0) unstable", "1.2.0")):
            with self.subTest(package=package, notes=notes):
                self.assertEqual(self.findings("1.1.0", package, notes), [("CHANGELOG.md", 3)])

    def test_a_version_that_is_nowhere_is_found(self):
        self.assertEqual(self.findings("", "1.1.0) unstable", "1.1.0"), [("CMakeLists.txt", 0)])


class Documents(ScratchTree):
    def setUp(self):
        super().setUp()
        self.put("README.md", "# Top\n")

    def findings(self):
        return [text for _, _, text in check_docs.check(self.root)]

    def test_a_tidy_tree_passes(self):
        self.put("README.md", "# Top\n\nSee [base](base/README.md#what-it-is), [here](#top), [out](https://example.org).\n")
        self.put("base/README.md", "# base\n\n## What it is\n")
        self.put("docs/decisions/0001-a-title.md", DECISION)
        self.assertEqual(self.findings(), [])

    def test_a_folder_without_a_readme_is_found(self):
        self.put("base/a.cpp", "")
        self.assertEqual(len(self.findings()), 1)

    def test_a_tree_without_a_readme_is_found(self):
        (self.root / "README.md").unlink()
        self.assertEqual(len(self.findings()), 1)

    def test_dead_links_are_found(self):
        self.put("README.md", "# Top\n\n[a](gone.md)\n\n[b](#gone)\n")
        self.assertEqual(len(self.findings()), 2)

    def test_a_dead_heading_in_another_document_is_found(self):
        self.put("docs/A.md", "# A\n")
        self.put("README.md", "# Top\n\n[a](docs/A.md#b)\n")
        self.assertEqual(len(self.findings()), 1)

    def test_links_in_code_are_not_followed(self):
        self.put("README.md", "# Top\n\n`[a](gone.md)`\n\n```\n[b](gone.md)\n```\n")
        self.assertEqual(self.findings(), [])

    def test_a_decision_has_number_date_and_parts(self):
        for name, text in (("title.md", DECISION), ("0002-title.md", DECISION),
                           ("0001-title.md", DECISION.replace("2026-11-21\n", "")),
                           ("0001-title.md", DECISION.replace("## Cost", "Cost"))):
            with self.subTest(name=name):
                self.setUp()
                self.put(f"docs/decisions/{name}", text)
                self.assertEqual(len(self.findings()), 1)

    def test_a_command_that_does_not_exist_is_found(self):
        self.put("tools/README.md", "# tools\n\n`tools/dev test`, then `tools/dev dance`, `tools/dev help`\n")
        self.put("tools/dev", "case $1 in\n    test) run ;;\n    help | -h) usage ;;\nesac\n")
        self.assertEqual(self.findings(), ["there is no `tools/dev dance`"])

    def test_an_argument_of_test_that_does_not_exist_is_found(self):
        self.put("tools/dev", "case $1 in\n    test) run ;;\nesac\n")
        self.put("tools/README.md", "# tools\n\n`tools/dev test` and `tools/dev test all`; `tools/dev test asan`\n\n```sh\n"
                                    "tools/dev test   # all\ntools/dev test all   # more\ntools/dev test tsan  # less\n"
                                    "tools/dev test --clang\n```\n\nRun tools/dev test after a change.\n")
        self.assertEqual(self.findings(), [f"there is no `tools/dev test {name}`" for name in ("asan", "tsan", "--clang")])

    def test_a_file_that_is_not_there_is_found(self):
        self.put("tools/README.md", "# tools\n\n`tools/a.py`, `tools/a`, `a.py`, `tools/NAME`, `tools/b.py`, `b.py`, `c/d`\n\n"
                                    "```\ntools/c.py\n```\n")
        self.put("tools/a.py", "")
        self.assertEqual(self.findings(), ["there is no file tools/b.py", "there is no file named b.py"])

    def test_a_path_may_begin_at_the_documents_folder(self):
        self.put("tests/README.md", "# tests\n\n`tests/a.py`, `support/a`, `support/b`, `nowhere/c`\n")
        self.put("tests/tests/a.py", "")
        self.put("tests/support/a.cpp", "")
        self.assertEqual(self.findings(), ["there is no file support/b"])

    def put_command(self):
        self.put("cli/README.md", "# cli\n")
        self.put("cli/command_table.cpp", '        {"get",\n         &runGet,\n')
        self.put("cli/command_line.cpp", 'add("--all"); add("--output");')

    def test_commands_and_options_of_diskmgt_that_do_not_exist_are_found(self):
        self.put_command()
        self.put("README.md", "# Top\n\n`diskmgt get --all`, `diskmgt dance`, `diskmgt get --loud`, `diskmgt --output=x`\n\n"
                              "```console\n# diskmgt get | jq --raw   # diskmgt jumps\ndiskmgt: a sentence\n"
                              "$ sudo build/bin/diskmgt sing\n# tools/dev run hum --all\n```\n")
        self.assertEqual(self.findings(), ["there is no command `diskmgt sing`", "there is no command `diskmgt hum`",
                                           "there is no command `diskmgt dance`", "diskmgt has no option --loud"])

    def test_the_tour_may_show_commands_that_are_wrong(self):
        self.put_command()
        self.put("docs/TOUR.md", "# Tour\n\n```console\n# diskmgt gte --fromat\n```\n")
        self.assertEqual(self.findings(), [])

    def test_a_choice_of_tests_that_matches_none_is_found(self):
        self.put("tests/unit/a_test.cpp", "TEST_F(Parser, ReadsOn) {}\n")
        self.put("tests/cli/test_usage.py", "")
        self.put("tests/README.md", "# tests\n\n`ctest -R Parser`, `ctest -R 'cli.test_usage'`, `ctest --test-dir b -R Walker`\n")
        self.assertEqual(self.findings(), ["no test matches Walker"])

    def test_a_preset_that_does_not_exist_is_found(self):
        self.put("CMakePresets.json", '{"name": "dev"}')
        self.put("README.md", "# Top\n\n```sh\ntools/dev build dev\ntools/dev build fast\n```\n")
        self.assertEqual(self.findings(), ["there is no preset fast"])

    def test_a_list_of_tests_is_complete(self):
        self.put("tests/devices/README.md", "# Devices\n\n`test_a.py`\n")
        self.put("tests/README.md", "# tests\n")
        self.put("tests/devices/test_a.py", "")
        self.assertEqual(self.findings(), [])
        self.put("tests/devices/test_b.py", "")
        self.assertEqual(self.findings(), ["lists the folder's tests, but not test_b.py"])


if __name__ == "__main__":
    unittest.main()
