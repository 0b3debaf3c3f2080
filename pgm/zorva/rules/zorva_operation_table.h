// What is known of the five operations and the five golden vendors: one row each.
#pragma once

#include "pgm/h/pgm_common_xml_enum.h"
#include "pgm/zorva/zorva_operation.h"

#include <span>
#include <string_view>

struct ZORVA_OPERATION_ROW {
    ZORVA_OP_TYPE type;
    PGM_COMMON_XML_ENUM tag;
    const char* name;
    const char* description;
};

struct ZORVA_GOLDEN_VENDOR_ROW {
    ZORVA_PROG_FLOW_TEMPLATE number;
    PGM_COMMON_XML_ENUM tag;
    const char* name;  // reserved: neither a device nor a user template may have it
};

// Both in the order of their numbers.
std::span<const ZORVA_OPERATION_ROW> zorva_operations();
std::span<const ZORVA_GOLDEN_VENDOR_ROW> zorva_golden_vendors();

// One of them; any other number is an internal error.
const ZORVA_OPERATION_ROW& zorva_operation(ZORVA_OP_TYPE type);

// True for the five names, case included.
bool zorva_is_golden_vendor(std::string_view name);
