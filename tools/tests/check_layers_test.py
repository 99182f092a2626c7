"""Every rule of check_layers can fail, and what is allowed passes."""

import unittest

from scratch_tree import ScratchTree

import check_layers

ROWS = check_layers.read_table(check_layers.TABLE)


class Layers(ScratchTree):
    def findings(self):
        return [f"{where}: {text}" for where, _, text in check_layers.check(self.root, ROWS)]

    def include(self, source, included):
        """The complaints about one source that includes one existing header."""
        self.put(included, "// Header.\n#pragma once\n")
        self.put(source, f'// Source.\n#include "{included}"\n')
        return self.findings()

    def test_the_table_is_complete_and_without_circles(self):
        self.assertEqual(check_layers.table_errors(ROWS), [])

    def test_every_pair_that_the_table_allows_passes_and_every_other_fails(self):
        for source, allowed in ROWS.items():
            for target in ROWS:
                with self.subTest(source=source, target=target):
                    self.setUp()
                    found = self.include(f"{source}/user.cpp", f"{target}/used.h")
                    passes = source == target or target in allowed or check_layers.ANYTHING in allowed
                    self.assertEqual(found == [], passes, found)

    def test_a_subfolder_follows_the_rules_of_its_folder(self):
        self.assertEqual(self.include("formats/page/a.cpp", "formats/b.h"), [])
        self.assertIn("formats may not include collect", self.include("formats/page/a.cpp", "collect/a.h")[0])

    def test_a_subfolder_with_a_row_of_its_own_is_a_room(self):
        self.assertEqual(self.include("refhost/model/a.cpp", "refhost/value/b.h"), [])
        self.assertIn("refhost/value may not include refhost/model", self.include("refhost/value/a.cpp", "refhost/model/b.h")[0])

    def test_the_formats_know_nothing_but_bytes(self):
        self.assertEqual(self.include("collect/partition_format.cpp", "base/byte_view.h"), [])
        self.assertIn("may include no project header", self.include("collect/partition_format.h", "base/text.h")[0])

    def test_a_file_in_an_unknown_folder_is_an_error(self):
        self.put("helpers/a.cpp", "// Source.\n")
        self.assertIn("a folder that the table does not know", self.findings()[0])

    def test_a_file_at_the_top_is_an_error(self):
        self.put("a.cpp", "// Source.\n")
        self.assertIn("a folder that the table does not know", self.findings()[0])

    def test_a_header_that_does_not_exist_is_an_error(self):
        self.put("base/a.cpp", '// Source.\n#include "base/gone.h"\n')
        self.assertIn("no header of the project", self.findings()[0])

    def test_a_path_relative_to_the_including_file_is_an_error(self):
        self.put("base/used.h", "// Header.\n")
        self.put("base/a.cpp", '// Source.\n#include "used.h"\n')
        self.assertIn("no header of the project", self.findings()[0])

    def test_tests_may_include_their_neighbours_by_name(self):
        self.put("tests/unit/used.h", "// Header.\n")
        self.put("tests/unit/a.cpp", '// Source.\n#include "used.h"\n')
        self.put("tests/unit/b.cpp", '// Source.\n#include "gone.h"\n')
        self.assertEqual(len(self.findings()), 1)

    def test_a_project_header_in_angle_brackets_is_an_error(self):
        self.put("base/used.h", "// Header.\n")
        self.put("base/a.cpp", "// Source.\n#include <base/used.h>\n#include <vector>\n")
        self.assertEqual(len(self.findings()), 1)

    def test_an_include_in_a_comment_does_not_count(self):
        self.put("base/a.cpp", '// #include "collect/a.h"\n/*\n#include "collect/b.h"\n*/\n')
        self.assertEqual(self.findings(), [])

    def test_spaces_do_not_hide_an_include(self):
        self.put("collect/a.h", "// Header.\n")
        self.put("base/a.cpp", '// Source.\n  #  include "collect/a.h"\n')
        self.assertIn("base may not include collect", self.findings()[0])

    def test_a_circle_in_the_table_is_an_error(self):
        rows = {"a": {"b"}, "b": {"c"}, "c": {"a"}}
        self.assertTrue(check_layers.table_errors(rows))

    def test_an_unknown_name_in_the_table_is_an_error(self):
        self.assertTrue(check_layers.table_errors({"a": {"b"}}))


if __name__ == "__main__":
    unittest.main()
