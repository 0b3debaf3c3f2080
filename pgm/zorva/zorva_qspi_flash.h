// A QSPI flash device: ID, electrical parameters, and the SFL and SDM flows.
#pragma once

#include "pgm/zorva/zorva_flash.h"

// Texts: ID, I/O voltage, template name, flow template. Numbers: die count and the two dummy clock
// cycle counts; an ID set as a number is held as its decimal text.
class ZORVA_QSPI_FLASH : public ZORVA_FLASH {
  public:
    explicit ZORVA_QSPI_FLASH(std::string name);
    ~ZORVA_QSPI_FLASH() override;

    DEV_FAMILY_ENUM get_family() override;
    // "QSPI128MB", "QSPI1GB": the number counts megabits or gigabits. Empty below 128 Mbit.
    std::string get_generic_name() override;
    std::string get_parameter_value(ZORVA_FLASH_PARAM param) override;
    dword get_parameter_value_in_dword(ZORVA_FLASH_PARAM param, dword* mask) override;
    void set_parameter_value(ZORVA_FLASH_PARAM param, dword value) override;
    void set_parameter_value(ZORVA_FLASH_PARAM param, std::string value) override;

  private:
    // The first four bytes of the ID, the first the least significant; 0 and mask 0 for an ID that
    // is empty or no data list.
    dword get_id_in_dword(dword* mask) const;
    void set_id(std::string id);
    // The field that holds a parameter; null for one that isn't held in that form.
    std::string* text_field(ZORVA_FLASH_PARAM param);
    dword* number_field(ZORVA_FLASH_PARAM param);

    // The ID as a number, worked out when it is set, so that a search by ID compares numbers.
    dword m_id_value = 0;
    dword m_id_mask = 0;
    std::string m_id;
    std::string m_io_voltage;
    dword m_total_die = 0;
    dword m_dummy_clk_cycle = 0;
    dword m_dummy_clk_cycle_x4 = 0;
    std::string m_prog_flow_template;
    std::string m_template_name;
};
