// Changes to files that hold more than what is changed, and files that must not be changed.
#include "pgm/zorva/zorva_sdmmc_mgr.h"
#include "tests/store_support.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <memory>

namespace fs = std::filesystem;

namespace {

const std::string other = flows(action(ZORVA_ACT_TYPE_ERASE));
const std::string bad = flows(replaced(action(ZORVA_ACT_TYPE_CUSTOM), "start", "begin"));

class StoreEditTest : public StoreTest {
  protected:
    StoreEditTest() {
        write_installed(
            "pgm_flash_mix.xml",
            document(device({.name = "HIDDEN"}) + device({.name = "A"}) + user_template("T") +
                     user_template("BAD_T", bad) + user_template("S")));
        write_custom(
            "pgm_flash_mix.xml",
            document(user_template("U") + user_template("T", other) + user_template("behind T") +
                     device({.name = "B"}) + device({.name = "HIDDEN", .density = "1Mb"})));
        write_custom("pgm_flash_bad.xml",
                     document(device({.name = "C"}) + device({.name = "BAD", .flow = bad}) +
                              device({.name = "behind BAD"}) + user_template("W")));
        write_custom(
            "pgm_flash_template_N.xml",
            document(user_template("P") + user_template("TWIN") + device({.name = "TWIN"})));
    }

    std::multiset<std::string> definitions() {
        std::multiset<std::string> all = definitions_in(m_xml_dir);
        all.merge(definitions_in(m_custom_dir));
        return all;
    }
    // All that can be seen of the files from outside.
    texts files() {
        texts all;
        for (const auto& entry : fs::recursive_directory_iterator(m_root)) {
            const auto permissions = static_cast<int>(entry.status().permissions());
            all[entry.path()] = std::to_string(permissions);
            if (entry.is_regular_file()) all[entry.path()] += bytes_of(entry.path());
        }
        return all;
    }
    std::function<bool(ZORVA_MGR&)> update(const std::string& name, const std::string& directory) {
        return [=](ZORVA_MGR& mgr) { return mgr.update_db(new_record(mgr, name), directory); };
    }
    std::function<bool(ZORVA_MGR&)> add_template(const std::string& name) {
        return [this, name](ZORVA_MGR& mgr) {
            return mgr.update_template_db(new_record(mgr, "", "0x77", name), m_custom_dir);
        };
    }
    std::function<bool(ZORVA_MGR&)> remove(const std::string& name, const std::string& directory) {
        return [=](ZORVA_MGR& mgr) { return mgr.delete_db(name, directory); };
    }
};

// "device A" and "template T" of the definitions in `all` that aren't in `others`.
names difference(const std::multiset<std::string>& all, const std::multiset<std::string>& others) {
    names found;
    std::multiset<std::string> only;
    std::ranges::set_difference(all, others, std::inserter(only, only.end()));
    for (const std::string& text : only) {
        const std::size_t begin = text.find("_NAME>") + 6;
        found.push_back((text.starts_with("<FLASH>") ? "device " : "template ") +
                        text.substr(begin, text.find('<', begin) - begin));
    }
    return found;
}

TEST_F(StoreEditTest, EverythingElseIsStillThere) {
    const auto delete_template = [](const char* name) {
        return [name](ZORVA_MGR& mgr) { return mgr.delete_template(name); };
    };
    const struct {
        const char* what;
        std::function<bool(ZORVA_MGR&)> change;
        names lost, gained;
    } rows[] = {
        {"add", update("X", m_custom_dir), {}, {"device X"}},
        {"add beside others", update("template_N", m_custom_dir), {}, {"device template_N"}},
        {"shadow a shipped one", update("SHIP_A", m_custom_dir), {}, {"device SHIP_A"}},
        {"shadow another", update("A", m_custom_dir), {}, {"device A"}},
        {"replace an installed one", update("A", m_xml_dir), {"device A"}, {"device A"}},
        {"replace a custom one", update("B", m_custom_dir), {"device B"}, {"device B"}},
        {"replace a shadow", update("HIDDEN", m_custom_dir), {"device HIDDEN"}, {"device HIDDEN"}},
        {"replace before a bad one", update("C", m_custom_dir), {"device C"}, {"device C"}},
        {"replace a bad one", update("BAD", m_custom_dir), {"device BAD"}, {"device BAD"}},
        {"replace one that wasn't read",
         update("behind BAD", m_custom_dir),
         {"device behind BAD"},
         {"device behind BAD"}},
        {"delete an installed one", remove("A", m_xml_dir), {"device A"}, {}},
        {"delete a custom one", remove("B", m_custom_dir), {"device B"}, {}},
        {"delete a shadow", remove("HIDDEN", m_custom_dir), {"device HIDDEN"}, {}},
        {"delete before a bad one", remove("C", m_custom_dir), {"device C"}, {}},
        {"delete a bad one", remove("BAD", m_custom_dir), {}, {}},
        {"delete in the other directory", remove("A", m_custom_dir), {}, {}},
        {"delete what isn't there", remove("nobody", m_custom_dir), {}, {}},
        {"add a template", add_template("X"), {}, {"template X"}},
        {"add a template beside others", add_template("N"), {}, {"template N"}},
        {"delete a template", delete_template("S"), {"template S"}, {}},
        {"delete a template by its name", remove("U", m_custom_dir), {"template U"}, {}},
        {"delete a device with a template's name",
         remove("TWIN", m_custom_dir),
         {"device TWIN"},
         {}},
        {"delete a template with a device's name", delete_template("TWIN"), {"template TWIN"}, {}},
        {"delete a template that another hides", delete_template("T"), {"template T"}, {}},
    };
    const texts original[] = {files_in(m_xml_dir), files_in(m_custom_dir)};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        put_files(m_xml_dir, original[0]);
        put_files(m_custom_dir, original[1]);
        const auto before = definitions();
        ZORVA_QSPI_MGR mgr;
        const texts known = answers(mgr);
        const std::size_t reports = mgr.get_load_report().size();
        forget();
        EXPECT_TRUE(row.change(mgr));
        EXPECT_EQ(posted_ids(), ids{});
        EXPECT_EQ(difference(before, definitions()), row.lost);
        EXPECT_EQ(difference(definitions(), before), row.gained);
        EXPECT_EQ(mgr.get_load_report().size(), reports);
        const texts now = loaded();
        const texts mgr_knows = answers(mgr);
        for (const auto& [name, text] : known) {
            if (std::ranges::count(row.lost, name) || std::ranges::count(row.gained, name))
                continue;
            EXPECT_EQ(now.contains(name) ? now.at(name) : "", text) << name;
            EXPECT_EQ(mgr_knows.contains(name) ? mgr_knows.at(name) : "", text) << name;
        }
    }
}

// A warning, false, and nothing has happened.
TEST_F(StoreEditTest, WhatMustNotBeTouched) {
    const std::string target = m_custom_dir + "pgm_flash_X.xml";
    const std::string mixed = m_custom_dir + "pgm_flash_mix.xml";
    const std::string elsewhere = m_root + "elsewhere/";
    const auto put = [](const std::string& file, const std::string& bytes) {
        return [=] { write_file(file, bytes); };
    };
    const auto drop = [](const std::string& file) { return [=] { fs::remove_all(file); }; };
    const auto link = [](const std::string& to, const std::string& file) {
        return [=] { fs::create_symlink(to, file); };
    };
    const auto move_away = [elsewhere] { ZORVA_MGR::set_db_custom_dir(elsewhere); };
    const auto delete_u = [](ZORVA_MGR& mgr) { return mgr.delete_template("U"); };
    const std::string sdmmc = R"(<SDMMC_FLASH version="1"></SDMMC_FLASH>)";
    const std::string half = document(device({.name = "B"})).substr(0, 300);
    const struct {
        const char* what;
        std::function<void()> spoil;  // behind the load
        std::function<bool(ZORVA_MGR&)> change;
    } rows[] = {
        {"another interface's file", put(target, sdmmc), update("X", m_custom_dir)},
        {"not well formed", put(target, half), update("X", m_custom_dir)},
        {"no such document", put(target, document("<SPARE/>")), update("X", m_custom_dir)},
        {"a directory", [=] { fs::create_directory(target); }, update("X", m_custom_dir)},
        {"a link to the shipped file", link(m_shipped_file, target), update("X", m_custom_dir)},
        {"the name of a shipped file", {}, update("db_qspi", m_xml_dir)},
        {"the name of another", {}, update("db_sdmmc", m_xml_dir)},
        {"a shipped device", {}, update("SHIP_A", m_xml_dir)},
        {"a shipped device to delete", {}, remove("SHIP_A", m_xml_dir)},
        {"bytes that aren't its any more", put(mixed, half), update("B", m_custom_dir)},
        {"and to delete", put(mixed, sdmmc), remove("B", m_custom_dir)},
        {"and a template", put(mixed, half), delete_u},
        {"vanished", drop(mixed), remove("B", m_custom_dir)},
        {"vanished with a template", drop(mixed), delete_u},
        {"twice elsewhere", put(target, document(device({.name = "B"}))),
         update("B", m_custom_dir)},
        {"a template that wasn't read", {}, add_template("W")},
        {"a template behind a bad device",
         put(m_custom_dir + "pgm_flash_template_Y.xml",
             document(device({.name = "BAD_2", .flow = bad}))),
         add_template("Y")},
        {"no directory", drop(m_custom_dir), update("X", m_custom_dir)},
        {"no directory to delete in", drop(m_custom_dir), remove("B", m_custom_dir)},
        {"another directory", move_away, update("B", elsewhere)},
        {"another directory to delete in", move_away, remove("U", elsewhere)},
        {"another directory with a template", move_away, delete_u},
    };
    fs::create_directory(elsewhere);
    const texts original[] = {files_in(m_xml_dir), files_in(m_custom_dir)};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        fs::create_directory(m_custom_dir);
        ZORVA_MGR::set_db_custom_dir(m_custom_dir);
        put_files(m_xml_dir, original[0]);
        put_files(m_custom_dir, original[1]);
        ZORVA_QSPI_MGR mgr;
        const texts known = answers(mgr);
        if (row.spoil) row.spoil();
        const texts before = files();
        forget();
        EXPECT_FALSE(row.change(mgr));
        EXPECT_EQ(posted_ids(), ids{20560});
        EXPECT_EQ(files(), before);
        EXPECT_EQ(answers(mgr), known);
    }
}

TEST_F(StoreEditTest, AShippedDeviceIsShadowedAndComesBack) {
    ZORVA_QSPI_MGR mgr;
    ZORVA_FLASH* shipped = mgr.get_flash("SHIP_A", true);
    ZORVA_FLASH* shadow = new_record(mgr, "SHIP_A");
    ASSERT_TRUE(mgr.update_db(shadow, m_custom_dir));
    EXPECT_EQ(mgr.get_flash("SHIP_A", true), shadow);
    EXPECT_EQ(shipped->get_density(), "128Mb") << "alive, if out of reach";
    ZORVA_QSPI_MGR again;
    EXPECT_EQ(again.get_flash("SHIP_A", true)->get_density(), "64Mb");
    EXPECT_TRUE(mgr.delete_db("SHIP_A", m_custom_dir));
    EXPECT_EQ(mgr.get_flash("SHIP_A", true), nullptr) << "until the next load";
    EXPECT_EQ(ZORVA_QSPI_MGR().get_flash("SHIP_A", true)->get_density(), "128Mb");
}

TEST_F(StoreEditTest, TheInstallationUnderAnotherName) {
    const std::string link = m_root + "link/";
    fs::create_directory_symlink(m_xml_dir, m_root + "link");
    ZORVA_MGR::set_db_custom_dir(link);
    const auto before = definitions();
    const std::string shipped = bytes_of(m_shipped_file);
    ZORVA_QSPI_MGR mgr;
    for (const auto& change : {update("SHIP_A", link), remove("SHIP_A", link),
                               update("db_qspi", link), update("db_sdmmc", link)})
        EXPECT_FALSE(change(mgr));
    EXPECT_EQ(definitions(), before);
    EXPECT_TRUE(update("X", link)(mgr));
    EXPECT_TRUE(update("A", link)(mgr));
    EXPECT_TRUE(remove("HIDDEN", link)(mgr));
    EXPECT_EQ(difference(before, definitions()), (names{"device A", "device HIDDEN"}));
    EXPECT_EQ(difference(definitions(), before), (names{"device A", "device X"}));
    EXPECT_EQ(bytes_of(m_shipped_file), shipped);
}

TEST_F(StoreEditTest, AFileThatIsMissingOrEmptyIsWrittenAnew) {
    ZORVA_QSPI_MGR mgr;
    fs::remove(m_custom_dir + "pgm_flash_mix.xml");
    const std::string file = write_custom("pgm_flash_B.xml", "");
    fs::permissions(file, fs::perms(0400));
    pgm_host::set_file_system(nullptr);
    const mode_t mask = ::umask(027);
    EXPECT_TRUE(update("B", m_custom_dir)(mgr));
    ::umask(mask);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0400)) << "a replaced file keeps its own";
    EXPECT_TRUE(loaded().contains("device B"));
}

// What another process, or a user, has taken out of a file leaves the maps with the next change.
TEST_F(StoreEditTest, DefinitionsTakenOutByOthersAreForgotten) {
    ZORVA_QSPI_MGR mgr;
    ZORVA_FLASH* gone = mgr.get_flash("B", true);
    write_custom("pgm_flash_mix.xml", document(device({.name = "HIDDEN"}) + device({.name = "F"})));
    EXPECT_TRUE(remove("HIDDEN", m_custom_dir)(mgr));
    EXPECT_EQ(mgr.get_flash("B", true), nullptr);
    EXPECT_EQ(gone->get_name(), "B") << "alive, if out of reach";
    EXPECT_EQ(mgr.get_user_template_list(), (names{"P", "S", "T", "TWIN"}));
    EXPECT_TRUE(loaded().contains("device F"));
    EXPECT_TRUE(mgr.delete_template("T"));
    EXPECT_FALSE(mgr.delete_template("U"));
}

// A record has one owner and one name, whatever it was called when it was stored.
TEST_F(StoreEditTest, ARecordThatIsRenamedIsStoredUnderItsNewNameOnly) {
    for (const char* new_name : {"NEW", "C"}) {
        SCOPED_TRACE(new_name);
        ZORVA_QSPI_MGR mgr;
        ZORVA_FLASH* record = new_record(mgr, "OLD");
        ASSERT_TRUE(mgr.update_db(record, m_custom_dir));
        record->set_name(new_name);
        ASSERT_TRUE(mgr.update_db(record, m_custom_dir));
        EXPECT_EQ(mgr.get_flash(new_name, true), record);
        EXPECT_EQ(mgr.get_flash("OLD", true), nullptr) << "its file comes with the next load";
        EXPECT_TRUE(loaded().contains("device OLD"));
        EXPECT_TRUE(mgr.delete_db("OLD", m_custom_dir));
        EXPECT_FALSE(loaded().contains("device OLD"));
        EXPECT_EQ(mgr.get_flash(new_name, true), record);
        EXPECT_EQ(mgr.get_flash_with_id(0x77, 0xFF), record);
        EXPECT_TRUE(mgr.delete_db(new_name, m_custom_dir));
        EXPECT_EQ(mgr.get_flash(new_name, true), nullptr);
    }
}

// However the old definition spells its name.
TEST_F(StoreEditTest, TheOldDefinitionIsFound) {
    const char* const spellings[] = {"O&#76;D", "O<!-- -->LD", "<![CDATA[O]]>LD", "OL<?pi?>D"};
    for (const char* spelling : spellings) {
        SCOPED_TRACE(spelling);
        put_files(m_custom_dir, {{"pgm_flash_1.xml",
                                  document(device({.name = spelling}) + device({.name = "Z"}))}});
        ZORVA_QSPI_MGR mgr;
        ASSERT_TRUE(mgr.get_flash("OLD", true));
        EXPECT_TRUE(update("OLD", m_custom_dir)(mgr));
        EXPECT_EQ(definitions_in(m_custom_dir).size(), 2U);
    }
}

TEST_F(StoreEditTest, ATemplateNameIsJudgedBeforeAnyCall) {
    ZORVA_QSPI_MGR mgr;
    const texts known = answers(mgr);
    forget();
    troubled_disk disk(trouble::call_fails, 1);
    pgm_host::set_file_system(&disk);
    ZORVA_FLASH* flash = new_record(mgr, "X", "0x77", "X");
    EXPECT_FALSE(mgr.update_db(flash, m_custom_dir));
    EXPECT_FALSE(mgr.update_template_db(flash, m_custom_dir));
    EXPECT_EQ(posted_ids(), (ids{20675, 20675}));
    for (const char* taken : {"S", "SHIP_A", "Micron", "a/b"}) {
        flash->set_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME, taken);
        for (const auto& call : {&ZORVA_MGR::update_db, &ZORVA_MGR::update_template_db})
            EXPECT_EQ(internal_error_of([&] { (mgr.*call)(flash, m_custom_dir); }),
                      "template_name_is_valid("
                      "flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME))");
    }
    EXPECT_FALSE(disk.was_troubled());
    EXPECT_EQ(answers(mgr), known);
}

TEST_F(StoreEditTest, CardsAreStoredToo) {
    pgm_host::set_setting("pgm_enable_custom_sdmmc", true);
    write_file(m_xml_dir + "pgm_flash_db_sdmmc.xml", R"(<SDMMC_FLASH version="1"/>)");
    ZORVA_SDMMC_MGR mgr;
    const auto store = [&](const char* name) {
        ZORVA_FLASH* flash = mgr.create_flash(name);
        flash->set_density("8GB");
        flash->set_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE, low_voltage);
        return mgr.update_db(flash, m_custom_dir);
    };
    const auto before = definitions();
    EXPECT_FALSE(store("mix")) << "a QSPI file";
    EXPECT_TRUE(store("CARD"));
    EXPECT_TRUE(store("CARD"));
    EXPECT_EQ(difference(definitions(), before), names{"device CARD"});
    EXPECT_EQ(device_names(*std::make_unique<ZORVA_SDMMC_MGR>()), names{"CARD"});
    EXPECT_TRUE(mgr.delete_db("CARD", m_custom_dir));
    EXPECT_EQ(definitions(), before);
}

}  // namespace
