// zorva identify
#include "tools/zorva/command_line.h"
#include "tools/zorva/database/flow.h"
#include "tools/zorva/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>

namespace zorva_tool {

namespace {

struct identify_options {
    std::vector<std::string> bytes;
    std::string mask;
};

// Bytes as a device answers them, the first the least significant.
struct id_bytes {
    dword value = 0;
    dword defined = 0;  // 0xFF for each byte that there is
};

id_bytes parse_bytes(const std::string& text) {
    constexpr std::size_t most_bytes = 4;
    const std::vector<unsigned char> bytes = data_bytes(text);
    if (bytes.empty() || bytes.size() > most_bytes)
        throw failure(
            exit_command_line,
            fmt::format("'{}' isn't one to four bytes; write them as 0x20 0xBA 0x19.", text));
    id_bytes id;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        id.value |= static_cast<dword>(bytes[i]) << (8 * i);
        id.defined |= dword{0xFF} << (8 * i);
    }
    return id;
}

id_bytes id_of(const device& device) {
    id_bytes id;
    id.value = device.flash->get_parameter_value_in_dword(ZORVA_FLASH_PARAM_ID, &id.defined);
    return id;
}

// The devices whose IDs agree in the bits of the mask. Where a device defines fewer bytes than are
// asked for, those that it defines decide.
std::vector<device> candidates(const database& db, dword value, dword mask) {
    std::vector<device> fitting = db.devices();
    std::erase_if(fitting, [&](const device& device) {
        const id_bytes id = id_of(device);
        const dword compared = id.defined & mask;
        return compared == 0 || ((id.value ^ value) & compared) != 0;
    });
    return fitting;
}

// A fact, and its value for each candidate.
struct difference {
    std::string fact;
    std::vector<std::string> values;
};

bool all_equal(const auto& values) {
    return std::ranges::adjacent_find(values, std::ranges::not_equal_to()) == values.end();
}

// What the actions do; a repeated one is told from the ones before, so that it can be a difference.
std::vector<std::string> operation_facts(ZORVA_OPERATION& operation) {
    std::vector<std::string> facts;
    std::unordered_map<std::string, std::size_t> counts;
    for (ZORVA_ACTION* action : *operation.get_action_list()) {
        std::string fact = action_facts(*action);
        const std::size_t count = ++counts[fact];
        if (count > 1) fact += " again";
        if (count > 2) fact += fmt::format(" ({})", count);
        facts.push_back(std::move(fact));
    }
    return facts;
}

// Of each list what isn't in all of them. Where that is nothing, the order of the items is the
// difference, and only the whole lists tell it. No list holds an item twice.
std::vector<std::string> told_apart(const std::vector<std::vector<std::string>>& lists) {
    std::unordered_map<std::string_view, std::size_t> counts;
    for (const auto& list : lists)
        for (const std::string& item : list) ++counts[item];
    std::vector<std::string> texts;
    for (const auto& list : lists) {
        std::vector<std::string> own;
        std::ranges::copy_if(list, std::back_inserter(own),
                             [&](const std::string& item) { return counts[item] != lists.size(); });
        texts.push_back(joined(own, "; "));
    }
    if (!all_equal(texts)) return texts;
    std::ranges::transform(lists, texts.begin(),
                           [](const auto& list) { return joined(list, "; "); });
    return texts;
}

// What the operation at that place of the flows is, for each candidate.
std::vector<std::string> operation_values(const std::vector<device>& devices,
                                          ZORVA_PROG_FLOW_TYPE flow, std::size_t place) {
    std::vector<std::vector<std::string>> facts;
    for (const device& device : devices) {
        const auto& operations = *device.flash->get_operation_list(flow);
        facts.push_back(place < operations.size() ? operation_facts(*operations[place])
                                                  : std::vector<std::string>());
    }
    return told_apart(facts);
}

// The two flows of a device mostly say the same, and then one row is enough.
void add_operation(std::vector<difference>& found, const std::vector<device>& devices,
                   ZORVA_OPERATION& operation) {
    const auto place = static_cast<std::size_t>(operation.get_operation_type());
    std::vector<std::vector<std::string>> values;
    std::vector<std::string> labels;
    for (const flow_row& flow : flow_table()) {
        labels.emplace_back(flow.label);
        values.push_back(operation_values(devices, flow.type, place));
    }
    if (all_equal(values)) {
        values.resize(1);
        labels = {joined(labels, " and ")};
    }
    for (std::size_t i = 0; i < values.size(); ++i)
        found.push_back({fmt::format("{} {}", labels[i], operation.get_name()), values[i]});
}

// One ID can be spelled in several ways.
std::string compared_text(const field& field, const device& device) {
    std::string text = field.text_of(device);
    if (field.editor != &id_editor) return text;
    return fmt::format("0x{:02X}", fmt::join(data_bytes(text), " 0x"));
}

// The facts in which candidates differ.
std::vector<difference> differences(const std::vector<device>& devices) {
    std::vector<difference> found;
    for (const field& field : device_fields()) {
        if ((field.uses & compared) == 0) continue;
        difference& added = found.emplace_back(difference{field.label, {}});
        for (const device& device : devices) added.values.push_back(compared_text(field, device));
    }
    for (ZORVA_OPERATION* operation :
         *devices[0].flash->get_operation_list(ZORVA_PROG_FLOW_TYPE_SFL))
        add_operation(found, devices, *operation);
    std::erase_if(found, [](const difference& fact) { return all_equal(fact.values); });
    return found;
}

// One row a fact and value, with the candidates of which it is true.
json difference_rows(const std::vector<device>& devices) {
    json rows = json::array();
    if (devices.size() < 2) return rows;
    for (const difference& difference : differences(devices)) {
        std::map<std::string, std::size_t> places;  // of a value, in `rows`
        for (std::size_t i = 0; i < devices.size(); ++i) {
            const std::string& value = difference.values[i];
            const auto [place, is_new] = places.try_emplace(value, rows.size());
            if (is_new)
                rows.push_back(
                    {{"fact", difference.fact}, {"names", json::array()}, {"value", value}});
            rows[place->second]["names"].push_back(devices[i].name);
        }
    }
    return rows;
}

constexpr column difference_columns[] = {
    {"fact", "They differ in"}, {"names", "Device"}, {"value", "Value"}};

// In a table nobody reads more than some of the names; all of them stand above it.
json with_some_names(json rows) {
    constexpr std::size_t most_names = 10;
    for (json& row : rows) {
        json& names = row["names"];
        const std::size_t count = names.size();
        if (count <= most_names) continue;
        names.erase(names.begin() + most_names, names.end());
        names = fmt::format("{} and {} more", cell_text(names), count - most_names);
    }
    return rows;
}

// Tells of the candidates whose IDs are shorter than what was asked for.
void note_short_ids(output& out, const std::vector<device>& devices, dword mask) {
    for (const device& device : devices) {
        const std::string id = device.flash->get_parameter_value(ZORVA_FLASH_PARAM_ID);
        if ((mask & ~id_of(device).defined) != 0)
            out.note(fmt::format("{} is compared in its own bytes, {}, only.", device.name, id));
    }
}

const char* status_of(const std::vector<device>& devices) {
    return devices.empty() ? "not-found" : devices.size() == 1 ? "ok" : "ambiguous";
}

void print(output& out, const std::vector<device>& devices) {
    json rows = json::array();
    for (const device& device : devices) rows.push_back(device_json(device));
    const json different = difference_rows(devices);
    if (out.is_json())
        return out.document(status_of(devices), {{"devices", rows}, {"differences", different}});
    out.list(status_of(devices), "devices", device_columns(), rows);
    if (out.is_names() || different.empty()) return;
    out.line("");
    out.table(difference_columns, with_some_names(different));
}

int identify(context& context, const identify_options& options) {
    const id_bytes asked = parse_bytes(joined(options.bytes, " "));
    const dword mask = options.mask.empty() ? asked.defined : parse_bytes(options.mask).value;
    if (mask == 0 || (mask & ~asked.defined) != 0)
        throw failure(exit_command_line, "The mask has to mark bits of the bytes, and of no more.");
    context.db().require_flows();
    const std::vector<device> devices = candidates(context.db(), asked.value, mask);
    output& out = context.out();
    print(out, devices);
    note_short_ids(out, devices, mask);
    if (devices.empty()) out.note("No device answers these bytes.");
    if (devices.size() > 1)
        out.note(fmt::format("{} devices answer these bytes; they alone don't tell which it is.",
                             devices.size()));
    return devices.size() == 1 ? exit_done : exit_no;
}

}  // namespace

void add_identify(command_line& line) {
    const auto options = std::make_shared<identify_options>();
    CLI::App* command = line.add(
        line.app(), "identify",
        "Tell which devices answer an ID, and in what they differ. One candidate is exit code 0",
        "  zorva identify 0x20 0xBA 0x19\n"
        "  zorva identify '0x20 0xBA' --mask '0xFF 0xF0'\n\n"
        "A row of what they differ in names ten devices at most; --format json names all.",
        [options](context& context) { return identify(context, *options); });
    command
        ->add_option("BYTES", options->bytes,
                     "One to four bytes, first the one that the device answers first: 0x20 0xBA "
                     "0x19, or decimal")
        ->required()
        ->type_name("");
    command->add_option("--mask", options->mask, "The bits that count; else all bits of BYTES")
        ->type_name("BYTES");
}

}  // namespace zorva_tool
