// The element classes of the QSPI document, children ahead of their parents. The order of the
// typed lists isn't document order.
#pragma once

#include "pgm/h/pgm_common_xml_description.h"

#include <array>
#include <string>

class PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH;

template <PGM_COMMON_XML_ENUM TAG, PGM_XML_EXIST EXIST = PGM_XML_EXIST_REQUIRED>
using ZORVA_QSPI_TEXT =
    PGM_COMMON_XML_LEAF<PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH, TAG, std::string, EXIST>;
template <PGM_COMMON_XML_ENUM TAG>
using ZORVA_QSPI_NUMBER =
    PGM_COMMON_XML_LEAF<PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH, TAG, dword, PGM_XML_EXIST_REQUIRED>;

// clang-format off
// Of a device or a template.
using PGM_COMMON_XML_ZORVA_QSPI_DEVICE_NAME           = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_DEVICE_NAME>;
using PGM_COMMON_XML_ZORVA_QSPI_DEVICE_ID             = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_DEVICE_ID>;
using PGM_COMMON_XML_ZORVA_QSPI_DEVICE_IO_VOLTAGE     = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_DEVICE_IO_VOLTAGE>;
using PGM_COMMON_XML_ZORVA_QSPI_DEVICE_DENSITY        = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_DEVICE_DENSITY>;
using PGM_COMMON_XML_ZORVA_QSPI_TOTAL_DEVICE_DIE      = ZORVA_QSPI_NUMBER<PGM_COMMON_XML_ENUM_TOTAL_DEVICE_DIE>;
using PGM_COMMON_XML_ZORVA_QSPI_DUMMY_CLOCK_CYCLE     = ZORVA_QSPI_NUMBER<PGM_COMMON_XML_ENUM_DUMMY_CLOCK_CYCLE>;
using PGM_COMMON_XML_ZORVA_QSPI_DUMMY_CLOCK_CYCLE_X4  = ZORVA_QSPI_NUMBER<PGM_COMMON_XML_ENUM_DUMMY_CLOCK_CYCLE_X4>;
using PGM_COMMON_XML_ZORVA_QSPI_PROG_FLOW_TEMPLATE    = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_PROG_FLOW_TEMPLATE>;
using PGM_COMMON_XML_ZORVA_QSPI_TEMPLATE_NAME         = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_TEMPLATE_NAME>;

// Of an action.
using PGM_COMMON_XML_ZORVA_QSPI_NAME                  = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_NAME>;
using PGM_COMMON_XML_ZORVA_QSPI_COMMAND               = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_COMMAND>;
using PGM_COMMON_XML_ZORVA_QSPI_DATA                  = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_DATA, PGM_XML_EXIST_MAY_BE_EMPTY>;
using PGM_COMMON_XML_ZORVA_QSPI_DATA_LENGTH           = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_DATA_LENGTH>;
using PGM_COMMON_XML_ZORVA_QSPI_EXPECTED_DATA         = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_EXPECTED_DATA, PGM_XML_EXIST_MAY_BE_EMPTY>;
using PGM_COMMON_XML_ZORVA_QSPI_EXPECTED_DATA_MASK    = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_EXPECTED_DATA_MASK, PGM_XML_EXIST_MAY_BE_EMPTY>;
using PGM_COMMON_XML_ZORVA_QSPI_ATTEMPT_COUNT         = ZORVA_QSPI_NUMBER<PGM_COMMON_XML_ENUM_ATTEMPT_COUNT>;
using PGM_COMMON_XML_ZORVA_QSPI_ADDRESS               = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_ADDRESS>;
using PGM_COMMON_XML_ZORVA_QSPI_ADDRESSING_MODE       = ZORVA_QSPI_NUMBER<PGM_COMMON_XML_ENUM_ADDRESSING_MODE>;
using PGM_COMMON_XML_ZORVA_QSPI_PAGE_SIZE             = ZORVA_QSPI_NUMBER<PGM_COMMON_XML_ENUM_PAGE_SIZE>;
using PGM_COMMON_XML_ZORVA_QSPI_ERASE_SIZE            = ZORVA_QSPI_NUMBER<PGM_COMMON_XML_ENUM_ERASE_SIZE>;
using PGM_COMMON_XML_ZORVA_QSPI_ACT_DUMMY_CLOCK_CYCLE = ZORVA_QSPI_NUMBER<PGM_COMMON_XML_ENUM_ACT_DUMMY_CLOCK_CYCLE>;
using PGM_COMMON_XML_ZORVA_QSPI_BUS_WIDTH             = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_BUS_WIDTH>;
using PGM_COMMON_XML_ZORVA_QSPI_DESCRIPTION           = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_DESCRIPTION>;
using PGM_COMMON_XML_ZORVA_QSPI_DIRECTION             = ZORVA_QSPI_TEXT<PGM_COMMON_XML_ENUM_DIRECTION>;
// clang-format on

class PGM_COMMON_XML_ZORVA_QSPI_DELAY final : public PGM_COMMON_XML_DESCRIBED {
  public:
    explicit PGM_COMMON_XML_ZORVA_QSPI_DELAY(PGM_COMMON_XML_ENUM sub_class_type);

    std::string unit;
    dword value{};  // microseconds

    static constexpr PGM_COMMON_XML_ENUM tag = PGM_COMMON_XML_ENUM_DELAY;
    static constexpr PGM_XML_TYPE value_type = PGM_XML_TYPE_NUMBER;
    static constexpr PGM_XML_EXIST presence = PGM_XML_EXIST_REQUIRED;
    static constexpr const char* default_text = "0";
    static constexpr std::array attributes = {
        PGM_COMMON_XML_ATTRIBUTE{"unit", PGM_XML_TYPE_TEXT, PGM_XML_EXIST_REQUIRED, "us", ""}};
};

class PGM_COMMON_XML_ZORVA_QSPI_ACTION final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_ACTION,
                                      PGM_COMMON_XML_ENUM_ACTION> {
  public:
    explicit PGM_COMMON_XML_ZORVA_QSPI_ACTION(PGM_COMMON_XML_ENUM sub_class_type);

    CHILDREN expected_data_mask;
    CHILDREN expected_data;
    CHILDREN name;
    CHILDREN data;
    CHILDREN data_length;
    CHILDREN direction;
    CHILDREN attempt_count;
    CHILDREN erase_size;
    CHILDREN delay;
    CHILDREN command;
    CHILDREN page_size;
    CHILDREN address;
    CHILDREN addressing_mode;
    CHILDREN act_dummy_clock_cycle;
    CHILDREN bus_width;
    CHILDREN description;
    PGM_COMMON_XML_ENUM type{};

    static constexpr std::array attributes = {
        PGM_COMMON_XML_ATTRIBUTE{"type", PGM_XML_TYPE_ENUM, PGM_XML_EXIST_REQUIRED, "_INVALID__",
                                 "WRITE_REG|READ_REG|WRITE_DATA|READ_DATA|ERASE|CUSTOM"}};
    // clang-format off
    static constexpr auto children() {
        return std::array{
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_EXPECTED_DATA_MASK>(NONE_OR_ONE, &SELF::expected_data_mask),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_EXPECTED_DATA>(NONE_OR_ONE, &SELF::expected_data),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_NAME>(NONE_OR_ONE, &SELF::name),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DATA>(NONE_OR_ONE, &SELF::data),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DATA_LENGTH>(NONE_OR_ONE, &SELF::data_length),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DIRECTION>(NONE_OR_ONE, &SELF::direction),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_ATTEMPT_COUNT>(NONE_OR_ONE, &SELF::attempt_count),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_ERASE_SIZE>(NONE_OR_ONE, &SELF::erase_size),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DELAY>(NONE_OR_ONE, &SELF::delay),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_COMMAND>(NONE_OR_ONE, &SELF::command),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_PAGE_SIZE>(NONE_OR_ONE, &SELF::page_size),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_ADDRESS>(NONE_OR_ONE, &SELF::address),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_ADDRESSING_MODE>(NONE_OR_ONE, &SELF::addressing_mode),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_ACT_DUMMY_CLOCK_CYCLE>(NONE_OR_ONE, &SELF::act_dummy_clock_cycle),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_BUS_WIDTH>(NONE_OR_ONE, &SELF::bus_width),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DESCRIPTION>(NONE_OR_ONE, &SELF::description),
        };
    }
    // clang-format on
};

template <PGM_COMMON_XML_ENUM TAG>
class PGM_COMMON_XML_ZORVA_QSPI_OPERATION final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_OPERATION<TAG>, TAG> {
    using BASE = PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_OPERATION<TAG>, TAG>;

  public:
    using BASE::BASE;
    PGM_COMMON_XML_ELEMENT::CHILDREN action;

    static constexpr auto children() {
        return std::array{xml_child<PGM_COMMON_XML_ZORVA_QSPI_ACTION>(
            PGM_COMMON_XML_ELEMENT::ANY_NUMBER, &PGM_COMMON_XML_ZORVA_QSPI_OPERATION::action)};
    }
};

using PGM_COMMON_XML_ZORVA_QSPI_INITIALIZATION =
    PGM_COMMON_XML_ZORVA_QSPI_OPERATION<PGM_COMMON_XML_ENUM_INITIALIZATION>;
using PGM_COMMON_XML_ZORVA_QSPI_PROGRAM =
    PGM_COMMON_XML_ZORVA_QSPI_OPERATION<PGM_COMMON_XML_ENUM_PROGRAM>;
using PGM_COMMON_XML_ZORVA_QSPI_ERASE =
    PGM_COMMON_XML_ZORVA_QSPI_OPERATION<PGM_COMMON_XML_ENUM_ERASE>;
using PGM_COMMON_XML_ZORVA_QSPI_VERIFY_BLANKCHECK_EXAMINE =
    PGM_COMMON_XML_ZORVA_QSPI_OPERATION<PGM_COMMON_XML_ENUM_VERIFY_BLANKCHECK_EXAMINE>;
using PGM_COMMON_XML_ZORVA_QSPI_TERMINATION =
    PGM_COMMON_XML_ZORVA_QSPI_OPERATION<PGM_COMMON_XML_ENUM_TERMINATION>;

template <PGM_COMMON_XML_ENUM TAG>
class PGM_COMMON_XML_ZORVA_QSPI_FLOW final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_FLOW<TAG>, TAG> {
    using BASE = PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_FLOW<TAG>, TAG>;
    using CHILDREN = PGM_COMMON_XML_ELEMENT::CHILDREN;

  public:
    using BASE::BASE;
    CHILDREN termination;
    CHILDREN initialization;
    CHILDREN program;
    CHILDREN erase;
    CHILDREN verify_blankcheck_examine;

    static constexpr auto children() {
        using FLOW = PGM_COMMON_XML_ZORVA_QSPI_FLOW;
        const auto& one = PGM_COMMON_XML_ELEMENT::EXACTLY_ONE;
        return std::array{
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_TERMINATION>(one, &FLOW::termination),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_INITIALIZATION>(one, &FLOW::initialization),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_PROGRAM>(one, &FLOW::program),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_ERASE>(one, &FLOW::erase),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_VERIFY_BLANKCHECK_EXAMINE>(
                one, &FLOW::verify_blankcheck_examine),
        };
    }
};

using PGM_COMMON_XML_ZORVA_QSPI_SFL = PGM_COMMON_XML_ZORVA_QSPI_FLOW<PGM_COMMON_XML_ENUM_SFL>;
using PGM_COMMON_XML_ZORVA_QSPI_SDM = PGM_COMMON_XML_ZORVA_QSPI_FLOW<PGM_COMMON_XML_ENUM_SDM>;

class PGM_COMMON_XML_ZORVA_QSPI_PROGRAMMING_FLOW final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_PROGRAMMING_FLOW,
                                      PGM_COMMON_XML_ENUM_PROGRAMMING_FLOW> {
  public:
    using PGM_COMMON_XML_CONTAINER::PGM_COMMON_XML_CONTAINER;
    CHILDREN sdm;
    CHILDREN sfl;

    static constexpr auto children() {
        return std::array{xml_child<PGM_COMMON_XML_ZORVA_QSPI_SDM>(EXACTLY_ONE, &SELF::sdm),
                          xml_child<PGM_COMMON_XML_ZORVA_QSPI_SFL>(EXACTLY_ONE, &SELF::sfl)};
    }
};

class PGM_COMMON_XML_ZORVA_QSPI_DEVICE_INFO final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_DEVICE_INFO,
                                      PGM_COMMON_XML_ENUM_DEVICE_INFO> {
  public:
    using PGM_COMMON_XML_CONTAINER::PGM_COMMON_XML_CONTAINER;
    CHILDREN total_device_die;
    CHILDREN dummy_clock_cycle_x4;
    CHILDREN prog_flow_template;
    CHILDREN device_name;
    CHILDREN dummy_clock_cycle;
    CHILDREN device_id;
    CHILDREN device_io_voltage;
    CHILDREN device_density;

    // clang-format off
    static constexpr auto children() {
        return std::array{
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_TOTAL_DEVICE_DIE>(EXACTLY_ONE, &SELF::total_device_die),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DUMMY_CLOCK_CYCLE_X4>(EXACTLY_ONE, &SELF::dummy_clock_cycle_x4),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_PROG_FLOW_TEMPLATE>(EXACTLY_ONE, &SELF::prog_flow_template),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DEVICE_NAME>(EXACTLY_ONE, &SELF::device_name),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DUMMY_CLOCK_CYCLE>(EXACTLY_ONE, &SELF::dummy_clock_cycle),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DEVICE_ID>(EXACTLY_ONE, &SELF::device_id),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DEVICE_IO_VOLTAGE>(EXACTLY_ONE, &SELF::device_io_voltage),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DEVICE_DENSITY>(EXACTLY_ONE, &SELF::device_density),
        };
    }
    // clang-format on
};

class PGM_COMMON_XML_ZORVA_QSPI_FLASH final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_FLASH, PGM_COMMON_XML_ENUM_FLASH> {
  public:
    using PGM_COMMON_XML_CONTAINER::PGM_COMMON_XML_CONTAINER;
    CHILDREN device_info;
    CHILDREN programming_flow;

    static constexpr auto children() {
        return std::array{
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_DEVICE_INFO>(EXACTLY_ONE, &SELF::device_info),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_PROGRAMMING_FLOW>(EXACTLY_ONE,
                                                                  &SELF::programming_flow)};
    }
};

class PGM_COMMON_XML_ZORVA_QSPI_USER_TEMPLATE final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_USER_TEMPLATE,
                                      PGM_COMMON_XML_ENUM_USER_TEMPLATE> {
  public:
    using PGM_COMMON_XML_CONTAINER::PGM_COMMON_XML_CONTAINER;
    CHILDREN template_name;
    CHILDREN programming_flow;

    static constexpr auto children() {
        return std::array{
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_TEMPLATE_NAME>(EXACTLY_ONE, &SELF::template_name),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_PROGRAMMING_FLOW>(EXACTLY_ONE,
                                                                  &SELF::programming_flow)};
    }
};

// A vendor's golden template. It and GOLDEN_TEMPLATE are only read, by get_childs, and so have no
// typed list.
template <PGM_COMMON_XML_ENUM TAG>
class PGM_COMMON_XML_ZORVA_QSPI_VENDOR final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_VENDOR<TAG>, TAG> {
    using BASE = PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_VENDOR<TAG>, TAG>;

  public:
    using BASE::BASE;
    static constexpr auto children() {
        return std::array{xml_child<PGM_COMMON_XML_ZORVA_QSPI_PROGRAMMING_FLOW>(
            PGM_COMMON_XML_ELEMENT::EXACTLY_ONE)};
    }
};

class PGM_COMMON_XML_ZORVA_QSPI_GOLDEN_TEMPLATE final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_GOLDEN_TEMPLATE,
                                      PGM_COMMON_XML_ENUM_GOLDEN_TEMPLATE> {
    template <PGM_COMMON_XML_ENUM TAG>
    using VENDOR = PGM_COMMON_XML_ZORVA_QSPI_VENDOR<TAG>;

  public:
    using PGM_COMMON_XML_CONTAINER::PGM_COMMON_XML_CONTAINER;
    static constexpr auto children() {
        return std::array{xml_child<VENDOR<PGM_COMMON_XML_ENUM_MICRON>>(EXACTLY_ONE),
                          xml_child<VENDOR<PGM_COMMON_XML_ENUM_MACRONIX>>(EXACTLY_ONE),
                          xml_child<VENDOR<PGM_COMMON_XML_ENUM_CYPRESS>>(EXACTLY_ONE),
                          xml_child<VENDOR<PGM_COMMON_XML_ENUM_WINBOND>>(EXACTLY_ONE),
                          xml_child<VENDOR<PGM_COMMON_XML_ENUM_ISSI>>(EXACTLY_ONE)};
    }
};

class PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH final
    : public PGM_COMMON_XML_CONTAINER<PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH,
                                      PGM_COMMON_XML_ENUM_QSPI_FLASH> {
  public:
    explicit PGM_COMMON_XML_ZORVA_QSPI_QSPI_FLASH(PGM_COMMON_XML_ENUM sub_class_type);

    CHILDREN golden_template;
    CHILDREN flash;
    CHILDREN user_template;
    dword version{};

    static constexpr std::array attributes = {
        PGM_COMMON_XML_ATTRIBUTE{"version", PGM_XML_TYPE_NUMBER, PGM_XML_EXIST_REQUIRED, "1", ""}};
    static constexpr auto children() {
        return std::array{
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_GOLDEN_TEMPLATE>(NONE_OR_ONE,
                                                                 &SELF::golden_template),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_FLASH>(ANY_NUMBER, &SELF::flash),
            xml_child<PGM_COMMON_XML_ZORVA_QSPI_USER_TEMPLATE>(ANY_NUMBER, &SELF::user_template)};
    }
};
