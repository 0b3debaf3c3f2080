// The settings service: on/off settings and the user's stored values.
#pragma once

#include <string>

// A truth value of the host; its first byte is the truth.
struct NEVARA_BOOL {
    bool value;
    explicit operator bool() const { return value; }
};

// Numbers of the user's stored values.
enum CFG_USER_INI_ENUMS : unsigned { CFG_USER_INI_ZORVA_CUSTOM_DIR = 94 };

// The on/off settings that the library asks for; all are off by default.
inline constexpr const char* CFG_ENABLE_SDMMC = "pgm_enable_sdmmc";
inline constexpr const char* CFG_ENABLE_CUSTOM_SDMMC = "pgm_enable_custom_sdmmc";
inline constexpr const char* CFG_ENABLE_SDMMC_ORLANE = "pgm_enable_sdmmc_orlane";
inline constexpr const char* CFG_SKIP_DEVICE_FILTERING = "pgm_zorva_skip_device_filtering";
inline constexpr const char* CFG_ENABLE_OPERATION_EDITABLE = "pgm_zorva_enable_operation_editable";

struct CFG_SWITCH {
    const char* key;
    const char* effect;  // of a setting that is on, for people
};
inline constexpr CFG_SWITCH CFG_SWITCHES[] = {
    {CFG_ENABLE_SDMMC, "SD/MMC devices are there"},
    {CFG_ENABLE_CUSTOM_SDMMC, "SD/MMC devices of your own are read and can be made"},
    {CFG_ENABLE_SDMMC_ORLANE, "family 28 is served with SD/MMC devices"},
    {CFG_SKIP_DEVICE_FILTERING, "devices of every I/O voltage suit every family"},
    {CFG_ENABLE_OPERATION_EDITABLE, "flows of every device may be edited"},
};

// The on/off setting `key`: what the host set (pgm_host::set_setting), else what the settings
// file says, else `default_value`.
NEVARA_BOOL cfg_is_on(std::string key, bool default_value);

// The stored text; empty if there is none.
std::string cfg_get_user_ini_value(CFG_USER_INI_ENUMS entry);
// Sets the value in memory; false if it can't be held. cfg_write_user_ini_file() stores it, or
// takes an empty one out.
bool cfg_set_user_ini_value(CFG_USER_INI_ENUMS entry, const char* value);
// Writes the settings file, whole or not at all. False if it could not be written: the values set
// since are forgotten, and what is stored is what the file says.
bool cfg_write_user_ini_file();
