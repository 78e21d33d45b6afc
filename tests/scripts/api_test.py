#!/usr/bin/env python3
"""Tests of docs/api/headers.py, which turns the headers' comments into documentation comments for scripts/api.sh."""

import pathlib
import sys
import tempfile
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "docs" / "api"))

import headers  # noqa: E402
import markup  # noqa: E402


class HeadersTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.root = pathlib.Path(holder.name)
        (self.root / "room").mkdir()

    def made(self, text, name="thing.h"):
        """The header with its comments turned. The marks in front of first words are looked at below."""
        (self.root / "room" / name).write_text(text)
        self.header = headers.Header("room/" + name, self.root / "room" / name)
        return self.header.documented().replace("%", "")

    def told(self, text):
        """Each line of code behind the brief description of it, or None."""
        found = {}
        brief = None
        for line in self.made("// Head.\n\n" + text).split("\n"):
            if line.startswith("/// @brief "):
                brief = line[len("/// @brief "):]
            elif line.strip() and not line.startswith("///"):
                found[line.strip()] = brief
                brief = None
        return found

    def test_the_head_of_a_file_tells_of_the_file(self):
        self.assertEqual(["/// @file", "/// @ingroup room", "/// @brief What it is.", "///",
                          "/// What it is. And more."], self.made("// What it is. And more.\nint x;\n").split("\n")[:5])

    def test_a_head_that_begins_with_the_name_of_a_class_tells_of_the_class(self):
        text = self.made("// Thing: what it is.\n\nclass Thing {\n};\n")
        self.assertIn("/// @ingroup room\n/// @brief What it is.\n///\n/// What it is.\nclass Thing {", text)

    def test_a_head_tells_of_class_and_file_where_there_are_functions(self):
        text = self.made("// Thing: what it is. How it works.\n\nstruct Thing {\n};\n\nvoid f(Thing* thing);\n")
        self.assertEqual(2, text.count("hat it is. How it works."))
        self.assertIn("/// What it is. How it works.\nstruct Thing {", text)

    def test_a_comment_documents_all_declarations_down_to_a_blank_line(self):
        self.assertEqual({"int a();": "Both count.", "int b();": "Both count.", "int c();": None},
                         self.told("// Both count.\nint a();\nint b();\n\nint c();\n"))

    def test_a_comment_that_begins_with_a_name_documents_those_that_it_names(self):
        self.assertEqual({"int a();": "a counts.", "int b();": "b sums.", "int c();": None},
                         self.told("// a counts. b sums.\nint a();\nint b();\nint c();\n"))

    def test_a_comment_behind_a_declaration_takes_the_place_of_the_one_above_unless_it_is_the_first(self):
        text = self.made("// Head.\n\n// Both.\nint a;  // first\nint b;  // other\n        // goes on\n")
        self.assertIn("/// @brief Both.\n///\n/// Both.\n///\n/// First\nint a;", text)
        self.assertIn("/// @brief Other goes on\n///\n/// Other goes on\nint b;", text)

    def test_an_override_has_the_comment_of_its_base(self):
        told = self.told("class A : B {\n  public:\n    // Resets.\n    void a() override;\n    void b() override;\n};\n")
        self.assertEqual("Resets.", told["void a() override;"])
        self.assertIsNone(told["void b() override;"])

    def test_copies_without_a_comment_and_what_is_private_are_left_out(self):
        told = self.told("class A {\n  public:\n    A(const A& other);\n    A& operator=(const A& other);\n    ~A();\n"
                         "    A(int x);\n\n    // Shares.\n    A(A&& other);\n    A(const A&) = delete;\n\n"
                         "  private:\n    int hidden;\n};\n")
        self.assertEqual(["A(int x);", "A(A&& other);", "A(const A&) = delete;"],
                         [line for line in told if line.startswith(("A(", "A&", "~", "int"))])

    def test_bodies_are_passed_over(self):
        self.assertEqual("After.", self.told("// f.\ninline int f() {\n    // Why.\n    return 1;\n}\n\n// After.\n"
                                             "int g();\n")["int g();"])

    def test_a_comment_above_a_blank_line_is_a_section(self):
        text = self.made("// Head.\n\n// Sums. A carry is 1 or 0.\n\nint a();\n", "thing.h")
        self.assertIn("/// @defgroup room_thing_1 thing.h: Sums\n/// @ingroup room\n/// Part of room/thing.h.\n///\n"
                      "/// A carry is 1 or 0.\n/// @{\n", text)
        self.assertTrue(text.rstrip().endswith("/// @}"), text)

    def test_a_section_needs_a_short_heading(self):
        self.made("// Head.\n\n// " + "Something that is no heading at all " * 3 + ".\n\nint a();\n")
        self.assertEqual(1, len(self.header.complaints))

    def test_c_linkage_is_no_scope(self):
        text = self.made("/* Head. */\n#ifdef __cplusplus\nextern \"C\" {\n#endif\n\n/* ---- Keys ---- */\n\n/* Makes. */\n"
                         "int a(void);\n\n#ifdef __cplusplus\n}\n#endif\n", "room.h")
        self.assertIn("/// @defgroup room_room_1 Keys\n", text)
        self.assertNotIn("extern", text)

    def test_a_list_of_codes_becomes_its_constants(self):
        (self.root / "room" / "codes.def").write_text('// VT_CODE(value, constant, raised, remedy)\n'
                                                      'VT_CODE(-1, kNone, "nothing, really", "Give "\n    "one.")\n')
        text = self.made("// Head.\n\n#define VT_CODE(value, constant, raised, remedy) constexpr int constant = value;\n"
                         '#include "room/codes.def"\n#undef VT_CODE\n')
        self.assertIn("/// Nothing, really.\n///\n/// Remedy: Give one.\nconstexpr int kNone = -1;", text)
        self.assertNotIn("define", text)

    def test_other_functions_of_the_file_become_references(self):
        text = self.made("// Head.\n\n// f is g. See g, `g` and std::g.\nint f();\n\n// g.\nint g();\n")
        self.assertIn("/// f is g(). See g(), `g` and std::g.", text)

    def test_public_is_what_the_umbrella_headers_include(self):
        (self.root / "ber").mkdir()
        for name, text in (("ber.h", '#include "ber/a.h"\n'), ("a.h", '#include "ber/b.h"\n'), ("b.h", ""), ("c.h", "")):
            (self.root / "ber" / name).write_text(text)
        self.assertEqual({"ber/ber.h", "ber/a.h", "ber/b.h"}, set(headers.public_headers([self.root])))


class MarkupTest(unittest.TestCase):
    def test_text_is_escaped_and_code_is_not(self):
        self.assertEqual(r"a \<b\> c\#1 `<d>` \@e 1\*2", markup.escape("a <b> c#1 `<d>` @e 1*2"))

    def test_the_first_word_of_a_sentence_is_no_reference(self):
        self.assertEqual("%Name is a Name. %Certificate too: AsnNull.", markup.escape("Name is a Name. Certificate too: "
                                                                                      "AsnNull."))

    def test_lines_that_stand_further_in_are_set_as_they_stand(self):
        self.assertEqual(["@brief %Codes:", "", "%Codes:", "", "@code{.unparsed}", "0    <ok>", " -1  bad", "@endcode", "",
                          "%All."], markup.markup(["Codes:", "", "    0    <ok>", "     -1  bad", "", "All."]))

    def test_what_looks_like_code_is_coloured(self):
        self.assertIn("@code{.cpp}", markup.markup(["So:", "", "    int x;  // why"]))

    def test_items_go_over_several_lines(self):
        self.assertEqual(["- one two", "- three"], markup.markup(["- one", "  two", "- three"], brief=False))

    def test_the_brief_description_is_the_sentence_on_the_name(self):
        self.assertEqual("@brief b sums.", markup.markup(["a counts, e.g. 1. b sums. All."], name="b")[0])
        self.assertEqual("@brief a counts, e.g. 1.", markup.markup(["a counts, e.g. 1. b sums. All."], name="c")[0])


if __name__ == "__main__":
    unittest.main()
