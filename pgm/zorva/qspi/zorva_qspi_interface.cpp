#include "pgm/zorva/qspi/zorva_qspi_interface.h"

#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/qspi/zorva_qspi_read.h"
#include "pgm/zorva/qspi/zorva_qspi_write.h"
#include "pgm/zorva/rules/zorva_data_list.h"
#include "pgm/zorva/rules/zorva_table.h"

#include <iterator>

namespace {

constexpr PGMIO_CONFIG_SCHEME config_modes[] = {PGMIO_CONFIG_SCHEME_QSPI,
                                                PGMIO_CONFIG_SCHEME_QSPI_SDM};
constexpr const char* io_voltages[] = {"1.8V", "3.0V/3.3V"};
constexpr const char* densities[] = {"1Mb",  "2Mb",   "4Mb",   "8Mb",   "16Mb",   "32Mb",
                                     "64Mb", "128Mb", "256Mb", "512Mb", "1024Mb", "2048Mb"};

std::optional<ZORVA_REFUSAL> judge_io_voltage(std::string_view value) {
    return zorva_judge_io_voltage(zorva_qspi_interface, value);
}
std::optional<ZORVA_REFUSAL> judge_density(std::string_view value) {
    return zorva_judge_density(zorva_qspi_interface, value);
}
constexpr ZORVA_NUMBER_RULE dies{1, ~dword{0}, ZORVA_MESSAGE::INVALID_TOTAL_DEVICE_DIE};
constexpr ZORVA_NUMBER_RULE dummy_cycles{0, 15, ZORVA_MESSAGE::INVALID_DEVICE_DUMMY_CLOCK_CYCLE};

// A name and a flow template are taken from a file as they are: only what a user enters for a new
// device is held against the names that exist.
constexpr ZORVA_QSPI_PARAM_ROW param_table[] = {
    {ZORVA_FLASH_PARAM_NAME, PGM_COMMON_XML_ENUM_DEVICE_NAME, nullptr},
    {ZORVA_FLASH_PARAM_ID, PGM_COMMON_XML_ENUM_DEVICE_ID, zorva_judge_device_id},
    {ZORVA_FLASH_PARAM_IO_VOLTAGE, PGM_COMMON_XML_ENUM_DEVICE_IO_VOLTAGE, judge_io_voltage},
    {ZORVA_FLASH_PARAM_DENSITY, PGM_COMMON_XML_ENUM_DEVICE_DENSITY, judge_density},
    {ZORVA_FLASH_PARAM_TOTAL_DIE, PGM_COMMON_XML_ENUM_TOTAL_DEVICE_DIE, nullptr, dies},
    {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, PGM_COMMON_XML_ENUM_DUMMY_CLOCK_CYCLE, nullptr,
     dummy_cycles},
    {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, PGM_COMMON_XML_ENUM_DUMMY_CLOCK_CYCLE_X4, nullptr,
     dummy_cycles},
    {ZORVA_FLASH_PARAM_TEMPLATE_NAME, PGM_COMMON_XML_ENUM__INVALID__, nullptr},
    {ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, PGM_COMMON_XML_ENUM_PROG_FLOW_TEMPLATE, nullptr},
};
static_assert(std::size(param_table) == ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE + 1);
static_assert(zorva_rows_stand_in_order(param_table, &ZORVA_QSPI_PARAM_ROW::param));

}  // namespace

const ZORVA_INTERFACE zorva_qspi_interface = {
    .flash_family = DEV_FAMILY_QSPI_FLASH,
    .default_device_family = DEV_FAMILY_LAST,
    .default_config_mode = PGMIO_CONFIG_SCHEME_QSPI_SDM,
    .default_use_sdm_mode = false,
    .config_modes = config_modes,
    .io_voltages = io_voltages,
    .densities = densities,
    .document = PGM_COMMON_XML_FILE_QSPI,
    .golden_file = ZORVA_QSPI_SHIPPED_FILE,
    .xsd_file = "zorva_qspi.xsd",
    .read_device = zorva_read_qspi_device,
    .read_flows = zorva_read_qspi_flows,
    .is_writable = zorva_qspi_flows_are_writable,
    .template_element = zorva_create_xml_user_template,
    .copy_flows = zorva_copy_qspi_flows,
    .complete_flows = zorva_complete_qspi_flows,
};

std::span<const ZORVA_QSPI_PARAM_ROW> zorva_qspi_params() { return param_table; }

std::optional<ZORVA_REFUSAL> zorva_judge_device_id(std::string_view id) {
    if (zorva_data_list_length(id)) return {};
    return ZORVA_REFUSAL{
        ZORVA_MESSAGE::INVALID_DEVICE_ID_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, std::string(id), {}};
}

std::optional<ZORVA_REFUSAL> zorva_judge_number(const ZORVA_NUMBER_RULE& rule, dword value) {
    if (rule.least <= value && value <= rule.most) return {};
    return ZORVA_REFUSAL{rule.message, value, {}};
}
