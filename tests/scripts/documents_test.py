#!/usr/bin/env python3
"""Every link and every path that a document names leads somewhere, and the index of docs/ leaves no document out."""

import fnmatch
import pathlib
import re
import subprocess
import sys
import unittest

TOP = pathlib.Path(__file__).resolve().parents[2]
CODE = re.compile(r"^(```|~~~).*?^\1", re.M | re.S)
LINK = re.compile(r"!?\[(?:[^\[\]]|\[[^\]]*\])*\]\(([^()\s]+)\)|<img\b[^>]*\bsrc=\"([^\"]+)\"|<a\b[^>]*\bhref=\"([^\"]+)\"")
SOURCE = re.compile(r"^[\w.*-]+\.(?:h|cpp|def|asn1|py|sh)$")


def tracked():
    listing = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=TOP, check=True,
                             capture_output=True, text=True).stdout
    return [name for name in listing.splitlines() if (TOP / name).exists()]


def heading_anchors(text):
    """The anchors of a document's headings, as the usual viewers make them."""
    anchors, seen = set(), {}
    for title in re.findall(r"^#{1,6} +(.*?) *#*$", CODE.sub("", text), re.M):
        title = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", title)
        anchor = re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-")
        count = seen.setdefault(anchor, 0)
        seen[anchor] += 1
        anchors.add(anchor if count == 0 else f"{anchor}-{count}")
    return anchors


def broken_link(document, target, read):
    """What is wrong with a link of a document, or None."""
    if re.match(r"[a-z]+:", target):
        return None
    path, _, anchor = target.partition("#")
    file = (TOP / document).parent / path if path else TOP / document
    if not file.exists():
        return "there is no such file"
    if anchor and anchor not in heading_anchors(read(file)):
        return "there is no such heading"
    return None


def lost_path(document, text, files, folders):
    """Whether a text in backticks names a file of the tree that is not there."""
    words = text.split()
    name = words[0].rstrip("/,") if words else ""
    if re.search(r"[<>{}$=:()\\]|\.\.\.", name) or not re.match(r"^[\w.*/-]+$", name):
        return False
    here = str(pathlib.PurePosixPath(document).parent)
    if "/" not in name:
        # A source that is named alone lies somewhere in the tree; schema's headers are made from its tables.
        return bool(SOURCE.match(name)) and not any(
            fnmatch.fnmatch(file.rsplit("/", 1)[-1], name.replace(".h", ".asn1") if made else name)
            for file in files for made in (False, file.startswith("schema/")))
    candidates = [name] if here == "." else [name, f"{here}/{name}"]
    if name.split("/")[0] not in {folder.split("/")[0] for folder in folders} | {here.split("/")[0]}:
        return False
    if name.startswith("schema/") and name.endswith(".h"):
        candidates.append(name[:-2] + ".asn1")
    return not any(fnmatch.filter(files, candidate) or candidate in folders for candidate in candidates)


class DocumentsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.files = tracked()
        cls.folders = {str(parent) for name in cls.files for parent in pathlib.PurePosixPath(name).parents} - {"."}
        cls.documents = [name for name in cls.files if name.endswith(".md")]
        cls.texts = {}

    def read(self, file):
        file = pathlib.Path(file).resolve()
        if file not in self.texts:
            self.texts[file] = file.read_text(encoding="utf-8") if file.is_file() else ""
        return self.texts[file]

    def test_links_lead_to_files_and_headings(self):
        found = 0
        for document in self.documents:
            text = re.sub(r"`[^`\n]*`", lambda code: code.group().replace("](", "] ("), CODE.sub("", self.read(TOP / document)))
            for groups in LINK.findall(text):
                target = next(group for group in groups if group)
                found += 1
                with self.subTest(document=document, link=target):
                    self.assertIsNone(broken_link(document, target, self.read))
        self.assertGreater(found, 50)

    def test_paths_are_there(self):
        found = 0
        for document in self.documents:
            for text in re.findall(r"`([^`\n]+)`", CODE.sub("", self.read(TOP / document))):
                found += "/" in text
                with self.subTest(document=document, path=text):
                    self.assertFalse(lost_path(document, text, self.files, self.folders))
        self.assertGreater(found, 50)

    def test_the_index_names_every_document(self):
        index = self.read(TOP / "docs" / "README.md")
        for document in self.documents:
            if document.startswith("docs/") and document != "docs/README.md":
                with self.subTest(document=document):
                    self.assertIn(f"]({document[5:]})", index)

    def test_the_drawing_and_the_table_of_rooms_are_those_that_are_checked(self):
        drawing = subprocess.run([sys.executable, "-B", "docs/pictures/rooms.py", "--check", "docs/pictures/rooms.svg"],
                                 cwd=TOP, capture_output=True, text=True, check=False)
        self.assertEqual(drawing.returncode, 0, drawing.stderr)
        checked = {}
        for line in self.read(TOP / "tests" / "rooms" / "may_include.txt").splitlines():
            room, colon, allowed = line.split("#")[0].partition(":")
            if colon and room != "tools":
                checked[room] = set(allowed.split())
        told = {}
        for rooms, allowed in re.findall(r"^\| (`.*?) \| (.*?) \|$", self.read(TOP / "docs" / "architecture.md"), re.M):
            for room in re.findall("`([^`]*)`", rooms):
                if room in checked:
                    told[room] = set(re.findall("`([^`]*)`", allowed))
        self.assertEqual(told, checked)

    def test_the_check_sees_what_is_lost(self):
        read = {TOP / "docs" / "flat.md": "# The flat\n## An `example_of` C-code, too\n## A\n## A\n"}.get
        self.assertIsNotNone(broken_link("README.md", "docs/nowhere.md", read))
        self.assertIsNotNone(broken_link("README.md", "docs/flat.md#example", read))
        for anchor in ("the-flat", "an-example_of-c-code-too", "a", "a-1"):
            self.assertIsNone(broken_link("README.md", "docs/flat.md#" + anchor, read), anchor)
        files, folders = ["ber/writer.h", "schema/x509.asn1"], {"ber", "schema"}
        for lost in ("ber/none.h", "ber/none.h 25", "none.h", "ber/*.cpp", "schema/none.h"):
            self.assertTrue(lost_path("README.md", lost, files, folders), lost)
        for fine in ("ber/writer.h", "ber/", "ber/*.h", "schema/x509.h", "x509.h", "ber/<room>.h", "build/x/y.h", "a / b"):
            self.assertFalse(lost_path("README.md", fine, files, folders), fine)


if __name__ == "__main__":
    unittest.main()
