#include "pgm/zorva/zorva_text.h"

#include <deque>
#include <unordered_map>

namespace {

// Not destroyed: records may outlive the static objects of this file.
struct POOL {
    std::deque<std::string> texts{""};
    std::unordered_map<std::string_view, std::uint32_t> numbers{{texts.front(), 0}};
};

POOL& pool() {
    static POOL* const instance = new POOL;
    return *instance;
}

}  // namespace

ZORVA_TEXT::ZORVA_TEXT(std::string_view text) {
    POOL& all = pool();
    const auto found = all.numbers.find(text);
    if (found != all.numbers.end()) {
        m_number = found->second;
        return;
    }
    m_number = static_cast<std::uint32_t>(all.texts.size());
    const std::string& kept = all.texts.emplace_back(text);
    all.numbers.emplace(kept, m_number);
}

const std::string& ZORVA_TEXT::get() const { return pool().texts[m_number]; }
