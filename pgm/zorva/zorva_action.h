// One step of an operation: a transaction on the flash device's bus, or a mark in the flow.
#pragma once

#include "pgm/zorva/zorva_finding.h"
#include "pgm/zorva/zorva_text.h"
#include "services/types.h"

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

enum ZORVA_ACT_TYPE : int {
    ZORVA_ACT_TYPE_WRITE_REGISTER = 0,  // sends a command and data
    ZORVA_ACT_TYPE_READ_REGISTER = 1,   // polls: command, data read, compared under a mask
    ZORVA_ACT_TYPE_WRITE_DATA = 2,      // sends a command, an address and data, in pages
    ZORVA_ACT_TYPE_READ_DATA = 3,       // command, address, dummy cycles, data read and compared
    ZORVA_ACT_TYPE_ERASE = 4,           // erases one block of a given size
    ZORVA_ACT_TYPE_CUSTOM = 5,          // no transaction: a mark with a description
};

// The properties of all action types in one sequence; a property's number tells its type too.
enum ZORVA_ACT_PROPERTY : int {
    ZORVA_ACT_PROPERTY_WR_NAME = 0,
    ZORVA_ACT_PROPERTY_WR_COMMAND,
    ZORVA_ACT_PROPERTY_WR_DATA,
    ZORVA_ACT_PROPERTY_WR_DELAY,  // microseconds
    ZORVA_ACT_PROPERTY_WR_BUS_WIDTH,
    ZORVA_ACT_PROPERTY_RR_NAME = 5,
    ZORVA_ACT_PROPERTY_RR_COMMAND,
    ZORVA_ACT_PROPERTY_RR_DATA_LENGTH,  // bytes
    ZORVA_ACT_PROPERTY_RR_EXPECTED_DATA,
    ZORVA_ACT_PROPERTY_RR_EXPECTED_DATA_MASK,
    ZORVA_ACT_PROPERTY_RR_ATTEMPT_COUNT,
    ZORVA_ACT_PROPERTY_RR_DELAY,
    ZORVA_ACT_PROPERTY_RR_BUS_WIDTH,
    ZORVA_ACT_PROPERTY_WD_NAME = 13,
    ZORVA_ACT_PROPERTY_WD_COMMAND,
    ZORVA_ACT_PROPERTY_WD_ADDRESS,
    ZORVA_ACT_PROPERTY_WD_DATA,
    ZORVA_ACT_PROPERTY_WD_PAGE_SIZE,        // bytes
    ZORVA_ACT_PROPERTY_WD_ADDRESSING_MODE,  // number of address bytes
    ZORVA_ACT_PROPERTY_WD_DELAY,
    ZORVA_ACT_PROPERTY_WD_BUS_WIDTH,
    ZORVA_ACT_PROPERTY_RD_NAME = 21,
    ZORVA_ACT_PROPERTY_RD_COMMAND,
    ZORVA_ACT_PROPERTY_RD_ADDRESS,
    ZORVA_ACT_PROPERTY_RD_DATA_LENGTH,
    ZORVA_ACT_PROPERTY_RD_EXPECTED_DATA,
    ZORVA_ACT_PROPERTY_RD_EXPECTED_DATA_MASK,
    ZORVA_ACT_PROPERTY_RD_ADDRESSING_MODE,
    ZORVA_ACT_PROPERTY_RD_DUMMY_CLOCK_CYCLE,  // clock cycles
    ZORVA_ACT_PROPERTY_RD_DELAY,
    ZORVA_ACT_PROPERTY_RD_BUS_WIDTH,
    ZORVA_ACT_PROPERTY_ER_NAME = 31,
    ZORVA_ACT_PROPERTY_ER_COMMAND,
    ZORVA_ACT_PROPERTY_ER_ADDRESS,
    ZORVA_ACT_PROPERTY_ER_ERASE_SIZE,  // bytes
    ZORVA_ACT_PROPERTY_ER_ADDRESSING_MODE,
    ZORVA_ACT_PROPERTY_ER_DELAY,
    ZORVA_ACT_PROPERTY_ER_BUS_WIDTH,
    ZORVA_ACT_PROPERTY_CU_DESCRIPTION = 38,
    ZORVA_ACT_PROPERTY_CU_DIRECTION,
};

// The most properties that a type has.
inline constexpr std::size_t ZORVA_ACT_MOST_PROPERTIES = 10;

// What a property means, whatever the type of its action: each property is of one of these kinds,
// and a type has a kind once at most.
enum class ZORVA_PROPERTY : unsigned char {
    NAME,
    COMMAND,
    DATA,
    EXPECTED_DATA,
    EXPECTED_DATA_MASK,
    DATA_LENGTH,
    ATTEMPT_COUNT,
    DELAY,
    ADDRESS,
    PAGE_SIZE,
    ADDRESSING_MODE,
    DUMMY_CLOCK_CYCLE,
    ERASE_SIZE,
    BUS_WIDTH_COMMAND_DATA,
    BUS_WIDTH_COMMAND_ADDRESS,
    BUS_WIDTH_COMMAND_ADDRESS_DATA,
    DESCRIPTION,
    DIRECTION,
};

// How the text of a value has to look.
enum class ZORVA_FORM : unsigned char {
    NAME,       // letters, digits, underscores and blanks, not blanks alone
    DATA_LIST,  // bytes, as "0x20 186"
    NUMBER,     // decimal, or "0x" and hexadecimal digits
    CHOICE,     // one of the choices, exactly
    ANY_TEXT,   // anything but the empty text
};

// Which values are good.
struct ZORVA_VALUE_RANGE {
    ZORVA_FORM form;
    bool empty_passes = false;
    bool jic_passes = false;  // a text that holds "jic" or "JIC" stands for data of the .jic file
    qword least = 0;          // of a number; of a data list, the count of its bytes
    qword most = ~qword{0};   // the same
    std::span<const std::string_view> choices = {};  // for CHOICE; lives as long as the library
};

// Values are held as the text that the user or the file gave, and are turned into numbers or
// bytes when somebody asks. An action never changes its type.
class ZORVA_ACTION {
  public:
    // Of no type: it has no properties, and holds what is set of any.
    ZORVA_ACTION() = default;
    ZORVA_ACTION(const ZORVA_ACTION& other);
    ZORVA_ACTION& operator=(const ZORVA_ACTION& other);
    virtual ~ZORVA_ACTION();

    // The label of a property of 0 to 39; empty for the two of a custom action.
    virtual std::string get_property_name(ZORVA_ACT_PROPERTY property) = 0;
    // Empty for a value that isn't set, and for a property of another type that nobody set.
    virtual std::string get_property_value(ZORVA_ACT_PROPERTY property) = 0;
    // A data list gives its first four bytes, the first the least significant; any other text the
    // number in it, 0 if there is none.
    virtual dword get_property_value_in_dword(ZORVA_ACT_PROPERTY property) = 0;
    // The bytes of a data list in an array from new unsigned char[], the caller's. Null, with
    // *length 0 and *valid false, for an empty value or one that isn't a data list. Either
    // pointer may be null.
    virtual unsigned char* get_property_value_in_byte_array(ZORVA_ACT_PROPERTY property,
                                                            dword* length, bool* valid) = 0;
    // The values to choose from; only a bus width has such a list, anything else is an internal
    // error.
    virtual std::vector<std::string> get_property_value_list(ZORVA_ACT_PROPERTY property) = 0;
    // Stores without checking, also a property of another type.
    virtual void set_property_value(ZORVA_ACT_PROPERTY property, std::string value) = 0;
    // True if the value is good. Otherwise posts the property's message, whether or not `err_msg`
    // is given, and replaces *err_msg by a sentence. Stores nothing.
    virtual bool property_value_is_valid(ZORVA_ACT_PROPERTY property, std::string value,
                                         std::string* err_msg) = 0;
    // False if the value is fixed and not for the user to edit.
    virtual bool property_value_is_enable(ZORVA_ACT_PROPERTY property) = 0;
    // True if the value says that it comes from the .jic file: it holds "jic" or "JIC".
    virtual bool property_value_is_jic_file(std::string value);

    std::string get_name() const;
    void set_name(std::string name);
    ZORVA_ACT_TYPE get_action_type() const { return m_act_type; }
    // The properties of the action's type, in their fixed order.
    std::vector<ZORVA_ACT_PROPERTY> get_property_enum_list() const;

    // The property of that kind in actions of a type; nothing if they have none.
    static std::optional<ZORVA_ACT_PROPERTY> find_property(ZORVA_ACT_TYPE type,
                                                           ZORVA_PROPERTY kind);
    // A property outside 0 to 39 is an internal error, here and below.
    static ZORVA_PROPERTY get_property_kind(ZORVA_ACT_PROPERTY property);
    static ZORVA_VALUE_RANGE get_property_range(ZORVA_ACT_PROPERTY property);
    // What property_value_is_valid of a ZORVA_QSPI_ACTION would say, without posting it; nothing
    // if the value is good.
    static std::optional<ZORVA_FINDING> judge_property_value(ZORVA_ACT_PROPERTY property,
                                                             std::string_view value);

  protected:
    static constexpr auto no_type = static_cast<ZORVA_ACT_TYPE>(-1);

    explicit ZORVA_ACTION(ZORVA_ACT_TYPE type) : m_act_type(type) {}

    // The stored text, null where nothing was set.
    const std::string* find_value(ZORVA_ACT_PROPERTY property) const;
    void store_value(ZORVA_ACT_PROPERTY property, ZORVA_TEXT value);

    ZORVA_TEXT m_name;
    ZORVA_ACT_TYPE m_act_type = no_type;

  private:
    using FOREIGN_VALUES = std::vector<std::pair<ZORVA_ACT_PROPERTY, ZORVA_TEXT>>;

    // The place of a property among those of the action's type; nothing for another type's.
    std::optional<std::size_t> place_of(ZORVA_ACT_PROPERTY property) const;

    // By the property's place in its type.
    std::array<ZORVA_TEXT, ZORVA_ACT_MOST_PROPERTIES> m_values;
    // Values of properties of other types; almost never there.
    std::unique_ptr<FOREIGN_VALUES> m_foreign_values;
};
