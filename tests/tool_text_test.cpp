// Texts of the tool, and the pages that tell of it.
#include "tests/tool_test.h"

#include "services/pgm_common.h"
#include "tools/zorva/text.h"

#include <fstream>
#include <regex>

using namespace zorva_tool;

namespace {

TEST(ToolTextTest, SpellsOutWhatATerminalMustNotSee) {
    const std::pair<std::string, const char*> rows[] = {
        {"W25Q \xC3\xA9 \xE2\x82\xAC", "W25Q \xC3\xA9 \xE2\x82\xAC"},
        {"a\tb\x1B[0m\x7F", R"(a\x09b\x1B[0m\x7F)"},
        {"\xC2\x9B", R"(\xC2\x9B)"},  // a control character beyond ASCII
        {"\xC0\x9B", R"(\xC0\x9B)"},  // too long a spelling of one
        {"\xE2\x82", R"(\xE2\x82)"},  // cut off
        {"\xFF z \x80", R"(\xFF z \x80)"},
    };
    for (const auto& [text, expected] : rows) EXPECT_EQ(printable(text), expected);
}

TEST(ToolTextTest, ReadsDensities) {
    const std::pair<const char*, qword> good[] = {
        {"1Mb", 131072},     {"128Mb", 16777216},  {"2Gb", 268435456},  {"8GB", 8589934592},
        {"16MiB", 16777216}, {"16 MiB", 16777216}, {"512 KiB", 524288}, {"0Mb", 0}};
    for (const auto& [text, bytes] : good) EXPECT_EQ(parse_density(text), bytes) << text;
    for (const char* text : {"", "Mb", "128", "128mb", "128 Mbit", "-1Mb", "1.5Mb", " 1Mb",
                             "99999999999999999999Mb", "18446744073709551615GB"})
        EXPECT_EQ(parse_density(text), std::nullopt) << text;
}

TEST(ToolTextTest, FindsTheRootOfADocument) {
    const std::pair<std::string, const char*> rows[] = {
        {"<A/>", "A"},
        {"<?xml version=\"1.0\"?><!-- <B> --><?p <C?>\n<A b='<'>", ""},
        {"<!-- <B> -->\n<A b='1'><C>", "A"},  // what follows doesn't matter
        {"\xEF\xBB\xBF<A>", "A"},
        {std::string("\xFE\xFF\0<\0A\0>", 8), "A"},
        {"<!DOCTYPE A [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><A>&e;</A>", ""},
        {"A<A/>", ""},
        {"<!-- <A> ", ""},
        {"", ""},
        {std::string(3, '\0'), ""}};
    testing::internal::CaptureStderr();
    for (const auto& [bytes, root] : rows)
        EXPECT_EQ(PGM_COMMON_XML::root_name(bytes), root) << bytes;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ToolTextTest, SuggestsNamesThatComeNear) {
    const std::vector<std::string> names = {"MT25QL128", "MT25QL256", "MT25QU128",
                                            "MT25QU256", "W25Q128JV", "A"};
    const std::pair<const char*, const char*> rows[] = {{"MT25QU12", "MT25QU128 MT25QL128"},
                                                        {"mt25qu128", "MT25QU128 MT25QL128"},
                                                        {"W25Q", "W25Q128JV"},
                                                        {"W52Q128JV", "W25Q128JV"},
                                                        {"MT25", "MT25QL128 MT25QL256 MT25QU128"},
                                                        {"X", ""},
                                                        {"QQQQQQQQ", ""},
                                                        {"", ""}};
    for (const auto& [name, expected] : rows)
        EXPECT_EQ(::joined(nearest(name, names)), expected) << name;
}

std::string source_file(const std::string& path) {
    std::ifstream file(std::string(ZORVA_SOURCE_DIR "/") + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(ToolTextTest, ThePageOfMessagesTellsOfEachMessage) {
    const std::string text = source_file("docs/messages.md");
    for (const ZORVA_MESSAGE_INFO& message : ZORVA_MGR::get_message_list()) {
        std::string sentence = message.text;
        for (const std::string place : {"%1!s!", "%1!d!", "%2!s!"})
            if (contains(sentence, place)) sentence = replaced(sentence, place, "\u2026");
        const std::string row = "\n| " + std::to_string(message.id) + " | " + sentence +
                                (sentence.empty() ? "| " : " | ");
        const std::size_t at = text.find(row);
        ASSERT_NE(at, std::string::npos) << row;
        EXPECT_NE(text[at + row.size()], '\n') << "what to do about " << message.id;
    }
}

// The words of each example that makes or changes a device or template, continued lines joined and
// what a page says behind it cut off.
std::vector<std::vector<std::string>> examples_of(const std::string& text) {
    const std::regex example(
        R"(^ +zorva ((copy|set|new|template save) .*?[A-Z].*?)( {4,}[a-z].*)?$)");
    const std::regex word("'([^']*)'|([^' ]+)");
    std::vector<std::vector<std::string>> examples;
    std::istringstream lines(std::regex_replace(text, std::regex("\\\\\n"), ""));
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (!std::regex_match(line, match, example)) continue;
        const std::string command = match[1];
        examples.emplace_back();
        for (std::sregex_iterator at(command.begin(), command.end(), word), end; at != end; ++at)
            examples.back().push_back((*at)[1].matched ? (*at)[1] : (*at)[2]);
    }
    return examples;
}

// Address bytes, dummy cycles and ID of the flows are those of the device.
void expect_usable(const nlohmann::json& device) {
    const std::string address_bytes = device["bytes"] > 16 << 20 ? "4" : "3";
    const std::string dummy = device["dummy"].dump();
    const std::string id = device["id"];
    bool addresses = false;
    for (const auto& flow : device["flows"])
        for (const auto& operation : flow)
            for (const auto& action : operation["actions"]) {
                addresses |= action.contains("addressing_mode");
                EXPECT_EQ(action.value("addressing_mode", address_bytes), address_bytes);
                EXPECT_EQ(action.value("dummy_clock_cycle", dummy), dummy);
                if (action.value("command", "") != "0x9F") continue;
                EXPECT_TRUE(std::string(action["expected_data"]).starts_with(id)) << action;
            }
    EXPECT_TRUE(addresses);
}

// The shipped document with these devices alone, since the tool loads it anew at each run.
std::string shipped_with(const std::vector<std::string>& names) {
    const std::string all = source_file("xml/pgm_flash_db_qspi.xml");
    std::string some = all.substr(0, all.find("<FLASH>"));
    for (const std::string& name : names) {
        const std::size_t at = all.rfind("<FLASH>", all.find("<DEVICE_NAME>" + name + "<"));
        some += all.substr(at, all.find("<FLASH>", at + 1) - at);
    }
    return some + "</QSPI_FLASH>\n";
}

// With the shipped flows: the numbers of their actions stand in the examples.
TEST_F(ToolTest, TheExamplesMakeDevicesThatWork) {
    write_shipped(shipped_with({"MT25QU128", "W25Q256JV"}));
    for (const std::string& text :
         {source_file("docs/adding-your-device.md"), zorva("copy --help").out,
          zorva("set --help").out, replaced(zorva("new --help").out, "zorva new MY_CARD", "")}) {
        const auto examples = examples_of(text);
        EXPECT_FALSE(examples.empty()) << text;
        for (const std::vector<std::string>& example : examples) {
            SCOPED_TRACE(::joined(example));
            const std::string& name = example[example[0] == "copy" ? 2 : 1];
            if (example[0] != "set") zorva("rm " + name);
            EXPECT_EQ(zorva(example).code, 0);
            if (example[0] != "template")
                expect_usable(zorva("show " + name + " --format json").document());
        }
    }
}

TEST_F(ToolTest, TheSamplesAreAsTheirPagesSay) {
    const std::string samples = ZORVA_SOURCE_DIR "/docs/samples/";
    EXPECT_EQ(zorva("lint " + samples + "pgm_flash_MY_QUAD_FLASH.xml").code, 0);
    EXPECT_EQ(zorva("show MY_QUAD_FLASH --field density --custom-dir " + samples).out, "128Mb\n");
    const nlohmann::json bad =
        zorva("lint --format json " + samples + "pgm_flash_BAD_FLASH.xml").document();
    EXPECT_EQ(bad["definitions"], 3);
    ASSERT_EQ(bad["findings"].size(), 2u);
    EXPECT_EQ(bad["findings"][0]["id"], "20478");
    EXPECT_EQ(bad["findings"][1]["id"], "20486");
}

}  // namespace
