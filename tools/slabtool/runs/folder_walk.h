// Finds files in folders.
#pragma once

#include "tools/slabtool/rejection.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

/// Identifies a folder independently of its path.
using FolderId = std::pair<dev_t, ino_t>;

/// @return nothing if the folder does not exist
std::optional<FolderId> folderId(const std::string& path);

bool isFolder(const std::string& path);

/// @throws Rejection with the system's reason
[[noreturn]] void rejectUnopenable(const std::string& path, const std::error_code& error);

/// Whether a name is longer than `suffix`, such as ".png", and ends in it. Ignores the case of the name.
bool hasSuffix(const std::string& name, const std::string& suffix);

/// Calls `visit` for each file below `folder` that has the suffix, with its path relative to `folder`. Follows links to
/// files, but not links to folders. Skips the folder `excluded`. `folder` ends in '/'. A subfolder that cannot be read
/// is visited like a file, so that opening it fails and is reported.
/// @throws Rejection if `folder` itself cannot be read
void walkFolder(const std::string& folder, const std::string& suffix,
                const std::optional<FolderId>& excluded,
                const std::function<void(const std::string& relativePath)>& visit);

/// An input file.
struct FoundFile {
    std::string path;
    /// Relative to the folder on the command line; the file name if the file itself is named there.
    std::string relativePath;
};

/// The input files of a command line, in its order. A named file is always included, even if it does not exist or has
/// another suffix. A folder stands for the files below it that have the suffix, sorted by relative path.
/// @throws Rejection if a named folder cannot be read
std::vector<FoundFile> findFiles(const std::vector<std::string>& inputs, const std::string& suffix);
