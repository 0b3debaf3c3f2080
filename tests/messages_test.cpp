// The message catalogue, and how its messages and the texts of internal errors are made.
#include "pgm/zorva/rules/zorva_messages.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "pgm/zorva/zorva_qspi_action.h"
#include "tests/test_support.h"

#include <memory>

namespace {

class MessagesTest : public InstallationTest {};

// In the order of registration: hosts number their lists of messages by it.
const std::string ids =
    "20473 20474 20475 20476 20535 20477 20478 20479 20543 20481 20482 20510 20485 20486 20494 "
    "20495 20496 20497 20498 20499 20500 20501 20502 20503 20504 20505 20507 20509 20560 20673 "
    "20674 20675 20676";

// Makes and posts the message of each factory, with arguments that tell themselves apart.
void post_all() {
    const auto post = [](MSG_BASE* message) { std::unique_ptr<MSG_BASE>(message)->post(); };
#define POST_NONE(name)
#define POST_TEXT(name) post(ZORVA_##name("VALUE"));
#define POST_NUMBER(name) post(ZORVA_##name(4294967295u));
#define POST_TWO_TEXTS(name) post(ZORVA_##name("VALUE", "/DIR/"));
#define POST(id, grade, name, shape, text) POST_##shape(name)
    ZORVA_MESSAGES(POST)
}

TEST_F(MessagesTest, TheCatalogueStandsInOrderAndEachFactoryMakesItsMessage) {
    post_all();
    EXPECT_EQ(joined(posted_ids()), replaced(ids, "20510 ", ""))
        << "20510 is registered and has no text";
    std::vector<std::string> listed;
    std::size_t next = 0;
    for (const ZORVA_MESSAGE_INFO& row : ZORVA_MGR::get_message_list()) {
        SCOPED_TRACE(row.id);
        listed.push_back(std::to_string(row.id));
        EXPECT_EQ(row.error, row.id == 20482 || row.id == 20510);
        if (row.id == 20510) continue;
        const pgm_host::message& message = m_messages.at(next++);
        EXPECT_EQ(message.name, row.name);
        EXPECT_EQ(message.type, row.error ? MSG_POST_ERROR : MSG_POST_WARNING);
        const bool is_number = row.id == 20479 || row.id == 20543;
        std::string text = is_number ? replaced(row.text, "%1!d!", "4294967295")
                                     : replaced(row.text, "%1!s!", "VALUE");
        if (row.id == 20482) text = replaced(text, "%2!s!", "/DIR/");
        EXPECT_EQ(message.text, text);
    }
    EXPECT_EQ(joined(listed), ids);
}

TEST_F(MessagesTest, ASuppressedWarningLeavesTheSentence) {
    for (const ZORVA_MESSAGE_INFO& row : ZORVA_MGR::get_message_list())
        pgm_host::suppress_message(row.id, true);
    std::string sentence;
    ZORVA_QSPI_ACTION action(ZORVA_ACT_TYPE_ERASE);
    EXPECT_FALSE(action.property_value_is_valid(ZORVA_ACT_PROPERTY_ER_BUS_WIDTH, "2-2", &sentence));
    EXPECT_EQ(sentence, "Action bus width '2-2' is invalid.");
    post_all();
    EXPECT_EQ(joined(posted_ids()), "20482") << "an error is always told";
}

TEST_F(MessagesTest, AValueThatLooksLikeAPlaceholderComesOutAsTyped) {
    const ZORVA_REFUSAL refusal{ZORVA_MESSAGE::FOUND_DUPLICATED_FLASH_IN_DB, "%2!s!", "/%1!s!/"};
    zorva_post(refusal);
    EXPECT_EQ(zorva_sentence(refusal),
              "Found duplicate flash device names '%2!s!' in the /%1!s!/ directory.");
    EXPECT_EQ(m_messages.at(0).text, zorva_sentence(refusal));
}

TEST_F(MessagesTest, AValueIsToldToItsEnd) {
    const std::string value("3\0Mb", 4);
    for (const ZORVA_REFUSAL& refusal :
         {ZORVA_REFUSAL{ZORVA_MESSAGE::INVALID_DEVICE_DENSITY, value, {}},
          ZORVA_REFUSAL{ZORVA_MESSAGE::FOUND_DUPLICATED_FLASH_IN_DB, value, value}}) {
        zorva_post(refusal);
        EXPECT_EQ(m_messages.back().text, zorva_sentence(refusal));
    }
}

TEST_F(MessagesTest, AFormatThatDoesntSuitItsArgumentsIsDiagnosed) {
    const std::string head = "ERROR: args not compatible with format string\nformat: ";
    EXPECT_EQ(zorva_format("Unknown user template %s", "T%d"), "Unknown user template T%d");
    EXPECT_EQ(zorva_format("%d and %d", 1), head + "%d and %d\narg[0]: 1\n");
    EXPECT_EQ(zorva_format("%d {}", "text", 2), head + "%d {}\narg[0]: text\narg[1]: 2\n");
}

}  // namespace
