#include "pgm/zorva/rules/zorva_messages.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

namespace {

// What a refusal holds, handed to a factory of each shape.
template <MSG_BASE* (*FACTORY)(const std::string&)>
MSG_BASE* create_from_text(const ZORVA_REFUSAL& refusal) {
    return FACTORY(std::get<std::string>(refusal.value));
}
template <MSG_BASE* (*FACTORY)(dword)>
MSG_BASE* create_from_number(const ZORVA_REFUSAL& refusal) {
    return FACTORY(std::get<dword>(refusal.value));
}
template <MSG_BASE* (*FACTORY)(const std::string&, const std::string&)>
MSG_BASE* create_from_two_texts(const ZORVA_REFUSAL& refusal) {
    return FACTORY(std::get<std::string>(refusal.value), refusal.directory);
}

constexpr MSG_POST_TYPE post_type_W = MSG_POST_WARNING;
constexpr MSG_POST_TYPE post_type_E = MSG_POST_ERROR;

#define ZORVA_CREATE_NONE(name) nullptr
#define ZORVA_CREATE_TEXT(name) create_from_text<ZORVA_##name>
#define ZORVA_CREATE_NUMBER(name) create_from_number<ZORVA_##name>
#define ZORVA_CREATE_TWO_TEXTS(name) create_from_two_texts<ZORVA_##name>
constexpr ZORVA_MESSAGE_ROW message_table[] = {
#define ZORVA_MESSAGE_TABLE_ROW(id, grade, name, shape, text)                                      \
    {id,                                                                                           \
     post_type_##grade,                                                                            \
     ZORVA_MESSAGE_SHAPE::shape,                                                                   \
     "ZORVA_" #name,                                                                               \
     text,                                                                                         \
     text "/" #grade "ZORVA_" #name,                                                               \
     ZORVA_CREATE_##shape(name)},
    ZORVA_MESSAGES(ZORVA_MESSAGE_TABLE_ROW)
#undef ZORVA_MESSAGE_TABLE_ROW
};

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
    std::array<unsigned, std::size(message_table)> ids{};
    std::ranges::transform(message_table, ids.begin(), &ZORVA_MESSAGE_ROW::id);
    return ids;
}();
constexpr auto registered_types = [] {
    std::array<MSG_POST_TYPE, std::size(message_table)> types{};
    std::ranges::transform(message_table, types.begin(), &ZORVA_MESSAGE_ROW::type);
    return types;
}();
const MSG_ID_REGISTRAR registrar(registered_ids.data(), registered_types.data(),
                                 registered_ids.size());

MSG_BASE* new_message(ZORVA_MESSAGE message, const std::vector<std::string>& values) {
    const ZORVA_MESSAGE_ROW& row = zorva_message_row(message);
    const bool is_error = row.type == MSG_POST_ERROR;
    // Errors can't be suppressed and carry no severity level.
    if (!is_error && MSG_INDEX::get_default_index()->is_suppressed(row.id)) return new MSG_W_NULL;
    std::unique_ptr<MSG_BASE> made;
    if (is_error)
        made = std::make_unique<MSG_E>(nullptr);
    else
        made = std::make_unique<MSG_W>(nullptr);
    made->fill_values(row.catalogue, values);
    if (!is_error) made->set_severity_level(1);
    made->set_id(row.id);
    return made.release();
}

std::string sentence_text(ZORVA_MESSAGE message) {
    for (const SENTENCE_OVERRIDE& row : sentence_overrides)
        if (row.message == message) return row.text;
    return zorva_message_row(message).text;
}

std::string text_of(const ZORVA_REFUSAL& refusal) {
    const dword* number = std::get_if<dword>(&refusal.value);
    return number ? std::to_string(*number) : std::get<std::string>(refusal.value);
}

}  // namespace

std::span<const ZORVA_MESSAGE_ROW> zorva_messages() { return message_table; }

const ZORVA_MESSAGE_ROW& zorva_message_row(ZORVA_MESSAGE message) {
    return message_table[static_cast<std::size_t>(message)];
}

#define ZORVA_FACTORY_NONE(name)
#define ZORVA_FACTORY_TEXT(name)                                                                   \
    MSG_BASE* ZORVA_##name(const std::string& value) {                                             \
        return new_message(ZORVA_MESSAGE::name, {value});                                          \
    }
#define ZORVA_FACTORY_NUMBER(name)                                                                 \
    MSG_BASE* ZORVA_##name(dword value) {                                                          \
        return new_message(ZORVA_MESSAGE::name, {std::to_string(value)});                          \
    }
#define ZORVA_FACTORY_TWO_TEXTS(name)                                                              \
    MSG_BASE* ZORVA_##name(const std::string& value, const std::string& directory) {               \
        return new_message(ZORVA_MESSAGE::name, {value, directory});                               \
    }
#define ZORVA_FACTORY(id, grade, name, shape, text) ZORVA_FACTORY_##shape(name)
ZORVA_MESSAGES(ZORVA_FACTORY)
#undef ZORVA_FACTORY

std::string zorva_sentence(const ZORVA_REFUSAL& refusal) {
    // The message service fills in the values here too, so that no second reader of placeholders
    // is needed. It takes a text up to the last slash.
    MSG_W sentence(nullptr);
    sentence.fill_values(sentence_text(refusal.message) + "/W",
                         {text_of(refusal), refusal.directory});
    return sentence.get_text();
}

ZORVA_FINDING zorva_finding(const ZORVA_REFUSAL& refusal) {
    return {zorva_message_row(refusal.message).id, zorva_sentence(refusal), refusal.line};
}

void zorva_post(const ZORVA_REFUSAL& refusal) {
    std::unique_ptr<MSG_BASE>(zorva_message_row(refusal.message).create(refusal))->post();
}
