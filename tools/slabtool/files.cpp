// Files by the C library's streams, without a look at their kind: pipes and devices work too.
#include "tools/slabtool/files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
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

[[noreturn]] void refuse(const char* what) {
    throw Refusal(std::string(what) + ": " + std::strerror(errno));
}

File openToRead(const std::string& path) {
    File file(path == kStandardStream ? stdin : std::fopen(path.c_str(), "rb"));
    if (file == nullptr) {
        refuse("cannot be opened");
    }
    return file;
}

// Up to `count` bytes more.
size_t readPiece(std::FILE* file, uint8_t* target, size_t count) {
    const size_t read = std::fread(target, 1, count, file);
    if (std::ferror(file) != 0) {
        refuse("cannot be read");
    }
    return read;
}

// Some files have no end.
void checkSize(uint64_t size) {
    if (size > kMostFileBytes) {
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

void writeAll(std::FILE* file, ByteView bytes) {
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    if (std::fflush(file) != 0 || !written) {
        refuse("cannot be written");
    }
}

void writeDirectly(const std::string& path, ByteView bytes) {
    const File file(std::fopen(path.c_str(), "wb"));
    if (file == nullptr) {
        refuse("cannot be opened for writing");
    }
    writeAll(file.get(), bytes);
}

// Writes beside the file and moves the result to its place; who may read the old one may read the new.
void replaceFile(const std::string& path, ByteView bytes) {
    const std::string fresh = path + "." + std::to_string(getpid()) + ".part";
    std::error_code unknown;
    const std::filesystem::file_status old = std::filesystem::status(path, unknown);
    try {
        writeDirectly(fresh, bytes);
        if (std::filesystem::exists(old)) {
            std::filesystem::permissions(fresh, old.permissions(), unknown);
        }
        if (std::rename(fresh.c_str(), path.c_str()) != 0) {
            refuse("cannot be replaced");
        }
    } catch (const Refusal&) {
        std::remove(fresh.c_str());
        throw;
    }
}

} // namespace

Bytes readFile(const std::string& path) {
    const File file = openToRead(path);
    Bytes bytes;
    size_t used = 0;
    for (;;) {
        checkSize(used);
        // Doubled, so that the cost stays linear, and never beyond twice of what the file really holds.
        bytes.resize(std::min(used + std::max(used, kPieceBytes), kMostFileBytes + 1));
        const size_t count = readPiece(file.get(), bytes.data() + used, bytes.size() - used);
        used += count;
        if (used < bytes.size()) {
            bytes.resize(used);
            return bytes;
        }
    }
}

FileHead readHead(const std::string& path, size_t count) {
    const File file = openToRead(path);
    FileHead head = {Bytes(count), 0};
    head.bytes.resize(readPiece(file.get(), head.bytes.data(), count));
    std::error_code unknown;
    const bool isRegular =
        path != kStandardStream && std::filesystem::is_regular_file(path, unknown);
    head.size =
        isRegular ? std::filesystem::file_size(path) : head.bytes.size() + countRest(file.get());
    return head;
}

void writeFile(const std::string& path, ByteView bytes) {
    if (path == kStandardStream) {
        writeAll(stdout, bytes);
        return;
    }
    std::error_code unknown;
    const std::filesystem::path target = std::filesystem::weakly_canonical(path, unknown);
    const auto kind = std::filesystem::status(path, unknown).type();
    // Devices and pipes stay what they are.
    if (kind == std::filesystem::file_type::regular ||
        kind == std::filesystem::file_type::not_found) {
        replaceFile(target.empty() ? path : target.string(), bytes);
    } else {
        writeDirectly(path, bytes);
    }
}

std::string printable(const std::string& text) {
    std::string result = text;
    std::replace_if(
        result.begin(), result.end(),
        [](char c) { return (static_cast<unsigned char>(c) < 0x20) || c == 0x7F; }, '?');
    return result;
}

std::string shellWord(const std::string& path) {
    const char* const plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./+,:@%-";
    if (path.size() > 1 && path.front() == '-') {
        return shellWord("./" + path);
    }
    if (!path.empty() && path.find_first_not_of(plain) == std::string::npos) {
        return path;
    }
    std::string quoted = "'";
    for (const char c : path) {
        quoted += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return quoted + "'";
}
