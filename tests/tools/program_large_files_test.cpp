// The built program with files of more than 2 GiB, for which a signed 32-bit offset would be negative.
// Both inputs are small on disk.
#include "tests/support/deflate_maker.h"
#include "tests/support/png_maker.h"
#include "tests/support/same_bytes.h"
#include "tests/tools/converter_test.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <zlib.h>

namespace {

constexpr uint64_t kGiB = uint64_t{1} << 30;

// The available memory.
uint64_t availableMemory() {
    std::ifstream info("/proc/meminfo");
    std::string name, unit;
    for (uint64_t kibibytes = 0; info >> name >> kibibytes; std::getline(info, unit)) {
        if (name == "MemAvailable:") {
            return kibibytes << 10;
        }
    }
    return 0;
}

class ProgramLargeFiles : public ConverterTest {
protected:
    bool hasRoom(uint64_t memory, uint64_t disk) const {
        return availableMemory() >= memory && std::filesystem::space(path("")).available >= disk;
    }
};

// The CRC of a chunk's name and `count` zeros after it.
uint32_t crcOfZeros(const std::string& name, uint64_t count) {
    uLong crc =
        crc32(0, reinterpret_cast<const Bytef*>(name.data()), static_cast<uInt>(name.size()));
    const Bytef zero = 0;
    uLong zeros = crc32(0, &zero, 1); // the CRC of 2^i zeros
    for (uint64_t size = 1; size <= count; size *= 2) {
        if ((count & size) != 0) {
            crc = crc32_combine(crc, zeros, static_cast<z_off_t>(size));
        }
        zeros = crc32_combine(zeros, zeros, static_cast<z_off_t>(size));
    }
    return static_cast<uint32_t>(crc);
}

byte_vector bigEndian(uint32_t value) {
    return {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
            static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}

TEST_F(ProgramLargeFiles, ReadsAnImageAfterAChunkOfTwoGibibytes) {
    constexpr uint32_t kLength = 0x7FFFFFFF; // the longest chunk that PNG allows
    if (!hasRoom(5 * kGiB, kGiB)) {
        GTEST_SKIP() << "needs 5 GiB of memory";
    }
    const byte_vector image = png().rgba(5, 3).bytes();
    const size_t split = 8 + 25; // after the header chunk
    write("small.png", image);
    expectSuccess({"--image", "small.png", "--output", "expected"}, "small.png", 20 + 60);

    byte_vector begin = slice(image, 0, split);
    append(begin, bigEndian(kLength));
    append(begin, {'z', 'e', 'R', 'o'});
    byte_vector end = bigEndian(crcOfZeros("zeRo", kLength));
    append(end, slice(image, split, image.size() - split));
    write("in.png", begin);
    std::ofstream file(path("in.png"), std::ios::binary | std::ios::app);
    std::filesystem::resize_file(path("in.png"), begin.size() + kLength);
    file.write(reinterpret_cast<const char*>(end.data()), static_cast<std::streamsize>(end.size()));
    file.close();
    expectSuccess({"--image", "in.png", "--output", "out"}, "in.png", 20 + 60);
    EXPECT_TRUE(same_bytes(read("expected"), read("out")));
}

// A stream of `size` bytes: zeros in matches of two bits each, and `last` at the end.
byte_vector zerosAnd(const byte_vector& last, uint64_t size) {
    const code_lengths litlen =
        lengths_of(286, {{0, 3}, {1, 3}, {2, 4}, {3, 4}, {4, 4}, {256, 4}, {285, 1}});
    deflate_maker maker;
    maker.dynamic(simple_header(litlen, {1}), block_is::last).literals({0});
    uint64_t left = size - 1 - last.size();
    for (; left >= 258; left -= 258) {
        maker.bits(0, 2); // length 258, distance 1
    }
    return maker.literals(byte_vector(left, 0)).literals(last).end().bytes();
}

TEST_F(ProgramLargeFiles, WritesASurfaceOfMoreThanTwoGibibytes) {
    constexpr uint32_t kWidth = 32768, kHeight = 16400;
    constexpr uint64_t kPixelBytes = uint64_t{kWidth} * kHeight * 4;
    static_assert(kPixelBytes > 2 * kGiB && kPixelBytes + kHeight < 4 * kGiB);
    if (!hasRoom(8 * kGiB, 4 * kGiB)) {
        GTEST_SKIP() << "needs 8 GiB of memory and 4 GiB of disk";
    }
    write("in.png", png()
                        .rgba(1, 1)
                        .declared_size(kWidth, kHeight)
                        .deflate_stream(zerosAnd({1, 2, 3, 4}, kPixelBytes + kHeight))
                        .bytes());
    expectSuccess({"--image", "in.png", "--output", "out"}, "in.png", 20 + kPixelBytes);

    ASSERT_EQ(20 + kPixelBytes, std::filesystem::file_size(path("out")));
    std::ifstream file(path("out"), std::ios::binary);
    file.seekg(20);
    const byte_vector zeros(1 << 20, 0);
    byte_vector piece(zeros.size());
    for (uint64_t left = kPixelBytes; left > 0;) {
        piece.resize(std::min<uint64_t>(left, zeros.size()));
        file.read(reinterpret_cast<char*>(piece.data()),
                  static_cast<std::streamsize>(piece.size()));
        ASSERT_TRUE(file.good());
        left -= piece.size();
        if (left == 0) { // the last pixel: blue, green, red, alpha
            EXPECT_EQ((byte_vector{3, 2, 1, 4}), slice(piece, piece.size() - 4, 4));
            piece.resize(piece.size() - 4);
        }
        ASSERT_TRUE(std::equal(piece.begin(), piece.end(), zeros.begin()))
            << left << " bytes from the end";
    }
}

} // namespace
