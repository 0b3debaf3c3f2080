// The element classes of the QSPI document. The order of the typed lists isn't document order.
#pragma once

#include "pgm/h/pgm_common_xml_container.h"

#include <string>

#define ZORVA_QSPI_FLOW_LISTS(X)                                                                   \
    X(termination, TERMINATION, EXACTLY_ONE)                                                       \
    X(initialization, INITIALIZATION, EXACTLY_ONE)                                                 \
    X(program, PROGRAM, EXACTLY_ONE)                                                               \
    X(erase, ERASE, EXACTLY_ONE)                                                                   \
    X(verify_blankcheck_examine, VERIFY_BLANKCHECK_EXAMINE, EXACTLY_ONE)

#define ZORVA_QSPI_OPERATION_LISTS(X) X(action, ACTION, ANY_NUMBER)

#define ZORVA_QSPI_PROGRAMMING_FLOW_LISTS(X)                                                       \
    X(sdm, SDM, EXACTLY_ONE)                                                                       \
    X(sfl, SFL, EXACTLY_ONE)

#define ZORVA_QSPI_FLASH_LISTS(X)                                                                  \
    X(device_info, DEVICE_INFO, EXACTLY_ONE)                                                       \
    X(programming_flow, PROGRAMMING_FLOW, EXACTLY_ONE)

#define ZORVA_QSPI_USER_TEMPLATE_LISTS(X)                                                          \
    X(template_name, TEMPLATE_NAME, EXACTLY_ONE)                                                   \
    X(programming_flow, PROGRAMMING_FLOW, EXACTLY_ONE)

#define ZORVA_QSPI_DEVICE_INFO_LISTS(X)                                                            \
    X(total_device_die, TOTAL_DEVICE_DIE, EXACTLY_ONE)                                             \
    X(dummy_clock_cycle_x4, DUMMY_CLOCK_CYCLE_X4, EXACTLY_ONE)                                     \
    X(prog_flow_template, PROG_FLOW_TEMPLATE, EXACTLY_ONE)                                         \
    X(device_name, DEVICE_NAME, EXACTLY_ONE)                                                       \
    X(dummy_clock_cycle, DUMMY_CLOCK_CYCLE, EXACTLY_ONE)                                           \
    X(device_id, DEVICE_ID, EXACTLY_ONE)                                                           \
    X(device_io_voltage, DEVICE_IO_VOLTAGE, EXACTLY_ONE)                                           \
    X(device_density, DEVICE_DENSITY, EXACTLY_ONE)

#define ZORVA_QSPI_ROOT_LISTS(X)                                                                   \
    X(golden_template, GOLDEN_TEMPLATE, NONE_OR_ONE)                                               \
    X(flash, FLASH, ANY_NUMBER)                                                                    \
    X(user_template, USER_TEMPLATE, ANY_NUMBER)

#define ZORVA_QSPI_ACTION_LISTS(X)                                                                 \
    X(expected_data_mask, EXPECTED_DATA_MASK, NONE_OR_ONE)                                         \
    X(expected_data, EXPECTED_DATA, NONE_OR_ONE)                                                   \
    X(name, NAME, NONE_OR_ONE)                                                                     \
    X(data, DATA, NONE_OR_ONE)                                                                     \
    X(data_length, DATA_LENGTH, NONE_OR_ONE)                                                       \
    X(direction, DIRECTION, NONE_OR_ONE)                                                           \
    X(attempt_count, ATTEMPT_COUNT, NONE_OR_ONE)                                                   \
    X(erase_size, ERASE_SIZE, NONE_OR_ONE)                                                         \
    X(delay, DELAY, NONE_OR_ONE)                                                                   \
    X(command, COMMAND, NONE_OR_ONE)                                                               \
    X(page_size, PAGE_SIZE, NONE_OR_ONE)                                                           \
    X(address, ADDRESS, NONE_OR_ONE)                                                               \
    X(addressing_mode, ADDRESSING_MODE, NONE_OR_ONE)                                               \
    X(act_dummy_clock_cycle, ACT_DUMMY_CLOCK_CYCLE, NONE_OR_ONE)                                   \
    X(bus_width, BUS_WIDTH, NONE_OR_ONE)                                                           \
    X(description, DESCRIPTION, NONE_OR_ONE)

// Containers without an attribute: X(tag, lists).
#define ZORVA_QSPI_CONTAINERS(X)                                                                   \
    X(FLASH, ZORVA_QSPI_FLASH_LISTS)                                                               \
    X(USER_TEMPLATE, ZORVA_QSPI_USER_TEMPLATE_LISTS)                                               \
    X(DEVICE_INFO, ZORVA_QSPI_DEVICE_INFO_LISTS)                                                   \
    X(PROGRAMMING_FLOW, ZORVA_QSPI_PROGRAMMING_FLOW_LISTS)                                         \
    X(SFL, ZORVA_QSPI_FLOW_LISTS)                                                                  \
    X(SDM, ZORVA_QSPI_FLOW_LISTS)                                                                  \
    X(INITIALIZATION, ZORVA_QSPI_OPERATION_LISTS)                                                  \
    X(PROGRAM, ZORVA_QSPI_OPERATION_LISTS)                                                         \
    X(ERASE, ZORVA_QSPI_OPERATION_LISTS)                                                           \
    X(VERIFY_BLANKCHECK_EXAMINE, ZORVA_QSPI_OPERATION_LISTS)                                       \
    X(TERMINATION, ZORVA_QSPI_OPERATION_LISTS)

// Elements with a value and no attribute: X(tag, value, presence).
#define ZORVA_QSPI_LEAVES(X)                                                                       \
    X(DEVICE_NAME, std::string, REQUIRED)                                                          \
    X(DEVICE_ID, std::string, REQUIRED)                                                            \
    X(DEVICE_IO_VOLTAGE, std::string, REQUIRED)                                                    \
    X(DEVICE_DENSITY, std::string, REQUIRED)                                                       \
    X(TOTAL_DEVICE_DIE, dword, REQUIRED)                                                           \
    X(DUMMY_CLOCK_CYCLE, dword, REQUIRED)                                                          \
    X(DUMMY_CLOCK_CYCLE_X4, dword, REQUIRED)                                                       \
    X(PROG_FLOW_TEMPLATE, std::string, REQUIRED)                                                   \
    X(TEMPLATE_NAME, std::string, REQUIRED)                                                        \
    X(NAME, std::string, REQUIRED)                                                                 \
    X(COMMAND, std::string, REQUIRED)                                                              \
    X(DATA, std::string, MAY_BE_EMPTY)                                                             \
    X(DATA_LENGTH, std::string, REQUIRED)                                                          \
    X(EXPECTED_DATA, std::string, MAY_BE_EMPTY)                                                    \
    X(EXPECTED_DATA_MASK, std::string, MAY_BE_EMPTY)                                               \
    X(ATTEMPT_COUNT, dword, REQUIRED)                                                              \
    X(ADDRESS, std::string, REQUIRED)                                                              \
    X(ADDRESSING_MODE, dword, REQUIRED)                                                            \
    X(PAGE_SIZE, dword, REQUIRED)                                                                  \
    X(ERASE_SIZE, dword, REQUIRED)                                                                 \
    X(ACT_DUMMY_CLOCK_CYCLE, dword, REQUIRED)                                                      \
    X(BUS_WIDTH, std::string, REQUIRED)                                                            \
    X(DESCRIPTION, std::string, REQUIRED)                                                          \
    X(DIRECTION, std::string, REQUIRED)

#define ZORVA_QSPI_CONTAINER_CLASS(TAG, LISTS)                                                     \
    PGM_COMMON_XML_CONTAINER_CLASS(PGM_COMMON_XML_ZORVA_QSPI_##TAG, TAG, LISTS)
ZORVA_QSPI_CONTAINERS(ZORVA_QSPI_CONTAINER_CLASS)
#undef ZORVA_QSPI_CONTAINER_CLASS

#define ZORVA_QSPI_LEAF_CLASS(TAG, VALUE, EXIST)                                                   \
    PGM_COMMON_XML_LEAF_CLASS(PGM_COMMON_XML_ZORVA_QSPI_##TAG, TAG, VALUE, EXIST)
ZORVA_QSPI_LEAVES(ZORVA_QSPI_LEAF_CLASS)
#undef ZORVA_QSPI_LEAF_CLASS

class PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH,
                                      PGM_COMMON_XML_ENUM_QSPI_FLASH> {
  public:
    explicit PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH(PGM_COMMON_XML_ENUM sub_class_type)
        : PGM_COMMON_XML_CONTAINER(sub_class_type) {
        add_attribute({"version", PGM_XML_TYPE_NUMBER, PGM_XML_EXIST_REQUIRED, "1", "", &version});
        init_check();
    }
    PGM_COMMON_XML_LISTS(ZORVA_QSPI_ROOT_LISTS)
    dword version{};
};

class PGM_COMMON_XML_ZORVA_QSPI_ACTION final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_ACTION,
                                      PGM_COMMON_XML_ENUM_ACTION> {
  public:
    explicit PGM_COMMON_XML_ZORVA_QSPI_ACTION(PGM_COMMON_XML_ENUM sub_class_type)
        : PGM_COMMON_XML_CONTAINER(sub_class_type) {
        add_attribute({"type", PGM_XML_TYPE_ENUM, PGM_XML_EXIST_REQUIRED, "_INVALID__",
                       "WRITE_REG|READ_REG|WRITE_DATA|READ_DATA|ERASE|CUSTOM", &type});
        init_check();
    }
    PGM_COMMON_XML_LISTS(ZORVA_QSPI_ACTION_LISTS)
    PGM_COMMON_XML_ENUM type{};
};

class PGM_COMMON_XML_ZORVA_QSPI_DELAY final : public PGM_COMMON_XML_VALUED {
  public:
    explicit PGM_COMMON_XML_ZORVA_QSPI_DELAY(PGM_COMMON_XML_ENUM sub_class_type)
        : PGM_COMMON_XML_VALUED(PGM_COMMON_XML_ENUM_DELAY, sub_class_type, PGM_XML_TYPE_NUMBER,
                                PGM_XML_EXIST_REQUIRED, "0", "", &value) {
        add_attribute({"unit", PGM_XML_TYPE_TEXT, PGM_XML_EXIST_REQUIRED, "us", "", &unit});
        init_check();
    }
    std::string unit;
    dword value{};  // microseconds
};

// GOLDEN_TEMPLATE and the five vendors below it. They are only read, by get_childs.
class PGM_COMMON_XML_ZORVA_QSPI_GOLDEN final : public PGM_COMMON_XML_ELEMENT {
  public:
    explicit PGM_COMMON_XML_ZORVA_QSPI_GOLDEN(PGM_COMMON_XML_ENUM sub_class_type);
    bool check_child_count() override;
    void group_child(PGM_COMMON_XML_ELEMENT* child, bool remove, bool at_end) override;
    bool can_hold(PGM_COMMON_XML_ENUM tag) const override;
};
