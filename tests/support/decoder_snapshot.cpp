// The fields of the decoder's records by name.
#include "tests/support/decoder_snapshot.h"

#include "tests/support/same_bytes.h"

namespace {

constexpr std::array kRecordFields = {"state",  "finalBlock", "symbol",       "count",
                                      "length", "distance",   "litlenTable",  "distTable",
                                      "out",    "copyFrom",   "outAvailable", "totalOut"};
constexpr std::array kReaderFields = {"data", "available", "bits", "bitCount"};

constexpr int64_t kNullPointer = INT64_MIN;

testing::AssertionResult different(const char* what, int64_t expected, int64_t got) {
    return testing::AssertionFailure() << what << ": expected " << expected << ", got " << got;
}

byte_vector tables_of(const inflate_t& inflate) {
    byte_vector tables;
    const auto append = [&](const auto& array) {
        const auto* const bytes = reinterpret_cast<const uint8_t*>(array);
        tables.insert(tables.end(), bytes, bytes + sizeof array);
    };
    append(inflate.litlenCounts);
    append(inflate.litlenSymbols);
    append(inflate.distCounts);
    append(inflate.distSymbols);
    append(inflate.lengths);
    return tables;
}

} // namespace

decoder_snapshot_t snapshot_of(int32_t result, const inflate_t& inflate, const bitstream_t& reader,
                               const uint8_t* input, const uint8_t* output, size_t size) {
    return {result,
            {inflate.state, inflate.finalBlock, inflate.symbol, inflate.count, inflate.length,
             inflate.distance, inflate.litlenTable == &inflate.dynLitlen,
             inflate.distTable == &inflate.dynDist, inflate.out - output,
             inflate.copyFrom != nullptr ? inflate.copyFrom - output : kNullPointer,
             inflate.outAvailable, inflate.totalOut},
            {reader.data - input, reader.available, reader.bits, reader.bitCount},
            tables_of(inflate),
            {output, output + size}};
}

testing::AssertionResult same_snapshot(const decoder_snapshot_t& expected,
                                       const decoder_snapshot_t& got) {
    if (expected.result != got.result) {
        return different("result", expected.result, got.result);
    }
    for (size_t i = 0; i < kRecordFields.size(); ++i) {
        if (expected.record[i] != got.record[i]) {
            return different(kRecordFields[i], expected.record[i], got.record[i]);
        }
    }
    for (size_t i = 0; i < kReaderFields.size(); ++i) {
        if (expected.reader[i] != got.reader[i]) {
            return different(kReaderFields[i], expected.reader[i], got.reader[i]);
        }
    }
    testing::AssertionResult sameTables = same_bytes(expected.tables, got.tables);
    return sameTables ? same_bytes(expected.output, got.output) : sameTables << " (of the tables)";
}
