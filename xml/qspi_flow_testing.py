"""A shipped flow as the tests look at it: its actions, and what is known of parts and commands."""

import functools
import re

OPERATIONS = ["INITIALIZATION", "PROGRAM", "ERASE", "VERIFY_BLANKCHECK_EXAMINE", "TERMINATION"]

WRITE_ENABLE, SELECT_DIE, READ_ID, RESET = "0x06", "0xC2", "0x9F", "0x99"
EXTENDED_ADDRESS = "0xC5"
ANY_REGISTER_WRITE, VOLATILE_COPIES = "0x71", 0x800000  # data: an address, then the value
NON_VOLATILE_WRITES = {"0x01", "0x11", "0x31", "0xB1"}
REGISTER_WRITES = NON_VOLATILE_WRITES | {"0x17", ANY_REGISTER_WRITE, EXTENDED_ADDRESS}
# Where 0xB7 and 0xE9 need the write enable latch.
MODE_NEEDS_WRITE_ENABLE = r"template Micron|MT25.*|N25.*|W25Q256FV"
BUSY_BITS = {"0x05": (0x01, 0x00), "0x70": (0x80, 0x80)}  # mask and value once ready
KIB = 1024
SLOWEST = {4 * KIB: 896_000, 32 * KIB: 4_000_000, 64 * KIB: 5_376_000, 256 * KIB: 6_144_000}
SLOWEST_PROGRAM, SLOWEST_REGISTER_WRITE = 5_376, 5_000_000

# By vendor: the first two bytes of its IDs, and those IDs that are of 1.8 V parts. S25FS and S70FS
# share theirs with parts of 3 V.
IDS = {
    "Micron": ("0x20 0x(20|71|BA|BB)", "0x20 0xBB.*"),
    "Macronix": ("0xC2 0x(2[03456]|[59]E)", "0xC2 0x25 0x3.*"),
    "Cypress": ("0x01 0x(02|20|40|60)", ""),
    "Winbond": ("0xEF 0x[3-8]0", "0xEF 0x[568]0.*"),
    "Issi": ("0x9D 0x(1[24]|[467]0)", "0x9D 0x(12|70).*"),
}
# The last byte of most IDs counts doublings, from 1 Mbit at 0x11 (0x31) and from 512 Mbit at 0x20.
DOUBLINGS = {0x10: -1, 0x20: 9, 0x30: -1}
ODD_DENSITIES = {  # the older parts of one double once more, and two have numbers of their own
    r"S25FL\d+[AP]": {"0x12": 4, "0x13": 8, "0x14": 16, "0x15": 32, "0x16": 64, "0x18": 128},
    r"S25FS064S": {"0x17": 64}, r"IS25WQ040": {"0x53": 4}, r"IS25LQ016": {"0x45": 16},
}

# Parts that tell a failed program or erase: the status read, the bits that are set then, and the
# command that clears them.
FAILURES = [
    (r"MT25.*|N25Q(?!016|032|064).*|template Micron", "0x70", 0x32, "0x50"),
    (r"S25FL129P|S25F[LS](064|128|256|512)S|S70F.*|template Cypress", "0x05", 0x60, "0x30"),
]

DIES = {r"MT25Q.01G|N25Q512.*|W25Q01JV.*|S70F.*": "2", r"MT25Q.02G|N25Q00A.*|W25Q02JV.*": "4"}
SHORTEST_RESETS = {RESET: 100, "0xF0": 70}  # microseconds
TELLS_4BYTE = {"0x15": 0x20, "0x16": 0x80, "0x70": 0x01}  # register read, and its bit


class Action:
    def __init__(self, element):
        self.type = element.get("type")
        self.children = {child.tag: child.text or "" for child in element}

    def __getattr__(self, tag):
        return self.children.get(tag, "")

    def is_poll(self):
        return self.COMMAND in BUSY_BITS and int(self.ATTEMPT_COUNT) > 1

    def fits(self, answer):
        """Whether a read of these bytes goes on."""
        expected = bytes.fromhex(self.EXPECTED_DATA.replace("0x", ""))
        mask = bytes.fromhex(self.EXPECTED_DATA_MASK.replace("0x", ""))
        return all((a ^ e) & m == 0 for a, e, m in zip(answer, expected, mask, strict=True))

    def register_address(self):
        return bytes(int(byte, 16) for byte in self.DATA.split()[:-1])

    def writes_non_volatile_register(self):
        if self.COMMAND == ANY_REGISTER_WRITE:
            return not int.from_bytes(self.register_address(), "big") & VOLATILE_COPIES
        return self.COMMAND in NON_VOLATILE_WRITES

    def needs_write_enable(self, name):
        return (
            self.type in ("WRITE_DATA", "ERASE")
            or self.type == "WRITE_REG" and self.COMMAND in REGISTER_WRITES
            or self.COMMAND in ("0xB7", "0xE9") and re.fullmatch(MODE_NEEDS_WRITE_ENABLE, name)
        )

    def slowest(self):
        if self.type == "WRITE_DATA":
            return SLOWEST_PROGRAM
        return SLOWEST[int(self.ERASE_SIZE)] if self.type == "ERASE" else SLOWEST_REGISTER_WRITE


class Flow:
    def __init__(self, name, element, info):
        self.name = name
        self.info = info
        self.operations = {tag: [Action(a) for a in element.find(tag)] for tag in OPERATIONS}
        self.actions = sum(self.operations.values(), [])
        self.dies = {a.DATA for a in self.actions if a.COMMAND == SELECT_DIE} or {"0x00"}

    def preparation(self, tag):
        """What runs once, ahead of the part that is repeated over the data."""
        actions = self.operations[tag]
        return actions[:[a.DIRECTION for a in actions].index("start")]

    def id_check(self):
        return next(a for a in self.operations["INITIALIZATION"] if a.COMMAND == READ_ID)

    def erases(self):
        return {a.COMMAND: int(a.ERASE_SIZE) // KIB for a in self.actions if a.type == "ERASE"}

    def is_large(self):
        return not self.info or int(self.info["DEVICE_DENSITY"][:-2]) > 128


def flows_of(document):
    for vendor in document.find("GOLDEN_TEMPLATE"):
        for flow in vendor.find("PROGRAMMING_FLOW"):
            yield Flow(f"template {vendor.tag.title()}", flow, None)
    for flash in document.iter("FLASH"):
        info = {child.tag: child.text for child in flash.find("DEVICE_INFO")}
        for flow in flash.find("PROGRAMMING_FLOW"):
            yield Flow(info["DEVICE_NAME"], flow, info)


def on_each_flow(check):
    @functools.wraps(check)
    def test(self):
        for flow in self.flows:
            with self.subTest(flow.name):
                check(self, flow)

    return test
