// What a manager reports of its load, and what judging files alone reports.
#include "tests/test_support.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

namespace {

// A report as text, a line a file and a line a definition: what the rows below are compared with.
std::string told(const ZORVA_LOAD_REPORT& report, const std::string& root) {
    const char* const file_states[] = {"read", "read in part", "skipped", "passed over"};
    const char* const states[] = {"in force", "hidden by ", "refused", "not read"};
    const char* const kinds[] = {"device", "template"};
    std::ostringstream text;
    const auto tell_findings = [&](const std::vector<ZORVA_FINDING>& findings) {
        for (const ZORVA_FINDING& finding : findings)
            text << " [" << finding.id << " line " << finding.line << "]";
        text << "\n";
    };
    for (const ZORVA_FILE_REPORT& file : report) {
        text << file.path << ": " << file_states[static_cast<int>(file.state)];
        tell_findings(file.findings);
        for (const ZORVA_DEFINITION& definition : file.definitions) {
            text << "  " << kinds[static_cast<int>(definition.kind)] << " " << definition.name
                 << " line " << definition.line << ": "
                 << states[static_cast<int>(definition.state)] << definition.hidden_by;
            tell_findings(definition.findings);
        }
    }
    std::string all = text.str();
    while (all.find(root) != all.npos) all = replaced(all, root, "");
    return all;
}

std::string on_one_line(std::string xml) {
    std::erase(xml, '\n');
    return xml + "\n";
}

// From line 2 on: devices of three lines and, behind "+", templates of one, so that a line number
// can be told at a glance. One with "!" has a bad value.
std::string short_document(const std::string& definitions, const std::string& more = "") {
    std::string xml;
    for (std::string name : split(definitions)) {
        const bool is_bad = std::erase(name, '!') != 0;
        if (std::erase(name, '+') != 0) {
            const std::string mark =
                replaced(action(ZORVA_ACT_TYPE_CUSTOM), "start", is_bad ? "begin" : "end");
            xml += on_one_line(user_template(name, flows(mark, "")));
        } else {
            const device_text text{.name = name, .density = is_bad ? "3Mb" : "1Mb", .flow = ""};
            xml += replaced(on_one_line(device(text)), "</FLASH>",
                            "\n" + on_one_line(flows("", "")) + "</FLASH>");
        }
    }
    return document(xml + more);
}

class LoadReportTest : public InstallationTest {
  protected:
    LoadReportTest() { write_shipped(short_document("SHIP", golden_template())); }
};

TEST_F(LoadReportTest, TellsOfEachFileAndEachDefinition) {
    write_installed("pgm_flash_1.xml", short_document("BOTH|+Early|+Bad!|ALONE"));
    write_custom("pgm_flash_1.xml", short_document("SHIP|BOTH|+Early|+Late"));
    write_custom("pgm_flash_2.xml", short_document("FIRST|WRONG!|+Behind|BEHIND"));
    write_custom("pgm_flash_3.xml", document("\n<SPARE/>\n"));
    write_custom("pgm_flash_4.xml", short_document("OTHER|FIRST"));
    ZORVA_QSPI_MGR mgr;
    const ZORVA_LOAD_REPORT& report = mgr.get_load_report();
    EXPECT_EQ(told(report, m_root),
              "xml/pgm_flash_db_qspi.xml: read\n"
              "  device SHIP line 2: hidden by custom/pgm_flash_1.xml\n"
              "xml/pgm_flash_1.xml: read\n"
              "  device BOTH line 2: hidden by custom/pgm_flash_1.xml\n"
              "  device ALONE line 7: in force\n"
              "  template Early line 5: in force\n"
              "  template Bad line 6: refused [20507 line 6]\n"
              "custom/pgm_flash_1.xml: read in part\n"
              "  device SHIP line 2: in force\n"
              "  device BOTH line 5: in force\n"
              "  template Early line 8: hidden by xml/pgm_flash_1.xml\n"
              "  template Late line 9: not read\n"
              "custom/pgm_flash_2.xml: read in part\n"
              "  device FIRST line 2: in force\n"
              "  device WRONG line 5: refused [20478 line 5]\n"
              "  device BEHIND line 9: not read\n"
              "  template Behind line 8: not read\n"
              "custom/pgm_flash_3.xml: skipped [0 line 3]\n"
              "custom/pgm_flash_4.xml: read in part\n"
              "  device OTHER line 2: in force\n"
              "  device FIRST line 5: refused [20482 line 5]\n");
    EXPECT_EQ(joined(posted_ids()), "20507 20478 20482");
    EXPECT_EQ(m_messages.back().text,
              "Found duplicate flash device names 'FIRST' in the " + m_custom_dir + " directory.");
    EXPECT_EQ(joined(mgr.get_user_template_list()), "Early");
    EXPECT_EQ(joined(device_names(mgr)), "ALONE BOTH FIRST OTHER SHIP");
    EXPECT_EQ(report[0].origin, ZORVA_ORIGIN::SHIPPED);
    EXPECT_EQ(report[1].origin, ZORVA_ORIGIN::INSTALLATION);
    EXPECT_EQ(report[2].origin, ZORVA_ORIGIN::CUSTOM);
    EXPECT_EQ(report[2].reason, "Reading ended at the template 'Early' in line 8.");
    EXPECT_EQ(report[3].reason, "Reading ended at the device 'WRONG' in line 5.");
    EXPECT_EQ(report[4].reason, report[4].path + ":3: " + report[4].findings[0].sentence);
}

// What a scan doesn't open is told; what a broken-off change leaves empty isn't at fault.
TEST_F(LoadReportTest, TellsOfWhatIsNoFile) {
    const std::string empty = write_custom("pgm_flash_a.xml", "");
    std::filesystem::create_directory(m_custom_dir + "pgm_flash_b.xml");
    std::filesystem::create_symlink("nowhere", m_custom_dir + "pgm_flash_c.xml");
    ::mkfifo((m_custom_dir + "pgm_flash_d.xml").c_str(), 0600);
    std::filesystem::create_directory(m_custom_dir + "other");
    struct : pgm_host::file_system {
        std::string unlisted;
        std::vector<std::string> list(const std::string& directory) override {
            if (directory != unlisted) return file_system::list(directory);
            error = std::make_error_code(std::errc::permission_denied);
            return {};
        }
    } disk;
    disk.unlisted = m_xml_dir;
    pgm_host::set_file_system(&disk);
    ZORVA_QSPI_MGR mgr;
    pgm_host::set_file_system(nullptr);
    const ZORVA_LOAD_REPORT& report = mgr.get_load_report();
    EXPECT_EQ(told({report.begin() + 1, report.end()}, m_root),
              "xml/: skipped [0 line 0]\n"
              "custom/pgm_flash_a.xml: read\n"
              "custom/pgm_flash_b.xml: passed over\n"
              "custom/pgm_flash_c.xml: passed over\n"
              "custom/pgm_flash_d.xml: passed over\n");
    EXPECT_EQ(report[1].findings[0].sentence, "The directory can't be listed: Permission denied.");
    EXPECT_EQ(told(ZORVA_QSPI_MGR::judge_files({empty}), m_root), "custom/pgm_flash_a.xml: read\n");
}

TEST_F(LoadReportTest, JudgingFilesReadsOnBehindABadDefinition) {
    const std::string bad_golden = on_one_line(replaced(golden_template(), "0x06", "jic"));
    const std::string first =
        write_custom("a.xml", short_document("A|WRONG!|+Bad!|A|SHIP", bad_golden));
    const std::string second = write_custom("b.xml", short_document("A|+Bad"));
    const std::string third = write_installed("c.xml", short_document("A"));
    EXPECT_EQ(
        told(ZORVA_QSPI_MGR::judge_files({first, second, third, m_root + "missing.xml"}), m_root),
        "custom/a.xml: read\n"
        "  device A line 2: in force\n"
        "  device WRONG line 5: refused [20478 line 5]\n"
        "  template Bad line 8: refused [20507 line 8]\n"
        "  device A line 9: refused [20482 line 9]\n"
        "  device SHIP line 12: in force\n"
        "  template  line 15: refused [20486 line 15]\n"
        "custom/b.xml: read\n"
        "  device A line 2: refused [20482 line 2]\n"
        "  template Bad line 5: refused [20676 line 5]\n"
        "xml/c.xml: read\n"
        "  device A line 2: in force\n"
        "missing.xml: skipped [0 line 0]\n");
    EXPECT_EQ(joined(posted_ids()), "");
}

}  // namespace
