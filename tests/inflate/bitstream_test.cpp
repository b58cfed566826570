// The bit reader: reading, aligning, stepping back, and the bits that it keeps at the end of the input.
#include "inflate/src/streams.h"
#include "tests/support/deflate_maker.h"

#include <gtest/gtest.h>

namespace {

bitstream_t reader_of(const byte_vector& bytes) {
    return {bytes.data(), static_cast<uint32_t>(bytes.size()), 0, 0};
}

TEST(BitstreamExtract, ReadsBytesFromTheLowestBit) {
    const byte_vector bytes{0b10110101, 0b01100011};
    bitstream_t reader = reader_of(bytes);

    EXPECT_EQ(bitstream_extract(&reader, 3), 0b101U);
    EXPECT_EQ(bitstream_extract(&reader, 5), 0b10110U);
    EXPECT_EQ(bitstream_extract(&reader, 8), 0b01100011U);
}

TEST(BitstreamExtract, PutsLaterBytesAboveEarlierOnes) {
    const byte_vector bytes{0x12, 0x34, 0x56};
    bitstream_t reader = reader_of(bytes);

    EXPECT_EQ(bitstream_extract(&reader, 24), 0x563412U);
}

TEST(BitstreamExtract, LoadsOnlyTheBytesItNeeds) {
    const byte_vector bytes{0xFF, 0x00, 0xAA};
    bitstream_t reader = reader_of(bytes);

    bitstream_extract(&reader, 9);

    EXPECT_EQ(reader.data, bytes.data() + 2);
    EXPECT_EQ(reader.available, 1U);
    EXPECT_EQ(reader.bitCount, 7U);
    EXPECT_EQ(reader.bits, 0U);
}

TEST(BitstreamExtract, Reads24BitsAfter7BitsInTheBuffer) {
    const byte_vector bytes{0x80, 0x12, 0x34, 0x56};
    bitstream_t reader = reader_of(bytes);
    bitstream_extract(&reader, 1);

    EXPECT_EQ(bitstream_extract(&reader, 24), 0x1A0940U);
    EXPECT_EQ(reader.bitCount, 7U);
    EXPECT_EQ(reader.available, 0U);
}

TEST(BitstreamExtract, ReturnsZeroForZeroBitsEvenWithoutInput) {
    bitstream_t reader{};

    EXPECT_EQ(bitstream_extract(&reader, 0), 0U);
    EXPECT_EQ(reader.bitCount, 0U);
}

TEST(BitstreamExtract, KeepsTheBytesItLoadedWhenTheInputRunsOut) {
    const byte_vector bytes{0x12, 0x34};
    bitstream_t reader = reader_of(bytes);

    EXPECT_EQ(bitstream_extract(&reader, 17), kBitsMissing);

    EXPECT_EQ(reader.available, 0U);
    EXPECT_EQ(reader.data, bytes.data() + 2);
    EXPECT_EQ(reader.bitCount, 16U);
    EXPECT_EQ(reader.bits, 0x3412U);
}

TEST(BitstreamExtract, ContinuesWithTheNextPieceAfterRunningOut) {
    const byte_vector first{0x12};
    const byte_vector second{0x34, 0x56};
    bitstream_t reader = reader_of(first);
    ASSERT_EQ(bitstream_extract(&reader, 20), kBitsMissing);

    reader.data = second.data();
    reader.available = 2;

    EXPECT_EQ(bitstream_extract(&reader, 20), 0x63412U);
    EXPECT_EQ(bitstream_extract(&reader, 4), 0x5U);
}

TEST(BitstreamExtract, ReportsMissingInputRepeatedly) {
    const byte_vector bytes{0x0F};
    bitstream_t reader = reader_of(bytes);

    EXPECT_EQ(bitstream_extract(&reader, 9), kBitsMissing);
    EXPECT_EQ(bitstream_extract(&reader, 9), kBitsMissing);
    EXPECT_EQ(bitstream_extract(&reader, 8), 0x0FU);
}

TEST(BitstreamExtract, UsesAFullBufferBeforeLoadingMore) {
    const byte_vector next{0xEE};
    bitstream_t reader{next.data(), 1, 0x87654321, 32};

    EXPECT_EQ(bitstream_extract(&reader, 24), 0x654321U);
    EXPECT_EQ(reader.available, 1U);
    EXPECT_EQ(bitstream_extract(&reader, 16), 0xEE87U);
}

TEST(BitstreamExtractDeathTest, AssertsThatTheCountIsAtMost24) {
    const byte_vector bytes(8, 0);
    bitstream_t reader = reader_of(bytes);

    EXPECT_DEATH(bitstream_extract(&reader, 25),
                 "uint32_t bitstream_extract\\(bitstream_t ?\\*, uint32_t\\).*count <= 24");
}

TEST(BitstreamAlign, DiscardsTheRestOfTheByte) {
    const byte_vector bytes{0xFF, 0x12};
    bitstream_t reader = reader_of(bytes);
    bitstream_extract(&reader, 3);

    bitstream_align(&reader);

    EXPECT_EQ(reader.bitCount, 0U);
    EXPECT_EQ(bitstream_extract(&reader, 8), 0x12U);
}

TEST(BitstreamAlign, DoesNothingOnAByteBoundary) {
    const byte_vector bytes{0xFF, 0x12};
    bitstream_t reader = reader_of(bytes);
    bitstream_extract(&reader, 8);

    bitstream_align(&reader);

    EXPECT_EQ(bitstream_extract(&reader, 8), 0x12U);
}

TEST(BitstreamAlign, KeepsTheWholeBytesInTheBuffer) {
    bitstream_t reader{nullptr, 0, 0x15B5, 13};

    bitstream_align(&reader);

    EXPECT_EQ(reader.bitCount, 8U);
    EXPECT_EQ(reader.bits & 0xFF, 0x15B5U >> 5);
}

TEST(BitstreamUnread, DoesNothingForZeroBits) {
    const byte_vector bytes{0x12, 0x34};
    bitstream_t reader = reader_of(bytes);
    bitstream_extract(&reader, 3);

    bitstream_unread(&reader, 0);

    EXPECT_EQ(reader.data, bytes.data() + 1);
    EXPECT_EQ(reader.available, 1U);
    EXPECT_EQ(reader.bitCount, 5U);
}

TEST(BitstreamUnread, ReloadsUpToFourBytesFromMemory) {
    const byte_vector bytes{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB};
    bitstream_t reader = reader_of(bytes);
    bitstream_extract(&reader, 10);

    // 6 bits in the buffer and 10 to read again start exactly at the first byte.
    bitstream_unread(&reader, 10);

    EXPECT_EQ(reader.bits, 0x67452301U);
    EXPECT_EQ(reader.bitCount, 32U);
    EXPECT_EQ(reader.data, bytes.data() + 4);
    EXPECT_EQ(reader.available, 2U);
}

TEST(BitstreamUnread, KeepsOnlyTheUnreadTopOfTheFirstByte) {
    const byte_vector bytes{0xE7, 0x23, 0x45, 0x67, 0x89};
    bitstream_t reader = reader_of(bytes);
    bitstream_extract(&reader, 5);
    bitstream_extract(&reader, 5);

    bitstream_unread(&reader, 5);

    EXPECT_EQ(reader.bits, 0x674523U << 3 | 0xE7U >> 5);
    EXPECT_EQ(reader.bitCount, 27U);
    EXPECT_EQ(reader.data, bytes.data() + 4);
    EXPECT_EQ(reader.available, 1U);
}

TEST(BitstreamUnread, ReloadsTheRemainingBytesAtTheEndOfTheInput) {
    const byte_vector bytes{0x12, 0x34};
    bitstream_t reader = reader_of(bytes);
    bitstream_extract(&reader, 2);
    bitstream_extract(&reader, 14);

    bitstream_unread(&reader, 14);

    EXPECT_EQ(reader.bits, 0x3412U >> 2);
    EXPECT_EQ(reader.bitCount, 14U);
    EXPECT_EQ(reader.available, 0U);
    EXPECT_EQ(reader.data, bytes.data() + 2);
}

TEST(BitstreamUnread, ReturnsTheSameBitsAgainFromEveryPosition) {
    const byte_vector bytes = make_bytes(data_kind::noise, 12, 1);
    for (uint32_t before = 0; before <= 24; ++before) {
        for (uint32_t count = 1; count <= 14; ++count) {
            bitstream_t reader = reader_of(bytes);
            bitstream_extract(&reader, before);
            const uint32_t taken = bitstream_extract(&reader, count);
            const uint32_t left = bitstream_remaining(&reader);

            bitstream_unread(&reader, count);

            ASSERT_EQ(bitstream_remaining(&reader), left + count)
                << count << " bits behind " << before;
            ASSERT_EQ(bitstream_extract(&reader, count), taken)
                << count << " bits behind " << before;
        }
    }
}

TEST(BitstreamUnread, LeavesAReaderThatCanReadToTheEnd) {
    const byte_vector bytes = make_bytes(data_kind::noise, 9, 2);
    bitstream_t straight = reader_of(bytes);
    bitstream_t stepping = reader_of(bytes);

    for (uint32_t bit = 0; bit + 7 <= 72; bit += 7) {
        const uint32_t expected = bitstream_extract(&straight, 7);
        bitstream_extract(&stepping, 7);
        bitstream_unread(&stepping, 7);
        ASSERT_EQ(bitstream_extract(&stepping, 7), expected) << "at bit " << bit;
    }
    EXPECT_EQ(bitstream_remaining(&stepping), 2U);
}

TEST(BitstreamRemaining, CountsBufferedBitsAndUnreadBytes) {
    const byte_vector bytes(5, 0);
    bitstream_t reader = reader_of(bytes);
    EXPECT_EQ(bitstream_remaining(&reader), 40U);

    bitstream_extract(&reader, 11);

    EXPECT_EQ(bitstream_remaining(&reader), 29U);
}

} // namespace
