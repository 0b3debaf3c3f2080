#!/usr/bin/env python3
"""exported_symbols.py LIBRARY HEADER...: fails if a library exports a name that none of its
installed headers has, or lacks a function that they declare."""

import pathlib
import re
import subprocess
import sys

NO_SYMBOL = re.compile(r"= (0|default|delete)$|^(friend|using|template|typedef|static_assert)\b")


def exported(library):
    symbols = subprocess.run(["nm", "-D", "--defined-only", "--demangle", library],
                             capture_output=True, text=True, check=True).stdout
    names = [re.sub(r"\[abi:\w+\]", "", line.split(" ", 2)[2]) for line in symbols.splitlines()]
    # A template of the standard library that gives a type of ours starts with that type, and so
    # fits the export map; a build for debugging has some.
    return [name for name in names if " std::" not in name.split("(")[0]]


def declared_functions(text):
    """Qualified names of the functions that a header declares and doesn't define."""
    scopes = []
    for part, end in re.findall(r"([^;{}]*)([;{}])", text):
        part = " ".join(re.sub(r"\b(public|protected|private):", "", part).split())
        if end == "}":
            scopes.pop()
            continue
        name = re.search(r"([~\w]+|operator[^\w(]+) ?\(", part)
        hidden = any(scope is None for scope in scopes)
        if end == ";" and name and not hidden and not NO_SYMBOL.search(part):
            yield "::".join([*filter(None, scopes), name[1]])
        if end == "{":
            opened = re.match(r"(?:class|struct|namespace) (\w+)", part)
            scopes.append(opened[1] if opened else None)


def main():
    symbols = exported(sys.argv[1])
    text = "\n".join(pathlib.Path(header).read_text() for header in sys.argv[2:])
    text = re.sub(r"//.*|^#.*(?:\\\n.*)*", "", text, flags=re.M)
    words = set(re.findall(r"\w+", text)) | {"vtable", "typeinfo", "name", "VTT", "for"}
    wrong = [f"exported, but in no installed header: {symbol}" for symbol in symbols
             if not set(re.findall(r"\w+", symbol.split("(")[0])) <= words]
    functions = {symbol.split("(")[0] for symbol in symbols if "(" in symbol}
    wrong += [f"declared, but not exported: {function}"
              for function in sorted(set(declared_functions(text)) - functions)]
    print("\n".join(wrong))
    return 1 if wrong or not symbols else 0


if __name__ == "__main__":
    sys.exit(main())
