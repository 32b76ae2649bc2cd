/// @file name_pattern.h  Names with fields in them: "{yyyy}/{doy}/{site}".
#ifndef KVX_NAME_PATTERN_H
#define KVX_NAME_PATTERN_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace kvx {

/// Replaces the fields of a pattern: {name} by its value, {name:N} by the first N characters of it.
/// @param value_of  a field by its name; nothing: the field is left as it stands
std::string expand_fields(std::string_view pattern,
                          const std::function<std::optional<std::string>(std::string_view name)>& value_of);

/// What is wrong with a pattern whose fields are to be among these; empty: nothing.
std::string fault_in_fields(std::string_view pattern, std::initializer_list<std::string_view> names);

}   // namespace kvx

#endif
