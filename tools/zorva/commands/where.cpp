// zorva where
#include "tools/zorva/command_line.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <set>

namespace zorva_tool {

namespace {

constexpr column directory_columns[] = {
    {"role", "What"}, {"path", "Path"}, {"exists", "Exists"}, {"chosen_by", "Chosen by"}};
constexpr column file_columns[] = {
    {"path", "File"}, {"origin", "Origin"}, {"state", "State"}, {"why", "Why"}};
constexpr column definition_columns[] = {{"name", "Name"},        {"kind", "Kind"},
                                         {"state", "State"},      {"origin", "Origin"},
                                         {"place", "Defined in"}, {"hidden_by", "Hidden by"}};

void print_findings(output& out, const std::string& file, const json& findings) {
    for (const json& finding : findings)
        out.line(printable(fmt::format("{}:{}: {}", file, finding["line"].get<dword>(),
                                       finding["sentence"].get<std::string>())));
}

json file_rows(const database& db) {
    json rows = json::array();
    for (const met_file& file : db.met_files()) rows.push_back(file_json(file));
    return rows;
}

// Told also where a directory or the shipped data can't be read: so it is found out which are.
int where_all(context& context) {
    output& out = context.out();
    const json directories =
        directories_json(choose_custom_directory(context.options().custom_dir));
    json files = json::array();
    std::optional<failure> fault;
    try {
        files = file_rows(context.loaded());
        fault = context.loaded().fault();
    } catch (const failure& failure) {
        fault = failure;
    }
    const json members = {{"directories", directories}, {"files", files}};
    if (out.is_json()) {
        if (!fault) out.document("ok", members);
    } else if (out.is_names()) {
        out.names("path", files);
    } else {
        out.table(directory_columns, directories);
        out.line("");
        out.table(file_columns, files);
    }
    if (!fault) return exit_done;
    out.failed(*fault, members);
    return fault->code;
}

// Every definition of that name, of a device or a template, in the order of the load.
json definitions_of(const database& db, const std::string& name) {
    json rows = json::array();
    for (const ZORVA_FILE_REPORT* file : db.files())
        for (const ZORVA_DEFINITION& is : file->definitions) {
            if (is.name != name) continue;
            rows.push_back(definition_json({file, &is}));
        }
    return rows;
}

std::vector<std::string> defined_names(const database& db) {
    std::set<std::string> names;
    for (const ZORVA_FILE_REPORT* file : db.files())
        for (const ZORVA_DEFINITION& is : file->definitions) names.insert(is.name);
    return {names.begin(), names.end()};
}

int where_name(context& context, const std::string& name) {
    const database& db = context.loaded();
    output& out = context.out();
    const json rows = definitions_of(db, name);
    if (rows.empty())
        throw db.fault().value_or(db.not_found("definition of", name, defined_names(db)));
    if (out.is_json()) {
        if (!db.fault()) out.document("ok", {{"definitions", rows}});
    } else if (out.is_names()) {
        out.names("file", rows);
    } else {
        out.table(definition_columns, rows);
        for (const json& row : rows) print_findings(out, row["file"], row["findings"]);
    }
    if (!db.fault()) return exit_done;
    out.failed(*db.fault(), {{"definitions", rows}});
    return db.fault()->code;
}

}  // namespace

void add_where(command_line& line) {
    const auto name = std::make_shared<std::string>();
    CLI::App* command = line.add(
        line.app(), "where",
        "Tell which directories and files are in force and why; for a name, which definition is",
        "  zorva where\n"
        "  zorva where MT25QU128\n"
        "  zorva where --format json",
        [name](context& context) {
            return name->empty() ? where_all(context) : where_name(context, *name);
        });
    command->add_option("NAME", *name, "Name of a device or template")->type_name("");
}

}  // namespace zorva_tool
