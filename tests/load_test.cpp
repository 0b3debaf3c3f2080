// What a manager takes of the files that it meets.
#include "pgm/zorva/rules/zorva_action_table.h"
#include "tests/store_support.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

const std::string shipped = "SHIP_A SHIP_B SHIP_ISSI";

class LoadTest : public InstallationTest {};

std::string loaded_names() {
    ZORVA_QSPI_MGR mgr;
    return joined(device_names(mgr));
}

TEST_F(LoadTest, TheCustomDirectoryIsReadAtConstructionAndBeatsTheOthers) {
    write_installed("pgm_flash_1.xml", document(devices("BOTH|ONE")));
    write_custom("pgm_flash_1.xml", document(device({.name = "BOTH", .density = "4Mb"}) +
                                             device({.name = "SHIP_A", .density = "8Mb"})));
    ZORVA_QSPI_MGR mgr;
    ZORVA_MGR::set_db_custom_dir(m_root + "missing");
    EXPECT_EQ(joined(device_names(mgr)), "BOTH ONE " + shipped);
    for (const std::string name : {"BOTH", "ONE", "SHIP_A"}) {
        ZORVA_FLASH* flash = mgr.get_flash(name, true);
        EXPECT_EQ(flash->get_db_dir(), name == "ONE" ? m_xml_dir : m_custom_dir);
        EXPECT_EQ(mgr.get_flash_file(name), flash->get_db_dir() + "pgm_flash_1.xml");
        EXPECT_TRUE(flash->get_flash_removable_permission());
    }
    EXPECT_EQ(mgr.get_flash("SHIP_A", true)->get_density(), "8Mb");
    EXPECT_FALSE(mgr.get_flash("SHIP_B", true)->get_flash_removable_permission());
    ZORVA_MGR::set_db_custom_dir(m_xml_dir);
    forget();
    EXPECT_EQ(loaded_names(), "BOTH ONE " + shipped);
    EXPECT_EQ(m_traces, std::vector{"Parsing XML file in Kestrin directory: " + m_xml_dir +
                                    "pgm_flash_1.xml"})
        << "one directory is read once, and the shipped file isn't read again";
    EXPECT_EQ(joined(posted_ids()), "");
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
    std::string poll = replaced(action(ZORVA_ACT_TYPE_READ_REGISTER), ">10<", ">0070<");
    poll = replaced(replaced(poll, "\"us\"", "\"ms\""), ">500<", ">4294967295<");
    std::string mark = replaced(action(ZORVA_ACT_TYPE_CUSTOM), "Program data", R"(a\nb\\n\t\)");
    mark = replaced(mark, "</ACTION>", "<COMMAND>not read</COMMAND></ACTION>");
    write_custom("pgm_flash_1.xml", document(device({.name = "A-1 / \u00fc&amp;",
                                                     .id = " 1  2 ",
                                                     .total_die = "0002",
                                                     .prog_flow_template = "nobody's",
                                                     .flow = flows(poll, mark)})));
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(answers(mgr)["device A-1 / \u00fc&"],
              m_custom_dir +
                  "pgm_flash_1.xml 128Mb,  1  2 , 1.8V, nobody's, 2, 8, 10"
                  "\n0:\n1: Poll status, 0x05, 1, 0x00, 0x01, 4294967295, 70, 1-1,\n2:\n3:\n4:"
                  "\n0:\n1: a\nb\\\n\\t\\, start,\n2:\n3:\n4:");
    EXPECT_EQ(joined(posted_ids()), "");
}

// Also without one of the three children whose values may be empty.
TEST_F(LoadTest, AnActionThatLacksAChildIsABadOne) {
    for (int i = 0; i < ZORVA_ACT_PROPERTY_COUNT; ++i) {
        const ZORVA_PROPERTY_KIND& kind = zorva_property_kind(number<ZORVA_ACT_PROPERTY>(i));
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

// Each of these stands between two good files.
TEST_F(LoadTest, AFileThatCantBeTakenIsPassedOver) {
    const std::string good = document(devices("INSIDE"));
    const std::string rows[] = {"",
                                good.substr(0, good.size() / 2),
                                std::string("\x7F\x00\x01\xFF", 4),
                                R"(<SDMMC_FLASH version="1"></SDMMC_FLASH>)",
                                replaced(good, ">8<", ">4294967296<"),
                                document(golden_template() + golden_template())};
    write_custom("pgm_flash_1.xml", document(devices("BEFORE")));
    write_custom("pgm_flash_3.xml", document(devices("BEHIND")));
    const std::string file = m_custom_dir + "pgm_flash_2.xml";
    const auto expect_skipped = [&](const std::string& reason) {
        forget();
        EXPECT_EQ(loaded_names(), "BEFORE BEHIND " + shipped);
        EXPECT_TRUE(std::ranges::any_of(m_traces, [&](const std::string& text) {
            return text.starts_with("Skip pgm_flash_2.xml due to parsing error: " + file + reason);
        }));
        EXPECT_EQ(joined(posted_ids()), "");
    };
    for (const std::string& bytes : rows) {
        SCOPED_TRACE(bytes);
        write_file(file, bytes);
        expect_skipped(":");
    }
    // One that is listed and then gone, and one that goes while it is read.
    struct : pgm_host::file_system {
        std::string path;
        bool is_there = false;
        bool exists(const std::string& of) override {
            return (of != path || is_there) && file_system::exists(of);
        }
        bool read(const std::string& of, std::string& bytes) override {
            return of != path && file_system::read(of, bytes);
        }
    } disk;
    disk.path = file;
    pgm_host::set_file_system(&disk);
    expect_skipped(" not found.");
    disk.is_there = true;
    expect_skipped(":");
}

TEST_F(LoadTest, OnlyFilesThatFitTheMaskAreRead) {
    const std::string fits =
        write_custom("pgm_flash_db_qspi.xml", document(golden_template() + devices("FITS")));
    for (const char* name : {"flash_1.xml", "pgm_flash_1.XML", "pgm_flash_1.xml~", "pgm_flash.xml"})
        write_custom(name, document(devices("ELSE")));
    EXPECT_EQ(loaded_names(), "FITS " + shipped);
    EXPECT_EQ(m_traces, std::vector{"Parsing XML file in custom directory: " + fits});
}

// The shipped file is part of the installation: what is wrong with it stops the host.
TEST_F(LoadTest, AShippedFileThatCantBeTakenIsAnInternalError) {
    const std::string good = document(golden_template() + devices("S"));
    const auto count_of = [](const std::string& tag) {
        return "->get_child_count(PGM_COMMON_XML_ENUM_" + tag + ") == 1";
    };
    const struct {
        std::string xml, text, posted = {};
    } rows[] = {
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
        {replaced(replaced(good, "0x06", "jic"), "128Mb", "3Mb"), "status", "20486 20478"},
        {document(golden_template() + devices("S|S")), "status", "20482"},
        {replaced(good, "<DEVICE_ID>", "<NAME/><DEVICE_ID>"),
         R"(Element "DEVICE_INFO" does not support child element "NAME")"},
    };
    for (const auto& [xml, text, posted] : rows) {
        SCOPED_TRACE(text);
        forget();
        write_shipped(xml);
        EXPECT_EQ(internal_error_of(loaded_names), text);
        EXPECT_EQ(joined(posted_ids()), posted);
    }
    fs::remove(m_shipped_file);
    EXPECT_EQ(internal_error_of(loaded_names), m_shipped_file + " not found.");
}

}  // namespace
