// Bytes, and the one way in which a command rejects what the user gave it.
#pragma once

#include "tools/slabtool/text.h"

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

/// What `work` gives; its refusals get the file's name in front.
template <typename Work>
auto about(const std::string& path, const Work& work) {
    try {
        return work();
    } catch (const Refusal& refusal) {
        throw Refusal(printable(path) + ": " + refusal.what());
    }
}
