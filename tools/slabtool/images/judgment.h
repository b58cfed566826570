// The report on one image: whether pngslab accepts it, what the surface loses, why it is rejected, and the fix.
#pragma once

#include "tools/slabtool/finding.h"
#include "tools/slabtool/rejection.h"

#include <optional>
#include <string>
#include <vector>

/// The suffix of the images in folders, and the only one that pngslab accepts.
inline constexpr const char* kImageSuffix = ".png";

/// The reason if the memory is too small.
extern const Finding kNoMemory;

enum Severity { kAccepted, kWithLoss, kRejected };

struct Judgment {
    Severity severity;
    std::string surface;                ///< description of the resulting surface
    std::optional<Finding> reason = {}; ///< of a rejection
    /// Those of the surface. The losses of a rejected image are those that remain after the fix.
    std::vector<Finding> losses = {};
    std::string fix = {};  ///< a command
    std::string note = {}; ///< why there is no command
};

/// "accepted", "accepted with loss" or "rejected"
const char* verdictText(Severity severity);

/// The verdict's reason or surface, losses and fix, in one line.
std::string textOf(const Judgment& judgment);

/// Judges an image.
/// @param path of the file, for the fix
Judgment judgeImage(const std::string& path, ByteView file, bool alphaOnly);
