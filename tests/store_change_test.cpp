// Changes that have to be judged over the whole directory, that others stand in the way of, or that
// belong together.
#include "pgm/zorva/zorva_change.h"
#include "tests/store_support.h"

#include <iconv.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>

namespace fs = std::filesystem;

namespace {

constexpr auto DEVICE = ZORVA_DEFINITION_KIND::DEVICE;
constexpr auto TEMPLATE = ZORVA_DEFINITION_KIND::TEMPLATE;

class StoreChangeTest : public StoreTest {
  protected:
    bool update(ZORVA_MGR& mgr, const std::string& name, const std::string& id = "0x77") {
        return mgr.update_db(new_record(mgr, name, id), m_custom_dir);
    }
    std::string own_file(const std::string& name) const {
        return m_custom_dir + "pgm_flash_" + name + ".xml";
    }
    static ZORVA_NEW_DEFINITION fresh(ZORVA_MGR& mgr, const std::string& name,
                                      const std::string& id = "0x77") {
        return {DEVICE, new_record(mgr, name, id), ZORVA_BASIS::NEW};
    }
    static ZORVA_NEW_DEFINITION fresh_template(ZORVA_MGR& mgr, const std::string& name) {
        return {TEMPLATE, new_record(mgr, "", "0x77", name), ZORVA_BASIS::NEW};
    }
};

// What would come into force out of the changed file counts as much as what goes.
TEST_F(StoreChangeTest, NothingOfAnotherFileGoesOutOfForce) {
    const auto dev = [](const char* name, const char* density = "128Mb") {
        return device({.name = name, .density = density});
    };
    const std::string bad = dev("A", "5Mb");
    const struct {
        const char* what;
        std::string own, behind;
        bool is_possible;
    } rows[] = {
        {"a repeated name", dev("A") + dev("A") + dev("B", "512Mb"), dev("B", "64Mb") + dev("C"),
         false},
        {"a bad device", bad + dev("B"), dev("B") + dev("C"), false},
        {"a bad device ahead of a template", bad + user_template("T1"),
         user_template("T1") + user_template("T2"), false},
        {"nobody else's name", bad + dev("B"), dev("C") + user_template("T1"), true},
        {"a name that is refused there", dev("A") + dev("A") + dev("B"),
         dev("C") + dev("C") + dev("B"), true},
    };
    for (const auto& row : rows) {
        for (const bool deletes : {false, true}) {
            SCOPED_TRACE(std::string(row.what) + (deletes ? ", deleted" : ", replaced"));
            put_files(m_custom_dir, {{"pgm_flash_A.xml", document(row.own)},
                                     {"pgm_flash_zz.xml", document(row.behind)}});
            const texts before = loaded();
            const texts files = files_in(m_custom_dir);
            ZORVA_QSPI_MGR mgr;
            forget();
            const bool done =
                deletes ? mgr.remove_definition({DEVICE, "A"}, own_file("A")) : update(mgr, "A");
            EXPECT_EQ(done, row.is_possible) << mgr.get_change_outcome().sentence;
            if (!done) {
                EXPECT_EQ(files_in(m_custom_dir), files);
                EXPECT_NE(mgr.get_change_outcome().sentence.find("out of force"),
                          std::string::npos);
                continue;
            }
            const texts now = loaded();
            for (const auto& [key, text] : before) {
                if (key == "device A") continue;
                EXPECT_EQ(now.contains(key) ? now.at(key) : "", text) << key;
            }
        }
    }
}

// However the file spells the old name, and whoever wrote the file.
TEST_F(StoreChangeTest, TheOldDefinitionIsFoundInAnyEncoding) {
    const auto converted = [](const std::string& text, const char* encoding) {
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
    };
    const auto encoded = [&](const std::string& name, const char* encoding) {
        return converted(std::string("<?xml version=\"1.0\" encoding=\"") + encoding + "\"?>\n" +
                             document(device({.name = name}) + device({.name = "Z"})),
                         encoding);
    };
    std::string with_cr = document(device({.name = "OLD\nNAME"}) + device({.name = "Z"}));
    for (std::size_t at = 0; (at = with_cr.find('\n', at)) != std::string::npos; at += 2)
        with_cr.insert(at, "\r");
    const struct {
        const char* what;
        std::string name, bytes;
    } rows[] = {
        {"UTF-16", "OLD", encoded("OLD", "UTF-16")},
        {"IBM037", "OLD", encoded("OLD", "IBM037")},
        {"UTF-7", "OLD~",
         "<?xml version=\"1.0\" encoding=\"UTF-7\"?>\n" +
             document(device({.name = "OLD+AH4-"}) + device({.name = "Z"}))},
        {"ISO-8859-1", "OL\xC3\x84", encoded("OL\xC3\x84", "ISO-8859-1")},
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
            const texts now = loaded();
            EXPECT_NE(now.at("device " + row.name).find(" 64Mb, 0x77"), std::string::npos)
                << now.at("device " + row.name);
            EXPECT_TRUE(now.contains("device Z"));
            EXPECT_EQ(definitions_in(m_custom_dir).size(), 2U);
        }
}

TEST_F(StoreChangeTest, CommentsStayWhereTheyStood) {
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

TEST_F(StoreChangeTest, ALinkIsFollowed) {
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
    fs::create_symlink(m_root + "nowhere.xml", own_file("M"));
    EXPECT_FALSE(update(mgr, "M"));
    EXPECT_TRUE(fs::is_symlink(own_file("M")));
    EXPECT_EQ(files_in(m_custom_dir), texts{});
}

// In a directory that several write to, not every file is one's own.
TEST_F(StoreChangeTest, WhatFailsForTheSecondFileIsTriedFirst) {
    struct : hasty_disk {
        std::string file;
        bool chmod(const std::string& path, int mode) override {
            if (path != file) return hasty_disk::chmod(path, mode);
            error = std::make_error_code(std::errc::operation_not_permitted);
            return false;
        }
    } disk;
    disk.file = write_custom("pgm_flash_F.xml", document(devices("X|Y")));
    const texts before = files_in(m_custom_dir);
    pgm_host::set_file_system(&disk);
    ZORVA_QSPI_MGR mgr;
    EXPECT_FALSE(update(mgr, "X"));
    EXPECT_EQ(posted_ids(), ids{20560});
    EXPECT_EQ(mgr.get_change_outcome().sentence,
              disk.file + " can't be changed: Operation not permitted.");
    EXPECT_EQ(files_in(m_custom_dir), before);
    EXPECT_TRUE(update(mgr, "OTHER")) << "nothing is left in the way";
    pgm_host::set_file_system(&m_disk);
}

TEST_F(StoreChangeTest, ToldWhy) {
    const struct {
        const char* what;
        std::function<void()> spoil;
        std::function<bool(ZORVA_MGR&)> change;
        ZORVA_CHANGE_STATE state;
        const char* part;
    } rows[] = {
        {"a taken name", [&] { write_custom("pgm_flash_1.xml", document(devices("NEW"))); },
         [&](ZORVA_MGR& mgr) { return mgr.store_definitions({fresh(mgr, "NEW")}, m_custom_dir); },
         ZORVA_CHANGE_STATE::NAME_TAKEN, "'NEW' is invalid as it already exist"},
        {"a taken name, tried", [&] { write_custom("pgm_flash_1.xml", document(devices("NEW"))); },
         [&](ZORVA_MGR& mgr) { return mgr.try_definitions({fresh(mgr, "NEW")}, m_custom_dir); },
         ZORVA_CHANGE_STATE::NAME_TAKEN, "'NEW' is invalid as it already exist"},
        {"changed meanwhile",
         [&] { write_custom("pgm_flash_A.xml", document(device({.name = "A", .id = "0x02"}))); },
         [&](ZORVA_MGR& mgr) {
             return mgr.store_definitions({{DEVICE, new_record(mgr, "A"), ZORVA_BASIS::AS_LOADED}},
                                          m_custom_dir);
         },
         ZORVA_CHANGE_STATE::CHANGED_SINCE, "'A' has been changed meanwhile"},
        {"gone meanwhile", [&] { fs::remove(own_file("A")); },
         [&](ZORVA_MGR& mgr) {
             return mgr.store_definitions({{DEVICE, new_record(mgr, "A"), ZORVA_BASIS::AS_LOADED}},
                                          m_custom_dir);
         },
         ZORVA_CHANGE_STATE::CHANGED_SINCE, "'A' has been changed meanwhile"},
        {"twice",
         [&] {
             write_custom("pgm_flash_1.xml", document(devices("NEW")));
             write_custom("pgm_flash_2.xml", document(devices("NEW")));
         },
         [&](ZORVA_MGR& mgr) { return update(mgr, "NEW"); }, ZORVA_CHANGE_STATE::REFUSED,
         "pgm_flash_1.xml and in "},
        {"a shipped device", [] {},
         [&](ZORVA_MGR& mgr) { return mgr.update_db(new_record(mgr, "SHIP_A"), m_xml_dir); },
         ZORVA_CHANGE_STATE::PROTECTED, "'SHIP_A' is a shipped device"},
        {"a foreign file", [&] { write_custom("pgm_flash_X.xml", "<junk"); },
         [&](ZORVA_MGR& mgr) { return update(mgr, "X"); }, ZORVA_CHANGE_STATE::FILE_FAILED,
         "pgm_flash_X.xml isn't a file of the database: line 1: "},
        {"no directory", [&] { fs::remove_all(m_custom_dir); },
         [&](ZORVA_MGR& mgr) { return update(mgr, "X"); }, ZORVA_CHANGE_STATE::FILE_FAILED,
         "can't be locked: No such file or directory."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        fs::create_directory(m_custom_dir);
        put_files(m_custom_dir, {{"pgm_flash_A.xml", document(devices("A"))}});
        ZORVA_QSPI_MGR mgr;
        row.spoil();
        EXPECT_FALSE(row.change(mgr));
        EXPECT_EQ(mgr.get_change_outcome().state, row.state);
        EXPECT_NE(mgr.get_change_outcome().sentence.find(row.part), std::string::npos)
            << mgr.get_change_outcome().sentence;
    }
}

// Spelled otherwise, it is still the definition that was loaded.
TEST_F(StoreChangeTest, ADefinitionIsComparedByWhatItSays) {
    write_custom("pgm_flash_1.xml", document(devices("A|B")));
    ZORVA_QSPI_MGR mgr;
    EXPECT_TRUE(update(mgr, "B")) << "which writes the file anew";
    EXPECT_TRUE(mgr.store_definitions({{DEVICE, new_record(mgr, "A"), ZORVA_BASIS::AS_LOADED}},
                                      m_custom_dir))
        << mgr.get_change_outcome().sentence;
}

TEST_F(StoreChangeTest, SeveralComeAllOrNone) {
    const auto store = [&](ZORVA_MGR& mgr) {
        return mgr.store_definitions({fresh(mgr, "A"), fresh_template(mgr, "T"), fresh(mgr, "B")},
                                     m_custom_dir);
    };
    const struct {
        const char* what;
        std::function<void()> spoil;
    } rows[] = {
        {"blocked", [&] { fs::create_directory(own_file("B")); }},
        {"another definition in its file",
         [&] { write_custom("pgm_flash_B.xml", document(devices("C"))); }},
        {"a link",
         [&] {
             write_file(m_root + "empty", "");
             fs::create_symlink(m_root + "empty", own_file("B"));
         }},
        {"no definition", [&] { write_custom("pgm_flash_B.xml", "<junk"); }},
        {"a name that is taken", [&] { write_custom("pgm_flash_1.xml", document(devices("B"))); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        put_files(m_custom_dir, {});
        ZORVA_QSPI_MGR mgr;
        row.spoil();
        const texts before = files_in(m_custom_dir);
        EXPECT_FALSE(store(mgr));
        EXPECT_EQ(files_in(m_custom_dir), before);
        EXPECT_EQ(mgr.get_flash("A", true), nullptr);
    }
}

// A host may call the library from where it takes messages.
TEST_F(StoreChangeTest, AChangeFromWithinALoadIsRefused) {
    write_custom("pgm_flash_1.xml",
                 document(devices("A") + device({.name = "B", .density = "5Mb"})));
    ZORVA_QSPI_MGR mgr;
    int refusals = 0;
    pgm_host::set_message_sink([&](const pgm_host::message& message) {
        if (message.id == 20560) {
            ++refusals;
        } else {
            EXPECT_FALSE(mgr.delete_db("A", m_custom_dir));
        }
    });
    ZORVA_QSPI_MGR again;
    EXPECT_EQ(refusals, 1);
    EXPECT_TRUE(again.get_flash("A", true));
    EXPECT_TRUE(mgr.delete_db("A", m_custom_dir));
}

TEST_F(StoreChangeTest, TracesOfBothStepsStand) {
    write_custom("pgm_flash_1.xml", document(devices("A|X") + user_template("T")));
    const std::string shared = m_custom_dir + "pgm_flash_1.xml";
    const std::string own = own_file("X");
    ZORVA_QSPI_MGR mgr;
    const auto maps = [](const char* when, int custom, int all) {
        return std::string(when) + ": db_dir_map->size() = " + std::to_string(custom) + "\n" +
               when + ": m_flash_db_active_dir_map.size() = " + std::to_string(all) + "\n" + when +
               ": m_flash_map.size() = " + std::to_string(all) + "\n";
    };
    // Behind the directories, and the file in force.
    const auto traced = [&] {
        std::string text;
        for (const std::string& trace : m_traces) {
            text += trace + "\n";
            if (trace.starts_with("active_dir_file.full_directory")) text.clear();
        }
        return text;
    };
    const std::string room =
        "Deleting old XML file " + own + "\nWriting new XML file, " + own + "\n";
    forget();
    EXPECT_TRUE(update(mgr, "X"));
    EXPECT_EQ(traced(), "Found flash name = A\nFound template name = T\nDeleting XML file " +
                            shared + "\n" + maps("Before", 2, 5) + maps("After", 1, 4) +
                            "Writing XML file, " + shared + "\nTouch new XML file, " + own + "\n" +
                            room + maps("Before", 1, 4) + maps("After", 2, 5));
    forget();
    EXPECT_TRUE(update(mgr, "X"));
    EXPECT_EQ(traced(), "Deleting XML file " + own + "\n" + maps("Before", 2, 5) +
                            maps("After", 1, 4) + "Touch new XML file, " + own + "\n" + room +
                            maps("Before", 1, 4) + maps("After", 2, 5));
    forget();
    EXPECT_TRUE(mgr.delete_db("A", m_custom_dir));
    EXPECT_EQ(traced(), "Found template name = T\nDeleting XML file " + shared + "\n" +
                            maps("Before", 2, 5) + maps("After", 1, 4) + "Writing XML file, " +
                            shared + "\n");
}

// A host that keeps its files elsewhere.
struct memory_disk : pgm_host::file_system {
    explicit memory_disk(std::string in) : directory(std::move(in)) {}
    std::string directory;  // in which nothing is on the disk
    texts files;

    bool is_here(const std::string& path) const { return path.starts_with(directory); }
    bool no_file() {
        error = std::make_error_code(std::errc::no_such_file_or_directory);
        return false;
    }
    bool exists(const std::string& path) override {
        return is_here(path) ? path == directory || files.contains(path)
                             : file_system::exists(path);
    }
    bool touch(const std::string& path) override { return files.try_emplace(path).second || true; }
    bool chmod(const std::string& path, int) override { return files.contains(path) || no_file(); }
    bool remove(const std::string& path) override { return files.erase(path) != 0 || no_file(); }
    bool rename(const std::string& from, const std::string& to) override {
        if (!files.contains(from)) return no_file();
        files[to] = files.extract(from).mapped();
        return true;
    }
    bool read(const std::string& path, std::string& bytes) override {
        if (!is_here(path)) return file_system::read(path, bytes);
        if (!files.contains(path)) return no_file();
        bytes = files[path];
        return true;
    }
    bool write(const std::string& path, std::string_view bytes) override {
        files[path] = bytes;
        return true;
    }
    bool flush_directory(const std::string&) override { return true; }
    std::vector<std::string> list(const std::string& in) override {
        if (in != directory) return file_system::list(in);
        names all;
        for (const auto& [path, bytes] : files) all.push_back(path.substr(directory.size()));
        return all;
    }
    std::vector<std::string> list_others(const std::string& in) override {
        return in == directory ? names{} : file_system::list_others(in);
    }
    int mode(const std::string& path) override { return files.contains(path) ? 0644 : -1; }
    std::string follow(const std::string& path) override { return path; }
    bool same_file(const std::string& a, const std::string& b) override { return a == b; }
    bool may_change(const std::string&) override { return true; }
    std::unique_ptr<pgm_host::directory_lock> lock(const std::string&, pgm_host::lock_kind,
                                                   std::chrono::milliseconds) override {
        return std::make_unique<pgm_host::directory_lock>();
    }
};

TEST_F(StoreChangeTest, AFileSystemInMemoryStores) {
    memory_disk disk(m_root + "memory/");
    pgm_host::set_file_system(&disk);
    ZORVA_MGR::set_db_custom_dir(m_root + "memory");
    ZORVA_QSPI_MGR mgr;
    const auto record = new_record(mgr, "X", "0x77", "T");
    EXPECT_TRUE(mgr.update_db(record, disk.directory)) << mgr.get_change_outcome().sentence;
    EXPECT_EQ(disk.files.size(), 2U);
    EXPECT_TRUE(loaded().contains("device X"));
    EXPECT_TRUE(mgr.delete_db("X", disk.directory));
    EXPECT_TRUE(mgr.delete_template("T"));
    EXPECT_EQ(disk.files, texts{});
    EXPECT_FALSE(fs::exists(disk.directory));
    pgm_host::set_file_system(&m_disk);
}

// While devices move out of a file, one after the other, each is met by each load, and once.
TEST_F(StoreChangeTest, LoadsBesideReplacementsMeetEachDeviceOnce) {
    constexpr int rounds = 200;
    std::string all;
    for (int i = 0; i < rounds; ++i) all += device({.name = "X" + std::to_string(i)});
    write_custom("pgm_flash_shared.xml", document(all));
    pgm_host::set_file_system(nullptr);
    const auto move_all = [&] {
        ZORVA_QSPI_MGR mgr;
        for (int i = 0; i < rounds; ++i)
            if (!update(mgr, "X" + std::to_string(i))) return false;
        write_file(m_root + "done", "");
        return true;
    };
    const auto load_all = [&] {
        int loads = 0;
        for (; !fs::exists(m_root + "done"); ++loads) {
            ZORVA_QSPI_MGR mgr;
            if (device_names(mgr).size() != rounds + 3 || !m_messages.empty()) return false;
        }
        return loads > 0;
    };
    EXPECT_TRUE(at_once(move_all, load_all));
    EXPECT_EQ(loaded().size(), static_cast<std::size_t>(rounds + 3));
}

}  // namespace
