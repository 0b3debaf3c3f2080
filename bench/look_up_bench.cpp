// Look-ups among a hundred thousand devices.
#include "bench/bench.h"
#include "pgm/zorva/zorva_qspi_mgr.h"
#include "services/host.h"

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int device_count = 100000;
constexpr int devices_a_file = 10000;
constexpr const char* io_voltage = "1.8V";

std::string device_name(int number) { return "DEVICE_" + std::to_string(number); }

std::string minimal_device(int number) {
    static const std::string behind_the_name =
        "</DEVICE_NAME><DEVICE_ID>0x20 0xBA 0x19</DEVICE_ID><DEVICE_IO_VOLTAGE>" +
        std::string(io_voltage) +
        "</DEVICE_IO_VOLTAGE><DEVICE_DENSITY>256Mb</DEVICE_DENSITY>"
        "<TOTAL_DEVICE_DIE>1</TOTAL_DEVICE_DIE><DUMMY_CLOCK_CYCLE>8</DUMMY_CLOCK_CYCLE>"
        "<DUMMY_CLOCK_CYCLE_X4>10</DUMMY_CLOCK_CYCLE_X4>"
        "<PROG_FLOW_TEMPLATE>Micron</PROG_FLOW_TEMPLATE></DEVICE_INFO>" +
        empty_flows() + "</FLASH>\n";
    return "<FLASH><DEVICE_INFO><DEVICE_NAME>" + device_name(number) + behind_the_name;
}

// The devices, and that many legacy devices beside them.
struct database {
    installation place;
    std::unique_ptr<ZORVA_QSPI_MGR> mgr;

    explicit database(int legacy_count) {
        std::vector<PGMDEV_SFL_FLASH_INFO> legacy;
        for (int i = 0; i < legacy_count; ++i)
            legacy.push_back(
                {"Group", "LEGACY_" + std::to_string(i), true, static_cast<dword>(i), io_voltage});
        pgm_host::set_flash_table(legacy);
        pgm_host::set_device_table({{DEV_FAMILY_LAST, "Generic", true, false, true, io_voltage}});
        for (int first = 0; first < device_count; first += devices_a_file) {
            std::string devices;
            for (int i = first; i < first + devices_a_file; ++i) devices += minimal_device(i);
            place.add_user_file("pgm_flash_" + std::to_string(first) + ".xml", document(devices));
        }
        place.use();
        mgr = std::make_unique<ZORVA_QSPI_MGR>();
        pgm_host::reset();
    }
};

// All names in an order that no cache foresees.
const std::vector<std::string>& shuffled_names() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> list;
        for (int i = 0; i < device_count; ++i) list.push_back(device_name(i));
        std::shuffle(list.begin(), list.end(), std::mt19937(1));
        return list;
    }();
    return names;
}

// A plain map of the same names, filled in the order in which a load fills its own.
const std::map<std::string, dword>& plain_map() {
    static const std::map<std::string, dword> map = [] {
        std::map<std::string, dword> numbers;
        for (int i = 0; i < device_count; ++i) numbers[device_name(i)] = 0x19BA20;
        return numbers;
    }();
    return map;
}

// The plain map is there before the manager, so that both lie as their own allocations put them.
ZORVA_QSPI_MGR& manager(int legacy_count) {
    plain_map();
    static const database built(legacy_count);
    return *built.mgr;
}

template <class LOOK_UP>
void by_name(benchmark::State& state, LOOK_UP look_up) {
    const std::vector<std::string>& names = shuffled_names();
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(look_up(names[next]));
        if (++next == names.size()) next = 0;
    }
}

void find_in_plain_map(benchmark::State& state) {
    const auto& map = plain_map();
    by_name(state, [&](const std::string& name) { return map.find(name)->second; });
}

void add_get_flash_ratio(int legacy_count) {
    add_ratio(
        "get_flash in 100000, " + std::to_string(legacy_count) +
            " legacy names / find in a std::map",
        2,
        [=](benchmark::State& state) {
            ZORVA_QSPI_MGR& mgr = manager(legacy_count);
            by_name(state, [&](const std::string& name) { return mgr.get_flash(name, false); });
        },
        find_in_plain_map);
}

void get_flash_with_id(benchmark::State& state) {
    ZORVA_QSPI_MGR& mgr = manager(300);
    for (auto _ : state)
        if (mgr.get_flash_with_id(0xFF, 0xFF)) state.SkipWithError("there is no such device");
}

void walk_and_compare(benchmark::State& state) {
    const auto& map = plain_map();
    dword id = 0xFF;
    for (auto _ : state) {
        benchmark::DoNotOptimize(id);
        benchmark::DoNotOptimize(std::ranges::find_if(
            map, [&](const auto& entry) { return ((entry.second ^ id) & 0xFF) == 0; }));
    }
}

// A record of the database and a new one change between two look-ups.
void change_and_look_up(benchmark::State& state) {
    ZORVA_QSPI_MGR& mgr = manager(300);
    by_name(state, [&](const std::string& name) {
        mgr.get_flash(name, true)
            ->set_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE, std::string(io_voltage));
        static ZORVA_FLASH* const fresh = mgr.create_flash("FRESH");
        fresh->set_parameter_value(ZORVA_FLASH_PARAM_ID, std::string("0xC2 0x20 0x18"));
        return mgr.get_flash(name, false);
    });
}

}  // namespace

void add_look_up_ratios() {
    add_get_flash_ratio(300);
    add_get_flash_ratio(30);
    add_ratio("get_flash_with_id, no match in 100000 / walk of a std::map", 2, get_flash_with_id,
              walk_and_compare);
    add_ratio("record changed, then get_flash in 100000 / find in a std::map", 8,
              change_and_look_up, find_in_plain_map);
}
