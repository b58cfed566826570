// The manifest of an output folder: which surfaces are there, and from which images they came.
#pragma once

#include "tools/slabtool/refusal.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The manifest's name in its folder.
inline constexpr const char* kManifestName = "surfaces.json";

/// An image, as far as it tells whether a surface is up to date.
struct ImageSource {
    std::string path;  ///< relative to the manifest's folder
    uint64_t size = 0; ///< bytes
    int64_t time =
        0; ///< of the last change, in nanoseconds since 1970; 0 if it is not to be relied on
    std::string hash; ///< of the content: XXH3, 64 bits, as 16 hexadecimal digits

    bool operator==(const ImageSource&) const = default;
};

/// One surface. Paths are relative to the manifest's folder.
struct ManifestEntry {
    std::string name; ///< the path without its suffix
    std::string file;
    std::string mode; ///< "RGB565"
    uint32_t width = 0, height = 0, stride = 0, rotation = 0;
    uint64_t bytes = 0;                 ///< of the surface file
    std::optional<std::string> palette; ///< the file with the palette
    ImageSource source;
    std::string verdict; ///< a word such as "accepted"
    std::string options; ///< a text of all options that shaped the surface
    std::string tool;    ///< the version that made it

    bool operator==(const ManifestEntry&) const = default;
};

/// The entries of a manifest, sorted by file.
class Manifest {
public:
    /// An empty manifest.
    Manifest() = default;

    /// Reads a manifest; empty if there is none. Every path in it is checked to stay in the folder.
    /// @throws Refusal that names the file
    static Manifest load(const std::string& path);

    /// Likewise, but a missing manifest is refused.
    static Manifest read(const std::string& path);

    /// The entry of a file, or null. It stays valid until that entry is removed.
    const ManifestEntry* find(const std::string& file) const;

    /// Adds or replaces an entry.
    void put(ManifestEntry entry);
    void remove(const std::string& file);

    /// Whether anything differs from what was loaded.
    bool isChanged() const { return mIsChanged; }

    const std::map<std::string, ManifestEntry>& entries() const { return mEntries; }

    /// As JSON, one line an entry. Text that is not UTF-8 holds U+FFFD, and a member of the same name with
    /// "_hex" behind it holds its bytes.
    std::string text() const;

private:
    std::map<std::string, ManifestEntry> mEntries;
    bool mIsChanged = false;
};

/// The union of manifests, of several machines for example, as the manifest `output` would name the surfaces: each lies
/// in the folder of `output` or below it. A run into that folder finds them up to date.
/// @throws Refusal that names the manifest that cannot be merged, or two that differ about one surface
Manifest mergeManifests(const std::vector<std::string>& paths, const std::string& output);
