// The manager of one flash interface's device database.
#pragma once

#include "pgm/zorva/zorva_action.h"
#include "pgm/zorva/zorva_change.h"
#include "pgm/zorva/zorva_flash.h"
#include "pgm/zorva/zorva_load_report.h"
#include "pgm/zorva/zorva_template.h"
#include "services/types.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class PGM_COMMON_XML_ELEMENT;
struct PGMDEV_DEVICE_INFO;
class ZORVA_INTERFACE;
struct ZORVA_MGR_PARTS;
struct ZORVA_REFUSAL;

// What the database needs of a programmable device family.
struct ZORVA_FAMILY_INFO {
    bool use_sdm_mode = false;
    std::string io_voltage;  // the only flash voltage that the family accepts
};

// One row of the message catalogue.
struct ZORVA_MESSAGE_INFO {
    unsigned id;
    bool error;        // else a warning
    const char* name;  // "ZORVA_INVALID_DEVICE_DENSITY"
    const char* text;  // with its placeholders, as "Device density '%1!s!' is invalid."
};

// A manager comes from ZORVA_HELPER and belongs to it. It is fully loaded when its constructor
// returns and never loads again; ZORVA_HELPER::refresh_flash_managers builds a new one.
//
// Records that it hands out stay its own. One of a stored device is valid until the manager goes
// or delete_db or update_db replaces the device in the same directory; the placeholder of a legacy
// device until the next look-up on the manager; one from create_flash until the manager goes,
// unless update_db stores it.
//
// Names are case-sensitive. For one thread at a time: even a look-up writes to the manager.
class ZORVA_MGR {
  public:
    virtual ~ZORVA_MGR();
    ZORVA_MGR(const ZORVA_MGR&) = delete;
    ZORVA_MGR& operator=(const ZORVA_MGR&) = delete;

    // Whether the active device family reaches its flash through SDM.
    virtual bool get_use_sdm_mode();
    virtual DEV_FAMILY_ENUM get_active_device_family();
    virtual void set_active_device_family(DEV_FAMILY_ENUM family);
    virtual PGMIO_CONFIG_SCHEME get_active_config_mode();
    virtual void set_active_config_mode(PGMIO_CONFIG_SCHEME config_mode);

    // Look-ups. A miss is null, posts nothing, and drops the placeholder of the look-up before.
    // Without `skip_filtering` a device whose I/O voltage isn't the active family's is a miss.
    virtual ZORVA_FLASH* get_flash(std::string device_name, bool skip_filtering);
    // The first device in name order whose ID equals `id` in the bits of `mask`; byte 0 of the ID
    // is the least significant. See get_flash_list_with_id for all of them.
    virtual ZORVA_FLASH* get_flash_with_id(dword id, dword mask);
    // The first device in name order of exactly that many bytes.
    virtual ZORVA_FLASH* get_flash_with_density(qword density_in_bytes);
    virtual bool device_exist_in_db(std::string device_name, bool skip_filtering);
    // True for a device that is known by name and voltage only and has no flow.
    virtual bool device_is_legacy(std::string device_name, bool skip_filtering);

    virtual bool is_new_device_supported();
    virtual bool is_flash_operation_supported();
    virtual bool is_flash_action_supported();

    // Checks of what a user enters, for a device that isn't stored yet. A bad value is false; if
    // `err_msg` is given, its warning is posted and *err_msg becomes a sentence that says what is
    // wrong. A parameter that the manager doesn't check in that form is an internal error; the
    // form with one argument tells whether it checks it at all.
    virtual bool is_parameter_valid(ZORVA_FLASH_PARAM param, dword value, std::string* err_msg);
    virtual bool is_parameter_valid(ZORVA_FLASH_PARAM param, std::string value,
                                    std::string* err_msg);
    virtual bool is_parameter_valid(ZORVA_FLASH_PARAM param);
    // Whether a voltage is the active family's; for ZORVA_FLASH_PARAM_IO_VOLTAGE only.
    virtual bool is_parameter_compatible(ZORVA_FLASH_PARAM param, std::string value,
                                         std::string* err_msg);

    // Stores a record from create_flash as the device of its name in `db_dir`, one of the two
    // directories below in just that form, and takes it over. False, with warning 20560 posted, if
    // it can't be stored: then record, maps and disk are as they were. If the record carries a
    // template name, its flows are then stored as a user template too; where that fails, the
    // answer is false and the device is stored all the same.
    virtual bool update_db(ZORVA_FLASH* flash, std::string db_dir);
    // Removes the device or user template of that name from its file in `db_dir`; true also where
    // there is nothing to remove. False, with warning 20560, if the file can't be changed.
    virtual bool delete_db(std::string device_name, std::string db_dir);

    virtual DEV_FAMILY_ENUM get_flash_family();
    // Device families that the interface serves, in ascending order.
    virtual const std::vector<DEV_FAMILY_ENUM> get_device_family_list();
    virtual const std::vector<PGMIO_CONFIG_SCHEME> get_config_mode_list();
    // Names of the devices that suit a family and a scheme; all of them with `skip_filtering`.
    virtual const std::vector<std::string> get_new_config_device_list(
        DEV_FAMILY_ENUM family, PGMIO_CONFIG_SCHEME config_mode, bool skip_filtering) = 0;
    virtual const std::vector<std::string> get_legacy_config_device_list(
        DEV_FAMILY_ENUM family, PGMIO_CONFIG_SCHEME config_mode, bool skip_filtering) = 0;
    virtual const std::vector<std::string> get_device_io_voltage_list();
    virtual const std::vector<std::string> get_device_density_list();
    // The golden templates, then the user's.
    virtual const std::vector<std::string> get_prog_flow_template_list() = 0;
    virtual const std::vector<std::string> get_user_template_list() = 0;

    // A new, fully loaded manager of the same class, the caller's.
    virtual ZORVA_MGR* get_new_instance() = 0;
    // A new record that stays the manager's; fill it, then hand it to update_db.
    virtual ZORVA_FLASH* create_flash(std::string device_name) = 0;
    // New objects, the caller's until they go into an operation or a record.
    virtual ZORVA_ACTION* create_action(ZORVA_ACT_TYPE type) = 0;
    virtual ZORVA_OPERATION* create_operation(ZORVA_OP_TYPE type) = 0;

    // The five operations of a flow of a template, the manager's; copy what is to be kept.
    virtual const std::vector<ZORVA_OPERATION*>* get_prog_flow_template_operation_list(
        ZORVA_PROG_FLOW_TEMPLATE prog_flow_template, ZORVA_PROG_FLOW_TYPE flow_type) = 0;
    virtual const std::vector<ZORVA_OPERATION*>* get_user_template_operation_list(
        std::string& template_name, ZORVA_PROG_FLOW_TYPE flow_type) = 0;
    // Whether the user may edit the flows of a device; null stands for a device not stored yet.
    virtual bool get_operation_editable_permission(ZORVA_FLASH* flash) = 0;
    // Stores the flows of a record as the user template that it names. False as in update_db.
    virtual bool update_template_db(ZORVA_FLASH* flash, std::string db_dir) = 0;
    // Removes a user template. False if there is none, and as in delete_db.
    virtual bool delete_template(std::string template_name) = 0;

  protected:
    virtual bool is_valid_name(std::string& name);
    virtual bool is_golden_template_name(std::string& name);
    virtual bool device_name_is_valid(std::string name, std::string* err_msg);
    virtual bool device_density_is_valid(std::string density, std::string* err_msg);
    virtual bool device_io_voltage_is_valid(std::string voltage, std::string* err_msg);
    virtual bool device_io_voltage_is_compatible(std::string voltage, std::string* err_msg);
    virtual bool write_flash_xml_and_update_dir_map(ZORVA_FLASH* flash, std::string db_dir,
                                                    std::map<std::string, std::string>* db_dir_map);
    // A new document of the devices, the caller's.
    virtual PGM_COMMON_XML_ELEMENT* create_xml_object_with_flash_list(
        std::vector<ZORVA_FLASH*> flash_list) = 0;
    // Adds the templates to a document; makes it if `root` is null.
    virtual void create_user_template_with_template_list(
        PGM_COMMON_XML_ELEMENT*& root, std::vector<std::string> template_list) = 0;
    // Whether a name stands in get_legacy_config_device_list, without building that list.
    virtual bool is_legacy_config_device(const std::string& device_name, DEV_FAMILY_ENUM family,
                                         PGMIO_CONFIG_SCHEME config_mode, bool skip_filtering) = 0;

  public:
    // The two directories of user files. Each ends in a slash.
    static const std::string get_db_kestrin_dir();  // the installation's: xml/ beside xsd/
    static const std::string get_db_custom_dir();   // "./" until it is set
    // Managers that exist don't notice; the next refresh reads the new directory. Empty: "./".
    static void set_db_custom_dir(std::string dir);
    // The directory stored in the user's settings; stores the default if there is none, and is
    // empty if that fails.
    static const std::string get_custom_dir_from_ini();
    // Stores `dir`; false if it is missing (unless `force`) or the settings can't be written.
    static bool save_custom_dir_to_ini(std::string dir, bool force);

    // The bytes of a data list in an array from new unsigned char[], the caller's. Null, with
    // *length 0 and *valid false, for a text that isn't one. Either pointer may be null. An empty
    // text is an internal error.
    static unsigned char* convert_data_list_string_to_byte_array(std::string data_string,
                                                                 dword* length, bool* valid);

    // What was met at load, file by file. Valid while the manager lives.
    const ZORVA_LOAD_REPORT& get_load_report() const;
    // All devices whose ID equals `id` in the bits of `mask`, in name order.
    std::vector<ZORVA_FLASH*> get_flash_list_with_id(dword id, dword mask) const;
    // What is known of a family; null for one that the interface doesn't serve.
    const ZORVA_FAMILY_INFO* get_family_info(DEV_FAMILY_ENUM family) const;
    // The file of the device in force; empty for a name that isn't stored.
    std::string get_flash_file(const std::string& device_name) const;
    // The file that update_db would write for a record, where nothing else stands in it; empty if
    // it couldn't. The values must have passed their checks.
    std::string get_flash_document(ZORVA_FLASH* flash);

    // What is wrong with a value for a parameter of a new device, in the words of its check;
    // nothing if it is good. Nothing is posted. A parameter that the manager doesn't check, or not
    // in that form, is an internal error.
    std::optional<ZORVA_FINDING> judge_parameter(ZORVA_FLASH_PARAM param,
                                                 const std::string& value) const;
    std::optional<ZORVA_FINDING> judge_parameter(ZORVA_FLASH_PARAM param, dword value) const;
    // The mask that the names of the files have which a load reads.
    static const char* get_file_mask();
    // The file of its own that a definition gets in a directory, which ends in a slash.
    static std::string get_definition_file(const ZORVA_DEFINITION_KEY& key,
                                           const std::string& db_dir);

    // Stores definitions in `db_dir`, one of the two directories, all or none: several only where
    // each is new and gets a file of its own. Posts nothing; get_change_outcome tells why not.
    bool store_definitions(const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                           const std::string& db_dir);
    // Takes a definition, in force or not, out of a file in one of the two directories.
    bool remove_definition(const ZORVA_DEFINITION_KEY& key, const std::string& file);
    // Judge the same, and change nothing.
    bool try_definitions(const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                         const std::string& db_dir);
    bool try_removal(const ZORVA_DEFINITION_KEY& key, const std::string& file);
    // What became of the last call of this manager that stores or removes.
    const ZORVA_CHANGE_OUTCOME& get_change_outcome() const;
    // The devices and templates of a document, as records that stay the manager's: a device as
    // create_flash makes one, a template as ZORVA_NEW_DEFINITION carries one. Those that a load
    // would refuse are told in the report, which names the bytes `name`, and give no record.
    struct DOCUMENT {
        ZORVA_FILE_REPORT report;
        std::vector<ZORVA_NEW_DEFINITION> definitions;  // NEW, in file order, the devices first
    };
    DOCUMENT read_document(const std::string& bytes, const std::string& name);

    // All messages of the library, in the order of registration.
    static std::vector<ZORVA_MESSAGE_INFO> get_message_list();

  protected:
    explicit ZORVA_MGR(const ZORVA_INTERFACE& interface);

    ZORVA_MGR_PARTS& parts() const { return *m_parts; }
    // Makes the families that `serves` takes of the device-information service known.
    void fill_family_info(bool (*serves)(const PGMDEV_DEVICE_INFO&));
    // Judges the template name that a record carries: one that equals the device's is refused
    // with a warning; one that isn't free is an internal error. No template: true.
    bool carried_template_is_valid(ZORVA_FLASH& flash);
    // A new record that stays the manager's and counts as handed out.
    ZORVA_FLASH* adopt_new_flash(std::unique_ptr<ZORVA_FLASH> flash);

    // What is wrong with a value for a text parameter; nothing if it is good.
    std::optional<ZORVA_REFUSAL> judge(ZORVA_FLASH_PARAM param, const std::string& value);

  private:
    std::optional<ZORVA_REFUSAL> judge_device_name(const std::string& name);
    std::optional<ZORVA_REFUSAL> judge_template_name(const std::string& name);
    std::optional<ZORVA_REFUSAL> judge_prog_flow_template(const std::string& name);

    std::unique_ptr<ZORVA_MGR_PARTS> m_parts;
};
