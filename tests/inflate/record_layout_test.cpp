// The order of the fields in the decoder's records, checked by the compiler.
#include "inflate/src/streams.h"
#include "tests/support/field_order.h"

#include <type_traits>

namespace {

#define AT(field) offsetof(bitstream_t, field)
static_assert(std::is_standard_layout_v<bitstream_t>);
static_assert(ascend({AT(data), AT(available), AT(bits), AT(bitCount)}));
#undef AT

#define AT(field) offsetof(huffman_t, field)
static_assert(std::is_standard_layout_v<huffman_t>);
static_assert(ascend({AT(maxBits), AT(counts), AT(symbols)}));
#undef AT

#define AT(field) offsetof(inflate_t, field)
static_assert(std::is_standard_layout_v<inflate_t>);
static_assert(ascend({AT(state),        AT(finalBlock),    AT(symbol),      AT(count),
                      AT(length),       AT(distance),      AT(litlenTable), AT(distTable),
                      AT(litlenCounts), AT(litlenSymbols), AT(distCounts),  AT(distSymbols),
                      AT(lengths),      AT(lengthCursor),  AT(dynLitlen),   AT(dynDist),
                      AT(copyFrom),     AT(window),        AT(windowSize),  AT(windowPos),
                      AT(out),          AT(outAvailable),  AT(totalOut)}));
#undef AT

} // namespace
