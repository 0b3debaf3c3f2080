// What is known of the QSPI interface: its lists, its parameters, how its documents are read.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

extern const ZORVA_INTERFACE zorva_qspi_interface;

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
    // What is wrong with a text in a file; null where any text is taken, and for a number.
    std::optional<ZORVA_REFUSAL> (*judge)(std::string_view value);
    std::optional<ZORVA_NUMBER_RULE> number = {};  // nothing for a text
};

// All nine parameters; the order is that of their numbers, of the document and of the checks.
std::span<const ZORVA_QSPI_PARAM_ROW> zorva_qspi_params();

// What is wrong with a value; nothing if it is good.
std::optional<ZORVA_REFUSAL> zorva_judge_device_id(std::string_view id);
std::optional<ZORVA_REFUSAL> zorva_judge_number(const ZORVA_NUMBER_RULE& rule, dword value);
