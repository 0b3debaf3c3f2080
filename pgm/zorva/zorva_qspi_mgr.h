// The manager of the QSPI flash devices.
#pragma once

#include "pgm/zorva/zorva_mgr.h"

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

    // In name order. The scheme plays no part.
    const std::vector<std::string> get_new_config_device_list(DEV_FAMILY_ENUM family,
                                                              PGMIO_CONFIG_SCHEME config_mode,
                                                              bool skip_filtering) override;
    // Sorted by the device-information service's order within a group.
    const std::vector<std::string> get_legacy_config_device_list(DEV_FAMILY_ENUM family,
                                                                 PGMIO_CONFIG_SCHEME config_mode,
                                                                 bool skip_filtering) override;
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
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> create_xml_device_info(ZORVA_FLASH* flash);

    bool device_id_is_valid(std::string id, std::string* err_msg);
    bool total_device_die_is_valid(dword value, std::string* err_msg);
    bool dummy_clock_cycle_is_valid(dword value, std::string* err_msg);
    bool template_name_is_valid(std::string name, std::string* err_msg);
    bool prog_flow_template_is_valid(std::string name, std::string* err_msg);
};
