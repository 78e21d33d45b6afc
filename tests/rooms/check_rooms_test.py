#!/usr/bin/env python3
"""Shows check_rooms.py small trees, good and bad, and looks at what it says."""
import os
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
CHECKER = os.path.join(HERE, "check_rooms.py")
TABLE = os.path.join(HERE, "may_include.txt")


class CheckRoomsTest(unittest.TestCase):
    def run_checker(self, files, table=TABLE):
        with tempfile.TemporaryDirectory() as root:
            for path, text in files.items():
                full = os.path.join(root, path)
                os.makedirs(os.path.dirname(full), exist_ok=True)
                with open(full, "w", encoding="utf-8") as out:
                    out.write(text)
            done = subprocess.run([sys.executable, CHECKER, table, root], capture_output=True, text=True, check=False)
            return done.returncode, done.stdout + done.stderr

    def expect_good(self, files):
        code, said = self.run_checker(files)
        self.assertEqual(code, 0, said)

    def expect_fault(self, path, line, reason):
        code, said = self.run_checker({path: f"// first line\n{line}\n"})
        self.assertEqual(code, 1, said)
        self.assertIn(f"{path}:2:", said)
        self.assertIn(reason, said)

    def test_downward_includes_are_good(self):
        self.expect_good({"plugin/a.cpp": '#include <vector>\n#include "plugin/a.h"\n#include "enrol/b.h"\n',
                          "enrol/c.cpp": '#include "pki/flat/flat.h"\n#include "ber/ber.h"\n',
                          "pki/flat/d.h": '#include "pki/pki.h"\n#include "foundation/export.h"\n'})

    def test_upward_includes_are_faults(self):
        self.expect_fault("ber/a.cpp", '#include "enrol/enrol.h"', "ber may not include enrol")
        self.expect_fault("enrol/a.h", '#include "plugin/plugin.h"', "enrol may not include plugin")
        self.expect_fault("pki/a.cpp", '#include "pki/flat/flat.h"', "pki may not include pki/flat")
        self.expect_fault("platform/nss/a.cpp", '#include "enrol/codes.h"', "platform may not include enrol")

    def test_includes_across_are_faults(self):
        self.expect_fault("asn/a.cpp", '#include "crypto/mpi.h"', "asn may not include crypto")
        self.expect_fault("plugin/a.cpp", '#include "pki/flat/flat.h"', "plugin may not include pki/flat")
        self.expect_fault("enrol/a.cpp", '#include "pki/pki.h"', "enrol may not include pki")
        self.expect_fault("ber/a.h", '#include "foundation/export.h"', "ber may not include foundation")

    def test_no_spelling_gets_by(self):
        for line in ("#include <enrol/enrol.h>", '  #  include   "enrol/enrol.h"', '#include"enrol/enrol.h"',
                     '#import "enrol/enrol.h"', '#include "enrol/enrol.h"  // only this once'):
            self.expect_fault("ber/a.cpp", line, "ber may not include enrol")
        self.expect_fault("ber/a.cpp", '#include "../enrol/enrol.h"', "climbs out")
        self.expect_fault("ber/a.cpp", '#include "ber/../enrol/enrol.h"', "climbs out")
        self.expect_fault("ber/a.cpp", "#include HEADER", "names no file")
        self.expect_fault("ber/a.cpp", '#include "writer.h"', "not a path from the root")

    def test_rooms_do_not_include_the_rest_of_the_tree(self):
        code, said = self.run_checker({"ber/a.cpp": '#include "tests/support/hex.h"\n', "tests/support/hex.h": ""})
        self.assertEqual(code, 1, said)
        self.assertIn("no header of a room", said)

    def test_all_kinds_of_sources_are_read(self):
        for name in ("a.h", "a.cpp", "a.c", "a.def", "a.inc", "a.rc", "deep/down/a.h"):
            self.expect_fault(f"ber/{name}", '#include "enrol/enrol.h"', "may not include")

    def test_an_empty_tree_is_no_success(self):
        self.assertNotEqual(self.run_checker({"other/a.cpp": ""})[0], 0)

    def test_a_table_with_an_unknown_room_is_refused(self):
        with tempfile.TemporaryDirectory() as folder:
            table = os.path.join(folder, "table.txt")
            with open(table, "w", encoding="utf-8") as out:
                out.write("ber: nowhere\n")
            code, said = self.run_checker({"ber/a.cpp": ""}, table)
        self.assertNotEqual(code, 0)
        self.assertIn("nowhere", said)


if __name__ == "__main__":
    unittest.main()
