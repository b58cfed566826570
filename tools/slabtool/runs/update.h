// Finds surfaces that are up to date, and surfaces whose image was removed.
#pragma once

#include "tools/slabtool/runs/inputs.h"
#include "tools/slabtool/runs/manifest.h"

#include <optional>
#include <string>
#include <vector>

/// The hash of an image's bytes, in the format of the manifest.
std::string contentHash(ByteView bytes);

/// Size and time of an image, without its hash. Call it before reading the image, so that the next run detects a later
/// change. The time is 0 if the image was just written, because a later change could have the same time stamp.
/// @throws Rejection that does not name the image
ImageSource describeImage(const Job& job);

/// What a surface depends on besides its image.
struct SurfaceMaker {
    std::string options; ///< all options that affect the surface, as text
    std::string tool;    ///< version of slabtool
};

/// The new entry if the surface of `job` is up to date; otherwise nothing. It is up to date if it was made with the
/// same options and version from the same content, and still exists in `folder` with the same size. The image is read
/// only if its time is unreliable or differs from that in `old`; the returned entry has the new time. `old` may be
/// null. Thread-safe.
std::optional<ManifestEntry> upToDateEntry(const ManifestEntry* old, const Job& job,
                                           const SurfaceMaker& maker, const std::string& folder);

/// The entries whose image was removed. An image that cannot be accessed does not count as removed.
std::vector<ManifestEntry> entriesWithoutImage(const Manifest& manifest, const std::string& folder);
