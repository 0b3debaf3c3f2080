// Replaces files of a database directory so that no moment is without a whole file, and finishes
// what a process that ended half-way has left. Who changes a file holds its directory's lock.
#pragma once

#include "pgm/zorva/zorva_stored_file.h"

#include <optional>
#include <string>

// What a file is to become.
struct ZORVA_FILE_CHANGE {
    std::string path;
    std::string bytes;  // empty: the file goes
};

// Replaces or removes one file. False: the file is as it was.
bool zorva_change_file(const ZORVA_INTERFACE& interface, const ZORVA_FILE_CHANGE& change);

// Replaces a definition's own file, then takes its old definition `key` out of another file of the
// directory. False: both files are as they were. Once the first is replaced the change is done; if
// the second can't be, the next load finishes it.
bool zorva_change_files(const ZORVA_INTERFACE& interface, const ZORVA_FILE_CHANGE& own,
                        const ZORVA_FILE_CHANGE& other, const ZORVA_DEFINITION_KEY& key);

// A definition that stands in a file though a newer one has replaced it in another. The path is
// empty where it can't be told just now which it is.
struct ZORVA_LEFTOVER {
    std::string path;
    ZORVA_DEFINITION_KEY key;
    std::string replaced_by;  // the file of the newer definition
};

// Finishes a change of two files that was broken off, and removes the temporary files of one; if
// another process holds the directory (`locked` is false) or it can't be written, nothing is
// touched. The result is what is still to be finished: a reader has to pass it over.
std::optional<ZORVA_LEFTOVER> zorva_finish_change(const ZORVA_INTERFACE& interface,
                                                  const std::string& directory, bool locked);
