// png_decode with arbitrary bytes: the header pass, and the full pass into surfaces of the right size and
// of any other. A backend chosen by the input must leave the same bytes as the scalar backend. Pixel and
// palette buffers are in heap memory of exactly their size.
#include "fuzz/fuzz_input.h"
#include "fuzz/png_mutator.h"
#include "png/png_decode.h"
#include "src/ds_surface.h"
#include "src/simd/backend.h"

#include <algorithm>

namespace {

constexpr uint64_t kMaxBytes = 1 << 20;
constexpr uint32_t kMaxSide = 50;
constexpr size_t kDecisionBytes = 16; // before the file

void* allocate(size_t byteCount) {
    return std::memset(allocateGuarded(byteCount), 0, byteCount);
}

bool isAffordable(const png_info_t& info) {
    const uint64_t pixelSize = std::max<uint64_t>(bytesPerPixel(info.colorMode), 1);
    return info.width <= kMaxBytes && info.height <= kMaxBytes &&
           uint64_t{info.width} * info.height * pixelSize <= kMaxBytes;
}

int32_t decodeIntoFitting(const GuardedBytes& file, png_info_t info) {
    DsSurface surface(static_cast<int32_t>(info.width), static_cast<int32_t>(info.height), 0,
                      info.colorMode, info.paletteHasAlpha, info.paletteSize, allocate, freeGuarded,
                      1, info.height);
    return png_decode(file.data(), file.size(), &info, &surface);
}

// Activates a backend, unless the machine does not support it.
void selectAny(FuzzInput* decisions) {
    const size_t number = decisions->take<uint8_t>() % ds_detail::kBackendCount;
    ds_detail::selectBackend(ds_detail::backends()[number].name);
}

struct Outcome {
    int32_t result;
    GuardedBytes pixels;
    bool operator==(const Outcome&) const = default;
};

Outcome decodeIntoAny(const GuardedBytes& file, FuzzInput decisions) {
    const auto width = static_cast<int32_t>(decisions.take<uint8_t>() % kMaxSide);
    const auto height = static_cast<int32_t>(decisions.take<uint8_t>() % kMaxSide);
    const DsColorMode mode{decisions.take<uint8_t>() % 11U};
    const uint8_t paletteHasAlpha = decisions.take<uint8_t>() % 3;
    const uint64_t paletteSize = decisions.take<uint16_t>() % 300U;
    const uint32_t alignment = decisions.take<uint8_t>() % 40U;
    const uint64_t extraBytes = decisions.take<uint16_t>() % 2048U;
    DsSurface surface(width, height, decisions.take<uint16_t>(), mode, paletteHasAlpha, paletteSize,
                      allocate, freeGuarded, alignment, extraBytes);
    png_info_t info = {};
    const int32_t result = png_decode(file.data(), file.size(), &info, &surface);
    return {result, {surface.getPixels(), surface.getPixels() + surface.getDataSize()}};
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize,
                                          unsigned seed) {
    return mutatePng(data, size, maxSize, seed, kDecisionBytes);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzInput input(bytes, size);
    const GuardedBytes decisionBytes = input.takeBytes(kDecisionBytes);
    FuzzInput decisions(decisionBytes.data(), decisionBytes.size());
    selectAny(&decisions);
    const GuardedBytes file = input.rest();
    png_info_t info = {};
    const int32_t result = png_decode(file.data(), file.size(), &info, nullptr);
    if (result == kPngOk && isAffordable(info)) {
        const int32_t fullResult = decodeIntoFitting(file, info);
        // With a fitting surface the full pass can still find errors that the header pass does not check.
        require(fullResult != kPngUnsupported);
    }
    const Outcome outcome = decodeIntoAny(file, decisions);
    ds_detail::selectBackend("scalar");
    require(decodeIntoAny(file, decisions) == outcome);
    return 0;
}
