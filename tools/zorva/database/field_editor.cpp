#include "tools/zorva/database/field_editor.h"

#include "pgm/zorva/zorva_qspi_mgr.h"
#include "services/pgm_common.h"
#include "tools/zorva/database/interface.h"
#include "tools/zorva/database/record.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace zorva_tool {

namespace {

void check(const ZORVA_MGR& manager, ZORVA_FLASH_PARAM param, const auto& value) {
    if (const auto finding = manager.judge_parameter(param, value))
        throw refusal(finding->sentence, finding->id);
}

// The one of the known spellings that means the same as a value; else the value, for the library to
// judge.
std::string known_spelling(const std::string& value, const std::vector<std::string>& known,
                           bool (*is_same)(const std::string& known, const std::string& value)) {
    if (std::ranges::find(known, value) != known.end()) return value;
    std::vector<std::string> same;
    std::ranges::copy_if(known, std::back_inserter(same),
                         [&](const std::string& each) { return is_same(each, value); });
    return same.size() == 1 ? same.front() : value;
}

bool is_same_density(const std::string& known, const std::string& value) {
    const auto bytes = parse_density(value);
    return bytes && parse_density(known) == bytes;
}

bool is_same_voltage(const std::string& known, const std::string& value) {
    return is_voltage(known, value);
}

std::string store_text(ZORVA_MGR& manager, ZORVA_FLASH& flash, ZORVA_FLASH_PARAM param,
                       const std::string& value) {
    check_value(manager, param, value);
    flash.set_parameter_value(param, value);
    return {};
}

std::string store_voltage(ZORVA_MGR& manager, ZORVA_FLASH& flash, ZORVA_FLASH_PARAM param,
                          const std::string& value) {
    return store_text(
        manager, flash, param,
        known_spelling(value, manager.get_device_io_voltage_list(), &is_same_voltage));
}

std::string store_density(ZORVA_MGR& manager, ZORVA_FLASH& flash, ZORVA_FLASH_PARAM param,
                          const std::string& value) {
    const std::string density =
        known_spelling(value, manager.get_device_density_list(), &is_same_density);
    check_value(manager, param, density);
    flash.set_density(density);
    return {};
}

// Decimal, or hexadecimal behind "0x": in the numbers of actions a leading 0 means octal.
std::string store_number(ZORVA_MGR& manager, ZORVA_FLASH& flash, ZORVA_FLASH_PARAM param,
                         const std::string& value) {
    bool is_number = !value.empty();
    const dword number =
        PGM_COMMON::convert_string_to_dword(value, false, &is_number, nullptr, false);
    if (value.empty() || !is_number)
        throw refusal(fmt::format("'{}' is no number.", shortened(value)));
    check(manager, param, number);
    flash.set_parameter_value(param, number);
    const bool may_mislead = value.starts_with('0') && !value.starts_with("0x") && number > 7;
    return may_mislead ? fmt::format("'{}' is read as decimal: {}.", value, number) : "";
}

std::string store_template(ZORVA_MGR& manager, ZORVA_FLASH& flash, ZORVA_FLASH_PARAM param,
                           const std::string& value) {
    // The library takes the template that the record under definition names, known or not.
    flash.set_parameter_value(param, std::string());
    check_value(manager, param, value);
    flash.set_parameter_value(param, value);
    copy_template_flows(manager, flash, value);
    return {};
}

std::string id_bytes(ZORVA_MGR&, ZORVA_FLASH_PARAM) {
    return "bytes as the device answers them: 0x20 0xBA 0x18";
}

std::string densities(ZORVA_MGR& manager, ZORVA_FLASH_PARAM) {
    return joined(manager.get_device_density_list());
}

std::string voltages(ZORVA_MGR& manager, ZORVA_FLASH_PARAM) {
    return joined(manager.get_device_io_voltage_list(), " or ");
}

std::string templates(ZORVA_MGR& manager, ZORVA_FLASH_PARAM) {
    return joined(manager.get_prog_flow_template_list());
}

std::string numbers(ZORVA_MGR&, ZORVA_FLASH_PARAM param) {
    const auto range = ZORVA_QSPI_MGR::get_parameter_range(param);
    return range->most == ~dword{0} ? fmt::format("{} or more", range->least)
                                    : fmt::format("{} to {}", range->least, range->most);
}

}  // namespace

void check_value(ZORVA_MGR& manager, ZORVA_FLASH_PARAM param, const std::string& value) {
    check(manager, param, value);
}

std::string field_editor::set(ZORVA_MGR& manager, ZORVA_FLASH& flash,
                              const std::string& value) const {
    if (!is_known_to(manager)) throw lacks_field(interface_of(manager.get_flash_family()));
    return store(manager, flash, param, value);
}

const field_editor id_editor = {ZORVA_FLASH_PARAM_ID, store_text, id_bytes};
const field_editor density_editor = {ZORVA_FLASH_PARAM_DENSITY, store_density, densities};
const field_editor voltage_editor = {ZORVA_FLASH_PARAM_IO_VOLTAGE, store_voltage, voltages};
const field_editor dies_editor = {ZORVA_FLASH_PARAM_TOTAL_DIE, store_number, numbers};
const field_editor dummy_editor = {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, store_number, numbers};
const field_editor dummy_x4_editor = {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, store_number, numbers};
const field_editor template_editor = {ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, store_template,
                                      templates};

}  // namespace zorva_tool
