// Reads and writes whole files.
#pragma once

#include "tools/slabtool/rejection.h"
#include "tools/slabtool/runs/partial_file.h"
#include "tools/slabtool/surfaces/surface_file.h"

#include <cstdint>
#include <string>

/// The limit for reading a file. `readHead` has no limit for regular files.
inline constexpr uint64_t kMaxFileBytes = uint64_t{2} << 30;

/// @throws Rejection: `what`, then the text of errno
[[noreturn]] void rejectWithErrno(const char* what);

/// All bytes of a file. @throws Rejection
Bytes readFile(const std::string& path);

/// The first bytes of a file.
struct FileHead {
    Bytes bytes;   ///< the requested number of bytes, or the whole file if it is shorter
    uint64_t size; ///< of the whole file
};

/// Reads the first `count` bytes and finds the size of the file. A regular file is read no further. @throws Rejection
FileHead readHead(const std::string& path, size_t count);

/// Writes a file. An existing file is replaced after all bytes are written, so a failure leaves it unchanged.
/// @throws Rejection
void writeFile(const std::string& path, ByteView bytes);

/// Writes a text file. @throws Rejection that names the file
void writeText(const std::string& path, const std::string& text);

/// Writes all bytes to a partial file and moves it to `target`. The permissions of an existing target are kept.
/// @throws Rejection
void finishFile(PartialFile& partial, const std::filesystem::path& target, ByteView bytes);

/// Reads the surface file at `path`. @throws Rejection that names the file
SurfacePicture readPicture(const std::string& path);
