// Checking a surface that is up to date needs two system calls: stat of the image and lstat of the surface.
#include "tools/slabtool/runs/update.h"

#include "tools/slabtool/runs/files.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <sys/stat.h>
#include <utility>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace {

constexpr int64_t kSecond = 1'000'000'000;

int64_t inNanoseconds(const timespec& time) {
    return int64_t{time.tv_sec} * kSecond + time.tv_nsec;
}

// Whether a later change could have the same time stamp. Time stamps of most file systems advance every few
// milliseconds; some have steps of two seconds, and no fraction of a second.
bool isTooRecent(const timespec& time) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const int64_t step = time.tv_nsec == 0 ? 2 * kSecond : kSecond / 50;
    return inNanoseconds(now) - inNanoseconds(time) < step;
}

// Nothing if the path is not a regular file. A link does not count as a surface.
std::optional<uint64_t> fileSize(const std::string& path) {
    struct stat status = {};
    const bool isFile = lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    return isFile ? std::optional<uint64_t>(status.st_size) : std::nullopt;
}

} // namespace

std::string contentHash(ByteView bytes) {
    char hex[17];
    std::snprintf(hex, sizeof hex, "%016llx",
                  static_cast<unsigned long long>(XXH3_64bits(bytes.data(), bytes.size())));
    return hex;
}

ImageSource describeImage(const Job& job) {
    struct stat status = {};
    if (stat(job.input.c_str(), &status) != 0) {
        rejectWithErrno("cannot be opened");
    }
    return {job.source, static_cast<uint64_t>(status.st_size),
            isTooRecent(status.st_mtim) ? 0 : inNanoseconds(status.st_mtim), ""};
}

std::optional<ManifestEntry> upToDateEntry(const ManifestEntry* old, const Job& job,
                                           const SurfaceMaker& maker, const std::string& folder) {
    if (old == nullptr || old->source.path != job.source || old->options != maker.options ||
        old->tool != maker.tool || fileSize(folder + "/" + old->file) != old->bytes ||
        (old->palette && !fileSize(folder + "/" + *old->palette))) {
        return std::nullopt;
    }
    ManifestEntry entry = *old;
    entry.source = describeImage(job);
    entry.source.hash = old->source.hash;
    if (entry.source.size != old->source.size) {
        return std::nullopt;
    }
    const bool isUntouched = entry.source.time != 0 && entry.source == old->source;
    const bool isEqual = isUntouched || contentHash(readFile(job.input)) == old->source.hash;
    return isEqual ? std::optional<ManifestEntry>(std::move(entry)) : std::nullopt;
}

std::vector<ManifestEntry> entriesWithoutImage(const Manifest& manifest,
                                               const std::string& folder) {
    std::vector<ManifestEntry> gone;
    for (const auto& [file, entry] : manifest.entries()) {
        struct stat status = {};
        if (lstat((folder + "/" + entry.source.path).c_str(), &status) != 0 &&
            (errno == ENOENT || errno == ENOTDIR)) {
            gone.push_back(entry);
        }
    }
    return gone;
}
