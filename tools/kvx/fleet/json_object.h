/// @file json_object.h  A line of JSON in its making. Unlike an object of the JSON library it needs no memory to go.
#ifndef KVX_JSON_OBJECT_H
#define KVX_JSON_OBJECT_H

#include <algorithm>
#include <concepts>
#include <string>
#include <string_view>
#include <vector>

#include "common/json_text.h"
#include "common/text_format.h"

namespace kvx {

class json_object_t {
public:
    void add(std::string_view name, std::string_view value) { add_text(name, json_text(std::string(value))); }
    void add(std::string_view name, std::integral auto value) { add_text(name, std::to_string(value)); }
    void add(std::string_view name, double value) { add_text(name, ::kvx::text("%.10g", value)); }
    void add(std::string_view name, const json_object_t& value) { add_text(name, value.text()); }
    void add(std::string_view name, const std::vector<json_object_t>& values)
    {
        std::vector<std::string> texts(values.size());
        std::transform(values.begin(), values.end(), texts.begin(), [](const auto& value) { return value.text(); });
        add_text(name, "[" + joined(texts, ",") + "]");
    }

    void add(std::string_view name, std::vector<std::string> values)
    {
        for (std::string& value : values) value = json_text(value);
        add_text(name, "[" + joined(values, ",") + "]");
    }

    std::string text() const { return "{" + members_ + "}"; }

private:
    void add_text(std::string_view name, const std::string& value)
    {
        members_ += (members_.empty() ? "\"" : ",\"") + std::string(name) + "\":" + value;
    }

    std::string members_;
};

}   // namespace kvx

#endif
