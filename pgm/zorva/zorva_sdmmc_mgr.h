// The manager of the SD/MMC flash devices.
#pragma once

#include "pgm/zorva/zorva_mgr.h"

// The reduced form of a manager: no IDs, no flows, no templates, no legacy devices. What has to do
// with them answers with nothing, or is an internal error where a caller had to ask first.
class ZORVA_SDMMC_MGR : public ZORVA_MGR {
  public:
    // Loads the shipped file and, if the setting "pgm_enable_custom_sdmmc" is on, the user files
    // of both directories. A shipped file that can't be taken is an internal error.
    ZORVA_SDMMC_MGR();
    ~ZORVA_SDMMC_MGR() override;

    // Internal error: SD/MMC devices have no ID.
    ZORVA_FLASH* get_flash_with_id(dword id, dword mask) override;
    // The setting "pgm_enable_custom_sdmmc", read at each call.
    bool is_new_device_supported() override;
    bool is_flash_operation_supported() override;
    bool is_flash_action_supported() override;

    // All devices, in name order; no argument plays a part.
    const std::vector<std::string> get_new_config_device_list(DEV_FAMILY_ENUM family,
                                                              PGMIO_CONFIG_SCHEME config_mode,
                                                              bool skip_filtering) override;
    const std::vector<std::string> get_legacy_config_device_list(DEV_FAMILY_ENUM family,
                                                                 PGMIO_CONFIG_SCHEME config_mode,
                                                                 bool skip_filtering) override;
    const std::vector<std::string> get_prog_flow_template_list() override;
    const std::vector<std::string> get_user_template_list() override;
    ZORVA_MGR* get_new_instance() override;
    ZORVA_FLASH* create_flash(std::string device_name) override;
    // Internal errors: is_flash_action_supported and is_flash_operation_supported are false.
    ZORVA_ACTION* create_action(ZORVA_ACT_TYPE type) override;
    ZORVA_OPERATION* create_operation(ZORVA_OP_TYPE type) override;
    // Null.
    const std::vector<ZORVA_OPERATION*>* get_prog_flow_template_operation_list(
        ZORVA_PROG_FLOW_TEMPLATE prog_flow_template, ZORVA_PROG_FLOW_TYPE flow_type) override;
    const std::vector<ZORVA_OPERATION*>* get_user_template_operation_list(
        std::string& template_name, ZORVA_PROG_FLOW_TYPE flow_type) override;
    bool get_operation_editable_permission(ZORVA_FLASH* flash) override;
    // True, and nothing happens.
    bool update_template_db(ZORVA_FLASH* flash, std::string db_dir) override;
    bool delete_template(std::string template_name) override;

    // As ZORVA_QSPI_MGR::judge_files, for SD/MMC documents.
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
};
