// One of the five operations of a programming flow: an ordered list of actions.
#pragma once

#include "pgm/zorva/zorva_action.h"
#include "pgm/zorva/zorva_text.h"

#include <cstddef>
#include <string>
#include <vector>

// The programming path that a flow belongs to.
enum ZORVA_PROG_FLOW_TYPE : int { ZORVA_PROG_FLOW_TYPE_SFL = 0, ZORVA_PROG_FLOW_TYPE_SDM = 1 };

// The golden programming flow templates; the value is the place of the name in
// ZORVA_MGR::get_prog_flow_template_list.
enum ZORVA_PROG_FLOW_TEMPLATE : int {
    ZORVA_PROG_FLOW_TEMPLATE_MICRON = 0,
    ZORVA_PROG_FLOW_TEMPLATE_MACRONIX = 1,
    ZORVA_PROG_FLOW_TEMPLATE_CYPRESS = 2,
    ZORVA_PROG_FLOW_TEMPLATE_WINBOND = 3,
    ZORVA_PROG_FLOW_TEMPLATE_ISSI = 4,
};
inline constexpr std::size_t ZORVA_PROG_FLOW_TEMPLATE_COUNT = ZORVA_PROG_FLOW_TEMPLATE_ISSI + 1;

// The operations of a flow, in the order in which it lists them.
enum ZORVA_OP_TYPE : int {
    ZORVA_OP_TYPE_INITIALIZATION = 0,
    ZORVA_OP_TYPE_PROGRAM = 1,
    ZORVA_OP_TYPE_ERASE = 2,
    ZORVA_OP_TYPE_VERIFY_BLANKCHECK_EXAMINE = 3,
    ZORVA_OP_TYPE_TERMINATION = 4,
};

class ZORVA_OPERATION {
  public:
    ZORVA_OPERATION() = default;
    virtual ~ZORVA_OPERATION();
    ZORVA_OPERATION& operator=(const ZORVA_OPERATION&) = delete;

    // The actions in the order in which they run; never null, stays the operation's.
    virtual const std::vector<ZORVA_ACTION*>* get_action_list() = 0;
    // Deletes all actions, from the last to the first.
    virtual void clear_action_list() = 0;
    // Appends an action, which the operation owns from then on. Null is an internal error.
    virtual void add_action_into_list(ZORVA_ACTION* action) = 0;

    std::string get_name() const;
    void set_name(std::string name);
    std::string get_operation_description() const;
    ZORVA_OP_TYPE get_operation_type() const { return m_op_type; }

  protected:
    ZORVA_OPERATION(const ZORVA_OPERATION&) = default;

    ZORVA_TEXT m_name;
    ZORVA_TEXT m_description;
    ZORVA_OP_TYPE m_op_type = ZORVA_OP_TYPE_INITIALIZATION;
    std::vector<ZORVA_ACTION*> m_action_list;  // owned by the concrete class
};
