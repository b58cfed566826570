// The JSON library escapes texts, and replaces bytes that are not UTF-8.
#include "tools/slabtool/runs/json_line.h"

#include "tools/slabtool/utf8.h"

#include <nlohmann/json.hpp>

namespace {

std::string hexOf(const std::string& text) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string hex;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        hex += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return hex;
}

} // namespace

void JsonObject::addText(const std::string& name, const std::string& text) {
    addJson(name, jsonOf(text));
    if (!isUtf8(text)) {
        addJson(name + "_hex", jsonOf(hexOf(text)));
    }
}

void JsonObject::addJson(const std::string& name, const std::string& json) {
    mText += mText.size() == 1 ? "" : ",";
    mText += jsonOf(name) + ":" + json;
}

std::string jsonOf(const std::string& text) {
    using Json = nlohmann::json;
    return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string jsonOf(std::nullptr_t) {
    return "null";
}

std::string jsonOf(const Finding& finding) {
    JsonObject object;
    object.add("code", finding.code);
    object.add("words", finding.text);
    return object.text();
}
