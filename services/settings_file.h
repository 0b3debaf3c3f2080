// The settings file as lines, so that a change keeps every other line as it stands. For the
// settings service's own source.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class SETTINGS_FILE {
  public:
    enum class KIND { PASSED_OVER, HEADING, ENTRY, BAD };  // the first: comments, blank lines
    struct LINE {
        std::string text;  // as it stands, with its end
        KIND kind;
        std::string section;  // that it stands in, or opens
        std::string key;      // of an entry
        std::string value;

        bool is_entry(std::string_view in_section, std::string_view with_key) const {
            return kind == KIND::ENTRY && section == in_section && key == with_key;
        }
    };

    SETTINGS_FILE() = default;
    explicit SETTINGS_FILE(std::string_view bytes);

    const std::vector<LINE>& lines() const { return m_lines; }
    // The value of an entry, the last one's if it stands there twice; nothing if there is none.
    std::optional<std::string> value(std::string_view section, std::string_view key) const;
    void set(const std::string& section, const std::string& key, const std::string& value);
    void erase(std::string_view section, std::string_view key);
    std::string bytes() const;

  private:
    static LINE read_line(std::string_view text, const std::string& section);
    std::string line_end() const;

    std::vector<LINE> m_lines;
};
