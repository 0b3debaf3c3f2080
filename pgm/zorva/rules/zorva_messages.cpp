#include "pgm/zorva/rules/zorva_messages.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

namespace {

constexpr MSG_POST_TYPE post_type_W = MSG_POST_WARNING;
constexpr MSG_POST_TYPE post_type_E = MSG_POST_ERROR;

constexpr ZORVA_MESSAGE_ROW message_table[] = {
#define ZORVA_MESSAGE_TABLE_ROW(id, grade, name, shape, text)                                      \
    {id,                                                                                           \
     post_type_##grade,                                                                            \
     ZORVA_MESSAGE_SHAPE::shape,                                                                   \
     "ZORVA_" #name,                                                                               \
     text,                                                                                         \
     text "/" #grade "ZORVA_" #name},
    ZORVA_MESSAGES(ZORVA_MESSAGE_TABLE_ROW)
#undef ZORVA_MESSAGE_TABLE_ROW
};
static_assert(std::size(message_table) == ZORVA_MESSAGE_COUNT);

// Callers compare these two sentences, which differ from the posted texts by a word.
struct SENTENCE_OVERRIDE {
    ZORVA_MESSAGE message;
    const char* text;
};
constexpr SENTENCE_OVERRIDE sentence_overrides[] = {
    {ZORVA_MESSAGE::INVALID_ACTION_PAGE_SIZE_WITH_EMPTY_STRING_OR_SPECIAL_CHAR,
     "Action page size '%1!s!' is invalid. It either contains an empty string or special "
     "characters, or has a value other than 256."},
    {ZORVA_MESSAGE::INVALID_TEMPLATE_NAME_CONFLICT_WITH_EXISTING_DEVICE,
     "Tempate name '%1!s!' is invalid as it conflicts with existing device name in the device "
     "database."},
};

constexpr auto registered_ids = [] {
    std::array<unsigned, ZORVA_MESSAGE_COUNT> ids{};
    std::ranges::transform(message_table, ids.begin(), &ZORVA_MESSAGE_ROW::id);
    return ids;
}();
constexpr auto registered_types = [] {
    std::array<MSG_POST_TYPE, ZORVA_MESSAGE_COUNT> types{};
    std::ranges::transform(message_table, types.begin(), &ZORVA_MESSAGE_ROW::type);
    return types;
}();
const MSG_ID_REGISTRAR registrar(registered_ids.data(), registered_types.data(),
                                 registered_ids.size());

using VALUES = std::vector<std::string>;

MSG_BASE* new_warning(ZORVA_MESSAGE message, const VALUES& values) {
    const ZORVA_MESSAGE_ROW& row = zorva_message_row(message);
    if (MSG_INDEX::get_default_index()->is_suppressed(row.id)) return new MSG_W_NULL;
    auto warning = std::make_unique<MSG_W>(nullptr);
    warning->fill_values(row.catalogue, values);
    warning->set_severity_level(1);
    warning->set_id(row.id);
    return warning.release();
}

// Errors can't be suppressed and carry no severity level.
MSG_BASE* new_error(ZORVA_MESSAGE message, const VALUES& values) {
    const ZORVA_MESSAGE_ROW& row = zorva_message_row(message);
    auto error = std::make_unique<MSG_E>(nullptr);
    error->fill_values(row.catalogue, values);
    error->set_id(row.id);
    return error.release();
}

const char* sentence_text(ZORVA_MESSAGE message) {
    for (const SENTENCE_OVERRIDE& row : sentence_overrides)
        if (row.message == message) return row.text;
    return zorva_message_row(message).text;
}

}  // namespace

const ZORVA_MESSAGE_ROW& zorva_message_row(ZORVA_MESSAGE message) {
    return message_table[static_cast<std::size_t>(message)];
}

#define ZORVA_FACTORY_NONE(name)
#define ZORVA_FACTORY_TEXT(name)                                                                   \
    MSG_BASE* ZORVA_##name(const std::string& value) {                                             \
        return new_warning(ZORVA_MESSAGE::name, {value});                                          \
    }
#define ZORVA_FACTORY_NUMBER(name)                                                                 \
    MSG_BASE* ZORVA_##name(dword value) {                                                          \
        return new_warning(ZORVA_MESSAGE::name, {std::to_string(value)});                          \
    }
#define ZORVA_FACTORY_TWO_TEXTS(name)                                                              \
    MSG_BASE* ZORVA_##name(const std::string& value, const std::string& directory) {               \
        return new_error(ZORVA_MESSAGE::name, {value, directory});                                 \
    }
#define ZORVA_FACTORY(id, grade, name, shape, text) ZORVA_FACTORY_##shape(name)
ZORVA_MESSAGES(ZORVA_FACTORY)
#undef ZORVA_FACTORY

std::string zorva_sentence(const ZORVA_REFUSAL& refusal) {
    std::string sentence;
    std::string_view rest = sentence_text(refusal.message);
    // A placeholder is "%N!s!" or "%N!d!".
    for (std::size_t at; (at = rest.find('%')) != rest.npos; rest.remove_prefix(at + 5)) {
        sentence += rest.substr(0, at);
        sentence += rest[at + 1] == '1' ? refusal.value : refusal.directory;
    }
    return sentence += rest;
}

void zorva_post(const ZORVA_REFUSAL& refusal) {
    const bool is_error =
        zorva_message_row(refusal.message).shape == ZORVA_MESSAGE_SHAPE::TWO_TEXTS;
    const std::unique_ptr<MSG_BASE> message(
        is_error ? new_error(refusal.message, {refusal.value, refusal.directory})
                 : new_warning(refusal.message, {refusal.value}));
    message->post();
}
