#include "pgm/zorva/zorva_qspi_operation.h"

#include "pgm/zorva/rules/zorva_operation_table.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/zorva_qspi_action.h"

ZORVA_QSPI_OPERATION::ZORVA_QSPI_OPERATION(ZORVA_OP_TYPE op) {
    const ZORVA_OPERATION_ROW& row = zorva_operation(op);
    m_op_type = op;
    m_name = ZORVA_TEXT(row.name);
    m_description = ZORVA_TEXT(row.description);
}

ZORVA_QSPI_OPERATION::ZORVA_QSPI_OPERATION(const ZORVA_QSPI_OPERATION& other)
    : ZORVA_OPERATION(other) {
    m_action_list.clear();  // the base copied pointers that are the source's
    m_action_list.reserve(other.m_action_list.size());
    for (const ZORVA_ACTION* action : other.m_action_list)
        m_action_list.push_back(
            new ZORVA_QSPI_ACTION(static_cast<const ZORVA_QSPI_ACTION&>(*action)));
}

ZORVA_QSPI_OPERATION::~ZORVA_QSPI_OPERATION() { ZORVA_QSPI_OPERATION::clear_action_list(); }

void ZORVA_QSPI_OPERATION::clear_action_list() {
    for (; !m_action_list.empty(); m_action_list.pop_back()) delete m_action_list.back();
    m_action_list.shrink_to_fit();
}

void ZORVA_QSPI_OPERATION::add_action_into_list(ZORVA_ACTION* action) {
    ZORVA_ASSERT(action);
    m_action_list.push_back(action);
}
