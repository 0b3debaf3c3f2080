// What a change traces, what it compares, and from where it may be called.
#include "pgm/zorva/zorva_change.h"
#include "tests/store_support.h"

namespace {

class StoreChangeTest : public StoreTest {
  protected:
    // What was traced since the last call, without the root of the paths.
    std::string traced();
};

std::string StoreChangeTest::traced() {
    std::string text;
    for (const std::string& trace : m_traces) text += without_root(trace) + "\n";
    forget();
    return text;
}

// Both steps that the one rename stands for are told.
TEST_F(StoreChangeTest, Traces) {
    write_custom("pgm_flash_1.xml", document(devices("A|X") + user_template("T")));
    ZORVA_QSPI_MGR mgr;
    const auto heading = [](const std::string& call, const char* custom_dir = "custom/") {
        return "Entering ZORVA_MGR::" + call + "\ndb_dir.c_str() = " + custom_dir +
               "\nkestrin_dir.full_directory().c_str() = xml/\n"
               "custom_dir.full_directory().c_str() = custom/\n";
    };
    const auto active = [](const std::string& file) {
        return "active_dir_file.fullpath().c_str() = custom/" + file +
               "\nactive_dir_file.full_directory().c_str() = custom/\n";
    };
    const auto maps = [](const std::string& when, int custom, int all) {
        return when + ": db_dir_map->size() = " + std::to_string(custom) + "\n" + when +
               ": m_flash_db_active_dir_map.size() = " + std::to_string(all) + "\n" + when +
               ": m_flash_map.size() = " + std::to_string(all) + "\n";
    };
    const auto templates = [](const std::string& when, const char* count) {
        return when + ": m_user_flash_template_map->size() = " + count + "\n" + when +
               ": m_template_db_dir_map.size() = " + count + "\n";
    };
    const std::string shared = "pgm_flash_1.xml";
    const std::string update_x =
        heading("update_db with flash device_name = X") + heading("delete_db with device_name = X");
    const std::string gone = maps("Before", 2, 5) + maps("After", 1, 4);
    const std::string touched = "Touch new XML file, custom/pgm_flash_X.xml\n";
    const std::string written =
        "Deleting old XML file custom/pgm_flash_X.xml\n"
        "Writing new XML file, custom/pgm_flash_X.xml\n" +
        maps("Before", 1, 4) + maps("After", 2, 5);
    forget();
    EXPECT_TRUE(update(mgr, "X"));
    EXPECT_EQ(traced(), update_x + active(shared) +
                            "Found flash name = A\nFound template name = T\n"
                            "Deleting XML file custom/pgm_flash_1.xml\n" +
                            gone + "Writing XML file, custom/pgm_flash_1.xml\n" + touched +
                            written);
    EXPECT_TRUE(update(mgr, "X"));
    EXPECT_EQ(traced(), update_x + active("pgm_flash_X.xml") +
                            "Deleting XML file custom/pgm_flash_X.xml\n" + gone + touched +
                            written);
    EXPECT_TRUE(mgr.delete_db("A", m_custom_dir));
    EXPECT_EQ(traced(), heading("delete_db with device_name = A") + active(shared) +
                            "Found template name = T\nDeleting XML file custom/pgm_flash_1.xml\n" +
                            gone + "Writing XML file, custom/pgm_flash_1.xml\n");
    EXPECT_TRUE(mgr.delete_template("T"));
    EXPECT_EQ(traced(), heading("delete_db with device_name = T") +
                            "Deleting XML file custom/pgm_flash_1.xml\n" +
                            templates("Before", "1") + templates("After", "0"));
    EXPECT_TRUE(mgr.update_template_db(new_record(mgr, "", "0x77", "T"), m_custom_dir));
    EXPECT_EQ(traced(),
              "Touch new XML file, custom/pgm_flash_template_T.xml\n"
              "Deleting old XML file custom/pgm_flash_template_T.xml\n"
              "Writing new XML file, custom/pgm_flash_template_T.xml\n");
    EXPECT_TRUE(mgr.delete_template("T"));
}

// Spelled otherwise, it is still the definition that was loaded.
TEST_F(StoreChangeTest, ADefinitionIsComparedByWhatItSays) {
    write_custom("pgm_flash_1.xml", document(devices("A|B")));
    ZORVA_QSPI_MGR mgr;
    EXPECT_TRUE(update(mgr, "B")) << "which writes the file anew";
    EXPECT_TRUE(mgr.store_definitions(
        {{ZORVA_DEFINITION_KIND::DEVICE, new_record(mgr, "A"), ZORVA_BASIS::AS_LOADED}},
        m_custom_dir))
        << mgr.get_change_outcome().sentence;
}

// A host may call the library from where it takes messages.
TEST_F(StoreChangeTest, AChangeFromWithinALoadIsRefused) {
    write_custom("pgm_flash_1.xml",
                 document(devices("A") + device({.name = "B", .density = "5Mb"})));
    ZORVA_QSPI_MGR mgr;
    int refusals = 0;
    pgm_host::set_message_sink([&](const pgm_host::message& message) {
        if (message.id == 20560)
            ++refusals;
        else if (mgr.delete_db("A", m_custom_dir))
            ADD_FAILURE();
    });
    ZORVA_QSPI_MGR again;
    EXPECT_EQ(refusals, 1);
    EXPECT_TRUE(again.get_flash("A", true));
    EXPECT_TRUE(mgr.delete_db("A", m_custom_dir));
}

}  // namespace
