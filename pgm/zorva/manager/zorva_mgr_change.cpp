// Storing and deleting: what a manager forwards to its store.
#include "pgm/zorva/manager/zorva_mgr_parts.h"
#include "pgm/zorva/rules/zorva_report.h"

bool ZORVA_MGR::carried_template_is_valid(ZORVA_FLASH& flash) {
    const std::string name = flash.get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME);
    if (name.empty()) return true;
    if (name == flash.get_name()) {
        const ZORVA_REFUSAL refusal{
            ZORVA_MESSAGE::INVALID_TEMPLATE_NAME_CONFLICT_WITH_EXISTING_DEVICE, name, {}};
        parts().store.refuse(refusal);
        zorva_post(refusal);
        return false;
    }
    if (!is_parameter_valid(ZORVA_FLASH_PARAM_TEMPLATE_NAME, name, nullptr))
        ZORVA_FAIL(
            "template_name_is_valid(flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME))");
    return true;
}

bool ZORVA_MGR::update_db(ZORVA_FLASH* flash, std::string db_dir) {
    ZORVA_ASSERT(flash);
    ZORVA_ASSERT(!db_dir.empty());
    ZORVA_STORE::trace_update(flash->get_name(), db_dir);
    const ZORVA_DIRECTORY directory = ZORVA_STORE::directory_of(db_dir);
    if (!carried_template_is_valid(*flash)) return false;
    // The old definition goes with the writing of the new one, in one step.
    parts().store.begin_update(flash->get_name(), db_dir);
    if (!write_flash_xml_and_update_dir_map(flash, db_dir, &parts().catalogue.files_in(directory)))
        return false;
    return flash->get_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME).empty() ||
           update_template_db(flash, db_dir);
}

bool ZORVA_MGR::write_flash_xml_and_update_dir_map(ZORVA_FLASH* flash, std::string db_dir,
                                                   std::map<std::string, std::string>* db_dir_map) {
    ZORVA_ASSERT(flash);
    ZORVA_ASSERT(db_dir_map);
    return parts().store.write_device(flash, db_dir);
}

bool ZORVA_MGR::delete_db(std::string device_name, std::string db_dir) {
    ZORVA_ASSERT(!device_name.empty());
    ZORVA_ASSERT(!db_dir.empty());
    return parts().store.delete_by_name(device_name, db_dir);
}

std::string ZORVA_MGR::get_flash_document(ZORVA_FLASH* flash) {
    ZORVA_ASSERT(flash);
    return parts().store.device_document(*flash);
}

bool ZORVA_MGR::store_definitions(const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                                  const std::string& db_dir) {
    return parts().store.store_definitions(definitions, db_dir);
}

bool ZORVA_MGR::try_definitions(const std::vector<ZORVA_NEW_DEFINITION>& definitions,
                                const std::string& db_dir) {
    return parts().store.try_definitions(definitions, db_dir);
}

bool ZORVA_MGR::remove_definition(const ZORVA_DEFINITION_KEY& key, const std::string& file) {
    return parts().store.remove_definition(key, file);
}

bool ZORVA_MGR::try_removal(const ZORVA_DEFINITION_KEY& key, const std::string& file) {
    return parts().store.try_removal(key, file);
}

const ZORVA_CHANGE_OUTCOME& ZORVA_MGR::get_change_outcome() const {
    return parts().store.outcome();
}
