// The order of the checks matters: each relies on the previous ones.
#include "tools/slabtool/surfaces/surface_file.h"

#include "src/ds_surface.h"
#include "src/internal/little_endian.h"
#include "src/internal/mode_traits.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr uint32_t kMaxSide = 0x7FFFFFFF; // pixels
constexpr uint64_t kSizeUnit = 4;         // the file size is a multiple of it
constexpr uint8_t kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

// No surface file begins with the PNG signature: its second word would be an unknown color mode.
bool isPng(ByteView head) {
    return head.size() >= sizeof kPngSignature &&
           std::equal(std::begin(kPngSignature), std::end(kPngSignature), head.begin());
}

SurfaceHeader readHeader(ByteView head) {
    const auto word = [&](size_t index) {
        return ds_detail::loadLittleEndian<4>(head.data() + 4 * index);
    };
    return {word(0), word(1), word(2), word(3), word(4)};
}

std::string number(uint64_t value) {
    return std::to_string(value);
}

void checkSide(const char* name, uint32_t pixels, std::vector<std::string>& faults) {
    if (pixels == 0 || pixels > kMaxSide) {
        faults.push_back(std::string(name) + " " + number(pixels) + " is not between 1 and " +
                         number(kMaxSide));
    }
}

void checkSizes(SurfaceFacts& facts) {
    const SurfaceHeader& header = *facts.header;
    if (header.stride < header.usedRowBytes()) {
        facts.faults.push_back("stride " + number(header.stride) + " is less than the " +
                               number(header.usedRowBytes()) + " bytes of a row's pixels");
    }
    const uint64_t expected = (header.usedBytes() + kSizeUnit - 1) / kSizeUnit * kSizeUnit;
    if (facts.fileSize < header.usedBytes()) {
        facts.faults.push_back(number(header.usedBytes() - facts.fileSize) +
                               " bytes of the rows are missing");
    } else if (facts.fileSize < expected) {
        facts.oddities.push_back("the file size is not rounded up to a multiple of 4");
    } else if (facts.fileSize > expected) {
        facts.oddities.push_back(number(facts.fileSize - expected) + " extra bytes at the end");
    }
}

void checkHeader(SurfaceFacts& facts) {
    const SurfaceHeader& header = *facts.header;
    if (header.mode >= ds_detail::kColorModeCount) {
        facts.faults.push_back("color mode " + number(header.mode) + " is unknown");
    } else if (bytesPerPixel(header.colorMode()) == 0) {
        facts.faults.push_back("color mode " + number(header.mode) + " (" +
                               colorModeName(header.mode) + ") has no pixels");
    }
    checkSide("width", header.width, facts.faults);
    checkSide("height", header.height, facts.faults);
    if (header.rotation > 270 || header.rotation % 90 != 0) {
        facts.oddities.push_back("rotation " + number(header.rotation) +
                                 " is not 0, 90, 180 or 270");
    }
    if (facts.faults.empty()) {
        checkSizes(facts);
    }
}

} // namespace

const char* colorModeName(uint32_t mode) {
    return mode < ds_detail::kColorModeCount ? ds_detail::kModeNames[mode] : "unknown";
}

std::optional<Finding> noteForMode(uint32_t mode) {
    switch (static_cast<DsColorMode>(mode)) {
    case DsColorMode::I8:
    case DsColorMode::AI88:
        return Finding{"palette",
                       "gray values, or indices whose palette is not in the surface file"};
    case DsColorMode::A8:
        return Finding{"alpha-only", "alpha values, without colors"};
    default:
        return std::nullopt;
    }
}

SurfaceFacts inspectSurface(ByteView head, uint64_t fileSize) {
    SurfaceFacts facts = {fileSize, {}, {}, {}};
    if (isPng(head)) {
        facts.faults.push_back("this is a PNG image, not a surface file: slabtool check reports "
                               "whether pngslab accepts it");
        return facts;
    }
    if (head.size() < kSurfaceHeaderBytes) {
        facts.faults.push_back("the file is shorter than the 20-byte header");
        return facts;
    }
    facts.header = readHeader(head);
    checkHeader(facts);
    return facts;
}

SurfacePicture::SurfacePicture(Bytes file)
    : mFile(std::move(file)) {
    const SurfaceFacts facts = inspectSurface(mFile, mFile.size());
    if (!facts.faults.empty()) {
        throw Rejection(facts.faults.front());
    }
    mHeader = *facts.header;
    const DsSurface surface(mFile.data());
    const auto offsetOf = [&](int32_t x, int32_t y) {
        surface.mapPoint(x, y);
        return static_cast<int64_t>(kSurfaceHeaderBytes) + int64_t{y} * mHeader.stride +
               int64_t{x} * surface.getBytesPerPixel();
    };
    int32_t width = 0, height = 0;
    surface.getSize(width, height);
    mWidth = static_cast<uint32_t>(width);
    mHeight = static_cast<uint32_t>(height);
    mOrigin = offsetOf(0, 0);
    mStepX = offsetOf(1, 0) - mOrigin;
    mStepY = offsetOf(0, 1) - mOrigin;
}
