// The manager of the SD/MMC flash devices.
#pragma once

#include "pgm/zorva/zorva_mgr.h"

// The reduced form of a manager: no IDs, no flows, no templates, no legacy devices. Its list of new
// devices holds all of them, whatever the arguments; making an action or an operation is an
// internal error; storing or deleting a template is true, and nothing happens.
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

    ZORVA_MGR* get_new_instance() override;
    ZORVA_FLASH* create_flash(std::string device_name) override;

    // As ZORVA_QSPI_MGR::judge_files, for SD/MMC documents.
    static ZORVA_LOAD_REPORT judge_files(const std::vector<std::string>& files);
    // The same for the bytes of one document, which the report calls `name`.
    static ZORVA_FILE_REPORT judge_bytes(const std::string& bytes, const std::string& name);

  protected:
    PGM_COMMON_XML_ELEMENT* create_xml_object_with_flash_list(
        std::vector<ZORVA_FLASH*> flash_list) override;

  private:
    std::unique_ptr<PGM_COMMON_XML_ELEMENT> create_xml_device_info(ZORVA_FLASH* flash);
};
