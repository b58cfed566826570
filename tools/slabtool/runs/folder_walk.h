// The files of folders.
#pragma once

#include "tools/slabtool/refusal.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

/// A folder whatever its path is.
using FolderId = std::pair<dev_t, ino_t>;

/// Nothing if there is no such folder.
std::optional<FolderId> folderId(const std::string& path);

bool isFolder(const std::string& path);

/// @throws Refusal with the system's reason
[[noreturn]] void refuseToOpen(const std::string& path, const std::error_code& error);

/// Whether a name ends in `suffix`, such as ".png", in any case, and is longer.
bool hasSuffix(const std::string& name, const std::string& suffix);

/// Calls `take` with the path of each file below `folder`, relative to it, whose name has the suffix. Links to files
/// are followed, links to folders are not, and the folder `leftOut` is left out. `folder` ends in '/'. A folder below
/// that cannot be read counts as a file, so that work on it fails and is reported.
/// @throws Refusal if `folder` itself cannot be read
void walkFolder(const std::string& folder, const std::string& suffix,
                const std::optional<FolderId>& leftOut,
                const std::function<void(const std::string& place)>& take);

/// A file of a run, and its place in the folder that was named; its name if the file itself was named.
struct FoundFile {
    std::string path, place;
};

/// The files that a command line names, in its order: files themselves, whatever their names are and whether or not
/// they are there, and for each folder the files with the suffix below it, sorted by place.
/// @throws Refusal if a folder that is named cannot be read
std::vector<FoundFile> findFiles(const std::vector<std::string>& inputs, const std::string& suffix);
