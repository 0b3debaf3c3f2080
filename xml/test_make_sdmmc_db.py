"""The shipped SD/MMC devices, the schema of their document, and refused sources."""

import unittest
import xml.etree.ElementTree as ElementTree

import make_qspi_db
import make_sdmmc_db
from flash_db_testing import BadSourceTests, OutputTests, breach


def texts(database, tag):
    document = ElementTree.fromstring(database.build(database.SOURCES))
    return [element.text for element in document.iter(tag)]


class ShippedDevices(unittest.TestCase):
    def test_each_part_is_there_with_its_values(self):
        rows = zip(*(texts(make_sdmmc_db, f"DEVICE_{column}")
                     for column in ("NAME", "IO_VOLTAGE", "DENSITY")))
        source = (make_sdmmc_db.SOURCES / "parts.csv").read_text(encoding="utf-8")
        self.assertEqual(source.split()[1:], [",".join(row) for row in rows])

    def test_every_density_from_1gb_to_512gb_has_a_part(self):
        shipped = set(texts(make_sdmmc_db, "DEVICE_DENSITY"))
        self.assertEqual({f"{2 ** n}GB" for n in range(10)}, shipped)

    def test_no_name_is_that_of_a_qspi_device_which_would_hide_it(self):
        names = [set(texts(database, "DEVICE_NAME")) for database in (make_qspi_db, make_sdmmc_db)]
        self.assertEqual(set(), names[0] & names[1])


class Schema(unittest.TestCase):
    NAME, VOLTAGE = "<DEVICE_NAME>A</DEVICE_NAME>", "<DEVICE_IO_VOLTAGE>1.8V</DEVICE_IO_VOLTAGE>"
    INFO = f"<DEVICE_INFO>{NAME}{VOLTAGE}<DEVICE_DENSITY>8GB</DEVICE_DENSITY></DEVICE_INFO>"
    GOOD = f'<SDMMC_FLASH version="1"><FLASH>{INFO}</FLASH></SDMMC_FLASH>'
    FITTING = [  # what is replaced by what
        ("8GB", "8GB"), (NAME + VOLTAGE, VOLTAGE + NAME), (f"<FLASH>{INFO}</FLASH>", ""),
        (">A<", "> a-b <"), ("1.8V", ""), ("8GB", ""), ("8GB", "9 bits"),
        (' version="1"', ""), ('"1"', '"0"'), ('"1"', '"0004294967295"'),
    ]
    BREAKING = [
        ('"1"', '"4294967296"'), ('"1"', '"-1"'), ('"1"', '"+1"'), ('"1"', '" 1"'),
        ('"1"', '"0x1"'), ('"1"', '""'), ('"1"', '"1" unit="us"'), ("<FLASH>", '<FLASH a="">'),
        ("<DEVICE_INFO>", '<DEVICE_INFO a="">'), ("<DEVICE_NAME>", '<DEVICE_NAME a="">'),
        (">A<", "><"), (NAME, ""), (NAME, NAME + NAME), (VOLTAGE, ""), ("8GB", "<A/>"),
        (NAME, NAME + "<DEVICE_ID>0x20</DEVICE_ID>"), (INFO, ""), (INFO, INFO + INFO),
        (INFO, INFO + "<PROGRAMMING_FLOW/>"), ("<FLASH>", "<USER_TEMPLATE/><FLASH>"),
        ("<FLASH>", "A<FLASH>"), ("SDMMC_FLASH", "QSPI_FLASH"),
    ]

    def test_takes_any_order_and_text_and_turns_down_any_other_shape(self):
        for expected, cases in ((True, self.FITTING), (False, self.BREAKING)):
            for old, new in cases:
                with self.subTest(f"{old} -> {new}"):
                    self.assertIn(old, self.GOOD)
                    reason = breach("zorva_sdmmc.xsd", self.GOOD.replace(old, new))
                    self.assertEqual(expected, not reason, reason)


class Output(OutputTests, unittest.TestCase):
    DATABASE = make_sdmmc_db


class BadSources(BadSourceTests, unittest.TestCase):
    DATABASE = make_sdmmc_db
    CASES = [
        ("parts.csv", "io_voltage,density", "density,io_voltage", "1: the columns have to be"),
        ("parts.csv", "_STD,1.8V,", "_STD,", "2: 2 columns instead of 3"),
        ("parts.csv", "DF_161_STD,1.8V,1GB", "DF,161,1.8V,1GB", "2: 4 columns instead of 3"),
        ("parts.csv", "1TO_I_DF", "1TO_E_DF", "3: '.*_E_DF_161_STD' is there twice"),
        ("parts.csv", "1TO_E_DF", "1TO-E", "2: '.*' is not valid for name"),
        ("parts.csv", "1TO_E_DF", "1TO_É", "2: '.*' is not valid for name"),
        ("parts.csv", "1.8V", "3.0V/3.3V", "2: '.*' is not valid for io_voltage"),
        ("parts.csv", "1GB", "1Gb", "2: '1Gb' is not valid for density"),
        ("parts.csv", "512GB", "1024GB", r"\d+: '1024GB' is not valid for density"),
    ]


if __name__ == "__main__":
    unittest.main()
