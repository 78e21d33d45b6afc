"""A plain comment as the lines of a documentation comment."""

import re

CODE = re.compile(r"[;{]\s*(//.*)?$")  # the end of a line that is C++


def escape(text):
    """Text as Markdown prints it unchanged. Code between backticks stays code."""
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
    return text[:end.end()] if end else text


def brief_of(text, name):
    """The first sentence that begins with the name, or else the first of all."""
    of_name = name and re.search(rf"(?:^|(?<=\. )){re.escape(name)}\b.*?\.(?= |$)", text)
    return of_name[0] if of_name else first_sentence(text)


def tidy(lines):
    """The lines without blank ones at either end, and with one where there are several in a row."""
    out = []
    for line in lines:
        if line or out and out[-1]:
            out.append(line)
    return out[:-1] if out and not out[-1] else out


def set_piece(lines):
    while not lines[-1]:
        lines = lines[:-1]
    cut = min(len(line) - len(line.lstrip()) for line in lines if line)
    language = "cpp" if any(CODE.search(line) for line in lines) else "unparsed"
    return [f"@code{{.{language}}}", *[line[cut:] for line in lines], "@endcode", ""]


def markup(lines, brief=True, name=None):
    """The whole comment, and in front of it one sentence for lists: where several names share it, that on this one."""
    out = []
    for kind, block in blocks(lines):
        text = " ".join(block).strip()
        if brief and not out and kind == "text":
            out += ["@brief " + escape(brief_of(text, name)), ""]
        if kind == "set":
            out += set_piece(block)
        elif kind == "item":
            out += ["- " + escape(text[2:])]
        else:
            out += ["", escape(text), ""]
    return tidy(out)
