#include "pgm/zorva/store/zorva_note.h"

#include "services/types.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

namespace {

constexpr const char* closing_word = "end";

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

std::string counted(const char* word, const std::string& bytes) {
    return fmt::format("{} {}\n{}\n", word, bytes.size(), bytes);
}

bool is_whole(std::istream& text) {
    std::string word;
    text >> word;
    return text && word == closing_word;
}

bool is_file_name(const std::string& name) {
    return !name.empty() && name.find('/') == std::string::npos;
}

}  // namespace

// FNV-1a
std::string zorva_digest(std::string_view bytes) {
    qword hash = 0xcbf29ce484222325;
    for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    return fmt::format("{:016x}", hash);
}

std::string ZORVA_MOVE_NOTE::to_text() const {
    return fmt::format("{}digest {}\n{}kind {}\n{}{}\n", counted("own", own_name), own_digest,
                       counted("other", other_name), static_cast<int>(key.kind),
                       counted("name", key.name), closing_word);
}

std::optional<ZORVA_MOVE_NOTE> ZORVA_MOVE_NOTE::read(const std::string& bytes) {
    std::istringstream text(bytes);
    ZORVA_MOVE_NOTE note;
    std::string word;
    int kind = -1;
    note.own_name = read_counted(text);
    text >> word >> note.own_digest;
    note.other_name = read_counted(text);
    text >> word >> kind;
    note.key.kind = static_cast<ZORVA_DEFINITION_KIND>(kind);
    note.key.name = read_counted(text);
    if (!is_whole(text) || (kind != 0 && kind != 1)) return {};
    if (!is_file_name(note.own_name) || !is_file_name(note.other_name)) return {};
    return note;
}

std::string ZORVA_BATCH_NOTE::to_text() const {
    std::string text = fmt::format("files {}\n", files.size());
    for (const FILE& file : files)
        text += fmt::format("{}digest {}\nwas {}\n", counted("file", file.name), file.digest,
                            file.was_there ? 1 : 0);
    return text + closing_word + "\n";
}

std::optional<ZORVA_BATCH_NOTE> ZORVA_BATCH_NOTE::read(const std::string& bytes) {
    std::istringstream text(bytes);
    ZORVA_BATCH_NOTE note;
    std::string word;
    std::size_t count = 0;
    text >> word >> count;
    for (; text && note.files.size() < count;) {
        FILE file;
        int was_there = 0;
        file.name = read_counted(text);
        text >> word >> file.digest >> word >> was_there;
        file.was_there = was_there != 0;
        note.files.push_back(std::move(file));
    }
    const bool stay_here =
        std::ranges::all_of(note.files, [](const FILE& file) { return is_file_name(file.name); });
    if (!is_whole(text) || !stay_here) return {};
    return note;
}
