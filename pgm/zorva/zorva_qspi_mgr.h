// The manager of the QSPI flash devices.
#pragma once

#include "pgm/zorva/zorva_mgr.h"

#include <array>

// Device families ask for a new config device (with a record and flows) or a legacy one (a default
// flash device, known by name and voltage only, whose record is a placeholder without flows).
class ZORVA_QSPI_MGR : public ZORVA_MGR {
  public:
    // Loads the whole database: the shipped file, the installation directory, the custom
    // directory. A shipped file that can't be taken is an internal error.
    ZORVA_QSPI_MGR();
    ~ZORVA_QSPI_MGR() override;

    bool is_parameter_valid(ZORVA_FLASH_PARAM param, dword value, std::string* err_msg) override;
    bool is_parameter_valid(ZORVA_FLASH_PARAM param, std::string value,
                            std::string* err_msg) override;
    bool is_parameter_valid(ZORVA_FLASH_PARAM param) override;

    DEV_FAMILY_ENUM get_flash_family() override;
    const std::vector<DEV_FAMILY_ENUM> get_device_family_list() override;
    const std::vector<PGMIO_CONFIG_SCHEME> get_config_mode_list() override;
    // In name order. The scheme plays no part.
    const std::vector<std::string> get_new_config_device_list(DEV_FAMILY_ENUM family,
                                                              PGMIO_CONFIG_SCHEME config_mode,
                                                              bool skip_filtering) override;
    // Sorted by the device-information service's order within a group.
    const std::vector<std::string> get_legacy_config_device_list(DEV_FAMILY_ENUM family,
                                                                 PGMIO_CONFIG_SCHEME config_mode,
                                                                 bool skip_filtering) override;
    const std::vector<std::string> get_device_io_voltage_list() override;
    const std::vector<std::string> get_device_density_list() override;
    const std::vector<std::string> get_prog_flow_template_list() override;
    const std::vector<std::string> get_user_template_list() override;
    ZORVA_MGR* get_new_instance() override;
    ZORVA_FLASH* create_flash(std::string device_name) override;
    ZORVA_ACTION* create_action(ZORVA_ACT_TYPE type) override;
    ZORVA_OPERATION* create_operation(ZORVA_OP_TYPE type) override;
    // A template outside 0 to 4 is an internal error. Any flow type but SDM gives the SFL flow.
    const std::vector<ZORVA_OPERATION*>* get_prog_flow_template_operation_list(
        ZORVA_PROG_FLOW_TEMPLATE prog_flow_template, ZORVA_PROG_FLOW_TYPE flow_type) override;
    // An unknown name is an internal error.
    const std::vector<ZORVA_OPERATION*>* get_user_template_operation_list(
        std::string& template_name, ZORVA_PROG_FLOW_TYPE flow_type) override;
    bool get_operation_editable_permission(ZORVA_FLASH* flash) override;
    bool update_template_db(ZORVA_FLASH* flash, std::string db_dir) override;
    bool delete_template(std::string template_name) override;

    // The good values of a parameter that is a number; nothing for any other parameter.
    static std::optional<ZORVA_VALUE_RANGE> get_parameter_range(ZORVA_FLASH_PARAM param);

    // The file that update_template_db would write for the flows of a record, where nothing else
    // stands in it; empty if it couldn't.
    static std::string get_template_document(const std::string& template_name, ZORVA_FLASH* flash);

    // Judges files by themselves, not against the database, reading on behind a bad definition;
    // a name counts as defined twice if two of the files in one directory define it. Posts
    // nothing. A file that can't be read is reported as SKIPPED.
    static ZORVA_LOAD_REPORT judge_files(const std::vector<std::string>& files);
    // The same for the bytes of one document, which the report calls `name`.
    static ZORVA_FILE_REPORT judge_bytes(const std::string& bytes, const std::string& name);

  protected:
    PGM_COMMON_XML_ELEMENT* create_xml_object_with_flash_list(
        std::vector<ZORVA_FLASH*> flash_list) override;
    void create_user_template_with_template_list(PGM_COMMON_XML_ELEMENT*& root,
                                                 std::vector<std::string> template_list) override;
    bool is_legacy_config_device(const std::string& device_name, DEV_FAMILY_ENUM family,
                                 PGMIO_CONFIG_SCHEME config_mode, bool skip_filtering) override;

  private:
    void initialize_flash_info();
    bool parse_golden_template_xml();
    bool create_flash_info_with_golden_template(const PGM_COMMON_XML_ELEMENT& object,
                                                const std::string& xml_file);
    bool legacy_config_device_suits(const std::string& device_name, const std::string& io_voltage,
                                    DEV_FAMILY_ENUM family, PGMIO_CONFIG_SCHEME config_mode,
                                    bool skip_filtering);

    std::unique_ptr<PGM_COMMON_XML_ELEMENT> create_xml_device_info(ZORVA_FLASH* flash);
    bool write_template_xml_and_update_dir_map(ZORVA_FLASH* flash, const std::string& db_dir);

    std::optional<ZORVA_REFUSAL> judge_template_name(const std::string& name);
    std::optional<ZORVA_REFUSAL> judge_prog_flow_template(const std::string& name);
    bool device_id_is_valid(std::string id, std::string* err_msg);
    bool total_device_die_is_valid(dword value, std::string* err_msg);
    bool dummy_clock_cycle_is_valid(dword value, std::string* err_msg);
    bool template_name_is_valid(std::string name, std::string* err_msg);
    bool prog_flow_template_is_valid(std::string name, std::string* err_msg);

    // By the number of the golden vendor.
    std::array<std::unique_ptr<ZORVA_USER_FLASH_TEMPLATE>, ZORVA_PROG_FLOW_TEMPLATE_COUNT>
        m_golden_templates;
    std::map<std::string, std::string> m_legacy_flash_map;  // name to I/O voltage
};
