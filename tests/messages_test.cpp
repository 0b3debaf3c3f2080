// The message catalogue, and how its messages and the texts of internal errors are made.
#include "pgm/zorva/rules/zorva_messages.h"
#include "pgm/zorva/rules/zorva_report.h"
#include "tests/test_support.h"

namespace {

class MessagesTest : public InstallationTest {
  protected:
    // A refusal for each message that has a text, with arguments that tell themselves apart.
    static std::vector<ZORVA_REFUSAL> refusals(const std::string& value,
                                               const std::string& directory) {
        std::vector<ZORVA_REFUSAL> all;
        for (std::size_t i = 0; i < zorva_messages().size(); ++i) {
            const ZORVA_MESSAGE_SHAPE shape = zorva_messages()[i].shape;
            if (shape == ZORVA_MESSAGE_SHAPE::NONE) continue;
            all.push_back({static_cast<ZORVA_MESSAGE>(i), value, directory});
            if (shape == ZORVA_MESSAGE_SHAPE::NUMBER) all.back().value = dword{4294967295};
        }
        return all;
    }
};

TEST_F(MessagesTest, TheCatalogueStandsInOrderAndEachMessageIsMadeOfItsRow) {
    for (const ZORVA_REFUSAL& refusal : refusals("VALUE", "/DIR/")) zorva_post(refusal);
    std::vector<unsigned> listed;
    auto message = m_messages.begin();
    for (const ZORVA_MESSAGE_INFO& row : ZORVA_MGR::get_message_list()) {
        SCOPED_TRACE(row.id);
        listed.push_back(row.id);
        EXPECT_EQ(row.error, row.id == 20482 || row.id == 20510);
        if (row.id == 20510) continue;  // which has no text
        ASSERT_NE(message, m_messages.end());
        const bool is_number = row.id == 20479 || row.id == 20543;
        std::string text = is_number ? replaced(row.text, "%1!d!", "4294967295")
                                     : replaced(row.text, "%1!s!", "VALUE");
        if (row.id == 20482) text = replaced(text, "%2!s!", "/DIR/");
        EXPECT_EQ(message->id, row.id);
        EXPECT_EQ(message->name, row.name);
        EXPECT_EQ(message->type, row.error ? MSG_POST_ERROR : MSG_POST_WARNING);
        EXPECT_EQ(message++->text, text);
    }
    // In the order of registration: hosts number their lists of messages by it.
    EXPECT_EQ(joined(listed),
              "20473 20474 20475 20476 20535 20477 20478 20479 20543 20481 20482 20510 20485 20486 "
              "20494 20495 20496 20497 20498 20499 20500 20501 20502 20503 20504 20505 20507 20509 "
              "20560 20673 20674 20675 20676");
    EXPECT_EQ(message, m_messages.end());
}

// A sentence is the posted text but for one word of two messages, whatever the value holds.
TEST_F(MessagesTest, ASentenceHoldsTheValueAsTypedAndWhole) {
    for (const std::string& value : {std::string("%2!s!"), std::string("3\0Mb/WX", 7)})
        for (const ZORVA_REFUSAL& refusal : refusals(value, "/%1!s!/")) {
            zorva_post(refusal);
            const pgm_host::message& posted = m_messages.back();
            std::string text = posted.text;
            if (posted.id == 20501) text = replaced(text, "of 0.", "other than 256.");
            if (posted.id == 20675) text = replaced(text, "Template", "Tempate");
            EXPECT_EQ(zorva_sentence(refusal), text);
            EXPECT_NE(text.find(refusal.value.index() == 0 ? value : "4294967295"), text.npos);
        }
    for (const ZORVA_MESSAGE_INFO& row : ZORVA_MGR::get_message_list())
        pgm_host::suppress_message(row.id, true);
    forget();
    for (const ZORVA_REFUSAL& refusal : refusals("VALUE", "/DIR/")) {
        zorva_post(refusal);
        EXPECT_NE(zorva_sentence(refusal), "") << "a suppressed warning leaves the sentence";
    }
    EXPECT_EQ(joined(posted_ids()), "20482") << "an error is always told";
}

TEST_F(MessagesTest, AFormatThatDoesntSuitItsArgumentsIsDiagnosed) {
    const std::string head = "ERROR: args not compatible with format string\nformat: ";
    EXPECT_EQ(zorva_format("Unknown user template %s", "T%d"), "Unknown user template T%d");
    EXPECT_EQ(zorva_format("%d and %d", 1), head + "%d and %d\narg[0]: 1\n");
    EXPECT_EQ(zorva_format("%d {}", "text", 2), head + "%d {}\narg[0]: text\narg[1]: 2\n");
}

}  // namespace
