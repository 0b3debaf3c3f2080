#include "pgm/zorva/qspi/zorva_qspi_interface.h"

#include "pgm/zorva/load/zorva_xml_file.h"
#include "pgm/zorva/rules/zorva_data_list.h"
#include "pgm/zorva/rules/zorva_table.h"

#include <iterator>

namespace {

constexpr PGMIO_CONFIG_SCHEME config_modes[] = {PGMIO_CONFIG_SCHEME_QSPI,
                                                PGMIO_CONFIG_SCHEME_QSPI_SDM};
constexpr const char* io_voltages[] = {"1.8V", "3.0V/3.3V"};
constexpr const char* densities[] = {"1Mb",  "2Mb",   "4Mb",   "8Mb",   "16Mb",   "32Mb",
                                     "64Mb", "128Mb", "256Mb", "512Mb", "1024Mb", "2048Mb"};

constexpr ZORVA_NUMBER_RULE dies{1, ~dword{0}, ZORVA_MESSAGE::INVALID_TOTAL_DEVICE_DIE};
constexpr ZORVA_NUMBER_RULE dummy_cycles{0, 15, ZORVA_MESSAGE::INVALID_DEVICE_DUMMY_CLOCK_CYCLE};

constexpr ZORVA_QSPI_PARAM_ROW param_table[] = {
    {ZORVA_FLASH_PARAM_NAME, PGM_COMMON_XML_ENUM_DEVICE_NAME},
    {ZORVA_FLASH_PARAM_ID, PGM_COMMON_XML_ENUM_DEVICE_ID},
    {ZORVA_FLASH_PARAM_IO_VOLTAGE, PGM_COMMON_XML_ENUM_DEVICE_IO_VOLTAGE},
    {ZORVA_FLASH_PARAM_DENSITY, PGM_COMMON_XML_ENUM_DEVICE_DENSITY},
    {ZORVA_FLASH_PARAM_TOTAL_DIE, PGM_COMMON_XML_ENUM_TOTAL_DEVICE_DIE, dies},
    {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, PGM_COMMON_XML_ENUM_DUMMY_CLOCK_CYCLE, dummy_cycles},
    {ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, PGM_COMMON_XML_ENUM_DUMMY_CLOCK_CYCLE_X4, dummy_cycles},
    {ZORVA_FLASH_PARAM_TEMPLATE_NAME, PGM_COMMON_XML_ENUM__INVALID__},
    {ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, PGM_COMMON_XML_ENUM_PROG_FLOW_TEMPLATE},
};
static_assert(std::size(param_table) == ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE + 1);
static_assert(zorva_rows_stand_in_order(param_table, &ZORVA_QSPI_PARAM_ROW::param));

}  // namespace

constinit const ZORVA_QSPI_INTERFACE zorva_qspi_interface({
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
});

std::span<const ZORVA_QSPI_PARAM_ROW> zorva_qspi_params() { return param_table; }

namespace {

std::optional<ZORVA_REFUSAL> judge_device_id(std::string_view id) {
    if (zorva_data_list_length(id)) return {};
    return ZORVA_REFUSAL{
        ZORVA_MESSAGE::INVALID_DEVICE_ID_WITH_EMPTY_STRING_OR_SPECIAL_CHAR, std::string(id), {}};
}

}  // namespace

// A name and a flow template are taken from a file as they are: only what a user enters for a new
// device is held against the names that exist.
std::optional<ZORVA_REFUSAL> ZORVA_QSPI_INTERFACE::judge(ZORVA_FLASH_PARAM param,
                                                         std::string_view value) const {
    if (param == ZORVA_FLASH_PARAM_ID) return judge_device_id(value);
    return ZORVA_INTERFACE::judge(param, value);
}

std::optional<ZORVA_REFUSAL> ZORVA_QSPI_INTERFACE::judge(ZORVA_FLASH_PARAM param,
                                                         dword value) const {
    const std::optional<ZORVA_NUMBER_RULE>& rule =
        param_table[static_cast<std::size_t>(param)].number;
    if (!rule || (rule->least <= value && value <= rule->most)) return {};
    return ZORVA_REFUSAL{rule->message, value, {}};
}

bool ZORVA_QSPI_INTERFACE::is_number(ZORVA_FLASH_PARAM param) const {
    return param_table[static_cast<std::size_t>(param)].number.has_value();
}

std::span<const ZORVA_GOLDEN_VENDOR_ROW> ZORVA_QSPI_INTERFACE::golden_vendors() const {
    return zorva_golden_vendors();
}
