// Processes that change one directory at once, and loads beside them.
#include "services/file.h"
#include "tests/store_support.h"

#include <algorithm>

namespace {

class StoreAtOnceTest : public StoreTest {
  protected:
#ifdef NDEBUG
    static constexpr int rounds = 200;
#else
    static constexpr int rounds = 50;
#endif
    using job = std::function<bool(ZORVA_MGR&, int round)>;

    static std::string numbered(const char* name, int number) {
        return name + std::to_string(1000 + number);
    }
    // Does each job for each round, with one manager, in processes of their own; and beside them
    // loads that have to meet these devices, whole, and be told nothing.
    void all_rounds(const std::vector<job>& work, const names& known);
};

void StoreAtOnceTest::all_rounds(const std::vector<job>& work, const names& known) {
    const auto mark = [this](std::size_t i) { return m_root + "done " + std::to_string(i); };
    std::vector<std::function<int()>> processes;
    for (std::size_t i = 0; i < work.size(); ++i)
        processes.push_back([&, i] {
            ZORVA_QSPI_MGR mgr;
            bool done = true;
            for (int round = 0; done && round < rounds; ++round) done = work[i](mgr, round);
            write_file(mark(i), "");
            return done ? 0 : 1;
        });
    processes.push_back([&] {
        const auto is_over = [&] {
            std::size_t over = 0;
            while (over < work.size() && FIO_FILE_SYSTEM::exists(mark(over))) ++over;
            return over == work.size();
        };
        forget();
        while (!is_over()) {
            ZORVA_QSPI_MGR mgr;
            if (!std::ranges::includes(device_names(mgr), known) || !m_messages.empty()) return 1;
        }
        return 0;
    });
    EXPECT_EQ(all_at_once(processes), std::vector<int>(processes.size(), 0));
}

TEST_F(StoreAtOnceTest, ChangesAndLoads) {
    // Each round: two add a device, two delete one out of one file, one moves one out of it.
    constexpr int in_a_file = 10;
    names known{"SHIP_A", "SHIP_B", "SHIP_ISSI"};
    for (int round = 0; round < rounds; round += in_a_file) {
        std::string all;
        for (int i = round; i < round + in_a_file; ++i) {
            all += devices(numbered("A", i) + "|" + numbered("B", i) + "|" + numbered("MOVED", i));
            known.push_back(numbered("MOVED", i));
        }
        write_custom(numbered("pgm_flash_", round) + ".xml", document(all));
    }
    std::ranges::sort(known);
    const auto add = [&](const char* name) {
        return [this, name](ZORVA_MGR& mgr, int i) { return update(mgr, numbered(name, i)); };
    };
    const auto remove = [&](const char* name) {
        return [this, name](ZORVA_MGR& mgr, int i) {
            return mgr.delete_db(numbered(name, i), m_custom_dir);
        };
    };
    all_rounds({add("NEW_1"), add("NEW_2"), remove("A"), remove("B"), add("MOVED")}, known);
    for (int i = 0; i < rounds; ++i)
        for (const char* name : {"NEW_1", "NEW_2"}) known.push_back(numbered(name, i));
    std::ranges::sort(known);
    ZORVA_QSPI_MGR mgr;
    EXPECT_EQ(device_names(mgr), known);
}

}  // namespace
