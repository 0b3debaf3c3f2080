#!/usr/bin/env python3
"""Makes pgm_flash_db_sdmmc.xml from sdmmc/parts.csv (README.md tells its format)."""

import sys
from pathlib import Path

import flash_db
from flash_db import is_name, is_one_of, leaf, nested

SCRIPT = Path(__file__).name
SOURCES = flash_db.HERE / "sdmmc"
OUTPUT = flash_db.HERE / "pgm_flash_db_sdmmc.xml"

DENSITIES = [f"{1 << n}GB" for n in range(10)]

# Column, and what makes a value of it good.
COLUMNS = {
    "name": is_name,
    "io_voltage": is_one_of(["1.8V"]),
    "density": is_one_of(DENSITIES),
}


def build(sources):
    """The text of the document that the sources give."""
    devices = []
    for part in flash_db.read_parts(sources / "parts.csv", COLUMNS).values():
        devices += nested("FLASH", nested("DEVICE_INFO", [
            leaf("DEVICE_NAME", part["name"]),
            leaf("DEVICE_IO_VOLTAGE", part["io_voltage"]),
            leaf("DEVICE_DENSITY", part["density"]),
        ]))
    return flash_db.document(SCRIPT, "SDMMC_FLASH", devices)


def main(arguments):
    flash_db.run(arguments, SCRIPT, OUTPUT, lambda: build(SOURCES))


if __name__ == "__main__":
    main(sys.argv[1:])
