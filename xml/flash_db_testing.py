"""What the tests of the databases share. Each of them names its DATABASE, the generator."""

import re
import shutil
import subprocess
import tempfile
from pathlib import Path
from unittest import mock

from flash_db import HERE, SourceError


def breach(schema, text):
    """Why the text doesn't fit the schema; empty if it does."""
    assert shutil.which("xmllint"), "xmllint is missing: install libxml2-utils"
    command = ["xmllint", "--noout", "--schema", str(HERE.parent / "xsd" / schema), "-"]
    result = subprocess.run(command, input=text, capture_output=True, text=True, check=False)
    assert result.returncode in (0, 3), result.stderr  # 3: the document breaks the schema
    return result.stderr if result.returncode else ""


class OutputTests:
    def test_checked_in_file_is_up_to_date(self):
        self.DATABASE.main(["--check"])

    def test_check_refuses_another_file(self):
        with tempfile.TemporaryDirectory() as directory:
            stale = Path(directory) / "stale.xml"
            stale.write_text("<FLASH/>", encoding="utf-8")
            with mock.patch.object(self.DATABASE, "OUTPUT", stale):
                with self.assertRaisesRegex(SystemExit, "out of date"):
                    self.DATABASE.main(["--check"])

    def test_shipped_file_and_example_of_the_manual_fit_their_schema_alone(self):
        shipped = self.DATABASE.OUTPUT.read_text(encoding="utf-8")
        root = re.search(r"<(\w+) version=", shipped).group(1)
        manual = (HERE.parent / "docs" / "file-format.md").read_text(encoding="utf-8")
        blocks = re.findall(r"```xml\n(<\?xml.*?)```", manual, re.DOTALL)
        examples = [block for block in blocks if f"</{root}>" in block]
        self.assertEqual(1, len(examples))
        for text in (shipped, *examples):
            for kind in ("QSPI", "SDMMC"):
                reason = breach(f"zorva_{kind.lower()}.xsd", text)
                self.assertEqual(root == f"{kind}_FLASH", not reason, reason)


class BadSourceTests:
    CASES = []  # file, what is replaced by what, the complaint: line and sentence

    def test_bad_source_is_refused_with_file_and_line(self):
        for file, old, new, complaint in self.CASES:
            with self.subTest(f"{file}: {old} -> {new}"):
                with tempfile.TemporaryDirectory() as directory:
                    sources = Path(directory) / "sources"
                    shutil.copytree(self.DATABASE.SOURCES, sources)
                    self.replace(next(sources.rglob(file)), old, new)
                    with self.assertRaisesRegex(SourceError, f"{file}:{complaint}"):
                        self.DATABASE.build(sources)

    def replace(self, path, old, new):
        text = path.read_text(encoding="utf-8")
        self.assertIn(old, text)
        path.write_text(text.replace(old, new, 1), encoding="utf-8")
