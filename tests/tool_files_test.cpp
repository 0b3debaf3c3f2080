// The tool and the disk: where files come from, what is wrong with them, and what it leaves alone.
#include "tests/tool_test.h"

#include <fstream>

namespace fs = std::filesystem;

namespace {

TEST_F(ToolTest, TellsWhichDefinitionIsInForce) {
    const std::string installed = write_installed("pgm_flash_A.xml", document(devices("OWN")));
    const std::string custom =
        write_custom("pgm_flash_A.xml", document("\n" + devices("OWN|SHIP_A")));
    EXPECT_EQ(zorva("show OWN --field file").out, custom + "\n");
    EXPECT_EQ(zorva("show OWN --field line").out, "3\n");
    EXPECT_EQ(zorva("show OWN --field origin").out, "custom\n");
    EXPECT_EQ(zorva("show OWN --field hides").out, installed + ":2\n");
    const std::string where = zorva("where OWN").out;
    EXPECT_TRUE(contains(where, "in force\tcustom\t" + custom + ":3\t-\n")) << where;
    EXPECT_TRUE(contains(where, "hidden\tinstallation\t" + installed + ":2\t" + custom)) << where;
    EXPECT_TRUE(zorva("show SHIP_A --field hides").out.starts_with(m_shipped_file + ":"));
}

TEST_F(ToolTest, TellsWhatWasNotTaken) {
    const std::string part =
        write_custom("pgm_flash_PART.xml",
                     document(device({.name = "REFUSED", .density = "5Mb"}) + devices("BEHIND")));
    const std::string skipped = write_custom("pgm_flash_SKIPPED.xml", "<QSPI_FLASH>");
    const tool_answer list = zorva("list --format names");
    EXPECT_EQ(list.code, 0);
    EXPECT_EQ(list.out, "SHIP_A\nSHIP_B\nSHIP_ISSI\n");
    for (const std::string& text : {std::string("warning[20478]: Device density '5Mb' is invalid."),
                                    "warning[file]: " + part + " was read in part",
                                    "warning[file]: " + skipped + " was skipped"})
        EXPECT_TRUE(contains(list.err, text)) << text << "\n" << list.err;

    EXPECT_TRUE(contains(zorva("where REFUSED").out, part + ":6: Device density '5Mb'"));
    EXPECT_TRUE(contains(zorva("where BEHIND").out, "not read"));
    EXPECT_TRUE(contains(zorva("where").out, skipped + "\tcustom\tskipped\tLine 1: "));
    EXPECT_EQ(zorva("where NOWHERE").code, 1);
}

TEST_F(ToolTest, ChoosesTheCustomDirectory) {
    fs::create_directories(m_root + "option");
    fs::create_directories(m_root + "stored");
    fs::create_directories(m_root + "data/zorva");
    const auto chosen = [&](const std::string& options = "") {
        const auto document = zorva("where --format json " + options).document();
        const auto& custom = document["directories"][2];
        return custom.value("path", "") + " " + custom.value("chosen_by", "");
    };
    EXPECT_EQ(zorva("config set custom-dir " + m_root + "stored").code, 0);
    EXPECT_EQ(chosen("--custom-dir " + m_root + "option"), m_root + "option/ option --custom-dir");
    EXPECT_EQ(chosen(), m_custom_dir + " environment variable ZORVA_CUSTOM_DIR");
    ::unsetenv("ZORVA_CUSTOM_DIR");
    EXPECT_EQ(chosen(), m_root + "stored/ settings file");
    fs::remove(m_root + "settings.ini");
    EXPECT_EQ(chosen(), m_root + ".local/share/zorva/ default");
    ::setenv("XDG_DATA_HOME", (m_root + "data").c_str(), 1);
    EXPECT_EQ(chosen(), m_root + "data/zorva/ default");
    ::unsetenv("XDG_DATA_HOME");
    ::unsetenv("HOME");
    EXPECT_EQ(chosen(), " none, as HOME isn't set");
    EXPECT_EQ(zorva("list --format names").out, "SHIP_A\nSHIP_B\nSHIP_ISSI\n");
}

// A default that is missing is no matter; what somebody chose has to be there.
TEST_F(ToolTest, InsistsOnADirectoryThatWasChosen) {
    EXPECT_EQ(zorva("list --custom-dir " + m_root + "none").code, 3);
    ::setenv("ZORVA_CUSTOM_DIR", (m_root + "none").c_str(), 1);
    const tool_answer answer = zorva("list");
    EXPECT_EQ(answer.code, 3);
    EXPECT_TRUE(contains(answer.err, "environment variable ZORVA_CUSTOM_DIR")) << answer.err;
    ::unsetenv("ZORVA_CUSTOM_DIR");
    EXPECT_EQ(zorva("list").err, "");
}

TEST_F(ToolTest, ReadsWithoutWritingAnything) {
    ::unsetenv("ZORVA_CUSTOM_DIR");
    for (const char* command :
         {"list", "show SHIP_A", "identify 1", "where", "where SHIP_A", "families", "templates",
          "messages", "config", "config get custom-dir"})
        zorva(command);
    zorva("lint " + m_xml_dir);
    std::vector<std::string> entries;
    for (const auto& entry : fs::directory_iterator(m_root))
        entries.push_back(entry.path().filename());
    std::ranges::sort(entries);
    EXPECT_EQ(joined(entries), "custom xml xsd");
}

TEST_F(ToolTest, StoresSettings) {
    EXPECT_EQ(zorva("config set pgm_enable_sdmmc on").out, "on\n");
    EXPECT_EQ(zorva("config get pgm_enable_sdmmc").out, "on\n");
    const std::string shown = zorva("config").out;
    EXPECT_TRUE(contains(shown, "pgm_enable_sdmmc\ton\t" + m_root + "settings.ini")) << shown;
    EXPECT_EQ(zorva("config set custom-dir " + m_root + "none").code, 3);
    // A directory in the way of the settings file.
    pgm_host::set_user_ini_file(m_root);
    EXPECT_EQ(zorva("config set pgm_enable_sdmmc off").code, 3);
}

TEST_F(ToolTest, SaysInOneSentenceWhyTheShippedDataAreNoUse) {
    struct row {
        const char* name;
        std::string bytes;
        const char* sentence;
    };
    const row rows[] = {
        {"missing", "", "not found"},
        {"not XML", "<QSPI_FLASH>\n<", ":2: "},
        {"no templates", document(devices("A")), "GOLDEN_TEMPLATE"},
        {"bad device", document(golden_template() + device({.density = "5Mb"})),
         "Device density '5Mb' is invalid."},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.name);
        fs::remove(m_shipped_file);
        if (!row.bytes.empty()) write_shipped(row.bytes);
        const tool_answer answer = zorva("list --format json");
        EXPECT_EQ(answer.code, 3);
        EXPECT_EQ(answer.document()["status"], "error");
        EXPECT_TRUE(contains(answer.err, "error: The shipped database ")) << answer.err;
        EXPECT_TRUE(contains(answer.err, m_xml_dir)) << answer.err;
        EXPECT_TRUE(contains(answer.err, row.sentence)) << answer.err;
        // What needs no database still works.
        EXPECT_EQ(zorva("families").code, 0);
    }
}

TEST_F(ToolTest, LintsFilesByThemselves) {
    const std::string good = write_custom("pgm_flash_GOOD.xml", document(devices("GOOD")));
    const std::string bad =
        write_custom("pgm_flash_BAD.xml",
                     document(device({.name = "A", .density = "5Mb"}) +
                              device({.name = "GOOD", .io_voltage = "9V", .total_die = "0"})));
    const std::string broken = m_root + "broken.xml";
    write_file(broken, "<QSPI_FLASH>\n<FLASH/>\n</QSPI_FLASH>\n");
    const std::string card = m_root + "card.xml";
    write_file(card, "<SDMMC_FLASH version=\"1\"><NONE/></SDMMC_FLASH>");
    fs::create_directory(m_root + "empty");
    fs::remove(m_shipped_file);  // lint has no need of it

    const std::string density = bad + ":6: error[20478]: Device density '5Mb' is invalid.\n";
    struct row {
        const char* name;
        std::string arguments;
        int code;
        std::vector<std::string> lines;
    };
    const row rows[] = {
        {"a good file", good, 0, {}},
        {"findings go on behind a bad device",
         bad,
         1,
         {density, bad + ":", "error[20476]: ", "error[20479]: "}},
        {"a name defined twice in the directory", m_custom_dir, 1, {density, "error[20482]: "}},
        {"the same file twice", good + " " + good, 0, {}},
        {"a breach of the schema", broken, 1, {broken + ":2: error[schema]: "}},
        {"the schema of its own kind", card, 1, {"NONE"}},
        {"a missing file", m_root + "none.xml", 3, {m_root + "none.xml: error[file]: "}},
        {"a directory without files", m_root + "empty", 3, {m_root + "empty: error[file]: "}},
        {"a missing file and a bad one", m_root + "none.xml " + bad, 3, {density}},
        {"no schema", good + " --programmer-dir " + m_root + "empty", 3, {"error[file]: ", ".xsd"}},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.name);
        const tool_answer answer = zorva("lint " + row.arguments);
        EXPECT_EQ(answer.code, row.code);
        for (const std::string& line : row.lines)
            EXPECT_TRUE(contains(answer.out, line)) << line << "\n" << answer.out;
        EXPECT_EQ(answer.out.empty(), row.lines.empty()) << answer.out;
        EXPECT_TRUE(contains(answer.err, "Files judged: ")) << answer.err;
    }
    EXPECT_FALSE(contains(zorva("lint " + card).out, "QSPI_FLASH"));
}

TEST_F(ToolTest, SaysThatAnAnswerCannotBeWritten) {
    std::ofstream full("/dev/full");
    std::ostringstream err;
    EXPECT_EQ(zorva_tool::run({"families"}, {full, err, false, false}), 3);
    EXPECT_TRUE(contains(err.str(), "standard output"));
}

}  // namespace
