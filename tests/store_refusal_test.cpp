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
    job fault(std::string faulty_disk::*what, const std::string& where) {
        return [=, this] {
            m_faulty_disk = {};
            m_faulty_disk.*what = where;
            pgm_host::set_file_system(&m_faulty_disk);
        };
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
    change stores(const std::string& name, ZORVA_BASIS basis) {
        return [=, this](ZORVA_MGR& mgr) {
            return mgr.store_definitions({{DEVICE, new_record(mgr, name), basis}}, m_custom_dir);
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
    using enum ZORVA_BASIS;
    const std::string sdmmc = R"(<SDMMC_FLASH version="1"></SDMMC_FLASH>)";
    const std::string half = document(devices("B")).substr(0, 300);
    const std::string bad_device = device({.name = "BAD_2", .density = "5Mb"});
    const std::string long_name(250, 'x');
    const auto elsewhere = [&](const char* text) {
        return [=, this](ZORVA_MGR& mgr) {
            ZORVA_MGR::set_db_custom_dir(m_elsewhere);
            m_custom_dir.swap(m_elsewhere);
            const bool done = run(mgr, text);
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
    const change tries_b = [&](ZORVA_MGR& mgr) {
        return mgr.try_definitions({{DEVICE, new_record(mgr, "B"), NEW}}, m_custom_dir);
    };
    const change removes_x = [&](ZORVA_MGR& mgr) {
        return mgr.remove_definition({DEVICE, "X"}, m_root + "a.xml");
    };
    const change several = [&](ZORVA_MGR& mgr) {
        return mgr.store_definitions({{DEVICE, new_record(mgr, "M"), NEW},
                                      {TEMPLATE, new_record(mgr, "", "0x77", "N"), NEW},
                                      {DEVICE, new_record(mgr, "X"), NEW}},
                                     m_custom_dir);
    };
    struct row {
        job spoil;  // behind the load
        change tried;
        STATE state;
        std::string told;
    };
    const std::string no_ours = " isn't a file of the database: ";
    const std::string x = "custom/pgm_flash_X.xml";
    const std::string mix = "custom/pgm_flash_mix.xml";
    const std::string x_is_others = x + " is a link or holds another definition";
    const std::string no_part = "can't be part of a file name.";
    const std::string no_text = "holds a text or a number that no file";
    const row posting[] = {
        // What stands at the place of the file to write.
        {put("X", sdmmc), does("store X"), FILE_FAILED, x + no_ours},
        {put("X", half), does("store X"), FILE_FAILED, x + no_ours + "line "},
        {put("X", document("<SPARE/>")), does("store X"), FILE_FAILED, x + no_ours + "line 2: "},
        {make_directory("X"), does("store X"), FILE_FAILED, x + no_ours + "Is a directory."},
        {link(m_shipped_file, "X"), does("store X"), PROTECTED, x + " is a shipped file."},
        {link("nowhere", "X"), does("store X"), FILE_FAILED, x + " is a link that leads nowhere."},
        // What is shipped.
        {{}, does("store db_qspi in installation"), PROTECTED, "qspi.xml is a shipped"},
        {{}, does("store db_sdmmc in installation"), PROTECTED, "sdmmc.xml is a shipped"},
        {{},
         does("store SHIP_A in installation"),
         PROTECTED,
         "'SHIP_A' is a shipped device, beside which xml/ can hold no other."},
        {{}, does("delete SHIP_A in installation"), PROTECTED, "is a shipped file."},
        // What has become of the file that was loaded.
        {put("mix", half), does("store B"), FILE_FAILED, mix + no_ours},
        {put("mix", half), does("drop U"), FILE_FAILED, mix + no_ours},
        {put("mix", sdmmc), does("delete B"), FILE_FAILED, mix + no_ours},
        {drop("mix"), does("delete B"), FILE_FAILED, "mix.xml isn't there any more."},
        {drop("mix"), does("drop U"), FILE_FAILED, "mix.xml isn't there any more."},
        // What stands in other files.
        {put("X", document(devices("B"))), does("store B"), REFUSED,
         "'B' is defined in " + x + " and in " + mix + "; it has to be"},
        {{}, does("add W"), NAME_TAKEN, "'W'"},  // which isn't read
        {put("template_Y", document(bad_device)), does("add Y"), REFUSED,
         "'Y' wouldn't come into force."},
        // What has become of the directory.
        {drop(""), does("store X"), FILE_FAILED,
         "custom/ can't be locked: No such file or directory."},
        {drop(""), does("delete B"), FILE_FAILED, "custom/ can't be locked: No such"},
        {{},
         elsewhere("store B"),
         REFUSED,
         "'B' was loaded from " + mix + ", which lies in no directory of the"},
        {{}, elsewhere("delete U"), REFUSED, "mix.xml lies in no directory"},
        {fault(&faulty_disk::unlisted, m_custom_dir), does("store X"), FILE_FAILED,
         "custom/ can't be listed: Permission denied."},
        {fault(&faulty_disk::not_writable, m_custom_dir), does("store X"), FILE_FAILED,
         "custom/ can't be written: Permission denied."},
        {fault(&faulty_disk::not_ours, own_file("mix")), does("store B"), FILE_FAILED,
         "pgm_flash_mix.xml can't be changed: Operation not permitted."},
        // What no file can hold.
        {{}, does("store "), REFUSED, "''"},
        {{}, does("store a/b"), REFUSED, "'a/b' " + no_part},
        {{}, does("store a\\b"), REFUSED, "'a\\b' " + no_part},
        {{}, does(std::string("store a\0b", 9)), REFUSED, no_part},
        {{}, does("store " + long_name), FILE_FAILED, " too long."},
        {{}, does("store \xFF"), REFUSED, no_text},
        {{}, does("store a\x01"), REFUSED, no_text},
        {{}, spoiled(no_xml), REFUSED, "'X' " + no_text},
        {{}, spoiled(erase_twice), REFUSED, "'X' hold an operation twice"},
    };
    const row silent[] = {
        {put("X", document(devices("M"))), stores("M", NEW), NAME_TAKEN,
         "'M' is invalid as it already exist"},
        {{}, tries_b, NAME_TAKEN, "'B' is invalid as"},
        {put("A", document(device({.name = "A", .id = "0x02"}))), stores("A", AS_LOADED),
         CHANGED_SINCE, "'A' has been changed meanwhile, in "},
        {drop("A"), stores("A", AS_LOADED), CHANGED_SINCE, "'A' has been changed"},
        {{}, removes_x, REFUSED, "a.xml lies in no directory"},
        {make_directory("X"), several, FILE_FAILED, x + no_ours},
        {put("X", document(devices("D"))), several, REFUSED, x_is_others},
        {link(own_file("empty"), "X"), several, REFUSED, x_is_others},
        {put("X", "<junk"), several, FILE_FAILED, x + no_ours},
        {put("Z", document(devices("X"))), several, NAME_TAKEN,
         "'X' is invalid as it already exist"},
    };
    fs::create_directory(m_elsewhere);
    const texts original = files_in(m_custom_dir);
    const auto expect_refusal = [&](const row& row, const ids& posted) {
        SCOPED_TRACE(row.told);
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
    const std::string bad_flow = flows(replaced(action(ZORVA_ACT_TYPE_CUSTOM), "start", "begin"));
    const std::string t1 = user_template("T1");
    const std::string t1_t2 = t1 + user_template("T2");
    const struct {
        std::string own, behind;
        bool is_possible;
    } rows[] = {
        {devices("A|A") + dev("B", "512Mb"), dev("B", "64Mb") + dev("C"), false},
        {bad + dev("B"), devices("B|C"), false},
        {bad + t1, t1_t2, false},
        {bad + t1, user_template("T0", bad_flow) + t1_t2, false},
        {bad + dev("B"), dev("C") + t1, true},       // nobody else's name
        {devices("A|A|B"), devices("C|C|B"), true},  // B is refused there
    };
    for (const auto& row : rows)
        for (const bool deletes : {false, true}) {
            SCOPED_TRACE(row.own + (deletes ? ", deleted" : ", replaced"));
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
    const auto set = [](ZORVA_FLASH_PARAM param, auto value) {
        return [=](ZORVA_MGR&, ZORVA_FLASH& flash) { flash.set_parameter_value(param, value); };
    };
    const auto set_density = [](ZORVA_MGR&, ZORVA_FLASH& flash) { flash.set_density("5Mb"); };
    const std::string text = "_is_valid(flash->get_parameter_value(ZORVA_FLASH_PARAM_";
    const std::string dword = "_is_valid(flash->get_parameter_value_in_dword(ZORVA_FLASH_PARAM_";
    const std::string dword_end = ", nullptr), &err_msg)";
    const struct {
        change store;
        std::string fault;
    } rows[] = {
        {spoiled(set(ZORVA_FLASH_PARAM_ID, "x")), "device_id" + text + "ID), &err_msg)"},
        {spoiled(set(ZORVA_FLASH_PARAM_IO_VOLTAGE, "5V")),
         "device_io_voltage" + text + "IO_VOLTAGE), &err_msg)"},
        {spoiled(set_density), "device_density_is_valid(flash->get_density(), &err_msg)"},
        {spoiled(set(ZORVA_FLASH_PARAM_TOTAL_DIE, 0u)),
         "total_device_die" + dword + "TOTAL_DIE" + dword_end},
        {spoiled(set(ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, 16u)),
         "dummy_clock_cycle" + dword + "DUMMY_CLK_CYCLE" + dword_end},
        {spoiled(set(ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, 16u)),
         "dummy_clock_cycle" + dword + "DUMMY_CLK_CYCLE_X4" + dword_end},
    };
    ZORVA_QSPI_MGR mgr;
    const texts before = files();
    for (const auto& row : rows) EXPECT_EQ(internal_error_of([&] { row.store(mgr); }), row.fault);
    forget();
    EXPECT_FALSE(spoiled(set(ZORVA_FLASH_PARAM_TEMPLATE_NAME, "X"))(mgr))
        << "the device's own name for its template";
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
