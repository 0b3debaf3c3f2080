// The manager of one flash interface's device database.
#pragma once

#include "pgm/zorva/zorva_action.h"
#include "pgm/zorva/zorva_change.h"
#include "pgm/zorva/zorva_flash.h"
#include "pgm/zorva/zorva_load_report.h"
#include "pgm/zorva/zorva_operation.h"
#include "services/types.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

class FIO_FIND;
class PGM_COMMON_XML_ELEMENT;
struct PGMDEV_DEVICE_INFO;
class ZORVA_STORE;
struct ZORVA_STORE_DEFINITION;
struct ZORVA_INTERFACE;
struct ZORVA_LEFTOVER;
struct ZORVA_REFUSAL;

// What the database needs of a programmable device family.
struct ZORVA_FAMILY_INFO {
    bool use_sdm_mode = false;
    std::string io_voltage;  // the only flash voltage that the family accepts
};

// A named pair of flows; owns its operations.
struct ZORVA_USER_FLASH_TEMPLATE {
    std::vector<ZORVA_OPERATION*> sdm_operation_list;
    std::vector<ZORVA_OPERATION*> sfl_operation_list;

    ZORVA_USER_FLASH_TEMPLATE() = default;
    ~ZORVA_USER_FLASH_TEMPLATE();
    ZORVA_USER_FLASH_TEMPLATE(const ZORVA_USER_FLASH_TEMPLATE&) = delete;
    ZORVA_USER_FLASH_TEMPLATE& operator=(const ZORVA_USER_FLASH_TEMPLATE&) = delete;
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

    virtual DEV_FAMILY_ENUM get_flash_family() = 0;
    // Device families that the interface serves, in ascending order.
    virtual const std::vector<DEV_FAMILY_ENUM> get_device_family_list() = 0;
    virtual const std::vector<PGMIO_CONFIG_SCHEME> get_config_mode_list() = 0;
    // Names of the devices that suit a family and a scheme; all of them with `skip_filtering`.
    virtual const std::vector<std::string> get_new_config_device_list(
        DEV_FAMILY_ENUM family, PGMIO_CONFIG_SCHEME config_mode, bool skip_filtering) = 0;
    virtual const std::vector<std::string> get_legacy_config_device_list(
        DEV_FAMILY_ENUM family, PGMIO_CONFIG_SCHEME config_mode, bool skip_filtering) = 0;
    virtual const std::vector<std::string> get_device_io_voltage_list() = 0;
    virtual const std::vector<std::string> get_device_density_list() = 0;
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
    const ZORVA_LOAD_REPORT& get_load_report() const { return m_load_report; }
    // All devices whose ID equals `id` in the bits of `mask`, in name order.
    std::vector<ZORVA_FLASH*> get_flash_list_with_id(dword id, dword mask) const;
    // What is known of a family; null for one that the interface doesn't serve.
    const ZORVA_FAMILY_INFO* get_family_info(DEV_FAMILY_ENUM family) const;
    // The file of the device in force; empty for a name that isn't stored.
    std::string get_flash_file(const std::string& device_name) const;
    // The file that update_db would write for a record, where nothing else stands in it; empty if
    // it couldn't. The values must have passed their checks.
    std::string get_flash_document(ZORVA_FLASH* flash);

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
    const ZORVA_CHANGE_OUTCOME& get_change_outcome() const { return m_change_outcome; }
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
    using DIR_MAP = std::map<std::string, std::string>;

    explicit ZORVA_MGR(const ZORVA_INTERFACE& interface);

    // Starts the report of a file.
    ZORVA_FILE_REPORT& report_file(const std::string& path, ZORVA_ORIGIN origin);
    // Fills m_family_info_map with the families of the device-information service that `serves`
    // takes.
    void fill_family_info(bool (*serves)(const PGMDEV_DEVICE_INFO&));
    // The tree of the shipped file; a file that can't be taken is an internal error.
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> parse_shipped_xml(const std::string& xml_file) const;
    // To be called whenever a record comes into m_flash_map or leaves it.
    void flash_map_changed() { m_index.made = false; }
    // Takes the devices of a tree, up to the first that is refused; true if all were taken.
    bool update_flash_list(const PGM_COMMON_XML_ELEMENT& object, const std::string& xml_file,
                           DIR_MAP& db_dir_map, bool removable);
    // The installation directory, then, unless it is the same, the custom directory.
    void parse_user_xml();

    // Judges the template name that a record carries: one that equals the device's is refused
    // with a warning; one that isn't free is an internal error. No template: true.
    bool carried_template_is_valid(ZORVA_FLASH& flash);
    // Judges and changes the files; the maps stay, but for definitions that somebody has taken out
    // of these files. False: nothing has changed, and m_change_outcome tells why.
    bool change_files(const std::vector<ZORVA_NEW_DEFINITION>& changes, const std::string& db_dir,
                      bool is_trial);
    // Makes the flows of a record a template of the maps.
    void keep_template(const std::string& name, ZORVA_FLASH& flash, const std::string& file);
    // Takes a definition out of its file and out of the maps. False, with the warning posted:
    // nothing has changed.
    bool delete_definition(const ZORVA_DEFINITION_KEY& key, std::string file,
                           const std::string& db_dir);
    void trace_deletion(const std::string& name, const std::string& db_dir);
    // Posts warning 20560 for a directory; false.
    static bool refuse_update(const std::string& db_dir);

    // A new record that m_flash refers to and that the manager owns.
    ZORVA_FLASH* adopt_new_flash(std::unique_ptr<ZORVA_FLASH> flash);
    void drop_placeholder();
    // What is known of a family, making an entry for one that the map lacks.
    ZORVA_FAMILY_INFO& family_info(DEV_FAMILY_ENUM family);
    bool suits_family(ZORVA_FLASH& flash, DEV_FAMILY_ENUM family);
    std::vector<DEV_FAMILY_ENUM> served_families() const;

    const ZORVA_INTERFACE& m_interface;
    DEV_FAMILY_ENUM m_active_device_family;
    PGMIO_CONFIG_SCHEME m_active_config_mode;
    bool m_use_sdm_mode;
    bool m_skip_device_filtering;
    ZORVA_FLASH* m_flash = nullptr;                   // the record last handed out; owned elsewhere
    std::map<std::string, ZORVA_FLASH*> m_flash_map;  // owns the records
    std::map<DEV_FAMILY_ENUM, ZORVA_FAMILY_INFO> m_family_info_map;
    // Name to the file that defines it, by directory and for the record in force.
    DIR_MAP m_flash_db_kestrin_dir_map;
    DIR_MAP m_flash_db_custom_dir_map;
    DIR_MAP m_flash_db_active_dir_map;
    std::map<std::string, ZORVA_USER_FLASH_TEMPLATE*> m_user_flash_template_map;  // owns them
    DIR_MAP m_template_db_dir_map;

  private:
    // What look-ups ask of the records, side by side: a load scatters the records and the nodes of
    // m_flash_map over the memory, and touching one costs more than the search.
    struct NAME_ENTRY {
        ZORVA_FLASH* flash;
        ZORVA_TEXT io_voltage;
    };
    struct ID_ENTRY {
        dword id;
        ZORVA_FLASH* flash;
    };
    struct INDEX {
        std::unordered_map<std::string, NAME_ENTRY> by_name;
        std::vector<ID_ENTRY> by_id;  // in name order
        qword change_count = 0;       // ZORVA_FLASH::get_index_change_count when it was made
        bool made = false;
    };
    const INDEX& index() const;
    // The device of a name, if the filter lets it through; null otherwise.
    ZORVA_FLASH* find_flash(const std::string& name, bool skip_filtering);

    std::optional<ZORVA_REFUSAL> judge_device_name(const std::string& name);

    // The map of a directory; one that is neither of the two is an internal error.
    DIR_MAP& dir_map_of(const std::string& db_dir);
    // Whether the record in force of a device stands in `db_dir`. One that stands in the custom
    // directory can't be changed in the installation's: an internal error.
    bool is_active_in(const std::string& device_name, const std::string& db_dir);
    static std::string directory_in_use(const std::string& file);
    ZORVA_STORE new_store(const std::string& db_dir, bool is_trial) const;
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> new_device_element(ZORVA_FLASH& flash);
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> new_template_element(ZORVA_FLASH& flash) const;
    ZORVA_FLASH* new_record(ZORVA_DEFINITION_KIND kind, const std::string& name,
                            const PGM_COMMON_XML_ELEMENT& element);
    bool says_the_same(const PGM_COMMON_XML_ELEMENT& element, ZORVA_FLASH& flash);
    // The file that defines it, as far as the maps know; empty if they don't.
    std::string file_known_of(const ZORVA_DEFINITION_KEY& key, const std::string& db_dir);
    ZORVA_CHANGE_OUTCOME check_writable(const ZORVA_DEFINITION_KEY& key, ZORVA_FLASH& flash,
                                        const std::string& db_dir);
    ZORVA_STORE_DEFINITION definition_of(const ZORVA_NEW_DEFINITION& change,
                                         const std::string& db_dir);
    bool store_device(const ZORVA_NEW_DEFINITION& change, const std::string& db_dir,
                      DIR_MAP& db_dir_map, const std::string& replaced);
    bool take_out_of_file(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                          const std::string& db_dir, bool is_trial);
    void trace_found(const ZORVA_DEFINITION_KEY& key, const std::string& file,
                     const DIR_MAP& db_dir_map) const;
    // What else a file defines, as far as the maps know.
    std::vector<ZORVA_DEFINITION_KEY> neighbours(const ZORVA_DEFINITION_KEY& key,
                                                 const std::string& file,
                                                 const DIR_MAP& db_dir_map) const;
    // Forgets what the maps place in a file that was changed, and what isn't there any more.
    void forget_missing(const ZORVA_STORE& store, const ZORVA_DEFINITION_KEY& but);
    // Take a definition out of the maps, with its record. The results of the latter two are that
    // record, if the maps held one for it.
    void forget(const ZORVA_DEFINITION_KEY& key, const std::string& file, DIR_MAP& db_dir_map);
    std::unique_ptr<ZORVA_FLASH> forget_device(const std::string& name, std::string file,
                                               DIR_MAP& db_dir_map);
    std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE> forget_template(const std::string& name);
    void adopt(ZORVA_FLASH* flash, const std::string& file, DIR_MAP& db_dir_map);

    bool parse_user_xml_in_dir(ZORVA_ORIGIN origin);
    bool parse_user_xml_file(const std::string& xml_file, ZORVA_ORIGIN origin, DIR_MAP& db_dir_map);
    bool create_user_template_list(const PGM_COMMON_XML_ELEMENT& object,
                                   const std::string& xml_file);
    bool take_flash(const PGM_COMMON_XML_ELEMENT& element, const std::string& xml_file,
                    DIR_MAP& db_dir_map, bool removable);
    bool take_template(const PGM_COMMON_XML_ELEMENT& element, const std::string& xml_file);
    void store_flash(std::unique_ptr<ZORVA_FLASH> flash, const std::string& xml_file,
                     DIR_MAP& db_dir_map);

    // Whether an element is an old definition that a broken-off change has left in its file; if
    // so, reports it as hidden.
    bool is_leftover(const PGM_COMMON_XML_ELEMENT& element, const std::string& xml_file);
    void report_directory(const FIO_FIND& find, const std::string& directory, ZORVA_ORIGIN origin);
    void report_definition(const std::string& xml_file, ZORVA_DEFINITION definition);
    // The definition in force of that device is hidden by another file from now on.
    void report_hidden(const std::string& name, const std::string& defined_in,
                       const std::string& hidden_by);
    static void report_end(ZORVA_FILE_REPORT& report, const PGM_COMMON_XML_ELEMENT& object);

    // A record that get_flash made for a legacy name.
    std::unique_ptr<ZORVA_FLASH> m_placeholder;
    // Records from create_flash that aren't stored, and records that an update displaced.
    std::vector<std::unique_ptr<ZORVA_FLASH>> m_loose_flashes;
    // Templates that were taken out of their files by others; a caller may still hold their flows.
    std::vector<std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE>> m_loose_templates;
    mutable INDEX m_index;  // made from m_flash_map when a look-up asks for it
    ZORVA_CHANGE_OUTCOME m_change_outcome;
    std::string m_replaced_file;  // while update_db replaces: the file of the old definition
    // While a directory is scanned: what a broken-off change has left in it; null if nothing.
    const ZORVA_LEFTOVER* m_leftover = nullptr;
    ZORVA_LOAD_REPORT m_load_report;
    std::unordered_map<std::string, std::size_t> m_report_places;  // path to place in the report
};
