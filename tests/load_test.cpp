// What a manager takes of the files that it meets.
#include "pgm/zorva/rules/zorva_action_table.h"
#include "tests/test_support.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

const std::string shipped = "SHIP_A SHIP_B SHIP_ISSI";

class LoadTest : public InstallationTest {
  protected:
    static std::string loaded_names() {
        ZORVA_QSPI_MGR mgr;
        return joined(device_names(mgr));
    }
    static std::vector<ZORVA_ACTION*> program(ZORVA_MGR& mgr, const std::string& name,
                                              ZORVA_PROG_FLOW_TYPE flow) {
        return *mgr.get_flash(name, true)
                    ->get_operation_list(flow)
                    ->at(ZORVA_OP_TYPE_PROGRAM)
                    ->get_action_list();
    }
    // Whether the file was passed over with a trace whose reason begins so.
    bool skipped(const std::string& file, const std::string& reason) const {
        const std::string name = file.substr(file.rfind('/') + 1);
        return std::ranges::any_of(m_traces, [&](const std::string& text) {
            return text.starts_with("Skip " + name + " due to parsing error: " + file + reason);
        });
    }
};

TEST_F(LoadTest, TheCustomDirectoryBeatsTheOthers) {
    const std::string installed =
        write_installed("pgm_flash_1.xml", document(device({.name = "BOTH", .density = "1Mb"}) +
                                                    device({.name = "ONE", .density = "2Mb"})));
    const std::string custom =
        write_custom("pgm_flash_1.xml", document(device({.name = "BOTH", .density = "4Mb"}) +
                                                 device({.name = "SHIP_A", .density = "8Mb"})));
    struct row {
        const char* name;
        const char* density;
        std::string file;
        bool removable;
    };
    const row rows[] = {{"BOTH", "4Mb", custom, true},
                        {"ONE", "2Mb", installed, true},
                        {"SHIP_A", "8Mb", custom, true},
                        {"SHIP_B", "256Mb", m_shipped_file, false}};
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(joined(device_names(mgr)), "BOTH ONE " + shipped);
    for (const row& row : rows) {
        SCOPED_TRACE(row.name);
        ZORVA_FLASH* flash = mgr.get_flash(row.name, true);
        EXPECT_EQ(flash->get_density(), row.density);
        EXPECT_EQ(flash->get_db_dir(), row.file.substr(0, row.file.rfind('/') + 1));
        EXPECT_EQ(mgr.get_flash_file(row.name), row.file);
        EXPECT_EQ(flash->get_flash_removable_permission(), row.removable);
    }
    EXPECT_EQ(joined(posted_ids()), "");
}

TEST_F(LoadTest, TheCustomDirectoryIsReadAtConstruction) {
    write_custom("pgm_flash_1.xml", document(devices("DEVICE")));
    ZORVA_QSPI_MGR mgr;
    ZORVA_MGR::set_db_custom_dir(m_root + "missing");
    EXPECT_EQ(joined(device_names(mgr)), "DEVICE " + shipped);
    EXPECT_EQ(loaded_names(), shipped);

    const std::string file = write_installed("pgm_flash_1.xml", document(devices("DEVICE")));
    ZORVA_MGR::set_db_custom_dir(m_xml_dir);
    forget();
    EXPECT_EQ(loaded_names(), "DEVICE " + shipped);
    EXPECT_EQ(m_traces, std::vector{"Parsing XML file in Kestrin directory: " + file})
        << "one directory is read once, and the shipped file isn't read again";
}

TEST_F(LoadTest, ANameTwiceInOneDirectoryEndsItsFile) {
    write_installed(
        "pgm_flash_1.xml",
        document(devices("A") + device({.name = "SHIP_A", .density = "1Mb"}) + devices("LOST_1")));
    const std::string first = write_custom(
        "pgm_flash_1.xml",
        document(devices("A|B") + device({.name = "B", .density = "1Mb"}) + devices("LOST_2")));
    write_custom("pgm_flash_2.xml", document(devices("C|A")));
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(joined(device_names(mgr)), "A B C " + shipped);
    EXPECT_EQ(mgr.get_flash("SHIP_A", true)->get_density(), "128Mb");
    EXPECT_EQ(mgr.get_flash("B", true)->get_density(), "128Mb");
    EXPECT_EQ(mgr.get_flash_file("A"), first);
    ASSERT_EQ(joined(posted_ids()), "20482 20482 20482");
    EXPECT_EQ(m_messages[0].text,
              "Found duplicate flash device names 'SHIP_A' in the " + m_xml_dir + " directory.");
    EXPECT_EQ(m_messages[2].text,
              "Found duplicate flash device names 'A' in the " + m_custom_dir + " directory.");
}

// The second of three devices is refused; a template and another file follow.
TEST_F(LoadTest, ARefusedDeviceEndsItsFileOnly) {
    const std::string good = action(ZORVA_ACT_TYPE_WRITE_REGISTER);
    const std::string bad_name = replaced(good, "Write_enable", "Write-enable");
    const std::string bad_both = replaced(bad_name, "0x06", "0x06 0x07");
    const std::pair<device_text, std::string> rows[] = {
        // The parameters end it before its flows are looked at.
        {{"S", "x", "2V", "3Mb", "0", "16", "17", "Micron", flows(bad_name)},
         "20477 20476 20478 20479 20543 20543"},
        {{.id = "", .density = ""}, "20477 20478"},
        {{.total_die = "0"}, "20479"},
        {{.dummy_clock_cycle_x4 = "4294967295"}, "20543"},
        {{.flow = flows(good + bad_name + good)}, "20485"},
        {{.flow = flows(good, bad_name)}, "20485"},
        {{.flow = flows(bad_both + good, bad_name)}, "20485 20486 20485"},
        {{.name = "FIRST"}, "20482"},
        {{.name = "FIRST", .flow = flows(bad_name)}, "20485"},
    };
    write_custom("pgm_flash_2.xml", document(devices("OTHER")));
    for (const auto& [second, posted] : rows) {
        SCOPED_TRACE(device(second));
        forget();
        write_custom("pgm_flash_1.xml", document(devices("FIRST") + user_template("LOST") +
                                                 device(second) + devices("THIRD")));
        ZORVA_QSPI_MGR mgr;
        EXPECT_EQ(joined(device_names(mgr)), "FIRST OTHER " + shipped);
        EXPECT_EQ(joined(mgr.get_user_template_list()), "");
        EXPECT_EQ(joined(posted_ids()), posted);
    }
}

TEST_F(LoadTest, ValuesAreTakenAsTheFileGivesThem) {
    const std::string poll =
        replaced(replaced(replaced(action(ZORVA_ACT_TYPE_READ_REGISTER), ">10<", ">0070<"),
                          "\"us\"", "\"ms\""),
                 ">500<", ">4294967295<");
    const std::string mark = action(ZORVA_ACT_TYPE_CUSTOM);
    const std::string escapes = replaced(mark, "Program data", R"(a\nb\\n\t\)");
    const std::string short_mark = replaced(mark, "Program data", "x");
    const std::string surplus = replaced(mark, "</ACTION>", "<COMMAND>not read</COMMAND></ACTION>");
    write_custom("pgm_flash_1.xml",
                 document(device({.name = "A-1 / \u00fc&amp;",
                                  .id = " 1  2 ",
                                  .total_die = "0002",
                                  .prog_flow_template = "nobody's",
                                  .flow = flows(poll, escapes + short_mark + surplus)})));
    ZORVA_QSPI_MGR mgr;
    const std::string name = "A-1 / \u00fc&";
    ZORVA_FLASH* flash = mgr.get_flash(name, true);
    ASSERT_TRUE(flash);
    EXPECT_EQ(flash->get_parameter_value(ZORVA_FLASH_PARAM_ID), " 1  2 ");
    EXPECT_EQ(flash->get_parameter_value(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE), "nobody's");
    const dword numbers[] = {2, 8, 10};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(flash->get_parameter_value_in_dword(
                      number<ZORVA_FLASH_PARAM>(ZORVA_FLASH_PARAM_TOTAL_DIE + i), nullptr),
                  numbers[i]);
    ZORVA_ACTION* read_poll = program(mgr, name, ZORVA_PROG_FLOW_TYPE_SFL).at(0);
    EXPECT_EQ(read_poll->get_property_value(ZORVA_ACT_PROPERTY_RR_NAME), "Poll status");
    EXPECT_EQ(read_poll->get_property_value(ZORVA_ACT_PROPERTY_RR_DELAY), "70");
    EXPECT_EQ(read_poll->get_property_value(ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT), "4294967295");
    const std::string descriptions[] = {"a\nb\\\n\\t\\", "x", "Program data"};
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(program(mgr, name, ZORVA_PROG_FLOW_TYPE_SDM)
                      .at(i)
                      ->get_property_value(ZORVA_ACT_PROPERTY_CU_DESCRIPTION),
                  descriptions[i]);
    EXPECT_EQ(joined(posted_ids()), "");
}

// Also without one of the three children whose values may be empty.
TEST_F(LoadTest, AnActionThatLacksAChildIsABadOne) {
    for (int i = 0; i < ZORVA_ACT_PROPERTY_COUNT; ++i) {
        const auto property = number<ZORVA_ACT_PROPERTY>(i);
        const ZORVA_PROPERTY_KIND& kind = zorva_property_kind(property);
        auto type = ZORVA_ACT_TYPE_CUSTOM;
        while (zorva_action_type(type).properties.front() > i)
            type = number<ZORVA_ACT_TYPE>(type - 1);
        const std::string xml = without(action(type), pgm_common_xml_name(kind.tag));
        SCOPED_TRACE(xml);
        forget();
        write_custom("pgm_flash_1.xml", document(device({.flow = flows(xml)})));
        EXPECT_EQ(loaded_names(), shipped);
        ASSERT_EQ(joined(posted_ids()), std::to_string(zorva_message_row(kind.message).id));
        EXPECT_NE(m_messages[0].text.find(" '' is invalid"), std::string::npos);
    }
}

TEST_F(LoadTest, TheFirstDefinitionOfATemplateStands) {
    const auto one = [](ZORVA_ACT_TYPE type) { return flows(action(type), ""); };
    const std::string bad = flows(replaced(action(ZORVA_ACT_TYPE_CUSTOM), "start", "begin"));
    write_installed("pgm_flash_1.xml", document(user_template("Bad", bad) +
                                                user_template("Good", one(ZORVA_ACT_TYPE_ERASE))));
    write_custom("pgm_flash_1.xml", document(user_template("New", one(ZORVA_ACT_TYPE_ERASE)) +
                                             user_template("Good", one(ZORVA_ACT_TYPE_CUSTOM)) +
                                             user_template("Lost") + devices("KEPT")));
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(joined(mgr.get_user_template_list()), "Good New");
    EXPECT_EQ(joined(device_names(mgr)), "KEPT " + shipped);
    std::string good = "Good";
    const auto* flow = mgr.get_user_template_operation_list(good, ZORVA_PROG_FLOW_TYPE_SFL);
    EXPECT_EQ(flow->at(ZORVA_OP_TYPE_PROGRAM)->get_action_list()->at(0)->get_action_type(),
              ZORVA_ACT_TYPE_ERASE);
    EXPECT_EQ(joined(posted_ids()), "20507") << "a repeated template is told to nobody";
}

// Each of these stands between two good files.
TEST_F(LoadTest, AFileThatCantBeTakenIsPassedOver) {
    const std::string good = document(devices("INSIDE"));
    const std::pair<const char*, std::string> rows[] = {
        {"empty", ""},
        {"half-written", good.substr(0, good.size() / 2)},
        {"no XML", "[settings]\nkey = value\n"},
        {"binary", std::string("\x7F\x00\x01\xFF", 4)},
        {"another document", R"(<SDMMC_FLASH version="1"></SDMMC_FLASH>)"},
        {"no such tag", document("<SPARE/>")},
        {"text between tags", document("text")},
        {"a child too few", without(good, "ERASE")},
        {"a child too many", replaced(good, "<ERASE/>", "<ERASE/><ERASE/>")},
        {"a parameter missing", without(good, "DEVICE_ID")},
        {"a name missing", replaced(good, "INSIDE", "")},
        {"no number", replaced(good, ">8<", ">8.0<")},
        {"a number too large", replaced(good, ">8<", ">4294967296<")},
        {"a negative number", replaced(good, ">8<", ">-8<")},
        {"no type", replaced(good, " type=\"WRITE_REG\"", "")},
        {"no such type", replaced(good, "WRITE_REG", "WRITE_ALL")},
        {"two golden templates", document(golden_template() + golden_template())},
        {"text behind the end", good + "<more/>"},
        {"an entity that grows", "<!DOCTYPE d [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;&a;\">]>" +
                                     replaced(good, "INSIDE", "&b;")},
        {"an entity from outside",
         "<!DOCTYPE d [<!ENTITY a SYSTEM \"/etc/hostname\">]>" + replaced(good, "INSIDE", "&a;")},
        {"broken UTF-8", replaced(good, "INSIDE", "INS\xFF\xFE")},
    };
    write_custom("pgm_flash_1.xml", document(devices("BEFORE")));
    write_custom("pgm_flash_3.xml", document(devices("BEHIND")));
    for (const auto& [what, bytes] : rows) {
        SCOPED_TRACE(what);
        forget();
        const std::string file = write_custom("pgm_flash_2.xml", bytes);
        EXPECT_EQ(loaded_names(), "BEFORE BEHIND " + shipped);
        EXPECT_TRUE(skipped(file, ":"));
        EXPECT_EQ(joined(posted_ids()), "");
    }
}

TEST_F(LoadTest, OnlyRegularFilesThatFitTheMaskAreRead) {
    const std::string fits =
        write_custom("pgm_flash_db_qspi.xml", document(golden_template() + devices("FITS")));
    for (const char* name : {"flash_1.xml", "pgm_flash_1.XML", "pgm_flash_1.xml~", "pgm_flash.xml"})
        write_custom(name, document(devices("ELSE")));
    fs::create_directory(m_custom_dir + "pgm_flash_dir.xml");
    fs::create_symlink("nowhere", m_custom_dir + "pgm_flash_dangling.xml");
    ASSERT_EQ(::mkfifo((m_custom_dir + "pgm_flash_fifo.xml").c_str(), 0600), 0);
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(joined(device_names(mgr)), "FITS " + shipped);
    EXPECT_EQ(m_traces, std::vector{"Parsing XML file in custom directory: " + fits});
    EXPECT_TRUE(mgr.get_flash("FITS", true)->get_flash_removable_permission());
}

// A disk on which one file is listed and then gone.
struct vanishing_file : pgm_host::file_system {
    std::string path;
    bool exists(const std::string& file) override {
        return file != path && file_system::exists(file);
    }
};

TEST_F(LoadTest, AFileThatVanishesIsPassedOver) {
    vanishing_file disk;
    disk.path = write_custom("pgm_flash_1.xml", document(devices("GONE")));
    write_custom("pgm_flash_2.xml", document(devices("THERE")));
    pgm_host::set_file_system(&disk);
    EXPECT_EQ(loaded_names(), shipped + " THERE");
    EXPECT_TRUE(skipped(disk.path, " not found."));
}

// The shipped file is part of the installation: what is wrong with it stops the host.
TEST_F(LoadTest, AShippedFileThatCantBeTakenIsAnInternalError) {
    const std::string good = document(golden_template() + devices("S"));
    const auto count_of = [](const std::string& tag) {
        return "->get_child_count(PGM_COMMON_XML_ENUM_" + tag + ") == 1";
    };
    struct row {
        std::string xml;
        std::string text;
        std::string posted = {};
    };
    const row rows[] = {
        {"", "*object != 0"},
        {good.substr(0, good.size() - 20), "*object != 0"},
        {document(""), "object" + count_of("GOLDEN_TEMPLATE")},
        {document(golden_template() + golden_template()), "object" + count_of("GOLDEN_TEMPLATE")},
        {without(good, "WINBOND"), "template_list.at(0)" + count_of("WINBOND")},
        {without(good, "PROGRAMMING_FLOW"), "xml" + count_of("PROGRAMMING_FLOW")},
        {without(good, "SFL"), "prog_flow_list.at(0)" + count_of("SFL")},
        {without(good, "SDM"), "prog_flow_list.at(0)" + count_of("SDM")},
        {without(good, "ERASE"), "xml" + count_of("ERASE")},
        {replaced(good, "<ERASE/>", "<ERASE/><ERASE/>"), "xml" + count_of("ERASE")},
        {without(good, "DEVICE_INFO"), "flash_element" + count_of("DEVICE_INFO")},
        {without(good, "PROG_FLOW_TEMPLATE"), "status"},
        {without(good, "DEVICE_ID"), "status", "20477"},
        {replaced(good, "128Mb", "3Mb"), "status", "20478"},
        {replaced(good, "0x06", "jic"), "status", "20486"},
        {replaced(replaced(good, "0x06", "jic"), "128Mb", "3Mb"), "status", "20486 20478"},
        {document(golden_template() + devices("S|S")), "status", "20482"},
        {without(replaced(good, "0x06", "jic"), "WINBOND"),
         "template_list.at(0)" + count_of("WINBOND"), "20486"},
        {replaced(good, "<DEVICE_ID>", "<NAME/><DEVICE_ID>"),
         R"(Element "DEVICE_INFO" does not support child element "NAME")"},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.text);
        forget();
        write_shipped(row.xml);
        EXPECT_EQ(internal_error_of(loaded_names), row.text);
        EXPECT_EQ(joined(posted_ids()), row.posted);
    }
    fs::remove(m_shipped_file);
    EXPECT_EQ(internal_error_of(loaded_names), m_shipped_file + " not found.");
}

}  // namespace
