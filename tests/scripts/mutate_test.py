#!/usr/bin/env python3
"""Tests how scripts/mutate.py reads sources: what it changes, and what it leaves alone."""

import importlib.util
import pathlib
import sys
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "mutate.py"
spec = importlib.util.spec_from_file_location("mutate", SCRIPT)
mutate = importlib.util.module_from_spec(spec)
sys.modules["mutate"] = mutate
spec.loader.exec_module(mutate)


def changed(source):
    """Every mutant of the source."""
    return [source[:m.start] + m.text + source[m.end:] for m in mutate.Mutator(source).mutations()]


class MutateTest(unittest.TestCase):
    def assert_mutants(self, source, *expected):
        self.assertCountEqual(expected, changed(source))

    def test_an_operator_becomes_its_neighbour(self):
        self.assert_mutants("a <= b", "a < b")
        self.assert_mutants("a == b", "a != b")
        self.assert_mutants("a && b", "a || b")
        self.assert_mutants("a << b", "a >> b")
        self.assert_mutants("a - b", "a + b")

    def test_an_operator_before_its_operand_is_left_out(self):
        self.assert_mutants("f(!a)", "f(a)")
        self.assert_mutants("a(-b)", "a(b)")
        self.assert_mutants("a & ~b", "a | ~b", "a & b")

    def test_a_constant_becomes_the_next_one(self):
        self.assert_mutants("{7}", "{8}")
        self.assert_mutants("{0x7FU}", "{0x80U}")
        self.assert_mutants("{010}", "{9}")
        self.assert_mutants("{1'000}", "{1001}")
        self.assert_mutants("{'a'}", "{'b'}")
        self.assert_mutants(r"{'\0'}", r"{'\1'}")
        self.assert_mutants("{true}", "{false}")

    def test_a_bound_is_not_moved_twice_to_the_same_place(self):
        self.assert_mutants("a < 5", "a <= 5")
        self.assert_mutants("a >= 5", "a > 5")

    def test_comments_strings_and_preprocessor_lines_stay(self):
        for source in ("// a < b, 5", "/* a\n < 5 */", '"a < 5"', 'R"x(a < 5)" < 5)x"', 'u8"5 \\" < 5"', "#if A < 5\n",
                       "  #define A \\\n a < 5\n", "'\\''"):
            self.assert_mutants(source)

    def test_a_comment_at_the_end_of_a_directive_does_not_hide_the_next_line(self):
        self.assert_mutants("#if A  // a < b\n{7}", "#if A  // a < b\n{8}")

    def test_brackets_of_templates_pointers_and_references_are_no_operators(self):
        for source in ("std::vector<int> a;", "template <class T>", "const T* a", "T& a, T&& b", "static_cast<int>(a)",
                       "T operator-(T);", "a->b"):
            self.assert_mutants(source)

    def test_what_only_the_compiler_sees_stays(self):
        for source in ("static_assert(sizeof(A) == 4);", "[[nodiscard]] int f();", "virtual void f() = 0;",
                       "void f() const = 0;", 'asm("nop" : "+r"(a << 2));', "struct alignas(64) A;"):
            self.assert_mutants(source)

    def test_a_condition_is_negated_unless_an_operator_does_the_same(self):
        self.assert_mutants("if (a) b;", "if (!(a)) b;")
        self.assert_mutants("while (a || b) {}", "while (!(a || b)) {}", "while (a && b) {}")
        self.assert_mutants("if (a == b) c;", "if (a != b) c;")
        self.assert_mutants("if (!a) b;", "if (a) b;")

    def test_calls_and_assignments_are_left_out(self):
        self.assert_mutants("void f() { a(b); }", "void f() { ; }")
        self.assert_mutants("void f() { a = b; }", "void f() { ; }")
        self.assert_mutants("void f() { *a = b; }", "void f() { ; }")
        self.assert_mutants("void f() { if (a) b(); }", "void f() { if (!(a)) b(); }", "void f() { if (a) ; }")
        self.assert_mutants("void f() { for (;;) ++a; }", "void f() { for (;;) --a; }", "void f() { for (;;) ; }")
        self.assert_mutants("case 'a': break;", "case 'b': break;", "case 'a': ;")

    def test_declarations_are_not_left_out(self):
        for source in ("void f();", "void f() { int a; }", "void f() { const int a = b; }",
                       "void f() { auto* a = b(); }", "class A { A(); A(int); };", "using A = B<C>;"):
            self.assert_mutants(source)

    def test_a_returned_value_becomes_an_empty_one_unless_it_is(self):
        self.assert_mutants("return a;", "return {};")
        self.assert_mutants("return f(a, b);", "return {};")
        self.assert_mutants("return 3;", "return 4;", "return {};")
        self.assert_mutants("return nullptr;")
        self.assert_mutants("return;")
        self.assert_mutants("return 0;", "return 1;")

    def test_of_a_line_of_a_table_one_constant_is_changed(self):
        self.assertEqual(1, len(changed("{1, 2, 3, 4, 5, 6, 7, 8}")))

    def test_a_mutant_says_where_it_is_and_keeps_its_key_when_lines_move(self):
        first, = mutate.mutants_of("a.cpp", "int a;\nint b = 7;\n")
        second, = mutate.mutants_of("a.cpp", "int a;\n\n\nint b = 7;\n")
        self.assertEqual("a.cpp:2\n  - int b = 7;\n  + int b = 8;", first.describe())
        self.assertEqual((4, first.key), (second.line, second.key))

    def test_equal_changes_of_one_line_have_keys_of_their_own(self):
        keys = [mutant.key for mutant in mutate.mutants_of("a.cpp", "a = b - c;\na = b - c;\n")]
        self.assertEqual(len(keys), len(set(keys)))


if __name__ == "__main__":
    unittest.main()
