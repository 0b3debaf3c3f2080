#include "services/settings.h"

#include "services/file.h"
#include "tests/test_support.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>

namespace fs = std::filesystem;

namespace {

std::string file_text(const std::string& file) {
    std::string bytes;
    EXPECT_TRUE(FIO_FILE_SYSTEM::read(file, bytes)) << file;
    return bytes;
}

// A disk that tells which calls change it, and can fail at one of them.
struct WATCHED_DISK : pgm_host::file_system {
    bool read(const std::string& path, std::string& bytes) override {
        return fails != "read" && file_system::read(path, bytes);
    }
    bool write(const std::string& path, std::string_view bytes) override {
        calls += "write ";
        if (fails == "write") return file_system::write(path, bytes.substr(0, 5)) && false;
        return file_system::write(path, bytes);
    }
    bool chmod(const std::string& path, int mode) override {
        calls += "chmod ";
        return fails != "chmod" && file_system::chmod(path, mode);
    }
    bool rename(const std::string& from, const std::string& to) override {
        calls += "rename ";
        return fails != "rename" && file_system::rename(from, to);
    }
    bool flush_directory(const std::string& directory) override {
        calls += "flush " + directory;
        return file_system::flush_directory(directory);
    }

    std::string fails;
    std::string calls;
};

class SettingsTest : public InstallationTest {
  protected:
    SettingsTest() { pgm_host::set_user_ini_file(m_file); }

    // As another process would meet the stored settings.
    void forget_unstored() { pgm_host::set_user_ini_file(m_file); }

    const std::string m_file = m_root + "config/deep/settings.ini";
};

TEST_F(SettingsTest, ValuesComeBackByteForByte) {
    const char* values[] = {
        "/home/user/flash/", "",           "  blanks at both ends ", "\"quoted\"", "\"",
        "a=b;c#d",           "[section]",  "; no comment",           "<<<END",     "\xC3\xA4",
        "\xFF\xFE",          "tab\tinside"};
    for (const char* value : values) {
        SCOPED_TRACE(value);
        ASSERT_TRUE(cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, value));
        EXPECT_EQ(cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR), value);
        ASSERT_TRUE(cfg_write_user_ini_file());
        forget_unstored();
        EXPECT_EQ(cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR), value);
    }
    for (const std::string& value : {std::string("a\nb"), std::string("a\rb"), std::string("\x01"),
                                     std::string(1 << 20, 'x')}) {
        EXPECT_FALSE(cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, value.c_str()));
    }
    EXPECT_FALSE(cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, nullptr));
    EXPECT_EQ(cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR), "tab\tinside");
    ASSERT_TRUE(cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, "/not written/"));
    forget_unstored();
    EXPECT_EQ(cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR), "tab\tinside");
}

TEST_F(SettingsTest, HostBeatsFileBeatsDefault) {
    const std::string key = "pgm_enable_sdmmc";
    EXPECT_TRUE(cfg_is_on(key, true).value);
    EXPECT_FALSE(cfg_is_on(key, false).value);
    ASSERT_TRUE(pgm_host::store_setting(key, true));
    EXPECT_TRUE(cfg_is_on(key, false).value);
    pgm_host::set_setting(key, false);
    EXPECT_FALSE(cfg_is_on(key, true).value);
    EXPECT_FALSE(pgm_host::store_setting("pgm_unknown", true));
}

TEST_F(SettingsTest, TheUsersOwnLinesStay) {
    fs::create_directories(fs::path(m_file).parent_path());
    write_file(m_file,
               "# my file\n\n[mine]\n; about k\nk = v\n\n[settings]\n"
               "pgm_enable_sdmmc = ON\n# the end\n");
    EXPECT_TRUE(cfg_is_on("pgm_enable_sdmmc", false).value);
    ASSERT_TRUE(pgm_host::store_setting("pgm_enable_custom_sdmmc", true));
    ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", false));
    EXPECT_EQ(file_text(m_file),
              "# my file\n\n[mine]\n; about k\nk = v\n\n[settings]\n"
              "pgm_enable_sdmmc = off\npgm_enable_custom_sdmmc = on\n# the end\n");
    EXPECT_FALSE(cfg_is_on("pgm_enable_sdmmc", true).value);
    EXPECT_TRUE(cfg_is_on("pgm_enable_custom_sdmmc", false).value);
    write_file(m_file, "# one\n\n# two");
    ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", true));
    EXPECT_EQ(file_text(m_file), "# one\n\n# two\n[settings]\npgm_enable_sdmmc = on\n");
}

// The faults as "LINE: SENTENCE".
std::vector<std::string> faults() {
    std::vector<std::string> texts;
    for (const pgm_host::settings_fault& fault : pgm_host::settings_faults())
        texts.push_back(std::to_string(fault.line) + ": " + fault.sentence);
    return texts;
}

TEST_F(SettingsTest, ABadLineIsToldAndTheOthersStand) {
    const std::string rest = "[user]\n94 = \"/a/\"\n[settings]\npgm_enable_custom_sdmmc = on\n";
    const std::string no_switch = " is neither on nor off; its default is in force.";
    const std::string no_setting =
        "This is not a setting, which would read NAME = VALUE; it is passed over.";
    const struct {
        const char* name;
        std::string text;
        std::vector<std::string> faults;
    } rows[] = {
        {"good", rest, {}},
        {"switch", rest + "pgm_enable_sdmmc = true\n", {"5: pgm_enable_sdmmc" + no_switch}},
        {"empty switch", rest + "pgm_enable_sdmmc=", {"5: pgm_enable_sdmmc" + no_switch}},
        {"text", "hello\n" + rest + "= on\n", {"1: " + no_setting, "6: " + no_setting}},
        {"open section", rest + "[settings\npgm_enable_sdmmc = on\n", {"5: " + no_setting}},
        {"control character", "\x01\n" + rest, {"1: " + no_setting}},
        {"byte order mark and CRLF",
         "\xEF\xBB\xBF[mine]\r\nk = v\r\n" + rest + "x\r\n",
         {"7: " + no_setting}},
    };
    fs::create_directories(fs::path(m_file).parent_path());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        write_file(m_file, row.text);
        m_traces.clear();
        EXPECT_FALSE(cfg_is_on("pgm_enable_sdmmc", false).value);
        EXPECT_TRUE(cfg_is_on("pgm_enable_sdmmc", true).value);
        EXPECT_TRUE(cfg_is_on("pgm_enable_custom_sdmmc", false).value);
        EXPECT_EQ(cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR), "/a/");
        EXPECT_EQ(faults(), row.faults);
        EXPECT_EQ(m_traces.size(), row.faults.size());
        // Changes of other entries, there and back, leave each line as it was.
        ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc_orlane", true));
        EXPECT_TRUE(cfg_is_on("pgm_enable_sdmmc_orlane", false).value);
        ASSERT_TRUE(pgm_host::unset_setting("pgm_enable_sdmmc_orlane"));
        EXPECT_EQ(file_text(m_file), row.text + (row.text.ends_with('\n') ? "" : "\n"));
        ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", true));
        EXPECT_TRUE(cfg_is_on("pgm_enable_sdmmc", false).value);
    }
}

TEST_F(SettingsTest, AFileThatIsNoneOfSettingsIsLeftAlone) {
    const std::string on = "[settings]\npgm_enable_sdmmc = on\n";
    fs::create_directories(fs::path(m_file).parent_path());
    for (const std::string& text : {on + '\0', on + "#" + std::string(1 << 20, 'x')}) {
        write_file(m_file, text);
        EXPECT_FALSE(cfg_is_on("pgm_enable_sdmmc", false).value);
        ASSERT_EQ(faults().size(), 1U);
        EXPECT_TRUE(faults()[0].starts_with("0: The settings file is ")) << faults()[0];
        EXPECT_FALSE(pgm_host::store_setting("pgm_enable_sdmmc", true));
        EXPECT_EQ(file_text(m_file), text);
    }
}

TEST_F(SettingsTest, ProcessesThatStoreAtOnceLoseNothing) {
    const std::vector<std::string> keys = {
        "pgm_enable_sdmmc", "pgm_enable_custom_sdmmc", "pgm_enable_sdmmc_orlane",
        "pgm_zorva_skip_device_filtering", "pgm_zorva_enable_operation_editable"};
    for (int round = 0; round < 10; ++round) {
        fs::remove_all(fs::path(m_file).parent_path());
        for (const std::string& key : keys)
            if (::fork() == 0) ::_exit(pgm_host::store_setting(key, true) ? 0 : 1);
        for (int status = 0; ::wait(&status) > 0;) EXPECT_EQ(status, 0);
        for (const std::string& key : keys) EXPECT_TRUE(cfg_is_on(key, false).value) << key;
    }
    const fs::directory_iterator left(fs::path(m_file).parent_path());
    EXPECT_EQ(std::distance(fs::begin(left), fs::end(left)), 1);
}

TEST_F(SettingsTest, AReplacedFileIsLastingAndKeepsItsPlaceAndMode) {
    const std::string directory = m_root + "config/deep/";
    ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", true));
    fs::permissions(m_file, fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink("settings.ini", directory + "link.ini");
    pgm_host::set_user_ini_file(directory + "link.ini");
    WATCHED_DISK disk;
    pgm_host::set_file_system(&disk);
    ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", false));
    EXPECT_EQ(disk.calls, "write chmod rename flush " + directory);
    EXPECT_TRUE(fs::is_symlink(directory + "link.ini"));
    EXPECT_EQ(disk.mode(m_file), 0600);
}

TEST_F(SettingsTest, AFailureLeavesTheFileAsItWas) {
    ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", true));
    const std::string before = file_text(m_file);
    WATCHED_DISK disk;
    pgm_host::set_file_system(&disk);
    for (const char* call : {"read", "write", "chmod", "rename"}) {
        SCOPED_TRACE(call);
        disk.fails = call;
        ASSERT_TRUE(cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, "/a/"));
        EXPECT_FALSE(cfg_write_user_ini_file());
        EXPECT_FALSE(pgm_host::store_setting("pgm_enable_sdmmc", false));
        disk.fails = "";
        EXPECT_TRUE(cfg_is_on("pgm_enable_sdmmc", false).value);
        EXPECT_EQ(cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR), "") << "nothing is stored";
        EXPECT_EQ(file_text(m_file), before);
        EXPECT_EQ(joined(disk.list(m_root + "config/deep")), "settings.ini");
    }
}

TEST_F(SettingsTest, DefaultFile) {
    pgm_host::set_user_ini_file("");
    ::setenv("XDG_CONFIG_HOME", m_root.c_str(), 1);
    EXPECT_EQ(FIO_PATH(pgm_host::user_ini_file()).fullpath(), m_root + "pgm_zorva/pgm_zorva.ini");
    ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", true));
    EXPECT_TRUE(fs::exists(m_root + "pgm_zorva/pgm_zorva.ini"));
    const std::string below_home = m_root + ".config/pgm_zorva/pgm_zorva.ini";
    for (const char* passed_over : {"", "relative", "./relative"}) {
        ::setenv("XDG_CONFIG_HOME", passed_over, 1);
        EXPECT_EQ(FIO_PATH(pgm_host::user_ini_file()).fullpath(), below_home);
    }
    ::unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(FIO_PATH(pgm_host::user_ini_file()).fullpath(), below_home);
    ::unsetenv("HOME");
    EXPECT_EQ(pgm_host::user_ini_file(), "");
    EXPECT_FALSE(pgm_host::store_setting("pgm_enable_sdmmc", true));
}

}  // namespace
