// Ends a process at every call to the disk that a change to the database makes, and looks at what
// the next load finds: each definition as it stood before or as it was to be. Then ends that load
// at every call too. With --short only the changes are ended, and not behind a call, which is where
// the next one begins.
#include "tests/store_support.h"

#include <cstdio>

namespace {

using job = std::function<bool(ZORVA_MGR&)>;

class kill_sweep : public StoreTest {
  public:
    explicit kill_sweep(bool is_short) : m_is_short(is_short) {}
    void sweep(const change_case& row);
    // Tells the outcome; true if nothing was lost.
    bool report() const {
        std::printf("%d kill points, %d lost\n", m_points, m_lost);
        return m_points > 0 && m_lost == 0;
    }

  private:
    void TestBody() override {}
    void end_everywhere(const texts& files, const job& each, bool is_load);
    names calls_of(const texts& files, const job& each);
    void end_once(const texts& files, const std::function<bool()>& each, trouble what,
                  std::size_t call);
    void judge(const std::string& place, bool is_load);

    bool m_is_short;
    int m_points = 0;
    int m_lost = 0;
    std::string m_name;  // of the change under way
    bool m_is_all_or_none = false;
    texts m_before;
    texts m_after;
    std::set<texts> m_judged;  // what processes have left and a load has been held against
};

void kill_sweep::sweep(const change_case& row) {
    const job change = [&](ZORVA_MGR& mgr) { return row.change(mgr, m_custom_dir); };
    m_name = row.name;
    m_is_all_or_none = row.all_or_none;
    m_judged.clear();
    put_files(m_custom_dir, row.files);
    m_before = loaded();
    calls_of(row.files, change);
    m_after = loaded();
    end_everywhere(row.files, change, false);
}

// Each time the process starts from `files`.
void kill_sweep::end_everywhere(const texts& files, const job& each, bool is_load) {
    const names calls = calls_of(files, each);
    put_files(m_custom_dir, files);
    ZORVA_QSPI_MGR mgr;
    const auto run = [&] { return each(mgr); };
    const auto end_at = [&](trouble what, std::size_t place) {
        end_once(files, run, what, place + 1);
        if (m_judged.insert(files_in(m_custom_dir)).second) judge(calls[place], is_load);
    };
    for (std::size_t place = 0; place < calls.size(); ++place) {
        end_at(trouble::ends_before, place);
        if (calls[place].starts_with("write")) end_at(trouble::ends_halfway, place);
        if (!m_is_short || place + 1 == calls.size()) end_at(trouble::ends_after, place);
    }
}

names kill_sweep::calls_of(const texts& files, const job& each) {
    put_files(m_custom_dir, files);
    ZORVA_QSPI_MGR mgr;
    put_files(m_custom_dir, files);
    troubled_disk disk(trouble::call_fails, 0);
    pgm_host::set_file_system(&disk);
    each(mgr);
    pgm_host::set_file_system(&m_disk);
    return disk.calls();
}

void kill_sweep::end_once(const texts& files, const std::function<bool()>& each, trouble what,
                          std::size_t call) {
    put_files(m_custom_dir, files);
    const int code = in_child([&] {
        troubled_disk disk(what, call);
        pgm_host::set_file_system(&disk);
        return each();
    });
    ++m_points;
    if (code == troubled_disk::ended) return;
    ++m_lost;
    std::fprintf(stderr, "%s, call %zu: exit code %d\n", m_name.c_str(), call, code);
}

void kill_sweep::judge(const std::string& place, bool is_load) {
    const texts left = files_in(m_custom_dir);
    forget();
    const texts now = loaded();
    names faults = neither_of(now, m_before, m_after);
    if (m_is_all_or_none && now != m_before && now != m_after) faults.emplace_back("only some");
    for (const pgm_host::message& message : m_messages) faults.push_back(message.text);
    for (const auto& [name, bytes] : files_in(m_custom_dir))
        if (name.starts_with('.')) faults.push_back(name + " left behind");
    if (!faults.empty()) ++m_lost;
    for (const std::string& fault : faults)
        std::fprintf(stderr, "%s%s, about %s: %s\n", m_name.c_str(), is_load ? ", next load" : "",
                     place.c_str(), fault.c_str());
    const bool is_to_be_cleared_up = left.begin() != left.end() && left.begin()->first[0] == '.';
    if (!m_is_short && !is_load && is_to_be_cleared_up)
        end_everywhere(
            left, [](ZORVA_MGR&) { return ZORVA_QSPI_MGR().is_new_device_supported(); }, true);
}

}  // namespace

int main(int count, char** arguments) {
    kill_sweep all(count > 1 && std::string_view(arguments[1]) == "--short");
    for (const change_case& row : change_cases()) all.sweep(row);
    return all.report() ? 0 : 1;
}
