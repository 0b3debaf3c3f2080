#include "tests/store_support.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <regex>

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

const std::vector<change_case>& change_cases() {
    const auto update = [](ZORVA_MGR& mgr, const std::string& directory) {
        return mgr.update_db(new_record(mgr, "X"), directory);
    };
    const auto update_with_template = [](ZORVA_MGR& mgr, const std::string& directory) {
        return mgr.update_db(new_record(mgr, "X", "0x77", "T"), directory);
    };
    const auto delete_device = [](ZORVA_MGR& mgr, const std::string& directory) {
        return mgr.delete_db("X", directory);
    };
    const auto delete_t = [](ZORVA_MGR& mgr, const std::string& directory) {
        return mgr.delete_db("T", directory);
    };
    const auto delete_template = [](ZORVA_MGR& mgr, const std::string&) {
        return mgr.delete_template("T");
    };
    const std::string x = device({.name = "X"});
    const std::string t = user_template("T");
    const std::string some = device({.name = "A"}) + user_template("S");
    const std::string more = device({.name = "B"}) + user_template("R");
    const char* const own = "pgm_flash_X.xml";
    const char* const in_front = "pgm_flash_1.xml";
    const char* const behind = "pgm_flash_z.xml";
    const char* const own_of_t = "pgm_flash_template_T.xml";
    const auto files = [](texts all) {
        for (auto& [name, bytes] : all) bytes = document(bytes);
        return all;
    };
    const auto add_several = [](ZORVA_MGR& mgr, const std::string& directory) {
        using enum ZORVA_DEFINITION_KIND;
        constexpr auto is_new = ZORVA_BASIS::NEW;
        return mgr.store_definitions({{DEVICE, new_record(mgr, "X"), is_new},
                                      {TEMPLATE, new_record(mgr, "", "0x77", "T"), is_new},
                                      {DEVICE, new_record(mgr, "Y"), is_new}},
                                     directory);
    };
    static const std::vector<change_case> cases = {
        {"add several", {{"pgm_flash_Y.xml", ""}}, add_several, false, true},
        {"add", files({{in_front, some}}), update},
        {"add beside others", files({{own, some}}), update},
        {"replace", files({{own, x}}), update},
        {"replace beside others", files({{own, some + x}}), update},
        {"replace out of a file in front", files({{in_front, x + some}}), update},
        {"replace out of a file behind", files({{behind, some + x}}), update},
        {"replace the only one of a file", files({{in_front, x}}), update},
        {"replace out of a file, beside others", files({{own, some}, {behind, more + x}}), update},
        {"add with a template", files({{in_front, some}}), update_with_template, true},
        {"add with a template, beside others", files({{own, some}, {own_of_t, more}}),
         update_with_template, true},
        {"replace with a template", files({{behind, some + x}}), update_with_template, true},
        {"delete", files({{own, x}, {in_front, some}}), delete_device},
        {"delete beside others", files({{behind, some + x + more}}), delete_device},
        {"delete a template by name", files({{own_of_t, t}, {in_front, some}}), delete_t},
        {"delete a template by name, beside others", files({{behind, t + some}}), delete_t},
        {"delete a template", files({{own_of_t, t}, {in_front, some}}), delete_template},
        {"delete a template beside others", files({{behind, more + t + some}}), delete_template},
    };
    return cases;
}

texts StoreTest::loaded() {
    ZORVA_QSPI_MGR mgr;
    return answers(mgr);
}

bool hasty_disk::write(const std::string& path, std::string_view bytes) {
    write_file(path, std::string(bytes));
    return true;
}

namespace {

pid_t start(const std::function<int()>& job, int gate) {
    const pid_t child = ::fork();
    if (child != 0) return child;
    char byte = 0;
    if (gate >= 0 && ::read(gate, &byte, 1) < 0) ::_exit(3);
    try {
        ::_exit(job());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    ::_exit(2);
}

std::function<int()> coded(const std::function<bool()>& job) {
    return [job] { return job() ? 0 : 1; };
}

int exit_code(pid_t child) {
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

int in_child(const std::function<bool()>& job) { return exit_code(start(coded(job), -1)); }

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

bool at_once(const std::function<bool()>& a, const std::function<bool()>& b) {
    return all_at_once({coded(a), coded(b)}) == std::vector<int>{0, 0};
}
