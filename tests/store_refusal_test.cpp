// Changes that are refused: false, the reason told, and nothing has happened.
#include "pgm/zorva/zorva_change.h"
#include "tests/store_support.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace {

using STATE = ZORVA_CHANGE_STATE;
using enum ZORVA_DEFINITION_KIND;
using job = std::function<void()>;
using change = std::function<bool(ZORVA_MGR&)>;

// A disk that has one fault.
struct faulty_disk : hasty_disk {
    std::string unlisted, not_writable, not_ours;

    bool refuse(std::errc why) {
        error = std::make_error_code(why);
        return false;
    }
    std::vector<std::string> list(const std::string& directory) override {
        if (directory != unlisted) return hasty_disk::list(directory);
        refuse(std::errc::permission_denied);
        return {};
    }
    bool may_change(const std::string& directory) override {
        return directory == not_writable ? refuse(std::errc::permission_denied)
                                         : hasty_disk::may_change(directory);
    }
    bool chmod(const std::string& path, int mode) override {
        return path == not_ours ? refuse(std::errc::operation_not_permitted)
                                : hasty_disk::chmod(path, mode);
    }
};

class StoreRefusalTest : public StoreTest {
  protected:
    StoreRefusalTest() {
        const std::string bad = flows(replaced(action(ZORVA_ACT_TYPE_CUSTOM), "start", "begin"));
        write_installed("pgm_flash_1.xml", document(devices("HIDDEN") + user_template("T")));
        write_custom("pgm_flash_A.xml", document(devices("A")));
        write_custom("pgm_flash_bad.xml",
                     document(devices("C") + device({.name = "BAD", .flow = bad}) +
                              devices("behind BAD") + user_template("W")));
        write_custom("pgm_flash_mix.xml", document(user_template("U") + devices("B|HIDDEN")));
        write_custom("pgm_flash_empty.xml", "");
    }

    // Writes, links and drops files of the custom directory.
    job put(const std::string& name, const std::string& bytes) const {
        return [=, this] { write_file(own_file(name), bytes); };
    }
    job link(const std::string& to, const std::string& name) const {
        return [=, this] { fs::create_symlink(to, own_file(name)); };
    }
    job drop(const std::string& name) const {
        return [=, this] { fs::remove_all(name.empty() ? m_custom_dir : own_file(name)); };
    }
    job make_directory(const std::string& name) const {
        return [=, this] { fs::create_directory(own_file(name)); };
    }
    change does(const std::string& text) const {
        return [=, this](ZORVA_MGR& mgr) { return run(mgr, text); };
    }
    // Stores a record with a fault.
    change spoiled(const std::function<void(ZORVA_MGR&, ZORVA_FLASH&)>& spoil) {
        return [=, this](ZORVA_MGR& mgr) {
            ZORVA_FLASH* flash = new_record(mgr, "X");
            spoil(mgr, *flash);
            return mgr.update_db(flash, m_custom_dir);
        };
    }
    change put_definition(const std::string& name, ZORVA_BASIS basis, bool is_trial = false) {
        return [=, this](ZORVA_MGR& mgr) {
            const std::vector<ZORVA_NEW_DEFINITION> all{{DEVICE, new_record(mgr, name), basis}};
            return is_trial ? mgr.try_definitions(all, m_custom_dir)
                            : mgr.store_definitions(all, m_custom_dir);
        };
    }
    change puts_several() {
        return [this](ZORVA_MGR& mgr) {
            constexpr auto is_new = ZORVA_BASIS::NEW;
            return mgr.store_definitions({{DEVICE, new_record(mgr, "M"), is_new},
                                          {TEMPLATE, new_record(mgr, "", "0x77", "N"), is_new},
                                          {DEVICE, new_record(mgr, "X"), is_new}},
                                         m_custom_dir);
        };
    }
    // All that can be seen of the files from outside.
    texts files() const {
        texts all;
        for (const auto& entry : fs::recursive_directory_iterator(m_root)) {
            const auto permissions = static_cast<int>(entry.status().permissions());
            all[entry.path()] = std::to_string(permissions);
            if (entry.is_regular_file()) all[entry.path()] += bytes_of(entry.path());
        }
        return all;
    }
    std::string m_elsewhere = m_root + "elsewhere/";
    faulty_disk m_faulty_disk;
};

TEST_F(StoreRefusalTest, NothingHappensAndTheReasonIsTold) {
    using enum ZORVA_CHANGE_STATE;
    const std::string sdmmc = R"(<SDMMC_FLASH version="1"></SDMMC_FLASH>)";
    const std::string half = document(devices("B")).substr(0, 300);
    const std::string spare = document("<SPARE/>");
    const std::string bad_device = device({.name = "BAD_2", .density = "5Mb"});
    const auto faulty = [&](std::string faulty_disk::*fault, const std::string& where) {
        return [=, this] {
            m_faulty_disk = {};
            m_faulty_disk.*fault = where;
            pgm_host::set_file_system(&m_faulty_disk);
        };
    };
    const auto move_away = [&] { ZORVA_MGR::set_db_custom_dir(m_elsewhere); };
    const auto elsewhere = [&](const change& tried) {
        return [=, this](ZORVA_MGR& mgr) {
            m_custom_dir.swap(m_elsewhere);
            const bool done = tried(mgr);
            m_custom_dir.swap(m_elsewhere);
            return done;
        };
    };
    const auto no_xml = [](ZORVA_MGR&, ZORVA_FLASH& flash) {
        flash.set_parameter_value(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, "\xED\xA0\x80");
    };
    const auto erase_twice = [](ZORVA_MGR& mgr, ZORVA_FLASH& flash) {
        flash.add_operation_into_list(mgr.create_operation(ZORVA_OP_TYPE_ERASE),
                                      ZORVA_PROG_FLOW_TYPE_SDM);
    };
    constexpr auto as_loaded = ZORVA_BASIS::AS_LOADED;
    constexpr auto is_new = ZORVA_BASIS::NEW;
    struct row {
        const char* what;
        job spoil;  // behind the load
        change tried;
        STATE state;
        std::string told;
    };
    const std::string no_ours = " isn't a file of the database: ";
    const std::string x_no_ours = "custom/pgm_flash_X.xml" + no_ours;
    const std::string mix_no_ours = "custom/pgm_flash_mix.xml" + no_ours;
    const row posting[] = {
        // What stands at the place of the file to write.
        {"another interface's", put("X", sdmmc), does("store X"), FILE_FAILED, x_no_ours},
        {"half", put("X", half), does("store X"), FILE_FAILED, x_no_ours + "line "},
        {"no such tag", put("X", spare), does("store X"), FILE_FAILED, x_no_ours + "line 2: "},
        {"a directory", make_directory("X"), does("store X"), FILE_FAILED,
         x_no_ours + "Is a directory."},
        {"a link to the shipped file", link(m_shipped_file, "X"), does("store X"), PROTECTED,
         "custom/pgm_flash_X.xml is a shipped file."},
        {"a link to nowhere", link(m_root + "nowhere.xml", "X"), does("store X"), FILE_FAILED,
         "custom/pgm_flash_X.xml is a link that leads nowhere."},
        // What is shipped.
        {"its file", {}, does("store db_qspi in installation"), PROTECTED, "qspi.xml is a shipped"},
        {"cards", {}, does("store db_sdmmc in installation"), PROTECTED, "sdmmc.xml is a shipped"},
        {"a device",
         {},
         does("store SHIP_A in installation"),
         PROTECTED,
         "'SHIP_A' is a shipped device, beside which xml/ can hold no other."},
        {"to delete", {}, does("delete SHIP_A in installation"), PROTECTED, "is a shipped file."},
        // What has become of the file that was loaded.
        {"half of it left", put("mix", half), does("store B"), FILE_FAILED, mix_no_ours},
        {"half of it left", put("mix", half), does("drop U"), FILE_FAILED, mix_no_ours},
        {"another", put("mix", sdmmc), does("delete B"), FILE_FAILED, mix_no_ours},
        {"gone", drop("mix"), does("delete B"), FILE_FAILED, "mix.xml isn't there any more."},
        {"gone", drop("mix"), does("drop U"), FILE_FAILED, "mix.xml isn't there any more."},
        // What stands in other files.
        {"twice elsewhere", put("X", document(devices("B"))), does("store B"), REFUSED,
         "'B' is defined in custom/pgm_flash_X.xml and in custom/pgm_flash_mix.xml; it has to be"},
        {"an unread template", {}, does("add W"), NAME_TAKEN, "'W'"},
        {"behind a bad device", put("template_Y", document(bad_device)), does("add Y"), REFUSED,
         "'Y' wouldn't come into force."},
        // What has become of the directory.
        {"gone", drop(""), does("store X"), FILE_FAILED,
         "custom/ can't be locked: No such file or directory."},
        {"gone", drop(""), does("delete B"), FILE_FAILED, "custom/ can't be locked: No such"},
        {"another", move_away, elsewhere(does("store B")), REFUSED,
         "'B' was loaded from custom/pgm_flash_mix.xml, which lies in no directory of the"},
        {"another", move_away, elsewhere(does("delete U")), REFUSED,
         "mix.xml lies in no directory"},
        {"unlisted", faulty(&faulty_disk::unlisted, m_custom_dir), does("store X"), FILE_FAILED,
         "custom/ can't be listed: Permission denied."},
        {"read-only", faulty(&faulty_disk::not_writable, m_custom_dir), does("store X"),
         FILE_FAILED, "custom/ can't be written: Permission denied."},
        {"another's file", faulty(&faulty_disk::not_ours, own_file("mix")), does("store B"),
         FILE_FAILED, "pgm_flash_mix.xml can't be changed: Operation not permitted."},
        // What no file can hold.
        {"no name", {}, does("store "), REFUSED, "''"},
        {"a separator", {}, does("store a/b"), REFUSED, "'a/b' can't be part of a file name."},
        {"a backslash", {}, does("store a\\b"), REFUSED, "'a\\b' can't be part of a file name."},
        {"a way out", {}, does("store ../../X"), REFUSED, "can't be part of a file name."},
        {"a zero byte", {}, does(std::string("store a\0b", 9)), REFUSED, "can't be part of"},
        {"a long name", {}, does("store " + std::string(250, 'x')), FILE_FAILED, " too long."},
        {"no UTF-8", {}, does("store \xFF"), REFUSED, "holds a text or a number that no file"},
        {"no XML in a name", {}, does("store a\x01"), REFUSED, "holds a text or a number that"},
        {"no XML in a value", {}, spoiled(no_xml), REFUSED, "'X' holds a text or a number that"},
        {"an operation twice", {}, spoiled(erase_twice), REFUSED, "'X' hold an operation twice"},
    };
    const row silent[] = {
        {"taken", put("X", document(devices("M"))), put_definition("M", is_new), NAME_TAKEN,
         "'M' is invalid as it already exist"},
        {"taken, tried", {}, put_definition("B", is_new, true), NAME_TAKEN, "'B' is invalid as"},
        {"changed meanwhile", put("A", document(device({.name = "A", .id = "0x02"}))),
         put_definition("A", as_loaded), CHANGED_SINCE, "'A' has been changed meanwhile, in "},
        {"gone", drop("A"), put_definition("A", as_loaded), CHANGED_SINCE, "'A' has been changed"},
        {"in no directory",
         {},
         [&](auto& mgr) {
             return mgr.remove_definition({DEVICE, "X"}, m_root + "a.xml");
         },
         REFUSED,
         "a.xml lies in no directory"},
        {"several, a directory", make_directory("X"), puts_several(), FILE_FAILED, x_no_ours},
        {"several, in another's file", put("X", document(devices("D"))), puts_several(), REFUSED,
         "custom/pgm_flash_X.xml is a link or holds another definition"},
        {"several, a link", link(own_file("empty"), "X"), puts_several(), REFUSED,
         "custom/pgm_flash_X.xml is a link or holds another definition"},
        {"several, no document", put("X", "<junk"), puts_several(), FILE_FAILED, x_no_ours},
        {"several, a taken name", put("Z", document(devices("X"))), puts_several(), NAME_TAKEN,
         "'X' is invalid as it already exist"},
    };
    fs::create_directory(m_elsewhere);
    const texts original = files_in(m_custom_dir);
    const auto expect_refusal = [&](const row& row, const ids& posted) {
        SCOPED_TRACE(row.what + (": " + row.told));
        fs::create_directory(m_custom_dir);
        ZORVA_MGR::set_db_custom_dir(m_custom_dir);
        put_files(m_custom_dir, original);
        ZORVA_QSPI_MGR mgr;
        const texts known = answers(mgr);
        if (row.spoil) row.spoil();
        const texts before = files();
        forget();
        EXPECT_FALSE(row.tried(mgr));
        const ZORVA_CHANGE_OUTCOME outcome = mgr.get_change_outcome();
        EXPECT_EQ(outcome.state, row.state);
        EXPECT_NE(without_root(outcome.sentence).find(row.told), std::string::npos)
            << outcome.sentence;
        EXPECT_EQ(outcome.message_id != 0, row.state == NAME_TAKEN);
        EXPECT_EQ(posted_ids(), posted);
        EXPECT_EQ(files(), before);
        EXPECT_EQ(answers(mgr), known);
        pgm_host::set_file_system(&m_disk);
    };
    for (const row& row : posting) expect_refusal(row, {20560});
    for (const row& row : silent) expect_refusal(row, {});
}

// What would come into force out of the changed file counts as much as what goes.
TEST_F(StoreRefusalTest, NothingOfAnotherFileGoesOutOfForce) {
    const auto dev = [](const char* name, const char* density = "128Mb") {
        return device({.name = name, .density = density});
    };
    const std::string bad = dev("A", "5Mb");
    const struct {
        const char* what;
        std::string own, behind;
        bool is_possible;
    } rows[] = {
        {"a repeated name", dev("A") + dev("A") + dev("B", "512Mb"), dev("B", "64Mb") + dev("C"),
         false},
        {"a bad device", bad + dev("B"), dev("B") + dev("C"), false},
        {"a bad device ahead of a template", bad + user_template("T1"),
         user_template("T1") + user_template("T2"), false},
        {"a template behind a bad one", bad + user_template("T1"),
         user_template("T0", flows(replaced(action(ZORVA_ACT_TYPE_CUSTOM), "start", "begin"))) +
             user_template("T1") + user_template("T2"),
         false},
        {"nobody else's name", bad + dev("B"), dev("C") + user_template("T1"), true},
        {"a name that is refused there", dev("A") + dev("A") + dev("B"),
         dev("C") + dev("C") + dev("B"), true},
    };
    for (const auto& row : rows)
        for (const bool deletes : {false, true}) {
            SCOPED_TRACE(std::string(row.what) + (deletes ? ", deleted" : ", replaced"));
            put_files(m_custom_dir, {{"pgm_flash_A.xml", document(row.own)},
                                     {"pgm_flash_zz.xml", document(row.behind)}});
            texts before = loaded();
            const texts files = files_in(m_custom_dir);
            ZORVA_QSPI_MGR mgr;
            EXPECT_EQ(
                deletes ? mgr.remove_definition({DEVICE, "A"}, own_file("A")) : run(mgr, "store A"),
                row.is_possible)
                << mgr.get_change_outcome().sentence;
            EXPECT_EQ(files_in(m_custom_dir) == files, !row.is_possible);
            const bool is_told = mgr.get_change_outcome().sentence.ends_with(" out of force.");
            EXPECT_EQ(is_told, !row.is_possible);
            before.erase("device A");
            const texts now = loaded();
            for (const auto& [key, text] : before) EXPECT_EQ(now.at(key), text) << key;
        }
}

// The values of a record are the caller's to check.
TEST_F(StoreRefusalTest, ABadValueIsACallersFault) {
    const struct {
        std::function<void(ZORVA_FLASH&)> spoil;
        const char* fault;
    } rows[] = {
        {[](auto& flash) { flash.set_parameter_value(ZORVA_FLASH_PARAM_ID, "x"); },
         "device_id_is_valid(flash->get_parameter_value(ZORVA_FLASH_PARAM_ID), &err_msg)"},
        {[](auto& flash) { flash.set_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE, "5V"); },
         "device_io_voltage_is_valid(flash->get_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE), "
         "&err_msg)"},
        {[](auto& flash) { flash.set_density("5Mb"); },
         "device_density_is_valid(flash->get_density(), &err_msg)"},
        {[](auto& flash) { flash.set_parameter_value(ZORVA_FLASH_PARAM_TOTAL_DIE, 0u); },
         "total_device_die_is_valid(flash->get_parameter_value_in_dword("
         "ZORVA_FLASH_PARAM_TOTAL_DIE, nullptr), &err_msg)"},
        {[](auto& flash) { flash.set_parameter_value(ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, 16u); },
         "dummy_clock_cycle_is_valid(flash->get_parameter_value_in_dword("
         "ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, nullptr), &err_msg)"},
        {[](auto& flash) { flash.set_parameter_value(ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, 16u); },
         "dummy_clock_cycle_is_valid(flash->get_parameter_value_in_dword("
         "ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, nullptr), &err_msg)"},
    };
    ZORVA_QSPI_MGR mgr;
    const texts before = files();
    for (const auto& row : rows) {
        const auto store = spoiled([&](ZORVA_MGR&, ZORVA_FLASH& flash) { row.spoil(flash); });
        EXPECT_EQ(internal_error_of([&] { store(mgr); }), row.fault);
    }
    const auto spoil_name = [](ZORVA_MGR&, ZORVA_FLASH& flash) {
        flash.set_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME, "X");
    };
    forget();
    EXPECT_FALSE(spoiled(spoil_name)(mgr)) << "the device's own name for its template";
    EXPECT_EQ(posted_ids(), ids{20675});
    for (const char* taken : {"T", "SHIP_A", "Micron", "a/b"}) {
        ZORVA_FLASH* flash = new_record(mgr, "X", "0x77", taken);
        for (const auto& call : {&ZORVA_MGR::update_db, &ZORVA_MGR::update_template_db})
            EXPECT_EQ(internal_error_of([&] { (mgr.*call)(flash, m_custom_dir); }),
                      "template_name_is_valid("
                      "flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME))")
                << taken;
    }
    EXPECT_EQ(internal_error_of([&] { mgr.update_db(new_record(mgr, "X"), m_root); }),
              "db_is_kestrin_dir || db_is_custom_dir");
    EXPECT_EQ(files(), before);
}

}  // namespace
