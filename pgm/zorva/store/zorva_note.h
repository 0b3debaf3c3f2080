// The notes that a change of several files lays down, so that the next load knows what is to be
// done if the process ends half-way.
#pragma once

#include "pgm/zorva/zorva_change.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// To recognise the bytes of a file, not to guard against forgery.
std::string zorva_digest(std::string_view bytes);

// A definition's own file has been replaced; its old definition is to be taken out of another.
// Written before the first rename, so a half-written one is about a change that hasn't begun: the
// closing word tells. File names are without directory, and none leads out of it.
struct ZORVA_MOVE_NOTE {
    std::string own_name;
    std::string own_digest;
    std::string other_name;
    ZORVA_DEFINITION_KEY key;

    std::string to_text() const;
    static std::optional<ZORVA_MOVE_NOTE> read(const std::string& bytes);
};

// Files that are made together: as long as the note stands, those that are there don't count.
struct ZORVA_BATCH_NOTE {
    struct FILE {
        std::string name;
        std::string digest;
        bool was_there;  // empty
    };
    std::vector<FILE> files;

    std::string to_text() const;
    static std::optional<ZORVA_BATCH_NOTE> read(const std::string& bytes);
};
