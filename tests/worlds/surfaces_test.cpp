// Drawing on small surfaces: every clip, every position and every rotation of both sides, for fill, blit and blend, and
// rotations of every small size, on every backend, against the drawing model.
#include "src/ds_surface.h"
#include "tests/src/drawing_model.h"
#include "tests/src/pixel_model.h"
#include "tests/src/surface_makers.h"
#include "tests/support/each_backend.h"
#include "tests/support/same_bytes.h"
#include "tests/worlds/world.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <ostream>
#include <sstream>
#include <string>

namespace {

using Mode = DsColorMode;

constexpr uint32_t kColor = 0x60D0A080;

struct Size {
    int32_t width, height; // as the caller sees them
};

std::ostream& operator<<(std::ostream& stream, const DsRect& area) {
    return stream << "(" << area.mX << ", " << area.mY << ", " << area.mWidth << ", "
                  << area.mHeight << ")";
}

// A surface of noise that is drawn on, and its model.
class Canvas {
public:
    Canvas(World& world, const Size& size, Mode mode, uint32_t rotation)
        : mWorld(world)
        , mSize(size)
        , mSurface(makeSurface(size.width, size.height, mode, 4, rotation, 3))
        , mNoise(fillWithNoise(mSurface, 11))
        , mBlank(mSurface) {}

    const Size& size() const { return mSize; }

    // Draws by the model, and the same on the surface with each backend. The functions get what they draw on.
    template <typename DrawModel, typename DrawSurface>
    testing::AssertionResult isDrawnAsModelled(const DsRect& clip, DrawModel drawModel,
                                               DrawSurface drawSurface) {
        ModelPicture expected = mBlank;
        drawModel(expected);
        testing::AssertionResult result = testing::AssertionSuccess();
        forEachBackend([&] {
            if (result) {
                std::memcpy(mSurface.getPixels(), mNoise.data(), mNoise.size());
                mSurface.setClip(clip);
                drawSurface(mSurface);
                result = same_pixels(expected.buffer(), pixelBuffer(mSurface), layout_of(mSurface));
                mWorld.count();
                if (!result) {
                    result << ", " << words(clip);
                }
            }
        });
        return result;
    }

private:
    std::string words(const DsRect& clip) const {
        std::ostringstream text;
        text << "backend " << ds_detail::backends()[ds_detail::activeBackend()].name << ", "
             << modeName(mSurface.getColorMode()) << ", " << mSize.width << " x " << mSize.height
             << ", rotation " << mSurface.getRotation() << ", clip " << clip;
        return text.str();
    }

    World& mWorld;
    TrackedBuffers mBuffers;
    Size mSize;
    DsSurface mSurface;
    byte_vector mNoise;
    ModelPicture mBlank;
};

// Calls `check` with every rectangle that starts at most one pixel before a surface and ends at most one pixel after it,
// the empty ones included, until a failure. A unit is a rectangle.
template <typename Check>
void forEachClip(World& world, const Size& size, Check check) {
    for (int32_t y = -1; y <= size.height; ++y) {
        for (int32_t x = -1; x <= size.width; ++x) {
            for (int32_t height = 0; y + height <= size.height + 1; ++height) {
                for (int32_t width = 0; x + width <= size.width + 1; ++width) {
                    if (world.includesNext() && !testing::Test::HasFailure()) {
                        check(DsRect{x, y, width, height});
                    }
                }
            }
        }
    }
}

// ---- Fill

class FillWorld : public testing::TestWithParam<Mode> {};

INSTANTIATE_TEST_SUITE_P(EveryMode, FillWorld, testing::ValuesIn(kModesWithPixels),
                         [](const auto& test) { return modeName(test.param); });

void expectFills(World& world, const Size& size, Mode mode, uint32_t rotation) {
    Canvas canvas(world, size, mode, rotation);
    forEachClip(world, size, [&](const DsRect& clip) {
        ASSERT_TRUE(canvas.isDrawnAsModelled(
            clip,
            [&](ModelPicture& picture) {
                for (const ModelPoint& p : picture.pixels()) {
                    if (modelArea(clip).holds(p)) {
                        picture.set(p, modelEncode(mode, modelColor(kColor)));
                    }
                }
            },
            [](DsSurface& surface) { surface.fill(kColor); }));
    });
}

TEST_P(FillWorld, EqualsTheModelForEveryClipAndRotation) {
    World world("surfaces, fill " + modeName(GetParam()));
    for (const uint32_t rotation : kRotations) {
        for (int32_t width = 1; width <= 5; ++width) {
            for (int32_t height = 1; height <= 4; ++height) {
                expectFills(world, {width, height}, GetParam(), rotation);
            }
        }
        // Rows of several registers.
        expectFills(world, {70, 1}, GetParam(), rotation);
        expectFills(world, {1, 70}, GetParam(), rotation);
    }
}

// ---- Blit and blend

struct Copy {
    Mode target, source;
    uint32_t alphaMode;
};

constexpr Copy kCopies[] = {{Mode::ARGB8888, Mode::ARGB8888, 0},
                            {Mode::ARGB8888, Mode::A8, 2},
                            {Mode::RGB888, Mode::ARGB8888, 1},
                            {Mode::RGB565, Mode::A8, 0},
                            {Mode::I8, Mode::I8, 0}};

std::string words(const Copy& copy) {
    return modeName(copy.source) + "_to_" + modeName(copy.target);
}

void PrintTo(const Copy& copy, std::ostream* stream) {
    *stream << words(copy) << ", alpha mode " << copy.alphaMode;
}

class CopyWorld : public testing::TestWithParam<Copy> {};

INSTANTIATE_TEST_SUITE_P(SomeModes, CopyWorld, testing::ValuesIn(kCopies),
                         [](const auto& test) { return words(test.param); });

// Both copies of a source to one position.
testing::AssertionResult isCopiedAsModelled(Canvas& canvas, const DsRect& clip,
                                            const ModelPoint& position, const DsSurface& source,
                                            uint32_t alphaMode) {
    using DrawSource =
        void (DsSurface::*)(int32_t x, int32_t y, const DsSurface&, uint32_t, uint32_t);
    constexpr struct {
        const char* name;
        DrawSource draw;
        ModelCopyRule rule;
    } kOperations[] = {{"blit", &DsSurface::blit, &ModelCopy::converted},
                       {"blend", &DsSurface::blend, &ModelCopy::blended}};
    for (const auto& [name, draw, rule] : kOperations) {
        testing::AssertionResult result = canvas.isDrawnAsModelled(
            clip,
            [&, copyRule = rule](ModelPicture& picture) {
                copyByModel(picture, modelArea(clip), position, source, copyRule, alphaMode,
                            kColor);
            },
            [&, drawSource = draw](DsSurface& surface) {
                (surface.*drawSource)(static_cast<int32_t>(position.x),
                                      static_cast<int32_t>(position.y), source, alphaMode, kColor);
            });
        if (!result) {
            return result << ", " << name << " at (" << position.x << ", " << position.y
                          << "), source rotation " << source.getRotation() << ", stored "
                          << source.getWidth() << " x " << source.getHeight();
        }
    }
    return testing::AssertionSuccess();
}

// Every position from which the source reaches the target, and one pixel more on each side.
void expectCopies(World& world, Canvas& canvas, const Copy& copy, const DsSurface& source) {
    int32_t width = 0, height = 0;
    source.getSize(width, height);
    forEachClip(world, canvas.size(), [&](const DsRect& clip) {
        for (int32_t y = -height; y <= canvas.size().height; ++y) {
            for (int32_t x = -width; x <= canvas.size().width; ++x) {
                ASSERT_TRUE(isCopiedAsModelled(canvas, clip, {x, y}, source, copy.alphaMode));
            }
        }
    });
}

TEST_P(CopyWorld, EqualsTheModelForEveryClipPositionAndRotation) {
    std::ostringstream name;
    name << "surfaces, " << words(GetParam());
    World world(name.str());
    for (const uint32_t rotation : kRotations) {
        Canvas canvas(world, {3, 2}, GetParam().target, rotation);
        for (const uint32_t sourceRotation : kRotations) {
            for (int32_t width = 1; width <= 3; ++width) {
                for (int32_t height = 1; height <= 3; ++height) {
                    const TightSurface source(width, height, GetParam().source, sourceRotation, 5);
                    expectCopies(world, canvas, GetParam(), source.surface);
                }
            }
        }
    }
}

// Rows that reach the SIMD loops.
TEST_P(CopyWorld, EqualsTheModelForEveryClipAndPositionOfLongRows) {
    std::ostringstream name;
    name << "surfaces, long rows " << words(GetParam());
    World world(name.str());
    for (const uint32_t rotation : kRotations) {
        const bool isUpright = rotation % 180 == 0; // the stored array has one row
        const Size size = isUpright ? Size{19, 1} : Size{1, 19};
        Canvas canvas(world, size, GetParam().target, rotation);
        const TightSurface source(19, 1, GetParam().source, rotation, 5);
        expectCopies(world, canvas, GetParam(), source.surface);
    }
}

// ---- Rotation of the stored pixels

class RotateWorld : public testing::TestWithParam<Mode> {};

INSTANTIATE_TEST_SUITE_P(EveryPixelSize, RotateWorld,
                         testing::Values(Mode::I8, Mode::RGB565, Mode::RGB888, Mode::ARGB8888),
                         [](const auto& test) { return modeName(test.param); });

// The surface keeps its picture in caller coordinates.
void expectSamePictureAfterRotation(const Size& size, Mode mode, uint32_t alignment) {
    TrackedBuffers buffers;
    DsSurface surface = makeSurface(size.width, size.height, mode, alignment);
    fillWithNoise(surface, 7);
    const ModelPicture before(surface);
    surface.rotate(90);
    const ModelPicture after(surface);
    ASSERT_EQ(surface.getRotation(), 90U);
    ASSERT_EQ(before.pixels().size(), after.pixels().size());
    for (const ModelPoint& p : before.pixels()) {
        ASSERT_EQ(before.get(p), after.get(p))
            << modeName(mode) << ", " << size.width << " x " << size.height << ", alignment "
            << alignment << ", row " << p.y << ", column " << p.x << " before the rotation";
    }
}

TEST_P(RotateWorld, KeepsThePictureOfEverySmallSize) {
    World world("surfaces, rotate " + modeName(GetParam()));
    for (int32_t width = 1; width <= 70; ++width) { // a unit is a size
        for (int32_t height = 1; height <= 70; ++height) {
            if (!world.includesNext()) {
                continue;
            }
            for (const uint32_t alignment : {1U, 4U, 32U}) {
                forEachBackend([&] {
                    expectSamePictureAfterRotation({width, height}, GetParam(), alignment);
                    world.count();
                });
            }
        }
    }
}

} // namespace
