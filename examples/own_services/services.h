// What this host's program tells its services.
#pragma once

#include <string>

extern std::string own_data_directory;  // with a closing slash
