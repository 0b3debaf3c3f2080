// From flows to elements of a QSPI document, driven by the tables that drive the reading.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// As ZORVA_INTERFACE::is_writable and complete_flows tell.
bool zorva_qspi_flows_are_writable(ZORVA_FLASH& flash);
void zorva_complete_qspi_flows(PGM_COMMON_XML_ELEMENT& holder);

// The element PROGRAMMING_FLOW of two flows. A bad value is an internal error.
std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_create_xml_programming_flow(
    const std::vector<ZORVA_OPERATION*>& sfl, const std::vector<ZORVA_OPERATION*>& sdm);

// A new element USER_TEMPLATE, of two flows or of those of a record.
std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_create_xml_user_template(
    const std::string& name, const std::vector<ZORVA_OPERATION*>& sfl,
    const std::vector<ZORVA_OPERATION*>& sdm);
std::unique_ptr<PGM_COMMON_XML_ELEMENT> zorva_create_xml_user_template(const std::string& name,
                                                                       ZORVA_FLASH& flash);
// The flows of a record, in objects of their own.
std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> zorva_copy_qspi_flows(ZORVA_FLASH& flash);

// A number property as it is written: "0x10" is 16, and a leading 0 means octal, so "010" is 8.
// Nothing for one that doesn't fit 32 bits.
std::optional<dword> zorva_number_to_write(const std::string& value);
// A description as it is written: line feeds but the last character become a backslash and "n".
std::string zorva_escape_description(std::string_view description);
