#include "pgm/zorva/zorva_replace.h"

#include "pgm/zorva/zorva_report.h"
#include "services/file.h"

#include <cerrno>
#include <sstream>
#include <string_view>

namespace {

// Temporary files of one interface in one directory. None fits the mask of a scan.
struct TEMPORARY_FILES {
    TEMPORARY_FILES(const ZORVA_INTERFACE& interface, const std::string& directory)
        : prefix(fmt::format("{}.zorva_{}_", directory, static_cast<int>(interface.document))),
          own(prefix + "own"),
          other(prefix + "other"),
          note(prefix + "note") {}

    std::string prefix;
    std::string own;    // the new bytes of a definition's own file
    std::string other;  // the new bytes of the file that held its old definition
    std::string note;   // what remains to be done once the first is in place
};

std::string directory_of(const std::string& path) { return FIO_PATH(path).full_directory(); }

// FNV-1a, to recognise the bytes of a file, not to guard against forgery.
std::string digest(std::string_view bytes) {
    qword hash = 0xcbf29ce484222325;
    for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    return fmt::format("{:016x}", hash);
}

// The note is written before the first rename, so a half-written one is about a change that hasn't
// begun: the closing word tells.
struct NOTE {
    std::string own_name;
    std::string own_digest;
    std::string other_name;
    ZORVA_DEFINITION_KEY key;

    std::string to_text() const {
        return fmt::format("own {}\n{}\ndigest {}\nother {}\n{}\nkind {}\nname {}\n{}\nend\n",
                           own_name.size(), own_name, own_digest, other_name.size(), other_name,
                           static_cast<int>(key.kind), key.name.size(), key.name);
    }
};

// A word, a length, and behind the line's end that many bytes.
std::string read_counted(std::istream& text) {
    std::string word;
    std::size_t length = 0;
    text >> word >> length;
    constexpr std::size_t longest = 4096;
    if (!text || text.get() != '\n' || length > longest) {
        text.setstate(std::ios::failbit);
        return {};
    }
    std::string bytes(length, '\0');
    text.read(bytes.data(), static_cast<std::streamsize>(length));
    return bytes;
}

std::optional<NOTE> read_note(const std::string& bytes) {
    std::istringstream text(bytes);
    NOTE note;
    std::string word;
    int kind = 0;
    note.own_name = read_counted(text);
    text >> word >> note.own_digest;
    note.other_name = read_counted(text);
    text >> word >> kind;
    note.key.kind = static_cast<ZORVA_DEFINITION_KIND>(kind);
    note.key.name = read_counted(text);
    text >> word;
    const bool whole = text && word == "end" && (kind == 0 || kind == 1);
    const bool in_directory = note.own_name.find('/') == std::string::npos &&
                              note.other_name.find('/') == std::string::npos;
    if (!whole || !in_directory) return {};
    return note;
}

// The bytes of a file, none for one that isn't there; no result for one that can't be read now.
std::optional<std::string> bytes_of(const std::string& path) {
    std::string bytes;
    errno = 0;
    if (!FIO_FILE_SYSTEM::read(path, bytes) && errno != ENOENT) return {};
    return bytes;
}

// Removes a file that make_room has made, if it is still as it was made.
void unmake_room(const std::string& path, bool made) {
    if (made && bytes_of(path) == "") FIO_FILE_SYSTEM::remove(path.c_str());
}

constexpr int owner_reads_and_writes = 384;  // octal 600

// Makes sure that a file of that name can be made and removed; *made tells if it was made.
bool make_room(const std::string& path, bool* made) {
    *made = false;
    if (!FIO_FILE_SYSTEM::exists(path)) {
        zorva_trace("Touch new XML file, %s", path.c_str());
        if (!FIO_FILE_SYSTEM::touch(path)) return false;
        *made = true;
    }
    zorva_trace("Deleting old XML file %s", path.c_str());
    return true;
}

bool put_in_place(const std::string& temporary, const std::string& path) {
    return FIO_FILE_SYSTEM::_chmod(path.c_str(), owner_reads_and_writes) &&
           FIO_FILE_SYSTEM::rename(temporary, path);
}

bool remove_file(const std::string& path) {
    return FIO_FILE_SYSTEM::_chmod(path.c_str(), owner_reads_and_writes) &&
           FIO_FILE_SYSTEM::remove(path.c_str()) && !FIO_FILE_SYSTEM::exists(path);
}

// Removes what a change that failed, or one that is done, has left.
void tidy(const TEMPORARY_FILES& files) {
    for (const std::string* path : {&files.note, &files.own, &files.other})
        if (FIO_FILE_SYSTEM::exists(*path)) FIO_FILE_SYSTEM::remove(path->c_str());
}

// Puts the new bytes in place of a file or removes it; the temporary file has been written.
bool finish_file(const std::string& temporary, const ZORVA_FILE_CHANGE& change) {
    return change.bytes.empty() ? remove_file(change.path) : put_in_place(temporary, change.path);
}

// Takes a leftover definition out of its file; false if that can't be done.
bool take_out(const ZORVA_INTERFACE& interface, const TEMPORARY_FILES& files,
              const ZORVA_LEFTOVER& leftover) {
    auto file =
        ZORVA_STORED_FILE::read(interface, leftover.path, [](const auto&) { return false; });
    if (!file) return false;
    if (!file->holds(leftover.key)) return true;
    file->erase(leftover.key);
    const auto bytes = file->is_empty() ? std::string() : file->to_bytes();
    return bytes && (bytes->empty() || FIO_FILE_SYSTEM::write(files.other, *bytes)) &&
           finish_file(files.other, {leftover.path, *bytes});
}

}  // namespace

bool zorva_change_file(const ZORVA_INTERFACE& interface, const ZORVA_FILE_CHANGE& change) {
    const std::string directory = directory_of(change.path);
    const TEMPORARY_FILES files(interface, directory);
    bool made = false;
    bool done = change.bytes.empty() ||
                (make_room(change.path, &made) && FIO_FILE_SYSTEM::write(files.own, change.bytes));
    if (done && !change.bytes.empty()) zorva_trace("Writing new XML file, %s", change.path.c_str());
    done = done && finish_file(files.own, change);
    if (!done) {
        tidy(files);
        unmake_room(change.path, made);
    }
    FIO_FILE_SYSTEM::flush_directory(directory);
    return done;
}

bool zorva_change_files(const ZORVA_INTERFACE& interface, const ZORVA_FILE_CHANGE& own,
                        const ZORVA_FILE_CHANGE& other, const ZORVA_DEFINITION_KEY& key) {
    const std::string directory = directory_of(own.path);
    const TEMPORARY_FILES files(interface, directory);
    const NOTE note{FIO_PATH(own.path).filename(), digest(own.bytes),
                    FIO_PATH(other.path).filename(), key};
    bool made = false;
    const bool prepared =
        make_room(own.path, &made) && FIO_FILE_SYSTEM::write(files.own, own.bytes) &&
        (other.bytes.empty() || FIO_FILE_SYSTEM::write(files.other, other.bytes)) &&
        FIO_FILE_SYSTEM::write(files.note, note.to_text());
    FIO_FILE_SYSTEM::flush_directory(directory);
    zorva_trace("Writing new XML file, %s", own.path.c_str());
    if (!prepared || !put_in_place(files.own, own.path)) {
        tidy(files);
        unmake_room(own.path, made);
        return false;
    }
    FIO_FILE_SYSTEM::flush_directory(directory);
    // From here on the new definition is in force, and the note tells what to pass over.
    if (finish_file(files.other, other)) {
        FIO_FILE_SYSTEM::flush_directory(directory);
        tidy(files);
    }
    return true;
}

std::optional<ZORVA_LEFTOVER> zorva_finish_change(const ZORVA_INTERFACE& interface,
                                                  const std::string& directory, bool locked) {
    const TEMPORARY_FILES files(interface, directory);
    const std::optional<std::string> note_bytes = bytes_of(files.note);
    if (!note_bytes) return ZORVA_LEFTOVER{};
    const std::optional<NOTE> note = read_note(*note_bytes);
    std::optional<ZORVA_LEFTOVER> leftover;
    if (note) {
        const std::optional<std::string> own_bytes = bytes_of(directory + note->own_name);
        if (!own_bytes) return ZORVA_LEFTOVER{};
        if (digest(*own_bytes) == note->own_digest)
            leftover =
                ZORVA_LEFTOVER{directory + note->other_name, note->key, directory + note->own_name};
    }
    if (!locked || (leftover && !take_out(interface, files, *leftover))) return leftover;
    if (leftover) FIO_FILE_SYSTEM::flush_directory(directory);
    tidy(files);
    return {};
}
