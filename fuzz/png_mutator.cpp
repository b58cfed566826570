// Splits a file into chunks, changes one of them, and writes the file again.
#include "fuzz/png_mutator.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>
#include <zlib.h>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

using Bytes = std::vector<uint8_t>;
using Random = std::minstd_rand;

constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr size_t kMaxPixels = 1 << 17;

struct Chunk {
    Bytes type; // four bytes
    Bytes data;
};

uint32_t bigEndian(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 |
           uint32_t{bytes[3]};
}

void appendBigEndian(Bytes& bytes, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<uint8_t>(value >> shift));
    }
}

// Accepts any bytes: lengths that do not fit are truncated.
std::vector<Chunk> chunksOf(const uint8_t* file, size_t size) {
    std::vector<Chunk> chunks;
    size_t at = std::min(size, sizeof kSignature);
    while (size - at >= 8) {
        const size_t length = std::min<size_t>(bigEndian(file + at), size - at - 8);
        const uint8_t* const type = file + at + 4;
        chunks.push_back({Bytes(type, type + 4), Bytes(type + 4, type + 4 + length)});
        at += std::min(size - at, 12 + length);
    }
    return chunks;
}

Bytes fileOf(const std::vector<Chunk>& chunks) {
    Bytes file(kSignature, kSignature + sizeof kSignature);
    for (const Chunk& chunk : chunks) {
        appendBigEndian(file, static_cast<uint32_t>(chunk.data.size()));
        Bytes body = chunk.type;
        body.insert(body.end(), chunk.data.begin(), chunk.data.end());
        file.insert(file.end(), body.begin(), body.end());
        appendBigEndian(
            file, static_cast<uint32_t>(crc32(0, body.data(), static_cast<uInt>(body.size()))));
    }
    return file;
}

void mutateBytes(Bytes& bytes, size_t extra) {
    const size_t size = bytes.size();
    bytes.resize(size + extra);
    bytes.resize(LLVMFuzzerMutate(bytes.data(), size, bytes.size()));
}

bool isImageData(const Chunk& chunk) {
    return std::memcmp(chunk.type.data(), "IDAT", 4) == 0;
}

// The image data of all chunks, inflated as far as possible.
Bytes inflatePixels(const std::vector<Chunk>& chunks) {
    Bytes compressed;
    for (const Chunk& chunk : chunks) {
        if (isImageData(chunk)) {
            compressed.insert(compressed.end(), chunk.data.begin(), chunk.data.end());
        }
    }
    Bytes pixels(kMaxPixels);
    z_stream zlib = {};
    if (compressed.size() < 2 || inflateInit2(&zlib, -15) != Z_OK) {
        return {};
    }
    zlib.next_in = compressed.data() + 2;
    zlib.avail_in = static_cast<uInt>(compressed.size() - 2);
    zlib.next_out = pixels.data();
    zlib.avail_out = kMaxPixels;
    inflate(&zlib, Z_FINISH);
    pixels.resize(zlib.total_out);
    inflateEnd(&zlib);
    return pixels;
}

// Compresses with few fixed-code blocks, because the decoder rejects them. Stores short data.
Bytes compressPixels(Bytes pixels, Random& random) {
    const int level =
        random() % 2 == 0 || pixels.size() < 300 ? 0 : 1 + static_cast<int>(random() % 9);
    Bytes compressed(compressBound(static_cast<uLong>(pixels.size())));
    uLongf size = static_cast<uLongf>(compressed.size());
    compress2(compressed.data(), &size, pixels.data(), static_cast<uLong>(pixels.size()), level);
    compressed.resize(size);
    return compressed;
}

// Replaces the image data by changed pixels, at the position of its first chunk.
void mutatePixels(std::vector<Chunk>& chunks, Random& random) {
    Bytes pixels = inflatePixels(chunks);
    if (pixels.empty()) {
        return;
    }
    mutateBytes(pixels, 16);
    const auto first = std::find_if(chunks.begin(), chunks.end(), isImageData);
    const auto place = first - chunks.begin();
    std::erase_if(chunks, isImageData);
    chunks.insert(chunks.begin() + place,
                  {Bytes{'I', 'D', 'A', 'T'}, compressPixels(std::move(pixels), random)});
}

void mutateChunkList(std::vector<Chunk>& chunks, Random& random) {
    const size_t index = random() % chunks.size();
    const size_t other = random() % chunks.size();
    const auto place = chunks.begin() + static_cast<ptrdiff_t>(index);
    switch (random() % 4) {
    case 0:
        std::swap(chunks[index], chunks[other]);
        break;
    case 1: {
        const Chunk copy = chunks[other];
        chunks.insert(place, copy);
        break;
    }
    case 2:
        chunks.erase(place);
        break;
    default: { // splits a chunk in two, which is valid for image data
        Chunk second = chunks[index];
        const size_t half = second.data.empty() ? 0 : random() % second.data.size();
        chunks[index].data.resize(half);
        second.data.erase(second.data.begin(), second.data.begin() + static_cast<ptrdiff_t>(half));
        chunks.insert(place + 1, second);
        break;
    }
    }
}

} // namespace

size_t mutatePng(uint8_t* data, size_t size, size_t maxSize, unsigned seed, size_t skipped) {
    Random random(seed);
    if (size <= skipped || random() % 8 == 0) {
        return LLVMFuzzerMutate(data, size, maxSize); // sometimes with wrong CRCs
    }
    std::vector<Chunk> chunks = chunksOf(data + skipped, size - skipped);
    if (chunks.empty()) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    switch (random() % 5) {
    case 0:
        mutatePixels(chunks, random);
        break;
    case 1:
        mutateChunkList(chunks, random);
        break;
    case 2:
        mutateBytes(chunks[random() % chunks.size()].type, 0);
        for (Chunk& chunk : chunks) {
            chunk.type.resize(4, 'a');
        }
        break;
    case 3:
        LLVMFuzzerMutate(data, skipped, skipped);
        [[fallthrough]];
    default:
        mutateBytes(chunks[random() % chunks.size()].data, 16);
        break;
    }
    const Bytes file = fileOf(chunks);
    if (file.size() > maxSize - skipped) {
        return LLVMFuzzerMutate(data, size, maxSize);
    }
    std::memcpy(data + skipped, file.data(), file.size());
    return skipped + file.size();
}
