// JSON objects, each on one line. They are written as text: the destructor of a tree of the JSON library allocates,
// which ends the process if there is no memory.
#pragma once

#include "tools/slabtool/images/png_loss.h"

#include <concepts>
#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

std::string jsonOf(const std::string& text);
std::string jsonOf(std::nullptr_t);
std::string jsonOf(const Finding& finding);

template <std::integral Value>
std::string jsonOf(Value value) {
    if constexpr (std::is_same_v<Value, bool>) {
        return value ? "true" : "false";
    } else {
        return std::to_string(value);
    }
}

template <typename Element>
std::string jsonOf(const std::vector<Element>& elements) {
    std::string list = "[";
    for (const Element& element : elements) {
        list += list.size() == 1 ? "" : ",";
        list += jsonOf(element);
    }
    return list + "]";
}

/// Keeps the order in which members are added.
class JsonObject {
public:
    template <typename Value>
    void add(const std::string& name, const Value& value) {
        addJson(name, jsonOf(value));
    }
    void add(const std::string& name, const JsonObject& object) { addJson(name, object.text()); }

    /// Adds a text, such as a path. JSON is UTF-8: invalid bytes become U+FFFD, and a second member, `name` plus
    /// "_hex", has all bytes of the text as hexadecimal digits.
    void addText(const std::string& name, const std::string& text);

    /// The object without line breaks.
    std::string text() const { return mText + "}"; }

private:
    void addJson(const std::string& name, const std::string& json);

    std::string mText = "{";
};
