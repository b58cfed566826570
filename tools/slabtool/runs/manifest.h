// The manifest of an output folder lists its surfaces and the images that they were made of.
#pragma once

#include "tools/slabtool/rejection.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The manifest's name in its folder.
inline constexpr const char* kManifestName = "surfaces.json";

/// The properties of an image that decide whether its surface is up to date.
struct ImageSource {
    std::string path;  ///< relative to the manifest's folder
    uint64_t size = 0; ///< bytes
    int64_t time = 0;  ///< of the last change, in nanoseconds since 1970; 0 if it is unreliable
    std::string hash;  ///< of the content: 64-bit XXH3 as 16 hexadecimal digits

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
    std::string verdict; ///< "accepted", "fixed-with-loss", ...
    std::string options; ///< all options that affect the surface, as text
    std::string tool;    ///< version of slabtool

    bool operator==(const ManifestEntry&) const = default;
};

/// The entries of a manifest, sorted by file.
class Manifest {
public:
    /// An empty manifest.
    Manifest() = default;

    /// Reads a manifest. Rejects paths outside its folder. @return an empty manifest if the file does not exist
    /// @throws Rejection that names the file
    static Manifest load(const std::string& path);

    /// Like load, but also rejects a missing file.
    static Manifest read(const std::string& path);

    /// The entry of a surface file, or null. The pointer is valid until the entry is removed.
    const ManifestEntry* find(const std::string& file) const;

    /// Adds or replaces an entry.
    void put(ManifestEntry entry);
    void remove(const std::string& file);

    /// Whether an entry was added, changed or removed since loading.
    bool isChanged() const { return mIsChanged; }

    const std::map<std::string, ManifestEntry>& entries() const { return mEntries; }

    /// JSON with one line for each entry. See JsonObject::addText for text that is not UTF-8.
    std::string text() const;

private:
    std::map<std::string, ManifestEntry> mEntries;
    bool mIsChanged = false;
};

/// Merges manifests, for example those of several machines. Each must be in the folder of `output` or below it. The
/// paths in the result are relative to that folder, so that a run into it finds the surfaces up to date.
/// @throws Rejection that names a manifest that cannot be merged, or two with different entries for one surface
Manifest mergeManifests(const std::vector<std::string>& paths, const std::string& output);
