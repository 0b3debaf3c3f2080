#include "pgm/zorva/rules/zorva_operation_table.h"

#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/rules/zorva_table.h"

#include <algorithm>

namespace {

constexpr ZORVA_OPERATION_ROW operation_table[] = {
    {ZORVA_OP_TYPE_INITIALIZATION, PGM_COMMON_XML_ENUM_INITIALIZATION, "Initialization",
     "The Programmer engine performs the Initialization operation at the beginning of the Program, "
     "Erase, Verify, Blank-Check, or Examine operation during .jic file programming."},
    {ZORVA_OP_TYPE_PROGRAM, PGM_COMMON_XML_ENUM_PROGRAM, "Program",
     "The Programmer engine performs the Program operation when the Program option is enabled in "
     "the Programmer tool for .jic file programming."},
    {ZORVA_OP_TYPE_ERASE, PGM_COMMON_XML_ENUM_ERASE, "Erase",
     "The Programmer engine performs the Erase operation when the Erase option is enabled in the "
     "Programmer tool for .jic file programming. The Programmer engine uses all erase actions "
     "specified between \u201cErase data\u201d and \u201cEnd of data?\u201d to decide the optimal "
     "way of erasing the data."},
    {ZORVA_OP_TYPE_VERIFY_BLANKCHECK_EXAMINE, PGM_COMMON_XML_ENUM_VERIFY_BLANKCHECK_EXAMINE,
     "Verify/Blank-Check/Examine",
     "The Programmer engine performs the Verify/Blank-Check/Examine operation when the "
     "Verify/Blank-Check/Examine option is enabled in the Programmer tool for .jic file "
     "programming."},
    {ZORVA_OP_TYPE_TERMINATION, PGM_COMMON_XML_ENUM_TERMINATION, "Termination",
     "The Programmer engine performs the Termination operation at the end of the Program, Erase, "
     "Verify, Blank-Check, or Examine operation during .jic file programming."},
};

constexpr ZORVA_GOLDEN_VENDOR_ROW golden_vendor_table[] = {
    {ZORVA_PROG_FLOW_TEMPLATE_MICRON, PGM_COMMON_XML_ENUM_MICRON, "Micron"},
    {ZORVA_PROG_FLOW_TEMPLATE_MACRONIX, PGM_COMMON_XML_ENUM_MACRONIX, "Macronix"},
    {ZORVA_PROG_FLOW_TEMPLATE_CYPRESS, PGM_COMMON_XML_ENUM_CYPRESS, "Cypress"},
    {ZORVA_PROG_FLOW_TEMPLATE_WINBOND, PGM_COMMON_XML_ENUM_WINBOND, "Winbond"},
    {ZORVA_PROG_FLOW_TEMPLATE_ISSI, PGM_COMMON_XML_ENUM_ISSI, "Issi"},
};

static_assert(std::size(operation_table) == ZORVA_OP_TYPE_TERMINATION + 1);
static_assert(zorva_rows_stand_in_order(operation_table, &ZORVA_OPERATION_ROW::type));
static_assert(std::size(golden_vendor_table) == ZORVA_PROG_FLOW_TEMPLATE_COUNT);
static_assert(zorva_rows_stand_in_order(golden_vendor_table, &ZORVA_GOLDEN_VENDOR_ROW::number));

}  // namespace

std::span<const ZORVA_OPERATION_ROW> zorva_operations() { return operation_table; }
std::span<const ZORVA_GOLDEN_VENDOR_ROW> zorva_golden_vendors() { return golden_vendor_table; }

const ZORVA_OPERATION_ROW& zorva_operation(ZORVA_OP_TYPE type) {
    const auto row = std::ranges::find(operation_table, type, &ZORVA_OPERATION_ROW::type);
    if (row == std::end(operation_table)) ZORVA_FAIL("Unknown operation type");
    return *row;
}

bool zorva_is_golden_vendor(std::string_view name) {
    return std::ranges::any_of(golden_vendor_table,
                               [&](const auto& row) { return row.name == name; });
}
