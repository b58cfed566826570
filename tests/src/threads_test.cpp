// Geometry, surfaces and spans in several threads, each with its own data. ThreadSanitizer checks the shared
// data.
#include "src/ds_ellipse.h"
#include "src/ds_surface.h"
#include "src/span_fill.h"
#include "tests/src/surface_makers.h"
#include "tests/support/same_bytes.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 4;
constexpr int32_t kWidth = 64;
constexpr int32_t kHeight = 40;

// Runs the work in several threads at once. Each gets its number.
void runInThreads(const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

byte_vector surfaceFile(DsColorMode mode) {
    const auto stride = static_cast<uint32_t>(kWidth) * bytesPerPixel(mode);
    byte_vector file = makeFileHeader(0, mode, kWidth, kHeight, stride);
    file.resize(file.size() + uint64_t{stride} * kHeight, 0x80);
    return file;
}

TEST(Threads, DrawOnTheirOwnSurfaces) {
    std::vector<byte_vector> files(kThreads, surfaceFile(DsColorMode::ARGB8888));
    const byte_vector sprite = surfaceFile(DsColorMode::RGB565);
    runInThreads([&](int i) {
        byte_vector spriteFile = sprite;
        const DsSurface source(spriteFile.data());
        DsSurface surface(files[static_cast<size_t>(i)].data());
        for (int round = 0; round < 20; ++round) {
            surface.setClip({round, 0, kWidth - round, kHeight});
            surface.fill(0x11223344U);
            surface.blend(round, round, source, 1, 0x80);
            surface.blit(-round, 3, source, 0, 0);
            surface.setPixel(round, round, 0xFFU);
            surface.invert();
        }
    });
    for (size_t i = 1; i < files.size(); ++i) {
        EXPECT_TRUE(same_bytes(files.front(), files[i])) << "threads 0 and " << i;
    }
}

TEST(Threads, ReadOneSurfaceTogether) {
    byte_vector sourceFile = surfaceFile(DsColorMode::RGB888);
    const DsSurface source(sourceFile.data());
    std::vector<byte_vector> files(kThreads, surfaceFile(DsColorMode::RGB565));
    runInThreads([&](int i) {
        DsSurface surface(files[static_cast<size_t>(i)].data());
        surface.blit(0, 0, source, 0, 0);
    });
    for (size_t i = 1; i < files.size(); ++i) {
        EXPECT_TRUE(same_bytes(files.front(), files[i])) << "threads 0 and " << i;
    }
}

TEST(Threads, UseTheirOwnRegions) {
    std::vector<std::vector<float>> spans(kThreads);
    runInThreads([&](int i) {
        DsEllipse ellipse({20, 20}, {15, 10});
        ellipse.moveBy({1, 2});
        const DsRect rect(1, 2, 3, 4);
        for (int32_t row = 0; row < kHeight; ++row) {
            const auto y = static_cast<float>(row);
            spans[static_cast<size_t>(i)].push_back(ellipse.horizontalSpanAt(y).first);
            spans[static_cast<size_t>(i)].push_back(rect.horizontalSpanAt(y).last);
            spans[static_cast<size_t>(i)].push_back(ellipse.arcBounds(true, 10, y).mWidth);
        }
    });
    for (size_t i = 1; i < spans.size(); ++i) {
        for (size_t at = 0; at < spans.front().size(); ++at) {
            EXPECT_EQ(spans.front()[at], spans[i].at(at))
                << "threads 0 and " << i << ", number " << at % 3 << " of row " << at / 3;
        }
    }
}

// The color is shared and must not change. The rows of one array are disjoint.
TEST(Threads, PaintSpansOfOneColorOnDisjointRows) {
    const uint32_t pixelSize = setBlendColor(DsColorMode::ARGB8888, 0x204060FFU);
    constexpr size_t kPixels = kWidth;
    byte_vector rows(kThreads * kPixels * pixelSize, 0x40);
    const byte_vector coverage = make_bytes(data_kind::noise, kPixels, 1);
    runInThreads([&](int i) {
        uint8_t* const row = rows.data() + static_cast<size_t>(i) * kPixels * pixelSize;
        for (int round = 0; round < 50; ++round) {
            blendSpan(row, coverage.data(), kPixels);
            blendSpanStrided(row, 2, coverage.data(), kPixels / 2);
        }
    });
    const size_t rowSize = kPixels * pixelSize;
    for (size_t i = 1; i < kThreads; ++i) {
        EXPECT_TRUE(same_pixels(slice(rows, 0, rowSize), slice(rows, i * rowSize, rowSize),
                                {kPixels, 1, rowSize, pixelSize}))
            << "threads 0 and " << i;
    }
}

} // namespace
