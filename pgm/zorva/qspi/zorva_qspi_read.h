// From elements of a QSPI document to device records and flows.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

// As ZORVA_INTERFACE::read_device and read_flows tell.
std::unique_ptr<ZORVA_FLASH> zorva_read_qspi_device(const PGM_COMMON_XML_ELEMENT& flash_element,
                                                    std::vector<ZORVA_REFUSAL>& refusals);
std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> zorva_read_qspi_flows(
    const PGM_COMMON_XML_ELEMENT& holder, std::vector<ZORVA_REFUSAL>& refusals);

// A description as it stands in a file, with each backslash and "n" turned into a line feed.
std::string zorva_unescape_description(std::string_view text);
