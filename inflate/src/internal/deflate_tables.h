// The states, and constants of the DEFLATE format (RFC 1951), for the state machine and the fast
// loop.
#pragma once

#include "inflate/src/streams.h"

#include <cstdint>

namespace inflate_detail {

// The states. Their numbers are stored in the record.
enum state_t : uint16_t {
    kBlockHeader,
    kStoredLength,
    kStoredComplement,
    kStoredCopy,
    kLitlenSymbol,
    kLengthExtra,
    kDistanceSymbol,
    kDistanceExtra,
    kLiteral,
    kMatchCopy,
    kDynamicHeader,
    kCodeLengthLengths,
    kCodeLengthSymbol,
    kCodeLengthRepeat,
    kBuildTables,
    kStateCount
};

inline constexpr int16_t kEndOfBlock = 256;
inline constexpr int16_t kFirstLengthSymbol = 257;

// Code lengths in the header of a dynamic block: section 3.2.7 of the RFC.
inline constexpr uint32_t kMinLitlens = 257;
inline constexpr uint32_t kCodeLengthCodes = 19;
inline constexpr uint16_t kCodeLengthOrder[kCodeLengthCodes] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                                11, 4,  12, 3, 13, 2, 14, 1, 15};
inline constexpr uint16_t kFirstRepeatSymbol = 16;
struct repeat_t {
    uint16_t base, extraBits;
    bool repeatsPrevious; // else zero
};
inline constexpr repeat_t kRepeats[] = {{3, 2, true}, {3, 3, false}, {11, 7, false}};

// Lengths and distances: section 3.2.5 of the RFC.
inline constexpr uint32_t kLengthCodes = 29;
inline constexpr uint16_t kLengthBase[kLengthCodes] = {3,  4,  5,  6,   7,   8,   9,   10,  11, 13,
                                                       15, 17, 19, 23,  27,  31,  35,  43,  51, 59,
                                                       67, 83, 99, 115, 131, 163, 195, 227, 258};
inline constexpr uint16_t kLengthExtraBits[kLengthCodes] = {
    0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
inline constexpr uint16_t kDistanceBase[kMaxDistSymbols] = {
    1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,   65,    97,    129,
    193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
inline constexpr uint16_t kDistanceExtraBits[kMaxDistSymbols] = {
    0, 0, 0, 0, 1, 1, 2, 2,  3,  3,  4,  4,  5,  5,  6,
    6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};

} // namespace inflate_detail
