// Entries are taken out of the JSON as they are read, so that a hundred thousand of them never stand in memory
// as a tree of values.
#include "tools/slabtool/runs/manifest.h"

#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/utf8.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <utility>

namespace {

using Json = nlohmann::ordered_json;

constexpr int kFormat = 1;
constexpr const char* kBroken =
    "is no manifest that slabtool can read: remove it to convert every image again";

// ---- Writing

std::string hexOf(const std::string& text) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string hex;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        hex += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return hex;
}

// Adds a member, and its bytes beside it if JSON cannot hold them.
void putText(Json& object, const std::string& key, const std::string& text) {
    object[key] = text;
    if (!isUtf8(text)) {
        object[key + "_hex"] = hexOf(text);
    }
}

Json toJson(const ManifestEntry& entry) {
    Json object;
    putText(object, "name", entry.name);
    putText(object, "file", entry.file);
    object["mode"] = entry.mode;
    object["width"] = entry.width;
    object["height"] = entry.height;
    object["stride"] = entry.stride;
    object["rotation"] = entry.rotation;
    object["bytes"] = entry.bytes;
    object["palette"] = nullptr;
    if (entry.palette) {
        putText(object, "palette", *entry.palette);
    }
    Json& source = object["source"];
    putText(source, "path", entry.source.path);
    source["size"] = entry.source.size;
    source["time"] = entry.source.time;
    source["hash"] = entry.source.hash;
    object["verdict"] = entry.verdict;
    object["options"] = entry.options;
    object["tool"] = entry.tool;
    return object;
}

// ---- Reading. What does not fit throws; the caller says which file it is.

unsigned digitOf(char c) {
    const std::string digits = "0123456789abcdef";
    const size_t digit = digits.find(c);
    if (digit == std::string::npos) {
        throw Refusal(kBroken);
    }
    return static_cast<unsigned>(digit);
}

std::string bytesOf(const std::string& hex) {
    if (hex.size() % 2 != 0) {
        throw Refusal(kBroken);
    }
    std::string text;
    for (size_t i = 0; i < hex.size(); i += 2) {
        text += static_cast<char>(digitOf(hex[i]) << 4 | digitOf(hex[i + 1]));
    }
    return text;
}

std::string textAt(const Json& object, const std::string& key) {
    const auto bytes = object.find(key + "_hex");
    return bytes != object.end() ? bytesOf(bytes->get<std::string>())
                                 : object.at(key).get<std::string>();
}

// A number that fits into its type: neither negative nor too large.
template <typename Number>
Number numberAt(const Json& object, const std::string& key) {
    const Json& value = object.at(key);
    const bool fits =
        std::is_signed_v<Number>
            ? value.is_number_integer() &&
                  (!value.is_number_unsigned() || std::in_range<Number>(value.get<uint64_t>()))
            : value.is_number_unsigned() && std::in_range<Number>(value.get<uint64_t>());
    if (!fits) {
        throw Refusal(kBroken);
    }
    return value.get<Number>();
}

// A file in the folder or below it.
std::string placeAt(const Json& object, const std::string& key) {
    const std::string place = textAt(object, key);
    const bool climbs = ("/" + place + "/").find("/../") != std::string::npos;
    if (place.empty() || place.front() == '/' || place.back() == '/' || climbs ||
        place.find('\0') != std::string::npos) {
        throw Refusal("names a file outside of its folder");
    }
    return place;
}

ManifestEntry fromJson(const Json& object) {
    const Json& source = object.at("source");
    ManifestEntry entry;
    entry.name = textAt(object, "name");
    entry.file = placeAt(object, "file");
    entry.mode = object.at("mode").get<std::string>();
    entry.width = numberAt<uint32_t>(object, "width");
    entry.height = numberAt<uint32_t>(object, "height");
    entry.stride = numberAt<uint32_t>(object, "stride");
    entry.rotation = numberAt<uint32_t>(object, "rotation");
    entry.bytes = numberAt<uint64_t>(object, "bytes");
    if (!object.at("palette").is_null()) {
        entry.palette = placeAt(object, "palette");
    }
    entry.source = {textAt(source, "path"), numberAt<uint64_t>(source, "size"),
                    numberAt<int64_t>(source, "time"), source.at("hash").get<std::string>()};
    entry.verdict = object.at("verdict").get<std::string>();
    entry.options = object.at("options").get<std::string>();
    entry.tool = object.at("tool").get<std::string>();
    return entry;
}

using Entries = std::map<std::string, ManifestEntry>;

Entries parse(const Bytes& text) {
    constexpr int kEntryDepth = 2; // an object in an array in an object
    Entries entries;
    const auto takeEntry = [&](int depth, Json::parse_event_t event, Json& value) {
        if (event != Json::parse_event_t::object_end || depth != kEntryDepth) {
            return true;
        }
        ManifestEntry entry = fromJson(value);
        std::string file = entry.file;
        // The last one, if the file is sorted as it should be.
        entries.insert_or_assign(entries.end(), std::move(file), std::move(entry));
        return false; // nobody needs the value any more
    };
    const Json json = Json::parse(text.begin(), text.end(), takeEntry);
    if (!json.at("surfaces").is_array() || numberAt<uint32_t>(json, "format") != kFormat) {
        throw Refusal(kBroken);
    }
    return entries;
}

} // namespace

Manifest Manifest::load(const std::string& path) {
    std::error_code unknown;
    if (!std::filesystem::exists(std::filesystem::symlink_status(path, unknown))) {
        return {};
    }
    return about(path, [&] {
        try {
            Manifest manifest;
            manifest.mEntries = parse(readFile(path));
            return manifest;
        } catch (const Json::exception&) {
            throw Refusal(kBroken);
        }
    });
}

const ManifestEntry* Manifest::find(const std::string& file) const {
    const auto found = mEntries.find(file);
    return found == mEntries.end() ? nullptr : &found->second;
}

void Manifest::put(ManifestEntry entry) {
    ManifestEntry& known = mEntries[entry.file];
    if (known != entry) {
        known = std::move(entry);
        mIsChanged = true;
    }
}

void Manifest::remove(const std::string& file) {
    mIsChanged |= mEntries.erase(file) != 0;
}

std::string Manifest::text() const {
    std::string text = "{\n\"format\": " + std::to_string(kFormat) + ",\n\"surfaces\": [";
    const char* separator = "\n";
    for (const auto& [file, entry] : mEntries) {
        text += separator + toJson(entry).dump(-1, ' ', false, Json::error_handler_t::replace);
        separator = ",\n";
    }
    return text + "\n]\n}\n";
}

Manifest mergeManifests(const std::vector<std::string>& paths) {
    Manifest merged;
    std::map<std::string, std::string> origins; // manifests by surface files
    for (const std::string& path : paths) {
        const Manifest manifest = Manifest::load(path);
        for (const auto& [file, entry] : manifest.entries()) {
            const auto [origin, isNew] = origins.emplace(file, path);
            if (!isNew && entry != *merged.find(file)) {
                throw Refusal(printable(origin->second) + " and " + printable(path) +
                              " differ about " + printable(file));
            }
            merged.put(entry);
        }
    }
    return merged;
}
