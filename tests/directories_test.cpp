// The two directories of user files, and the user's stored choice.
#include "services/settings.h"
#include "tests/test_support.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace {

class DirectoriesTest : public InstallationTest {
  protected:
    static std::string stored() { return cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR); }
    static bool save(const std::string& dir, bool force = false) {
        return ZORVA_MGR::save_custom_dir_to_ini(dir, force);
    }
};

TEST_F(DirectoriesTest, DirectoriesEndInOneSlash) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "./"}, {"/a/b", "/a/b/"}, {"a\\b", "a/b/"}, {"//a//b//", "/a/b/"}, {"/", "/"}};
    for (const auto& [directory, expected] : rows) {
        ZORVA_MGR::set_db_custom_dir(directory);
        EXPECT_EQ(ZORVA_MGR::get_db_custom_dir(), expected) << directory;
    }
    pgm_host::set_common_programmer("\\opt\\\\tool");
    EXPECT_EQ(ZORVA_MGR::get_db_kestrin_dir(), "/opt/tool/xml/");
}

TEST_F(DirectoriesTest, TheStoredChoiceIsTheHostsToUse) {
    EXPECT_EQ(ZORVA_MGR::get_custom_dir_from_ini(), "./");
    EXPECT_EQ(stored(), "./") << "without a choice the default is stored";
    EXPECT_TRUE(save(m_xml_dir));
    EXPECT_EQ(ZORVA_MGR::get_db_custom_dir(), m_custom_dir) << "the process keeps its own";
    pgm_host::set_user_ini_file(m_root + "settings.ini");
    EXPECT_EQ(ZORVA_MGR::get_custom_dir_from_ini(), m_xml_dir) << "it outlives the process";
}

TEST_F(DirectoriesTest, OnlyADirectoryThatIsThereIsStored) {
    EXPECT_FALSE(save(""));
    EXPECT_FALSE(save(m_root + "missing"));
    EXPECT_EQ(stored(), "");
    EXPECT_TRUE(save(m_root + "missing", true));
    EXPECT_EQ(stored(), m_root + "missing/");
    EXPECT_TRUE(save("", true));
    EXPECT_EQ(stored(), "/");
    EXPECT_FALSE(save("line\nbreak", true)) << "the settings can't hold it";
    pgm_host::set_user_ini_file(m_shipped_file + "/below_a_file.ini");
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(ZORVA_MGR::get_custom_dir_from_ini(), "");
        EXPECT_FALSE(save(m_xml_dir)) << "what can't be written isn't stored, however often asked";
    }
    EXPECT_EQ(joined(posted_ids()), "");
}

TEST_F(DirectoriesTest, AChangeOfCaseAloneIsntStored) {
    fs::create_directory(m_root + "Dir");
    fs::create_directory(m_root + "dir");
    EXPECT_TRUE(save(m_root + "Dir"));
    EXPECT_TRUE(save(m_root + "dir/"));
    EXPECT_EQ(stored(), m_root + "Dir/");
}

}  // namespace
