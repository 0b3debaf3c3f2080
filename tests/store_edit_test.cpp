// Changes to files that hold more than what is changed.
#include "tests/store_support.h"

#include <iconv.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace fs = std::filesystem;

namespace {

const std::string other = flows(action(ZORVA_ACT_TYPE_ERASE));
const std::string bad = flows(replaced(action(ZORVA_ACT_TYPE_CUSTOM), "start", "begin"));

class StoreEditTest : public StoreTest {
  protected:
    StoreEditTest() {
        write_installed("pgm_flash_mix.xml",
                        document(devices("HIDDEN|A") + user_template("T") +
                                 user_template("BAD_T", bad) + user_template("S")));
        write_custom("pgm_flash_mix.xml",
                     document(user_template("U") + golden_template() + user_template("T", other) +
                              user_template("behind T") + devices("B") +
                              device({.name = "HIDDEN", .density = "1Mb"})));
        write_custom("pgm_flash_bad.xml",
                     document(devices("C") + device({.name = "BAD", .flow = bad}) +
                              devices("UNREAD") + user_template("W")));
        write_custom("pgm_flash_template_N.xml",
                     document(user_template("P") + user_template("TWIN") + devices("TWIN")));
        write_custom("pgm_flash_G.xml", document(golden_template() + devices("G")));
        write_custom("pgm_flash_H.xml", document(user_template("BAD_H", bad) + devices("H") +
                                                 user_template("behind BAD_H")));
    }

    std::multiset<std::string> definitions() {
        std::multiset<std::string> all = definitions_in(m_xml_dir);
        all.merge(definitions_in(m_custom_dir));
        return all;
    }
};

// "device A" and "template T" of the definitions in `all` that aren't in `others`.
names difference(const std::multiset<std::string>& all, const std::multiset<std::string>& others) {
    names found;
    std::multiset<std::string> only;
    std::ranges::set_difference(all, others, std::inserter(only, only.end()));
    for (const std::string& text : only) {
        const std::size_t begin = text.find("_NAME>") + 6;
        found.push_back((text.starts_with("<FLASH>") ? "device " : "template ") +
                        text.substr(begin, text.find('<', begin) - begin));
    }
    return found;
}

TEST_F(StoreEditTest, EverythingElseIsStillThere) {
    // Changes by what they take out of the files and put in.
    const struct {
        bool loses, gains;
        const char* kind;
        const char* changes;
    } groups[] = {
        {false, true, "device ", "store X|store template_N|store SHIP_A|store A"},
        {true, true, "device ",
         "store A in installation|store B|store HIDDEN|store C|store BAD|store UNREAD|store G|"
         "store H"},
        {true, false, "device ",
         "delete A in installation|delete B|delete HIDDEN|delete C|delete G|delete TWIN"},
        // BAD isn't known, A stands in the other directory.
        {false, false, "device ", "delete BAD|delete A|delete NOBODY"},
        {true, false, "template ", "delete U|drop S|drop TWIN|drop T"},  // T hides another
        {false, true, "template ", "add X|add N"},
    };
    const texts original[] = {files_in(m_xml_dir), files_in(m_custom_dir)};
    const auto try_change = [&](const std::string& change, const names& lost, const names& gained) {
        SCOPED_TRACE(change);
        put_files(m_xml_dir, original[0]);
        put_files(m_custom_dir, original[1]);
        const auto before = definitions();
        ZORVA_QSPI_MGR mgr;
        const texts known = answers(mgr);
        const std::size_t reports = mgr.get_load_report().size();
        forget();
        EXPECT_TRUE(run(mgr, change));
        EXPECT_EQ(posted_ids(), ids{});
        EXPECT_EQ(difference(before, definitions()), lost);
        EXPECT_EQ(difference(definitions(), before), gained);
        EXPECT_EQ(mgr.get_load_report().size(), reports);
        // One that wasn't read, or that another hid, may come into force with the next load.
        texts now = loaded();
        std::erase_if(now, [&](const auto& entry) { return !known.contains(entry.first); });
        for (const texts& all : {now, answers(mgr)}) {
            names others = changed(known, all);
            for (const names& mine : {lost, gained})
                for (const std::string& name : mine) std::erase(others, name);
            EXPECT_EQ(others, names{});
        }
    };
    for (const auto& group : groups)
        for (const std::string& change : split(group.changes)) {
            const std::size_t begin = change.find(' ') + 1;
            const names it{group.kind + change.substr(begin, change.find(' ', begin) - begin)};
            try_change(change, group.loses ? it : names(), group.gains ? it : names());
        }
}

TEST_F(StoreEditTest, TheInstallationUnderAnotherName) {
    m_custom_dir = m_root + "link/";
    fs::create_directory_symlink(m_xml_dir, m_root + "link");
    ZORVA_MGR::set_db_custom_dir(m_custom_dir);
    const auto before = definitions_in(m_xml_dir);
    const std::string shipped = bytes_of(m_shipped_file);
    ZORVA_QSPI_MGR mgr;
    for (const char* change : {"store SHIP_A", "delete SHIP_A", "store db_qspi", "store db_sdmmc"})
        EXPECT_FALSE(run(mgr, change)) << change;
    EXPECT_EQ(definitions_in(m_xml_dir), before);
    for (const char* change : {"store X", "store A", "delete HIDDEN"})
        EXPECT_TRUE(run(mgr, change)) << change;
    const auto now = definitions_in(m_xml_dir);
    EXPECT_EQ(difference(before, now), (names{"device A", "device HIDDEN"}));
    EXPECT_EQ(difference(now, before), (names{"device A", "device X"}));
    EXPECT_EQ(bytes_of(m_shipped_file), shipped);
}

TEST_F(StoreEditTest, AFileThatIsMissingOrEmptyIsWrittenAnew) {
    ZORVA_QSPI_MGR mgr;
    fs::remove(m_custom_dir + "pgm_flash_mix.xml");
    const std::string file = write_custom("pgm_flash_B.xml", "");
    fs::permissions(file, fs::perms(0400));
    pgm_host::set_file_system(nullptr);
    const mode_t mask = ::umask(027);
    EXPECT_TRUE(run(mgr, "store B"));
    ::umask(mask);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0400)) << "a replaced file keeps its own";
    EXPECT_TRUE(loaded().contains("device B"));
}

std::string converted(const std::string& text, const char* encoding) {
    std::string bytes(4 * text.size() + 16, '\0');
    char* in = const_cast<char*>(text.data());
    char* out = bytes.data();
    std::size_t in_left = text.size();
    std::size_t out_left = bytes.size();
    const iconv_t converter = ::iconv_open(encoding, "UTF-8");
    EXPECT_NE(::iconv(converter, &in, &in_left, &out, &out_left), static_cast<std::size_t>(-1));
    ::iconv_close(converter);
    bytes.resize(bytes.size() - out_left);
    return bytes;
}

// However the file spells the old name, and whoever wrote the file.
TEST_F(StoreEditTest, TheOldDefinitionIsFound) {
    const auto file_with = [](const std::string& name) { return document(devices(name + "|Z")); };
    const auto encoded = [&](const std::string& name, const std::string& encoding) {
        return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>\n" + file_with(name);
    };
    std::string with_cr = file_with("OLD\nNAME");
    for (std::size_t at = 0; (at = with_cr.find('\n', at)) != std::string::npos; at += 2)
        with_cr.insert(at, "\r");
    const struct {
        const char* what;
        std::string name, bytes;
    } rows[] = {
        {"a reference", "OLD", file_with("O&#76;D")},
        {"a comment", "OLD", file_with("O<!-- -->LD")},
        {"CDATA", "OLD", file_with("<![CDATA[O]]>LD")},
        {"an instruction", "OLD", file_with("OL<?pi?>D")},
        {"an attribute", "OLD", replaced(file_with("OLD"), "<FLASH>", "<FLASH >")},
        {"a byte order mark", "OLD", "\xEF\xBB\xBF" + file_with("OLD")},
        {"UTF-16", "OLD", converted(encoded("OLD", "UTF-16"), "UTF-16")},
        {"IBM037", "OLD", converted(encoded("OLD", "IBM037"), "IBM037")},
        {"UTF-7", "OLD~", encoded("OLD+AH4-", "UTF-7")},
        {"ISO-8859-1", "OL\xC3\x84", converted(encoded("OL\xC3\x84", "ISO-8859-1"), "ISO-8859-1")},
        {"CRLF", "OLD\nNAME", with_cr},
    };
    for (const auto& row : rows)
        for (const bool is_known : {true, false}) {
            SCOPED_TRACE(std::string(row.what) + (is_known ? "" : ", written by another process"));
            const texts files{{"pgm_flash_1.xml", row.bytes}};
            put_files(m_custom_dir, is_known ? files : texts());
            ZORVA_QSPI_MGR mgr;
            put_files(m_custom_dir, files);
            ASSERT_EQ(mgr.get_flash(row.name, true) != nullptr, is_known);
            EXPECT_TRUE(update(mgr, row.name));
            const std::string now = loaded()["device " + row.name];
            EXPECT_NE(now.find(" 64Mb, 0x77"), std::string::npos) << now;
            EXPECT_EQ(definitions_in(m_custom_dir).size(), 2U);
        }
}

TEST_F(StoreEditTest, CommentsStayWhereTheyStood) {
    const std::string file =
        write_custom("pgm_flash_mix.xml",
                     "<!-- whose -->\n" +
                         document("<!-- of B -->" +
                                  replaced(device({.name = "B"}), "<INITIALIZATION/>",
                                           "<INITIALIZATION><!-- inside B --></INITIALIZATION>") +
                                  "<!-- of A -->" +
                                  replaced(device({.name = "A"}), "<DEVICE_INFO>",
                                           "<DEVICE_INFO><!-- inside A -->") +
                                  "<!-- last -->") +
                         "<!-- behind -->\n");
    const auto order = [&] {
        const std::string bytes = bytes_of(file);
        std::string text;
        for (std::size_t at = 0; (at = bytes.find_first_of("<", at)) != std::string::npos; ++at) {
            if (bytes.compare(at, 4, "<!--") == 0)
                text += bytes.substr(at + 5, bytes.find(" -->", at) - at - 5) + "|";
            if (bytes.compare(at, 13, "<DEVICE_NAME>") == 0) text += bytes.substr(at + 13, 1) + "|";
        }
        return text;
    };
    ZORVA_QSPI_MGR mgr;
    EXPECT_TRUE(update(mgr, "mix"));
    EXPECT_EQ(order(), "whose|of A|inside A|A|of B|B|inside B|m|last|behind|");
    EXPECT_TRUE(mgr.delete_db("A", m_custom_dir));
    EXPECT_EQ(order(), "whose|of A|of B|B|inside B|m|last|behind|");
    EXPECT_TRUE(update(mgr, "mix", "0x01"));
    EXPECT_TRUE(mgr.delete_db("B", m_custom_dir));
    EXPECT_EQ(order(), "whose|of A|of B|m|last|behind|");
}

TEST_F(StoreEditTest, ALinkIsFollowed) {
    const std::string elsewhere = m_root + "elsewhere.xml";
    pgm_host::set_file_system(nullptr);
    write_file(elsewhere, document(device({.name = "L"}) + device({.name = "N"})));
    fs::permissions(elsewhere, fs::perms(0664));
    fs::create_symlink(elsewhere, own_file("L"));
    ZORVA_QSPI_MGR mgr;
    EXPECT_TRUE(update(mgr, "L"));
    EXPECT_TRUE(mgr.delete_db("N", m_custom_dir));
    EXPECT_TRUE(fs::is_symlink(own_file("L")));
    EXPECT_EQ(fs::status(elsewhere).permissions(), fs::perms(0664));
    EXPECT_NE(bytes_of(elsewhere).find("<DEVICE_ID>0x77"), std::string::npos);
    EXPECT_EQ(bytes_of(elsewhere).find(">N<"), std::string::npos);
    EXPECT_TRUE(mgr.delete_db("L", m_custom_dir));
    EXPECT_FALSE(fs::is_symlink(own_file("L")));
    EXPECT_NE(bytes_of(elsewhere).find(">L<"), std::string::npos) << "the file is somebody's";
}

}  // namespace
