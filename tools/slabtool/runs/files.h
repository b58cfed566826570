// Whole files as bytes.
#pragma once

#include "tools/slabtool/refusal.h"
#include "tools/slabtool/runs/partial_file.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <cstdint>
#include <string>

/// More than this is never read, but for regular files of which the front is enough.
inline constexpr uint64_t kMaxFileBytes = uint64_t{2} << 30;

/// @throws Refusal with the system's reason, which is in errno, behind `what`
[[noreturn]] void refuseBySystem(const char* what);

/// All bytes of a file. @throws Refusal
Bytes readFile(const std::string& path);

/// The front of a file.
struct FileHead {
    Bytes bytes;   ///< as many as were asked for, or the whole file
    uint64_t size; ///< of the file
};

/// The first `count` bytes, and how many there are in all; a regular file is read no further. @throws
/// Refusal
FileHead readHead(const std::string& path, size_t count);

/// Writes a file. An existing one is replaced only once all bytes are on their way, so that a failure
/// leaves it as it was. @throws Refusal
void writeFile(const std::string& path, ByteView bytes);

/// Writes a file of text. @throws Refusal that names the file
void writeText(const std::string& path, const std::string& text);

/// Writes all bytes to a new file, checks them, and moves it to `place`. Who may read the old file there may
/// read the new one. @throws Refusal
void finishFile(PartialFile& fresh, const std::filesystem::path& place, ByteView bytes);

/// The picture in the surface file at `path`. @throws Refusal that names the file
SurfacePicture readPicture(const std::string& path);
