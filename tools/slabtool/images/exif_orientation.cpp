// TIFF begins with a header of 8 bytes, whose last 4 bytes are the offset of a directory. A directory is a count of 2
// bytes, followed by that many entries of 12 bytes: tag, type, count, value.
#include "tools/slabtool/images/exif_orientation.h"

namespace {

constexpr size_t kHeaderBytes = 8, kEntryBytes = 12, kCountBytes = 2;
constexpr uint32_t kOrientationTag = 0x0112, kShort = 3, kMaxOrientation = 8;

class Reader {
public:
    Reader(ByteView bytes, bool isLittleEndian)
        : mBytes(bytes)
        , mIsLittleEndian(isLittleEndian) {}

    /// The number in the `count` bytes at `at`. They must lie inside the data.
    uint32_t number(size_t at, size_t count) const {
        uint32_t value = 0;
        for (size_t i = 0; i < count; ++i) {
            value = value << 8 | mBytes[at + (mIsLittleEndian ? count - 1 - i : i)];
        }
        return value;
    }

private:
    ByteView mBytes;
    bool mIsLittleEndian;
};

uint32_t orientationAt(const Reader& reader, size_t entry) {
    if (reader.number(entry, 2) != kOrientationTag || reader.number(entry + 2, 2) != kShort) {
        return 0;
    }
    return reader.number(entry + 8, 2);
}

} // namespace

uint32_t exifOrientation(ByteView exif) {
    if (exif.size() < kHeaderBytes || exif[0] != exif[1] || (exif[0] != 'I' && exif[0] != 'M')) {
        return kUpright;
    }
    const Reader reader(exif, exif[0] == 'I');
    const size_t directory = reader.number(4, 4);
    if (directory > exif.size() || exif.size() - directory < kCountBytes) {
        return kUpright;
    }
    const size_t fitting = (exif.size() - directory - kCountBytes) / kEntryBytes;
    const size_t count = reader.number(directory, kCountBytes);
    for (size_t i = 0; i < count && i < fitting; ++i) {
        const uint32_t value = orientationAt(reader, directory + kCountBytes + i * kEntryBytes);
        if (value >= kUpright && value <= kMaxOrientation) {
            return value;
        }
    }
    return kUpright;
}
