// The two directories of user files, and the user's stored choice.
#include "pgm/zorva/zorva_mgr.h"
#include "services/file.h"
#include "services/pgm_common.h"
#include "services/settings.h"
#include "services/text.h"

namespace {

// The custom directory of this process; empty until it is set.
std::string s_db_custom_dir;

std::string normalised(std::string dir) {
    PGM_COMMON::change_folder_slash(dir);
    return dir;
}

}  // namespace

const std::string ZORVA_MGR::get_db_kestrin_dir() {
    return normalised(PGM_COMMON::pgm_get_common_programmer() + "xml/");
}

const std::string ZORVA_MGR::get_db_custom_dir() {
    if (s_db_custom_dir.empty()) s_db_custom_dir = normalised("./");
    return s_db_custom_dir;
}

void ZORVA_MGR::set_db_custom_dir(std::string dir) {
    s_db_custom_dir = dir.empty() ? dir : normalised(dir + "/");
}

const std::string ZORVA_MGR::get_custom_dir_from_ini() {
    const std::string stored = cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR);
    if (!stored.empty()) return normalised(stored + "/");
    const std::string dir = normalised("./");
    return save_custom_dir_to_ini(dir, false) ? dir : std::string();
}

bool ZORVA_MGR::save_custom_dir_to_ini(std::string dir, bool force) {
    if (!force && (dir.empty() || !FIO_FILE_SYSTEM::exists(dir))) return false;
    const std::string value = normalised(dir + "/");
    const std::string stored = cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR);
    // A change of case alone isn't stored: callers rely on it.
    if (gen_stricmp(stored.c_str(), value.c_str()) == 0) return true;
    return cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, value.c_str()) &&
           cfg_write_user_ini_file();
}
