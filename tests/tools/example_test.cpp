// The drawing example, run on files of the converter. Every pixel is compared with a model of the
// drawing.
#include "src/ds_surface.h"
#include "tests/src/drawing_model.h"
#include "tests/support/png_maker.h"
#include "tests/support/same_bytes.h"
#include "tests/tools/converter_test.h"

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace {

constexpr size_t kHeaderSize = 20;
const std::string kSample = PNGSLAB_SOURCE_DIR "/samples/quill.png";

// The colors and shapes of the example.
constexpr ModelColor kBand = {255, 46, 34, 74};
constexpr ModelColor kRing = {160, 255, 216, 150};

struct Ellipse {
    double centerX, centerY, radiusX, radiusY;

    bool holds(double x, double y) const {
        const double dx = (x - centerX) / radiusX, dy = (y - centerY) / radiusY;
        return dx * dx + dy * dy <= 1;
    }

    // The coverage of a pixel, from many points in it.
    double shareOf(const ModelPoint& pixel) const {
        constexpr int kPoints = 32;
        int inside = 0;
        for (int i = 0; i < kPoints * kPoints; ++i) {
            inside += holds(static_cast<double>(pixel.x) + (i % kPoints + 0.5) / kPoints,
                            static_cast<double>(pixel.y) + (i / kPoints + 0.5) / kPoints)
                          ? 1
                          : 0;
        }
        return static_cast<double>(inside) / (kPoints * kPoints);
    }
};

// A picture with band and sprite, before the ellipse.
ModelPicture withBandAndSprite(byte_vector& pictureFile, byte_vector& spriteFile) {
    const DsSurface surface(pictureFile.data());
    const DsSurface sprite(spriteFile.data());
    ModelPicture picture(surface);
    const DsRect bounds = surface.getBounds();
    const int32_t bandTop = bounds.mHeight - bounds.mHeight / 8;
    for (const ModelPoint& p : picture.pixels()) {
        if (p.y >= bandTop) {
            picture.set(p, modelEncode(picture.mode(), kBand));
        }
    }
    const DsRect spriteBounds = sprite.getBounds();
    copyByModel(
        picture, modelArea(bounds),
        {bounds.mWidth - spriteBounds.mWidth - 4, bounds.mHeight - spriteBounds.mHeight - 4},
        sprite, &ModelCopy::blended, 0, 0);
    return picture;
}

// Whether `after` is `before` with the ring's color painted through a coverage near `share`.
bool isPainted(DsColorMode mode, uint32_t before, uint32_t after, double share) {
    // The example samples eight horizontal lines per row, so its coverage is nearly exact.
    const double tolerance = share == 0 || share == 1 ? 0.005 : 0.07;
    for (uint32_t coverage = 0; coverage < 256; ++coverage) {
        if (std::fabs(coverage / 255.0 - share) <= tolerance &&
            modelPainted(mode, before, coverage, modelWord(kRing)) == after) {
            return true;
        }
    }
    // A pixel with hardly any coverage may get none. Then it does not change.
    return share <= tolerance && after == before;
}

// The numbers of pixels inside the ellipse, outside, and on its edge.
struct Counts {
    int inside = 0, outside = 0, edge = 0;
};

// Expects the ellipse on a picture, and no other change.
Counts expectEllipse(const ModelPicture& before, const ModelPicture& after,
                     const Ellipse& ellipse) {
    Counts counts;
    for (const ModelPoint& p : before.pixels()) {
        const double share = ellipse.shareOf(p);
        EXPECT_TRUE(isPainted(before.mode(), before.get(p), after.get(p), share))
            << "row " << p.y << ", column " << p.x << ", " << modeName(before.mode())
            << ": before the ellipse 0x" << std::hex << before.get(p) << ", got 0x" << after.get(p)
            << ", share of the ellipse " << share;
        ++(share == 0 ? counts.outside : share == 1 ? counts.inside : counts.edge);
    }
    return counts;
}

class Example : public ConverterTest {
protected:
    ProgramOutcome draw(const std::vector<std::string>& names) const {
        std::vector<std::string> arguments;
        for (const std::string& name : names) {
            arguments.push_back(path(name).string());
        }
        return runProgram(PNGSLAB_EXAMPLE, arguments, "/");
    }

    void expectEnd(int exitStatus, const std::string& output,
                   const std::vector<std::string>& names) const {
        const ProgramOutcome outcome = draw(names);
        EXPECT_EQ(exitStatus, outcome.exitStatus);
        EXPECT_EQ(output, outcome.output);
        EXPECT_EQ("", outcome.errors);
    }

    // Converts an image. Options come after the names.
    byte_vector convert(const std::string& image, const std::string& output,
                        const std::vector<std::string>& options) const {
        std::vector<std::string> arguments = {"--image", image, "--output", output};
        arguments.insert(arguments.end(), options.begin(), options.end());
        EXPECT_EQ(0, run(arguments).exitStatus);
        return read(output);
    }

    // Draws the sprite's file on the picture's and compares every byte.
    Counts expectDrawing(byte_vector before, byte_vector sprite) const {
        write("picture", before);
        write("sprite", sprite);
        expectEnd(0, "", {"picture", "sprite"});
        byte_vector after = read("picture");
        EXPECT_EQ(before.size(), after.size());
        EXPECT_EQ(slice(before, 0, kHeaderSize), slice(after, 0, kHeaderSize));
        EXPECT_TRUE(same_bytes(sprite, read("sprite")));

        const DsSurface surface(after.data());
        const DsRect bounds = surface.getBounds();
        const double w = bounds.mWidth, h = bounds.mHeight;
        return expectEllipse(withBandAndSprite(before, sprite), ModelPicture(surface),
                             {w * 0.3, h * 0.3, w * 0.2, h * 0.15});
    }

    // Draws on the sample with a sprite, both converted with the same options.
    void expectDrawingOnSample(const byte_vector& spriteImage,
                               const std::vector<std::string>& options) const {
        write("sprite.png", spriteImage);
        const Counts counts = expectDrawing(convert(kSample, "picture", options),
                                            convert("sprite.png", "sprite", options));
        EXPECT_GT(counts.inside, 1500);
        EXPECT_GT(counts.edge, 100);
        EXPECT_GT(counts.outside, 15000);
    }

    void expectRefused(const byte_vector& file) const {
        const byte_vector good = makeSurfaceFile();
        write("bad", file);
        write("good", good);
        expectEnd(1, "not a surface file\n", {"bad", "good"});
        expectEnd(1, "not a surface file\n", {"good", "bad"});
        EXPECT_TRUE(same_bytes(good, read("good")));
        EXPECT_TRUE(same_bytes(file, read("bad")));
    }

    // 4 by 3 ARGB8888 pixels.
    static byte_vector makeSurfaceFile() {
        byte_vector file = makeFileHeader(0, DsColorMode::ARGB8888, 4, 3, 16);
        append(file, make_bytes(data_kind::noise, 48, 1));
        return file;
    }
};

TEST_F(Example, DrawsBandSpriteAndEllipseAndNothingElse) {
    expectDrawingOnSample(png().rgba(30, 22).bytes(), {});
}

TEST_F(Example, DrawsTheSameOnARotatedPicture) {
    expectDrawingOnSample(png().rgba(30, 22).bytes(), {"--rotation", "90"});
}

TEST_F(Example, BlendsSpritesOfOtherModes) {
    expectDrawingOnSample(png().rgb(12, 9).bytes(), {});
    expectDrawingOnSample(png().gray_alpha(12, 9).bytes(), {});
    expectDrawingOnSample(png().gray(12, 9).bytes(), {});
}

TEST_F(Example, ClipsASpriteThatIsLargerThanThePicture) {
    expectDrawingOnSample(png().rgba(200, 150).bytes(), {});
}

// The top of the ellipse, at 1.95, is below all lines that the example samples in row 1.
TEST_F(Example, DoesNotChangeRowsWithHardlyAnyCoverage) {
    byte_vector picture = makeFileHeader(0, DsColorMode::ARGB8888, 30, 13, 120);
    append(picture, make_bytes(data_kind::noise, 120 * 13, 2));
    expectDrawing(picture, makeSurfaceFile());
}

TEST_F(Example, RunsOnPicturesOfEveryModeAndSize) {
    write("sprite", makeSurfaceFile());
    uint32_t round = 0;
    for (const DsColorMode mode : kModesWithPixels) {
        for (uint32_t size = 1; size <= 40; size += 1 + size / 8) {
            const uint32_t stride = size * modelPixelSize(mode);
            byte_vector file =
                makeFileHeader(kRotations[round++ % 4], mode, size, size + 1, stride);
            append(file, byte_vector(size_t{stride} * (size + 1), 200));
            SCOPED_TRACE(modeName(mode) + ", width " + std::to_string(size));
            write("picture", file);
            expectEnd(0, "", {"picture", "sprite"});
            const byte_vector after = read("picture");
            EXPECT_EQ(file.size(), after.size());
            EXPECT_EQ(slice(file, 0, kHeaderSize), slice(after, 0, kHeaderSize));
        }
    }
}

TEST_F(Example, PrintsItsUsageWithoutTwoFiles) {
    const std::string usage = "usage: draw_on_surface PICTURE.surface SPRITE.surface\n";
    write("a", makeSurfaceFile());
    expectEnd(2, usage, {});
    expectEnd(2, usage, {"a"});
    expectEnd(2, usage, {"a", "a", "a"});
    EXPECT_TRUE(same_bytes(makeSurfaceFile(), read("a")));
}

TEST_F(Example, RejectsMissingFiles) {
    write("good", makeSurfaceFile());
    expectEnd(1, "not a surface file\n", {"missing", "good"});
    expectEnd(1, "not a surface file\n", {"good", "missing"});
    expectEnd(1, "not a surface file\n", {"", "good"});
    EXPECT_TRUE(same_bytes(makeSurfaceFile(), read("good")));
    EXPECT_FALSE(exists("missing"));
}

TEST_F(Example, RejectsTruncatedFiles) {
    for (const size_t size : {0U, 1U, 19U, 20U, 21U, 67U}) {
        SCOPED_TRACE(testing::Message() << size << " bytes");
        expectRefused(slice(makeSurfaceFile(), 0, size));
    }
}

TEST_F(Example, RejectsHeadersWithoutPixels) {
    using Mode = DsColorMode;
    const auto expectRejection = [&](Mode mode, uint32_t width, uint32_t height, uint32_t stride) {
        byte_vector file = makeFileHeader(0, mode, width, height, stride);
        append(file, byte_vector(100, 1));
        SCOPED_TRACE(testing::Message() << modeName(mode) << ", " << width << " x " << height
                                        << ", stride " << stride);
        expectRefused(file);
    };
    for (const Mode mode : kModesWithoutPixels) {
        expectRejection(mode, 4, 3, 16);
    }
    expectRejection(Mode::ARGB8888, 0, 3, 16);
    expectRejection(Mode::ARGB8888, 4, 0, 16);
    expectRejection(Mode::ARGB8888, 4, 3, 15);
    expectRejection(Mode::I8, 0x80000000, 1, 0x80000000);
    expectRejection(Mode::I8, 1, 0xFFFFFFFF, 1);
    expectRejection(Mode::ARGB8888, 0x40000001, 1, 4);
    expectRejection(Mode::I8, 1, 0x10000, 0x10001);
}

} // namespace
