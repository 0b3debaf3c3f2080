// The two directories of user files, and the user's stored choice; as ZORVA_MGR tells of its
// operations of like names.
#pragma once

#include <string>

std::string zorva_installation_directory();
std::string zorva_custom_directory();
void zorva_set_custom_directory(std::string dir);
std::string zorva_stored_custom_directory();
bool zorva_store_custom_directory(const std::string& dir, bool force);

// The directory of the database in which a file lies; empty for neither.
std::string zorva_database_directory(const std::string& file);
