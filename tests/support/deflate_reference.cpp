// The reference decoder. The numbers of sections are those of RFC 1951.
#include "tests/support/deflate_reference.h"

#include "inflate/src/streams.h"

#include <algorithm>
#include <array>
#include <vector>

namespace {

constexpr uint32_t kLongestCode = 15;
constexpr uint32_t kFullSpace = 1U << kLongestCode;
constexpr int32_t kGoesOn = -1; // beside the kInflate results
constexpr int32_t kNoSymbol = -1;
constexpr int32_t kMissing = -2;

// A prefix code as a tree of its bits (3.2.2).
class code_tree {
public:
    // Of all strings of 15 bits, the number that begin with a code. More than kFullSpace: codes overlap.
    uint32_t space() const { return m_space; }
    uint32_t codes() const { return m_codes; }

    void build(std::span<const uint8_t> lengths) {
        m_space = m_codes = 0;
        for (const uint8_t length : lengths) {
            m_space += length == 0 ? 0 : kFullSpace >> length;
            m_codes += length == 0 ? 0 : 1;
        }
        m_nodes.assign(1, {});
        if (m_space > kFullSpace) {
            return;
        }
        uint32_t code = 0;
        for (uint32_t length = 1; length <= kLongestCode; ++length, code <<= 1) {
            for (size_t symbol = 0; symbol < lengths.size(); ++symbol) {
                if (lengths[symbol] == length) {
                    insert(code++, length, static_cast<int32_t>(symbol));
                }
            }
        }
    }

    // The symbol at the start of the bits, kNoSymbol, or kMissing with nothing read.
    template <typename bits_t>
    int32_t read(bits_t& bits) const {
        const bits_t before = bits;
        uint32_t node = 0;
        bool is_code = true;
        for (uint32_t length = 1; length <= kLongestCode; ++length) {
            uint32_t bit = 0;
            if (!bits.take(1, bit)) {
                bits = before;
                return kMissing;
            }
            is_code = is_code && m_nodes[node].next[bit] != 0;
            node = is_code ? m_nodes[node].next[bit] : 0;
            if (is_code && m_nodes[node].symbol != kNoSymbol) {
                return m_nodes[node].symbol;
            }
        }
        return kNoSymbol;
    }

private:
    struct node_t {
        std::array<uint32_t, 2> next{}; // 0: none
        int32_t symbol = kNoSymbol;
    };

    void insert(uint32_t code, uint32_t length, int32_t symbol) {
        uint32_t node = 0;
        while (length-- > 0) {
            const uint32_t bit = code >> length & 1;
            if (m_nodes[node].next[bit] == 0) {
                m_nodes[node].next[bit] = static_cast<uint32_t>(m_nodes.size());
                m_nodes.emplace_back();
            }
            node = m_nodes[node].next[bit];
        }
        m_nodes[node].symbol = symbol;
    }

    uint32_t m_space = 0, m_codes = 0;
    std::vector<node_t> m_nodes;
};

// Bytes as bits, the lowest bit first (3.1.1).
struct input_bits_t {
    std::span<const uint8_t> bytes;
    size_t at = 0;

    bool take(uint32_t count, uint32_t& value) {
        if (at + count > bytes.size() * 8) {
            return false;
        }
        value = 0;
        for (uint32_t i = 0; i < count; ++i, ++at) {
            value |= (bytes[at / 8] >> at % 8 & 1U) << i;
        }
        return true;
    }
};

// The value of symbol `index` of a table in 3.2.5, without the extra bits: `plain` symbols have none. Then `group`
// symbols at a time have one bit more.
uint32_t extra_bits(uint32_t index, uint32_t plain, uint32_t group) {
    return index < plain ? 0 : 1 + (index - plain) / group;
}

uint32_t base_of(uint32_t index, uint32_t first, uint32_t plain, uint32_t group) {
    uint32_t base = first;
    for (uint32_t before = 0; before < index; ++before) {
        base += 1U << extra_bits(before, plain, group);
    }
    return base;
}

class reference_decoder {
public:
    reference_decoder(std::span<const uint8_t> raw, std::span<uint8_t> output)
        : m_bits{raw}
        , m_output(output) {}

    reference_result_t run() {
        int32_t result = kGoesOn;
        while (result == kGoesOn) {
            result = m_is_last ? kInflateDone : block();
        }
        return {result, m_written, m_bits.at, m_has_fixed_block, m_has_incomplete_code};
    }

private:
    // 3.2.3
    int32_t block() {
        uint32_t header = 0;
        if (!m_bits.take(3, header)) {
            return kInflateNeedsInput;
        }
        m_is_last = header % 2 == 1;
        switch (header / 2) {
        case 0:
            return stored();
        case 1:
            m_has_fixed_block = true;
            return kInflateInvalid;
        case 2:
            return dynamic();
        default:
            return kInflateInvalid;
        }
    }

    // 3.2.4
    int32_t stored() {
        m_bits.at = (m_bits.at + 7) / 8 * 8;
        uint32_t length = 0, complement = 0;
        if (!m_bits.take(16, length) || !m_bits.take(16, complement)) {
            return kInflateNeedsInput;
        }
        if (length + complement != 0xFFFF) {
            return kInflateInvalid;
        }
        for (; length > 0; --length) {
            if (m_bits.at == m_bits.bytes.size() * 8) {
                return kInflateNeedsInput;
            }
            if (m_written == m_output.size()) {
                return kInflateNeedsOutput;
            }
            uint32_t byte = 0;
            m_bits.take(8, byte);
            m_output[m_written++] = static_cast<uint8_t>(byte);
        }
        return kGoesOn;
    }

    // 3.2.7
    int32_t dynamic() {
        uint32_t counts = 0;
        if (!m_bits.take(14, counts)) {
            return kInflateNeedsInput;
        }
        const uint32_t litlens = counts % 32 + 257;
        const uint32_t dists = counts / 32 % 32 + 1;
        if (litlens > 286 || dists > 30) {
            return kInflateInvalid;
        }
        int32_t result = code_length_code(counts / 1024 + 4);
        if (result != kGoesOn) {
            return result;
        }
        std::array<uint8_t, 286 + 30> lengths{};
        const std::span all(lengths.data(), litlens + dists);
        result = code_lengths(all);
        if (result != kGoesOn) {
            return result;
        }
        if (lengths[256] == 0 || !builds(m_litlens, all.first(litlens)) ||
            !builds(m_dists, all.last(dists))) {
            return kInflateInvalid;
        }
        return symbols();
    }

    int32_t code_length_code(uint32_t count) {
        constexpr uint8_t kOrder[] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                      11, 4,  12, 3, 13, 2, 14, 1, 15};
        std::array<uint8_t, 19> lengths{};
        for (uint32_t i = 0; i < count; ++i) {
            uint32_t length = 0;
            if (!m_bits.take(3, length)) {
                return kInflateNeedsInput;
            }
            lengths[kOrder[i]] = static_cast<uint8_t>(length);
        }
        m_lengths.build(lengths);
        m_has_incomplete_code = m_has_incomplete_code || m_lengths.space() < kFullSpace;
        return m_lengths.space() > kFullSpace ? kInflateInvalid : kGoesOn;
    }

    int32_t code_lengths(std::span<uint8_t> lengths) {
        for (size_t done = 0; done < lengths.size();) {
            const int32_t symbol = m_lengths.read(m_bits);
            if (symbol < 0) {
                return symbol == kMissing ? kInflateNeedsInput : kInflateInvalid;
            }
            if (symbol < 16) {
                lengths[done++] = static_cast<uint8_t>(symbol);
                continue;
            }
            if (symbol == 16 && done == 0) {
                return kInflateInvalid;
            }
            uint32_t repeats = 0;
            if (!m_bits.take(symbol == 16 ? 2 : symbol == 17 ? 3 : 7, repeats)) {
                return kInflateNeedsInput;
            }
            repeats += symbol == 18 ? 11 : 3;
            if (repeats > lengths.size() - done) {
                return kInflateInvalid;
            }
            const uint8_t value = symbol == 16 ? lengths[done - 1] : uint8_t{0};
            std::fill_n(lengths.begin() + static_cast<ptrdiff_t>(done), repeats, value);
            done += repeats;
        }
        return kGoesOn;
    }

    static bool builds(code_tree& tree, std::span<const uint8_t> lengths) {
        tree.build(lengths);
        const bool has_one_bit = tree.codes() == 1 && tree.space() == kFullSpace / 2;
        return tree.space() == kFullSpace || tree.codes() == 0 || has_one_bit;
    }

    // 3.2.3: literals and matches up to the end of the block
    int32_t symbols() {
        for (;;) {
            const int32_t symbol = m_litlens.read(m_bits);
            if (symbol < 0) {
                return symbol == kMissing ? kInflateNeedsInput : kInflateInvalid;
            }
            if (symbol == 256) {
                return kGoesOn;
            }
            if (symbol > 256) {
                const int32_t result = match(static_cast<uint32_t>(symbol) - 257);
                if (result != kGoesOn) {
                    return result;
                }
                continue;
            }
            if (m_written == m_output.size()) {
                return kInflateNeedsOutput;
            }
            m_output[m_written++] = static_cast<uint8_t>(symbol);
        }
    }

    // 3.2.5
    int32_t match(uint32_t length_index) {
        const bool is_longest = length_index == 28;
        uint32_t length = 0, distance = 0;
        if (!m_bits.take(is_longest ? 0 : extra_bits(length_index, 8, 4), length)) {
            return kInflateNeedsInput;
        }
        length += is_longest ? 258 : base_of(length_index, 3, 8, 4);
        const int32_t symbol = m_dists.read(m_bits);
        if (symbol < 0) {
            return symbol == kMissing ? kInflateNeedsInput : kInflateInvalid;
        }
        const auto index = static_cast<uint32_t>(symbol);
        if (!m_bits.take(extra_bits(index, 4, 2), distance)) {
            return kInflateNeedsInput;
        }
        distance += base_of(index, 1, 4, 2);
        if (distance > m_written) {
            return kInflateInvalid;
        }
        if (m_written == m_output.size()) {
            return kInflateNeedsOutput;
        }
        for (; length > 0 && m_written < m_output.size(); --length, ++m_written) {
            m_output[m_written] = m_output[m_written - distance];
        }
        return kGoesOn;
    }

    input_bits_t m_bits;
    std::span<uint8_t> m_output;
    size_t m_written = 0;
    bool m_is_last = false;
    bool m_has_fixed_block = false, m_has_incomplete_code = false;
    code_tree m_lengths, m_litlens, m_dists;
};

} // namespace

reference_result_t reference_inflate(std::span<const uint8_t> raw, std::span<uint8_t> output) {
    return reference_decoder(raw, output).run();
}
