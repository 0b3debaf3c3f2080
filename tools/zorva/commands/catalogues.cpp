// zorva families, zorva templates, zorva messages
#include "pgm/zorva/zorva_mgr.h"
#include "services/host.h"
#include "tools/zorva/command_line.h"
#include "tools/zorva/database/interface.h"
#include "tools/zorva/database/report.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

namespace zorva_tool {

namespace {

constexpr column family_columns[] = {{"family", "Family"},
                                     {"name", "Name"},
                                     {"interfaces", "Flash interfaces"},
                                     {"sdm", "SDM"},
                                     {"voltage", "I/O voltage"}};
constexpr column template_columns[] = {
    {"name", "Name"}, {"kind", "Kind"}, {"file", "File"}, {"line", "Line"}};
constexpr column message_columns[] = {
    {"id", "ID"}, {"grade", "Grade"}, {"name", "Name"}, {"text", "Text"}};

int families(context& context) {
    json rows = json::array();
    for (const PGMDEV_DEVICE_INFO& info : pgm_host::device_table()) {
        json interfaces = json::array();
        for (const interface_row* row : selected_interfaces(context.options().interface))
            if (info.*row->serves) interfaces.push_back(row->label);
        if (interfaces.empty()) continue;
        rows.push_back({{"family", static_cast<dword>(info.family)},
                        {"name", info.name},
                        {"interfaces", interfaces},
                        {"sdm", info.use_sdm},
                        {"voltage", info.io_voltage}});
    }
    context.out().list("ok", "families", family_columns, rows);
    return exit_done;
}

json template_row(const ZORVA_MGR& manager, const std::string& name) {
    if (const auto user = user_template_in_force(manager, name))
        return {
            {"name", name}, {"kind", "user"}, {"file", user->file->path}, {"line", user->is->line}};
    return {{"name", name}, {"kind", "golden"}, {"file", nullptr}, {"line", nullptr}};
}

int messages(context& context, const std::string& id) {
    json rows = json::array();
    std::vector<std::string> ids;
    for (const ZORVA_MESSAGE_INFO& info : ZORVA_MGR::get_message_list()) {
        ids.push_back(std::to_string(info.id));
        if (id.empty() || id == ids.back())
            rows.push_back({{"id", info.id},
                            {"grade", info.error ? "error" : "warning"},
                            {"name", info.name},
                            {"text", info.text}});
    }
    if (rows.empty())
        throw failure(exit_no, fmt::format("There is no message {}.", id), nearest(id, ids));
    context.out().list("ok", "messages", message_columns, rows);
    return exit_done;
}

}  // namespace

int list_templates(context& context) {
    context.db().require_flows();
    json rows = json::array();
    for (ZORVA_MGR* manager : context.db().managers())
        for (const std::string& name : manager->get_prog_flow_template_list())
            rows.push_back(template_row(*manager, name));
    context.out().list("ok", "templates", template_columns, rows);
    return exit_done;
}

void add_catalogues(command_line& line) {
    line.add(line.app(), "families", "List the device families and what each needs",
             "  zorva families\n"
             "  zorva families --interface qspi",
             families);
    line.add(line.app(), "templates", "List the programming flow templates",
             "  zorva templates\n"
             "  zorva list --template Micron             the devices made from one",
             list_templates);
    const auto id = std::make_shared<std::string>();
    CLI::App* command = line.add(line.app(), "messages", "List the messages, or tell one",
                                 "  zorva messages\n"
                                 "  zorva messages 20478",
                                 [id](context& context) { return messages(context, *id); });
    command->add_option("ID", *id, "Number of a message")->type_name("");
}

}  // namespace zorva_tool
