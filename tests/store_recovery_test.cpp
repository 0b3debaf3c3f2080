// What a process that ended half-way has left.
#include "services/file.h"
#include "tests/store_support.h"

#include <algorithm>
#include <optional>

namespace {

class StoreRecoveryTest : public StoreTest {
  protected:
    // Runs a change of change_cases() up to its n-th call of that kind, at which the process ends.
    void leave_half_way(const std::string& change, const std::string& call, int nth);
    // Moves device X out of a file that it shares, but for the last step.
    void leave_half_moved() { leave_half_way("replace beside a twin", "rename to", 2); }
    names files() {
        names all;
        for (const auto& [name, bytes] : files_in(m_custom_dir)) all.push_back(name);
        return all;
    }
    // What differs from what stood there before the change.
    names changed_now() { return changed(m_before, loaded()); }

    texts m_before;
    const std::string m_own = "pgm_flash_X.xml";
    const std::string m_note = ".zorva_2_note";
};

void StoreRecoveryTest::leave_half_way(const std::string& change, const std::string& call,
                                       int nth) {
    static const change_case moved{
        "replace beside a twin",
        {{"pgm_flash_1.xml", document(devices("X|A") + user_template("X"))}},
        [](ZORVA_MGR& mgr, const std::string& in) {
            return mgr.update_db(new_record(mgr, "X"), in);
        }};
    const auto found = std::ranges::find(change_cases(), change, &change_case::name);
    const change_case& row = found == change_cases().end() ? moved : *found;
    const auto run = [&](troubled_disk& disk) {
        put_files(m_custom_dir, row.files);
        ZORVA_QSPI_MGR mgr;
        pgm_host::set_file_system(&disk);
        const bool done = row.change(mgr, m_custom_dir);
        pgm_host::set_file_system(&m_disk);
        return done;
    };
    troubled_disk disk;
    ASSERT_TRUE(run(disk));
    std::size_t at = 0;
    for (; nth > 0; ++at) nth -= disk.calls().at(at).starts_with(call) ? 1 : 0;
    put_files(m_custom_dir, row.files);
    m_before = loaded();
    troubled_disk end(trouble::ends_before, at);
    ASSERT_EQ(in_child([&] { return run(end); }), troubled_disk::ended);
    forget();
}

TEST_F(StoreRecoveryTest, TheNextLoadFinishes) {
    const struct {
        const char *change, *call;
        int nth;
        names left, kept, differing;
        std::string steps;
    } rows[] = {
        {"replace beside a twin",
         "rename to",
         2,
         {m_note, ".zorva_2_other", "pgm_flash_1.xml", m_own},
         {"pgm_flash_1.xml", m_own},
         {"device X"},
         "write other, chmod 644 other, rename to 1, flush, remove note, remove own"},
        {"replace the only one of a file",
         "remove pgm",
         1,
         {m_note, "pgm_flash_1.xml", m_own},
         {m_own},
         {"device X"},
         "remove 1, flush, remove note, remove own"},
        {"replace out of a file in front",
         "rename to",
         1,
         {m_note, ".zorva_2_other", ".zorva_2_own", "pgm_flash_1.xml", m_own},
         {"pgm_flash_1.xml", m_own},
         {},
         "remove note, remove own, remove other"},
        {"add several",
         "rename to pgm_flash_Y.xml",
         1,
         {".zorva_2_batch", ".zorva_2_own", m_own, "pgm_flash_Y.xml", "pgm_flash_template_T.xml"},
         {"pgm_flash_Y.xml"},
         {},
         "remove X, remove template_T, flush, remove batch, remove own"},
        {"add several",
         "remove .zorva_2_batch",
         1,
         {".zorva_2_batch", m_own, "pgm_flash_Y.xml", "pgm_flash_template_T.xml"},
         {"pgm_flash_Y.xml"},
         {},
         "remove X, remove template_T, write own, rename to Y, flush, remove batch"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.change + (" up to " + std::string(row.call)));
        leave_half_way(row.change, row.call, row.nth);
        EXPECT_EQ(files(), row.left);
        write_custom(".zorva_2_own", "of another change");
        write_custom(".zorva_3_own", "of the other interface");
        write_custom(".zorva_2", "a user's");
        troubled_disk disk;
        pgm_host::set_file_system(&disk);
        EXPECT_EQ(changed_now(), row.differing);
        EXPECT_EQ(disk.steps(), row.steps);
        pgm_host::set_file_system(&m_disk);
        names kept = row.kept;
        kept.insert(kept.begin(), {".zorva_2", ".zorva_3_own"});
        EXPECT_EQ(files(), kept);
        EXPECT_EQ(posted_ids(), ids{});
    }
}

TEST_F(StoreRecoveryTest, AFileThatOthersHaveWrittenSinceIsNotTakenBack) {
    leave_half_way("add several", "remove .zorva_2_batch", 1);
    const std::string written = document(devices("X|SINCE"));
    write_custom(m_own, written);
    EXPECT_EQ(changed_now(), (names{"device SINCE", "device X"}));
    EXPECT_EQ(files_in(m_custom_dir), (texts{{m_own, written}, {"pgm_flash_Y.xml", ""}}));
}

// Disks on which a load can't finish, or may do so only just.
TEST_F(StoreRecoveryTest, WhoCannotFinishTouchesNothing) {
    struct : hasty_disk {
        bool is_read_only = false, is_team = false, has_bad_note = false;
        bool chmod(const std::string& path, int mode) override {
            if (is_team && path.find("/.zorva") == std::string::npos) return false;
            return !is_read_only && hasty_disk::chmod(path, mode);
        }
        bool write(const std::string& path, std::string_view bytes) override {
            return !is_read_only && hasty_disk::write(path, bytes);
        }
        bool remove(const std::string& path) override {
            return !is_read_only && hasty_disk::remove(path);
        }
        bool rename(const std::string& from, const std::string& to) override {
            return !is_read_only && hasty_disk::rename(from, to);
        }
        bool read(const std::string& path, std::string& bytes) override {
            return !(has_bad_note && path.ends_with("note")) && hasty_disk::read(path, bytes);
        }
    } disk;
    const auto load = [&] {
        leave_half_moved();
        pgm_host::set_file_system(&disk);
        return changed_now();
    };
    // In a directory that several write to, the file may be another one's, and its mode with it.
    disk.is_team = true;
    EXPECT_EQ(load(), names{"device X"});
    EXPECT_EQ(files(), (names{"pgm_flash_1.xml", m_own}));
    disk.is_team = false;
    for (bool* fault : {&disk.is_read_only, &disk.has_bad_note}) {
        *fault = true;
        const bool is_note = fault == &disk.has_bad_note;
        load();
        const texts left = files_in(m_custom_dir);
        ZORVA_QSPI_MGR mgr;
        // Nobody knows what the note says.
        if (!is_note) {
            EXPECT_EQ(changed(m_before, answers(mgr)), names{"device X"});
        }
        EXPECT_FALSE(mgr.delete_db("A", m_custom_dir));
        EXPECT_FALSE(update(mgr, "Y"));
        EXPECT_NE(mgr.get_change_outcome().sentence.find("can't be finished"), std::string::npos);
        EXPECT_EQ(files_in(m_custom_dir), left);
        EXPECT_EQ(left.size(), 4U);
        pgm_host::set_file_system(&m_disk);
        *fault = false;
    }
}

TEST_F(StoreRecoveryTest, ALoadBesideAnotherProcessTouchesNothing) {
    leave_half_moved();
    const texts left = files_in(m_custom_dir);
    std::optional<FIO_DIRECTORY_LOCK> lock(std::in_place, m_custom_dir, true);
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(changed(m_before, answers(mgr)), names{"device X"}) << "and not template X";
    EXPECT_EQ(mgr.get_flash_file("X"), m_custom_dir + m_own);
    EXPECT_EQ(files_in(m_custom_dir), left);
    EXPECT_EQ(posted_ids(), ids{});
    const ZORVA_FILE_REPORT& report = mgr.get_load_report().at(1);
    EXPECT_EQ(report.definitions.at(0).state, ZORVA_DEFINITION_STATE::HIDDEN);
    EXPECT_EQ(report.definitions.at(0).hidden_by, m_custom_dir + m_own);
    lock.reset();
    leave_half_way("add several", "remove .zorva_2_batch", 1);
    lock.emplace(m_custom_dir, true);
    ZORVA_QSPI_MGR beside;
    EXPECT_EQ(changed(m_before, answers(beside)), names{}) << "all or none";
    EXPECT_EQ(beside.get_load_report().at(1).reason,
              "The change that made it was broken off and is taken back.");
    lock.reset();
}

// A change made by a process that loaded before: finishing comes first.
TEST_F(StoreRecoveryTest, TheNextChangeFinishes) {
    for (const std::string name : {"X", "A", "Y", "delete X"}) {
        SCOPED_TRACE(name);
        leave_half_moved();
        const texts left = files_in(m_custom_dir);
        put_files(m_custom_dir, {{"pgm_flash_1.xml", left.at("pgm_flash_1.xml")}});
        ZORVA_QSPI_MGR mgr;
        put_files(m_custom_dir, left);
        EXPECT_TRUE(name == "delete X" ? mgr.delete_db("X", m_custom_dir)
                                       : update(mgr, name, "0x01"));
        std::set<std::string> differing{"device X"};
        if (name != "delete X") differing.insert("device " + name);
        EXPECT_EQ(changed_now(), names(differing.begin(), differing.end()));
        EXPECT_EQ(posted_ids(), ids{});
    }
}

TEST_F(StoreRecoveryTest, ANoteThatCannotBeTrustedIsDropped) {
    leave_half_moved();
    const texts left = files_in(m_custom_dir);
    const std::string& note = left.at(m_note);
    const auto counted = [](const std::string& name) {
        return std::to_string(name.size()) + "\n" + name + "\n";
    };
    const auto with_own = [&](const std::string& text) {
        return replaced(note, counted(m_own), text);
    };
    const std::string first = "pgm_flash_1.xml";
    const struct {
        const char* what;
        std::string note;
        std::string own;
    } rows[] = {
        {"empty", "", left.at(m_own)},
        {"cut off", note.substr(0, note.size() - 4), left.at(m_own)},
        {"a way out to the new file", with_own(counted("../custom/" + m_own)), left.at(m_own)},
        {"a way out to the old", replaced(note, counted(first), counted("../custom/" + first)),
         left.at(m_own)},
        {"a long name", with_own("4000000000\n"), left.at(m_own)},
        {"a negative length", with_own("-1\n"), left.at(m_own)},
        {"another kind", replaced(note, "kind 0", "kind 9"), left.at(m_own)},
        {"no text", std::string("\0\xFF\n", 3), left.at(m_own)},
        {"another digest", note, left.at(m_own) + " "},
        {"an empty file", note, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        texts files_now = left;
        files_now[m_note] = row.note;
        files_now[m_own] = row.own;
        put_files(m_custom_dir, files_now);
        loaded();
        files_now.erase(m_note);
        files_now.erase(".zorva_2_other");
        EXPECT_EQ(files_in(m_custom_dir), files_now);
    }
}

// A change that another process made meanwhile could be met half.
TEST_F(StoreRecoveryTest, ALoadHoldsOffChanges) {
    struct : hasty_disk {
        std::string directory;
        int reads = 0;
        bool read(const std::string& path, std::string& bytes) override {
            if (!path.starts_with(directory)) return hasty_disk::read(path, bytes);
            ++reads;
            EXPECT_FALSE(FIO_DIRECTORY_LOCK(directory, false).held());
            return hasty_disk::read(path, bytes);
        }
    } disk;
    disk.directory = m_custom_dir;
    write_custom("pgm_flash_1.xml", document(device({})));
    pgm_host::set_file_system(&disk);
    ZORVA_QSPI_MGR mgr;
    EXPECT_GT(disk.reads, 0);
    EXPECT_TRUE(FIO_DIRECTORY_LOCK(m_custom_dir, false).held());
    pgm_host::set_file_system(&m_disk);
}

}  // namespace
