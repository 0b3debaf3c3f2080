#include "pgm/zorva/load/zorva_interface.h"

std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> ZORVA_INTERFACE::read_flows(
    const PGM_COMMON_XML_ELEMENT&, std::vector<ZORVA_REFUSAL>&) const {
    return std::make_unique<ZORVA_USER_FLASH_TEMPLATE>();
}

std::unique_ptr<PGM_COMMON_XML_ELEMENT> ZORVA_INTERFACE::template_element(const std::string&,
                                                                          ZORVA_FLASH&) const {
    return nullptr;
}

std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> ZORVA_INTERFACE::copy_flows(ZORVA_FLASH&) const {
    return std::make_unique<ZORVA_USER_FLASH_TEMPLATE>();
}

std::optional<ZORVA_REFUSAL> ZORVA_INTERFACE::judge(ZORVA_FLASH_PARAM param,
                                                    std::string_view value) const {
    if (param == ZORVA_FLASH_PARAM_DENSITY)
        return zorva_judge_offered(value, densities, ZORVA_MESSAGE::INVALID_DEVICE_DENSITY);
    if (param == ZORVA_FLASH_PARAM_IO_VOLTAGE)
        return zorva_judge_offered(value, io_voltages, ZORVA_MESSAGE::INVALID_IO_VOLTAGE);
    return {};
}

bool zorva_passes(const std::optional<ZORVA_REFUSAL>& refusal, std::string* err_msg) {
    if (refusal && err_msg) {
        zorva_post(*refusal);
        *err_msg = zorva_sentence(*refusal);
    }
    return !refusal;
}
