// Pixels, fills and copies on whole surfaces: all rotations, clips, modes and alpha modes, compared with
// drawing pixel by pixel in the caller's coordinates, also at the ends of the number range.
#include "src/ds_surface.h"
#include "tests/src/drawing_model.h"
#include "tests/src/surface_makers.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <sys/mman.h>
#include <utility>

namespace {

using Mode = DsColorMode;

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr int32_t kExtremes[] = {kMin, kMin + 1, kMin + 9, -1, 0, 3, kMax - 9, kMax - 1, kMax};

int32_t randomInt(test_rng& random, int32_t low, int32_t high) {
    return low + static_cast<int32_t>(random_between(random, 0, static_cast<uint32_t>(high - low)));
}

DsRect randomRect(test_rng& random, int32_t reach) {
    return {randomInt(random, -reach, reach), randomInt(random, -reach, reach),
            randomInt(random, -2, 2 * reach), randomInt(random, -2, 2 * reach)};
}

// A surface of noise with a clip, and its model.
struct Scene {
    Scene(int32_t width, int32_t height, Mode mode, uint32_t rotation, test_rng& random)
        : target(makeSurface(width, height, mode, 1U << random() % 5, rotation, random() % 9))
        , picture(target) {
        fillWithNoise(target, random());
        picture = ModelPicture(target);
    }

    void setClip(const DsRect& area) {
        target.setClip(area);
        clip = modelArea(area);
    }
    void setRandomClip(test_rng& random, int32_t reach) {
        if (random() % 3 != 0) {
            setClip(randomRect(random, reach));
        }
    }
    testing::AssertionResult isAsExpected() const {
        return same_pixels(picture.buffer(), pixelBuffer(target), layout_of(target))
               << ", " << modeName(target.getColorMode()) << ", rotation " << target.getRotation();
    }

    TrackedBuffers buffers;
    DsSurface target;
    ModelPicture picture;
    ModelArea clip = {kMin, kMin, int64_t{1} << 32, int64_t{1} << 32};
};

// Sizes of up to 20 by 20, or long rows that reach the SIMD loops.
struct Size {
    int32_t width, height;
};

Size randomSize(test_rng& random) {
    if (random() % 4 == 0) {
        return {randomInt(random, 1, 70), randomInt(random, 1, 4)};
    }
    return {randomInt(random, 1, 20), randomInt(random, 1, 20)};
}

// ---- setPixel

TEST(SetPixel, WritesOnePixelInsideTheClipInEveryModeAndRotation) {
    test_rng random(101);
    for (const Mode mode : kAllModes) {
        for (const uint32_t rotation : kRotations) {
            Scene scene(5, 4, mode, rotation, random);
            scene.setRandomClip(random, 5);
            for (int round = 0; round < 60; ++round) {
                const int32_t x = randomInt(random, -2, 7), y = randomInt(random, -2, 7);
                const uint32_t color = random();
                scene.target.setPixel(x, y, color);
                if (scene.clip.holds({x, y}) && scene.picture.holds({x, y})) {
                    scene.picture.set({x, y}, modelEncode(mode, modelColor(color)));
                }
                ASSERT_TRUE(scene.isAsExpected())
                    << "set (" << x << ", " << y << "), round " << round;
            }
        }
    }
}

TEST(SetPixel, IncludesTheFirstPixelOfTheClipAndExcludesTheEnd) {
    test_rng random(102);
    Scene scene(8, 6, Mode::I8, 0, random);
    scene.setClip({2, 1, 3, 2});
    scene.target.setPixel(2, 1, 0x11000000);
    scene.picture.set({2, 1}, 0x11);
    scene.target.setPixel(4, 2, 0x22000000);
    scene.picture.set({4, 2}, 0x22);
    for (const auto& [x, y] : {std::pair{5, 1}, {2, 3}, {1, 1}, {2, 0}}) {
        scene.target.setPixel(x, y, 0x33000000);
    }
    EXPECT_TRUE(scene.isAsExpected());
}

TEST(SetPixel, WritesNothingAtTheEndsOfTheNumberRange) {
    test_rng random(103);
    for (const uint32_t rotation : kRotations) {
        Scene scene(5, 4, Mode::ARGB8888, rotation, random);
        for (const int32_t far : {kMin, kMin + 1, kMin + 4, kMax - 4, kMax - 1, kMax}) {
            for (const int32_t near : {0, 3, far}) {
                scene.target.setPixel(far, near, 0xFFFFFFFF);
                scene.target.setPixel(near, far, 0xFFFFFFFF);
            }
        }
        EXPECT_TRUE(scene.isAsExpected());
    }
}

TEST(SetPixel, TreatsAnUnknownRotationAsNone) {
    test_rng random(104);
    Scene scene(5, 4, Mode::I8, 45, random);
    scene.target.setPixel(3, 1, 0x99000000);
    scene.picture.set({3, 1}, 0x99);
    EXPECT_TRUE(scene.isAsExpected());
}

// ---- fill

TEST(Fill, WritesTheClipInEveryModeAndRotation) {
    test_rng random(111);
    for (const Mode mode : kAllModes) {
        for (const uint32_t rotation : kRotations) {
            for (int round = 0; round < 20; ++round) {
                const Size size = randomSize(random);
                Scene scene(size.width, size.height, mode, rotation, random);
                scene.setRandomClip(random, 20);
                const uint32_t color = random();
                scene.target.fill(color);
                for (const ModelPoint& p : scene.picture.pixels()) {
                    if (scene.clip.holds(p)) {
                        scene.picture.set(p, modelEncode(mode, modelColor(color)));
                    }
                }
                ASSERT_TRUE(scene.isAsExpected()) << "round " << round;
            }
        }
    }
}

TEST(Fill, WritesNothingThroughAnEmptyClip) {
    test_rng random(112);
    for (const uint32_t rotation : kRotations) {
        for (const DsRect& area :
             {DsRect(2, 2, 0, 3), DsRect(2, 2, 3, 0), DsRect(2, 2, -1, -1), DsRect(50, 2, 3, 3),
              DsRect(-50, 2, 3, 3), DsRect(kMax, kMax, kMax, kMax),
              DsRect(kMin, kMin, kMax, kMax)}) {
            Scene scene(7, 5, Mode::RGB888, rotation, random);
            scene.setClip(area);
            scene.target.fill(0xFFFFFFFF);
            EXPECT_TRUE(scene.isAsExpected()) << "clip " << area.mWidth << " x " << area.mHeight
                                              << " at (" << area.mX << ", " << area.mY << ")";
        }
    }
}

TEST(Fill, CoversEverythingThroughAHugeClip) {
    test_rng random(113);
    for (const uint32_t rotation : kRotations) {
        Scene scene(7, 5, Mode::A8, rotation, random);
        scene.setClip({kMin / 2, kMin / 2, kMax, kMax});
        scene.target.fill(0x80);
        for (const ModelPoint& p : scene.picture.pixels()) {
            scene.picture.set(p, 0x80);
        }
        EXPECT_TRUE(scene.isAsExpected());
    }
}

TEST(Fill, WritesNothingInModesWithoutPixels) {
    for (const Mode mode : kModesWithoutPixels) {
        byte_vector file = makeFileHeader(0, mode, 4, 4, 16);
        append(file, byte_vector(64, 9));
        DsSurface view(file.data());
        view.fill(0xFFFFFFFF);
        view.setPixel(1, 1, 0xFFFFFFFF);
        view.invert();
        EXPECT_TRUE(same_bytes(byte_vector(64, 9), slice(file, 20, 64))) << modeName(mode);
    }
}

// ---- blit and blend

using CopyOperation = void (DsSurface::*)(int32_t, int32_t, const DsSurface&, uint32_t, uint32_t);

struct Copying {
    CopyOperation run;
    ModelCopyRule rule;
};

constexpr Copying kBlit = {&DsSurface::blit, &ModelCopy::converted};
constexpr Copying kBlendOver = {&DsSurface::blend, &ModelCopy::blended};

void expectCopyAt(Scene& scene, const Copying& copying, const ModelPoint& position,
                  const DsSurface& source, uint32_t alphaMode, uint32_t color) {
    // The model draws first, because the source may be the target.
    copyByModel(scene.picture, scene.clip, position, source, copying.rule, alphaMode, color);
    (scene.target.*copying.run)(static_cast<int32_t>(position.x), static_cast<int32_t>(position.y),
                                source, alphaMode, color);
    EXPECT_TRUE(scene.isAsExpected())
        << modeName(source.getColorMode()) << ", rotation " << source.getRotation() << ", "
        << source.getWidth() << " x " << source.getHeight() << " as stored, drawn at ("
        << position.x << ", " << position.y << "), alpha mode " << alphaMode << ", color 0x"
        << std::hex << color;
}

// One copy of random sizes at a random position.
void expectRandomCopy(const Copying& copying, Mode targetMode, Mode sourceMode,
                      uint32_t targetRotation, uint32_t sourceRotation, test_rng& random) {
    const Size size = randomSize(random);
    const Size sourceSize = randomSize(random);
    Scene scene(size.width, size.height, targetMode, targetRotation, random);
    scene.setRandomClip(random, 20);
    const TightSurface source(sourceSize.width, sourceSize.height, sourceMode, sourceRotation,
                              random());
    expectCopyAt(scene, copying, {randomInt(random, -12, 20), randomInt(random, -12, 20)},
                 source.surface, kAlphaModes[random() % 5], random());
}

void expectCopiesBetweenAllModes(const Copying& copying, uint32_t seed) {
    test_rng random(seed);
    for (const Mode target : kAllModes) {
        for (const Mode source : kAllModes) {
            for (const uint32_t rotation : kRotations) {
                expectRandomCopy(copying, target, source, rotation, rotation, random);
            }
        }
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

TEST(Blit, FollowsTheModelInAllModesAndRotations) {
    expectCopiesBetweenAllModes(kBlit, 121);
}

TEST(Blend, FollowsTheModelInAllModesAndRotations) {
    expectCopiesBetweenAllModes(kBlendOver, 122);
}

// Seen by the caller, a copy between surfaces of one rotation does not change a picture.
TEST(Blit, CopiesThePictureAsTheCallerSeesIt) {
    test_rng random(123);
    for (const uint32_t rotation : {0U, 90U, 180U, 270U, 77U}) {
        for (int round = 0; round < 50; ++round) {
            Scene scene(9, 7, Mode::AI88, rotation, random);
            DsSurface source = makeSurface(6, 4, Mode::AI88, 1, rotation);
            fillWithNoise(source, random());
            const ModelPicture shown(source);
            const int32_t x = randomInt(random, -7, 10), y = randomInt(random, -5, 8);
            scene.target.blit(x, y, source, 0, 0);
            for (const ModelPoint& p : shown.pixels()) {
                if (scene.picture.holds({x + p.x, y + p.y})) {
                    scene.picture.set({x + p.x, y + p.y}, shown.get(p));
                }
            }
            ASSERT_TRUE(scene.isAsExpected())
                << "drawn at (" << x << ", " << y << "), round " << round;
        }
    }
}

TEST(Blit, ClipsPixelsLeftOfTheTarget) {
    test_rng random(124);
    Scene scene(6, 1, Mode::I8, 0, random);
    DsSurface source = makeSurface(4, 1, Mode::I8);
    const byte_vector pixels = fillWithNoise(source, 1);
    scene.target.blit(-2, 0, source, 0, 0);
    scene.picture.set({0, 0}, pixels[2]);
    scene.picture.set({1, 0}, pixels[3]);
    EXPECT_TRUE(scene.isAsExpected());
}

TEST(Blit, WritesNothingOutsideTheClip) {
    test_rng random(125);
    for (const uint32_t rotation : kRotations) {
        Scene scene(10, 10, Mode::I8, rotation, random);
        scene.setClip({3, 3, 4, 4});
        const TightSurface source(3, 3, Mode::I8, rotation, 9);
        for (const auto& [x, y] : {std::pair{0, 4}, {7, 4}, {4, 0}, {4, 7}, {-3, -3}, {10, 10}}) {
            scene.target.blit(x, y, source.surface, 0, 0);
            scene.target.blend(x, y, source.surface, 1, 0xFFFFFFFF);
        }
        EXPECT_TRUE(scene.isAsExpected());
    }
}

// Nothing outside the source's stored array is copied. TightSurface and the unchanged bytes show that.
TEST(Copies, StayInsideTheSourceIfRotationsDiffer) {
    test_rng random(126);
    for (const uint32_t targetRotation : kRotations) {
        for (const uint32_t sourceRotation : {0U, 90U, 180U, 270U, 12U}) {
            for (const Mode mode : {Mode::ARGB8888, Mode::RGB565, Mode::A8}) {
                for (int round = 0; round < 10; ++round) {
                    SCOPED_TRACE(testing::Message() << "round " << round);
                    expectRandomCopy(kBlit, Mode::ARGB8888, mode, targetRotation, sourceRotation,
                                     random);
                    expectRandomCopy(kBlendOver, mode, Mode::ARGB8888, targetRotation,
                                     sourceRotation, random);
                }
            }
        }
    }
}

TEST(Copies, DoNotWrapAtTheEndsOfTheNumberRange) {
    test_rng random(127);
    for (const uint32_t rotation : kRotations) {
        Scene scene(6, 5, Mode::AI88, rotation, random);
        const TightSurface source(12, 11, Mode::AI88, rotation, 10);
        for (const int32_t x : kExtremes) {
            for (const int32_t y : kExtremes) {
                expectCopyAt(scene, kBlit, {x, y}, source.surface, 0, 0);
                expectCopyAt(scene, kBlendOver, {x, y}, source.surface, 2, 0x80);
            }
        }
    }
}

// Sources with a size but without memory: no pixel of them is inside the target.
TEST(Copies, OfEnormousSourcesDoNotWrapIntoThePicture) {
    test_rng random(128);
    for (const uint32_t rotation : kRotations) {
        Scene scene(6, 5, Mode::I8, rotation, random);
        const SurfaceShape source(rotation, kMax, kMax);
        for (const int32_t far : {kMin, kMin + 1, 6, kMax - 6, kMax}) {
            scene.target.blit(far, 0, source.surface, 0, 0);
            scene.target.blend(0, far, source.surface, 1, 255);
            scene.target.blit(far, far, source.surface, 0, 0);
        }
        EXPECT_TRUE(scene.isAsExpected());
    }
}

// A source of one row of nearly two gigabytes, of which only the outermost pixels are read.
TEST(Copies, ReachTheLastColumnsOfAnEnormousSource) {
    constexpr size_t kHeader = 20;
    const size_t size = kHeader + size_t{kMax};
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(MAP_FAILED, memory);
    auto* file = static_cast<uint8_t*>(memory);
    const byte_vector header = makeFileHeader(0, Mode::I8, kMax, 1, kMax);
    std::copy(header.begin(), header.end(), file);
    std::fill_n(file + size - 4, 4, uint8_t{0xAB});

    test_rng random(129);
    Scene scene(6, 1, Mode::I8, 0, random);
    scene.target.blit(-(kMax - 4), 0, DsSurface(file), 0, 0);
    for (int64_t x = 0; x < 4; ++x) {
        scene.picture.set({x, 0}, 0xAB);
    }
    EXPECT_TRUE(scene.isAsExpected());
    munmap(memory, size);
}

TEST(Copies, OfASurfaceToItselfAtTheSamePositionWork) {
    test_rng random(130);
    for (const Mode mode : kAllModes) {
        for (const uint32_t rotation : kRotations) {
            for (const uint32_t alphaMode : kAlphaModes) {
                for (const Copying& copying : {kBlit, kBlendOver}) {
                    Scene scene(23, 4, mode, rotation, random);
                    scene.setRandomClip(random, 10);
                    expectCopyAt(scene, copying, {0, 0}, scene.target, alphaMode, random());
                    expectCopyAt(scene, copying, {0, 0}, DsSurface(scene.target), alphaMode,
                                 random());
                }
            }
        }
    }
}

TEST(Copies, IgnoreTheClipOfTheSource) {
    test_rng random(131);
    Scene scene(8, 8, Mode::I8, 0, random);
    TightSurface source(5, 5, Mode::I8, 0, 3);
    source.surface.setClip({1, 1, 1, 1});
    expectCopyAt(scene, kBlit, {2, 1}, source.surface, 0, 0);
}

// The hooks have no effect, and palettes are not used.
TEST(Copies, IgnoreThePaletteOfTheSource) {
    test_rng random(132);
    for (const Mode mode : {Mode::I8, Mode::AI88}) {
        Scene scene(6, 6, Mode::ARGB8888, 0, random);
        DsSurface source(4, 4, 0, mode, 1, 256, TrackedBuffers::allocate, TrackedBuffers::release,
                         1, 0);
        fillWithNoise(source, 7);
        const byte_vector palette = make_bytes(data_kind::noise, 1024, 8);
        std::copy(palette.begin(), palette.end(), source.getPalette());
        expectCopyAt(scene, kBlit, {1, 1}, source, 0, 0);
        expectCopyAt(scene, kBlendOver, {-1, -1}, source, 0, 0);
        EXPECT_TRUE(same_bytes(palette, {source.getPalette(), source.getPalette() + 1024}))
            << "palette of " << modeName(mode);
    }
}

TEST(Copies, IgnoreACountOfPaletteEntriesInModesWithoutPalette) {
    test_rng random(134);
    Scene scene(6, 6, Mode::ARGB8888, 0, random);
    DsSurface source(4, 4, 0, Mode::A8, 1, 256, TrackedBuffers::allocate, TrackedBuffers::release,
                     1, 0);
    fillWithNoise(source, 7);
    expectCopyAt(scene, kBlit, {1, 1}, source, 0, 0);
}

TEST(Copies, OfAnEmptySourceDoNothing) {
    test_rng random(133);
    for (const uint32_t rotation : kRotations) {
        Scene scene(6, 6, Mode::ARGB8888, rotation, random);
        for (const auto& [width, height] :
             {std::pair{0, 5}, {5, 0}, {-3, 5}, {5, -3}, {kMin, kMin}, {kMin, 5}}) {
            for (const uint32_t sourceRotation : kRotations) {
                const SurfaceShape source(sourceRotation, width, height);
                scene.target.blit(0, 0, source.surface, 1, 0xFFFFFFFF);
                scene.target.blend(2, 2, source.surface, 1, 0xFFFFFFFF);
                scene.target.blendAligned(source.surface, 1, 0xFFFFFFFF, {0, 0, 6, 6}, 15, 0, 0);
            }
        }
        EXPECT_TRUE(scene.isAsExpected());
    }
}

// There is no memory after these headers, so that AddressSanitizer detects any access.
TEST(EmptySurfaces, AreNotDrawnOn) {
    const TightSurface source(4, 4, Mode::I8, 0, 1);
    for (const uint32_t rotation : kRotations) {
        for (const auto& [width, height] :
             {std::pair{0, 5}, {5, 0}, {-3, 5}, {5, -3}, {kMin, kMin}, {kMin, 5}}) {
            SurfaceShape shape(rotation, width, height);
            DsSurface& surface = shape.surface;
            for (const bool clipped : {false, true}) {
                if (clipped) {
                    surface.setClip({-9, -9, 99, 99});
                }
                surface.fill(0xFFFFFFFF);
                surface.setPixel(0, 0, 0xFFFFFFFF);
                surface.setPixel(-1, -1, 0xFFFFFFFF);
                surface.blit(0, 0, source.surface, 0, 0);
                surface.blend(-1, -1, source.surface, 0, 0);
                surface.blendAligned(source.surface, 0, 0, {0, 0, 4, 4}, 0, 0, 0);
                surface.invert();
                surface.replaceColor(0, false, false, false, false, 0, true, true, true, true);
                surface.copyChannels(source.surface, true, true, true, true);
            }
        }
    }
}

// ---- blendAligned

ModelPoint modelAlignment(const ModelArea& area, int64_t width, int64_t height, uint32_t flags,
                          int64_t dx, int64_t dy) {
    ModelPoint p = {area.x + dx, area.y + dy};
    const auto half = [](int64_t size) { return size >= 0 ? size / 2 : -((1 - size) / 2); };
    if (flags % 4 == 2) {
        p.x = area.x + area.width - width - dx;
    } else if (flags % 4 == 3) {
        p.x = area.x + half(area.width - width) + dx;
    }
    if (flags / 4 % 4 == 2) {
        p.y = area.y + area.height - height - dy;
    } else if (flags / 4 % 4 == 3) {
        p.y = area.y + half(area.height - height) + dy;
    }
    return p;
}

struct Placement {
    DsRect area;
    uint8_t flags;
    int32_t dx, dy;
};

void expectAligned(Scene& scene, const DsSurface& source, const Placement& placement) {
    int32_t width = 0, height = 0;
    source.getSize(width, height);
    const ModelPoint position = modelAlignment(modelArea(placement.area), width, height,
                                               placement.flags, placement.dx, placement.dy);
    scene.target.blendAligned(source, 2, 0x12345680, placement.area, placement.flags, placement.dx,
                              placement.dy);
    copyByModel(scene.picture, scene.clip, position, source, &ModelCopy::blended, 2, 0x12345680);
    const DsRect& area = placement.area;
    EXPECT_TRUE(scene.isAsExpected())
        << width << " x " << height << " aligned in " << area.mWidth << " x " << area.mHeight
        << " at (" << area.mX << ", " << area.mY << "), flags " << int{placement.flags}
        << ", moved by (" << placement.dx << ", " << placement.dy << ")";
}

TEST(BlendAligned, PlacesTheSourceByEveryFlag) {
    test_rng random(141);
    for (const uint32_t rotation : kRotations) {
        for (uint32_t flags = 0; flags < 256; ++flags) {
            const Size size = randomSize(random);
            Scene scene(size.width, size.height, Mode::ARGB8888, rotation, random);
            scene.setRandomClip(random, 20);
            const TightSurface source(randomInt(random, 1, 9), randomInt(random, 1, 9),
                                      Mode::ARGB8888, rotation, random());
            expectAligned(scene, source.surface,
                          {randomRect(random, 12), static_cast<uint8_t>(flags),
                           randomInt(random, -4, 4), randomInt(random, -4, 4)});
        }
    }
}

TEST(BlendAligned, CentersTheKnownExample) {
    test_rng random(142);
    Scene scene(9, 9, Mode::A8, 0, random);
    const TightSurface source(4, 4, Mode::A8, 0, 5);
    scene.target.blendAligned(source.surface, 0, 0, {0, 0, 9, 9}, 3 | 12, 0, 0);
    copyByModel(scene.picture, scene.clip, {2, 2}, source.surface, &ModelCopy::blended, 0, 0);
    EXPECT_TRUE(scene.isAsExpected());
}

// (3 - 6) >> 1 is -2: an odd difference rounds towards minus infinity.
TEST(BlendAligned, CentersALargerSourceTowardsMinusInfinity) {
    test_rng random(143);
    Scene scene(9, 9, Mode::A8, 0, random);
    const TightSurface source(6, 6, Mode::A8, 0, 5);
    scene.target.blendAligned(source.surface, 0, 0, {3, 3, 3, 3}, 3 | 12, 0, 0);
    copyByModel(scene.picture, scene.clip, {1, 1}, source.surface, &ModelCopy::blended, 0, 0);
    EXPECT_TRUE(scene.isAsExpected());
}

TEST(BlendAligned, MovesInwardsFromTheFarEdges) {
    test_rng random(144);
    Scene scene(12, 12, Mode::A8, 0, random);
    const TightSurface source(3, 3, Mode::A8, 0, 5);
    scene.target.blendAligned(source.surface, 0, 0, {0, 0, 12, 12}, 2 | 8, 2, 4);
    copyByModel(scene.picture, scene.clip, {7, 5}, source.surface, &ModelCopy::blended, 0, 0);
    EXPECT_TRUE(scene.isAsExpected());
}

TEST(BlendAligned, DoesNotWrapAtTheEndsOfTheNumberRange) {
    test_rng random(145);
    for (const uint32_t rotation : kRotations) {
        Scene scene(6, 5, Mode::A8, rotation, random);
        const TightSurface source(4, 3, Mode::A8, rotation, 10);
        for (int round = 0; round < 4000; ++round) {
            SCOPED_TRACE(testing::Message() << "round " << round);
            const auto extreme = [&] {
                return static_cast<int32_t>(static_cast<uint32_t>(kExtremes[random() % 9]) +
                                            random() % 3);
            };
            const DsRect area(extreme(), extreme(), extreme(), extreme());
            expectAligned(scene, source.surface,
                          {area, static_cast<uint8_t>(random()), extreme(), extreme()});
            ASSERT_FALSE(HasFailure());
        }
    }
}

// In 32 bits this sum would be 0.
TEST(BlendAligned, DrawsNothingIfThePositionExceedsTheRange) {
    test_rng random(146);
    Scene scene(6, 6, Mode::A8, 0, random);
    const TightSurface source(4, 4, Mode::A8, 0, 5);
    scene.target.blendAligned(source.surface, 1, 255, {kMax, 0, kMax, 6}, 2, -6, 0);
    EXPECT_TRUE(scene.isAsExpected());
}

// ---- invert

// Complements all pixels of a picture.
void invertModel(ModelPicture& picture) {
    for (const ModelPoint& p : picture.pixels()) {
        picture.set(p, ~picture.get(p));
    }
}

TEST(Invert, ComplementsEveryPixelByteAndNoPadding) {
    test_rng random(151);
    for (const Mode mode : kAllModes) {
        for (const uint32_t rotation : kRotations) {
            for (int round = 0; round < 10; ++round) {
                const Size size = randomSize(random);
                Scene scene(size.width, size.height, mode, rotation, random);
                scene.setRandomClip(random, 10); // has no effect
                scene.target.invert();
                invertModel(scene.picture);
                ASSERT_TRUE(scene.isAsExpected()) << "round " << round;
            }
        }
    }
}

TEST(Invert, TwiceRestoresTheSurface) {
    test_rng random(152);
    Scene scene(13, 7, Mode::RGB565, 90, random);
    scene.target.invert();
    EXPECT_FALSE(scene.isAsExpected());
    scene.target.invert();
    EXPECT_TRUE(scene.isAsExpected());
}

} // namespace
