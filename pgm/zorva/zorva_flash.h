// A device record: what the database knows of one external flash device.
#pragma once

#include "pgm/zorva/zorva_operation.h"
#include "services/types.h"

#include <string>
#include <vector>

// The parameters of a device. Which of them a kind of device has, and in which form, is told at
// the concrete classes.
enum ZORVA_FLASH_PARAM : int {
    ZORVA_FLASH_PARAM_NAME = 0,                // read through get_name only
    ZORVA_FLASH_PARAM_ID = 1,                  // text: a data list, as "0x20 0xBA 0x19"
    ZORVA_FLASH_PARAM_IO_VOLTAGE = 2,          // text, as "1.8V"
    ZORVA_FLASH_PARAM_DENSITY = 3,             // read through get_density only
    ZORVA_FLASH_PARAM_TOTAL_DIE = 4,           // number of dies
    ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE = 5,     // clock cycles
    ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4 = 6,  // clock cycles in x4 mode
    ZORVA_FLASH_PARAM_TEMPLATE_NAME = 7,       // text: the user template to save the flows as
    ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE = 8,  // text: the template that the flows came from
};

class ZORVA_FLASH;

// Is told of a change to what a look-up asks of a record.
class ZORVA_FLASH_WATCHER {
  public:
    virtual void on_change(ZORVA_FLASH& flash) = 0;

  protected:
    ~ZORVA_FLASH_WATCHER() = default;
};

// Setters store without checking: the checks are the manager's is_parameter_valid. A record owns
// its operations; it isn't copyable.
class ZORVA_FLASH {
  public:
    explicit ZORVA_FLASH(std::string name);
    virtual ~ZORVA_FLASH();
    ZORVA_FLASH(const ZORVA_FLASH&) = delete;
    ZORVA_FLASH& operator=(const ZORVA_FLASH&) = delete;

    virtual std::string get_name();
    virtual void set_name(std::string name);
    // Digits, then "M" or "G", then "b" for bits: "128Mb", "8GB".
    virtual std::string get_density();
    virtual void set_density(std::string density);
    // The low 32 bits of get_density_in_bytes_qword: a density of 4 GiB or more wraps.
    virtual dword get_density_in_bytes();
    // 0 for a density that can't be read.
    virtual qword get_density_in_bytes_qword();
    // Directory of the file that holds the device, with its closing slash.
    virtual std::string get_db_dir();
    virtual void set_db_dir(std::string db_dir);
    // False for a shipped device and for a new record, true for one read from a user's file.
    virtual bool get_flash_removable_permission();
    virtual void set_flash_removable_permission(bool removable);

    // The flash interface's family: 10 for QSPI, 55 for SD/MMC.
    virtual DEV_FAMILY_ENUM get_family() = 0;
    // A name made from the size alone; empty where the kind has none for that size.
    virtual std::string get_generic_name() = 0;
    // The operations of a flow, in order; never null, stays the record's.
    virtual const std::vector<ZORVA_OPERATION*>* get_operation_list(ZORVA_PROG_FLOW_TYPE flow) = 0;
    // Appends an operation, which the record owns from then on. Null is an internal error.
    virtual void add_operation_into_list(ZORVA_OPERATION* operation, ZORVA_PROG_FLOW_TYPE flow) = 0;
    // Replaces a flow; the record owns the new operations and deletes the old ones. An empty list
    // is an internal error.
    virtual void set_operation_list(std::vector<ZORVA_OPERATION*> operation_list,
                                    ZORVA_PROG_FLOW_TYPE flow) = 0;
    // Deletes the operations of all flows.
    virtual void clear_operation_list() = 0;

    // Empty and 0 for a parameter that the kind doesn't hold in that form. `mask` may be null and
    // is written for the ID only: 0xFF in each byte position that the ID defines.
    virtual std::string get_parameter_value(ZORVA_FLASH_PARAM param) = 0;
    virtual dword get_parameter_value_in_dword(ZORVA_FLASH_PARAM param, dword* mask) = 0;
    // A parameter that the kind doesn't store in that form is an internal error.
    virtual void set_parameter_value(ZORVA_FLASH_PARAM param, dword value) = 0;
    virtual void set_parameter_value(ZORVA_FLASH_PARAM param, std::string value) = 0;

    // For the database that the record stands in. The watcher outlives the record or is taken back
    // by null.
    void set_watcher(ZORVA_FLASH_WATCHER* watcher) { m_watcher = watcher; }

  protected:
    // To be called when the ID or the I/O voltage has been set.
    void tell_watcher() {
        if (m_watcher) m_watcher->on_change(*this);
    }
    // What the concrete kinds do with a flow's list. Operations go from the last to the first.
    static void delete_operations(std::vector<ZORVA_OPERATION*>& list);
    static void add_operation(std::vector<ZORVA_OPERATION*>& list, ZORVA_OPERATION* operation);
    static void replace_operations(std::vector<ZORVA_OPERATION*>& list,
                                   std::vector<ZORVA_OPERATION*> operation_list);

  private:
    std::string m_name;
    std::string m_density;
    std::string m_db_dir;
    bool m_flash_removable_permission = false;
    ZORVA_FLASH_WATCHER* m_watcher = nullptr;
};
