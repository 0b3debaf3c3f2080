// What the tests of storing share: records to store, changes to a database, a disk on which a
// change breaks off, and what a database holds before and after.
#pragma once

#include "pgm/zorva/zorva_qspi_mgr.h"
#include "pgm/zorva/zorva_qspi_operation.h"
#include "services/host.h"
#include "tests/test_support.h"

#include <unistd.h>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

using texts = std::map<std::string, std::string>;
using names = std::vector<std::string>;
using ids = std::vector<unsigned>;

// A record that can be stored: five operations in each flow, one action in Program. The ID tells
// it from another of the same name; `template_name` is for the flows to be stored as a template.
ZORVA_FLASH* new_record(ZORVA_MGR& mgr, const std::string& name, const std::string& id = "0x77",
                        const std::string& template_name = "");

// Whether a record still lives, told by an operation that goes with it.
class lifetime {
  public:
    explicit lifetime(ZORVA_FLASH& of);
    bool is_over() const { return *m_is_over; }

  private:
    std::shared_ptr<bool> m_is_over = std::make_shared<bool>(false);
};

// What a manager answers: "device A" and "template A" to all that it knows of them.
texts answers(ZORVA_MGR& mgr);
// The keys under which `now` holds neither what `a` nor what `b` holds.
names neither_of(const texts& now, const texts& a, const texts& b);
// "device A" and "template A" of what `now` lacks, or says otherwise than `before`.
names changed(const texts& before, const texts& now);

std::string bytes_of(const std::string& path);
// The files of a directory, hidden ones too, by name.
texts files_in(const std::string& directory);
// Makes `files` all that a directory holds.
void put_files(const std::string& directory, const texts& files);
// Each definition in the files of a directory as it is spelled there, blanks between tags aside.
std::multiset<std::string> definitions_in(const std::string& directory);

// A change to the database in a directory that holds `files`.
struct change_case {
    const char* name;
    texts files;
    std::function<bool(ZORVA_MGR& mgr, const std::string& directory)> change;
    bool in_two_steps = false;  // a device and then its template
    bool all_or_none = false;   // all that is added, or nothing
};
const std::vector<change_case>& change_cases();

// A disk that doesn't wait for the medium: what is tried is the end of a process, not that of the
// machine.
struct hasty_disk : pgm_host::file_system {
    bool write(const std::string& path, std::string_view bytes) override;
    bool flush_directory(const std::string&) override { return true; }
};

// An installation on such a disk.
class StoreTest : public InstallationTest {
  protected:
    StoreTest() { pgm_host::set_file_system(&m_disk); }
    // What a load finds.
    static texts loaded();
    std::string own_file(const std::string& name) const {
        return m_custom_dir + "pgm_flash_" + name + ".xml";
    }
    bool update(ZORVA_MGR& mgr, const std::string& name, const std::string& id = "0x77") {
        return mgr.update_db(new_record(mgr, name, id), m_custom_dir);
    }
    // A change told by a text: "store X" and "delete X" of a device, "add T" and "drop T" of a
    // template; in the custom directory, or "store X in installation".
    bool run(ZORVA_MGR& mgr, const std::string& change) const;
    // A text without the root of the paths in it.
    std::string without_root(std::string text) const;

    hasty_disk m_disk;
};

// What goes wrong at a call.
enum class trouble {
    call_fails,
    all_fail_from_there,
    ends_before,   // the process ends
    ends_halfway,  // only within a write
    ends_after,
};

// A disk with trouble at its n-th call, the first being 1; with none at 0.
class troubled_disk : public hasty_disk {
  public:
    static constexpr int ended = 77;  // exit code of a process that ends here

    explicit troubled_disk(trouble what = trouble::call_fails, std::size_t call = 0)
        : m_what(what), m_call(call) {}
    bool was_troubled() const { return m_calls.size() >= m_call; }
    // What was called so far, as "write FILE".
    const names& calls() const { return m_calls; }
    // Those that change something or make it last, file names without what all have in common.
    std::string steps() const;

    bool exists(const std::string& path) override {
        return pass("exists", path, [&] { return hasty_disk::exists(path); });
    }
    bool touch(const std::string& path) override {
        return pass("touch", path, [&] { return hasty_disk::touch(path); });
    }
    bool chmod(const std::string& path, int mode) override;
    bool remove(const std::string& path) override {
        return pass("remove", path, [&] { return hasty_disk::remove(path); });
    }
    bool rename(const std::string& from, const std::string& to) override {
        return pass("rename to", to, [&] { return hasty_disk::rename(from, to); });
    }
    bool read(const std::string& path, std::string& bytes) override {
        return pass("read", path, [&] { return hasty_disk::read(path, bytes); });
    }
    // A write that fails leaves a part of the file, as that of a full disk does.
    bool write(const std::string& path, std::string_view bytes) override;
    bool flush_directory(const std::string& directory) override {
        return pass("flush", directory, [] { return true; });
    }
    std::vector<std::string> list(const std::string& directory) override {
        return pass("list", directory, [&] { return hasty_disk::list(directory); });
    }

  private:
    template <class CALL>
    auto pass(const std::string& what, const std::string& path, CALL call) -> decltype(call()) {
        m_calls.push_back(what + " " + path.substr(path.rfind('/') + 1));
        const bool here = m_calls.size() == m_call;
        if (here && m_what == trouble::ends_before) ::_exit(ended);
        if ((here && m_what == trouble::call_fails) ||
            (was_troubled() && m_what == trouble::all_fail_from_there)) {
            error = std::make_error_code(std::errc::io_error);
            return {};
        }
        auto result = call();
        if (here && m_what == trouble::ends_after) ::_exit(ended);
        return result;
    }

    trouble m_what;
    std::size_t m_call;
    names m_calls;
};

// Runs jobs at once, in processes of their own, each of which gives its exit code.
std::vector<int> all_at_once(const std::vector<std::function<int()>>& jobs);
// The exit code of one job, which is 0 if it is true.
int in_child(const std::function<bool()>& job);
