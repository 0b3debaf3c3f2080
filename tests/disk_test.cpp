// The file service and the disk below it, system calls that fail included.
#include "services/file.h"
#include "services/host.h"
#include "services/pgm_common.h"
#include "tests/system_calls.h"
#include "tests/test_support.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

class DiskTest : public InstallationTest {
  protected:
    DiskTest() { the_system = SYSTEM_CALLS(); }
    ~DiskTest() override { the_system = SYSTEM_CALLS(); }

    std::vector<std::string> found(const std::string& mask) const {
        std::vector<std::string> names;
        FIO_FIND find(m_custom_dir + mask);
        for (auto name = find.find_first(); !name.empty(); name = find.find_next())
            names.push_back(name);
        return names;
    }
};

TEST(Paths, AreNormalisedTheSameWayEverywhere) {
    const struct {
        const char *text, *path, *directory, *name;
    } rows[] = {
        {"/db/xml/", "/db/xml/", "/db/xml/", ""},
        {"/db//xml///a.xml", "/db/xml/a.xml", "/db/xml/", "a.xml"},
        {"C:\\db\\\\xml\\", "C:/db/xml/", "C:/db/xml/", ""},
        {"./", "./", "./", ""},
        {"a.xml", "a.xml", "", "a.xml"},
        {"", "", "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        std::string treated = row.text;
        PGM_COMMON::change_folder_slash(treated);
        const FIO_PATH path(row.text);
        EXPECT_EQ(treated, row.path);
        EXPECT_EQ(path.fullpath(), row.path);
        EXPECT_EQ(path.full_directory(), row.directory);
        EXPECT_EQ(path.filename(), row.name);
    }
    FIO_PATH path("/db/old.xml");
    path.filename("*.xml");
    EXPECT_EQ(static_cast<std::string>(path), "/db/*.xml");
}

TEST_F(DiskTest, FindWalksRegularFilesInByteOrder) {
    for (const char* name : {"pgm_flash_b.xml", "pgm_flash_B.xml", "pgm_flash_.xml", "flash_a.xml",
                             "pgm_flash_a.xml.tmp", "pgm_flash_a.XML", "a[b].x"})
        write_custom(name, "");
    fs::create_directory(m_custom_dir + "pgm_flash_dir.xml");
    ASSERT_EQ(::mkfifo((m_custom_dir + "pgm_flash_fifo.xml").c_str(), 0600), 0);
    fs::create_symlink(m_custom_dir + "flash_a.xml", m_custom_dir + "pgm_flash_link.xml");
    fs::create_symlink(m_custom_dir + "nothing", m_custom_dir + "pgm_flash_broken.xml");
    const std::pair<const char*, const char*> rows[] = {
        {"pgm_flash_*.xml", "pgm_flash_.xml pgm_flash_B.xml pgm_flash_b.xml pgm_flash_link.xml"},
        {"pgm_flash_?.xml", "pgm_flash_B.xml pgm_flash_b.xml"},
        {"*a*.xml*p", "pgm_flash_a.xml.tmp"},
        {"nothing/*", ""},
        {"a?b?.x", "a[b].x"},
    };
    for (const auto& [mask, names] : rows) EXPECT_EQ(joined(found(mask)), names) << mask;
    EXPECT_EQ(joined(FIO_FIND(m_custom_dir + "pgm*.xml").passed_over()),
              "pgm_flash_broken.xml pgm_flash_dir.xml pgm_flash_fifo.xml");
}

TEST_F(DiskTest, ADirectoryThatCantBeReadToItsEndHasNoNames) {
    write_custom("a.xml", "");
    write_custom("b.xml", "");
    for (const int entries : {0, 1, 3}) {
        the_system.entries_left = entries;
        FIO_FIND find(m_custom_dir + "*");
        EXPECT_EQ(find.find_first(), "") << entries;
        EXPECT_EQ(find.error(), std::errc::io_error) << entries;
    }
    the_system.entries_left = -1;
    FIO_FIND missing(m_root + "nothing/*");
    EXPECT_EQ(missing.find_first(), "");
    EXPECT_FALSE(missing.error());
}

TEST_F(DiskTest, OnlyRegularFilesOfASensibleSizeAreReadAndWritten) {
    const std::string fifo = m_root + "fifo";
    const std::string large = m_root + "large";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    write_file(large, "");
    fs::resize_file(large, pgm_host::file_system::largest_file + 1);
    std::string bytes = "as before";
    for (const std::string& path : {fifo, large, m_custom_dir, m_root + "nothing"})
        EXPECT_FALSE(FIO_FILE_SYSTEM::read(path, bytes)) << path;
    // A file that has grown since its size was taken is read to its end, up to the limit.
    the_system.hides_size = true;
    EXPECT_FALSE(FIO_FILE_SYSTEM::read(large, bytes));
    EXPECT_EQ(FIO_FILE_SYSTEM::error(), std::errc::file_too_large);
    EXPECT_EQ(bytes, "as before");
    const std::string text(100'000, 'x');
    EXPECT_TRUE(FIO_FILE_SYSTEM::read(write_custom("a", text), bytes));
    EXPECT_EQ(bytes, text);
    the_system.hides_size = false;
    EXPECT_FALSE(FIO_FILE_SYSTEM::write(fifo, "text"));
    EXPECT_FALSE(FIO_FILE_SYSTEM::write(m_custom_dir, "text"));
    EXPECT_FALSE(FIO_FILE_SYSTEM::write(m_root + "nothing/file", "text"));
}

// A limit on the size of files has write() give back less than it was given, and then fail.
TEST_F(DiskTest, AFullDiskIsNoFileWritten) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto old_action = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{10, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_TRUE(FIO_FILE_SYSTEM::write(m_root + "fits", "0123456789"));
    EXPECT_FALSE(FIO_FILE_SYSTEM::write(m_root + "is_cut", "0123456789a"));
    EXPECT_EQ(FIO_FILE_SYSTEM::error(), std::errc::file_too_large);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, old_action);
}

TEST_F(DiskTest, WhatIsWrittenIsFlushed) {
    const std::string file = m_root + "file";
    ASSERT_TRUE(FIO_FILE_SYSTEM::write(file, "whole"));
    EXPECT_EQ(the_system.flushed, std::vector{file + " 5"});
    the_system.flushed.clear();
    ASSERT_TRUE(FIO_FILE_SYSTEM::flush_directory(m_custom_dir));
    EXPECT_EQ(the_system.flushed,
              std::vector{fs::path(m_custom_dir).parent_path().string() + " 0"});
    EXPECT_FALSE(FIO_FILE_SYSTEM::flush_directory(m_root + "nothing"));
}

TEST_F(DiskTest, FileCalls) {
    const std::string file = m_root + "file";
    const mode_t old_mask = ::umask(027);
    EXPECT_TRUE(FIO_FILE_SYSTEM::write(file, "a longer text"));
    EXPECT_TRUE(FIO_FILE_SYSTEM::touch(file + "1"));
    ::umask(old_mask);
    EXPECT_EQ(FIO_FILE_SYSTEM::mode(file), 0640);
    EXPECT_EQ(FIO_FILE_SYSTEM::mode(file + "1"), 0640);
    EXPECT_EQ(FIO_FILE_SYSTEM::mode(m_root + "nothing"), -1);
    EXPECT_TRUE(FIO_FILE_SYSTEM::touch(file));
    EXPECT_EQ(fs::file_size(file), 13U);
    EXPECT_TRUE(FIO_FILE_SYSTEM::write(file, std::string_view("a\0b", 3)));
    std::string bytes;
    EXPECT_TRUE(FIO_FILE_SYSTEM::read(file, bytes));
    EXPECT_EQ(bytes, std::string("a\0b", 3));
    EXPECT_TRUE(FIO_FILE_SYSTEM::_chmod(file.c_str(), 0400));
    EXPECT_EQ(FIO_FILE_SYSTEM::mode(file), 0400);
    EXPECT_TRUE(FIO_FILE_SYSTEM::rename(file, file + "2"));
    EXPECT_FALSE(FIO_FILE_SYSTEM::exists(file));
    EXPECT_TRUE(FIO_FILE_SYSTEM::remove((file + "2").c_str()));
    EXPECT_FALSE(FIO_FILE_SYSTEM::remove((file + "2").c_str()));
    EXPECT_EQ(FIO_FILE_SYSTEM::error(), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(FIO_FILE_SYSTEM::rename(file, file + "2"));
    EXPECT_FALSE(FIO_FILE_SYSTEM::touch(m_root + "nothing/file"));
    EXPECT_TRUE(FIO_FILE_SYSTEM::exists(m_root));
    EXPECT_TRUE(FIO_FILE_SYSTEM::may_change(m_root));
    EXPECT_FALSE(FIO_FILE_SYSTEM::may_change(m_root + "nothing"));
    const std::string link = m_root + "link";
    fs::create_symlink("file1", link);
    EXPECT_EQ(FIO_FILE_SYSTEM::follow(link), fs::canonical(file + "1"));
    EXPECT_TRUE(FIO_FILE_SYSTEM::same_file(link, file + "1"));
    EXPECT_FALSE(FIO_FILE_SYSTEM::same_file(link, m_root));
    fs::remove(file + "1");
    EXPECT_EQ(FIO_FILE_SYSTEM::follow(link), "");
    EXPECT_EQ(FIO_FILE_SYSTEM::follow(file), file);
}

}  // namespace
