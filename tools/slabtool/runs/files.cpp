// Files are read and written with the streams of the C library, which also work with pipes and devices.
#include "tools/slabtool/runs/files.h"

#include "tools/slabtool/large_bytes.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr size_t kReadBytes = 1 << 20;

struct FileCloser {
    void operator()(std::FILE* file) const {
        if (file != stdin) {
            std::fclose(file);
        }
    }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

File openToRead(const std::string& path) {
    File file(path == kStandardStream ? stdin : std::fopen(path.c_str(), "rb"));
    if (file == nullptr) {
        rejectWithErrno("cannot be opened");
    }
    return file;
}

// Reads up to `count` bytes.
size_t readUpTo(std::FILE* file, uint8_t* target, size_t count) {
    const size_t read = std::fread(target, 1, count, file);
    if (std::ferror(file) != 0) {
        rejectWithErrno("cannot be read");
    }
    return read;
}

// The size of a regular file; nothing for pipes and devices.
std::optional<uint64_t> regularFileSize(std::FILE* file) {
    struct stat status = {};
    fstat(fileno(file), &status);
    return S_ISREG(status.st_mode) ? std::optional<uint64_t>(status.st_size) : std::nullopt;
}

// Stops reading a stream without an end, such as /dev/zero.
void checkSize(uint64_t size) {
    if (size > kMaxFileBytes) {
        throw Rejection("is larger than 2 GiB");
    }
}

// Reads a stream to its end and counts the bytes.
uint64_t countRest(std::FILE* file) {
    Bytes buffer(kReadBytes);
    uint64_t size = 0;
    while (const size_t count = readUpTo(file, buffer.data(), buffer.size())) {
        size += count;
        checkSize(size);
    }
    return size;
}

std::FILE* openToWrite(const std::string& path) {
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        rejectWithErrno("cannot be opened for writing");
    }
    return file;
}

void rejectTerminal(std::FILE* file) {
    if (isatty(fileno(file)) != 0) {
        throw Rejection("standard output is a terminal, which cannot show binary data: name a "
                        "file, or redirect it");
    }
}

// `finish` is fflush or fclose. Some file systems report a write error only at fclose.
void writeAll(std::FILE* file, ByteView bytes, int (*finish)(std::FILE*)) {
    // The data pointer of empty bytes may be null, which std::fwrite forbids.
    const bool written =
        bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    if (finish(file) != 0 || !written) {
        rejectWithErrno("cannot be written");
    }
}

} // namespace

void rejectWithErrno(const char* what) {
    throw Rejection(std::string(what) + ": " + std::strerror(errno));
}

Bytes readFile(const std::string& path) {
    const File file = openToRead(path);
    const uint64_t expected = regularFileSize(file.get()).value_or(kReadBytes);
    checkSize(expected);
    // One more byte, to detect the end. A file may grow or shrink while it is read.
    Bytes bytes = largeBytes(expected + 1);
    size_t used = 0;
    for (;;) {
        const size_t count = readUpTo(file.get(), bytes.data() + used, bytes.size() - used);
        used += count;
        if (used < bytes.size()) {
            bytes.resize(used);
            return bytes;
        }
        checkSize(used);
        // Doubling keeps the total cost linear.
        bytes.resize(std::min(2 * used, kMaxFileBytes + 1));
    }
}

FileHead readHead(const std::string& path, size_t count) {
    const File file = openToRead(path);
    FileHead head = {Bytes(count), 0};
    head.bytes.resize(readUpTo(file.get(), head.bytes.data(), count));
    const std::optional<uint64_t> known = regularFileSize(file.get());
    head.size =
        known && path != kStandardStream ? *known : head.bytes.size() + countRest(file.get());
    return head;
}

void writeFile(const std::string& path, ByteView bytes) {
    if (path == kStandardStream) {
        rejectTerminal(stdout);
        writeAll(stdout, bytes, std::fflush);
        return;
    }
    std::error_code ignored;
    const std::filesystem::file_status old = std::filesystem::status(path, ignored);
    if (old.type() == std::filesystem::file_type::regular ||
        old.type() == std::filesystem::file_type::not_found) {
        // A link to a file is kept, and its target is replaced. canonical() fails if the file is new or its folders
        // are not searchable; then `path` itself is written.
        std::error_code error;
        const std::filesystem::path canonical = std::filesystem::canonical(path, error);
        if (error == std::errc::not_enough_memory) {
            throw std::bad_alloc(); // otherwise a link would be replaced
        }
        const std::filesystem::path target =
            canonical.empty() ? std::filesystem::path(path) : canonical;
        PartialFile partial(target.parent_path(), PartialFile::Writer::Command);
        finishFile(partial, target, bytes);
    } else {
        File device(openToWrite(path)); // devices and pipes are written, not replaced
        rejectTerminal(device.get());
        writeAll(device.release(), bytes, std::fclose);
    }
}

void writeText(const std::string& path, const std::string& text) {
    namingFile(path, [&] {
        writeFile(path, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    });
}

void finishFile(PartialFile& partial, const std::filesystem::path& target, ByteView bytes) {
    if (partial.stream() == nullptr) {
        rejectWithErrno("cannot be opened for writing");
    }
    writeAll(partial.stream(), bytes, std::fclose);
    std::error_code ignored;
    const std::filesystem::file_status old = std::filesystem::symlink_status(target, ignored);
    if (old.type() == std::filesystem::file_type::regular) {
        std::filesystem::permissions(partial.path(), old.permissions(), ignored);
    }
    if (!partial.moveTo(target)) {
        rejectWithErrno("cannot be replaced");
    }
}

SurfacePicture readPicture(const std::string& path) {
    return namingFile(path, [&] { return SurfacePicture(readFile(path)); });
}
