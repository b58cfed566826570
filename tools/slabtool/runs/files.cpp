// Files by the C library's streams: pipes and devices work too.
#include "tools/slabtool/runs/files.h"

#include "tools/slabtool/large_bytes.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kPieceBytes = 1 << 20;

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
        refuseBySystem("cannot be opened");
    }
    return file;
}

// Up to `count` bytes more.
size_t readPiece(std::FILE* file, uint8_t* target, size_t count) {
    const size_t read = std::fread(target, 1, count, file);
    if (std::ferror(file) != 0) {
        refuseBySystem("cannot be read");
    }
    return read;
}

// How long a file says that it is; pipes and devices do not.
std::optional<uint64_t> toldSize(std::FILE* file) {
    struct stat status = {};
    fstat(fileno(file), &status);
    return S_ISREG(status.st_mode) ? std::optional<uint64_t>(status.st_size) : std::nullopt;
}

// Some files have no end.
void checkSize(uint64_t size) {
    if (size > kMaxFileBytes) {
        throw Refusal("has more than 2 GiB");
    }
}

// The rest of a stream that does not tell its size.
uint64_t countRest(std::FILE* file) {
    Bytes piece(kPieceBytes);
    uint64_t size = 0;
    while (const size_t count = readPiece(file, piece.data(), piece.size())) {
        size += count;
        checkSize(size);
    }
    return size;
}

std::FILE* openToWrite(const std::string& path) {
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        refuseBySystem("cannot be opened for writing");
    }
    return file;
}

void rejectTerminal(std::FILE* file) {
    if (isatty(fileno(file)) != 0) {
        throw Refusal(
            "standard output is a terminal, which shows no PNG: name a file, or redirect it");
    }
}

// `finish` is what tells whether all bytes have left the stream: fflush, or fclose, to which some file
// systems keep their refusals.
void writeAll(std::FILE* file, ByteView bytes, int (*finish)(std::FILE*)) {
    // No bytes may come without an address, which std::fwrite forbids.
    const bool written =
        bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    if (finish(file) != 0 || !written) {
        refuseBySystem("cannot be written");
    }
}

} // namespace

void refuseBySystem(const char* what) {
    throw Refusal(std::string(what) + ": " + std::strerror(errno));
}

Bytes readFile(const std::string& path) {
    const File file = openToRead(path);
    const uint64_t told = toldSize(file.get()).value_or(kPieceBytes);
    checkSize(told);
    // One more, to see the end; a file may grow or shrink while it is read.
    Bytes bytes = largeBytes(told + 1);
    size_t used = 0;
    for (;;) {
        const size_t count = readPiece(file.get(), bytes.data() + used, bytes.size() - used);
        used += count;
        if (used < bytes.size()) {
            bytes.resize(used);
            return bytes;
        }
        checkSize(used);
        // Doubled, so that the cost stays linear.
        bytes.resize(std::min(2 * used, kMaxFileBytes + 1));
    }
}

FileHead readHead(const std::string& path, size_t count) {
    const File file = openToRead(path);
    FileHead head = {Bytes(count), 0};
    head.bytes.resize(readPiece(file.get(), head.bytes.data(), count));
    const std::optional<uint64_t> told = toldSize(file.get());
    head.size = told && path != kStandardStream ? *told : head.bytes.size() + countRest(file.get());
    return head;
}

void writeFile(const std::string& path, ByteView bytes) {
    if (path == kStandardStream) {
        rejectTerminal(stdout);
        writeAll(stdout, bytes, std::fflush);
        return;
    }
    std::error_code unknown;
    const std::filesystem::file_status old = std::filesystem::status(path, unknown);
    if (old.type() == std::filesystem::file_type::regular ||
        old.type() == std::filesystem::file_type::not_found) {
        // A link to a file stays one. Nothing is followed where the file is new, or where the folders
        // above it may not be looked at.
        const std::filesystem::path target = std::filesystem::canonical(path, unknown);
        const std::filesystem::path place = target.empty() ? std::filesystem::path(path) : target;
        PartialFile fresh(place.parent_path(), PartialFile::Writer::Command);
        finishFile(fresh, place, bytes);
    } else {
        File device(openToWrite(path)); // devices and pipes stay too
        rejectTerminal(device.get());
        writeAll(device.release(), bytes, std::fclose);
    }
}

void writeText(const std::string& path, const std::string& text) {
    about(path, [&] {
        writeFile(path, {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    });
}

void finishFile(PartialFile& fresh, const std::filesystem::path& place, ByteView bytes) {
    if (fresh.stream() == nullptr) {
        refuseBySystem("cannot be opened for writing");
    }
    writeAll(fresh.stream(), bytes, std::fclose);
    std::error_code unknown;
    const std::filesystem::file_status old = std::filesystem::symlink_status(place, unknown);
    if (old.type() == std::filesystem::file_type::regular) {
        std::filesystem::permissions(fresh.path(), old.permissions(), unknown);
    }
    if (!fresh.moveTo(place)) {
        refuseBySystem("cannot be replaced");
    }
}

SurfacePicture readPicture(const std::string& path) {
    return about(path, [&] { return SurfacePicture(readFile(path)); });
}
