// What the next load takes of the database, judged from the files and not from what a manager
// remembers of them: before a change, and as it will be behind it.
#pragma once

#include "pgm/zorva/store/zorva_stored_file.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

class ZORVA_DATABASE_VIEW {
  public:
    // A definition where it counts: a device within its directory, a template everywhere.
    struct PLACE {
        std::size_t directory;  // 0 for a template
        ZORVA_DEFINITION_KEY key;
        bool operator<(const PLACE& other) const {
            return std::tie(directory, key) < std::tie(other.directory, other.key);
        }
    };
    // The file by which each is in force.
    using IN_FORCE = std::map<PLACE, std::string>;

    // The directories in the order of their load. The shipped devices stand in the first one, in
    // front of its files.
    ZORVA_DATABASE_VIEW(const ZORVA_INTERFACE& interface, std::vector<std::string> directories,
                        std::set<std::string> shipped_devices);

    // From here on a file holds this.
    void put(const std::string& file, ZORVA_CONTENTS contents);
    // A definition that is to come counts among those that are there.
    void expect(const PLACE& place) { m_expected.insert(place); }
    // Reads all files that define a name which is expected or which a file read so far defines:
    // whatever changes in those has no bearing on any other. Why a directory can't be listed;
    // empty if all is read.
    std::string read_related();

    PLACE place_of(const ZORVA_DEFINITION_KEY& key, const std::string& directory) const;
    // The files of a directory that define a name, in force or not.
    std::vector<std::string> files_with(const ZORVA_DEFINITION_KEY& key,
                                        const std::string& directory) const;
    IN_FORCE in_force() const;

  private:
    using FILES = std::map<std::string, ZORVA_CONTENTS>;  // by path, which is the order of a scan

    std::size_t place_of_directory(const std::string& directory) const;
    bool read_related_in(std::size_t place, std::string& why);
    // The names of a kind that count where the files of a directory do.
    std::set<std::string> names_met(ZORVA_DEFINITION_KIND kind, std::size_t own) const;
    static void bring_into_force(std::size_t place, const std::string& file,
                                 const ZORVA_CONTENTS& contents, IN_FORCE& in_force);

    const ZORVA_INTERFACE& m_interface;
    std::vector<std::string> m_directories;
    std::vector<FILES> m_files;  // by directory
    std::set<std::string> m_shipped_devices;
    std::set<PLACE> m_expected;
};
