#include "services/host.h"

#include "services/host_state.h"

#include <utility>

namespace pgm_host {

host_state& state() {
    static host_state the_state;
    return the_state;
}

file_system& disk() {
    static file_system the_disk;
    return state().disk != nullptr ? *state().disk : the_disk;
}

void trace(const std::string& text) {
    if (state().traces) state().traces("ZORVA", 2, text);
}

void set_message_sink(message_sink sink) { state().messages = std::move(sink); }

void set_trace_sink(trace_sink sink) { state().traces = std::move(sink); }

void set_internal_error_handler(internal_error_handler handler) {
    state().internal_errors = std::move(handler);
}

void suppress_message(unsigned id, bool suppressed) {
    if (suppressed) {
        state().suppressed.insert(id);
    } else {
        state().suppressed.erase(id);
    }
}

void set_common_programmer(const std::string& directory) { state().common_programmer = directory; }

void set_setting(const std::string& key, bool on) { state().settings[key] = on; }

void set_user_ini_file(const std::string& file) {
    state().user_ini_file = file;
    state().user_values.clear();
}

void set_device_table(std::vector<PGMDEV_DEVICE_INFO> table) { state().devices = std::move(table); }

void set_flash_table(std::vector<PGMDEV_SFL_FLASH_INFO> table) {
    state().flashes = flash_records(std::move(table));
}

const std::vector<PGMDEV_DEVICE_INFO>& device_table() { return state().devices; }

void set_file_system(file_system* replacement) {
    drop_kept_document();
    state().disk = replacement;
}

void reset() {
    drop_kept_document();
    state() = host_state();
}

}  // namespace pgm_host
