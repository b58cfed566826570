// Entries are stored while the parser reads them. A tree of JSON values of 100,000 entries would need three times the
// memory.
#include "tools/slabtool/runs/manifest.h"

#include "tools/slabtool/runs/files.h"
#include "tools/slabtool/runs/json_line.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace {

constexpr int kFormat = 1;
constexpr const char* kBroken =
    "is not a manifest that slabtool can read: remove it to convert every image again";

// ---- Writing

std::string jsonOf(const ManifestEntry& entry) {
    JsonObject source;
    source.addText("path", entry.source.path);
    source.add("size", entry.source.size);
    source.add("time", entry.source.time);
    source.add("hash", entry.source.hash);
    JsonObject object;
    object.addText("name", entry.name);
    object.addText("file", entry.file);
    object.add("mode", entry.mode);
    object.add("width", entry.width);
    object.add("height", entry.height);
    object.add("stride", entry.stride);
    object.add("rotation", entry.rotation);
    object.add("bytes", entry.bytes);
    if (entry.palette) {
        object.addText("palette", *entry.palette);
    } else {
        object.add("palette", nullptr);
    }
    object.add("source", source);
    object.add("verdict", entry.verdict);
    object.add("options", entry.options);
    object.add("tool", entry.tool);
    return object.text();
}

// ---- Reading. Throws a Rejection for invalid content; the caller adds the file's name.

unsigned digitOf(char c) {
    const std::string digits = "0123456789abcdef";
    const size_t digit = digits.find(c);
    if (digit == std::string::npos) {
        throw Rejection(kBroken);
    }
    return static_cast<unsigned>(digit);
}

std::string bytesOf(const std::string& hex) {
    if (hex.size() % 2 != 0) {
        throw Rejection(kBroken);
    }
    std::string text;
    for (size_t i = 0; i < hex.size(); i += 2) {
        text += static_cast<char>(digitOf(hex[i]) << 4 | digitOf(hex[i + 1]));
    }
    return text;
}

// The path must be in the manifest's folder and have the suffix, because --prune removes the file.
void checkPath(const std::string& path, const char* suffix) {
    const bool leavesFolder = ("/" + path + "/").find("/../") != std::string::npos;
    if (path.empty() || path.front() == '/' || path.back() == '/' || leavesFolder ||
        path.find('\0') != std::string::npos) {
        throw Rejection("names a file outside its folder");
    }
    if (!path.ends_with(suffix)) {
        throw Rejection(kBroken);
    }
}

using Json = nlohmann::json;
using Entries = std::map<std::string, ManifestEntry>;

// Receives the members of the entries from the parser.
class EntryReader : public nlohmann::json_sax<Json> {
public:
    // Call it once, after parsing.
    Entries result() {
        if (mFormat != kFormat || !mHasList) {
            throw Rejection(kBroken);
        }
        return std::move(mEntries);
    }

    bool null() override {
        // Only "palette" may be null.
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

    // Whether the next value belongs to an unknown member.
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

    // Stores a number. Fails if it does not fit the type of the member.
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
            throw Rejection(kBroken);
        }
        checkPath(mEntry.file, kSurfaceSuffix);
        if (mEntry.palette) {
            checkPath(*mEntry.palette, kPaletteSuffix);
        }
        std::string file = mEntry.file;
        // The hint makes this fast for a sorted manifest.
        mEntries.insert_or_assign(mEntries.end(), std::move(file), std::move(mEntry));
    }

    Entries mEntries;
    ManifestEntry mEntry;
    uint32_t mSeen = 0; // the members that the entry has, one bit each
    uint32_t mFormat = 0;
    Level mLevel = Level::Outside;
    size_t mSkipped = 0; // depth inside the value of an unknown member
    bool mHasList = false;
    bool mIsHex = false, mIsList = false, mIsSource = false; // properties of the last key
    Target mTarget;                                          // of the next value
    static constexpr size_t kSourceMembers = 12; // index of the first member of "source"
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
        throw Rejection(kBroken);
    }
    return reader.result();
}

// ---- Merging

namespace fs = std::filesystem;

// The folder of a file, with all links resolved.
fs::path realFolderOf(const std::string& file) {
    const fs::path folder = fs::path(file).parent_path();
    std::error_code error;
    fs::path real = fs::canonical(folder.empty() ? "." : folder, error);
    if (error) {
        errno = error.value();
        rejectWithErrno("cannot be opened");
    }
    return real;
}

// The path of `inner` relative to `outer`, with a '/' at its end; empty if they are equal.
std::string relativeFolder(const fs::path& outer, const fs::path& inner) {
    const fs::path path = inner.lexically_relative(outer);
    if (*path.begin() == "..") {
        throw Rejection("its surfaces are outside the folder of the merged manifest");
    }
    return path == "." ? "" : path.string() + "/";
}

// The entry with paths relative to a parent folder. `folder` is the path from there to the entry's own manifest.
ManifestEntry relativeToParent(ManifestEntry entry, const std::string& folder) {
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
    std::error_code ignored;
    if (!fs::exists(fs::symlink_status(path, ignored))) {
        return {};
    }
    return read(path);
}

Manifest Manifest::read(const std::string& path) {
    return namingFile(path, [&] {
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
        text += separator + jsonOf(entry);
        separator = ",\n";
    }
    return text + "\n]\n}\n";
}

Manifest mergeManifests(const std::vector<std::string>& paths, const std::string& output) {
    const fs::path outer = namingFile(output, [&] { return realFolderOf(output); });
    Manifest merged;
    std::map<std::string, std::string> origins; // surface file -> manifest
    for (const std::string& path : paths) {
        const std::string folder =
            namingFile(path, [&] { return relativeFolder(outer, realFolderOf(path)); });
        const Manifest manifest = Manifest::read(path);
        for (const auto& [file, entry] : manifest.entries()) {
            ManifestEntry moved = relativeToParent(entry, folder);
            const auto [origin, isNew] = origins.emplace(moved.file, path);
            if (!isNew && moved != *merged.find(moved.file)) {
                throw Rejection(printable(origin->second) + " and " + printable(path) +
                                " have different entries for " + printable(moved.file));
            }
            merged.put(std::move(moved));
        }
    }
    return merged;
}
