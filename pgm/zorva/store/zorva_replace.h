// Replaces files of a database directory so that no moment is without a whole file, and finishes
// what a process that ended half-way has left. Who changes a file holds its directory's lock.
#pragma once

#include "pgm/zorva/load/zorva_interface.h"
#include "pgm/zorva/zorva_change.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

// What a file is to become. A link is followed: what it leads to is replaced and the link stays;
// a file that goes takes only the link with it.
struct ZORVA_FILE_CHANGE {
    std::string path;
    std::string bytes;  // empty: the file goes
};

// Each returns why nothing has changed; empty if the change is done.

// Replaces or removes one file.
std::string zorva_change_file(const ZORVA_INTERFACE& interface, const ZORVA_FILE_CHANGE& change);

// Replaces a definition's own file, then takes its old definition `key` out of another file of the
// directory. Once the first is replaced the change is done; if the second can't be, the next load
// finishes it.
std::string zorva_change_files(const ZORVA_INTERFACE& interface, const ZORVA_FILE_CHANGE& own,
                               const ZORVA_FILE_CHANGE& other, const ZORVA_DEFINITION_KEY& key);

// Makes files of one directory, all or none. Each is missing so far, or empty.
std::string zorva_make_files(const ZORVA_INTERFACE& interface,
                             const std::vector<ZORVA_FILE_CHANGE>& changes);

// What a broken-off change has left for a reader to pass over.
struct ZORVA_LEFTOVER {
    // A definition that stands in a file though a newer one has replaced it in another.
    std::string path;  // empty if there is none
    ZORVA_DEFINITION_KEY key;
    std::string replaced_by;  // the file of the newer definition
    // Files of definitions that belong together and weren't all made.
    std::set<std::string> unfinished;
    // True if it can't be told just now what there is.
    bool is_unknown = false;

    bool is_none() const { return path.empty() && unfinished.empty() && !is_unknown; }
};

// Finishes a change of two files that was broken off, takes back files that weren't all made, and
// removes the temporary files of both. If another process works on the directory (`locked` is
// false) or it can't be written, nothing is touched. The result is what is still to be done.
ZORVA_LEFTOVER zorva_finish_change(const ZORVA_INTERFACE& interface, const std::string& directory,
                                   bool locked);
// True if a broken-off change has left anything in the directory.
bool zorva_is_unfinished(const ZORVA_INTERFACE& interface, const std::string& directory);
