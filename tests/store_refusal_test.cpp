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
    }

    job put(const std::string& file, const std::string& bytes) const {
        return [=] { write_file(file, bytes); };
    }
    job link(const std::string& to, const std::string& file) const {
        return [=] { fs::create_symlink(to, file); };
    }
    change stores(const std::string& name, const std::string& directory = {}) {
        return [=, this](ZORVA_MGR& mgr) {
            return mgr.update_db(new_record(mgr, name),
                                 directory.empty() ? m_custom_dir : directory);
        };
    }
    change removes(const std::string& name, const std::string& directory = {}) {
        return [=, this](ZORVA_MGR& mgr) {
            return mgr.delete_db(name, directory.empty() ? m_custom_dir : directory);
        };
    }
    // Stores a record with a fault.
    change spoiled(const std::function<void(ZORVA_MGR&, ZORVA_FLASH&)>& spoil) {
        return [=, this](ZORVA_MGR& mgr) {
            ZORVA_FLASH* flash = new_record(mgr, "X");
            spoil(mgr, *flash);
            return mgr.update_db(flash, m_custom_dir);
        };
    }
    change adds_template(const std::string& name) {
        return [=, this](ZORVA_MGR& mgr) {
            return mgr.update_template_db(new_record(mgr, "", "0x77", name), m_custom_dir);
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
    const std::string m_target = own_file("X");
    const std::string m_mixed = own_file("mix");
    const std::string m_elsewhere = m_root + "elsewhere/";
    faulty_disk m_faulty_disk;
};

TEST_F(StoreRefusalTest, NothingHappensAndTheReasonIsTold) {
    using enum ZORVA_CHANGE_STATE;
    const std::string sdmmc = R"(<SDMMC_FLASH version="1"></SDMMC_FLASH>)";
    const std::string half = document(devices("B")).substr(0, 300);
    const std::string bad_device = device({.name = "BAD_2", .density = "5Mb"});
    const std::string no_file_of_ours = " isn't a file of the database: ";
    const auto drop = [](const std::string& file) { return [=] { fs::remove_all(file); }; };
    const auto make_directory = [&](const std::string& path) {
        return [=] { fs::create_directory(path); };
    };
    const auto faulty = [&](std::string faulty_disk::*fault, const std::string& where) {
        return [=, this] {
            m_faulty_disk = {};
            m_faulty_disk.*fault = where;
            pgm_host::set_file_system(&m_faulty_disk);
        };
    };
    const auto move_away = [&] { ZORVA_MGR::set_db_custom_dir(m_elsewhere); };
    const auto deletes_u = [](ZORVA_MGR& mgr) { return mgr.delete_template("U"); };
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
    const row posting[] = {
        // What stands at the place of the file to write.
        {"another interface's", put(m_target, sdmmc), stores("X"), FILE_FAILED,
         m_target + no_file_of_ours},
        {"not well formed", put(m_target, half), stores("X"), FILE_FAILED,
         m_target + no_file_of_ours + "line "},
        {"no such document", put(m_target, document("<SPARE/>")), stores("X"), FILE_FAILED,
         m_target + no_file_of_ours + "line 2: "},
        {"a directory", make_directory(m_target), stores("X"), FILE_FAILED,
         m_target + no_file_of_ours + "Is a directory."},
        {"a link to the shipped file", link(m_shipped_file, m_target), stores("X"), PROTECTED,
         m_target + " is a shipped file."},
        {"a link to nowhere", link(m_root + "nowhere.xml", m_target), stores("X"), FILE_FAILED,
         m_target + " is a link that leads nowhere."},
        // What is shipped.
        {"its file", {}, stores("db_qspi", m_xml_dir), PROTECTED, m_shipped_file + " is a shipped"},
        {"the other file", {}, stores("db_sdmmc", m_xml_dir), PROTECTED, "is a shipped file."},
        {"a device", {}, stores("SHIP_A", m_xml_dir), PROTECTED, "'SHIP_A' is a shipped device"},
        {"a device to delete",
         {},
         removes("SHIP_A", m_xml_dir),
         PROTECTED,
         m_shipped_file + " is a shipped file."},
        // What has become of the file that was loaded.
        {"half of it left", put(m_mixed, half), stores("B"), FILE_FAILED,
         m_mixed + no_file_of_ours},
        {"another file, delete", put(m_mixed, sdmmc), removes("B"), FILE_FAILED,
         m_mixed + no_file_of_ours},
        {"half, delete template", put(m_mixed, half), deletes_u, FILE_FAILED,
         m_mixed + no_file_of_ours},
        {"gone", drop(m_mixed), removes("B"), FILE_FAILED, m_mixed + " isn't there any more."},
        {"gone with a template", drop(m_mixed), deletes_u, FILE_FAILED, m_mixed + " isn't there"},
        // What stands in other files.
        {"twice elsewhere", put(m_target, document(devices("B"))), stores("B"), REFUSED,
         "'B' is defined in " + m_target + " and in " + m_mixed + "; it has to be taken out"},
        {"an unread template", {}, adds_template("W"), NAME_TAKEN, "'W'"},
        {"behind a bad device", put(own_file("template_Y"), document(bad_device)),
         adds_template("Y"), REFUSED, "'Y' wouldn't come into force."},
        // What has become of the directory.
        {"gone", drop(m_custom_dir), stores("X"), FILE_FAILED,
         m_custom_dir + " can't be locked: No such file or directory."},
        {"gone, delete", drop(m_custom_dir), removes("B"), FILE_FAILED, " can't be locked: No "},
        {"another", move_away, stores("B", m_elsewhere), REFUSED,
         "'B' was loaded from " + m_mixed + ", which lies in no directory of the database"},
        {"another, delete", move_away, removes("U", m_elsewhere), REFUSED,
         m_mixed + " lies in no directory of the database any more."},
        {"unlisted", faulty(&faulty_disk::unlisted, m_custom_dir), stores("X"), FILE_FAILED,
         m_custom_dir + " can't be listed: Permission denied."},
        {"read-only", faulty(&faulty_disk::not_writable, m_custom_dir), stores("X"), FILE_FAILED,
         m_custom_dir + " can't be written: Permission denied."},
        {"another's file", faulty(&faulty_disk::not_ours, m_mixed), stores("B"), FILE_FAILED,
         m_mixed + " can't be changed: Operation not permitted."},
        // What no file can hold.
        {"no name", {}, stores(""), REFUSED, "''"},
        {"a separator", {}, stores("a/b"), REFUSED, "'a/b' can't be part of a file name."},
        {"a backslash", {}, stores("a\\b"), REFUSED, "'a\\b' can't be part of a file name."},
        {"a way out", {}, stores("../../X"), REFUSED, "can't be part of a file name."},
        {"a zero byte", {}, stores(std::string("a\0b", 3)), REFUSED, "can't be part of"},
        {"a long name", {}, stores(std::string(250, 'x')), FILE_FAILED, "File name too long."},
        {"no UTF-8", {}, stores("\xFF"), REFUSED, "holds a text or a number that no file"},
        {"no XML in a name", {}, stores("a\x01"), REFUSED, "holds a text or a number that"},
        {"no XML in a value", {}, spoiled(no_xml), REFUSED, "'X' holds a text or a number that"},
        {"an operation twice", {}, spoiled(erase_twice), REFUSED, "'X' hold an operation twice"},
    };
    const row silent[] = {
        {"taken", put(m_target, document(devices("M"))), put_definition("M", is_new), NAME_TAKEN,
         "'M' is invalid as it already exist"},
        {"taken, tried", {}, put_definition("B", is_new, true), NAME_TAKEN, "'B' is invalid as"},
        {"changed meanwhile", put(own_file("A"), document(device({.name = "A", .id = "0x02"}))),
         put_definition("A", as_loaded), CHANGED_SINCE, "'A' has been changed meanwhile, in "},
        {"gone meanwhile", drop(own_file("A")), put_definition("A", as_loaded), CHANGED_SINCE,
         "'A' has been changed meanwhile"},
        {"in no directory",
         {},
         [&](auto& mgr) {
             return mgr.remove_definition({DEVICE, "X"}, m_root + "a.xml");
         },
         REFUSED,
         "a.xml lies in no directory"},
        {"several, a directory", make_directory(m_target), puts_several(), FILE_FAILED,
         m_target + no_file_of_ours},
        {"several, one in another's file", put(m_target, document(devices("D"))), puts_several(),
         REFUSED, m_target + " is a link or holds another definition"},
        {"several, a link",
         [&] {
             put(m_root + "empty", "")();
             link(m_root + "empty", m_target)();
         },
         puts_several(), REFUSED, m_target + " is a link or holds another definition"},
        {"several, no document", put(m_target, "<junk"), puts_several(), FILE_FAILED,
         m_target + no_file_of_ours},
        {"several, a taken name", put(own_file("Z"), document(devices("X"))), puts_several(),
         NAME_TAKEN, "'X' is invalid as it already exist"},
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
        EXPECT_NE(outcome.sentence.find(row.told), std::string::npos) << outcome.sentence;
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
                deletes ? mgr.remove_definition({DEVICE, "A"}, own_file("A")) : stores("A")(mgr),
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
    EXPECT_EQ(internal_error_of([&] { stores("X", m_root)(mgr); }),
              "db_is_kestrin_dir || db_is_custom_dir");
    EXPECT_EQ(files(), before);
}

}  // namespace
