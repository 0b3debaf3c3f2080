// The tool's answers: what is listed, shown and identified, in which form, with which exit code.
#include "tests/tool_test.h"

#include "pgm/zorva/rules/zorva_action_table.h"
#include "pgm/zorva/zorva_qspi_action.h"
#include "tools/zorva/database/address.h"
#include "tools/zorva/database/database.h"
#include "tools/zorva/database/field_editor.h"
#include "tools/zorva/database/flow.h"

#include <fstream>
#include <iterator>

using nlohmann::json;

namespace {

TEST_F(ToolTest, ListsWhatIsAskedFor) {
    write_custom("pgm_flash_OWN.xml", document(devices("OWN_1") + user_template("MY_FLOW")));
    struct row {
        const char* arguments;
        const char* names;
    };
    const row rows[] = {
        {"", "OWN_1 SHIP_A SHIP_B SHIP_ISSI"},
        {"ship_?", "SHIP_A SHIP_B"},
        {"*ISSI", "SHIP_ISSI"},
        {"SHIP", ""},
        {"--voltage 1.8V", "OWN_1 SHIP_A SHIP_ISSI"},
        {"--voltage 3.3V", "SHIP_B"},
        {"--density 128Mb", "OWN_1 SHIP_A SHIP_ISSI"},
        {"--density 32MiB", "SHIP_B"},
        {"--template Issi", "SHIP_ISSI"},
        {"--template MY_FLOW", ""},
        {"--origin custom", "OWN_1"},
        {"--origin installation", ""},
        {"--family 3", "SHIP_B"},
        {"--family 73", "OWN_1 SHIP_A"},
        {"--family 28 --scheme 7 *_A", "SHIP_A"},
        {"--scheme 13", "OWN_1 SHIP_A SHIP_B SHIP_ISSI"},
        {"--legacy", "LEG_HIGH LEG_LOW LEG_TYRN"},
        {"--legacy --family 28 --scheme 13", "LEG_LOW"},
        {"--legacy --voltage 3.0V", "LEG_HIGH"},
        {"--all --family 3", "SHIP_B LEG_HIGH"},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.arguments);
        const tool_answer answer = zorva(std::string("list --format names ") + row.arguments);
        std::istringstream lines(answer.out);
        std::vector<std::string> names(std::istream_iterator<std::string>(lines), {});
        EXPECT_EQ(joined(names), row.names);
        EXPECT_EQ(answer.code, names.empty() ? 1 : 0);
    }
}

// Where an answer goes, and what the exit code says of it.
TEST_F(ToolTest, TellsByExitCodeAndStream) {
    struct row {
        const char* name;
        std::string arguments;
        int code;
        const char* out;
        const char* err;
    };
    const row rows[] = {
        {"no command", "", 2, "", "A command is missing"},
        {"help", "list --help", 0, "zorva list 'W25Q*'", ""},
        {"version", "--version", 0, "zorva ", ""},
        {"unknown command", "shwo SHIP_A", 2, "", "Did you mean 'show'?"},
        {"unknown option", "list --colour", 2, "", "'zorva list --help'"},
        {"bad choice", "list --format xml", 2, "", "--format"},
        {"no density", "list --density 128Tb", 2, "", "'128Tb' is no density"},
        {"no voltage", "list --voltage 5V", 2, "", "1.8V and 3.0V/3.3V"},
        {"family of no interface", "list --family 41", 1, "", "'zorva families'"},
        {"unknown template", "list --template micron", 1, "", "Did you mean 'Micron'?"},
        {"nothing fits", "list X*", 1, "", "No device fits."},
        {"nothing is named so", "list ship_", 1, "", "fits. Did you mean 'SHIP_A' or 'SHIP_B' or"},
        {"near and not of that voltage", "list SHIP_ --voltage 3.3", 1, "",
         "Did you mean 'SHIP_B'?\n"},
        {"an option twice", "list SHIP_A --format json --format names", 0, "SHIP_A\n", ""},
        {"option behind the command", "list SHIP_A --format names", 0, "SHIP_A\n", ""},
        {"option before the command", "--format names list SHIP_A", 0, "SHIP_A\n", ""},
        {"misspelled device", "show SHIP_C", 1, "", "Did you mean 'SHIP_A' or 'SHIP_B'?"},
        {"the directories searched", "show X", 1, "", "custom/"},
        {"unknown field", "show SHIP_A --field densty", 2, "", "Did you mean 'density'?"},
        {"not a byte list", "identify 20BA19", 2, "", "0x20 0xBA 0x19"},
        {"no bytes", "identify", 2, "", "BYTES"},
        {"too many bytes", "identify 1 2 3 4 5", 2, "", "one to four bytes"},
        {"mask that is no byte list", "identify 1 --mask 65280", 2, "", "one to four bytes"},
        {"mask of nothing", "identify 1 --mask 0", 2, "", "mask"},
        {"SD/MMC off", "list --interface sdmmc", 1, "", "config set pgm_enable_sdmmc on"},
        {"one message", "messages 20478", 0, "Device density '%1!s!' is invalid.", ""},
        {"unknown message", "messages 20477x", 1, "", "'20477'"},
        {"unknown setting", "config get pgm_enable_sdmm", 1, "", "'pgm_enable_sdmmc'"},
        {"neither on nor off", "config set pgm_enable_sdmmc yes", 2, "", "'yes'"},
        {"families", "families", 0, "28\tIssi_2\tQSPI, SD/MMC\tyes\t1.8V\n", ""},
        {"families of one interface", "families --interface qspi", 0, "3\tHigh\tQSPI", ""},
        {"golden template", "templates", 0, "Winbond\tgolden\t-\t-\n", ""},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.name);
        const tool_answer answer = zorva(row.arguments);
        EXPECT_EQ(answer.code, row.code);
        EXPECT_TRUE(contains(answer.out, row.out)) << answer.out;
        EXPECT_TRUE(contains(answer.err, row.err)) << answer.err;
        EXPECT_EQ(answer.out.empty(), *row.out == '\0') << answer.out;
        EXPECT_EQ(answer.err.empty(), *row.err == '\0') << answer.err;
    }
}

TEST_F(ToolTest, AnswersInOneJsonDocument) {
    const std::string bad = write_custom("pgm_flash_X.xml", document(device({.density = "5Mb"})));
    struct row {
        std::string arguments;
        const char* schema;
        const char* status;
        const char* path;  // of a value
        json value;
    };
    const row rows[] = {
        {"list SHIP_*", "zorva.list", "ok", "/devices/1/bytes", 33554432},
        {"list NONE", "zorva.list", "not-found", "/devices", json::array()},
        {"list SHIP_", "zorva.list", "not-found", "/suggestions/1", "SHIP_B"},
        {"copy SHIP_A A --set density=3Mb", "zorva.copy", "refused", "/id", 20478},
        {"copy SHIP_A A --set dies=0", "zorva.copy", "refused", "/id", 20479},
        {"copy SHIP_A A --set sfl.program[1].delay=x", "zorva.copy", "refused", "/id", 20500},
        {"list --legacy", "zorva.list", "ok", "/devices/0/density", nullptr},
        {"show SHIP_A", "zorva.show", "ok", "/flows/sdm/1/actions/0/command_name", "write enable"},
        {"show SHIP_A --flow sfl", "zorva.show", "ok", "/flows/sfl/1/actions/0/delay", "0"},
        {"show SHIP_A --field dummy-x4", "zorva.show", "ok", "/value", 10},
        {"show LEG_LOW", "zorva.show", "ok", "/legacy", true},
        {"show SHIP_", "zorva.show", "not-found", "/suggestions/0", "SHIP_A"},
        {"identify 0x20 0xBA", "zorva.identify", "ambiguous", "/devices/1/name", "SHIP_B"},
        {"identify 0xFF", "zorva.identify", "not-found", "/devices", json::array()},
        {"where", "zorva.where", "ok", "/files/1/definitions/0/findings/0/id", 20478},
        {"where SHIP_A", "zorva.where", "ok", "/definitions/0/state", "in force"},
        {"lint " + bad, "zorva.lint", "findings", "/findings/0/id", "20478"},
        {"families", "zorva.families", "ok", "/families/0/sdm", false},
        {"templates", "zorva.templates", "ok", "/templates/0/name", "Micron"},
        {"messages 20482", "zorva.messages", "ok", "/messages/0/grade", "error"},
        {"config", "zorva.config", "ok", "/settings/0/value", "off"},
        {"config get custom-dir", "zorva.config get", "ok", "/value", ""},
        {"show", "zorva.command-line", "error", "/suggestions", json::array()},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.arguments);
        const json document = zorva(row.arguments + " --format json").document();
        EXPECT_EQ(document.value("/schema/name"_json_pointer, ""), row.schema);
        EXPECT_EQ(document.value("/schema/major"_json_pointer, 0), 1);
        EXPECT_EQ(document.value("status", ""), row.status);
        const json::json_pointer path(row.path);
        ASSERT_TRUE(document.contains(path)) << document.dump(2);
        EXPECT_EQ(document[path], row.value);
    }
}

TEST_F(ToolTest, ShowsBareFields) {
    const std::pair<const char*, const char*> rows[] = {{"name", "SHIP_B"},
                                                        {"id", "0x20 0xBA 0x19"},
                                                        {"voltage", "3.0V/3.3V"},
                                                        {"density", "256Mb"},
                                                        {"size", "32 MiB"},
                                                        {"bytes", "33554432"},
                                                        {"dies", "1"},
                                                        {"dummy", "8"},
                                                        {"dummy-x4", "10"},
                                                        {"template", "Macronix"},
                                                        {"origin", "shipped"},
                                                        {"generic", "QSPI256MB"},
                                                        {"hides", ""},
                                                        {"file", m_shipped_file.c_str()}};
    for (const auto& [field, value] : rows)
        EXPECT_EQ(zorva(std::string("show SHIP_B --field ") + field).out, value + std::string("\n"))
            << field;
}

// The line of an action of each type, as a person reads it.
TEST_F(ToolTest, ShowsActionsWithTheNamesOfTheirCommands) {
    const std::string no_name = replaced(action(ZORVA_ACT_TYPE_WRITE_REGISTER), "0x06", "0xFE");
    const std::pair<std::string, const char*> rows[] = {
        {action(ZORVA_ACT_TYPE_WRITE_REGISTER),
         "Write Register\t0x06 write enable\tWrite_enable\n"},
        {no_name, "Write Register\t0xFE\tWrite_enable\n"},
        {action(ZORVA_ACT_TYPE_READ_REGISTER),
         "Read Register\t0x05 read status register\tPoll status\tlength 1, expect 0x00, mask 0x01, "
         "500 attempts, delay 10 us\n"},
        {action(ZORVA_ACT_TYPE_WRITE_DATA),
         "Write Data\t0x02 page program\tProgram\taddress jic, data jic, pages of 256 bytes, "
         "3-byte address\n"},
        {action(ZORVA_ACT_TYPE_READ_DATA),
         "Read Data\t0x0B fast read\tRead\taddress jic, length 256, expect jic, 3-byte address, 8 "
         "dummy cycles\n"},
        {action(ZORVA_ACT_TYPE_ERASE),
         "Erase\t0xD8 sector/block erase 64 KiB\tErase sector\taddress jic, 3-byte address\n"},
        {action(ZORVA_ACT_TYPE_CUSTOM), "Custom\tstart: Program data\n"},
    };
    for (const auto& [xml, line] : rows) {
        write_custom("pgm_flash_OWN.xml",
                     document(device({.name = "OWN", .flow = flows(xml + xml, "")})));
        const std::string out = zorva("show OWN --flow sfl").out;
        EXPECT_TRUE(contains(out, std::string("\n    2.\t") + line)) << line << out;
    }
}

// A label that the table doesn't have would drop its property from every answer in silence.
TEST_F(ToolTest, KnowsEveryPropertyOfAnAction) {
    for (int type = ZORVA_ACT_TYPE_WRITE_REGISTER; type < ZORVA_ACT_TYPE_CUSTOM; ++type) {
        ZORVA_QSPI_ACTION action(number<ZORVA_ACT_TYPE>(type));
        for (const ZORVA_ACT_PROPERTY property : action.get_property_enum_list()) {
            const auto* row = zorva_tool::find_property(action, property);
            ASSERT_NE(row, nullptr) << action.get_property_name(property);
            EXPECT_EQ(row->is_number_in_file,
                      zorva_is_number_in_file(zorva_property_kind(property)))
                << row->key;
        }
    }
}

TEST_F(ToolTest, IdentifiesByIdAndTellsCandidatesApart) {
    const std::string erase = action(ZORVA_ACT_TYPE_ERASE);
    const std::string write = action(ZORVA_ACT_TYPE_WRITE_REGISTER);
    write_custom("pgm_flash_OWN.xml",
                 document(device({.name = "TWIN_1", .id = "0xEF 0x40 0x18"}) +
                          device({.name = "TWIN_2",
                                  .id = "0xEF 0x40 0x18",
                                  .total_die = "2",
                                  .flow = flows(write + erase, write + erase)}) +
                          device({.name = "TWIN_3",
                                  .id = "0xEF 0x40 0x18",
                                  .flow = flows(write + write, write)}) +
                          device({.name = "SHORT", .id = "0xC2 0x20"}) +
                          device({.name = "SPELT_1", .id = "0xBF 0x26", .total_die = "2"}) +
                          device({.name = "SPELT_2", .id = "191 38"}) +
                          device({.name = "ORDER_1",
                                  .id = "0x9D 0x61",
                                  .flow = flows(write + erase, write + erase)}) +
                          device({.name = "ORDER_2",
                                  .id = "0x9D 0x61",
                                  .flow = flows(erase + write, erase + write)})));
    struct row {
        const char* arguments;
        int code;
        std::vector<std::string> lines;  // some of the answer's
    };
    const row rows[] = {
        {"0x20 0xBA 0x18", 0, {"SHIP_A\t0x20 0xBA 0x18"}},
        {"32 186 24", 0, {"SHIP_A"}},
        {"0x20 0xBA 0x18 --mask 0xFF", 1, {"SHIP_A", "SHIP_B", "ID\tSHIP_A\t0x20 0xBA 0x18"}},
        {"0x20 0xBA 0x77", 1, {}},
        {"0xC2 0x20 0x17", 0, {"SHORT"}},
        {"0xC2 0x21 0x17", 1, {}},
        {"191 0x26", 1, {"custom\n\nDies\tSPELT_1\t2\nDies\tSPELT_2\t1\n"}},
        {"0x9D 0x61",
         1,
         {"SFL and SDM Program\tORDER_1\t0x06 write enable; 0xD8 sector",
          "SFL and SDM Program\tORDER_2\t0xD8 sector"}},
        {"0xEF 0x40",
         1,
         {"Dies\tTWIN_1, TWIN_3\t1", "Dies\tTWIN_2\t2", "SFL Program\tTWIN_1\t-\n",
          "SFL Program\tTWIN_3\t0x06 write enable again\n",
          "SDM Program\tTWIN_2\t0xD8 sector/block erase 64 KiB, address jic, 3-byte address\n"}},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.arguments);
        const tool_answer answer = zorva(std::string("identify ") + row.arguments);
        EXPECT_EQ(answer.code, row.code);
        for (const std::string& line : row.lines)
            EXPECT_TRUE(contains(answer.out, line)) << line << "\n" << answer.out;
        EXPECT_EQ(answer.out.empty(), row.lines.empty()) << answer.out;
    }
    EXPECT_TRUE(contains(zorva("identify 0xC2 0x20 0x17").err, "SHORT"));
    const std::vector<std::string> long_mask = {"identify", "0x20", "--mask", "0xFF 0xFF"};
    EXPECT_EQ(zorva(long_mask).code, 2);
}

TEST_F(ToolTest, IsAlignedAndColouredOnATerminalOnly) {
    EXPECT_EQ(zorva("list SHIP_A").out,
              "SHIP_A\t0x20 0xBA 0x18\t128Mb\t16 MiB\t1.8V\tMicron\tshipped\n");
    const std::string table = zorva("list", true).out;
    EXPECT_TRUE(table.starts_with("Name       ID ")) << table;
    EXPECT_TRUE(contains(table, "\nSHIP_A     0x20 0xBA 0x18  128Mb ")) << table;
    EXPECT_TRUE(contains(zorva("show NONE", true).err, "\x1B["));
    ::setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(contains(zorva("show NONE", true).err, "\x1B["));
}

// A name with a line break and an escape sequence, in a file name that isn't UTF-8.
TEST_F(ToolTest, LetsNoControlCharacterThrough) {
    const std::string file = "pgm_flash_\xFF\x1B[31m.xml";
    write_custom(file, document(device({.name = "A\nB\xC2\x9B", .density = "1\tMb"})));
    for (const std::string& command :
         {std::string("list"), std::string("where"), "lint " + m_custom_dir,
          std::string("list --format json"), std::string("where --format json")}) {
        SCOPED_TRACE(command);
        const tool_answer answer = zorva(command, true);
        EXPECT_FALSE(contains(answer.out + answer.err, "\x1B[31m"));
        EXPECT_FALSE(contains(answer.out + answer.err, "\xC2\x9B"));
        EXPECT_TRUE(!contains(command, "json") || !answer.document().empty());
    }
    EXPECT_TRUE(contains(zorva("where").out, R"(pgm_flash_\xFF\x1B[31m.xml)"));
}

// An empty value is what a script's unset variable leaves.
TEST_F(ToolTest, RefusesEmptyValues) {
    const std::vector<std::string> rows[] = {{"list", "--family", ""},
                                             {"list", "--family="},
                                             {"list", "--voltage", ""},
                                             {"list", "--origin", ""},
                                             {"list", ""},
                                             {"list", "--custom-dir", ""},
                                             {"show", "SHIP_A", "--flow", ""},
                                             {"show", "SHIP_A", "--field", ""},
                                             {"identify", "1", "--mask", ""},
                                             {"where", ""},
                                             {"messages", ""},
                                             {"new", "A", "--id", ""},
                                             {"copy", "SHIP_A", "B", "--to="},
                                             {"new", "A", "--save-template", ""},
                                             {"export", "SHIP_A", "-o", ""},
                                             {"--programmer-dir", "", "families"},
                                             {"template", "save", "T", "--from", ""}};
    for (const auto& row : rows) {
        const tool_answer answer = zorva(row);
        EXPECT_EQ(answer.code, 2) << joined(row);
        EXPECT_TRUE(contains(answer.err, " --help' tells more.\n")) << answer.err;
        EXPECT_EQ(answer.out, "") << joined(row);
    }
}

TEST_F(ToolTest, AnswersAnAddressOfAnyLength) {
    zorva("copy SHIP_A OWN");
    const std::string flood(40'000, 'a');
    const std::string digits(40'000, '1');
    const std::string start = "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa...'";
    struct row {
        std::string assignment;
        int code;
        std::string sentence;
    };
    const row rows[] = {
        {"sfl.program[1]." + flood + "=1", 1, "which has no property '" + start + "; it has name"},
        {"sfl." + flood + "[1].delay=1", 2, "There is no operation '" + start + "; there are"},
        {flood + ".program[1].delay=1", 2, "There is no flow '" + start + "; there are sfl, sdm."},
        {"sfl.program[" + digits + "].delay=1", 2, "...' is no address"},
        {"." + flood + "=1", 2, "...' is no address"},
        {"sfl.program[1]delay=1", 2, "is no address"},
        {"sfl.program[1].=1", 2, "is no address"},
        {"sfl.program[-1].delay=1", 2, "is no address"},
        {"sfl.program[].delay=1", 2, "is no address"},
    };
    for (const row& row : rows) {
        const tool_answer answer = zorva({"set", "OWN", row.assignment});
        EXPECT_EQ(answer.code, row.code) << row.sentence;
        EXPECT_TRUE(contains(answer.err, row.sentence)) << answer.err;
    }
}

// What a file holds in the end is what the note says.
TEST_F(ToolTest, TellsHowANumberWasRead) {
    const std::string actions =
        action(ZORVA_ACT_TYPE_READ_REGISTER) + action(ZORVA_ACT_TYPE_READ_DATA);
    write_custom("pgm_flash_OWN.xml", document(device({.name = "OWN", .flow = flows(actions)})));
    std::ostringstream ignored;
    zorva_tool::output out({ignored, ignored, false, false}, "table", "");
    const zorva_tool::database db("", "qspi", out);
    ZORVA_MGR& manager = *db.managers()[0];
    ZORVA_FLASH& flash = *manager.get_flash("OWN", true);
    const auto set = [&](const std::string& what, const std::string& value) {
        return what == "dies"
                   ? zorva_tool::dies_editor.set(manager, flash, value)
                   : zorva_tool::set_property(manager, flash, "sfl.program" + what, value);
    };
    struct row {
        const char* what;
        const char* value;
        const char* note;
        const char* written;
    };
    const row rows[] = {
        {"[1].attempt_count", "0500", "'0500' is read as octal: 320.", "<ATTEMPT_COUNT>320<"},
        {"[1].attempt_count", "500", "", "<ATTEMPT_COUNT>500<"},
        {"[1].attempt_count", "007", "", "<ATTEMPT_COUNT>7<"},
        {"[1].delay", "0x10", "", ">16</DELAY>"},
        {"[1].delay", "00010", "'00010' is read as octal: 8.", ">8</DELAY>"},
        {"[1].data_length", "010", "", "<DATA_LENGTH>010<"},  // a text, and read as decimal
        {"[2].dummy_clock_cycle", "012", "'012' is read as octal: 10.",
         "<ACT_DUMMY_CLOCK_CYCLE>10<"},
        {"dies", "010", "'010' is read as decimal: 10.", "<TOTAL_DEVICE_DIE>10<"},
        {"dies", "0x10", "", "<TOTAL_DEVICE_DIE>16<"},
        {"dies", "08", "'08' is read as decimal: 8.", "<TOTAL_DEVICE_DIE>8<"},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(std::string(row.what) + "=" + row.value);
        EXPECT_EQ(set(row.what, row.value), row.note);
        const std::string written = manager.get_flash_document(&flash);
        EXPECT_TRUE(contains(written, row.written)) << written;
    }
    const tool_answer refused = zorva("copy SHIP_A B --set sfl.program[1].delay=0180");
    EXPECT_EQ(refused.err,
              "error: '0180' isn't a number: a leading 0 means octal, and 8 is no octal digit.\n");
}

TEST_F(ToolTest, TakesValuesInOtherSpellings) {
    zorva("copy SHIP_A OWN");
    const std::pair<std::string, const char*> rows[] = {{"density=32MiB", "256Mb"},
                                                        {"density=1 GiB", ""},
                                                        {"density=1Gb", "1024Mb"},
                                                        {"voltage=3.3V", high_voltage},
                                                        {"voltage=1.8", low_voltage},
                                                        {"voltage=3.0", high_voltage},
                                                        {"voltage=3", ""},
                                                        {"voltage=V", ""}};
    for (const auto& [assignment, value] : rows) {
        const tool_answer answer = zorva({"set", "OWN", assignment});
        EXPECT_EQ(answer.code, *value == '\0' ? 1 : 0) << assignment << answer.err;
        const std::string field = assignment.substr(0, assignment.find('='));
        if (*value != '\0')
            EXPECT_EQ(zorva("show OWN --field " + field).out, value + std::string("\n"));
        else
            EXPECT_TRUE(contains(answer.err, "is invalid.")) << answer.err;
    }
    write_custom(
        "pgm_flash_OWN.xml",
        document(device(
            {.name = "OWN",
             .flow = flows(replaced(replaced(action(ZORVA_ACT_TYPE_READ_REGISTER), "0x05", "0x9F"),
                                    "0x00", "0x20 187"))})));
    EXPECT_EQ(zorva({"set", "OWN", "id=32 0xbb 24"}).err, "") << "the ID that the flow expects";
}

TEST_F(ToolTest, TakesAnswersWithBlanksAround) {
    const std::vector<std::string> command = {"new", "--id", "0x01", "--voltage", "1.8V"};
    const tool_answer answer = zorva(command, true, "  OWN \t\n 64Mb\r\n");
    EXPECT_EQ(answer.code, 2) << "the input ends";
    EXPECT_FALSE(contains(answer.err, "invalid")) << answer.err;
    EXPECT_TRUE(contains(answer.err, "): \n\x1B[31merror:\x1B[0m The input ended")) << answer.err;
}

}  // namespace
