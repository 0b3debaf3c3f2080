// Changes to the database on a disk that fails.
#include "tests/store_support.h"

#include <memory>

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
    const bool as_it_was = files_in(m_custom_dir) == row.files;
    EXPECT_TRUE(as_it_was || done || row.in_two_steps || what == trouble::all_fail_from_there);

    // A definition is as it was or as it was to be, for this manager and for the next load.
    forget();
    const texts now = as_it_was ? before : loaded();
    EXPECT_EQ(posted_ids(), ids{});
    const texts& most = done || row.in_two_steps ? after : before;
    EXPECT_EQ(neither_of(now, done ? after : before, most), names{});
    EXPECT_EQ(neither_of(answers(mgr), now, now), names{});
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

}  // namespace
