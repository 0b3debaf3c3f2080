// An operation of a QSPI flow; the only concrete kind of operation.
#pragma once

#include "pgm/zorva/zorva_operation.h"

class ZORVA_QSPI_OPERATION : public ZORVA_OPERATION {
  public:
    // Name and description of the type, no actions. A type outside 0 to 4 is an
    // internal error.
    explicit ZORVA_QSPI_OPERATION(ZORVA_OP_TYPE op);
    // A deep copy: the actions too.
    ZORVA_QSPI_OPERATION(const ZORVA_QSPI_OPERATION& other);
    ZORVA_QSPI_OPERATION& operator=(const ZORVA_QSPI_OPERATION&) = delete;
    ~ZORVA_QSPI_OPERATION() override;

    const std::vector<ZORVA_ACTION*>* get_action_list() override { return &m_action_list; }
    void clear_action_list() override;
    void add_action_into_list(ZORVA_ACTION* action) override;

    // Makes room for so many actions.
    void reserve_actions(std::size_t count) { m_action_list.reserve(count); }
};
