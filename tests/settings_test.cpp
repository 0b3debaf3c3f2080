#include "services/settings.h"

#include "services/file.h"
#include "tests/test_support.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

// A disk that tells which calls change it, and can fail at one of them.
struct WATCHED_DISK : pgm_host::file_system {
    bool read(const std::string& path, std::string& bytes) override {
        return fails != "read" && file_system::read(path, bytes);
    }
    bool write(const std::string& path, std::string_view bytes) override {
        if (is_good("write")) return file_system::write(path, bytes);
        return file_system::write(path, bytes.substr(0, 5)) && false;
    }
    bool chmod(const std::string& path, int mode) override {
        return is_good("chmod") && file_system::chmod(path, mode);
    }
    bool rename(const std::string& from, const std::string& to) override {
        return is_good("rename") && file_system::rename(from, to);
    }
    bool flush_directory(const std::string& directory) override {
        return is_good("flush " + directory) && file_system::flush_directory(directory);
    }
    bool is_good(const std::string& call) {
        calls += call + " ";
        return fails != call;
    }

    std::string fails, calls;
};

class SettingsTest : public InstallationTest {
  protected:
    SettingsTest() { forget_unstored(); }

    // As another process would meet the stored settings.
    void forget_unstored() { pgm_host::set_user_ini_file(m_file); }

    void write(const std::string& text) const {
        fs::create_directories(m_directory);
        write_file(m_file, text);
    }
    std::string text() const {
        std::string bytes;
        EXPECT_TRUE(FIO_FILE_SYSTEM::read(m_file, bytes));
        return bytes;
    }
    static bool set(const char* value) {
        return cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, value);
    }
    static std::string value() { return cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR); }

    const std::string m_directory = m_root + "config/deep/";
    const std::string m_file = m_directory + "settings.ini";
};

const std::string sdmmc = "pgm_enable_sdmmc";
const std::string custom = "pgm_enable_custom_sdmmc";
const std::string orlane = "pgm_enable_sdmmc_orlane";

std::string state(const std::string& key) {
    if (!cfg_is_on(key, true).value) return "off";
    return cfg_is_on(key, false).value ? "on" : "as its default";
}

TEST_F(SettingsTest, ValuesComeBackByteForByte) {
    const std::string large(1 << 20, 'x');
    for (const char* text : {"", "  a=b;c#d ", "\"quoted\"", "\"", "[section]", "; no comment",
                             "<<<END", "\xC3\xA4", "\xFF\xFE", "tab\tinside"}) {
        SCOPED_TRACE(text);
        ASSERT_TRUE(set(text));
        EXPECT_EQ(value(), text);
        ASSERT_TRUE(cfg_write_user_ini_file());
        forget_unstored();
        EXPECT_EQ(value(), text);
    }
    for (const char* text : {"a\nb", "a\rb", "\x01", large.c_str()}) EXPECT_FALSE(set(text));
    EXPECT_FALSE(set(nullptr));
    EXPECT_EQ(value(), "tab\tinside");
    ASSERT_TRUE(set("/not written/"));
    forget_unstored();
    EXPECT_EQ(value(), "tab\tinside");
}

TEST_F(SettingsTest, TheUsersOwnLinesStayAndTheHostBeatsThem) {
    const std::string head = "# my file\n\n[mine]\n; about k\nk = v\n\n[settings]\n";
    write(head + "pgm_enable_sdmmc = ON\n# the end\n");
    EXPECT_EQ(state(sdmmc), "on");
    EXPECT_EQ(state(custom), "as its default");
    ASSERT_TRUE(pgm_host::store_setting(custom, true));
    ASSERT_TRUE(pgm_host::store_setting(sdmmc, false));
    EXPECT_FALSE(pgm_host::store_setting("pgm_unknown", true));
    EXPECT_EQ(text(), head + "pgm_enable_sdmmc = off\npgm_enable_custom_sdmmc = on\n# the end\n");
    EXPECT_EQ(state(sdmmc), "off");
    EXPECT_EQ(state(custom), "on");
    pgm_host::set_setting(custom, false);
    EXPECT_EQ(state(custom), "off");
    write("# one\n\n# two");
    ASSERT_TRUE(pgm_host::store_setting(sdmmc, true));
    EXPECT_EQ(text(), "# one\n\n# two\n[settings]\npgm_enable_sdmmc = on\n");
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
    const std::string no_switch =
        "5: pgm_enable_sdmmc is neither on nor off; its default is in force.";
    const std::string no_setting =
        "This is not a setting, which would read NAME = VALUE; it is passed over.";
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {rest, {}},
        {rest + "pgm_enable_sdmmc = true\n", {no_switch}},
        {rest + "pgm_enable_sdmmc=", {no_switch}},
        {"hello\n" + rest + "= on\n", {"1: " + no_setting, "6: " + no_setting}},
        {rest + "[settings\npgm_enable_sdmmc = on\n", {"5: " + no_setting}},
        {"\x01\n" + rest, {"1: " + no_setting}},
        {"\xEF\xBB\xBF[mine]\r\nk = v\r\n" + rest + "x\r\n", {"7: " + no_setting}},
    };
    for (const auto& [given, expected] : rows) {
        SCOPED_TRACE(given);
        write(given);
        m_traces.clear();
        EXPECT_EQ(state(sdmmc), "as its default");
        EXPECT_EQ(state(custom), "on");
        EXPECT_EQ(value(), "/a/");
        EXPECT_EQ(faults(), expected);
        EXPECT_EQ(m_traces.size(), expected.size());
        // Changes of other entries, there and back, leave each line as it was.
        ASSERT_TRUE(pgm_host::store_setting(orlane, true));
        EXPECT_EQ(state(orlane), "on");
        ASSERT_TRUE(pgm_host::unset_setting(orlane));
        EXPECT_EQ(text(), given + (given.ends_with('\n') ? "" : "\n"));
        ASSERT_TRUE(pgm_host::store_setting(sdmmc, true));
        EXPECT_EQ(state(sdmmc), "on");
    }
}

TEST_F(SettingsTest, AFileThatIsNoneOfSettingsIsLeftAlone) {
    const std::string on = "[settings]\npgm_enable_sdmmc = on\n";
    for (const std::string& given : {on + '\0', on + "#" + std::string(1 << 20, 'x')}) {
        write(given);
        EXPECT_EQ(state(sdmmc), "as its default");
        ASSERT_EQ(faults().size(), 1U);
        EXPECT_TRUE(faults()[0].starts_with("0: The settings file is ")) << faults()[0];
        EXPECT_FALSE(pgm_host::store_setting(sdmmc, true));
        EXPECT_EQ(text(), given);
    }
}

TEST_F(SettingsTest, ProcessesThatStoreAtOnceLoseNothing) {
    const std::vector<std::string> keys = {sdmmc, custom, orlane, "pgm_zorva_skip_device_filtering",
                                           "pgm_zorva_enable_operation_editable"};
    for (int round = 0; round < 10; ++round) {
        fs::remove_all(m_directory);
        for (const std::string& key : keys)
            if (::fork() == 0) ::_exit(pgm_host::store_setting(key, true) ? 0 : 1);
        for (int status = 0; ::wait(&status) > 0;) EXPECT_EQ(status, 0);
        for (const std::string& key : keys) EXPECT_EQ(state(key), "on") << key;
    }
    EXPECT_EQ(joined(pgm_host::file_system().list(m_directory)), "settings.ini");
}

TEST_F(SettingsTest, AReplacedFileIsLastingAndAFailureLeavesItAsItWas) {
    ASSERT_TRUE(pgm_host::store_setting(sdmmc, false));
    fs::permissions(m_file, fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink("settings.ini", m_directory + "link.ini");
    pgm_host::set_user_ini_file(m_directory + "link.ini");
    WATCHED_DISK disk;
    pgm_host::set_file_system(&disk);
    ASSERT_TRUE(pgm_host::store_setting(sdmmc, true));
    EXPECT_EQ(disk.calls, "write chmod rename flush " + m_directory + " ");
    EXPECT_TRUE(fs::is_symlink(m_directory + "link.ini"));
    EXPECT_EQ(disk.mode(m_file), 0600);
    const std::string before = text();
    for (const char* call : {"read", "write", "chmod", "rename"}) {
        SCOPED_TRACE(call);
        disk.fails = call;
        ASSERT_TRUE(set("/a/"));
        EXPECT_FALSE(cfg_write_user_ini_file());
        EXPECT_FALSE(pgm_host::store_setting(sdmmc, false));
        disk.fails = "";
        EXPECT_EQ(state(sdmmc), "on");
        EXPECT_EQ(value(), "") << "nothing is stored";
        EXPECT_EQ(text(), before);
        EXPECT_EQ(joined(disk.list(m_directory)), "link.ini settings.ini");
    }
}

TEST_F(SettingsTest, DefaultFile) {
    const auto file = [] { return FIO_PATH(pgm_host::user_ini_file()).fullpath(); };
    pgm_host::set_user_ini_file("");
    ::setenv("XDG_CONFIG_HOME", m_root.c_str(), 1);
    EXPECT_EQ(file(), m_root + "pgm_zorva/pgm_zorva.ini");
    ASSERT_TRUE(pgm_host::store_setting(sdmmc, true));
    EXPECT_TRUE(fs::exists(file()));
    for (const char* passed_over : {"", "relative", "./relative"}) {
        ::setenv("XDG_CONFIG_HOME", passed_over, 1);
        EXPECT_EQ(file(), m_root + ".config/pgm_zorva/pgm_zorva.ini");
    }
    ::unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(file(), m_root + ".config/pgm_zorva/pgm_zorva.ini");
    ::unsetenv("HOME");
    EXPECT_EQ(pgm_host::user_ini_file(), "");
    EXPECT_FALSE(pgm_host::store_setting(sdmmc, true));
}

}  // namespace
