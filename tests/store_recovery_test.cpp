// What a process that ended half-way has left, and two processes at work at once.
#include "services/file.h"
#include "tests/store_support.h"

#include <algorithm>
#include <memory>

namespace {

// The process ends with the second rename to come.
struct disk_that_ends : hasty_disk {
    bool is_second = false;
    bool rename(const std::string& from, const std::string& to) override {
        if (is_second) ::_exit(troubled_disk::ended);
        is_second = true;
        return hasty_disk::rename(from, to);
    }
};

class StoreRecoveryTest : public StoreTest {
  protected:
    // Moves device X out of a file that it shares, but for the last step.
    void leave_half_way();
    names files() {
        names all;
        for (const auto& [name, bytes] : files_in(m_custom_dir)) all.push_back(name);
        return all;
    }

    texts m_before;
    const std::string m_own = "pgm_flash_X.xml";
    const std::string m_note = ".zorva_2_note";
};

void StoreRecoveryTest::leave_half_way() {
    put_files(m_custom_dir,
              {{"pgm_flash_1.xml",
                document(device({.name = "X"}) + device({.name = "A"}) + user_template("T"))}});
    m_before = loaded();
    const int code = in_child([this] {
        ZORVA_QSPI_MGR mgr;
        disk_that_ends disk;
        pgm_host::set_file_system(&disk);
        return mgr.update_db(new_record(mgr, "X"), m_custom_dir);
    });
    ASSERT_EQ(code, troubled_disk::ended);
    ASSERT_EQ(files(), (names{m_note, ".zorva_2_other", "pgm_flash_1.xml", m_own}));
    ASSERT_EQ(definitions_in(m_custom_dir).size(), 6U) << "in the files and in the one to come";
    forget();
}

TEST_F(StoreRecoveryTest, TheNextLoadFinishes) {
    leave_half_way();
    write_custom(".zorva_2_own", "of another change");
    write_custom(".zorva_3_own", "of the other interface");
    write_custom(".zorva_2", "a user's");
    EXPECT_EQ(neither_of(loaded(), m_before, m_before), names{"device X"});
    EXPECT_EQ(files(), (names{".zorva_2", ".zorva_3_own", "pgm_flash_1.xml", m_own}));
    EXPECT_EQ(definitions_in(m_custom_dir).size(), 3U);
    EXPECT_EQ(posted_ids(), ids{});
}

// In a directory that several write to, the file may be another one's: its mode isn't ours to
// change.
TEST_F(StoreRecoveryTest, WhoMayRenameMayFinish) {
    leave_half_way();
    struct : hasty_disk {
        bool chmod(const std::string& path, int mode) override {
            return path.find("/.zorva") != std::string::npos && hasty_disk::chmod(path, mode);
        }
    } team;
    pgm_host::set_file_system(&team);
    EXPECT_EQ(neither_of(loaded(), m_before, m_before), names{"device X"});
    pgm_host::set_file_system(&m_disk);
    EXPECT_EQ(files(), (names{"pgm_flash_1.xml", m_own}));
}

TEST_F(StoreRecoveryTest, ALoadBesideAnotherProcessTouchesNothing) {
    leave_half_way();
    const texts left = files_in(m_custom_dir);
    auto lock = std::make_unique<FIO_DIRECTORY_LOCK>(m_custom_dir, true);
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(neither_of(answers(mgr), m_before, m_before), names{"device X"});
    EXPECT_EQ(files_in(m_custom_dir), left);
    EXPECT_EQ(posted_ids(), ids{});
    const ZORVA_FILE_REPORT& report = mgr.get_load_report().at(1);
    EXPECT_EQ(report.definitions.at(0).state, ZORVA_DEFINITION_STATE::HIDDEN);
    EXPECT_EQ(report.definitions.at(0).hidden_by, m_custom_dir + m_own);
    // The old definition doesn't come back behind the new one's deletion.
    lock.reset();
    EXPECT_TRUE(mgr.delete_db("X", m_custom_dir));
    EXPECT_EQ(files(), names{"pgm_flash_1.xml"});
    EXPECT_EQ(neither_of(loaded(), m_before, m_before), names{"device X"});
}

TEST_F(StoreRecoveryTest, ALoadThatCannotWriteTouchesNothing) {
    leave_half_way();
    const texts left = files_in(m_custom_dir);
    struct : hasty_disk {
        bool chmod(const std::string&, int) override { return false; }
        bool write(const std::string&, std::string_view) override { return false; }
        bool remove(const std::string&) override { return false; }
        bool rename(const std::string&, const std::string&) override { return false; }
    } read_only;
    pgm_host::set_file_system(&read_only);
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(neither_of(answers(mgr), m_before, m_before), names{"device X"});
    EXPECT_FALSE(mgr.delete_db("X", m_custom_dir));
    EXPECT_FALSE(mgr.update_db(new_record(mgr, "Y"), m_custom_dir));
    EXPECT_EQ(files_in(m_custom_dir), left);
    EXPECT_EQ(posted_ids(), (ids{20560, 20560}));
}

// A change made by a process that loaded before: finishing comes first.
TEST_F(StoreRecoveryTest, TheNextChangeFinishes) {
    for (const char* name : {"X", "A", "Y"}) {
        SCOPED_TRACE(name);
        leave_half_way();
        const texts left = files_in(m_custom_dir);
        put_files(m_custom_dir, {{"pgm_flash_1.xml", left.at("pgm_flash_1.xml")}});
        ZORVA_QSPI_MGR mgr;
        put_files(m_custom_dir, left);
        EXPECT_TRUE(mgr.update_db(new_record(mgr, name, "0x01"), m_custom_dir));
        const texts now = loaded();
        names changed{"device X"};
        if (*name != 'X')
            changed.insert(changed.begin() + (*name == 'Y'), "device " + std::string(name));
        EXPECT_EQ(neither_of(now, m_before, m_before), changed);
        EXPECT_EQ(posted_ids(), ids{});
    }
}

TEST_F(StoreRecoveryTest, ANoteThatCannotBeTrustedIsDropped) {
    leave_half_way();
    const texts left = files_in(m_custom_dir);
    const std::string& note = left.at(m_note);
    const std::string name = "15\npgm_flash_X.xml";
    const struct {
        const char* what;
        std::string note;
        std::string own;
    } rows[] = {
        {"empty", "", left.at(m_own)},
        {"cut off", note.substr(0, note.size() - 4), left.at(m_own)},
        {"another path", replaced(note, name, "24\n../custom/pgm_flash_X.xml"), left.at(m_own)},
        {"a long name", replaced(note, name, "4000000000\n"), left.at(m_own)},
        {"a negative length", replaced(note, name, "-1\n"), left.at(m_own)},
        {"no kind", replaced(note, "kind 0", "kind 9"), left.at(m_own)},
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

class StoreAtOnceTest : public StoreRecoveryTest {
  protected:
#ifdef NDEBUG
    static constexpr int rounds = 200;
#else
    static constexpr int rounds = 50;
#endif
    static std::string numbered(const char* name, int number) {
        return name + std::to_string(1000 + number);
    }
    // Does it for each round, with one manager.
    std::function<bool()> all_rounds(const std::function<bool(ZORVA_MGR&, int)>& job) {
        return [job] {
            ZORVA_QSPI_MGR mgr;
            for (int round = 0; round < rounds; ++round)
                if (!job(mgr, round)) return false;
            return true;
        };
    }
    // Both jobs, and loads beside them that have to know these devices and be told nothing.
    bool beside_loads(const std::function<bool()>& a, const std::function<bool()>& b,
                      const names& known) {
        const auto coded = [this](const std::function<bool()>& job, const char* name) {
            return [this, job, name] {
                const bool done = job();
                write_file(m_root + name, "");
                return done ? 0 : 1;
            };
        };
        const auto load = [this, &known] {
            const auto is_over = [this](const char* name) {
                return FIO_FILE_SYSTEM::exists(m_root + name);
            };
            forget();
            while (!is_over("a is done") || !is_over("b is done")) {
                ZORVA_QSPI_MGR mgr;
                const names devices = device_names(mgr);
                if (!std::ranges::includes(devices, known) || !m_messages.empty()) return 1;
            }
            return 0;
        };
        return all_at_once({coded(a, "a is done"), coded(b, "b is done"), load}) ==
               std::vector<int>{0, 0, 0};
    }
    bool template_x_file_holds(const std::string& text) const {
        return bytes_of(m_custom_dir + "pgm_flash_template_X.xml").find(text) != std::string::npos;
    }
};

TEST_F(StoreAtOnceTest, BothAdd) {
    const auto add = [this](const char* name) {
        return all_rounds([this, name](ZORVA_MGR& mgr, int round) {
            return mgr.update_db(new_record(mgr, numbered(name, round)), m_custom_dir);
        });
    };
    EXPECT_TRUE(beside_loads(add("A"), add("B"), {"SHIP_A"}));
    const texts now = loaded();
    for (int round = 0; round < rounds; ++round)
        for (const char* name : {"device A", "device B"})
            EXPECT_TRUE(now.contains(numbered(name, round))) << name << round;
}

TEST_F(StoreAtOnceTest, BothDeleteOutOfOneFile) {
    constexpr int in_a_file = 10;
    names kept;
    for (int round = 0; round < rounds; round += in_a_file) {
        kept.push_back(numbered("KEPT", round));
        std::string definitions = device({.name = kept.back()});
        for (int i = round; i < round + in_a_file; ++i)
            definitions += device({.name = numbered("A", i)}) + device({.name = numbered("B", i)});
        write_custom(numbered("pgm_flash_", round) + ".xml", document(definitions));
    }
    kept.insert(kept.end(), {"SHIP_A", "SHIP_B", "SHIP_ISSI"});
    const auto remove = [this](const char* name) {
        return all_rounds([this, name](ZORVA_MGR& mgr, int round) {
            return mgr.delete_db(numbered(name, round), m_custom_dir);
        });
    };
    EXPECT_TRUE(beside_loads(remove("A"), remove("B"), kept));
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(device_names(mgr), kept);
}

// A device and a template whose file is one and the same.
TEST_F(StoreAtOnceTest, BothUseOneFile) {
    const auto device_job = all_rounds([this](ZORVA_MGR& mgr, int) {
        const std::string text = "<DEVICE_NAME>template_X<";
        return mgr.update_db(new_record(mgr, "template_X"), m_custom_dir) &&
               mgr.update_db(new_record(mgr, "template_X", "0x78"), m_custom_dir) &&
               template_x_file_holds(text) && mgr.delete_db("template_X", m_custom_dir) &&
               !template_x_file_holds(text);
    });
    const auto template_job = all_rounds([this](ZORVA_MGR& mgr, int) {
        const std::string text = "<TEMPLATE_NAME>X<";
        return mgr.update_template_db(new_record(mgr, "", "0x77", "X"), m_custom_dir) &&
               template_x_file_holds(text) && mgr.delete_template("X") &&
               !template_x_file_holds(text);
    });
    EXPECT_TRUE(beside_loads(device_job, template_job, {"SHIP_A"}));
    EXPECT_EQ(files(), names{});
}

}  // namespace
