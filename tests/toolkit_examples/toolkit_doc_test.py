#!/usr/bin/env python3
"""Every C++ block of a document stands in a source word for word: toolkit_doc_test.py DOCUMENT SOURCE..."""
import re
import sys

with open(sys.argv[1], encoding="utf-8") as file:
    document = file.read()
source = ""
for name in sys.argv[2:]:
    with open(name, encoding="utf-8") as file:
        source += "\n" + file.read()

blocks = re.findall(r"^```cpp\n(.*?)^```$", document, re.M | re.S)
stray = [block for block in blocks if "\n" + block not in source]
functions = re.findall(r"^[\w:<>&* ]+?(\w+)\([^;]*?\) \{$", source, re.M)
untold = [name for name in functions if not any(f" {name}(" in block or f"&{name}(" in block for block in blocks)]
for block in stray:
    print(f"in none of the sources:\n{block}")
for name in untold:
    print(f"not in {sys.argv[1]}: {name}")
print(f"{len(blocks)} blocks, {len(functions)} functions")
sys.exit(1 if stray or untold or len(blocks) < 5 or len(functions) < 5 else 0)
