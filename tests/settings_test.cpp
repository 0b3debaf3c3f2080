#include "services/settings.h"

#include "services/file.h"
#include "tests/test_support.h"

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

std::string file_text(const std::string& file) {
    std::string bytes;
    EXPECT_TRUE(FIO_FILE_SYSTEM::read(file, bytes)) << file;
    return bytes;
}

// A disk on which nothing can be renamed.
struct stuck_disk : pgm_host::file_system {
    bool rename(const std::string&, const std::string&) override { return false; }
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
}

TEST_F(SettingsTest, ValuesAreInMemoryUntilWritten) {
    ASSERT_TRUE(cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, "/a/"));
    EXPECT_FALSE(fs::exists(m_file));
    forget_unstored();
    EXPECT_EQ(cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR), "");
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
    const std::string text = file_text(m_file);
    for (const char* line : {"# my file\n", "[mine]\n", "; about k\n", "k = v\n", "# the end\n"}) {
        const std::size_t at = text.find(line);
        ASSERT_NE(at, std::string::npos) << line << text;
        EXPECT_EQ(text.find(line, at + 1), std::string::npos) << line << text;
    }
    EXPECT_FALSE(cfg_is_on("pgm_enable_sdmmc", true).value);
    EXPECT_TRUE(cfg_is_on("pgm_enable_custom_sdmmc", false).value);
}

TEST_F(SettingsTest, AFileOfCommentsTakesSettings) {
    fs::create_directories(fs::path(m_file).parent_path());
    write_file(m_file, "# one\n\n# two\n");
    ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", true));
    EXPECT_TRUE(cfg_is_on("pgm_enable_sdmmc", false).value);
    EXPECT_TRUE(file_text(m_file).ends_with("# one\n\n# two\n"));
}

TEST_F(SettingsTest, ADamagedFileMeansDefaultsAndIsPutAside) {
    const struct {
        const char* name;
        std::string text;
        const char* reason;
    } rows[] = {
        {"switch", "[settings]\npgm_enable_sdmmc = maybe\n", "pgm_enable_sdmmc is neither"},
        {"no INI", "[settings]\npgm_enable_sdmmc = on\nhello\n", "line 3"},
        {"open section", "[settings\npgm_enable_sdmmc = on\n", "line 1"},
        {"binary", std::string("[settings]\npgm_enable_sdmmc = on\n\0", 35), "not a text"},
        {"large", "[settings]\npgm_enable_sdmmc = on\n#" + std::string(1 << 20, 'x'), "too large"},
    };
    fs::create_directories(fs::path(m_file).parent_path());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        write_file(m_file, row.text);
        m_traces.clear();
        EXPECT_FALSE(cfg_is_on("pgm_enable_sdmmc", false).value);
        EXPECT_FALSE(cfg_is_on("pgm_enable_sdmmc", false).value);
        ASSERT_EQ(m_traces.size(), 1U);
        EXPECT_NE(m_traces[0].find(row.reason), std::string::npos) << m_traces[0];
        ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", true));
        EXPECT_TRUE(cfg_is_on("pgm_enable_sdmmc", false).value);
        EXPECT_EQ(file_text(m_file + ".damaged"), row.text);
    }
}

TEST_F(SettingsTest, AFailedWriteLeavesTheFileAsItWas) {
    ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", true));
    const std::string before = file_text(m_file);
    stuck_disk disk;
    pgm_host::set_file_system(&disk);
    ASSERT_TRUE(cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, "/a/"));
    EXPECT_FALSE(cfg_write_user_ini_file());
    EXPECT_FALSE(pgm_host::store_setting("pgm_enable_sdmmc", false));
    EXPECT_TRUE(cfg_is_on("pgm_enable_sdmmc", false).value);
    EXPECT_EQ(cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR), "/a/");
    EXPECT_EQ(file_text(m_file), before);
    EXPECT_EQ(disk.list(m_root + "config/deep").size(), 1U);
}

TEST_F(SettingsTest, DefaultFile) {
    const char* before = std::getenv("XDG_CONFIG_HOME");
    const std::string kept = before != nullptr ? before : "";
    pgm_host::set_user_ini_file("");
    ::setenv("XDG_CONFIG_HOME", m_root.c_str(), 1);
    EXPECT_EQ(FIO_PATH(pgm_host::user_ini_file()).fullpath(), m_root + "pgm_zorva/pgm_zorva.ini");
    ASSERT_TRUE(pgm_host::store_setting("pgm_enable_sdmmc", true));
    EXPECT_TRUE(fs::exists(m_root + "pgm_zorva/pgm_zorva.ini"));
    ::unsetenv("XDG_CONFIG_HOME");
    EXPECT_TRUE(pgm_host::user_ini_file().ends_with("/.config/pgm_zorva/pgm_zorva.ini"));
    if (!kept.empty()) ::setenv("XDG_CONFIG_HOME", kept.c_str(), 1);
}

}  // namespace
