#!/usr/bin/env python3
"""Runs check_layouts.py on the compiled headers with golden files that are wrong in one way each.

    check_layouts_test.py OBJECT CLASSES GOLDEN NAMES OBJDUMP FOLDER...
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
import check_layouts  # noqa: E402

OBJECT, CLASSES, GOLDEN, NAMES, *TOOLS = sys.argv[1:]


def text_of(path):
    with open(path, encoding="utf-8") as lines:
        return lines.read()


class CheckLayoutsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.blocks = check_layouts.read(OBJECT, CLASSES, TOOLS[0], TOOLS[1:])

    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.folder = holder.name

    def write(self, name, text):
        path = os.path.join(self.folder, name)
        with open(path, "w", encoding="utf-8") as out:
            out.write(text)
        return path

    def faults(self, golden, names=NAMES):
        return "\n".join(check_layouts.faults(self.blocks, golden, names))

    def expect_fault(self, pattern, replacement, reason):
        text, count = re.subn(pattern, replacement, text_of(GOLDEN), count=1, flags=re.MULTILINE)
        self.assertEqual(count, 1, "the golden file has no such line")
        self.assertRegex(self.faults(self.write("golden", text)), reason)

    def test_another_size(self):
        self.expect_fault(r"^(PKCS_Settings  size )", r"\g<1>1", "golden, of PKCS_Settings: PKCS_Settings  size 1")

    def test_another_alignment(self):
        self.expect_fault(r"^(PKCS_Blob .*align ).*", r"\g<1>32", "golden, of PKCS_Blob: PKCS_Blob .* align 32")

    def test_members_in_another_order(self):
        self.expect_fault(r"^(    \d+  tagMode.*\n)(    \d+  tagForm.*\n)", r"\2\1", "built, of AsnTag: .*  tag(Mode|Form)")

    def test_another_offset(self):
        self.expect_fault(r"^    \d+(  value\.intValue)", r"    1\1", r"golden, of NPVariant: 1  value\.intValue")

    def test_a_member_of_another_size(self):
        self.expect_fault(r"^(    \d+  serialNumber  size )16", r"\g<1>17", r"built, of CK_TOKEN_INFO: .*serialNumber  size 16")

    def test_another_base(self):
        self.expect_fault(r"(?<=0  base )AsnChoice", "AsnSequence", "built, of .*: 0  base AsnChoice")

    def test_a_virtual_operation_in_another_place(self):
        self.expect_fault(r"^    virtual 2(  _ZN9AsnObject5Reset)", r"    virtual 3\1", "built, of AsnObject: virtual 2")

    def test_a_virtual_operation_too_few(self):
        self.expect_fault(r"^    virtual \d+  _ZNK9AsnObject5Clone.*\n", "", "built, of AsnObject: virtual 9")

    def test_a_class_too_few(self):
        self.expect_fault(r"^NPRect .*\n(    .*\n)+", "", "built, of NPRect: NPRect")

    def test_an_exported_class_that_no_header_has(self):
        for name in ("_ZTI9Forgotten", "_ZN9ForgottenC1Ev"):
            self.assertIn("Forgotten is exported", self.faults(GOLDEN, self.write("names", text_of(NAMES) + name + "\n")))

    def test_what_is_written_anew_is_as_built(self):
        golden = self.write("golden", "")
        check_layouts.write(self.blocks, golden)
        self.assertEqual(text_of(golden), text_of(GOLDEN))

    def test_the_program_says_what_to_do_and_fails(self):
        golden = self.write("golden", "Nothing  size 1\n")
        done = subprocess.run([sys.executable, check_layouts.__file__, OBJECT, CLASSES, golden, NAMES, *TOOLS],
                              capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn("golden, of Nothing: Nothing  size 1", done.stdout)
        self.assertIn("CHANGELOG.md", done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
