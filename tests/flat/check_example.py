#!/usr/bin/env python3
"""Checks that the example in the documentation is the one that is compiled.

    check_example.py PAGE.md PROGRAM.c

The page's first C block must be the program's text between "example begin" and "example end", less its indentation.
"""
import re
import sys
import textwrap


def text_of(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    page, program = map(text_of, sys.argv[1:])
    shown = re.search(r"^```c\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)
    compiled = re.search(r"^ */\* example begin \*/\n(.*?)^ */\* example end \*/$", program, re.MULTILINE | re.DOTALL)
    if not shown or not compiled:
        sys.exit("an example is missing")
    if shown.group(1) != textwrap.dedent(compiled.group(1)):
        sys.exit(f"the example of {sys.argv[1]} is not that of {sys.argv[2]}")


if __name__ == "__main__":
    main()
