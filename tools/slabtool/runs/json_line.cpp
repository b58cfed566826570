// The JSON library replaces bytes that are not UTF-8.
#include "tools/slabtool/runs/json_line.h"

#include "tools/slabtool/utf8.h"

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

void addText(Json& object, const std::string& name, const std::string& text) {
    object[name] = text;
    if (!isUtf8(text)) {
        object[name + "_hex"] = hexOf(text);
    }
}

Json toJson(const Finding& finding) {
    return {{"code", finding.code}, {"words", finding.text}};
}

Json toJson(const std::vector<Finding>& findings) {
    Json list = Json::array();
    for (const Finding& finding : findings) {
        list.push_back(toJson(finding));
    }
    return list;
}

std::string jsonLine(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}
