#include "services/message.h"
#include "services/pgm_common.h"
#include "services/pgmdev.h"
#include "services/text.h"
#include "tests/test_support.h"

#include <cstdlib>
#include <memory>
#include <set>

namespace {

using ServicesTest = InstallationTest;

TEST(Conversions, NumberTexts) {
    const struct {
        const char* text;
        qword as_qword;
        bool ok;
        dword as_dword;
        bool dword_ok;
    } rows[] = {
        {"0", 0, true, 0, true},
        {"255", 255, true, 255, true},
        {"007", 7, true, 7, true},
        {"0x", 0, true, 0, true},
        {"0xfF", 255, true, 255, true},
        {"4294967295", 4294967295, true, 4294967295, true},
        {"4294967296", 4294967296, true, 4294967295, false},
        {"0x100000000", 4294967296, true, 4294967295, false},
        {"18446744073709551615", ~0ULL, true, 4294967295, false},
        {"18446744073709551616", ~0ULL, false, 4294967295, false},
        {"", 0, false, 0, false},
        {"-1", 0, false, 0, false},
        {"+1", 0, false, 0, false},
        {" 1", 0, false, 0, false},
        {"1 ", 0, false, 0, false},
        {"1\t2", 0, false, 0, false},
        {"0X10", 0, false, 0, false},
        {"0x1g", 0, false, 0, false},
        {"0x-1", 0, false, 0, false},
        {"ff", 0, false, 0, false},
        {"99999999999999999999x", 0, false, 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        bool ok = !row.ok;
        EXPECT_EQ(PGM_COMMON::convert_string_to_qword(row.text, false, &ok, nullptr, false),
                  row.as_qword);
        EXPECT_EQ(ok, row.ok);
        ok = !row.dword_ok;
        dword number = 1;
        EXPECT_EQ(PGM_COMMON::convert_string_to_dword(row.text, true, &ok, &number, false),
                  row.as_dword);
        EXPECT_EQ(ok, row.dword_ok);
        EXPECT_EQ(number, row.as_dword);
        EXPECT_EQ(PGM_COMMON::convert_string_to_dword(row.text, true, nullptr, nullptr, false),
                  row.as_dword);
    }
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

TEST_F(ServicesTest, ArgumentsFillTheirPlaceholders) {
    const struct {
        const char *format, *first, *second, *text, *name;
    } rows[] = {
        {"Name '%1!s!' is bad./WNAME_BAD", "x", "", "Name 'x' is bad.", "NAME_BAD"},
        {"%2!s! in %1!s!/ETWO", "db", "dev", "dev in db", "TWO"},
        {"%1!s! %2!s!/WX", "%2!s!", "/a/b/", "%2!s! /a/b/", "X"},
        {"an I/O voltage '%1!s!'/WY", "", "", "an I/O voltage ''", "Y"},
        {"'%1!s!' 100%/WZ", nullptr, "", "'' 100%", "Z"},
        {"no name", "", "", "no name", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        MSG_W message(nullptr);
        message.fill_args(row.format, row.first, row.second);
        message.set_id(7);
        message.post();
        EXPECT_EQ(m_messages.back().text, row.text);
        EXPECT_EQ(m_messages.back().name, row.name);
    }
    MSG_E error(nullptr);
    error.fill_args("%1!d! dies/EDIES", 4294967295U);
    EXPECT_TRUE(error.post());
    EXPECT_EQ(m_messages.back().text, "4294967295 dies");
    EXPECT_EQ(m_messages.back().type, MSG_POST_ERROR);
    EXPECT_FALSE(MSG_W_NULL().post());
    EXPECT_EQ(m_messages.size(), std::size(rows) + 1);
    const std::string nul("a\0b", 3);
    error.fill_values("'%1!s!' of %2!d! and '%3!s!'/EX", {nul, "7"});
    error.post();
    EXPECT_EQ(m_messages.back().text, "'" + nul + "' of 7 and ''");
}

TEST_F(ServicesTest, WithoutASinkMessagesGoToStderr) {
    pgm_host::set_message_sink({});
    testing::internal::CaptureStderr();
    MSG_W warning(nullptr);
    warning.fill_args("bad %1!s!/WX", "name");
    warning.set_id(7);
    warning.post();
    MSG_E error(nullptr);
    error.fill_args("worse/EY");
    error.set_id(8);
    error.post();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Warning (7): bad name\nError (8): worse\n");
}

TEST_F(ServicesTest, WarningsAreSuppressedAndErrorsAreNot) {
    const unsigned ids[] = {901, 902};
    const MSG_POST_TYPE types[] = {MSG_POST_WARNING, MSG_POST_ERROR};
    const MSG_ID_REGISTRAR registrar(ids, types, std::size(ids));
    for (const unsigned id : ids) pgm_host::suppress_message(id, true);
    EXPECT_TRUE(MSG_INDEX::get_default_index()->is_suppressed(901));
    EXPECT_FALSE(MSG_INDEX::get_default_index()->is_suppressed(902));
    pgm_host::suppress_message(901, false);
    EXPECT_FALSE(MSG_INDEX::get_default_index()->is_suppressed(901));
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
    const char* before = std::getenv("PGM_COMMON_PROGRAMMER_DIR");
    const std::string kept = before != nullptr ? before : "";
    ::setenv("PGM_COMMON_PROGRAMMER_DIR", "/elsewhere//", 1);
    pgm_host::set_common_programmer("");
    EXPECT_EQ(PGM_COMMON::pgm_get_common_programmer(), "/elsewhere/");
    ::setenv("PGM_COMMON_PROGRAMMER_DIR", "", 1);
    EXPECT_TRUE(PGM_COMMON::pgm_get_common_programmer().ends_with("/share/pgm_zorva/"));
    ::setenv("PGM_COMMON_PROGRAMMER_DIR", kept.c_str(), 1);
}

TEST(DefaultTables, AreConsistent) {
    pgm_host::reset();
    std::set<dword> families;
    for (const PGMDEV_DEVICE_INFO& info : pgm_host::device_table()) {
        EXPECT_TRUE(families.insert(info.family).second) << info.name;
        EXPECT_TRUE(info.io_voltage == low_voltage || info.io_voltage == high_voltage);
        EXPECT_GE(info.family, 1U);
        EXPECT_LE(info.family, 73U);
    }
    for (const dword family : {23U, 28U, 48U, 73U}) EXPECT_EQ(families.count(family), 1U);

    const PGMDEV_FLASH_MANAGER manager(true, 1, false, false);
    for (std::size_t i = 0; i < manager.flash_count; ++i) {
        const PGMDEV_SFL_FLASH_INFO& record = manager.flash_table[i];
        EXPECT_EQ(manager.get_default_flash(record.device_name), &record) << record.device_name;
    }
}

TEST_F(ServicesTest, TheFirstRecordOfANameCounts) {
    pgm_host::set_flash_table({{"A", "X", true, 1, ""}, {"B", "X", true, 2, ""}});
    const PGMDEV_FLASH_MANAGER two(true, 1, false, false);
    EXPECT_EQ(two.get_default_flash("X"), two.flash_table);
    EXPECT_EQ(two.get_default_flash("x"), nullptr);
    pgm_host::set_flash_table({});
    EXPECT_EQ(PGMDEV_FLASH_MANAGER(true, 1, false, false).flash_table, nullptr);
}

}  // namespace
