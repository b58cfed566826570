// Whole files as bytes, and the one way in which a command says no. Apart from the commands, since all
// of them read and most of them write.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

/// What the user asked for cannot be done, for a reason that lies in the files: the run goes on with
/// the next file or ends with status 1. The message is for people; it names the file only behind `about`.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The path that stands for standard input or output.
inline constexpr const char* kStandardStream = "-";

/// More than this is never read, but for regular files of which the front is enough.
inline constexpr uint64_t kMostFileBytes = uint64_t{2} << 30;

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

/// `text` for a line of output: control characters become question marks.
std::string printable(const std::string& text);

/// A path as one word of any shell's command line, which no program takes for an option. Line breaks at
/// the end of a path are lost.
std::string shellWord(const std::string& path);

/// What `work` gives; its refusals get the file's name in front.
template <typename Work>
auto about(const std::string& path, const Work& work) {
    try {
        return work();
    } catch (const Refusal& refusal) {
        throw Refusal(printable(path) + ": " + refusal.what());
    }
}
