// A sequence of drawing operations on small surfaces, decoded from the input. At the end the target is
// rotated. Every sequence runs on each backend, with the same bytes as on the scalar backend.
#include "fuzz/fuzz_input.h"
#include "src/ds_ellipse.h"
#include "src/ds_surface.h"
#include "src/pixel_kernels.h"
#include "src/simd/backend.h"
#include "src/span_fill.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace {

constexpr uint64_t kHeaderSize = 20;
constexpr uint32_t kMaxSide = 80; // more than any tile of a rotation
constexpr int kMaxOperations = 12;

// A surface file in heap memory of exactly its size, with any header that is valid for a view.
GuardedBytes takeSurfaceFile(FuzzInput& input) {
    const uint32_t rotations[] = {0, 90, 180, 270, input.take<uint16_t>()};
    const uint32_t mode = input.take<uint8_t>() % 12;
    const uint32_t width = input.take<uint8_t>() % kMaxSide;
    const uint32_t height = input.take<uint8_t>() % kMaxSide;
    const uint32_t padding = input.take<uint8_t>() % 9;
    const uint32_t stride = width * bytesPerPixel(DsColorMode{mode}) + padding;
    const uint32_t header[] = {rotations[input.take<uint8_t>() % 5], mode, width, height, stride};
    GuardedBytes file(kHeaderSize + uint64_t{height} * stride);
    std::memcpy(file.data(), header, sizeof header);
    const GuardedBytes pattern = input.takeBytes(input.take<uint8_t>());
    for (size_t at = kHeaderSize; at < file.size() && !pattern.empty(); at += pattern.size()) {
        std::memcpy(file.data() + at, pattern.data(), std::min(pattern.size(), file.size() - at));
    }
    return file;
}

DsRect takeRect(FuzzInput& input) {
    if (input.flag()) {
        return {input.take<int32_t>(), input.take<int32_t>(), input.take<int32_t>(),
                input.take<int32_t>()};
    }
    return {input.take<int8_t>(), input.take<int8_t>(), input.take<int8_t>(), input.take<int8_t>()};
}

int32_t takePosition(FuzzInput& input) {
    return input.flag() ? input.take<int32_t>() : input.take<int8_t>();
}

bool isAtLeastAsLarge(const DsSurface& source, const DsSurface& target) {
    return source.getWidth() >= target.getWidth() && source.getHeight() >= target.getHeight();
}

void paintSpan(DsSurface& surface, FuzzInput& input) {
    if (surface.getWidth() < 1 || surface.getHeight() < 1) {
        return;
    }
    setBlendColor(surface.getColorMode(), input.take<uint32_t>());
    const auto row = input.below(static_cast<uint32_t>(surface.getHeight()));
    const auto width = static_cast<uint32_t>(surface.getWidth());
    const uint32_t step = 1 + input.take<uint8_t>() % 3;
    GuardedBytes coverage = input.takeBytes(width);
    coverage.resize(width, 77);
    uint8_t* const pixels = surface.getPixels() + row * surface.getStride();
    if (step == 1) {
        blendSpan(pixels, coverage.data(), width);
    } else {
        blendSpanStrided(pixels, step, coverage.data(), (width - 1) / step + 1);
    }
}

void useRegions(const DsSurface& surface, FuzzInput& input) {
    DsEllipse ellipse({input.take<float>(), input.take<float>()},
                      {input.take<float>(), input.take<float>()});
    DsRect rect = takeRect(input);
    ellipse.mapToSurface(surface);
    rect.mapToSurface(surface);
    rect.moveBy({input.take<float>(), input.take<float>()});
    ellipse.verticalSpanAt(input.take<float>());
    const auto angle = input.take<float>();
    // Callers must avoid small negative angles: the loop over the axes does not end.
    if (!(angle < 0.0F && std::fmod(angle, 360.0F) > -1.0F)) {
        ellipse.arcBounds(input.flag(), input.take<float>(), angle);
    }
    DsPoint point;
    roundPoint(point, ellipse.pointAt(angle));
}

// One operation that respects the clip, because `target` may be a sub-surface.
void drawInsideClip(DsSurface& target, const DsSurface& source, FuzzInput& input) {
    switch (input.take<uint8_t>() % 6) {
    case 0:
        target.setPixel(takePosition(input), takePosition(input), input.take<uint32_t>());
        break;
    case 1:
        target.fill(input.take<uint32_t>());
        break;
    case 2:
        target.blit(takePosition(input), takePosition(input), source, input.take<uint8_t>() % 4,
                    input.take<uint32_t>());
        break;
    case 3:
        target.blend(takePosition(input), takePosition(input), source, input.take<uint8_t>() % 4,
                     input.take<uint32_t>());
        break;
    case 4:
        target.blendAligned(source, input.take<uint8_t>() % 4, input.take<uint32_t>(),
                            takeRect(input), input.take<uint8_t>(), takePosition(input),
                            takePosition(input));
        break;
    default:
        useRegions(target, input);
        break;
    }
}

// At the same position: copies support no other overlap.
void copyOntoItself(DsSurface& target, FuzzInput& input) {
    const uint32_t alphaMode = input.take<uint8_t>() % 4;
    if (input.flag()) {
        target.blit(0, 0, target, alphaMode, input.take<uint32_t>());
    } else {
        target.blend(0, 0, target, alphaMode, input.take<uint32_t>());
    }
}

void drawAnywhere(DsSurface& target, const DsSurface& source, FuzzInput& input) {
    switch (input.take<uint8_t>() % 8) {
    case 0:
        target.setClip(takeRect(input));
        break;
    case 1:
        target.resetClip();
        break;
    case 2:
        target.invert();
        break;
    case 3: {
        const auto flags = input.take<uint8_t>();
        target.replaceColor(input.take<uint32_t>(), flags & 1, flags & 2, flags & 4, flags & 8,
                            input.take<uint32_t>(), flags & 16, flags & 32, flags & 64,
                            flags & 128);
        break;
    }
    case 4:
        if (isAtLeastAsLarge(source, target)) {
            const auto flags = input.take<uint8_t>();
            target.copyChannels(source, flags & 1, flags & 2, flags & 4, flags & 8);
        }
        break;
    case 5:
        if (isAtLeastAsLarge(source, target) && source.getColorMode() == DsColorMode::A8) {
            target.replaceAlpha(source);
        }
        break;
    case 6:
        paintSpan(target, input);
        break;
    default: {
        DsSurface part(target, takeRect(input));
        drawInsideClip(part, source, input);
        break;
    }
    }
}

// The rotated pixels of an owning surface of the same size and mode, filled with the first bytes of the
// target.
GuardedBytes rotatedPixels(const DsSurface& target) {
    DsSurface copy(target.getWidth(), target.getHeight(), 0, target.getColorMode(), 0, 0,
                   allocateGuarded, freeGuarded, 1, 0);
    if (copy.getDataSize() != 0) {
        std::memcpy(copy.getPixels(), target.getPixels(), copy.getDataSize());
    }
    copy.rotate(90);
    return {copy.getPixels(), copy.getPixels() + copy.getDataSize()};
}

GuardedBytes draw(FuzzInput input) {
    GuardedBytes targetFile = takeSurfaceFile(input);
    GuardedBytes sourceFile = takeSurfaceFile(input);
    DsSurface target(targetFile.data());
    const DsSurface source(sourceFile.data());
    for (int i = 0; i < kMaxOperations && input.size() > 0; ++i) {
        if (input.flag()) {
            drawInsideClip(target, source, input);
        } else if (input.flag()) {
            copyOntoItself(target, input);
        } else {
            drawAnywhere(target, source, input);
        }
    }
    const GuardedBytes pixels = rotatedPixels(target);
    targetFile.insert(targetFile.end(), pixels.begin(), pixels.end());
    return targetFile;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const FuzzInput input(bytes, size);
    const std::string_view scalar = "scalar";
    ds_detail::selectBackend(scalar);
    const GuardedBytes expected = draw(input);
    for (const ds_detail::Backend& backend : ds_detail::backends()) {
        if (backend.name != scalar && ds_detail::selectBackend(backend.name)) {
            require(draw(input) == expected);
        }
    }
    return 0;
}
