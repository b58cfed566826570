// JSON objects, each on one line.
#pragma once

#include "tools/slabtool/images/png_loss.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// Keeps the order in which members are added.
using Json = nlohmann::ordered_json;

/// Adds a text, such as a path. JSON is UTF-8: invalid bytes become U+FFFD, and a second member, `name` plus "_hex",
/// has all bytes of the text as hexadecimal digits.
void addText(Json& object, const std::string& name, const std::string& text);

Json toJson(const Finding& finding);
Json toJson(const std::vector<Finding>& findings);

/// The object without line breaks.
std::string jsonLine(const Json& object);
