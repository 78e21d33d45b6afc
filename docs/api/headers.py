#!/usr/bin/env python3
"""The public headers for Doxygen: their plain comments become documentation comments.

    headers.py <out> <root>...

Public is what the rooms' umbrella headers include. Each is looked for below the roots and written below <out>, under
the path that it is included by.

The headers keep to one style, which Doxygen does not know:

 - The comment at the head of a file tells of the file. If it begins "Name: ", it is that of the class Name.
 - A comment documents every declaration below it, up to the next blank line or comment; one that begins with the name
   of the first, only those that it names.
 - A comment behind a declaration documents that one, in place of the comment above unless it is the first below that.
 - A comment with a blank line below it is the heading of a section, and a longer one tells of the section.
 - Lines that stand further in are set as they stand.

Declarations that say all there is to say are left out: copies, moves and destructors without a comment of their own
(values copy deeply), static assertions, what is private, and explicit instances.
"""

import pathlib
import re
import sys

COMMENT = re.compile(r"^(\s*)//(?: (.*)|)$")
TRAILING = re.compile(r"^(.*\S)\s+(?://\s?(.*)|/\*\s?(.*?)\s*\*/)$")
SCOPE = re.compile(r"^(?:inline )?namespace\b|^extern \"C\"|"
                   r"^(?:typedef )?(?:template ?<.*> ?)?(?:class|struct|union|enum)\b[^(]*$")
CLASS = re.compile(r"\b(?:class|struct|union) (?:VT_API )?(\w+)(?: final)?(?: :|$)")
LEFT_OUT = re.compile(r"static_assert\b|extern template\b|friend\b|template class\b|template <class T> [^(]*\w<T>::")
HEADING_LENGTH = 70
FOREIGN = ("crypto/pkcs11.h",)  # declarations of a standard, under its names
ROOMS = ("foundation", "asn", "schema", "crypto", "token", "pki", "pki/flat", "ber")


def escape(text):
    """Text as Markdown would print it unchanged; code between backticks stays."""
    parts = re.split(r"(`[^`]*`)", text)
    for i in range(0, len(parts), 2):
        part = re.sub(r"([\\@<>&#$%*~]|--+)", r"\\\1", parts[i])
        # Neither the first word of a sentence nor a header of the system is a reference to what is called the same.
        part = re.sub(r"(?:^|(?<=[.:] ))(?=[A-Z][a-z]+\b(?!::))", "%", part)
        parts[i] = re.sub(r"\\<(?=\w+\.h)", r"\\<%", part)
    return "".join(parts)


def blocks(lines):
    """The paragraphs, list items and set pieces of a comment, each as (kind, lines)."""
    found = []
    kind = None
    for line in lines:
        if not line.strip():
            if kind == "set":
                found[-1][1].append("")
            else:
                kind = None
            continue
        if kind == "item" and line.startswith("  ") and not line.lstrip().startswith("- "):
            found[-1][1].append(line.strip())
            continue
        now = "item" if re.match(r" ?- ", line) else "set" if line.startswith("  ") else "text"
        if now != kind or now == "item":
            found.append((now, []))
        kind = now
        found[-1][1].append(line if now == "set" else line.strip())
    return found


def first_sentence(text):
    end = re.search(r"(?<!e\.g)(?<!i\.e)[.](?= |$)", text)
    return (text, "") if end is None else (text[: end.end()], text[end.end():].strip())


def begin_with(name, text):
    """The text with the first of its sentences that begins with the name in front, if there is one."""
    sentence = name and re.search(rf"(?:^|(?<=\\. )){re.escape(name)}\\b.*?[.](?= |$)", text)
    if not sentence:
        return text
    return " ".join(part for part in (sentence[0], text[: sentence.start()].strip(), text[sentence.end():].strip()) if part)


def tidy(lines):
    """The lines without blank ones at either end and in a row."""
    out = []
    for line in lines:
        if line or out and out[-1]:
            out.append(line)
    return out[:-1] if out and not out[-1] else out


def markup(lines, brief=True, name=None):
    """The lines of a documentation comment for the lines of a plain one."""
    out = []
    for number, (kind, block) in enumerate(blocks(lines)):
        if kind == "set":
            while block and not block[-1]:
                block.pop()
            cut = min(len(line) - len(line.lstrip()) for line in block if line)
            code = ".cpp" if any(re.search(r"[;{]\s*(//.*)?$", line) for line in block) else ".unparsed"
            out += [f"@code{{{code}}}", *[line[cut:] for line in block], "@endcode", ""]
        elif kind == "item":
            out += ["- " + escape(" ".join(block)[2:])]
        elif number == 0 and brief:
            head, rest = first_sentence(begin_with(name, " ".join(block)))
            out += ["@brief " + escape(head), "", escape(rest), ""]
        else:
            out += ["", escape(" ".join(block)), ""]
    return tidy(out)


class Header:
    def __init__(self, name, file):
        self.file = file
        self.lines = file.read_text(encoding="utf-8").split("\n")
        self.functions = set(re.findall(r"^(?!//|#)[\w:*&\" ]+[ *&](\w+)\(", "\n".join(self.lines), re.M))
        self.name = name
        self.room = pathlib.PurePath(name).parent.name
        self.complaints = []
        self.out = []
        self.scopes = []  # of [kind, name of the class, whether its members are private, whether a section is open]
        self.section = False  # whether a section of the file is open
        self.sections = 0
        self.linkage = 0  # blocks of C linkage that are open: they are no scope
        self.doc = []
        self.leader = None  # the first name that self.doc stands above
        self.heading = None
        self.class_doc = {}  # what the head of the file says of its classes
        self.shared = False  # whether it says it of several

    # -- Output

    def document(self, lines, own=None):
        """A documentation comment. The file's other functions become references in it."""
        as_it_stands = False
        for line in lines:
            as_it_stands = line.startswith("@code") or as_it_stands and not line.startswith("@endcode")
            if not as_it_stands:
                line = re.sub(r"(?<![#%:.`\w])\w+\b(?![(`]|::|[.]\w)", lambda word: self.reference(word[0], own), line)
            self.out.append("///" + (" " + line if line else ""))

    def reference(self, word, own):
        return word + "()" if word in self.functions and word != own else word

    def hidden(self):
        return any(scope[2] for scope in self.scopes)

    def holder(self):
        return self.scopes[-1] if self.scopes else None

    def close_section(self):
        if self.in_section():
            self.document(["@}"])
            self.set_section(False)

    def open_section(self):
        """Opens the section of the heading that waits: of a class, or of the file, where it is a page of its own."""
        if self.heading is None or self.hidden():
            return
        title, text = self.heading
        self.close_section()
        if self.scopes:
            first = ["@name " + title]
        else:
            self.sections += 1
            place = title if self.room == self.name.split(".")[0].split("/")[-1] else f"{self.name.split('/')[-1]}: {title}"
            first = [f"@defgroup {self.room}_{self.sections}_{pathlib.PurePath(self.name).stem} {place}",
                     f"@ingroup {self.room}", f"Part of {self.name}.", ""]
        self.document([*first, *markup(text, brief=False), "@{"])
        self.out.append("")
        self.set_section(True)
        self.heading = None

    def in_section(self):
        return self.scopes[-1][3] if self.scopes else self.section

    def set_section(self, is_open):
        if self.scopes:
            self.scopes[-1][3] = is_open
        else:
            self.section = is_open

    # -- Comments

    def comment_at(self, number):
        """(lines, next number) of the comment that begins on a line, or None."""
        first = self.lines[number]
        texts = []
        if COMMENT.match(first):
            while number < len(self.lines) and (match := COMMENT.match(self.lines[number])):
                texts.append(match[2] or "")
                number += 1
        elif first.lstrip().startswith("/*"):
            while True:
                line = self.lines[number].strip()
                number += 1
                texts.append(re.sub(r"^/?\* ?", "", re.sub(r"\s*\*/$", "", line)))
                if line.endswith("*/"):
                    break
        else:
            return None
        texts = [text for text in texts if "NOLINT" not in text]
        return texts, number

    def standalone(self, texts):
        bar = re.match(r"-{3,} (.*?) -{3,}$", texts[0]) if texts else None
        if bar:
            self.heading = (bar[1], [])
            return
        if not any(texts):
            return
        if self.heading is not None:
            self.heading = (self.heading[0], [*self.heading[1], "", *texts])
            return
        cut = texts.index("") if "" in texts else len(texts)
        title = re.match(r"(.*?)[.:](?: +|$)(.*)", " ".join(texts[:cut]))
        if title is None or len(title[1]) > HEADING_LENGTH:
            self.complaints.append(f"{self.name}: a section without a heading: {texts[0]}")
        else:
            self.heading = (title[1], [title[2], *texts[cut:]])

    def defined(self, file):
        """The constants that a list of codes makes of the macro above its #include."""
        text = re.sub(r"^//.*", "", (self.file.parent.parent / file).read_text(encoding="utf-8"), flags=re.M)
        macros = re.findall(r"^#define (\w+)\((.*?)\) (.*)$", "\n".join(self.lines), re.M)
        for macro, names, body in macros:
            for entry in re.findall(rf"^{macro}\((.*?)\)$", text, re.M | re.S):
                values = [part.strip() for part in re.findall(r"(?:\"(?:\\.|[^\"\\])*\"|[^,\"])+", entry)]
                told = dict(zip(re.split(r", ", names), values))
                words = {name: re.sub(r"\"\s*\"|^\"|\"$", "", value) for name, value in told.items()}
                doc = [words["raised"][0].upper() + words["raised"][1:] + "."]
                doc += ["", "Cause: " + words["cause"]] if words.get("cause", "-") != "-" else []
                doc += ["", "Remedy: " + words["remedy"]] if words.get("remedy", "-") != "-" else []
                self.document(markup(doc))
                self.out.append(re.sub(r"\w+", lambda word: told.get(word[0], word[0]), body))

    def head(self, texts):
        """The comment at the head of the file: that of the classes it names, if it names some."""
        match = re.match(r"((?:\w+(?:, | and ))*\w+)(?:<T>)?: (.*)", texts[0]) if texts else None
        names = re.split(r", | and ", match[1]) if match else []
        here = set(CLASS.findall("\n".join(line.rstrip(" {") for line in self.lines)) +
                   re.findall(r"^(?:class|struct) (?:VT_API )?(\w+)", "\n".join(self.lines), re.M))
        if names and all(name in here for name in names):
            own = [match[2][0].upper() + match[2][1:], *texts[1:]]
            self.class_doc = {name: own for name in names}
            self.shared = len(names) > 1
            brief = first_sentence(" ".join(texts[: texts.index("")] if "" in texts else texts))[0]
            texts = [brief]
        self.document([f"@file", f"@ingroup {self.room}", *markup(texts)])
        self.out.append("")

    # -- Declarations

    def statement_at(self, number):
        """The lines of a statement, its code, what ended it, its trailing comment, and the next number."""
        lines, code, note, depth = [], "", [], 0
        in_enum = self.holder() and self.holder()[0] == "enum"
        while number < len(self.lines):
            line = self.lines[number]
            number += 1
            match = TRAILING.match(line)
            plain = match[1] if match else line
            if match and "NOLINT" not in line:
                note = [match[2] if match[2] is not None else match[3]]
                column = line.index(match[0][len(match[1]):].lstrip(), len(match[1]))
                while number < len(self.lines) and self.lines[number][:column].strip() == "" \
                        and self.lines[number][column:].startswith("//"):
                    note.append(self.lines[number][column + 2:].strip())
                    number += 1
            lines.append(plain)
            bare = re.sub(r"/\*.*?\*/|\"(?:\\.|[^\"\\])*\"|'(?:\\.|[^'\\])+'", "0", plain).strip()
            if depth == 0 and "{" in bare and not bare.rstrip().endswith(("},", "};", "}")):
                opener = (code + " " + re.sub(r"/\*.*?\*/", "", plain).strip()).strip().rstrip("{").strip()
                if SCOPE.match(opener):
                    return lines, opener, "{", note, number
            code = (code + " " + bare).strip()
            depth += sum(bare.count(c) for c in "{(") - sum(bare.count(c) for c in "})")
            if depth <= 0 and (bare.endswith((";", "}")) or in_enum and (
                    bare.endswith(",") or self.lines[number].strip().startswith("}"))):
                break
            if depth <= 0 and re.match(r"(public|protected|private):", code):
                return lines, code, ":", note, number
        return lines, code, ";", note, number

    def is_left_out(self, code):
        if LEFT_OUT.match(code):
            return True
        name = self.holder()[1] if self.holder() else None
        if not name or "= delete" in code:
            return False
        if re.search(rf"(^|\s)~{name}\(", code):
            return f"~{name}" not in " ".join(self.doc) and "destructor" not in " ".join(self.doc).lower()
        if self.doc:
            return False
        return re.search(rf"(^|\s){name}\( ?(const )?{name}&&?\s?\w*\)|"
                         rf"operator=\( ?(const )?{name}&?&?\s?\w*\)", code) is not None

    def opens(self, lines, code):
        if code.startswith("extern"):
            self.linkage += 1
            self.out += [""] * len(lines)
            return
        kind = re.search(r"\b(namespace|class|struct|union|enum)\b", code)[1]
        match = CLASS.search(code)
        name = match[1] if match else None
        doc = self.class_doc.pop(name, []) if not any(s[1] for s in self.scopes) else []
        parts = [self.doc, doc] if self.shared else [doc, self.doc]
        doc = [*parts[0], *([""] if doc and self.doc else []), *parts[1]]
        if kind in ("class", "struct", "union", "enum") and not self.hidden():
            self.open_section()
            if doc:
                outer = kind != "enum" and not any(scope[1] for scope in self.scopes)
                self.document(([f"@ingroup {self.room}"] if outer else []) + markup(doc))
        elif self.section:
            self.close_section()
        self.out += lines
        self.scopes.append([kind, name, kind == "class", False])
        self.doc = []

    def closes(self, line):
        if not self.scopes and self.linkage:
            self.linkage -= 1
            self.out.append("")
            return
        self.close_section()
        self.scopes.pop()
        self.heading = None
        self.doc = []
        self.out.append(line)

    def doc_of(self, code):
        """The comment above, unless it begins with the name of the first declaration below it and leaves out this one."""
        name = re.search(r"(operator ?[^\s\w(]+|operator \w+|~?\w+) ?\(|(\w+)(?:\[.*?\])? ?(?:=|;|,|$)", code)
        name = (name[1] or name[2] or "") if name else ""
        if not self.doc:
            return name, []
        if self.leader is None:
            self.leader = name
        told = re.findall(r"[~\w]+", " ".join(self.doc))
        if name != self.leader and name not in told and (told[:1] == [self.leader] or re.search(r"\boverride\b", code)):
            return name, []
        return name, self.doc

    def declares(self, lines, code, note):
        forward = re.match(r"(?:template ?<.*> ?)?(?:class|struct|enum(?: class)?) (?:VT_API )?\w+(?: : [\w:]+)?;$|"
                           r"typedef struct (\w+) \1;$", code)
        if self.hidden() or self.is_left_out(code):
            self.out += [""] * len(lines)
            return
        if not forward:
            self.open_section()
            name, doc = self.doc_of(code)
            if note and re.match(r"[a-z]{2,}\b", note[0]):
                note = [note[0][0].upper() + note[0][1:], *note[1:]]
            if note and name != self.leader:
                doc = note
            elif note:
                doc = [*doc, *([""] if doc else []), *note]
            if doc:
                self.document(markup(doc, name=name), own=name)
        self.out += lines

    def directive(self, number):
        line = self.lines[number].lstrip()
        macro = re.match(r"#(?:define|undef) (\w+)", line)
        codes = re.match(r'#include "(.*\.def)"', line)
        if codes:
            self.defined(codes[1])
        passing = macro is not None and f"#undef {macro[1]}" in self.lines
        if macro and self.doc and not passing:
            self.open_section()
            self.document(markup(self.doc))
        while True:
            line = self.lines[number]
            number += 1
            self.out.append("" if passing or codes else line)
            if not line.endswith("\\"):
                return number

    def documented(self):
        number = 0
        seen_head = False
        while number < len(self.lines):
            line = self.lines[number]
            found = self.comment_at(number)
            if found:
                texts, number = found
                if not seen_head:
                    self.head(texts)
                elif number >= len(self.lines) or not self.lines[number].strip():
                    self.standalone(texts)
                elif any(texts) and not self.hidden():
                    self.doc = texts
                    self.leader = None
                seen_head = True
            elif not line.strip():
                self.doc = []
                self.out.append(line)
                number += 1
            elif line.lstrip().startswith("#"):
                number = self.directive(number)
            elif line.strip().startswith("}"):
                self.closes(line)
                number += 1
            else:
                lines, code, end, note, number = self.statement_at(number)
                if end == "{":
                    self.opens(lines, code)
                elif end == ":":
                    self.close_section()
                    self.scopes[-1][2] = code.startswith("private")
                    self.heading = None
                    self.out += lines
                else:
                    self.declares(lines, code, note)
        self.close_section()
        return "\n".join(self.out)


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
