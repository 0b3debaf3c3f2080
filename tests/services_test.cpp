#include "services/message.h"
#include "services/pgm_common.h"
#include "services/pgmdev.h"
#include "services/text.h"
#include "tests/test_support.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <set>

namespace {

using ServicesTest = InstallationTest;

TEST(Conversions, NumberTexts) {
    const auto expect = [](const char* text, qword as_qword, bool is_qword, bool is_dword) {
        SCOPED_TRACE(text);
        const dword as_dword = static_cast<dword>(std::min<qword>(as_qword, 4294967295));
        bool ok = !is_qword;
        EXPECT_EQ(PGM_COMMON::convert_string_to_qword(text, false, &ok, nullptr, false), as_qword);
        EXPECT_EQ(ok, is_qword);
        ok = !is_dword;
        dword number = 1;
        EXPECT_EQ(PGM_COMMON::convert_string_to_dword(text, true, &ok, &number, false), as_dword);
        EXPECT_EQ(ok, is_dword);
        EXPECT_EQ(number, as_dword);
        EXPECT_EQ(PGM_COMMON::convert_string_to_dword(text, true, nullptr, nullptr, false),
                  as_dword);
    };
    expect("0", 0, true, true);
    expect("007", 7, true, true);
    expect("0x", 0, true, true);
    expect("0xfF", 255, true, true);
    expect("4294967295", 4294967295, true, true);
    expect("4294967296", 4294967296, true, false);
    expect("0x100000000", 4294967296, true, false);
    expect("18446744073709551615", ~0ULL, true, false);
    expect("18446744073709551616", ~0ULL, false, false);
    for (const char* no_number : {"", "-1", "+1", " 1", "1 ", "1\t2", "0X10", "0x1g", "0x-1", "ff",
                                  "99999999999999999999x"})
        expect(no_number, 0, false, false);
}

TEST(Conversions, HexTexts) {
    const struct {
        const char* text;
        dword limit;
        std::vector<unsigned char> bytes;  // empty: no such bytes
    } rows[] = {
        {"0", 9, {0}},    {"fF", 9, {255}}, {"123", 9, {1, 0x23}}, {"1234", 2, {0x12, 0x34}},
        {"12345", 2, {}}, {"", 9, {}},      {"0x12", 9, {}},       {"12 34", 9, {}},
        {"1", 0, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        dword size = 99;
        bool ok = row.bytes.empty();
        const std::unique_ptr<unsigned char[]> bytes(
            PGM_COMMON::convert_hex_string_to_byte_array(row.text, row.limit, &size, true, &ok));
        EXPECT_EQ(ok, !row.bytes.empty());
        ASSERT_EQ(bytes != nullptr, ok);
        ASSERT_EQ(size, row.bytes.size());
        EXPECT_TRUE(std::equal(row.bytes.begin(), row.bytes.end(), bytes.get()));
    }
}

TEST(Texts, IgnoreOnlyTheCaseOfAsciiLetters) {
    std::string text = "aZ_9\xC3\xA4";
    EXPECT_EQ(stl_toupper(text), "AZ_9\xC3\xA4");
    EXPECT_EQ(gen_stricmp("Issi", "ISSI"), 0);
    EXPECT_LT(gen_stricmp("a", "B"), 0);
    EXPECT_GT(gen_stricmp("ab", "A"), 0);
    EXPECT_TRUE(PGM_COMMON::compare_string("a", "A", true));
    EXPECT_FALSE(PGM_COMMON::compare_string("a", "A", false));
}

template <class MESSAGE, class... ARGUMENTS>
bool post(unsigned id, const char* format, ARGUMENTS... arguments) {
    MESSAGE message(nullptr);
    message.fill_args(format, arguments...);
    message.set_id(id);
    return message.post();
}

TEST_F(ServicesTest, ArgumentsFillTheirPlaceholders) {
    const struct {
        const char *format, *first, *second, *text, *name;
    } rows[] = {
        {"Name '%1!s!' is bad./WNAME_BAD", "x", "", "Name 'x' is bad.", "NAME_BAD"},
        {"%2!s! in %1!s!/ETWO", "db", "dev", "dev in db", "TWO"},
        {"%1!s! %2!s!/WX", "%2!s!", "/a/b/", "%2!s! /a/b/", "X"},
        {"'%1!s!' 100%/WZ", nullptr, "", "'' 100%", "Z"},
        {"no name", "", "", "no name", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        post<MSG_W>(7, row.format, row.first, row.second);
        EXPECT_EQ(m_messages.back().text, row.text);
        EXPECT_EQ(m_messages.back().name, row.name);
    }
    EXPECT_TRUE(post<MSG_E>(8, "%1!d! dies/EDIES", 4294967295U));
    EXPECT_EQ(m_messages.back().text, "4294967295 dies");
    EXPECT_EQ(m_messages.back().type, MSG_POST_ERROR);
    EXPECT_FALSE(MSG_W_NULL().post());
    EXPECT_EQ(m_messages.size(), std::size(rows) + 1);
    const std::string nul("a\0b", 3);
    MSG_E error(nullptr);
    error.fill_values("'%1!s!' of %2!d! and '%3!s!'/EX", {nul, "7"});
    error.post();
    EXPECT_EQ(m_messages.back().text, "'" + nul + "' of 7 and ''");
}

TEST_F(ServicesTest, WithoutASinkMessagesGoToStderr) {
    pgm_host::set_message_sink({});
    testing::internal::CaptureStderr();
    post<MSG_W>(7, "bad %1!s!/WX", "name");
    post<MSG_E>(8, "worse/EY");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning (7): bad name\nError (8): worse\n");
}

TEST_F(ServicesTest, WarningsAreSuppressedAndErrorsAreNot) {
    const unsigned ids[] = {901, 902};
    const MSG_POST_TYPE types[] = {MSG_POST_WARNING, MSG_POST_ERROR};
    const MSG_ID_REGISTRAR registrar(ids, types, std::size(ids));
    const auto& index = *MSG_INDEX::get_default_index();
    for (const bool wanted : {true, false}) {
        for (const unsigned id : ids) pgm_host::suppress_message(id, wanted);
        EXPECT_EQ(index.is_suppressed(901), wanted);
        EXPECT_FALSE(index.is_suppressed(902));
    }
}

TEST_F(ServicesTest, AnInternalErrorThatIsNotThrownAborts) {
    EXPECT_EQ(internal_error_of([] { MSG_INTERNAL_ERROR::report("m_flash", "ZORVA", "f", 1); }),
              "m_flash");
    pgm_host::set_internal_error_handler([](const char*, const char*, const char*, int) {});
    EXPECT_DEATH(MSG_INTERNAL_ERROR::report("m_flash", "ZORVA", "f", 1), "");
    pgm_host::reset();
    EXPECT_DEATH(MSG_INTERNAL_ERROR::report("m_flash", "ZORVA", "pgm/zorva/zorva_mgr", 12),
                 "m_flash.*zorva_mgr:12");
}

TEST_F(ServicesTest, DataDirectory) {
    pgm_host::set_common_programmer("C:\\data");
    EXPECT_EQ(PGM_COMMON::pgm_get_common_programmer(), "C:/data/");
    EXPECT_EQ(pgm_host::common_programmer_origin(), "set by the host");
    ::setenv("PGM_COMMON_PROGRAMMER_DIR", "/elsewhere//", 1);
    pgm_host::set_common_programmer("");
    EXPECT_EQ(PGM_COMMON::pgm_get_common_programmer(), "/elsewhere/");
    ::setenv("PGM_COMMON_PROGRAMMER_DIR", "", 1);
    EXPECT_TRUE(PGM_COMMON::pgm_get_common_programmer().ends_with("/share/pgm_zorva/"));
    ::unsetenv("PGM_COMMON_PROGRAMMER_DIR");
}

TEST_F(ServicesTest, DefaultTablesAndTheFirstRecordOfAName) {
    pgm_host::set_flash_table({{"A", "X", true, 1, ""}, {"B", "X", true, 2, ""}});
    const PGMDEV_FLASH_MANAGER two(true, 1, false, false);
    EXPECT_EQ(two.get_default_flash("X"), two.flash_table);
    EXPECT_EQ(two.get_default_flash("x"), nullptr);
    pgm_host::set_flash_table({});
    EXPECT_EQ(PGMDEV_FLASH_MANAGER(true, 1, false, false).flash_table, nullptr);

    pgm_host::reset();
    std::set<dword> families;
    for (const PGMDEV_DEVICE_INFO& info : pgm_host::device_table()) {
        EXPECT_TRUE(families.insert(info.family).second) << info.name;
        EXPECT_TRUE(info.io_voltage == low_voltage || info.io_voltage == high_voltage);
    }
    EXPECT_GE(*families.begin(), 1U);
    EXPECT_LE(*families.rbegin(), 73U);
    for (const dword family : {23U, 28U, 48U, 73U}) EXPECT_EQ(families.count(family), 1U);
    const PGMDEV_FLASH_MANAGER manager(true, 1, false, false);
    for (std::size_t i = 0; i < manager.flash_count; ++i) {
        const PGMDEV_SFL_FLASH_INFO& record = manager.flash_table[i];
        EXPECT_EQ(manager.get_default_flash(record.device_name), &record) << record.device_name;
    }
}

}  // namespace
