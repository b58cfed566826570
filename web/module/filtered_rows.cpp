// libpng tries only filters that can differ: none that use the row above in an image of one row, and none that use the
// pixel on the left in an image of one column. It tries all in the first row, with zeros above.
#include "web/module/filtered_rows.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

namespace {

// A row with zeros on its left, as long as a pixel, so that each sample has one on the left.
class PaddedRow {
public:
    PaddedRow(size_t pixelBytes, size_t rowBytes)
        : mBytes(pixelBytes + rowBytes)
        , mPixelBytes(pixelBytes) {}
    void assign(ByteView row) {
        std::copy(row.begin(), row.end(), mBytes.begin() + static_cast<ptrdiff_t>(mPixelBytes));
    }
    int at(size_t i) const { return mBytes[i + mPixelBytes]; }
    int leftOf(size_t i) const { return mBytes[i]; }

private:
    Bytes mBytes;
    size_t mPixelBytes;
};

enum Filter : uint8_t { kNone, kSub, kUp, kAverage, kPaeth };

int paethOf(int left, int above, int aboveLeft) {
    const int estimate = left + above - aboveLeft;
    const int toLeft = std::abs(estimate - left), toAbove = std::abs(estimate - above),
              toAboveLeft = std::abs(estimate - aboveLeft);
    if (toLeft <= toAbove && toLeft <= toAboveLeft) {
        return left;
    }
    return toAbove <= toAboveLeft ? above : aboveLeft;
}

int predicted(Filter filter, const PaddedRow& row, const PaddedRow& above, size_t i) {
    switch (filter) {
    case kSub:
        return row.leftOf(i);
    case kUp:
        return above.at(i);
    case kAverage:
        return (row.leftOf(i) + above.at(i)) / 2;
    case kPaeth:
        return paethOf(row.leftOf(i), above.at(i), above.leftOf(i));
    default:
        return 0;
    }
}

Bytes filtered(Filter filter, const PaddedRow& row, const PaddedRow& above, size_t rowBytes) {
    Bytes result = {filter};
    result.reserve(rowBytes + 1);
    for (size_t i = 0; i < rowBytes; ++i) {
        result.push_back(static_cast<uint8_t>(row.at(i) - predicted(filter, row, above, i)));
    }
    return result;
}

uint64_t sumOf(const Bytes& filteredRow) {
    uint64_t sum = 0;
    for (size_t i = 1; i < filteredRow.size(); ++i) {
        const uint32_t byte = filteredRow[i];
        sum += byte < 128 ? byte : 256 - byte;
    }
    return sum;
}

std::vector<Filter> filtersFor(const PngImage& image, int filters) {
    if (filters == kNoFilter || (image.width == 1 && image.height == 1)) {
        return {kNone};
    }
    if (image.height == 1) {
        return {kNone, kSub};
    }
    if (image.width == 1) {
        return {kNone, kUp};
    }
    return {kNone, kSub, kUp, kAverage, kPaeth};
}

} // namespace

Bytes filteredRows(const PngImage& image, int filters) {
    const size_t rowBytes = image.rowBytes();
    const std::vector<Filter> choices = filtersFor(image, filters);
    PaddedRow row(channelsOf(image.colorType), rowBytes);
    PaddedRow above = row;
    Bytes result;
    result.reserve((rowBytes + 1) * image.height);
    for (size_t y = 0; y < image.height; ++y) {
        row.assign(ByteView(image.samples).subspan(y * rowBytes, rowBytes));
        Bytes best = filtered(choices.front(), row, above, rowBytes);
        for (auto choice = choices.begin() + 1; choice != choices.end(); ++choice) {
            Bytes tried = filtered(*choice, row, above, rowBytes);
            if (sumOf(tried) < sumOf(best)) {
                best = std::move(tried);
            }
        }
        result.insert(result.end(), best.begin(), best.end());
        std::swap(row, above);
    }
    return result;
}
