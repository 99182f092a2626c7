"""Every rule of check_source can fail, and text that only resembles a breach passes."""

import contextlib
import io
import unittest
from pathlib import Path

from scratch_tree import ScratchTree

import check_source
import source_tree


def found(path, content):
    data = content if isinstance(content, bytes) else content.encode()
    return [text for _, text in check_source.check_file(Path(path), data)]


class Code(unittest.TestCase):
    def refused(self, path, line, part):
        texts = found(path, f"// Source.\n#pragma once\n{line}\n")
        self.assertTrue(any(part in text for text in texts), (path, line, texts))

    def accepted(self, path, line):
        self.assertEqual(found(path, f"// Source.\n#pragma once\n{line}\n"), [], (path, line))

    def test_calls_that_run_a_shell_are_refused(self):
        for line in ("system(text);", "::system(text);", "std::system(text);", 'popen (text, "r");'):
            self.refused("cli/a.cpp", line, "runs a shell")
            self.accepted("tests/a.cpp", line)
        for line in ("boost::system::error_code code;", "host.system(text);", "// system(text)", 'f("system(x)");'):
            self.accepted("cli/a.cpp", line)

    def test_calls_that_overrun_their_buffer_are_refused(self):
        for name in ("strcpy", "strcat", "sprintf", "vsprintf", "gets"):
            self.refused("refhost/a.cpp", f"{name}(to, from);", "overruns")
        self.accepted("refhost/a.cpp", "std::snprintf(to, sizeof to, format); fgets(to, 3, file);")

    def test_calls_that_hide_failure_are_refused(self):
        for name in ("strtok", "atoi", "std::atol", "tmpnam"):
            self.refused("cli/a.cpp", f"{name}(text);", "keeps state")

    def test_few_places_change_the_process(self):
        self.refused("collect/a.cpp", 'std::setlocale(LC_ALL, "");', "main")
        self.refused("cli/a.cpp", 'std::setlocale(LC_ALL, "");', "main")
        self.refused("cli/a.cpp", "mallopt(M_ARENA_MAX, 1);", "main")
        self.accepted("cli/main.cpp", 'std::setlocale(LC_ALL, "");')
        self.accepted("serve/process/memory_use.cpp", "mallopt(M_TRIM_THRESHOLD, 1);")

    def test_libraries_do_not_print(self):
        for line in ('printf("x");', 'std::printf("x");', 'puts("x");', "std::cout << 1;", "fputs(text, stdout);"):
            self.refused("refhost/a.cpp", line, "standard output")
            self.refused("collect/a.cpp", line, "standard output")
            self.accepted("cli/a.cpp", line)
        self.accepted("refhost/a.cpp", "std::fputs(text, stderr);")

    def test_raw_new_has_few_homes(self):
        self.refused("provider/a.cpp", "auto* x = new Thing();", "raw new")
        self.refused("cli/a.cpp", "auto* x = new Thing();", "raw new")
        self.accepted("plugin/entry/registration.cpp", "(void)new TDiskMgtCallbacks();")
        self.accepted("plugin/log/log_message.cpp", "pLogMsg = new LogMessage();")
        self.accepted("tests/a.cpp", "auto* x = new Thing();")
        self.accepted("provider/a.cpp", "int renewed = newest; // a new one")
        self.accepted("refhost/a.cpp", "#include <new>\nstatic Kept& kept = *new Kept;")

    def test_raw_delete_has_one_home_and_deleted_functions_are_none(self):
        self.refused("provider/a.cpp", "delete x;", "raw delete")
        self.refused("plugin/entry/registration.cpp", "delete x;", "raw delete")
        self.accepted("plugin/entry/disk_mgt_callbacks.cpp", "delete this;")
        self.accepted("provider/a.h", "A(const A&) = delete;")

    def test_only_one_file_of_the_plug_in_asks_the_kernel(self):
        for line in ("open(path, 0);", "::read(fd, to, 3);", "lseek64(fd, 0, 0);", "ioctl(fd, 1);", "statfs(p, &s);",
                     "readlink(p, b, 3);", "opendir(p);", "setmntent(p, m);", "std::ifstream in(path);",
                     "std::filesystem::exists(path);", 'std::fopen(path, "r");'):
            for folder in ("base", "collect", "provider", "plugin/log"):
                self.refused(f"{folder}/a.cpp", line, "asks the kernel")
            self.accepted("base/os_posix.cpp", line)
            self.accepted("refhost/services/a.cpp", line)
        self.accepted("collect/a.cpp", "os::openFile(path, O_RDONLY); table.open(); reopen(1); struct statfs s;")

    def test_libraries_that_do_our_own_work_are_refused(self):
        self.refused("cli/a.cpp", "#include <blkid/blkid.h>", "only tests may")
        self.refused("collect/a.cpp", "#include <libudev.h>", "only tests may")
        self.refused("collect/a.cpp", "#include <libmount/libmount.h>", "only tests may")
        self.accepted("tests/a.cpp", "#include <blkid/blkid.h>")

    def test_using_namespace_stays_out_of_headers(self):
        self.refused("tests/a.h", "using namespace std;", "using namespace")
        self.accepted("tests/a.cpp", "using namespace std;")

    def test_findings_carry_their_line(self):
        text = '// Source.\n/* two\nlines */ const char* r = R"(system(\n)";\nvoid f() { system(r); }\n'
        self.assertEqual([line for line, _ in check_source.check_file(Path("cli/a.cpp"), text.encode())], [5])


class OwnHeader(unittest.TestCase):
    def found(self, path, text, paths=()):
        return [what for _, what in check_source.check_own_header(Path(path), text, [Path(other) for other in paths])]

    def test_a_product_source_has_a_header_of_its_name(self):
        self.assertEqual(self.found("text/a.cpp", "", ["text/a.h"]), [])
        self.assertIn("has no header a.h", self.found("text/a.cpp", "", ["text/b.h", "base/a.h"])[0])
        self.assertEqual(self.found("tests/unit/a.cpp", ""), [])

    def test_a_source_that_is_named_as_part_of_a_header_includes_it(self):
        for path, header in (("base/os_posix.cpp", "base/os.h"), ("cli/commands/a.cpp", "cli/commands/commands.h")):
            self.assertEqual(self.found(path, f'#include "{header}"\n'), [])
            self.assertIn("does not include it", self.found(path, "")[0])


class Layout(unittest.TestCase):
    def test_a_file_begins_with_what_it_is_for(self):
        self.assertIn("no header comment", found("base/a.cpp", "#include <vector>\n")[0])
        self.assertIn("no header comment", found("tools/a.py", "#!/usr/bin/env python3\nimport sys\n")[0])
        self.assertIn("no header comment", found("tools/a", "#!/bin/bash\nset -e\n")[0])
        self.assertIn("no header comment", found("cli/CMakeLists.txt", "add_executable(a a.cpp)\n")[0])
        self.assertIn("no header comment", found("docs/A.md", "Text.\n")[0])
        self.assertIn("no header comment", found("base/a.cpp", '#include "base/b.h"\n')[0])
        for path, text in (("base/a.cpp", "// A.\n"), ("base/a.cpp", '#include "base/a.h"\n'), ("tools/a.py", '#!/usr/bin/env python3\n"""A."""\n'),
                           ("tools/a", "#!/bin/bash\n# A.\n"), ("docs/A.md", "# A\n"), ("x.cmake", "# A.\n")):
            self.assertEqual(found(path, text), [], path)

    def test_a_header_is_included_once(self):
        self.assertIn("without #pragma once", found("base/a.h", "// A.\n// #pragma once\n")[0])

    def test_tabs_blanks_and_line_ends_are_refused(self):
        self.assertEqual(found("base/a.cpp", "// A.\n\tint a;\n"), ["a tab"])
        self.assertEqual(found("base/a.cpp", "// A.\nint a; \n"), ["trailing blanks"])
        self.assertEqual(found("base/a.cpp", "// A.\nint a;\r\n"), ["a carriage return"])
        self.assertEqual(found("base/a.cpp", "// A.\nint a;"), ["no line end at the end of the file"])
        self.assertEqual(found("tests/machines/a/mtab.txt", "a\tb \n"), [])

    def test_leftovers_are_refused(self):
        for word in ("TO" + "DO", "FIX" + "ME", "XX" + "X"):
            self.assertEqual(found("docs/A.md", f"# A\n{word}: more\n"), ["unfinished work is written down elsewhere"])
        self.assertEqual(found("cli/a.cpp", '// A.\nchar name[] = "/tmp/a.XXXXXX";\n'), [])

    def test_paths_of_a_machine_are_refused(self):
        for path in ("/home" + "/ada/x", "/root" + "/x", "/Users" + "/ada", "/work" + "space/x", "/work" + "/x"):
            self.assertEqual(found("docs/A.md", f"# A\nSee {path}.\n"), ["a path of one machine"], path)
        self.assertEqual(found("docs/A.md", "# A\nMounted on /home, below $D/home/x, in https://a.org/home/x.\n"), [])

    def test_citations_are_refused(self):
        for text in ("as re" + "quired by it", "see issue" + " #12", "ticket" + " 7"):
            self.assertEqual(len(found("docs/A.md", f"# A\n{text}\n")), 1, text)

    def test_text_is_utf_8(self):
        self.assertEqual(found("docs/A.md", b"# A\n\xff\n"), ["not UTF-8"])


class Kinds(ScratchTree):
    def test_stray_files_are_refused(self):
        for path in ("base/a.o", "base/a.cpp.orig", "base/a.cpp~", "a.swp", "core", "base/script"):
            self.assertIn("a stray file", found(path, "x\n")[0], path)
        self.assertEqual(found("tools/script", "#!/bin/bash\n# A.\n"), [])

    def test_files_for_debians_tools_go_by_their_names(self):
        for path in ("debian/control", "debian/a-package.install", "debian/source/format", "debian/tests/control"):
            self.assertEqual(found(path, "x\n"), [], path)
        self.assertIn("a stray file", found("debian/postinst.old", "x\n")[0])
        self.assertEqual(found("debian/rules", "#!/usr/bin/make -f\n# A.\nall:\n\tcommand\n"), [])
        self.assertEqual(found("debian/rules", "#!/usr/bin/make -f\n# A.\nall:\n  a\tb\n"), ["a tab"])

    def test_binary_files_are_refused_but_for_fuzz_inputs(self):
        self.assertIn("a binary file", found("tests/a.txt", b"a\0b")[0])
        self.assertEqual(found("fuzz/seeds/mbr/0a1b", b"a\0b\t \xff"), [])
        self.assertIn("more than", found("fuzz/seeds/mbr/0a1b", b"\0" * (check_source.RAW_LIMIT + 1))[0])

    def run_main(self):
        out = io.StringIO()
        with contextlib.redirect_stderr(out):
            status = check_source.main(self.root)
        return status, out.getvalue()

    def test_a_link_is_a_stray_file(self):
        self.put("base/a.cpp", "// A.\n")
        (self.root / "base" / "b.cpp").symlink_to("a.cpp")
        self.assertEqual(self.run_main()[0], 1)

    def test_a_long_file_is_named_but_is_no_failure(self):
        self.put("tests/a.cpp", "// A.\n" * (check_source.MAX_LINES + 1))
        status, text = self.run_main()
        self.assertEqual(status, 0)
        self.assertIn("tests/a.cpp: note", text)

    def test_build_trees_are_not_looked_at(self):
        self.put("build/dev/a.o", b"\0")
        self.put("tests/a.cpp", "// A.\n")
        self.assertEqual(self.run_main(), (0, ""))

    def test_a_finding_fails_and_says_where(self):
        self.put("base/a.cpp", "// A.\nvoid f() { delete g(); }\n")
        status, text = self.run_main()
        self.assertEqual(status, 1)
        self.assertIn("base/a.cpp:2: raw delete", text)


class Blanking(unittest.TestCase):
    def test_comments_and_strings_go_and_places_stay(self):
        text = 'a("x//y"); // c\nb(\'"\'); /* "\n*/ c(R"q(")" )q"); d(1\'000);\n'
        bare = source_tree.blank(text)
        self.assertEqual(len(bare), len(text))
        self.assertEqual(bare.count("\n"), text.count("\n"))
        self.assertEqual(bare.split(), ["a(", ");", "b(", ");", "c(", ");", "d(1'000);"])


if __name__ == "__main__":
    unittest.main()
