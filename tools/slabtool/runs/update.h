// Which surfaces are up to date, and which have lost their image.
#pragma once

#include "tools/slabtool/runs/inputs.h"
#include "tools/slabtool/runs/manifest.h"

#include <optional>
#include <string>
#include <vector>

/// The hash of an image's bytes as the manifest holds it.
std::string contentHash(ByteView bytes);

/// Size and time of an image, without its hash: to be called before the image is read, so that a later change
/// is noticed. The time is 0 where the image has just been written: a further change could leave it as it is.
/// @throws Refusal that does not name the image
ImageSource describeImage(const Job& job);

/// What shapes surfaces beside their images.
struct SurfaceMaker {
    std::string options; ///< a text of all options that shape the surface
    std::string tool;    ///< the version
};

/// The entry to keep if the surface of `job` is up to date: made by the same options and version from the same
/// content, and still there in `folder` with its size. The image is read only if its size or time differ from
/// those in `old`, and the entry has the new ones then. `old` may be null. Safe on several threads.
std::optional<ManifestEntry> upToDateEntry(const ManifestEntry* old, const Job& job,
                                           const SurfaceMaker& maker, const std::string& folder);

/// The entries whose image is gone. An image that cannot be looked at is not gone.
std::vector<ManifestEntry> entriesWithoutImage(const Manifest& manifest, const std::string& folder);
