// An action of a QSPI flow; the only concrete kind of action.
#pragma once

#include "pgm/zorva/zorva_action.h"

class ZORVA_QSPI_ACTION : public ZORVA_ACTION {
  public:
    // Complete from here on: the type's properties, with their defaults. A type outside 0 to 5 is
    // an internal error.
    explicit ZORVA_QSPI_ACTION(ZORVA_ACT_TYPE type);

    std::string get_property_name(ZORVA_ACT_PROPERTY property) override;
    std::string get_property_value(ZORVA_ACT_PROPERTY property) override;
    dword get_property_value_in_dword(ZORVA_ACT_PROPERTY property) override;
    unsigned char* get_property_value_in_byte_array(ZORVA_ACT_PROPERTY property, dword* length,
                                                    bool* valid) override;
    std::vector<std::string> get_property_value_list(ZORVA_ACT_PROPERTY property) override;
    void set_property_value(ZORVA_ACT_PROPERTY property, std::string value) override;
    bool property_value_is_valid(ZORVA_ACT_PROPERTY property, std::string value,
                                 std::string* err_msg) override;
    bool property_value_is_enable(ZORVA_ACT_PROPERTY property) override;

    // As set_property_value, for a text that stands in the pool already.
    void set_property_text(ZORVA_ACT_PROPERTY property, ZORVA_TEXT value) {
        store_value(property, std::move(value));
    }
};
