#include "pgm/zorva/zorva_text.h"

#include "pgm/zorva/rules/zorva_text_pool.h"

#include <memory>
#include <unordered_map>
#include <vector>

namespace {

struct PLACE {
    std::string text;
    std::uint32_t references = 0;
    ZORVA_VERDICTS verdicts = {};
};

// The empty text has the first place and keeps it, so that a default ZORVA_TEXT needs no look-up.
struct POOL {
    POOL() { blocks.push_back(std::make_unique<PLACE[]>(block_size)); }
    std::uint32_t add(std::string_view text);
    void forget(std::uint32_t number);

    PLACE& at(std::uint32_t number) { return blocks[number / block_size][number % block_size]; }

    static constexpr std::uint32_t block_size = 256;
    std::vector<std::unique_ptr<PLACE[]>> blocks;  // so that a place stays where it is
    std::uint32_t count = 1;
    std::unordered_map<std::string_view, std::uint32_t> numbers;
    std::vector<std::uint32_t> free_places;
};

// Never destroyed: static objects of other files hold texts to their own end.
POOL& pool() {
    static POOL& instance = *new POOL;
    return instance;
}

std::uint32_t POOL::add(std::string_view text) {
    if (free_places.empty()) {
        if (count % block_size == 0) blocks.push_back(std::make_unique<PLACE[]>(block_size));
        free_places.reserve(count + 1);  // so that forgetting never fails
        free_places.push_back(count++);
    }
    const std::uint32_t number = free_places.back();
    PLACE& place = at(number);
    place = {std::string(text)};
    numbers.emplace(place.text, number);
    free_places.pop_back();
    return number;
}

void POOL::forget(std::uint32_t number) {
    numbers.erase(at(number).text);
    at(number) = {};
    free_places.push_back(number);
}

}  // namespace

ZORVA_TEXT::ZORVA_TEXT(std::string_view text) {
    if (text.empty()) return;
    POOL& all = pool();
    const auto found = all.numbers.find(text);
    m_number = found == all.numbers.end() ? all.add(text) : found->second;
    ++all.at(m_number).references;
}

void ZORVA_TEXT::refer() const { ++pool().at(m_number).references; }

void ZORVA_TEXT::release() const {
    POOL& all = pool();
    if (--all.at(m_number).references == 0) all.forget(m_number);
}

const std::string& ZORVA_TEXT::get() const { return pool().at(m_number).text; }

ZORVA_VERDICTS& zorva_verdicts(const ZORVA_TEXT& text) { return pool().at(text.number()).verdicts; }

std::size_t zorva_pooled_text_count() { return pool().numbers.size() + 1; }
