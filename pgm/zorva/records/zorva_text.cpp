#include "pgm/zorva/zorva_text.h"

#include "pgm/zorva/rules/zorva_text_pool.h"

#include <functional>
#include <unordered_map>
#include <vector>

namespace {

struct USE {
    std::uint32_t number;  // place in POOL::places
    std::uint32_t references = 0;
    ZORVA_VERDICTS verdicts;
};

// Hashes texts and views alike, so that a look-up makes no string.
struct HASH : std::hash<std::string_view> {
    using is_transparent = void;
};

struct POOL {
    using MAP = std::unordered_map<std::string, USE, HASH, std::equal_to<>>;
    using ENTRY = MAP::value_type;

    // The empty text has the first place and keeps it, so that a default ZORVA_TEXT needs no
    // look-up.
    POOL() { add({}); }
    ENTRY& add(std::string_view text);
    void forget(ENTRY& entry);

    MAP texts;
    std::vector<ENTRY*> places;
    std::vector<std::uint32_t> free_places;
};

// Never destroyed: static objects of other files hold texts to their own end.
POOL& pool() {
    static POOL* const instance = new POOL;
    return *instance;
}

POOL::ENTRY& POOL::add(std::string_view text) {
    if (free_places.empty()) {
        places.push_back(nullptr);
        free_places.reserve(places.capacity());  // so that forgetting never fails
        free_places.push_back(static_cast<std::uint32_t>(places.size() - 1));
    }
    const std::uint32_t number = free_places.back();
    places[number] = &*texts.emplace(text, USE{.number = number, .verdicts = {}}).first;
    free_places.pop_back();
    return *places[number];
}

void POOL::forget(ENTRY& entry) {
    free_places.push_back(entry.second.number);
    texts.erase(texts.find(entry.first));
}

}  // namespace

ZORVA_TEXT::ZORVA_TEXT(std::string_view text) {
    if (text.empty()) return;
    POOL& all = pool();
    const auto found = all.texts.find(text);
    USE& use = found == all.texts.end() ? all.add(text).second : found->second;
    ++use.references;
    m_number = use.number;
}

void ZORVA_TEXT::refer() const { ++pool().places[m_number]->second.references; }

void ZORVA_TEXT::release() const {
    POOL& all = pool();
    POOL::ENTRY& entry = *all.places[m_number];
    if (--entry.second.references == 0) all.forget(entry);
}

const std::string& ZORVA_TEXT::get() const { return pool().places[m_number]->first; }

ZORVA_VERDICTS& zorva_verdicts(const ZORVA_TEXT& text) {
    return pool().places[text.number()]->second.verdicts;
}

std::size_t zorva_pooled_text_count() { return pool().texts.size(); }
