#include "pgm/zorva/store/zorva_replace.h"

#include "pgm/zorva/store/zorva_note.h"
#include "pgm/zorva/store/zorva_stored_file.h"
#include "services/file.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace {

// Temporary files of one interface in one directory. None fits the mask of a scan.
struct TEMPORARY_FILES {
    TEMPORARY_FILES(const ZORVA_INTERFACE& interface, const std::string& directory)
        : prefix(fmt::format("{}.zorva_{}_", directory, static_cast<int>(interface.document))),
          own(prefix + "own"),
          other(prefix + "other"),
          note(prefix + "note"),
          batch_note(prefix + "batch") {}

    std::string prefix;
    std::string own;         // the new bytes of a definition's own file
    std::string other;       // the new bytes of the file that held its old definition
    std::string note;        // what remains to be done once the first is in place
    std::string batch_note;  // which files are being made

    std::vector<std::string> all() const { return {note, batch_note, own, other}; }
};

std::string directory_of(const std::string& path) { return FIO_PATH(path).full_directory(); }

// Why the last call failed, with what it was about.
std::string failed(const std::string& path, const char* what) {
    return fmt::format("{} can't be {}: {}.", path, what, FIO_FILE_SYSTEM::error().message());
}

// The bytes of a file, none for one that isn't there; no result for one that can't be read now.
std::optional<std::string> bytes_of(const std::string& path) {
    std::string bytes;
    if (!FIO_FILE_SYSTEM::read(path, bytes) &&
        FIO_FILE_SYSTEM::error() != std::errc::no_such_file_or_directory)
        return {};
    return bytes;
}

constexpr int owner_reads_and_writes = 384;  // octal 600

// One file on its way from its old bytes to its new ones. What can fail is tried by prepare; until
// finish, undo brings back all that was there.
class FILE_STEP {
  public:
    FILE_STEP(const ZORVA_INTERFACE& interface, const ZORVA_FILE_CHANGE& change,
              std::string TEMPORARY_FILES::*sibling)
        : m_change(change),
          m_target(FIO_FILE_SYSTEM::follow(change.path)),
          m_sibling(TEMPORARY_FILES(interface, directory_of(m_target)).*sibling) {}

    std::string prepare();
    // The same for a change that is in force already and only has to be ended: who may rename may
    // do so, whoever's the file is.
    std::string prepare_end();
    std::string finish();
    void undo();
    const std::string& target() const { return m_target; }

  private:
    bool is_link() const { return m_target != m_change.path; }
    std::string prove_changeable();
    std::string write_sibling();

    const ZORVA_FILE_CHANGE& m_change;
    std::string m_target;   // where the bytes go, over all links
    std::string m_sibling;  // beside it
    bool m_made = false;
    int m_mode = -1;  // of the file as it was
};

std::string FILE_STEP::prepare() {
    if (m_target.empty()) return m_change.path + " is a link that leads nowhere.";
    if (!m_change.bytes.empty() && !FIO_FILE_SYSTEM::exists(m_target)) {
        if (!FIO_FILE_SYSTEM::touch(m_target)) return failed(m_target, "made");
        m_made = true;
    }
    m_mode = FIO_FILE_SYSTEM::mode(m_target);
    const std::string why = prove_changeable();
    return why.empty() ? write_sibling() : why;
}

std::string FILE_STEP::prepare_end() {
    m_mode = FIO_FILE_SYSTEM::mode(m_target);
    return write_sibling();
}

// Who may not change the mode isn't the owner, and must not replace the file.
std::string FILE_STEP::prove_changeable() {
    const bool goes_as_link = is_link() && m_change.bytes.empty();
    if (goes_as_link) return {};
    if (!FIO_FILE_SYSTEM::_chmod(m_target.c_str(), owner_reads_and_writes))
        return failed(m_target, "changed");
    // Others go on reading it until it is replaced.
    if (m_mode >= 0) FIO_FILE_SYSTEM::_chmod(m_target.c_str(), m_mode);
    return {};
}

// A file that is replaced keeps its mode; a new one has the one that it was made with.
std::string FILE_STEP::write_sibling() {
    if (m_change.bytes.empty()) return {};
    if (!FIO_FILE_SYSTEM::write(m_sibling, m_change.bytes)) return failed(m_target, "written");
    if (m_mode >= 0 && !FIO_FILE_SYSTEM::_chmod(m_sibling.c_str(), m_mode))
        return failed(m_target, "written");
    return {};
}

std::string FILE_STEP::finish() {
    if (!m_change.bytes.empty()) {
        if (!FIO_FILE_SYSTEM::rename(m_sibling, m_target)) return failed(m_target, "replaced");
    } else if (!FIO_FILE_SYSTEM::remove(m_change.path.c_str()) ||
               FIO_FILE_SYSTEM::exists(m_change.path)) {
        return failed(m_change.path, "removed");
    }
    FIO_FILE_SYSTEM::flush_directory(directory_of(m_target));
    return {};
}

void FILE_STEP::undo() {
    if (m_target.empty()) return;
    if (FIO_FILE_SYSTEM::exists(m_sibling)) FIO_FILE_SYSTEM::remove(m_sibling.c_str());
    // If it is still as it was made.
    if (m_made && bytes_of(m_target) == "") FIO_FILE_SYSTEM::remove(m_target.c_str());
}

// Removes what a change that failed, or one that is done, has left.
void tidy(const TEMPORARY_FILES& files) {
    for (const std::string& path : files.all())
        if (FIO_FILE_SYSTEM::exists(path)) FIO_FILE_SYSTEM::remove(path.c_str());
}

// Takes a leftover definition out of its file; false if that can't be done.
bool finish_move(const ZORVA_INTERFACE& interface, const ZORVA_LEFTOVER& leftover) {
    auto file = ZORVA_STORED_FILE::read(interface, leftover.path).file;
    if (!file) return false;
    if (!file->holds(leftover.key)) return true;
    file->erase(leftover.key);
    // What a load takes of it was judged by the change that was broken off; the order stays.
    const auto bytes = file->is_empty() ? std::string() : file->to_bytes({});
    if (!bytes) return false;
    const ZORVA_FILE_CHANGE change{leftover.path, *bytes};
    FILE_STEP step(interface, change, &TEMPORARY_FILES::other);
    return step.prepare_end().empty() && step.finish().empty();
}

// A directory, a FIFO: nothing that a change has made.
bool is_no_file(const std::error_code& error) {
    return error == std::errc::is_a_directory || error == std::errc::invalid_argument;
}

// Takes back the files of a batch that wasn't finished, as far as they are as the batch made them.
bool undo_batch(const TEMPORARY_FILES& files, const std::string& directory,
                const ZORVA_BATCH_NOTE& note) {
    bool done = true;
    for (const ZORVA_BATCH_NOTE::FILE& file : note.files) {
        const std::string path = directory + file.name;
        if (!FIO_FILE_SYSTEM::exists(path)) continue;
        const auto bytes = bytes_of(path);
        if (!bytes && !is_no_file(FIO_FILE_SYSTEM::error())) done = false;
        const bool is_ours = bytes && (bytes->empty() || zorva_digest(*bytes) == file.digest);
        if (!is_ours) continue;
        if (!file.was_there)
            done = FIO_FILE_SYSTEM::remove(path.c_str()) && done;
        else if (!bytes->empty())
            done = FIO_FILE_SYSTEM::write(files.own, "") &&
                   FIO_FILE_SYSTEM::rename(files.own, path) && done;
    }
    FIO_FILE_SYSTEM::flush_directory(directory);
    return done;
}

// What the notes in a directory tell. The result is unknown if one can't be read now.
struct NOTES {
    std::optional<ZORVA_BATCH_NOTE> batch;
    ZORVA_LEFTOVER leftover;
};

void add_move(ZORVA_LEFTOVER& leftover, const std::string& directory, const std::string& bytes) {
    const auto note = ZORVA_MOVE_NOTE::read(bytes);
    if (!note) return;
    const auto own_bytes = bytes_of(directory + note->own_name);
    if (!own_bytes) {
        leftover.is_unknown = true;
    } else if (zorva_digest(*own_bytes) == note->own_digest) {
        leftover.path = directory + note->other_name;
        leftover.key = note->key;
        leftover.replaced_by = directory + note->own_name;
    }
}

void add_batch(NOTES& notes, const std::string& directory, const std::string& bytes) {
    notes.batch = ZORVA_BATCH_NOTE::read(bytes);
    if (!notes.batch) return;
    for (const ZORVA_BATCH_NOTE::FILE& file : notes.batch->files) {
        const auto own_bytes = bytes_of(directory + file.name);
        if (!own_bytes)
            notes.leftover.is_unknown = true;
        else if (zorva_digest(*own_bytes) == file.digest)
            notes.leftover.unfinished.insert(directory + file.name);
    }
}

NOTES read_notes(const TEMPORARY_FILES& files, const std::string& directory) {
    NOTES notes;
    const auto move = bytes_of(files.note);
    const auto batch = bytes_of(files.batch_note);
    notes.leftover.is_unknown = !move || !batch;
    if (move) add_move(notes.leftover, directory, *move);
    if (batch) add_batch(notes, directory, *batch);
    return notes;
}

}  // namespace

std::string zorva_change_file(const ZORVA_INTERFACE& interface, const ZORVA_FILE_CHANGE& change) {
    FILE_STEP step(interface, change, &TEMPORARY_FILES::own);
    std::string why = step.prepare();
    if (why.empty()) why = step.finish();
    if (!why.empty()) step.undo();
    return why;
}

std::string zorva_change_files(const ZORVA_INTERFACE& interface, const ZORVA_FILE_CHANGE& own,
                               const ZORVA_FILE_CHANGE& other, const ZORVA_DEFINITION_KEY& key) {
    const std::string directory = directory_of(own.path);
    const TEMPORARY_FILES files(interface, directory);
    const ZORVA_MOVE_NOTE note{FIO_PATH(own.path).filename(), zorva_digest(own.bytes),
                               FIO_PATH(other.path).filename(), key};
    FILE_STEP own_step(interface, own, &TEMPORARY_FILES::own);
    FILE_STEP other_step(interface, other, &TEMPORARY_FILES::other);
    std::string why = own_step.prepare();
    if (why.empty()) why = other_step.prepare();
    if (why.empty() && own_step.target() == other_step.target())
        why = fmt::format("{} and {} are one file.", own.path, other.path);
    if (why.empty() && !FIO_FILE_SYSTEM::write(files.note, note.to_text()))
        why = failed(files.note, "written");
    // From the rename on the new definition is in force, and the note, which has to last until
    // then, tells what to pass over.
    if (why.empty()) FIO_FILE_SYSTEM::flush_directory(directory);
    if (why.empty()) why = own_step.finish();
    if (!why.empty()) {
        own_step.undo();
        other_step.undo();
        tidy(files);
        return why;
    }
    if (other_step.finish().empty()) tidy(files);
    return {};
}

std::string zorva_make_files(const ZORVA_INTERFACE& interface,
                             const std::vector<ZORVA_FILE_CHANGE>& changes) {
    const std::string directory = directory_of(changes.front().path);
    const TEMPORARY_FILES files(interface, directory);
    ZORVA_BATCH_NOTE note;
    for (const ZORVA_FILE_CHANGE& change : changes)
        note.files.push_back({FIO_PATH(change.path).filename(), zorva_digest(change.bytes),
                              FIO_FILE_SYSTEM::exists(change.path)});
    std::string why;
    if (!FIO_FILE_SYSTEM::write(files.batch_note, note.to_text()))
        why = failed(files.batch_note, "written");
    FIO_FILE_SYSTEM::flush_directory(directory);
    std::size_t made = 0;
    for (; why.empty() && made < changes.size(); made += why.empty() ? 1 : 0)
        why = zorva_change_file(interface, changes[made]);
    // With the note goes the doubt: all files count from here on.
    if (why.empty() && !FIO_FILE_SYSTEM::remove(files.batch_note.c_str()))
        why = failed(files.batch_note, "removed");
    note.files.resize(made);
    if (!why.empty() && undo_batch(files, directory, note)) tidy(files);
    FIO_FILE_SYSTEM::flush_directory(directory);
    return why;
}

bool zorva_is_unfinished(const ZORVA_INTERFACE& interface, const std::string& directory) {
    return std::ranges::any_of(TEMPORARY_FILES(interface, directory).all(),
                               [](const auto& path) { return FIO_FILE_SYSTEM::exists(path); });
}

ZORVA_LEFTOVER zorva_finish_change(const ZORVA_INTERFACE& interface, const std::string& directory,
                                   bool locked) {
    const TEMPORARY_FILES files(interface, directory);
    const NOTES notes = read_notes(files, directory);
    if (!locked || notes.leftover.is_unknown) return notes.leftover;
    const bool moved = notes.leftover.path.empty() || finish_move(interface, notes.leftover);
    const bool undone = !notes.batch || undo_batch(files, directory, *notes.batch);
    if (!moved || !undone) return notes.leftover;
    if (!notes.leftover.is_none()) FIO_FILE_SYSTEM::flush_directory(directory);
    tidy(files);
    return {};
}
