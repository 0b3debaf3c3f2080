// Changes to the database on a disk that fails, and what makes them lasting.
#include "tests/store_support.h"
#include "tests/system_calls.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

namespace {

class StoreFailureTest : public StoreTest {
  protected:
    // False if the change was over before that call.
    bool change_fails_well(const change_case& row, const texts& after, trouble what,
                           std::size_t call);
};

bool StoreFailureTest::change_fails_well(const change_case& row, const texts& after, trouble what,
                                         std::size_t call) {
    put_files(m_custom_dir, row.files);
    ZORVA_QSPI_MGR mgr;
    const texts before = answers(mgr);
    forget();
    troubled_disk disk(what, call);
    pgm_host::set_file_system(&disk);
    const bool done = row.change(mgr, m_custom_dir);
    pgm_host::set_file_system(&m_disk);
    SCOPED_TRACE(testing::Message() << row.name << ", call " << call << " of "
                                    << testing::PrintToString(disk.calls()));
    EXPECT_EQ(posted_ids(), done || row.all_or_none ? ids{} : ids{20560});
    EXPECT_EQ(mgr.get_change_outcome().sentence.empty(), done);
    if (disk.was_troubled()) {
        EXPECT_FALSE(done && disk.calls().at(call - 1).starts_with("write"));
    }
    const bool as_it_was = files_in(m_custom_dir) == row.files;
    EXPECT_TRUE(as_it_was || done || row.in_two_steps || what == trouble::all_fail_from_there);

    // A definition is as it was or as it was to be, for this manager and for the next load.
    forget();
    const texts now = as_it_was ? before : loaded();
    EXPECT_EQ(posted_ids(), ids{});
    EXPECT_EQ(neither_of(now, done ? after : before, done || row.in_two_steps ? after : before),
              names{});
    EXPECT_EQ(changed(now, answers(mgr)), names{});
    return disk.was_troubled();
}

TEST_F(StoreFailureTest, NothingIsLostWhicheverCallFails) {
    for (const change_case& row : change_cases()) {
        put_files(m_custom_dir, row.files);
        EXPECT_TRUE(row.change(*std::make_unique<ZORVA_QSPI_MGR>(), m_custom_dir));
        const texts after = loaded();
        for (const trouble what : {trouble::call_fails, trouble::all_fail_from_there})
            for (std::size_t call = 1; change_fails_well(row, after, what, call);) ++call;
    }
}

TEST_F(StoreFailureTest, EachStepLastsBeforeTheNext) {
    // A file is proved changeable, its new bytes lie beside it with its mode, it is replaced.
    const auto prepared = [](std::string file, const char* mode, const char* sibling) {
        return "chmod 600 " + file + ", chmod " + mode + " " + file + ", write " + sibling +
               ", chmod " + mode + " " + sibling;
    };
    const auto made = [&](const std::string& file) {
        return "touch " + file + ", " + prepared(file, "644", "own") + ", rename to " + file +
               ", flush";
    };
    const std::string replace_x = prepared("X", "640", "own") + ", rename to X, flush";
    const std::string prepare_x = "touch X, " + prepared("X", "644", "own") + ", ";
    const std::map<std::string, std::string> rows = {
        {"add", made("X")},
        {"replace", replace_x},
        {"replace out of a file in front",
         prepare_x + prepared("1", "640", "other") +
             ", write note, flush, rename to X, flush, rename to 1, flush, remove note"},
        {"replace the only one of a file",
         prepare_x + "chmod 600 1, chmod 640 1, write note, flush, rename to X, flush, "
                     "remove 1, flush, remove note"},
        {"add several", "write batch, flush, " + made("X") + ", " + made("template_T") + ", " +
                            prepared("Y", "640", "own") +
                            ", rename to Y, flush, remove batch, flush"},
        {"add with a template", made("X") + ", " + made("template_T")},
        {"delete", "chmod 600 X, chmod 640 X, remove X, flush"},
        {"delete beside others", prepared("z", "640", "own") + ", rename to z, flush"},
    };
    std::size_t met = 0;
    for (const change_case& row : change_cases()) {
        if (!rows.contains(row.name)) continue;
        ++met;
        put_files(m_custom_dir, row.files);
        for (const auto& [name, bytes] : row.files)
            std::filesystem::permissions(m_custom_dir + name, std::filesystem::perms(0640));
        ZORVA_QSPI_MGR mgr;
        troubled_disk disk;
        pgm_host::set_file_system(&disk);
        const mode_t mask = ::umask(022);
        EXPECT_TRUE(row.change(mgr, m_custom_dir));
        ::umask(mask);
        EXPECT_EQ(disk.steps(), rows.at(row.name)) << row.name;
        pgm_host::set_file_system(&m_disk);
    }
    EXPECT_EQ(met, rows.size());
}

// The same on the disk itself: a file before its rename, its directory behind.
TEST_F(StoreFailureTest, TheDiskFlushesBytesAndNames) {
    struct : pgm_host::file_system {
        bool rename(const std::string& from, const std::string& to) override {
            the_system.flushed.emplace_back("rename");
            return file_system::rename(from, to);
        }
    } disk;
    pgm_host::set_file_system(&disk);
    ZORVA_QSPI_MGR mgr;
    the_system.flushed.clear();
    EXPECT_TRUE(update(mgr, "X"));
    ASSERT_EQ(the_system.flushed.size(), 3U);
    EXPECT_TRUE(the_system.flushed[0].starts_with(m_custom_dir + ".zorva_2_own "));
    EXPECT_EQ(the_system.flushed[1], "rename");
    EXPECT_TRUE(the_system.flushed[2].starts_with(m_root + "custom "));
    pgm_host::set_file_system(&m_disk);
}

TEST_F(StoreFailureTest, AFullDiskStoresNothing) {
    write_custom("pgm_flash_A.xml", document(devices("A")));
    const texts before = files_in(m_custom_dir);
    const int code = in_child([&] {
        ZORVA_QSPI_MGR mgr;
        pgm_host::set_file_system(nullptr);
        const rlimit limit{100, 100};
        ::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &limit);
        return !update(mgr, "A") && !update(mgr, "B");
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(files_in(m_custom_dir), before);
}

// Names that couldn't be read may hold the old definition.
TEST_F(StoreFailureTest, AHalfListedDirectoryIsNoneToChange) {
    write_custom("pgm_flash_1.xml", document(devices("A")));
    ZORVA_QSPI_MGR mgr;
    the_system.entries_left = 3;
    EXPECT_FALSE(update(mgr, "X"));
    const ZORVA_QSPI_MGR again;
    the_system.entries_left = -1;
    EXPECT_EQ(mgr.get_change_outcome().sentence,
              m_custom_dir + " can't be listed: Input/output error.");
    EXPECT_EQ(again.get_load_report().back().reason,
              "The directory can't be listed: Input/output error.");
}

}  // namespace
