// Objects of JSON, each on a line of its own.
#pragma once

#include "tools/slabtool/images/png_loss.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// Members stay in the order in which they are added.
using Json = nlohmann::ordered_json;

/// Adds a text, such as a path. JSON holds UTF-8 only: where a text is something else, `name` gets U+FFFD in its place,
/// and a further member, `name` followed by "_hex", gets the bytes, two digits each.
void addText(Json& object, const std::string& name, const std::string& text);

Json toJson(const Finding& finding);
Json toJson(const std::vector<Finding>& findings);

/// The object without line breaks.
std::string jsonLine(const Json& object);
