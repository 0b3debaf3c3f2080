#include "tests/store_support.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace fs = std::filesystem;

ZORVA_FLASH* new_record(ZORVA_MGR& mgr, const std::string& name, const std::string& id,
                        const std::string& template_name) {
    ZORVA_FLASH* flash = mgr.create_flash(name);
    flash->set_density("64Mb");
    flash->set_parameter_value(ZORVA_FLASH_PARAM_ID, id);
    flash->set_parameter_value(ZORVA_FLASH_PARAM_IO_VOLTAGE, low_voltage);
    flash->set_parameter_value(ZORVA_FLASH_PARAM_TOTAL_DIE, 2u);
    flash->set_parameter_value(ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE, 3u);
    flash->set_parameter_value(ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4, 4u);
    flash->set_parameter_value(ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE, "Winbond");
    flash->set_parameter_value(ZORVA_FLASH_PARAM_TEMPLATE_NAME, template_name);
    for (const auto flow : {ZORVA_PROG_FLOW_TYPE_SFL, ZORVA_PROG_FLOW_TYPE_SDM}) {
        for (int type = 0; type < 5; ++type)
            flash->add_operation_into_list(mgr.create_operation(number<ZORVA_OP_TYPE>(type)), flow);
        ZORVA_ACTION* action = mgr.create_action(ZORVA_ACT_TYPE_WRITE_REGISTER);
        action->set_property_value(ZORVA_ACT_PROPERTY_WR_NAME, flow ? "In_SDM" : "In_SFL");
        action->set_property_value(ZORVA_ACT_PROPERTY_WR_COMMAND, "0x06");
        flash->get_operation_list(flow)->at(ZORVA_OP_TYPE_PROGRAM)->add_action_into_list(action);
    }
    return flash;
}

namespace {

// Tells of its end.
struct mourned_operation : ZORVA_QSPI_OPERATION {
    explicit mourned_operation(std::shared_ptr<bool> end)
        : ZORVA_QSPI_OPERATION(ZORVA_OP_TYPE_TERMINATION), is_over(std::move(end)) {}
    ~mourned_operation() override { *is_over = true; }
    std::shared_ptr<bool> is_over;
};

std::string text_of(const std::vector<ZORVA_OPERATION*>& flow) {
    std::string text;
    for (ZORVA_OPERATION* operation : flow) {
        text += "\n" + std::to_string(operation->get_operation_type()) + ":";
        for (ZORVA_ACTION* action : *operation->get_action_list())
            for (const ZORVA_ACT_PROPERTY property : action->get_property_enum_list())
                text += " " + action->get_property_value(property) + ",";
    }
    return text;
}

std::string text_of(ZORVA_FLASH& flash) {
    std::string text = flash.get_density();
    for (const auto param :
         {ZORVA_FLASH_PARAM_ID, ZORVA_FLASH_PARAM_IO_VOLTAGE, ZORVA_FLASH_PARAM_PROG_FLOW_TEMPLATE})
        text += ", " + flash.get_parameter_value(param);
    for (const auto param : {ZORVA_FLASH_PARAM_TOTAL_DIE, ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE,
                             ZORVA_FLASH_PARAM_DUMMY_CLK_CYCLE_X4})
        text += ", " + std::to_string(flash.get_parameter_value_in_dword(param, nullptr));
    return text + text_of(*flash.get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL)) +
           text_of(*flash.get_operation_list(ZORVA_PROG_FLOW_TYPE_SDM));
}

}  // namespace

lifetime::lifetime(ZORVA_FLASH& of) {
    of.add_operation_into_list(new mourned_operation(m_is_over), ZORVA_PROG_FLOW_TYPE_SDM);
}

texts answers(ZORVA_MGR& mgr) {
    texts all;
    for (const std::string& name : device_names(mgr))
        all["device " + name] =
            mgr.get_flash_file(name) + " " + text_of(*mgr.get_flash(name, true));
    for (std::string name : mgr.get_user_template_list())
        for (const auto flow : {ZORVA_PROG_FLOW_TYPE_SFL, ZORVA_PROG_FLOW_TYPE_SDM})
            all["template " + name] += text_of(*mgr.get_user_template_operation_list(name, flow));
    return all;
}

names neither_of(const texts& now, const texts& a, const texts& b) {
    const auto text_in = [](const texts& all, const std::string& key) {
        const auto found = all.find(key);
        return found == all.end() ? std::optional<std::string>() : found->second;
    };
    std::set<std::string> keys;
    for (const texts* all : {&now, &a, &b})
        for (const auto& [key, text] : *all) keys.insert(key);
    names lost;
    for (const std::string& key : keys)
        if (text_in(now, key) != text_in(a, key) && text_in(now, key) != text_in(b, key))
            lost.push_back(key);
    return lost;
}

names changed(const texts& before, const texts& now) { return neither_of(now, before, before); }

std::string bytes_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

texts files_in(const std::string& directory) {
    texts files;
    for (const auto& entry : fs::directory_iterator(directory))
        if (entry.is_regular_file()) files[entry.path().filename()] = bytes_of(entry.path());
    return files;
}

void put_files(const std::string& directory, const texts& files) {
    for (const auto& entry : fs::directory_iterator(directory)) fs::remove_all(entry.path());
    for (const auto& [name, bytes] : files) write_file(directory + name, bytes);
}

std::multiset<std::string> definitions_in(const std::string& directory) {
    static const std::regex between_tags(">\\s+<");
    static const std::regex definition("<(FLASH|USER_TEMPLATE|GOLDEN_TEMPLATE)>[^]*?</\\1>");
    std::multiset<std::string> definitions;
    for (const auto& [name, bytes] : files_in(directory)) {
        const std::string plain = std::regex_replace(bytes, between_tags, "><");
        for (std::sregex_iterator found(plain.begin(), plain.end(), definition), end; found != end;
             ++found)
            definitions.insert(found->str());
    }
    return definitions;
}

namespace {

bool add_several(ZORVA_MGR& mgr, const std::string& directory) {
    using enum ZORVA_DEFINITION_KIND;
    constexpr auto is_new = ZORVA_BASIS::NEW;
    return mgr.store_definitions({{DEVICE, new_record(mgr, "X"), is_new},
                                  {TEMPLATE, new_record(mgr, "", "0x77", "T"), is_new},
                                  {DEVICE, new_record(mgr, "Y"), is_new}},
                                 directory);
}

}  // namespace

const std::vector<change_case>& change_cases() {
    const auto update_with = [](const char* template_name) {
        return [=](ZORVA_MGR& mgr, const std::string& directory) {
            return mgr.update_db(new_record(mgr, "X", "0x77", template_name), directory);
        };
    };
    const auto update = update_with("");
    const auto update_and_template = update_with("T");
    const auto remove = [](const char* name) {
        return [=](ZORVA_MGR& mgr, const std::string& in) { return mgr.delete_db(name, in); };
    };
    const auto delete_template = [](ZORVA_MGR& mgr, const std::string&) {
        return mgr.delete_template("T");
    };
    const auto files = [](texts all) {
        for (auto& [name, bytes] : all) bytes = document(bytes);
        return all;
    };
    const std::string x = device({.name = "X"});
    const std::string t = user_template("T");
    const std::string some = device({.name = "A"}) + user_template("S");
    const std::string more = device({.name = "B"}) + user_template("R");
    const char* const own = "pgm_flash_X.xml";
    const char* const first = "pgm_flash_1.xml";
    const char* const last = "pgm_flash_z.xml";
    const char* const own_of_t = "pgm_flash_template_T.xml";
    static const std::vector<change_case> cases = {
        {"add several", {{"pgm_flash_Y.xml", ""}}, add_several, false, true},
        {"add", files({{first, some}}), update},
        {"add in an empty file", {{own, ""}}, update},
        {"add beside others", files({{own, some}}), update},
        {"replace", files({{own, x}}), update},
        {"replace beside others", files({{own, some + x}}), update},
        {"replace out of a file in front", files({{first, x + some}}), update},
        {"replace out of a file behind", files({{last, some + x}}), update},
        {"replace the only one of a file", files({{first, x}}), update},
        {"replace out of a file, beside others", files({{own, some}, {last, more + x}}), update},
        {"add with a template", files({{first, some}}), update_and_template, true},
        {"add with a template, beside others", files({{own, some}, {own_of_t, more}}),
         update_and_template, true},
        {"replace with a template", files({{last, some + x}}), update_and_template, true},
        {"delete", files({{own, x}, {first, some}}), remove("X")},
        {"delete beside others", files({{last, some + x + more}}), remove("X")},
        {"delete a template by name", files({{own_of_t, t}, {first, some}}), remove("T")},
        {"delete a template by name, beside others", files({{last, t + some}}), remove("T")},
        {"delete a template", files({{own_of_t, t}, {first, some}}), delete_template},
        {"delete a template beside others", files({{last, more + t + some}}), delete_template},
    };
    return cases;
}

texts StoreTest::loaded() {
    ZORVA_QSPI_MGR mgr;
    return answers(mgr);
}

bool StoreTest::run(ZORVA_MGR& mgr, const std::string& change) const {
    const std::size_t verb_end = change.find(' ');
    const std::string verb = change.substr(0, verb_end);
    const std::size_t place = change.find(" in installation");
    const std::string& directory = place == std::string::npos ? m_custom_dir : m_xml_dir;
    const std::string name = change.substr(verb_end + 1, place - std::min(place, verb_end + 1));
    if (verb == "store") return mgr.update_db(new_record(mgr, name), directory);
    if (verb == "delete") return mgr.delete_db(name, directory);
    if (verb == "add") return mgr.update_template_db(new_record(mgr, "", "0x77", name), directory);
    if (verb == "drop") return mgr.delete_template(name);
    throw std::logic_error("no change: " + change);
}

std::string StoreTest::without_root(std::string text) const {
    for (std::size_t at = 0; (at = text.find(m_root, at)) != std::string::npos;)
        text.erase(at, m_root.size());
    return text;
}

bool hasty_disk::write(const std::string& path, std::string_view bytes) {
    write_file(path, std::string(bytes));
    return true;
}

std::string troubled_disk::steps() const {
    static const std::regex frame(R"(\.zorva_2_|pgm_flash_|\.xml| $)");
    std::string steps;
    std::string last;
    for (const std::string& call : m_calls) {
        if (call.starts_with("exists") || call.starts_with("read") || call.starts_with("list"))
            continue;
        if (call != last) steps += (last.empty() ? "" : ", ") + std::regex_replace(call, frame, "");
        last = call;
    }
    return steps;
}

bool troubled_disk::chmod(const std::string& path, int mode) {
    std::ostringstream what;
    what << "chmod " << std::oct << mode;
    return pass(what.str(), path, [&] { return hasty_disk::chmod(path, mode); });
}

bool troubled_disk::write(const std::string& path, std::string_view bytes) {
    const bool here = m_calls.size() + 1 == m_call;
    if (here) hasty_disk::write(path, bytes.substr(0, bytes.size() / 2));
    if (here && m_what == trouble::ends_halfway) ::_exit(ended);
    return pass("write", path, [&] { return hasty_disk::write(path, bytes); });
}

namespace {

// What the process gets through `gate` lets it start.
pid_t start(const std::function<int()>& job, int gate) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    char byte = 0;
    if (::read(gate, &byte, 1) < 0) ::_exit(3);
    try {
        ::_exit(job());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    ::_exit(2);
}

int exit_code(pid_t child) {
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

std::vector<int> all_at_once(const std::vector<std::function<int()>>& jobs) {
    int gate[2];  // nothing comes out of it until all jobs wait at it
    if (::pipe(gate) != 0) return {};
    std::vector<pid_t> children;
    for (const auto& job : jobs) children.push_back(start(job, gate[0]));
    const std::string go(jobs.size(), '!');
    const bool opened = ::write(gate[1], go.data(), go.size()) == static_cast<ssize_t>(go.size());
    std::vector<int> codes;
    for (const pid_t child : children) codes.push_back(opened ? exit_code(child) : -1);
    ::close(gate[0]);
    ::close(gate[1]);
    return codes;
}

int in_child(const std::function<bool()>& job) {
    return all_at_once({[&] { return job() ? 0 : 1; }}).at(0);
}
