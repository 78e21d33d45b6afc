#!/usr/bin/env python3
"""Shows generate.cmake small tables, good and bad, and looks at what it writes and says."""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

CMAKE, SCRIPT = sys.argv.pop(1), sys.argv.pop(1)


class GenerateTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.script = shutil.copy(SCRIPT, self.folder.name)
        self.out = os.path.join(self.folder.name, "out")

    def run_script(self, **tables):
        for family, text in tables.items():
            with open(os.path.join(self.folder.name, family + ".asn1"), "w", encoding="utf-8") as table:
                table.write(text)
        done = subprocess.run([CMAKE, "-D", "FAMILIES=" + ",".join(tables), "-D", "OUT=" + self.out, "-P", self.script],
                              capture_output=True, text=True, check=False)
        return done.returncode, " ".join((done.stdout + done.stderr).split())

    def expect_good(self, **tables):
        code, said = self.run_script(**tables)
        self.assertEqual(code, 0, said)

    def expect_fault(self, text, line, reason):
        code, said = self.run_script(bad=text)
        self.assertNotEqual(code, 0)
        self.assertIn(f"bad.asn1:{line}: {reason}", said)
        self.assertFalse(os.path.exists(os.path.join(self.out, "bad.h")))

    def read(self, name):
        with open(os.path.join(self.out, name), encoding="utf-8") as file:
            return file.read()

    def test_a_table_becomes_a_class(self):
        self.expect_good(small="-- What it is.\nPair ::= SEQUENCE {\n    first   [1] EXPLICIT SET OF INTEGER DEFAULT,\n"
                               "    second  ANY OPTIONAL\n} AND\n    -- By hand.\n    int Sum() const\n")
        header = self.read("small.h")
        for line in ("// What it is.\nclass VT_API Pair : public AsnSequence {",
                     '    // "first": [1] EXPLICIT SET OF INTEGER DEFAULT',
                     "    void SetFirst(const AsnSetOf<AsnInteger>& value);",
                     "    const AsnSetOf<AsnInteger>* GetFirst() const;",
                     "    // By hand.\n    int Sum() const;"):
            self.assertIn(line, header)
        source = self.read("small.cpp")
        for line in ('{"first", AsnMake<AsnSetOf<AsnInteger>>, ASN_DEFAULT, false, ASN_EXPLICIT, 1},',
                     '{"second", AsnMake<AsnOctetString>, ASN_OPTIONAL, true},',
                     "SetupMembers(kMembers, 2);",
                     'SchemaAccess::SetAny(*this, "second", value);'):
            self.assertIn(line, source)
        self.assertNotIn("Sum", source)
        self.assertIn("extern template class VT_API AsnSetOf<AsnInteger>;", self.read("lists.h"))
        self.assertIn('{"Pair", AsnMake<Pair>},', self.read("types.cpp"))

    def test_families_use_each_other(self):
        self.expect_good(low="One ::= SEQUENCE {\n    a  INTEGER\n}\n",
                         high="IMPORTS low\n\nTwo ::= CHOICE {\n    one  One,\n    many SEQUENCE OF One\n}\n")
        self.assertIn('#include "schema/low.h"', self.read("high.h"))
        self.assertNotIn("class VT_API One", self.read("high.h"))

    def test_what_stays_the_same_is_not_written_again(self):
        table = {"small": "One ::= SEQUENCE {\n    a  INTEGER\n}\n"}
        self.expect_good(**table)
        path = os.path.join(self.out, "small.h")
        os.utime(path, (1, 1))
        self.expect_good(**table)
        self.assertEqual(os.stat(path).st_mtime, 1)
        self.expect_good(small=table["small"].replace("INTEGER", "BOOLEAN"))
        self.assertNotEqual(os.stat(path).st_mtime, 1)

    def test_unknown_types(self):
        self.expect_fault("One ::= SEQUENCE {\n    a  INTEGER,\n    b  Nothing\n}\n", 3, "unknown type: Nothing")
        self.expect_fault("One ::= SEQUENCE {\n    a  SEQUENCE OF Nothing\n}\n", 2, "unknown type: Nothing")
        self.expect_fault("One ::= SEQUENCE {\n    a  BIG INTEGER\n}\n", 2, "no type: BIG INTEGER")
        self.expect_fault("One ::= SEQUENCE {\n    a  [1] IMPLICITLY INTEGER\n}\n", 2, "no type")

    def test_names_given_twice(self):
        self.expect_fault("One ::= SET {\n    a  INTEGER,\n    a  BOOLEAN\n}\n", 3, "a is there already")
        self.expect_fault("One ::= SET {\n    a  INTEGER\n}\nOne ::= SET {\n", 4, "One is there already")

    def test_lines_that_are_nothing(self):
        self.expect_fault("One := SEQUENCE {\n", 1, "neither type nor comment")
        self.expect_fault("One ::= SEQUENCE {\n  a  INTEGER\n}\n", 2, "no member")
        self.expect_fault("One ::= SEQUENCE {\n    a\n}\n", 2, "no member")
        self.expect_fault("One ::= SEQUENCE {\n    a  INTEGER\n", 2, "One has no end")
        self.expect_fault("One ::= SEQUENCE {", 1, "no line feed at the end")

    def test_commas(self):
        self.expect_fault("One ::= SET {\n    a  INTEGER\n    b  INTEGER\n}\n", 3, "a comma is missing before this line")
        self.expect_fault("One ::= SET {\n    a  INTEGER,\n}\n", 3, "a member is missing")
        self.expect_fault("One ::= SET {\n}\n", 2, "a member is missing")

    def test_members_without_accessors(self):
        self.expect_fault("One ::= CHOICE {\n    a  INTEGER OPTIONAL\n}\n", 2, "an alternative is neither")
        self.expect_fault("One ::= CHOICE {\n    a  ANY (COMPLETE)\n}\n", 2, "ANY (COMPLETE) is for members of a SEQUENCE")
        self.expect_fault("One ::= SEQUENCE {\n    a  [0] EXPLICIT ANY (COMPLETE)\n}\n", 2, "ANY (COMPLETE) is for")
        for member in ("[0] EXPLICIT INTEGER", "ANY OPTIONAL", "ANY (COMPLETE)"):
            self.expect_fault(f"One ::= SET {{\n    a  {member}\n}}\n", 2, "a member of a SET is neither")


if __name__ == "__main__":
    unittest.main()
