// What is known of the QSPI interface: its lists, its parameters, how its documents are read and
// written.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"

#include <span>

class ZORVA_QSPI_INTERFACE final : public ZORVA_INTERFACE {
  public:
    explicit constexpr ZORVA_QSPI_INTERFACE(const ZORVA_INTERFACE_FACTS& facts)
        : ZORVA_INTERFACE(facts) {}

    std::unique_ptr<ZORVA_FLASH> read_device(const PGM_COMMON_XML_ELEMENT& flash_element,
                                             std::vector<ZORVA_REFUSAL>& refusals) const override;
    std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> read_flows(
        const PGM_COMMON_XML_ELEMENT& holder, std::vector<ZORVA_REFUSAL>& refusals) const override;
    std::optional<ZORVA_REFUSAL> judge(ZORVA_FLASH_PARAM param,
                                       std::string_view value) const override;
    std::optional<ZORVA_REFUSAL> judge(ZORVA_FLASH_PARAM param, dword value) const override;
    bool is_number(ZORVA_FLASH_PARAM param) const override;
    std::span<const ZORVA_GOLDEN_VENDOR_ROW> golden_vendors() const override;
    bool is_writable(ZORVA_FLASH& flash) const override;
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> template_element(const std::string& name,
                                                             ZORVA_FLASH& flash) const override;
    std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> copy_flows(ZORVA_FLASH& flash) const override;
    void complete_flows(PGM_COMMON_XML_ELEMENT& holder) const override;
};
extern const ZORVA_QSPI_INTERFACE zorva_qspi_interface;

// The good values of a parameter that is a number, and the message for any other value.
struct ZORVA_NUMBER_RULE {
    dword least;
    dword most;
    ZORVA_MESSAGE message;
};

// One parameter of a device, as it stands in a file.
struct ZORVA_QSPI_PARAM_ROW {
    ZORVA_FLASH_PARAM param;
    PGM_COMMON_XML_ENUM tag;  // child of DEVICE_INFO; _INVALID__ if it isn't stored with a device
    std::optional<ZORVA_NUMBER_RULE> number = {};  // nothing for a text
};

// All nine parameters; the order is that of their numbers, of the document and of the checks.
std::span<const ZORVA_QSPI_PARAM_ROW> zorva_qspi_params();
