// Entries are taken from the parser as it reads them, so that a hundred thousand of them never stand in memory
// as a tree of values.
#include "tools/slabtool/runs/manifest.h"

#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/json_line.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace {

constexpr int kFormat = 1;
constexpr const char* kBroken =
    "is no manifest that slabtool can read: remove it to convert every image again";

// ---- Writing

Json toJson(const ManifestEntry& entry) {
    Json object;
    addText(object, "name", entry.name);
    addText(object, "file", entry.file);
    object["mode"] = entry.mode;
    object["width"] = entry.width;
    object["height"] = entry.height;
    object["stride"] = entry.stride;
    object["rotation"] = entry.rotation;
    object["bytes"] = entry.bytes;
    object["palette"] = nullptr;
    if (entry.palette) {
        addText(object, "palette", *entry.palette);
    }
    Json& source = object["source"];
    addText(source, "path", entry.source.path);
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

// A file in the folder or below it, of the kind that `suffix` says: others must survive --prune.
void checkPlace(const std::string& place, const char* suffix) {
    const bool climbs = ("/" + place + "/").find("/../") != std::string::npos;
    if (place.empty() || place.front() == '/' || place.back() == '/' || climbs ||
        place.find('\0') != std::string::npos) {
        throw Refusal("names a file outside of its folder");
    }
    if (!place.ends_with(suffix)) {
        throw Refusal(kBroken);
    }
}

using Entries = std::map<std::string, ManifestEntry>;

// Takes entries from the parser member by member: trees of values cost three times as much.
class EntryReader : public nlohmann::json_sax<Json> {
public:
    Entries take() {
        if (mFormat != kFormat || !mHasList) {
            throw Refusal(kBroken);
        }
        return std::move(mEntries);
    }

    bool null() override {
        // Only a palette may be missing.
        return isIgnored() || std::holds_alternative<std::optional<std::string>*>(mTarget);
    }
    bool boolean(bool) override { return isIgnored(); }
    bool number_float(double, const std::string&) override { return isIgnored(); }
    bool binary(Json::binary_t&) override { return isIgnored(); }
    bool number_integer(int64_t value) override { return putNumber(value); }
    bool number_unsigned(uint64_t value) override { return putNumber(value); }

    bool string(std::string& value) override {
        if (isIgnored()) {
            return true;
        }
        std::string text = mIsHex ? bytesOf(value) : std::move(value);
        if (std::string* const* const target = std::get_if<std::string*>(&mTarget)) {
            **target = std::move(text);
            return true;
        }
        if (std::optional<std::string>* const* const target =
                std::get_if<std::optional<std::string>*>(&mTarget)) {
            **target = std::move(text);
            return true;
        }
        return false;
    }

    bool start_object(size_t) override {
        const bool isEntry = mLevel == Level::List;
        const bool isSource = mLevel == Level::Entry && mIsSource;
        if (mSkipped != 0 || (mLevel != Level::Outside && !isEntry && !isSource)) {
            return skip();
        }
        if (isEntry) {
            mEntry = {};
            mSeen = 0;
        }
        mLevel = isEntry ? Level::Entry : isSource ? Level::Source : Level::Top;
        return true;
    }

    bool end_object() override {
        if (mSkipped != 0) {
            --mSkipped;
        } else if (mLevel == Level::Source) {
            mLevel = Level::Entry;
        } else if (mLevel == Level::Entry) {
            finishEntry();
            mLevel = Level::List;
        }
        return true;
    }

    bool start_array(size_t) override {
        if (mSkipped == 0 && mLevel == Level::Top && mIsList) {
            mLevel = Level::List;
            mHasList = true;
            return true;
        }
        return mLevel != Level::Outside && skip();
    }

    bool end_array() override {
        if (mSkipped != 0) {
            --mSkipped;
        } else {
            mLevel = Level::Top;
        }
        return true;
    }

    bool key(std::string& name) override {
        if (mSkipped != 0) {
            return true;
        }
        constexpr std::string_view kHex = "_hex";
        mIsHex = name.ends_with(kHex);
        if (mIsHex) {
            name.resize(name.size() - kHex.size());
        }
        mIsSource = mIsList = false;
        mTarget = std::monostate();
        if (mLevel == Level::Top) {
            mIsList = name == "surfaces";
            mTarget = name == "format" ? Target(&mFormat) : Target();
        } else if (mLevel == Level::Entry) {
            mIsSource = name == "source";
            find(name, 0, kSourceMembers);
        } else {
            find(name, kSourceMembers, std::size(mMembers));
        }
        return true;
    }

    bool parse_error(size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

private:
    enum class Level { Outside, Top, List, Entry, Source };
    using Target = std::variant<std::monostate, std::string*, std::optional<std::string>*,
                                uint32_t*, uint64_t*, int64_t*>;
    struct Member {
        std::string_view name;
        Target target;
    };

    // Values of members that nobody asked for.
    bool isIgnored() const {
        return mSkipped != 0 ||
               (std::holds_alternative<std::monostate>(mTarget) && mLevel != Level::List);
    }

    bool skip() {
        if (!isIgnored()) {
            return false;
        }
        ++mSkipped;
        return true;
    }

    // A number must fit into its type: neither negative nor too large.
    template <typename Value>
    bool putNumber(Value value) {
        return isIgnored() || std::visit(
                                  [&](auto target) {
                                      using Number = std::remove_pointer_t<decltype(target)>;
                                      if constexpr (std::is_integral_v<Number>) {
                                          *target = static_cast<Number>(value);
                                          return std::in_range<Number>(value);
                                      }
                                      return false;
                                  },
                                  mTarget);
    }

    void find(const std::string& name, size_t first, size_t end) {
        for (size_t i = first; i < end; ++i) {
            if (mMembers[i].name == name) {
                mTarget = mMembers[i].target;
                mSeen |= 1U << i;
                return;
            }
        }
    }

    void finishEntry() {
        if (mSeen != (1U << std::size(mMembers)) - 1) {
            throw Refusal(kBroken);
        }
        checkPlace(mEntry.file, kSurfaceSuffix);
        if (mEntry.palette) {
            checkPlace(*mEntry.palette, kPaletteSuffix);
        }
        std::string file = mEntry.file;
        // The last one, if the manifest is sorted as it should be.
        mEntries.insert_or_assign(mEntries.end(), std::move(file), std::move(mEntry));
    }

    Entries mEntries;
    ManifestEntry mEntry;
    uint32_t mSeen = 0; // members of the entry, a bit each
    uint32_t mFormat = 0;
    Level mLevel = Level::Outside;
    size_t mSkipped = 0; // depth in a value that nobody asked for
    bool mHasList = false;
    bool mIsHex = false, mIsList = false, mIsSource = false; // what the key says
    Target mTarget;                                          // of the next value
    static constexpr size_t kSourceMembers = 12;             // those behind are the source's
    const Member mMembers[16] = {{"name", &mEntry.name},         {"file", &mEntry.file},
                                 {"mode", &mEntry.mode},         {"width", &mEntry.width},
                                 {"height", &mEntry.height},     {"stride", &mEntry.stride},
                                 {"rotation", &mEntry.rotation}, {"bytes", &mEntry.bytes},
                                 {"palette", &mEntry.palette},   {"verdict", &mEntry.verdict},
                                 {"options", &mEntry.options},   {"tool", &mEntry.tool},
                                 {"path", &mEntry.source.path},  {"size", &mEntry.source.size},
                                 {"time", &mEntry.source.time},  {"hash", &mEntry.source.hash}};
};

Entries parse(const Bytes& text) {
    EntryReader reader;
    if (!Json::sax_parse(text.begin(), text.end(), &reader)) {
        throw Refusal(kBroken);
    }
    return reader.take();
}

// ---- Merging

namespace fs = std::filesystem;

// The folder of a file, without links.
fs::path realFolderOf(const std::string& file) {
    const fs::path folder = fs::path(file).parent_path();
    std::error_code error;
    fs::path real = fs::canonical(folder.empty() ? "." : folder, error);
    if (error) {
        errno = error.value();
        refuseBySystem("cannot be opened");
    }
    return real;
}

// What leads from `outer` to `inner`, with '/' behind; empty if both are the same.
std::string pathBetween(const fs::path& outer, const fs::path& inner) {
    const fs::path path = inner.lexically_relative(outer);
    if (*path.begin() == "..") {
        throw Refusal("its surfaces are outside of the folder of the merged manifest");
    }
    return path == "." ? "" : path.string() + "/";
}

// The entry as a manifest further up names it; `folder` leads from there to the entry's own.
ManifestEntry movedUp(ManifestEntry entry, const std::string& folder) {
    if (!folder.empty()) {
        entry.name = folder + entry.name;
        entry.file = folder + entry.file;
        if (entry.palette) {
            entry.palette = folder + *entry.palette;
        }
        entry.source.path = (fs::path(folder) / entry.source.path).lexically_normal();
    }
    return entry;
}

} // namespace

Manifest Manifest::load(const std::string& path) {
    std::error_code unknown;
    if (!fs::exists(fs::symlink_status(path, unknown))) {
        return {};
    }
    return read(path);
}

Manifest Manifest::read(const std::string& path) {
    return about(path, [&] {
        Manifest manifest;
        manifest.mEntries = parse(readFile(path));
        return manifest;
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
        text += separator + jsonLine(toJson(entry));
        separator = ",\n";
    }
    return text + "\n]\n}\n";
}

Manifest mergeManifests(const std::vector<std::string>& paths, const std::string& output) {
    const fs::path outer = about(output, [&] { return realFolderOf(output); });
    Manifest merged;
    std::map<std::string, std::string> origins; // manifests by surface files
    for (const std::string& path : paths) {
        const std::string folder =
            about(path, [&] { return pathBetween(outer, realFolderOf(path)); });
        const Manifest manifest = Manifest::read(path);
        for (const auto& [file, entry] : manifest.entries()) {
            ManifestEntry moved = movedUp(entry, folder);
            const auto [origin, isNew] = origins.emplace(moved.file, path);
            if (!isNew && moved != *merged.find(moved.file)) {
                throw Refusal(printable(origin->second) + " and " + printable(path) +
                              " differ about " + printable(moved.file));
            }
            merged.put(std::move(moved));
        }
    }
    return merged;
}
