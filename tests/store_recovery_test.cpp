// What a process that ended half-way has left.
#include "services/file.h"
#include "tests/store_support.h"

#include <algorithm>
#include <optional>
#include <regex>

namespace {

class StoreRecoveryTest : public StoreTest {
  protected:
    // Runs a change of change_cases() up to its first call that starts so; there the process ends.
    void leave_half_way(const std::string& change, const std::string& call);
    // Moves device X out of a file that it shares, but for the last step.
    void leave_half_moved() { leave_half_way("replace beside a twin", "rename to pgm_flash_1"); }
    void leave_half_added() { leave_half_way("add several", "remove .zorva_2_batch"); }
    // The names of the files, without what those of this interface have in common.
    std::string files() const {
        static const std::regex frame(R"(\.zorva_2_|pgm_flash_|\.xml)");
        names all;
        for (const auto& [name, bytes] : files_in(m_custom_dir)) all.push_back(name);
        return std::regex_replace(joined(all), frame, "");
    }
    // What differs from what stood there before the change.
    names changed_now() { return changed(m_before, loaded()); }

    texts m_before;
    const std::string m_own = "pgm_flash_X.xml";
    const std::string m_first = "pgm_flash_1.xml";
};

void StoreRecoveryTest::leave_half_way(const std::string& change, const std::string& call) {
    static const change_case moved{
        "replace beside a twin",
        {{m_first, document(devices("X|A") + user_template("X"))}},
        [](auto& mgr, const auto& in) { return mgr.update_db(new_record(mgr, "X"), in); }};
    const auto found = std::ranges::find(change_cases(), change, &change_case::name);
    const change_case& row = found == change_cases().end() ? moved : *found;
    const auto run = [&](troubled_disk& disk) {
        put_files(m_custom_dir, row.files);
        m_before = loaded();
        ZORVA_QSPI_MGR mgr;
        pgm_host::set_file_system(&disk);
        const bool done = row.change(mgr, m_custom_dir);
        pgm_host::set_file_system(&m_disk);
        return done;
    };
    troubled_disk disk;
    ASSERT_TRUE(run(disk));
    const auto starts_so = [&](const std::string& text) { return text.starts_with(call); };
    const auto at = std::ranges::find_if(disk.calls(), starts_so) - disk.calls().begin() + 1;
    troubled_disk end(trouble::ends_before, at);
    ASSERT_EQ(in_child([&] { return run(end); }), troubled_disk::ended);
    forget();
}

TEST_F(StoreRecoveryTest, TheNextLoadFinishes) {
    const struct {
        const char *change, *call, *left, *kept, *differing, *steps;
    } rows[] = {
        {"replace beside a twin", "rename to pgm_flash_1", "note other 1 X", "1 X", "device X",
         "write other, chmod 644 other, rename to 1, flush, remove note, remove own"},
        {"replace the only one of a file", "remove pgm", "note 1 X", "X", "device X",
         "remove 1, flush, remove note, remove own"},
        {"replace out of a file in front", "rename to", "note other own 1 X", "1 X", "",
         "remove note, remove own, remove other"},
        {"add several", "rename to pgm_flash_Y", "batch own X Y template_T", "Y", "",
         "remove X, remove template_T, flush, remove batch, remove own"},
        {"add several", "remove .zorva_2_batch", "batch X Y template_T", "Y", "",
         "remove X, remove template_T, write own, rename to Y, flush, remove batch"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.change + std::string(" up to ") + row.call);
        leave_half_way(row.change, row.call);
        EXPECT_EQ(files(), row.left);
        write_custom(".zorva_2_own", "of another change");
        write_custom(".zorva_3_own", "of the other interface");
        write_custom(".zorva_2", "a user's");
        troubled_disk disk;
        pgm_host::set_file_system(&disk);
        EXPECT_EQ(joined(changed_now()), row.differing);
        EXPECT_EQ(disk.steps(), row.steps);
        pgm_host::set_file_system(&m_disk);
        EXPECT_EQ(files(), std::string(".zorva_2 .zorva_3_own ") + row.kept);
        EXPECT_EQ(posted_ids(), ids{});
    }
}

TEST_F(StoreRecoveryTest, AFileThatOthersHaveWrittenSinceIsNotTakenBack) {
    leave_half_added();
    const std::string written = document(devices("X|SINCE"));
    write_custom(m_own, written);
    EXPECT_EQ(changed_now(), (names{"device SINCE", "device X"}));
    EXPECT_EQ(files_in(m_custom_dir), (texts{{m_own, written}, {"pgm_flash_Y.xml", ""}}));
}

TEST_F(StoreRecoveryTest, WhoCannotFinishTouchesNothing) {
    struct : hasty_disk {
        bool has_bad_note = false;  // else it can't be written
        bool write(const std::string& path, std::string_view bytes) override {
            return has_bad_note && hasty_disk::write(path, bytes);
        }
        bool read(const std::string& path, std::string& bytes) override {
            return !(has_bad_note && path.ends_with("note")) && hasty_disk::read(path, bytes);
        }
    } disk;
    for (const bool has_bad_note : {false, true}) {
        leave_half_moved();
        const texts left = files_in(m_custom_dir);
        disk.has_bad_note = has_bad_note;
        pgm_host::set_file_system(&disk);
        ZORVA_QSPI_MGR mgr;
        const names moved = changed(m_before, answers(mgr));
        EXPECT_TRUE(has_bad_note || moved == names{"device X"}) << joined(moved);
        EXPECT_FALSE(run(mgr, "delete A") || run(mgr, "store Y"));
        EXPECT_NE(mgr.get_change_outcome().sentence.find("can't be finished"), std::string::npos);
        EXPECT_EQ(files_in(m_custom_dir), left);
        pgm_host::set_file_system(&m_disk);
    }
}

TEST_F(StoreRecoveryTest, ALoadBesideAnotherProcessTouchesNothing) {
    leave_half_moved();
    const texts left = files_in(m_custom_dir);
    std::optional<FIO_DIRECTORY_LOCK> lock(std::in_place, m_custom_dir, true);
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(changed(m_before, answers(mgr)), names{"device X"}) << "and not template X";
    EXPECT_EQ(mgr.get_flash_file("X"), own_file("X"));
    EXPECT_EQ(files_in(m_custom_dir), left);
    EXPECT_EQ(posted_ids(), ids{});
    const auto& definition = mgr.get_load_report().at(1).definitions.at(0);
    EXPECT_EQ(definition.state, ZORVA_DEFINITION_STATE::HIDDEN);
    EXPECT_EQ(definition.hidden_by, own_file("X"));
    lock.reset();
    leave_half_added();
    lock.emplace(m_custom_dir, true);
    ZORVA_QSPI_MGR beside;
    EXPECT_EQ(changed(m_before, answers(beside)), names{}) << "all or none";
    EXPECT_EQ(beside.get_load_report().at(1).reason,
              "The change that made it was broken off and is taken back.");
}

// A change made by a process that loaded before: finishing comes first.
TEST_F(StoreRecoveryTest, TheNextChangeFinishes) {
    for (const std::string change : {"store X", "store A", "store Y", "delete X"}) {
        SCOPED_TRACE(change);
        leave_half_moved();
        const texts left = files_in(m_custom_dir);
        put_files(m_custom_dir, {{m_first, left.at(m_first)}});
        ZORVA_QSPI_MGR mgr;
        put_files(m_custom_dir, left);
        EXPECT_TRUE(run(mgr, change));
        const std::set<std::string> both{"device X", "device" + change.substr(change.find(' '))};
        EXPECT_EQ(changed_now(), names(both.begin(), both.end()));
        EXPECT_EQ(posted_ids(), ids{});
    }
}

TEST_F(StoreRecoveryTest, ANoteThatCannotBeTrustedIsDropped) {
    leave_half_moved();
    const texts left = files_in(m_custom_dir);
    const std::string note = left.at(".zorva_2_note");
    const std::string own = left.at(m_own);
    const std::string out_and_in = "../custom/";
    const auto counted = [](const std::string& name) {
        return std::to_string(name.size()) + "\n" + name + "\n";
    };
    const struct {
        const char* what;
        std::string note, own;
    } rows[] = {
        {"empty", "", own},
        {"cut off", note.substr(0, note.size() - 4), own},
        {"a way to the new file", replaced(note, counted(m_own), counted(out_and_in + m_own)), own},
        {"a way to the old", replaced(note, counted(m_first), counted(out_and_in + m_first)), own},
        {"a long name", replaced(note, counted(m_own), "4000000000\n"), own},
        {"a negative length", replaced(note, counted(m_own), "-1\n"), own},
        {"another kind", replaced(note, "kind 0", "kind 9"), own},
        {"no text", std::string("\0\xFF\n", 3), own},
        {"another digest", note, own + " "},
        {"an empty file", note, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const texts kept{{m_first, left.at(m_first)}, {m_own, row.own}};
        put_files(m_custom_dir, kept);
        write_custom(".zorva_2_note", row.note);
        write_custom(".zorva_2_other", left.at(".zorva_2_other"));
        loaded();
        EXPECT_EQ(files_in(m_custom_dir), kept);
    }
}

// A change that another process made meanwhile could be met half.
TEST_F(StoreRecoveryTest, ALoadHoldsOffChanges) {
    struct : hasty_disk {
        int reads = 0;
        bool read(const std::string& path, std::string& bytes) override {
            if (path.ends_with("/custom/pgm_flash_1.xml")) {
                ++reads;
                EXPECT_FALSE(FIO_DIRECTORY_LOCK(path.substr(0, path.rfind('/') + 1), false).held());
            }
            return hasty_disk::read(path, bytes);
        }
    } disk;
    write_custom(m_first, document(device({})));
    pgm_host::set_file_system(&disk);
    ZORVA_QSPI_MGR mgr;
    EXPECT_GT(disk.reads, 0);
    EXPECT_TRUE(FIO_DIRECTORY_LOCK(m_custom_dir, false).held());
    pgm_host::set_file_system(&m_disk);
}

}  // namespace
