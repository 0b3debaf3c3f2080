#include "tools/zorva/field_editor.h"

#include "services/host.h"
#include "services/pgm_common.h"
#include "tools/zorva/interface.h"
#include "tools/zorva/record.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

namespace zorva_tool {

namespace {

void suppress_messages(bool suppressed) {
    for (const ZORVA_MESSAGE_INFO& info : ZORVA_MGR::get_message_list())
        pgm_host::suppress_message(info.id, suppressed);
}

void store_text(ZORVA_MGR& manager, ZORVA_FLASH& flash, ZORVA_FLASH_PARAM param,
                const std::string& value) {
    check_value(manager, param, value);
    flash.set_parameter_value(param, value);
}

void store_density(ZORVA_MGR& manager, ZORVA_FLASH& flash, ZORVA_FLASH_PARAM param,
                   const std::string& value) {
    check_value(manager, param, value);
    flash.set_density(value);
}

void store_number(ZORVA_MGR& manager, ZORVA_FLASH& flash, ZORVA_FLASH_PARAM param,
                  const std::string& value) {
    bool is_number = !value.empty();
    const dword number =
        PGM_COMMON::convert_string_to_dword(value, false, &is_number, nullptr, false);
    if (value.empty() || !is_number) throw refusal(fmt::format("'{}' is no number.", value));
    const quiet quiet;
    std::string sentence;
    if (!manager.is_parameter_valid(param, number, &sentence)) throw refusal(sentence);
    flash.set_parameter_value(param, number);
}

void store_template(ZORVA_MGR& manager, ZORVA_FLASH& flash, ZORVA_FLASH_PARAM param,
                    const std::string& value) {
    // The library takes the template that the record under definition names, known or not.
    flash.set_parameter_value(param, std::string());
    check_value(manager, param, value);
    flash.set_parameter_value(param, value);
    copy_template_flows(manager, flash, value);
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

// The library tells of a number whether it is good, and not up to where.
std::string numbers(ZORVA_MGR& manager, ZORVA_FLASH_PARAM param) {
    constexpr dword most_tried = 256;
    const auto is_good = [&](dword number) {
        return manager.is_parameter_valid(param, number, nullptr);
    };
    const dword least = is_good(0) ? 0 : 1;
    dword beyond = least;
    while (beyond < most_tried && is_good(beyond)) ++beyond;
    return beyond == most_tried ? fmt::format("{} or more", least)
                                : fmt::format("{} to {}", least, beyond - 1);
}

}  // namespace

quiet::quiet() { suppress_messages(true); }
quiet::~quiet() { suppress_messages(false); }

void check_value(ZORVA_MGR& manager, ZORVA_FLASH_PARAM param, const std::string& value) {
    const quiet quiet;
    std::string sentence;
    if (!manager.is_parameter_valid(param, value, &sentence)) throw refusal(sentence);
}

void field_editor::set(ZORVA_MGR& manager, ZORVA_FLASH& flash, const std::string& value) const {
    if (!is_known_to(manager)) throw lacks_field(interface_of(manager.get_flash_family()));
    store(manager, flash, param, value);
}

const field_editor id_editor = {ZORVA_FLASH_PARAM_ID, store_text, id_bytes};
const field_editor density_editor = {ZORVA_FLASH_PARAM_DENSITY, store_density, densities};
const field_editor voltage_editor = {ZORVA_FLASH_PARAM_IO_VOLTAGE, store_text, voltages};
const field_editor dies_editor = {ZORVA_FLASH_PARAM_TOTAL_DIE, store_number, numbers};
const field_editor dummy_editor = {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, store_number, numbers};
const field_editor dummy_x4_editor = {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, store_number, numbers};
const field_editor template_editor = {ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, store_template,
                                      templates};

}  // namespace zorva_tool
