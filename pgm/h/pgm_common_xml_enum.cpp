#include "pgm/h/pgm_common_xml_enum.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr auto names_by_value = [] {
    std::array<const char*, PGM_COMMON_XML_ENUM__MAX__ + 1> names{};
    names.fill("_INVALID__");
#define PGM_COMMON_XML_NAME(name, value) names[value] = #name;
    PGM_COMMON_XML_NAMES(PGM_COMMON_XML_NAME)
#undef PGM_COMMON_XML_NAME
    return names;
}();

constexpr auto values_by_name = [] {
    std::array values{
#define PGM_COMMON_XML_VALUE(name, value)                                                          \
    std::pair<std::string_view, PGM_COMMON_XML_ENUM>{#name, PGM_COMMON_XML_ENUM_##name},
        PGM_COMMON_XML_NAMES(PGM_COMMON_XML_VALUE)
#undef PGM_COMMON_XML_VALUE
    };
    std::sort(values.begin(), values.end());
    return values;
}();

}  // namespace

const char* pgm_common_xml_name(PGM_COMMON_XML_ENUM value) {
    return names_by_value[value < names_by_value.size() ? value : PGM_COMMON_XML_ENUM__INVALID__];
}

PGM_COMMON_XML_ENUM pgm_common_xml_value(std::string_view name) {
    const auto found =
        std::lower_bound(values_by_name.begin(), values_by_name.end(), name,
                         [](const auto& entry, std::string_view key) { return entry.first < key; });
    return found != values_by_name.end() && found->first == name ? found->second
                                                                 : PGM_COMMON_XML_ENUM__INVALID__;
}
