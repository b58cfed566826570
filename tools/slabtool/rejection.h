// Byte types, and the exception for everything that is wrong with the files of the user.
#pragma once

#include "tools/slabtool/text.h"

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

/// A file cannot be used, or a request does not fit it. The run continues with the next file or ends with status 1.
/// `namingFile` adds the file's name to the message.
class Rejection : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Returns `work()`. Puts `path` before the message of a Rejection.
template <typename Work>
auto namingFile(const std::string& path, const Work& work) {
    try {
        return work();
    } catch (const Rejection& rejection) {
        throw Rejection(printable(path) + ": " + rejection.what());
    }
}
