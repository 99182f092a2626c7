"""Every rule of check_docs can fail."""

import unittest

from scratch_tree import ScratchTree

import check_docs

DECISION = "# Title\n\n2026-11-21\n\n## Situation\n\nA.\n\n## Choice\n\nB.\n\n## Cost\n\nC.\n"


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


if __name__ == "__main__":
    unittest.main()
