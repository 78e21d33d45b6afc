#!/usr/bin/env python3
"""The public headers for Doxygen: their plain comments become documentation comments.

    headers.py <out> <root>...

Public is what the rooms' umbrella headers include. Each header is looked for below the roots and written below <out>,
under the path that it is included by.

The headers keep to one style, which Doxygen does not know:

 - The comment at the head of a file tells of the file. If it begins "Name: ", it is that of the class Name, and of
   the file as well if that declares functions.
 - A comment documents every declaration below it, up to the next blank line or comment; one that begins with the name
   of the first, only those that it names.
 - A comment behind a declaration documents that one, in place of the comment above unless it is the first below that.
 - A comment with a blank line below it is the heading of a section, and a longer one tells of the section.
 - Lines that stand further in are set as they stand.

Declarations that say all there is to say are left out: copies, moves and destructors without a comment of their own
(values copy deeply), static assertions, friends, what is private, and explicit instances.
"""

import pathlib
import re
import sys

from markup import first_sentence, markup

ROOMS = ("foundation", "asn", "schema", "crypto", "token", "pki", "pki/flat", "ber")
FOREIGN = ("crypto/pkcs11.h",)  # declarations of a standard, under its names
LONGEST_HEADING = 70

COMMENT = re.compile(r"^\s*//(?: (.*)|)$")
TRAILING = re.compile(r"^(.*\S)\s+(?://\s?(.*)|/\*\s?(.*?)\s*\*/)$")
LITERAL = re.compile(r"/\*.*?\*/|\"(?:\\.|[^\"\\])*\"|'(?:\\.|[^'\\])+'")
TEMPLATE = r"(?:template ?<.*> ?)?"
SCOPE = re.compile(rf"^(?:typedef )?{TEMPLATE}(namespace|class|struct|union|enum)\b[^(]*$|^extern \"C\"$")
CLASS = re.compile(r"\b(?:class|struct|union) (?:VT_API )?(\w+)")
FORWARD = re.compile(rf"{TEMPLATE}(?:class|struct|enum(?: class)?) (?:VT_API )?\w+(?: : [\w:]+)?;$|"
                     r"typedef struct (\w+) \1;$")
LEFT_OUT = re.compile(r"static_assert\b|extern template\b|friend\b|template class\b|template <class T> [^(]*\w<T>::")
NAME = re.compile(r"(operator ?[^\s\w(]+|operator \w+|~?\w+) ?\(|(\w+)(?:\[.*?\])? ?(?:=|;|,|$)")
FUNCTION = re.compile(r"^(?!//|#)[\w:*&\" ]+[ *&](\w+)\(", re.M)
WORD = re.compile(r"(?<![#%:.`\w])\w+\b(?![(`]|::|[.]\w)")


def declared_name(code):
    name = NAME.search(code)
    return (name[1] or name[2] or "") if name else ""


class Scope:
    """A namespace, class or enumeration that is open, or the file."""

    def __init__(self, kind, name=None):
        self.kind = kind
        self.name = name  # of a class
        self.private = kind == "class"
        self.section = False  # whether one is open


class Header:
    def __init__(self, name, file):
        self.name = name
        self.room, self.base = pathlib.PurePath(name).parts[-2:]
        self.folder = file.parent.parent
        text = file.read_text(encoding="utf-8")
        self.lines = text.split("\n")
        self.functions = set(FUNCTION.findall(text))
        self.classes = set(CLASS.findall(text))
        self.complaints = []
        self.out = []
        self.scopes = [Scope("file")]
        self.sections = 0
        self.linkage = 0  # blocks of C linkage that are open: they are no scope
        self.doc = []  # the comment above
        self.leader = None  # the first name below it
        self.heading = None  # (title, text) of the section that the next declaration opens
        self.class_doc = {}  # what the head of the file says of its classes
        self.shared = False  # whether it says it of several

    def documented(self):
        """The text of the header with documentation comments. Complaints are in self.complaints then."""
        texts, number = self.comment_at(0)
        self.head(texts)
        while number < len(self.lines):
            number = self.step(number)
        self.close_section()
        return "\n".join(self.out)

    def step(self, number):
        line = self.lines[number].strip()
        if line.startswith(("//", "/*")):
            return self.comment(number)
        if line.startswith("#"):
            return self.directive(number)
        if line and not line.startswith("}"):
            return self.statement(number)
        if line:
            self.closes(self.lines[number])
        else:
            self.out.append("")
        self.doc = []
        return number + 1

    # -- Output

    @property
    def scope(self):
        return self.scopes[-1]

    def hidden(self):
        return any(scope.private for scope in self.scopes)

    def document(self, lines, own=None):
        """A documentation comment. The file's other functions become references in it."""
        as_it_stands = False
        for line in lines:
            as_it_stands = line.startswith("@code") or as_it_stands and line != "@endcode"
            if not as_it_stands:
                line = WORD.sub(lambda word: self.reference(word[0], own), line)
            self.out.append("///" + (" " + line if line else ""))

    def reference(self, word, own):
        return word + "()" if word in self.functions and word != own else word

    def leave_out(self, lines):
        self.out += [""] * len(lines)

    def open_section(self):
        """Opens the section of the heading that waits. One of a file is a page of its own."""
        if self.heading is None:
            return
        title, text = self.heading
        self.heading = None
        self.close_section()
        if self.scope.kind == "file":
            self.sections += 1
            place = title if self.base == self.room + ".h" else f"{self.base}: {title}"
            self.document([f"@defgroup {self.room}_{self.base[:-2]}_{self.sections} {place}", f"@ingroup {self.room}",
                           f"Part of {self.name}.", ""])
        else:
            self.document(["@name " + title])
        self.document([*markup(text, brief=False), "@{"])
        self.out.append("")
        self.scope.section = True

    def close_section(self):
        if self.scope.section:
            self.document(["@}"])
            self.scope.section = False

    # -- Comments

    def comment_at(self, number):
        """(lines of the comment that begins on a line, number of the line behind it)"""
        texts = []
        if self.lines[number].lstrip().startswith("/*"):
            while not texts or not self.lines[number - 1].endswith("*/"):
                texts.append(re.sub(r"^/?\* ?", "", re.sub(r"\s*\*/$", "", self.lines[number].strip())))
                number += 1
        else:
            while match := COMMENT.match(self.lines[number]):
                texts.append(match[1] or "")
                number += 1
        return [text for text in texts if "NOLINT" not in text], number

    def comment(self, number):
        texts, number = self.comment_at(number)
        if not any(texts):
            return number
        if not self.lines[number].strip():
            self.standalone(texts)
        elif not self.hidden():
            self.doc = texts
            self.leader = None
        return number

    def head(self, texts):
        """The comment at the head of the file: that of the classes it names, if it names some."""
        match = re.match(r"((?:\w+(?:, | and ))*\w+)(?:<T>)?: (.*)", texts[0])
        names = re.split(r", | and ", match[1]) if match else []
        if names and self.classes.issuperset(names):
            self.class_doc = {name: [match[2][0].upper() + match[2][1:], *texts[1:]] for name in names}
            self.shared = len(names) > 1
            # Where functions work on the class, the file is where they are looked up.
            texts = texts if self.functions else [first_sentence(" ".join(texts))]
        self.document(["@file", f"@ingroup {self.room}", *markup(texts)])
        self.out.append("")

    def standalone(self, texts):
        bar = re.match(r"-{3,} (.*?) -{3,}$", texts[0])
        if bar:
            self.heading = (bar[1], [])
            return
        if self.heading is not None:
            self.heading = (self.heading[0], [*self.heading[1], "", *texts])
            return
        cut = texts.index("") if "" in texts else len(texts)
        title = re.match(r"(.*?)[.:](?: +|$)(.*)", " ".join(texts[:cut]))
        if title is None or len(title[1]) > LONGEST_HEADING:
            self.complaints.append(f"{self.name}: a section without a heading: {texts[0]}")
        else:
            self.heading = (title[1], [title[2], *texts[cut:]])

    # -- Directives

    def directive(self, number):
        line = self.lines[number].strip()
        macro = re.match(r"#(?:define|undef) (\w+)", line)
        codes = re.match(r'#include "(.*\.def)"', line)
        passing = macro and f"#undef {macro[1]}" in self.lines  # of use inside this header alone
        if codes:
            self.codes((self.folder / codes[1]).read_text(encoding="utf-8"))
        elif macro and self.doc and not passing:
            self.open_section()
            self.document(markup(self.doc))
        while True:
            line = self.lines[number]
            number += 1
            self.out.append("" if passing or codes else line)
            if not line.endswith("\\"):
                return number

    def codes(self, text):
        """The constants that a list of codes makes of the macros above its #include."""
        text = re.sub(r"^//.*", "", text, flags=re.M)
        for macro, parameters, body in re.findall(r"^#define (\w+)\((.*?)\) (.*)$", "\n".join(self.lines), re.M):
            for entry in re.findall(rf"^{macro}\((.*?)\)$", text, re.M | re.S):
                values = re.findall(r"(?:\"(?:\\.|[^\"\\])*\"|[^,\"])+", entry)
                told = dict(zip(parameters.split(", "), (value.strip() for value in values)))
                words = {name: re.sub(r"\"\s*\"|^\"|\"$", "", value) for name, value in told.items()}
                doc = [words["raised"][0].upper() + words["raised"][1:] + "."]
                for name in ("cause", "remedy"):
                    if words.get(name, "-") != "-":
                        doc += ["", name.capitalize() + ": " + words[name]]
                self.document(markup(doc))
                self.out.append(re.sub(r"\w+", lambda word: told.get(word[0], word[0]), body))

    # -- Declarations

    def statement(self, number):
        lines, code, note, number = self.statement_at(number)
        if SCOPE.match(code) and not code.endswith((";", "}")):
            self.opens(lines, code)
        elif code in ("public:", "protected:", "private:"):
            self.close_section()
            self.heading = None
            self.scope.private = code == "private:"
            self.out += lines
        elif self.hidden() or self.is_left_out(code):
            self.leave_out(lines)
        else:
            self.declares(lines, code, note)
        return number

    def statement_at(self, number):
        """(lines, code without literals, trailing comment, number of the line behind) of what begins on a line: a
        declaration with its body, or all before the brace of a scope."""
        lines, code, note, depth = [], "", [], 0
        while number < len(self.lines):
            match = TRAILING.match(self.lines[number])
            plain = match[1] if match else self.lines[number]
            number += 1
            if match and "NOLINT" not in match[0]:
                note, number = self.trailing(match, number)
            lines.append(plain)
            bare = LITERAL.sub("0", plain).strip()
            if depth == 0 and bare.endswith("{"):
                opener = (code + " " + re.sub(r"/\*.*?\*/", "", plain).strip(" {")).strip()
                if SCOPE.match(opener):
                    return lines, opener, note, number
            code = (code + " " + bare).strip()
            depth += sum(bare.count(c) for c in "{(") - sum(bare.count(c) for c in "})")
            if depth <= 0 and self.ends(bare, number):
                break
        return lines, code, note, number

    def trailing(self, match, number):
        """(lines of a comment behind code and of what stands below it in the same column, number of the line behind)"""
        note = [match[2] if match[2] is not None else match[3]]
        column = match[0].index("//", len(match[1])) if match[2] is not None else len(match[0])
        while self.lines[number][:column].strip() == "" and self.lines[number][column:].startswith("//"):
            note.append(self.lines[number][column + 2:].strip())
            number += 1
        return note, number

    def ends(self, bare, number):
        """Whether a line ends a declaration; number is that of the next line."""
        if self.scope.kind == "enum" and (bare.endswith(",") or self.lines[number].strip().startswith("}")):
            return True
        return bare.endswith((";", "}", "public:", "protected:", "private:"))

    def is_left_out(self, code):
        if LEFT_OUT.match(code):
            return True
        name = self.scope.name
        if not name or "= delete" in code:
            return False
        told = " ".join(self.doc).lower()
        if re.search(rf"(^|\s)~{name}\(", code):
            return f"~{name}".lower() not in told and "destructor" not in told
        copies = rf"((^|\s){name}|operator=)\( ?(const )?{name}&?&?(\s\w+)?\)"
        return not self.doc and re.search(copies, code) is not None

    def opens(self, lines, code):
        if code.startswith("extern"):
            self.linkage += 1
            self.leave_out(lines)
            return
        kind = SCOPE.match(code)[1]
        name = CLASS.search(re.sub(rf"^{TEMPLATE}", "", code))
        name = name[1] if name and kind != "enum" else None
        inner = any(scope.name for scope in self.scopes)
        if kind == "namespace":
            self.close_section()
        elif not self.hidden():
            self.open_section()
            parts = [self.class_doc.pop(name, []) if not inner else [], self.doc]
            doc = markup([*parts[self.shared], "", *parts[not self.shared]])
            if doc:
                self.document(([] if inner or kind == "enum" else [f"@ingroup {self.room}"]) + doc)
        self.out += lines
        self.scopes.append(Scope(kind, name))
        self.doc = []

    def closes(self, line):
        if self.scope.kind == "file":
            self.linkage -= 1
            self.out.append("")
            return
        self.close_section()
        self.scopes.pop()
        self.heading = None
        self.out.append(line)

    def declares(self, lines, code, note):
        if not FORWARD.match(code):
            self.open_section()
            name = declared_name(code)
            doc = self.doc_of(name, code)
            if note and re.match(r"[a-z]{2,}\b", note[0]):
                note = [note[0][0].upper() + note[0][1:], *note[1:]]
            if note:
                doc = [*doc, "", *note] if name == self.leader else note
            # A comment that begins with a name goes on with the others, a sentence each.
            about = name if doc and doc[0].startswith(self.leader or "?") else None
            self.document(markup(doc, name=about), own=name)
        self.out += lines

    def doc_of(self, name, code):
        """The comment above, unless it is on the first declaration below it and does not name this one."""
        if self.doc and self.leader is None:
            self.leader = name
        told = re.findall(r"[~\w]+", " ".join(self.doc))
        if name == self.leader or name in told:
            return self.doc
        return [] if told[:1] == [self.leader] or re.search(r"\boverride\b", code) else self.doc


def public_headers(roots):
    """The headers that the umbrella headers include, as {included name: file}."""
    found = {}
    waiting = [f"{room}/{room.split('/')[-1]}.h" for room in ROOMS]
    while waiting:
        name = waiting.pop()
        file = next((root / name for root in roots if (root / name).exists()), None)
        if name not in found and name not in FOREIGN and file is not None and name.endswith(".h"):
            found[name] = file
            waiting += re.findall(r'^#include "([^"]+)"', file.read_text(encoding="utf-8"), re.M)
    return found


def main(out, *roots):
    complaints = []
    for name, file in public_headers([pathlib.Path(root) for root in roots]).items():
        header = Header(name, file)
        target = pathlib.Path(out) / name
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(header.documented(), encoding="utf-8")
        complaints += header.complaints
    sys.stderr.writelines(complaint + "\n" for complaint in complaints)
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
