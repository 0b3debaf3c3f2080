// The tool and the disk: where files come from, what is wrong with them, and what it leaves alone.
#include "tests/tool_test.h"
#include "tools/zorva/database/database.h"

#include <fstream>

namespace fs = std::filesystem;

namespace {

std::string utf16(const std::string& ascii) {
    std::string bytes = "\xFF\xFE";
    for (const char letter : ascii) bytes += {letter, '\0'};
    return bytes;
}

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
    for (const std::string command : {"show ", "set ", "export "}) {
        const auto error = [&](const std::string& name) {
            const tool_answer answer = zorva(command + name + (command == "set " ? " dies=1" : ""));
            EXPECT_EQ(answer.code, 1);
            return answer.err.substr(std::min(answer.err.find("error: "), answer.err.size()));
        };
        EXPECT_EQ(error("REFUSED"), "error: " + part +
                                        ":2 defines 'REFUSED', but that is refused: Device density "
                                        "'5Mb' is invalid. 'zorva where REFUSED' tells more.\n");
        EXPECT_TRUE(contains(error("BEHIND"),
                             "'BEHIND', but that is not read: Reading ended at "
                             "the device 'REFUSED' in line 2. 'zorva where"))
            << error("BEHIND");
    }
}

TEST_F(ToolTest, TellsOfAStoredDeviceThatALegacyOneHides) {
    const std::string file = write_custom("pgm_flash_X.xml", document(devices("A|LEG_LOW")));
    const tool_answer answer = zorva("show LEG_LOW --field origin");
    EXPECT_EQ(answer.out, "legacy\n");
    EXPECT_EQ(answer.err, "A legacy device hides the 'LEG_LOW' that is stored in " + file +
                              ":20; only 'zorva set' and 'zorva rm' reach that.\n");
    std::ostringstream ignored;
    zorva_tool::output out({ignored, ignored, false, false}, "table", "");
    const zorva_tool::database db("", "all", out);
    EXPECT_EQ(db.stored("LEG_LOW")->definitions.at(0).place(), file + ":20");
    EXPECT_EQ(db.definitions_named("LEG_LOW").size(), 1u);
    EXPECT_FALSE(db.stored("LEG_HIGH"));
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
    ::setenv("XDG_DATA_HOME", "data", 1);
    EXPECT_EQ(chosen(), m_root + ".local/share/zorva/ default") << "a relative one doesn't count";
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

// A disk on which a directory can't be listed, or a file not be read.
class denying_disk : public pgm_host::file_system {
  public:
    explicit denying_disk(std::string denied) : m_denied(std::move(denied)) {
        pgm_host::set_file_system(this);
    }
    std::vector<std::string> list(const std::string& directory) override {
        return is_denied(directory) ? std::vector<std::string>() : file_system::list(directory);
    }
    bool read(const std::string& path, std::string& bytes) override {
        return !is_denied(path) && file_system::read(path, bytes);
    }
    ~denying_disk() override { pgm_host::set_file_system(nullptr); }

  private:
    bool is_denied(const std::string& path) {
        if (path == m_denied) error = std::make_error_code(std::errc::permission_denied);
        return path == m_denied;
    }

    std::string m_denied;
};

// An unreadable directory isn't an empty one.
TEST_F(ToolTest, SaysThatADirectoryCannotBeListed) {
    write_custom("pgm_flash_OWN.xml", document(devices("OWN")));
    const std::pair<std::string, std::string> rows[] = {
        {m_custom_dir, "error: The custom directory " + m_custom_dir +
                           " (chosen by environment variable ZORVA_CUSTOM_DIR) can't be listed: "
                           "Permission denied.\n"},
        {m_xml_dir, "error: The installation directory " + m_xml_dir +
                        " can't be listed: Permission denied.\n"}};
    for (const auto& [directory, sentence] : rows) {
        const denying_disk disk(directory);
        for (const char* command : {"list", "show SHIP_A", "where", "where SHIP_A", "templates",
                                    "identify 0x20", "copy SHIP_A B", "where --format names"}) {
            SCOPED_TRACE(command);
            const tool_answer answer = zorva(command);
            EXPECT_EQ(answer.code, 3);
            EXPECT_EQ(answer.err, sentence);
            EXPECT_EQ(contains(answer.out, m_shipped_file), contains(command, "where"))
                << answer.out;
        }
        const tool_answer lint = zorva("lint " + directory);
        EXPECT_EQ(lint.code, 3);
        EXPECT_EQ(lint.out,
                  directory + ": error[file]: The directory can't be listed: Permission denied.\n");
    }
}

// The table is what shows which directory is meant.
TEST_F(ToolTest, TellsOfDirectoriesThatAreWrong) {
    const std::string none = m_root + "none/";
    const std::string table = "programmer directory\t" + m_root + "\tyes\tset by the host\n" +
                              "installation directory\t" + m_xml_dir +
                              "\tyes\tbelow the programmer directory\n" + "custom directory\t" +
                              none + "\tno\toption --custom-dir\n" + "settings file\t" + m_root +
                              "settings.ini\tno\t-\n";
    const tool_answer missing = zorva("where --custom-dir " + none);
    EXPECT_EQ(missing.code, 3);
    EXPECT_EQ(missing.out, table + "\n" + m_shipped_file + "\tshipped\tread\t-\n");
    EXPECT_EQ(missing.err, "error: The custom directory " + none +
                               " (chosen by option --custom-dir) doesn't exist.\n");
    const tool_answer file = zorva("where --custom-dir " + m_shipped_file);
    EXPECT_EQ(file.code, 3);
    EXPECT_TRUE(contains(file.err, "xml/ (chosen by option --custom-dir) isn't a directory.\n"))
        << file.err;
    const tool_answer broken = zorva("where --format json --programmer-dir " + m_custom_dir);
    EXPECT_EQ(broken.code, 3);
    EXPECT_EQ(broken.document()["status"], "error");
    EXPECT_EQ(broken.document()["directories"][1]["path"], m_custom_dir + "xml/");
}

TEST_F(ToolTest, ShowsAFileOnceForTheInterfaceThatItIsMeantFor) {
    const std::string comment = "<!-- not a <QSPI_FLASH> -->\n";
    const auto cards = [&](const std::string& name) {
        return comment + "<SDMMC_FLASH version=\"1\"><FLASH><DEVICE_INFO><DEVICE_NAME>" + name +
               "</DEVICE_NAME><DEVICE_IO_VOLTAGE>1.8V</DEVICE_IO_VOLTAGE>"
               "<DEVICE_DENSITY>8GB</DEVICE_DENSITY></DEVICE_INFO></FLASH></SDMMC_FLASH>\n";
    };
    const std::string shipped = write_installed("pgm_flash_db_sdmmc.xml", cards("CARD"));
    const std::string own = write_custom("pgm_flash_CARD.xml", cards("OWN_CARD"));
    const std::string wide = write_custom("pgm_flash_WIDE.xml", utf16(cards("WIDE_CARD")));
    const std::string qspi =
        write_custom("pgm_flash_Q.xml", "<!-- no <SDMMC_FLASH -->\n" + document(devices("Q")));
    const std::string other = write_custom("pgm_flash_Z.xml", "<FOREIGN/>");
    EXPECT_EQ(zorva("lint " + shipped + " " + own + " " + wide + " " + qspi).out, "");

    const auto files = [] {
        const tool_answer answer = zorva("where");
        return answer.out.substr(answer.out.find("\n\n") + 2);
    };
    const std::string foreign =
        other + "\tcustom\tskipped\tLine 1: The root element is FOREIGN, not QSPI_FLASH.\n";
    EXPECT_EQ(files(), m_shipped_file + "\tshipped\tread\t-\n" +  //
                           shipped + "\tshipped\tnot read\tSD/MMC devices are switched off\n" +
                           own + "\tcustom\tnot read\tSD/MMC devices are switched off\n" + qspi +
                           "\tcustom\tread\t-\n" +  //
                           wide + "\tcustom\tnot read\tSD/MMC devices are switched off\n" +
                           foreign);
    EXPECT_EQ(zorva("list").err,
              "warning[file]: " + other + " was skipped; 'zorva lint' tells why.\n");
    pgm_host::set_setting("pgm_enable_sdmmc", true);
    EXPECT_TRUE(contains(files(), own + "\tcustom\tnot read\tYour own SD/MMC devices are"));
    pgm_host::set_setting("pgm_enable_custom_sdmmc", true);
    EXPECT_EQ(files(), m_shipped_file + "\tshipped\tread\t-\n" +  //
                           shipped + "\tshipped\tread\t-\n" +     //
                           own + "\tcustom\tread\t-\n" +          //
                           qspi + "\tcustom\tread\t-\n" +         //
                           wide + "\tcustom\tread\t-\n" +         //
                           foreign);
    EXPECT_EQ(zorva("list --interface sdmmc --format names --origin custom").out,
              "OWN_CARD\nWIDE_CARD\n");
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
    EXPECT_EQ(zorva("config unset pgm_enable_sdmmc").out, "off\n");
    EXPECT_FALSE(contains(zorva("config").out, m_root + "settings.ini"));
    // A directory in the way of the settings file.
    pgm_host::set_user_ini_file(m_root);
    EXPECT_EQ(zorva("config set pgm_enable_sdmmc off").code, 3);
}

TEST_F(ToolTest, RefusesACustomDirectoryThatItCouldNotKeep) {
    const std::string backslash = m_root + "a\\b";
    const std::string line_end = m_root + "a\nb";
    for (const std::string& directory : {backslash, line_end}) fs::create_directory(directory);
    fs::create_directories(m_root + "a/b");
    ASSERT_EQ(zorva("config set custom-dir " + m_custom_dir).code, 0);
    const std::pair<std::string, const char*> rows[] = {
        {"", "'' is none; 'zorva config unset custom-dir' removes the setting."},
        {backslash, "holds a backslash, which would be taken for a slash."},
        {line_end, "holds a control character, which no settings file can hold."}};
    for (const auto& [directory, sentence] : rows) {
        SCOPED_TRACE(directory);
        const tool_answer answer =
            zorva(std::vector<std::string>{"config", "set", "custom-dir", directory});
        EXPECT_EQ(answer.code, 2);
        EXPECT_TRUE(contains(answer.err, sentence)) << answer.err;
        EXPECT_EQ(zorva("config get custom-dir").out, m_custom_dir + "\n");
    }
    const tool_answer list = zorva({"list", "--custom-dir", backslash});
    EXPECT_EQ(list.code, 3);
    EXPECT_TRUE(contains(list.err, "slash. It was chosen by option --custom-dir.")) << list.err;
    EXPECT_EQ(zorva("config unset custom-dir").out, "\n");
    EXPECT_EQ(zorva("config unset custom-dirs").code, 1);
    EXPECT_FALSE(contains(zorva("config").out, m_root));
}

TEST_F(ToolTest, TellsOfEachSettingThatDoesNotCount) {
    ::unsetenv("ZORVA_CUSTOM_DIR");
    const std::string file = m_root + "settings.ini";
    write_file(file, "[settings]\nhello\npgm_enable_sdmmc = true\n[user]\n94 = " + m_custom_dir);
    for (const char* command : {"list", "config set pgm_enable_sdmmc_orlane on", "where"}) {
        const tool_answer answer = zorva(command);
        EXPECT_EQ(answer.code, 0);
        EXPECT_TRUE(contains(answer.err, "warning[settings]: " + file +
                                             ":3: pgm_enable_sdmmc is neither on nor off"))
            << answer.err;
        EXPECT_TRUE(contains(answer.err, file + ":2: This is not a setting")) << answer.err;
        EXPECT_EQ(zorva("config get custom-dir").out, m_custom_dir + "\n");
    }
    EXPECT_EQ(zorva("config unset pgm_enable_sdmmc").code, 0);
    EXPECT_FALSE(contains(zorva("list").err, "pgm_enable_sdmmc"));
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

// One file is one file by whatever path, and one that can't be read is so by whatever path.
TEST_F(ToolTest, LintsAFileOnce) {
    const std::string file = write_custom("pgm_flash_A.xml", document(devices("A")));
    const std::string link = m_root + "link.xml";
    fs::create_symlink(file, link);
    fs::create_directory(m_root + "[ab]");
    write_file(m_root + "[ab]/pgm_flash_B.xml", document(devices("B")));
    const auto judged = [](const std::string& arguments) { return zorva("lint " + arguments).err; };
    const std::string once = "Files judged: 1; definitions: 1; findings: 0.\n";
    for (const std::string& arguments :
         {file + " " + m_root + "custom/../custom/pgm_flash_A.xml", link + " " + file,
          m_custom_dir + " " + link, link + " " + m_custom_dir + " " + m_custom_dir,
          m_root + "[ab]"})
        EXPECT_EQ(judged(arguments), once) << arguments;
    const fs::path before = fs::current_path();
    fs::current_path(m_root);
    EXPECT_EQ(judged("[ab]"), once);
    EXPECT_EQ(judged("[ab]/pgm_flash_B.xml custom"),
              "Files judged: 2; definitions: 2; findings: 0.\n");
    fs::current_path(before);
    // Two names in one directory are two definitions to a load.
    fs::create_symlink(file, m_custom_dir + "pgm_flash_B.xml");
    EXPECT_TRUE(contains(zorva("lint " + m_custom_dir).out, "error[20482]"));

    fs::remove(m_custom_dir + "pgm_flash_B.xml");
    const denying_disk disk(file);
    for (const std::string& argument : {file, m_custom_dir}) {
        const tool_answer answer = zorva("lint " + argument);
        EXPECT_EQ(answer.code, 3);
        EXPECT_EQ(answer.out, file + ": error[file]: The file can't be read: Permission denied.\n");
    }
}

TEST_F(ToolTest, LintsStandardInput) {
    const std::vector<std::string> command = {"lint", "-", m_shipped_file, "-"};
    EXPECT_EQ(zorva(command, false, document(devices("A"))).err,
              "Files judged: 2; definitions: 5; findings: 0.\n");
    EXPECT_EQ(zorva({"lint", "-"}, false, document(device({.density = "5Mb"}))).out,
              "<stdin>:6: error[20478]: Device density '5Mb' is invalid.\n");
    const tool_answer none = zorva("lint -");
    EXPECT_TRUE(contains(none.out, "<stdin>:1: error[schema]: The file is empty.")) << none.out;
}

TEST_F(ToolTest, SaysThatAnAnswerCannotBeWritten) {
    std::ofstream full("/dev/full");
    std::ostringstream err;
    EXPECT_EQ(zorva_tool::run({"families"}, {full, err, false, false}), 3);
    EXPECT_TRUE(contains(err.str(), "standard output"));
}

}  // namespace
