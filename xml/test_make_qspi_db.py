"""What every shipped flow has to keep to, lest it harms or hangs a part; and refused sources."""

import re
import unittest
import xml.etree.ElementTree as ElementTree
from itertools import combinations, groupby, product

import make_qspi_db
from flash_db_testing import BadSourceTests, OutputTests
from qspi_flow_testing import (
    ANY_REGISTER_WRITE, BUSY_BITS, DIES, DOUBLINGS, EXTENDED_ADDRESS, FAILURES, IDS,
    ODD_DENSITIES, READ_ID, REGISTER_WRITES, RESET, SELECT_DIE, SHORTEST_RESETS, TELLS_4BYTE,
    WRITE_ENABLE, flows_of, on_each_flow)

MARKS = {"PROGRAM": "Program data", "ERASE": "Erase data", "VERIFY_BLANKCHECK_EXAMINE": "Read data"}

MODE_SWITCHES = {  # command and data, and the number of address bytes afterwards
    ("0xB7", ""): 4, ("0x17", "0x80"): 4,
    ("0xE9", ""): 3, ("0x17", "0x00"): 3, ("0x99", ""): 3, ("0xF0", ""): 3,
}
# Where 0xE9 doesn't leave 4-byte mode.
NO_E9 = r"template Issi|IS25.*|S25FS.*|S70FS.*"

# Parts whose erase commands aren't those of their relatives: pattern, and command to KiB.
ODD_ERASES = {
    r"M25P10A": {"0xD8": 32},
    r"M25P128|S25F[LS]512S|S70F[LS]01GS": {"0xD8": 256},
    r"M25P(?!128)[248163]\d*|S25FL\d+[AP]|S25F[LS](064|12[78]|256)S": {"0xD8": 64},
    r"M25PX.*|N25Q(?!016).*|W25X[1248]0|IS25LQ016|S25FL\d+K": {"0x20": 4, "0xD8": 64},
    r"MX25L(1006E|2005A|4005A|8005|1606E|3206E|6406E|12805D)": {"0x20": 4, "0xD8": 64},
    # 0x52 erases nothing or 64 KiB on other parts of their ID.
    r"MT25Q[LU](128|256|512|01G)|template Micron|MX25U8032E": {"0x20": 4, "0xD8": 64},
    r"MX25L(3233F|6445E|6473F|12833F|12835F|12845E)": {"0x20": 4, "0xD8": 64},
    r"IS25LP0[12]0E|IS25[LW]P0[12]GG": {"0x20": 4, "0xD8": 64},
}

# What parts answer to 0x9F, and the names whose check takes it.
ANSWERS = {
    "20 BA 19 10 44 00": "MT25QL256", "20 BA 19 10 00 00": "N25Q256A13",
    "20 BB 20 10 44 00": "MT25QU512", "20 BB 20 10 00 00": "N25Q512A11",
    "20 BB 21 10 44 00": "MT25QU01G", "20 BB 21 10 40 00": "MT25QU01G",
    "20 BB 21 10 00 00": "N25Q00AA11", "20 BA 22 10 40 00": "MT25QL02G",
    "01 02 17 4D 01 81": "S25FS064S",
    "01 20 18 4D 01 80": "S25FL127S S25FL128S S25FL129P",
    "01 20 18 4D 01 81": "S25FL127S S25FL129P S25FS128S",
    "01 02 19 4D 01 80": "S25FL256S", "01 02 19 4D 01 81": "S25FS256S",
    "01 02 20 4D 00 80": "S25FL512S", "01 02 20 4D 00 81": "S25FS512S",
    "01 02 19 4D 00 80": "", "01 02 20 4D 01 80": "",  # the other sector size
    "01 02 21 4D 00 81": "S70FL01GS S70FS01GS", "01 02 21 4D 01 81": "S70FL01GS",
}
# Parts, a register check ahead of Program and Erase, and values at which they go on and stop.
REGISTERS = [
    ("S25FS(512|064|128|256)S|S70FS01GS", "Check_configuration_3",
     [0x00, 0x08], [0x01, 0x04, 0x10, 0x20]),
    ("S25FS512S|S70FS01GS", "Check_configuration_3", [0x02, 0x0A], []),
    ("S25FS(064|128|256)S", "Check_configuration_3", [], [0x02]),  # 256 KiB sectors
    ("S25FS(512|064|128|256)S|S70FS01GS", "Check_uniform_sectors", [0x08], [0x00]),
    ("S25FL127S", "Check_sector_size", [0x00], [0x80]),
]


class ShippedFlows(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.document = ElementTree.fromstring(make_qspi_db.build(make_qspi_db.SOURCES))
        cls.flows = list(flows_of(cls.document))

    def test_all_templates_and_parts_are_there_with_both_flows(self):
        self.assertEqual(2 * (5 + 179), len(self.flows))

    @on_each_flow
    def test_id_tells_vendor_voltage_and_density(self, flow):
        if not flow.info:
            return
        device_id = flow.info["DEVICE_ID"]
        of_vendor, of_low_voltage = IDS[flow.info["PROG_FLOW_TEMPLATE"]]
        self.assertRegex(device_id, f"^{of_vendor} 0x[0-9A-F]{{2}}$")
        is_low = re.fullmatch(of_low_voltage, device_id) or re.fullmatch("S(25|70)FS.*", flow.name)
        self.assertEqual("1.8V" if is_low else "3.0V/3.3V", flow.info["DEVICE_IO_VOLTAGE"])
        last = device_id.split()[2]
        odd = [o[last] for pattern, o in ODD_DENSITIES.items() if re.fullmatch(pattern, flow.name)]
        code = int(last, 16)
        usual = 0 if odd else 2 ** (DOUBLINGS[code & 0xF0] + code % 16)
        self.assertEqual(f"{(odd or [usual])[0]}Mb", flow.info["DEVICE_DENSITY"])

    @on_each_flow
    def test_data_are_programmed_and_read_over_one_line_as_each_part_can(self, flow):
        marked = [(a.type, a.COMMAND, a.BUS_WIDTH, a.ACT_DUMMY_CLOCK_CYCLE, a.PAGE_SIZE)
                  for a in flow.actions if a.type in ("WRITE_DATA", "READ_DATA") and
                  a.ADDRESS == "jic"]
        self.assertEqual([("WRITE_DATA", "0x02", "1-1-1", "", "256"),
                          ("READ_DATA", "0x0B", "1-1-1", "8", "")], marked)
        if flow.info:
            self.assertEqual("8", flow.info["DUMMY_CLOCK_CYCLE"])
        for action in flow.actions:
            if action.COMMAND == EXTENDED_ADDRESS:
                self.assertEqual("0x00", action.DATA, "the first 16 MiB")

    @on_each_flow
    def test_failures_that_a_part_tells_stop_the_flow(self, flow):
        for pattern, command, mask, clear in FAILURES:
            for tag in ("PROGRAM", "ERASE") if re.fullmatch(pattern, flow.name) else ():
                polls = [a for a in flow.operations[tag] if a not in flow.preparation(tag) and
                         a.type == "READ_REG" and a.COMMAND == command and
                         int(a.EXPECTED_DATA_MASK, 16) & mask == mask]
                self.assertTrue(polls, tag)
                for poll in polls:
                    self.assertEqual(0, int(poll.EXPECTED_DATA, 16) & mask, tag)
            if re.fullmatch(pattern, flow.name):
                commands = [action.COMMAND for action in flow.operations["INITIALIZATION"]]
                self.assertIn(clear, commands, "what is left of another flow")

    @on_each_flow
    def test_latch_is_closed_resets_end_and_the_mode_is_read_back(self, flow):
        for tag in ("INITIALIZATION", "TERMINATION"):
            is_open = False
            for action in flow.operations[tag]:
                closes = action.COMMAND in ("0x04", *SHORTEST_RESETS)
                is_open = action.COMMAND == WRITE_ENABLE or is_open and not closes
                if action.COMMAND in SHORTEST_RESETS:
                    self.assertGreaterEqual(int(action.DELAY), SHORTEST_RESETS[action.COMMAND])
                if action.NAME == "Check_4byte_addressing":
                    bit = TELLS_4BYTE[action.COMMAND]
                    self.assertEqual((bit, bit), (int(action.EXPECTED_DATA, 16),
                                                  int(action.EXPECTED_DATA_MASK, 16)))
            self.assertFalse(is_open, tag)
        if flow.info:
            dies = [count for parts, count in DIES.items() if re.fullmatch(parts, flow.name)]
            self.assertEqual((dies or ["1"])[0], flow.info["TOTAL_DEVICE_DIE"])
        if re.fullmatch("MT25.*|N25.*", flow.name):
            masks = {a.EXPECTED_DATA_MASK for a in flow.actions if a.NAME.endswith("unprotected")}
            self.assertEqual({"0x5D"}, masks)

    @on_each_flow
    def test_write_enable_stands_right_before_all_that_needs_it(self, flow):
        # Erase actions next to each other are one: the engine takes one of them.
        runs = [list(run) for _, run in groupby(flow.actions, lambda a: a.type == "ERASE" or a)]
        for before, run in zip([None] + [run[-1] for run in runs], runs):
            if run[0].needs_write_enable(flow.name):
                self.assertEqual(WRITE_ENABLE, before and before.COMMAND, run[0].NAME)

    @on_each_flow
    def test_poll_follows_and_outlasts_the_slowest_case_on_every_die(self, flow):
        for actions in flow.operations.values():
            for i, action in enumerate(actions):
                writes = action.COMMAND in REGISTER_WRITES
                if writes or action.type in ("WRITE_DATA", "ERASE"):
                    self.check_polls(flow, action, actions[i + 1:], not writes)

    def check_polls(self, flow, action, following, on_every_die):
        dies, selected = set(), "0x00"
        for poll in following:
            if poll.COMMAND == SELECT_DIE:
                selected = poll.DATA
            elif poll.is_poll():
                dies.add(selected)
                mask, ready = BUSY_BITS[poll.COMMAND]
                self.assertEqual(mask, int(poll.EXPECTED_DATA_MASK, 16) & mask, poll.NAME)
                self.assertEqual(ready, int(poll.EXPECTED_DATA, 16) & mask, poll.NAME)
                limit = int(poll.ATTEMPT_COUNT) * int(poll.DELAY)
                self.assertGreaterEqual(limit, action.slowest(), action.NAME)
            elif poll.type != "ERASE":
                break
        self.assertTrue(dies, f"no poll after {action.NAME}")
        if on_every_die:
            self.assertEqual(flow.dies, dies, action.NAME)

    @on_each_flow
    def test_winbond_parts_of_several_dies_select_each(self, flow):
        if flow.info and flow.info["PROG_FLOW_TEMPLATE"] == "Winbond":
            self.assertEqual(int(flow.info["TOTAL_DEVICE_DIE"]), len(flow.dies))

    @on_each_flow
    def test_4byte_addressing_is_entered_above_128mb_only_and_left(self, flow):
        modes, selected = dict.fromkeys(flow.dies, 3), "0x00"
        for tag, actions in flow.operations.items():
            for action in actions:
                if action.COMMAND == SELECT_DIE:
                    selected = action.DATA
                if (action.COMMAND, action.DATA) in MODE_SWITCHES:
                    modes[selected] = MODE_SWITCHES[action.COMMAND, action.DATA]
                if action.ADDRESSING_MODE:
                    self.assertEqual({int(action.ADDRESSING_MODE)}, set(modes.values()))
                if action.COMMAND == ANY_REGISTER_WRITE:
                    self.assertEqual({len(action.register_address())}, set(modes.values()))
            expected = 4 if flow.is_large() and tag != "TERMINATION" else 3
            self.assertEqual({expected}, set(modes.values()), f"after {tag}")
        if re.fullmatch(NO_E9, flow.name):
            self.assertNotIn("0xE9", [action.COMMAND for action in flow.actions])

    @on_each_flow
    def test_repeated_part_stands_between_marks_and_takes_addresses_from_the_file(self, flow):
        for tag, actions in flow.operations.items():
            marks = [(a.DESCRIPTION, a.DIRECTION) for a in actions if a.type == "CUSTOM"]
            inside = [a for a in actions
                      if a.type in ("WRITE_DATA", "ERASE") or a.ADDRESS == "jic"]
            if tag not in MARKS:
                self.assertEqual(([], []), (marks, inside), tag)
                continue
            self.assertEqual([(MARKS[tag], "start"), ("End of data?", "end")], marks)
            self.assertEqual("end", actions[-1].DIRECTION)
            self.assertEqual({"jic"}, {a.ADDRESS for a in inside}, tag)
            self.assertFalse(set(inside) & set(flow.preparation(tag)), tag)

    @on_each_flow
    def test_erase_actions_are_one_block_of_the_sizes_that_the_part_has(self, flow):
        runs = [list(run) for erases, run in
                groupby(flow.operations["ERASE"], lambda a: a.type == "ERASE") if erases]
        self.assertEqual(1, len(runs))
        usual = [{"0x20": 4, "0xD8": 64}, {"0x20": 4, "0x52": 32, "0xD8": 64}]
        odd = [o for pattern, o in ODD_ERASES.items() if re.fullmatch(pattern, flow.name)]
        self.assertIn(flow.erases(), odd or usual + [{"0xD8": 64}] * (flow.info is None))

    @on_each_flow
    def test_id_is_checked_before_anything_is_written_to_a_device(self, flow):
        commands = [action.COMMAND for action in flow.operations["INITIALIZATION"]]
        if not flow.info:
            self.assertNotIn(READ_ID, commands)
            return
        at = commands.index(READ_ID)
        self.assertNotIn(WRITE_ENABLE, commands[:at])
        check = flow.id_check()
        expected, mask = check.EXPECTED_DATA.split(), check.EXPECTED_DATA_MASK.split()
        self.assertEqual(flow.info["DEVICE_ID"].split(), expected[:3])
        self.assertEqual(["0xFF"] * 3, mask[:3])
        self.assertEqual(len(expected), len(mask))
        self.assertEqual(str(len(expected)), check.DATA_LENGTH)
        self.assertLess(at, min([commands.index(c) for c in ("0xB7", "0x17") if c in commands],
                                default=len(commands)))

    def test_id_check_tells_apart_what_the_further_bytes_tell(self):
        for answer, names in ANSWERS.items():
            with self.subTest(answer):
                taken = {
                    flow.name for flow in self.flows if flow.info and flow.id_check().fits(
                        bytes.fromhex(answer)[:int(flow.id_check().DATA_LENGTH)])}
                self.assertEqual(set(names.split()), taken)

    def test_parts_that_the_id_check_cannot_tell_apart_erase_alike(self):
        # Else the erase of a part chosen by a wrong name takes data beside, or erases nothing.
        by_id = {}
        for flow in self.flows:
            if flow.info:
                by_id.setdefault(flow.info["DEVICE_ID"], []).append(flow)
        for one, other in sum((list(combinations(flows, 2)) for flows in by_id.values()), []):
            with self.subTest(f"{one.name}, {other.name}"):
                if self.are_alike(one.id_check(), other.id_check()):
                    self.assertEqual(one.erases(), other.erases())

    def are_alike(self, one, other):
        """Whether an answer is there that both take."""
        columns = [one.EXPECTED_DATA, one.EXPECTED_DATA_MASK,
                   other.EXPECTED_DATA, other.EXPECTED_DATA_MASK]
        rows = zip(*([int(byte, 16) for byte in column.split()] for column in columns))
        return all((e ^ other_e) & m & other_m == 0 for e, m, other_e, other_m in rows)

    def test_flow_stops_at_a_register_that_is_set_otherwise(self):
        for parts, name, good, bad in REGISTERS:
            flows = [flow for flow in self.flows if re.fullmatch(parts, flow.name)]
            self.assertTrue(flows, parts)
            for flow, tag in product(flows, ("PROGRAM", "ERASE")):
                check = next(a for a in flow.preparation(tag) if a.NAME == name)
                for value in good + bad:
                    with self.subTest(f"{flow.name} {name} 0x{value:02X}"):
                        self.assertEqual(value in good, check.fits([value]))

    @on_each_flow
    def test_uniform_sectors_of_fs_s_hold_until_termination_alone(self, flow):
        if re.fullmatch("S25FS.*|S70FS.*", flow.name):
            for tag in ("PROGRAM", "ERASE"):
                commands = [a.COMMAND for a in flow.operations[tag]]
                self.assertNotIn(RESET, commands[commands.index(ANY_REGISTER_WRITE):], tag)
            self.assertIn(RESET, [a.COMMAND for a in flow.operations["TERMINATION"]])
        for action in flow.actions:
            if action.COMMAND == ANY_REGISTER_WRITE:
                self.assertFalse(action.writes_non_volatile_register(), action.NAME)

    @on_each_flow
    def test_examining_writes_no_non_volatile_register_and_repeating_none_either(self, flow):
        allowed = flow.preparation("PROGRAM") + flow.preparation("ERASE")
        for action in flow.actions:
            if action not in allowed:
                self.assertFalse(action.writes_non_volatile_register(), action.NAME)

    @on_each_flow
    def test_clearing_protection_on_every_die_keeps_quad_enable_where_there_is_one(self, flow):
        if not flow.info:
            return
        vendor = flow.info["PROG_FLOW_TEMPLATE"]
        on = "0x40" if vendor in ("Macronix", "Issi") else "0x00 0x02"
        quad = vendor != "Micron" and flow.info["DUMMY_CLOCK_CYCLE_X4"] != "0"
        for tag in ("PROGRAM", "ERASE"):
            written, selected = {}, "0x00"
            for action in flow.preparation(tag):
                if action.COMMAND == SELECT_DIE:
                    selected = action.DATA
                if action.COMMAND == "0x01":
                    written[selected] = action.DATA
            self.assertEqual(dict.fromkeys(flow.dies, on if quad else "0x00"), written, tag)


class Output(OutputTests, unittest.TestCase):
    DATABASE = make_qspi_db


class BadSources(BadSourceTests, unittest.TestCase):
    DATABASE = make_qspi_db
    CASES = [
        ("parts.csv", "vendor,name,", "name,vendor,", r"1: the columns have to be"),
        ("parts.csv", "1,8,10,n25q,", "1,8,n25q,", r"2: 13 columns instead of 14"),
        ("parts.csv", "MT25QU128,", "MT25QL128,", r"3: 'MT25QL128' is there twice"),
        ("parts.csv", "Micron,MT25QL128", "Micro,MT25QL128", r"2: 'Micro' is not valid"),
        ("parts.csv", "128Mb,3.0V", "129Mb,3.0V", r"2: '129Mb' is not valid for density"),
        ("parts.csv", "0xD8=64", "0xD8=65", r"2: .* is not valid for erase"),
        ("parts.csv", "0x40/0x40", "0x40/40", r"4: .* is not valid for id_more"),
        ("parts.csv", "id:flashrom", "flashrom", r"2: .* is not valid for sources"),
        ("parts.csv", ",n25q,", ",n26q,", r"2: Micron has no flow 'n26q'"),
        ("micron.flow", "golden MT25", "golden MX25", r"2: golden has to name"),
        ("micron.flow", "like plain", "like that", r"\d+: there is no flow 'that'"),
        ("micron.flow", "n25q_small", "m25p", r"\d+: 'm25p' is there twice"),
        ("micron.flow", "use     write_disable", "use     it", r"\d+: .*'it' above"),
        ("common.flow", "[Verify]", "[Erase]", r"\d+: 'Erase' is there twice"),
        ("common.flow", "[Verify]", "[Read]", r"\d+: '\[Read\]' is no section"),
        ("common.flow", "    erase\n", "    erase 4\n", r"\d+: 'erase 4' is no step"),
        ("common.flow", "0x99    delay 400", "0x99 delay -1", r"\d+: '-1' is not"),
        ("common.flow", "mask protection", "", r"\d+: read needs mask"),
        ("common.flow", "block software_reset", "", r"\d+: 'write' has to stand"),
    ]


if __name__ == "__main__":
    unittest.main()
