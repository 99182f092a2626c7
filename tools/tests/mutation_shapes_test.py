"""Changes that take more than one place: each is found where it is one, and nowhere else."""

import unittest

import scratch_tree  # noqa: F401  puts the tools onto the path

import mutations


def applied(code, kind):
    return [mutant.applied_to(code) for mutant in mutations.find("a.cpp", code) if mutant.kind == kind]


class Swapped(unittest.TestCase):
    def test_neighbours_in_a_block_change_places(self):
        self.assertEqual(applied("{ log(a); collect(b); x = 1; }", "swapped"),
                         ["{ collect(b); log(a); x = 1; }", "{ log(a); x = 1; collect(b); }"])

    def test_loops_and_conditions_are_whole_statements(self):
        self.assertEqual(applied("{ log(a); for (int i : all) use(i); }", "swapped"),
                         ["{ for (int i : all) use(i); log(a); }"])
        self.assertEqual(applied("{ if (a) b(); else { c(); } d(); }", "swapped"),
                         ["{ d(); if (a) b(); else { c(); } }"])

    def test_a_declaration_is_a_neighbour_but_two_of_them_are_none(self):
        self.assertEqual(applied("{ const int x = f(); log(a); }", "swapped"), ["{ log(a); const int x = f(); }"])
        self.assertEqual(applied("{ const int x = f(); std::string y(text); }", "swapped"), [])
        self.assertEqual(applied("{ char page[4]; ssize_t got = 0; }", "swapped"), [])

    def test_jumps_and_equal_neighbours_stay(self):
        self.assertEqual(applied("{ log(a); return b; }", "swapped"), [])
        self.assertEqual(applied("{ f(); f(); }", "swapped"), [])

    def test_braces_of_values_hold_no_statements(self):
        self.assertEqual(applied("x = {1, 2}; g({a(), b()});", "swapped"), [])

    def test_semicolons_in_texts_end_nothing(self):
        self.assertEqual(applied('{ f("a;b"); g(); }', "swapped"), ['{ g(); f("a;b"); }'])


class Argument(unittest.TestCase):
    def test_neighbours_change_places(self):
        self.assertEqual(applied("f(a, b, c);", "argument"), ["f(b, a, c);", "f(a, c, b);"])

    def test_texts_templates_and_calls_within_are_whole_arguments(self):
        self.assertEqual(applied('f("a, b", g<int, char>(x));', "argument"), ['f(g<int, char>(x), "a, b");'])

    def test_calls_within_calls_have_neighbours_of_their_own(self):
        self.assertEqual(applied("f(g(a, b), c);", "argument"), ["f(c, g(a, b));", "f(g(b, a), c);"])

    def test_equal_ones_and_parameters_stay(self):
        self.assertEqual(applied("f(a, a);", "argument"), [])
        self.assertEqual(applied("int f(int a, const std::string& b) { return a; }", "argument"), [])
        self.assertEqual(applied("call([](int a, char* b) { return a; });", "argument"), [])

    def test_conditions_have_no_arguments(self):
        self.assertEqual(applied("for (int a = 0, b = 1; a < b; ++a) x();", "argument"), [])


class Bound(unittest.TestCase):
    def test_the_lesser_and_the_larger_of_two_become_either(self):
        self.assertEqual(applied("x = std::min(a + 1, b);", "bound"), ["x = (a + 1);", "x = (b);"])
        self.assertEqual(applied("x = std::max<int>(a, b);", "bound"), ["x = (a);", "x = (b);"])
        self.assertEqual(applied("x = other::min(a, b);", "bound"), [])
        self.assertEqual(applied("x = std::min(a + 1, b);", "argument"), [])


class Loop(unittest.TestCase):
    def test_an_end_is_left_out(self):
        self.assertEqual(applied("while (a && b(c)) d();", "loop"), ["while (a) d();", "while (b(c)) d();"])
        self.assertEqual(applied("for (int i = 0; more; ++i) d();", "loop"), ["for (int i = 0; true; ++i) d();"])

    def test_a_count_ends_one_early(self):
        self.assertIn("for (int i = 0; i < (n) - 1; ++i) d();", applied("for (int i = 0; i < n; ++i) d();", "loop"))

    def test_loops_over_a_range_without_an_end_and_with_a_declaration_stay(self):
        self.assertEqual(applied("for (int i : all) d();", "loop"), [])
        self.assertEqual(applied("for (;;) d();", "loop"), [])
        self.assertEqual(applied("while (const char* const name = next()) d();", "loop"), [])


class Guard(unittest.TestCase):
    def test_it_goes_with_its_condition(self):
        self.assertEqual(applied("{ if (!read()) return; f(); }", "guard"), ["{  f(); }"])
        self.assertEqual(applied("{ if (a) { log(b); continue; } f(); }", "guard"), ["{  f(); }"])

    def test_what_it_hangs_on_keeps_a_statement(self):
        self.assertEqual(applied("{ for (int i : all) if (f(i)) break; }", "guard"), ["{ for (int i : all) ; }"])

    def test_a_condition_that_does_nothing_is_left_to_the_dropped_jump(self):
        self.assertEqual(applied("{ if (a == b) return; f(); }", "guard"), [])

    def test_an_alternative_is_no_guard(self):
        self.assertEqual(applied("{ if (f()) return a; else g(); }", "guard"), [])
        self.assertEqual(applied("{ if (a) g(); else if (f()) return; }", "guard"), [])
        self.assertEqual(applied("{ if (f()) g(); }", "guard"), [])


if __name__ == "__main__":
    unittest.main()
