// The prediction of the Paeth filter, for each byte of a register.
//
// Included inside a namespace after src/simd/vec_<isa>.h.
//
// The standard chooses the one of a, b and c that is nearest to p = a + b - c, where |p - a| = |b - c|,
// |p - b| = |a - c| and |p - c| = |(a - c) + (b - c)|. Let low = min(a, b) and high = max(a, b):
//
//     c between them:     low <---- toLow ----> c <---- toHigh ----> high
//                         |p - low| = toHigh, |p - high| = toLow, |p - c| = |toHigh - toLow|
//
// The nearest is low if toHigh <= toLow - toHigh, which is toHigh <= toLow / 2, rounded down. It is high if
// toLow <= toHigh / 2, else c. If c is not between them, let the distance be 0 on that side. The same rule then chooses
// the one farther from c, as the standard does. If the standard prefers a in a tie, either a = b or this rule makes the
// same choice.
//
// Each pixel waits for the one before. Between them are seven dependent instructions, because the sum of the filtered
// pixel and c is ready earlier. Tried and rejected: saturating subtraction instead of min() and max() with c, and
// doubled distances. On some processors, saturating instructions take two cycles, and a pixel took eleven instead of
// eight.

using SignedBytes = int8_t __attribute__((vector_size(sizeof(U8))));

// Masks of the bytes with a > b / 2, rounded down. averageUp(b, 255) is b / 2 + 128, and the comparison is of signed
// bytes, the only one that SSE2 has. So 128 is added to a, too.
inline U8 exceeds_half(U8 a, U8 b) {
    return U8(SignedBytes(a ^ 128) > SignedBytes(averageUp(b, ~U8{})));
}

inline U8 predict_paeth(U8 left, U8 up, U8 upLeft) {
    const U8 toLow = upLeft - min(left, min(up, upLeft));
    const U8 toHigh = max(left, max(up, upLeft)) - upLeft;
    const U8 addend = ~exceeds_half(toLow, toHigh) & toHigh;
    const U8 subtrahend = ~exceeds_half(toHigh, toLow) & toLow;
    return upLeft + (addend - subtrahend);
}
