#include "pgm/zorva/load/zorva_directories.h"

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

std::string zorva_installation_directory() {
    return normalised(PGM_COMMON::pgm_get_common_programmer() + "xml/");
}

std::string zorva_custom_directory() {
    if (s_db_custom_dir.empty()) s_db_custom_dir = normalised("./");
    return s_db_custom_dir;
}

void zorva_set_custom_directory(std::string dir) {
    s_db_custom_dir = dir.empty() ? dir : normalised(dir + "/");
}

std::string zorva_stored_custom_directory() {
    const std::string stored = cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR);
    if (!stored.empty()) return normalised(stored + "/");
    const std::string dir = normalised("./");
    return zorva_store_custom_directory(dir, false) ? dir : std::string();
}

bool zorva_store_custom_directory(const std::string& dir, bool force) {
    if (!force && (dir.empty() || !FIO_FILE_SYSTEM::exists(dir))) return false;
    const std::string value = normalised(dir + "/");
    const std::string stored = cfg_get_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR);
    // A change of case alone isn't stored: callers rely on it.
    if (gen_stricmp(stored.c_str(), value.c_str()) == 0) return true;
    return cfg_set_user_ini_value(CFG_USER_INI_ZORVA_CUSTOM_DIR, value.c_str()) &&
           cfg_write_user_ini_file();
}

std::string zorva_database_directory(const std::string& file) {
    const std::string directory = FIO_PATH(file).full_directory();
    const bool is_ours =
        directory == zorva_installation_directory() || directory == zorva_custom_directory();
    return is_ours ? directory : std::string();
}
