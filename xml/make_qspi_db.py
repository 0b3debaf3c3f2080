#!/usr/bin/env python3
"""Makes pgm_flash_db_qspi.xml from the parts and flows in qspi/ (README.md tells their format)."""

import re
import sys
from collections import ChainMap
from dataclasses import dataclass, field
from pathlib import Path

import flash_db
from flash_db import SourceError, define, is_name, is_one_of, leaf, matches, nested, read_lines

SCRIPT = Path(__file__).name
SOURCES = flash_db.HERE / "qspi"
OUTPUT = flash_db.HERE / "pgm_flash_db_qspi.xml"

VENDORS = ["Micron", "Macronix", "Cypress", "Winbond", "Issi"]
DENSITIES = [f"{1 << n}Mb" for n in range(12)]
LARGEST_3BYTE_DENSITY = "128Mb"

# Element of an operation, and the sections of a flow file that make it up.
OPERATIONS = {
    "INITIALIZATION": ["Initialization"],
    "PROGRAM": ["Prepare", "Program"],
    "ERASE": ["Prepare", "Erase"],
    "VERIFY_BLANKCHECK_EXAMINE": ["Verify"],
    "TERMINATION": ["Termination"],
}
SECTIONS = set(sum(OPERATIONS.values(), []))

# Children of an action by type, in document order, with what they hold unless a step tells.
CHILDREN = {
    "WRITE_REG": {
        "NAME": "", "COMMAND": "", "DATA": "", "DELAY": "0", "BUS_WIDTH": "1-1"},
    "READ_REG": {
        "NAME": "", "COMMAND": "", "DATA_LENGTH": "", "EXPECTED_DATA": "",
        "EXPECTED_DATA_MASK": "", "ATTEMPT_COUNT": "1", "DELAY": "0", "BUS_WIDTH": "1-1"},
    "WRITE_DATA": {
        "NAME": "", "COMMAND": "", "ADDRESS": "jic", "DATA": "jic", "PAGE_SIZE": "256",
        "ADDRESSING_MODE": "", "DELAY": "0", "BUS_WIDTH": "1-1-1"},
    "READ_DATA": {
        "NAME": "", "COMMAND": "", "ADDRESS": "jic", "DATA_LENGTH": "256",
        "EXPECTED_DATA": "jic", "EXPECTED_DATA_MASK": "", "ADDRESSING_MODE": "",
        "ACT_DUMMY_CLOCK_CYCLE": "", "DELAY": "0", "BUS_WIDTH": "1-1-1"},
    "ERASE": {
        "NAME": "", "COMMAND": "", "ADDRESS": "jic", "ERASE_SIZE": "", "ADDRESSING_MODE": "",
        "DELAY": "0", "BUS_WIDTH": "1-1"},
    "CUSTOM": {"DESCRIPTION": "", "DIRECTION": ""},
}


def is_number(least, greatest):
    return lambda text: re.fullmatch("[0-9]+", text) and least <= int(text) <= greatest


BYTE = "0x[0-9A-F]{2}"


def is_list_of(item):
    return matches(f"{item}( {item})*")


is_byte = matches(BYTE)
is_byte_list = is_list_of(BYTE)
is_masked_byte_list = is_list_of(f"{BYTE}(/{BYTE})?")
is_count = is_number(1, 0xFFFFFFFF)
is_dummy = is_number(0, 15)

# --- parts.csv ---------------------------------------------------------------------------------

# Column, and what makes a value of it good.
COLUMNS = {
    "vendor": is_one_of(VENDORS),
    "name": is_name,
    "id_bytes": is_byte_list,
    "id_more": lambda text: not text or is_masked_byte_list(text),
    "density": is_one_of(DENSITIES),
    "io_voltage": is_one_of(["1.8V", "3.0V/3.3V"]),
    "total_die": is_count,
    "dummy_fast_read": is_dummy,
    "dummy_x4": is_dummy,
    "flow": is_name,
    "erase": is_list_of(f"{BYTE}=(4|32|64|256)"),
    "protection": is_byte,
    "note": lambda text: True,
    "sources": is_list_of(r"[a-z_]+:[a-z+-]+(\(id\))?"),
}


class Part(flash_db.Part):
    def address_bytes(self):
        large = DENSITIES.index(self["density"]) > DENSITIES.index(LARGEST_3BYTE_DENSITY)
        return "4" if large else "3"

    def id_check(self):
        """Pairs of expected byte and mask."""
        masked = f"{self['id_bytes']} {self['id_more']}".split()
        return [(item + "/0xFF").split("/")[:2] for item in masked]

    def erases(self):
        """Pairs of erase command and size in KiB."""
        return [item.split("=") for item in self["erase"].split()]


# --- flow files --------------------------------------------------------------------------------

# Step: its action type, and the settings that it must and may have.
STEPS = {
    "write": ("WRITE_REG", [], ["data", "delay"]),
    "read": ("READ_REG", ["expect", "mask"], ["attempts", "delay"]),
    "read_at": ("READ_DATA", ["address", "addressing", "dummy", "expect", "mask"], []),
    "program": ("WRITE_DATA", [], []),
    "verify": ("READ_DATA", [], []),
}
# Setting: the child that it fills, and what makes a value good.
SETTINGS = {
    "data": ("DATA", is_byte_list),
    "delay": ("DELAY", is_number(0, 0xFFFFFFFF)),
    "expect": ("EXPECTED_DATA", is_byte_list),
    "mask": ("EXPECTED_DATA_MASK", lambda text: text == "protection" or is_byte_list(text)),
    "attempts": ("ATTEMPT_COUNT", is_count),
    "address": ("ADDRESS", matches("0x[0-9A-F]{6}")),
    "addressing": ("ADDRESSING_MODE", is_one_of(["3", "4"])),
    "dummy": ("ACT_DUMMY_CLOCK_CYCLE", is_dummy),
}


@dataclass
class Step:
    kind: str  # a key of STEPS, or start, end, read_id, erase
    children: dict  # of the action, as far as the flow file tells: element to text


@dataclass
class Flows:
    """What a vendor's flow file defines, on top of the common one."""

    blocks: dict = field(default_factory=dict)  # name to steps
    flows: dict = field(default_factory=dict)  # name to section to steps
    golden: tuple = (1, "")  # line and name of the part


def read_flows(path, common):
    flows = Flows(dict(common.blocks), dict(common.flows))
    steps = None  # of the block or section that is being read
    sections = None  # of the flow that is being read
    for line, text in enumerate(read_lines(path), 1):
        words = text.split("#")[0].split()
        if not words:
            continue
        if words[0] == "golden" and len(words) == 2:
            flows.golden = (line, words[1])
        elif words[0] == "block" and len(words) == 2:
            steps = define(path, line, flows.blocks, words[1], [])
            sections = None
        elif words[0] == "flow":
            sections = define(path, line, flows.flows, *read_flow_head(path, line, words, flows))
            steps = None
        elif words[0].startswith("["):
            steps = open_section(path, line, words, sections)
        elif steps is None:
            raise SourceError(path, line, f"'{words[0]}' has to stand in a block or section")
        else:
            steps += read_steps(path, line, words, flows.blocks)
    return flows


def read_flow_head(path, line, words, flows):
    """Name and sections of "flow NAME" or "flow NAME like OTHER"; own sections come first."""
    if len(words) == 2:
        return words[1], ChainMap()
    if len(words) != 4 or words[2] != "like":
        raise SourceError(path, line, "a flow begins with: flow NAME like OTHER")
    if words[3] not in flows.flows:
        raise SourceError(path, line, f"there is no flow '{words[3]}' above")
    return words[1], flows.flows[words[3]].new_child()


def open_section(path, line, words, sections):
    name = " ".join(words)[1:-1]
    if sections is None or name not in SECTIONS:
        raise SourceError(path, line, f"'{' '.join(words)}' is no section of a flow")
    return define(path, line, sections.maps[0], name, [])


def read_steps(path, line, words, blocks):
    """The step of a line, or those of the block that it uses."""
    if words[0] != "use":
        return [read_step(path, line, words)]
    if len(words) != 2 or words[1] not in blocks:
        raise SourceError(path, line, f"there is no block '{' '.join(words[1:])}' above")
    return blocks[words[1]]


def read_step(path, line, words):
    kind = words[0]
    if kind in ("start", "end") and len(words) > 1:
        return Step(kind, {"DESCRIPTION": " ".join(words[1:]), "DIRECTION": kind})
    if kind in STEPS and len(words) > 2:
        return Step(kind, read_children(path, line, *words))
    if words not in (["read_id"], ["erase"]):
        raise SourceError(path, line, f"'{' '.join(words)}' is no step")
    return Step(kind, {})


def read_children(path, line, kind, name, command, *words):
    if not is_name(name) or not is_byte(command):
        raise SourceError(path, line, f"'{name} {command}' is no name and command")
    children = {"NAME": name, "COMMAND": command}
    _, required, optional = STEPS[kind]
    given = read_settings(path, line, words, required + optional)
    for setting in required:
        if setting not in given:
            raise SourceError(path, line, f"{kind} needs {setting}")
    for setting, value in given.items():
        child, is_good = SETTINGS[setting]
        if not is_good(value):
            raise SourceError(path, line, f"'{value}' is not valid for {setting}")
        children[child] = value
    return children


def read_settings(path, line, words, allowed):
    """Setting to value. A value is all words up to the next setting."""
    given = {}
    values = None
    for word in words:
        if word in allowed:
            values = define(path, line, given, word, [])
        elif values is None:
            raise SourceError(path, line, f"'{word}' can't stand here")
        else:
            values.append(word)
    return {setting: " ".join(values) for setting, values in given.items()}


# --- the document ------------------------------------------------------------------------------


def build(sources):
    """The text of the document that the sources give."""
    parts_file = sources / "parts.csv"
    parts = flash_db.read_parts(parts_file, COLUMNS, Part)
    common = read_flows(flow_file(sources, "common"), Flows())
    vendors = {vendor: read_flows(flow_file(sources, vendor), common) for vendor in VENDORS}
    templates = []
    for vendor, flows in vendors.items():
        part = golden_part(flow_file(sources, vendor), vendor, flows, parts)
        templates += nested(vendor.upper(), programming_flow(parts_file, part, flows, False))
    devices = []
    for part in parts.values():
        flow = programming_flow(parts_file, part, vendors[part["vendor"]], True)
        devices += nested("FLASH", device_info(part) + flow)
    lines = nested("GOLDEN_TEMPLATE", templates) + devices
    return flash_db.document(SCRIPT, "QSPI_FLASH", lines)


def flow_file(sources, name):
    return sources / "flows" / f"{name.lower()}.flow"


def golden_part(path, vendor, flows, parts):
    line, name = flows.golden
    if name not in parts or parts[name]["vendor"] != vendor:
        raise SourceError(path, line, f"golden has to name a part of {vendor}")
    return parts[name]


def device_info(part):
    return nested("DEVICE_INFO", [
        leaf("DEVICE_NAME", part["name"]),
        leaf("DEVICE_ID", part["id_bytes"]),
        leaf("DEVICE_IO_VOLTAGE", part["io_voltage"]),
        leaf("DEVICE_DENSITY", part["density"]),
        leaf("TOTAL_DEVICE_DIE", part["total_die"]),
        leaf("DUMMY_CLOCK_CYCLE", part["dummy_fast_read"]),
        leaf("DUMMY_CLOCK_CYCLE_X4", part["dummy_x4"]),
        leaf("PROG_FLOW_TEMPLATE", part["vendor"]),
    ])


def programming_flow(parts_file, part, flows, check_id):
    sections = flows.flows.get(part["flow"], {})
    operations = []
    for tag, names in OPERATIONS.items():
        actions = []
        for name in names:
            if name not in sections:
                sentence = f"{part['vendor']} has no flow '{part['flow']}' with [{name}]"
                raise SourceError(parts_file, part.line, sentence)
            for step in sections[name]:
                actions += actions_of(step, part, check_id)
        operations += nested(tag, actions)
    # One flow for both: the way to the flash differs, the transactions on its bus don't.
    both = nested("SFL", operations) + nested("SDM", operations)
    return nested("PROGRAMMING_FLOW", both)


def actions_of(step, part, check_id):
    if step.kind == "erase":
        return [erase(command, int(kib), part) for command, kib in part.erases()]
    if step.kind == "read_id":
        return [read_id(part)] if check_id else []
    if step.kind in ("start", "end"):
        return [action("CUSTOM", step.children)]
    return [action(STEPS[step.kind][0], step.children | taken_from(part, step))]


def taken_from(part, step):
    """The children that the flow file leaves to the part."""
    if step.kind == "program":
        return {"ADDRESSING_MODE": part.address_bytes()}
    if step.kind == "verify":
        return {
            "ADDRESSING_MODE": part.address_bytes(),
            "ACT_DUMMY_CLOCK_CYCLE": part["dummy_fast_read"],
        }
    children = {}
    if "EXPECTED_DATA" in step.children:
        children["DATA_LENGTH"] = len(step.children["EXPECTED_DATA"].split())
    if step.children.get("EXPECTED_DATA_MASK") == "protection":  # and the busy bit
        children["EXPECTED_DATA_MASK"] = f"0x{int(part['protection'], 16) | 1:02X}"
    return children


def erase(command, kib, part):
    return action("ERASE", {
        "NAME": f"Erase_{kib}KiB",
        "COMMAND": command,
        "ERASE_SIZE": kib * 1024,
        "ADDRESSING_MODE": part.address_bytes(),
    })


def read_id(part):
    compared = part.id_check()
    return action("READ_REG", {
        "NAME": "Check_ID",
        "COMMAND": "0x9F",
        "DATA_LENGTH": len(compared),
        "EXPECTED_DATA": " ".join(expected for expected, _ in compared),
        "EXPECTED_DATA_MASK": " ".join(mask for _, mask in compared),
    })


def action(kind, children):
    leaves = (
        leaf(tag, children.get(tag, default), ' unit="us"' if tag == "DELAY" else "")
        for tag, default in CHILDREN[kind].items())
    return f'<ACTION type="{kind}">{"".join(leaves)}</ACTION>'


def main(arguments):
    flash_db.run(arguments, SCRIPT, OUTPUT, lambda: build(SOURCES))


if __name__ == "__main__":
    main(sys.argv[1:])
