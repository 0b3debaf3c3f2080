"""What the generators of the databases share: parts.csv, the document, the command line."""

import re
import sys
from pathlib import Path
from xml.sax.saxutils import escape

HERE = Path(__file__).resolve().parent


class SourceError(Exception):
    """A mistake in a source file; its text is FILE:LINE: and a sentence."""

    def __init__(self, path, line, sentence):
        super().__init__(f"{path}:{line}: {sentence}")


def read_lines(path):
    return path.read_text(encoding="utf-8", errors="replace").splitlines()


def define(path, line, definitions, name, value):
    """Enters a name that mustn't be there yet, and returns its value."""
    if name in definitions:
        raise SourceError(path, line, f"'{name}' is there twice")
    definitions[name] = value
    return value


def matches(pattern):
    return re.compile(pattern).fullmatch


def is_one_of(values):
    return lambda text: text in values


is_name = matches("[A-Za-z0-9_]+")

# --- parts.csv ---------------------------------------------------------------------------------


class Part(dict):
    """One row of parts.csv: column to text."""

    def __init__(self, line, columns):
        super().__init__(columns)
        self.line = line


def read_parts(path, columns, make_part=Part):
    """Name to part. `columns` are the columns, each with what makes a value of it good."""
    head, *rows = read_lines(path) or [""]
    if head.split(",") != list(columns):
        raise SourceError(path, 1, f"the columns have to be {','.join(columns)}")
    parts = {}
    for line, text in enumerate(rows, 2):
        row = text.split(",")
        if len(row) != len(columns):
            raise SourceError(path, line, f"{len(row)} columns instead of {len(columns)}")
        for (column, is_good), value in zip(columns.items(), row):
            if not is_good(value):
                raise SourceError(path, line, f"'{value}' is not valid for {column}")
        part = make_part(line, zip(columns, row))
        define(path, line, parts, part["name"], part)
    return parts


# --- the document ------------------------------------------------------------------------------


def leaf(tag, value, attributes=""):
    return f"<{tag}{attributes}>{escape(str(value))}</{tag}>"


def nested(tag, lines):
    return [f"<{tag}>", *(" " + line for line in lines), f"</{tag}>"]


def document(script, root, lines):
    return "\n".join([
        '<?xml version="1.0" encoding="UTF-8"?>',
        f"<!-- Made by {script}: change what it reads, not this file. -->",
        f'<{root} version="1">',
        *lines,
        f"</{root}>",
        "",
    ])


# --- the command line --------------------------------------------------------------------------


def run(arguments, script, output, build):
    """Writes what `build` gives, or compares the file with it."""
    if arguments not in ([], ["--check"]):
        sys.exit(
            f"Usage: {script}           writes {output.name}\n"
            f"       {script} --check   exits 1 if the file isn't what the sources give")
    try:
        text = build()
    except (SourceError, OSError) as error:
        sys.exit(str(error))
    if not arguments:
        output.write_text(text, encoding="utf-8", newline="\n")
    elif not output.exists() or output.read_text(encoding="utf-8") != text:
        sys.exit(f"{output.name} is out of date: run {script} and commit the result.")
