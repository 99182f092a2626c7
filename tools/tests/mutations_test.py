"""Each kind of change is found where it is one, and nowhere else."""

import unittest

import scratch_tree  # noqa: F401  puts the tools onto the path

import mutations


def changes(code, kind=None):
    return [mutant.change for mutant in mutations.find("a.cpp", code) if kind in (None, mutant.kind)]


def applied(code, kind):
    return [mutant.applied_to(code) for mutant in mutations.find("a.cpp", code) if mutant.kind == kind]


class Changes(unittest.TestCase):
    def test_comparisons_are_turned_and_moved_by_one(self):
        self.assertEqual(applied("x = a < b;", "comparison"), ["x = a <= b;", "x = a >= b;"])
        self.assertEqual(applied("x = a == b;", "comparison"), ["x = a != b;"])

    def test_template_brackets_shifts_and_arrows_are_no_comparisons(self):
        self.assertEqual(changes("std::vector<int> all; out << all; p->x(); a <<= b;", "comparison"), [])

    def test_numbers_grow_and_shrink_by_one_and_never_below_zero(self):
        self.assertEqual(applied("x = 0x10U;", "number"), ["x = 0x11U;", "x = 0xfU;"])
        self.assertEqual(applied("x = 0;", "number"), ["x = 1;"])

    def test_digits_of_names_and_fractions_are_no_numbers(self):
        self.assertEqual(changes("x2 = int32_t(y); z = 1.5;", "number"), [])

    def test_conditions_are_negated_unless_they_declare(self):
        self.assertEqual(applied("if (a(b) && c) d();", "condition"), ["if (!(a(b) && c)) d();"])
        self.assertEqual(changes("while (const char* name = next()) d();", "condition"), [])

    def test_a_choice_takes_only_one_side(self):
        self.assertEqual(applied("x = a ? b : c;", "choice"), ["x = a && false ? b : c;", "x = a || true ? b : c;"])

    def test_truth_logic_and_steps_are_turned(self):
        self.assertEqual(applied("x = true;", "truth"), ["x = false;"])
        self.assertEqual(applied("x = a && b;", "logic"), ["x = a || b;"])
        self.assertEqual(applied("++x;", "step"), ["--x;"])

    def test_texts_become_each_other_and_longer(self):
        self.assertEqual(applied('f("a"); g("b");', "text"),
                         ['f("ax"); g("b");', 'f("b"); g("b");', 'f("a"); g("a");', 'f("a"); g("bx");'])

    def test_comments_preprocessor_and_assertions_of_the_compiler_stay(self):
        self.assertEqual(changes('// a < b "text" 1\n#include "a.h"\n/* x = 1; */ static_assert(1 < 2);\n'), [])


class Statements(unittest.TestCase):
    def dropped(self, code):
        return [mutant.before for mutant in mutations.find("a.cpp", code) if mutant.kind == "dropped"]

    def test_calls_assignments_and_jumps_can_be_dropped(self):
        code = "void f() {\n    call(1, [] { return 2; });\n    x = y;\n    for (;;) {\n        break;\n    }\n}\n"
        self.assertEqual(self.dropped(code), ["call(1, [] { return 2; });", "x = y;", "break;"])

    def test_what_hangs_on_a_condition_can_be_dropped(self):
        self.assertEqual(self.dropped("int f() {\n    if (g(1)) return 2;\n    else h();\n    return 3;\n}\n"),
                         ["return 2;", "h();"])

    def test_declarations_and_the_last_return_of_a_function_stay(self):
        self.assertEqual(self.dropped("int f() {\n    const int x = 1;\n    std::string name(text);\n"
                                      "    Type* const y = g();\n    return x;\n}\nint g() { return 1; }\n"), [])

    def test_the_return_of_a_handler_can_be_dropped(self):
        self.assertEqual(self.dropped("bool f() {\n    try {\n        g();\n    } catch (...) {\n        return true;\n"
                                      "    }\n    return false;\n}\n"), ["g();", "return true;"])


class Names(unittest.TestCase):
    def test_key_stays_when_lines_are_added_above(self):
        one, = [m for m in mutations.find("a.cpp", "x = true;") if m.kind == "truth"]
        other, = [m for m in mutations.find("a.cpp", "\n\n  x = true;") if m.kind == "truth"]
        self.assertEqual((one.key, one.line, other.line), (other.key, 1, 3))

    def test_no_two_changes_have_one_key(self):
        keys = [m.key for m in mutations.find("a.cpp", "f(true, true);\nx = 2;\nf(true, true);\n")]
        self.assertEqual(len(keys), len(set(keys)))
        self.assertIn("a.cpp | f(true, true); | truth: `true` becomes `false` | 3 of 4", keys)
        self.assertIn("a.cpp | x = 2; | number: `2` becomes `3`", keys)

    def test_changes_come_in_the_order_of_their_places(self):
        begins = [mutant.begin for mutant in mutations.find("a.cpp", 'if (a < 1) f("x"); else g(2, true);')]
        self.assertEqual(begins, sorted(begins))


if __name__ == "__main__":
    unittest.main()
