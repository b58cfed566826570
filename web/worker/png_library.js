// Libraries of others behind the functions that the module calls: pako (a port of zlib) inflates and compresses,
// fast-png reverses the filters. scripts/web.sh joins them into one file.
import { decode } from 'fast-png';
import { zlibSync } from 'fflate';
import { Inflate, deflate } from 'pako';

const SIGNATURE = [0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a];
const FRAMING_BYTES = 12; // length, type and CRC of a chunk
const ZLIB_WINDOW_BITS = 15; // pako's default also takes gzip
const PIECE_BYTES = 65536; // of compressed data; it inflates to at most 1032 times as many bytes

// The passes of an interlaced image: first pixel, and distances.
const PASSES = [
    { x: 0, y: 0, stepX: 8, stepY: 8 },
    { x: 4, y: 0, stepX: 8, stepY: 8 },
    { x: 0, y: 4, stepX: 4, stepY: 8 },
    { x: 2, y: 0, stepX: 4, stepY: 4 },
    { x: 0, y: 2, stepX: 2, stepY: 4 },
    { x: 1, y: 0, stepX: 2, stepY: 2 },
    { x: 0, y: 1, stepX: 1, stepY: 2 },
];
const WHOLE = [{ x: 0, y: 0, stepX: 1, stepY: 1 }];

// A chunk with a CRC of 0: fast-png does not check it.
function chunk(type, content) {
    const bytes = new Uint8Array(content.length + FRAMING_BYTES);
    new DataView(bytes.buffer).setUint32(0, content.length);
    bytes.set(new TextEncoder().encode(type), 4);
    bytes.set(content, 8);
    return bytes;
}

function joined(parts) {
    const bytes = new Uint8Array(parts.reduce((sum, part) => sum + part.length, 0));
    let at = 0;
    for (const part of parts) {
        bytes.set(part, at);
        at += part.length;
    }
    return bytes;
}

// The header fields and the compressed data of a file of IHDR, IDAT and IEND.
function readFile(file) {
    const view = new DataView(file.buffer, file.byteOffset, file.byteLength);
    const data = [];
    for (let at = SIGNATURE.length; at < file.length;) {
        const length = view.getUint32(at);
        if (file[at + 5] === 0x44) { // the D of IDAT
            data.push(file.subarray(at + 8, at + 8 + length));
        }
        at += length + FRAMING_BYTES;
    }
    const depth = file[24];
    const channels = { 0: 1, 2: 3, 3: 1, 4: 2, 6: 4 }[file[25]];
    return {
        width: view.getUint32(16), height: view.getUint32(20), depth, colorType: file[25],
        pixelBits: depth * channels, passes: file[28] === 1 ? PASSES : WHOLE, data: joined(data),
    };
}

const rowBytesOf = (width, pixelBits) => Math.ceil(width * pixelBits / 8);

// The size of a pass, which is an image of its own.
function sizeOf(pass, image) {
    const width = Math.ceil((image.width - pass.x) / pass.stepX);
    const height = Math.ceil((image.height - pass.y) / pass.stepY);
    const isEmpty = width <= 0 || height <= 0;
    return { width, height, bytes: isEmpty ? 0 : (rowBytesOf(width, image.pixelBits) + 1) * height };
}

// The first `size` bytes of inflated data. What follows is not inflated: it may be of any size. Like libpng, it rejects
// a wrong checksum only if the stream ends with these bytes.
function inflated(data, size) {
    const inflator = new Inflate({ chunkSize: size, windowBits: ZLIB_WINDOW_BITS });
    let rows = null;
    inflator.onData = (piece) => {
        rows ??= piece;
    };
    for (let at = 0; at < data.length && rows === null && inflator.err === 0; at += PIECE_BYTES) {
        inflator.push(data.subarray(at, at + PIECE_BYTES), false);
    }
    if (rows?.length !== size) {
        throw new Error(inflator.msg || 'the image data end too early');
    }
    return rows;
}

// Reverses the filters of one pass.
function unfiltered(rows, size, image) {
    const header = new Uint8Array(13);
    const view = new DataView(header.buffer);
    view.setUint32(0, size.width);
    view.setUint32(4, size.height);
    header[8] = image.depth;
    header[9] = image.colorType;
    const stored = zlibSync(rows, { level: 0 });
    const file = joined([SIGNATURE, chunk('IHDR', header), chunk('IDAT', stored), chunk('IEND', [])]);
    const { data } = decode(file);
    return new Uint8Array(data.buffer, data.byteOffset, data.byteLength);
}

function placeBytes(target, source, pass, size, image) {
    const pixelBytes = image.pixelBits / 8;
    let from = 0;
    for (let y = 0; y < size.height; y++) {
        for (let x = 0; x < size.width; x++) {
            let to = ((pass.y + y * pass.stepY) * image.width + pass.x + x * pass.stepX) * pixelBytes;
            for (let i = 0; i < pixelBytes; i++) {
                target[to++] = source[from++];
            }
        }
    }
}

// The first pixel of a byte has the highest bits.
function placeBits(target, source, pass, size, image) {
    const { depth } = image;
    const mask = (1 << depth) - 1;
    const rowBytes = rowBytesOf(image.width, depth);
    const sourceRowBytes = rowBytesOf(size.width, depth);
    for (let y = 0; y < size.height; y++) {
        const row = (pass.y + y * pass.stepY) * rowBytes;
        for (let x = 0; x < size.width; x++) {
            const bit = x * depth;
            const pixel = source[y * sourceRowBytes + (bit >> 3)] >> (8 - depth - (bit & 7)) & mask;
            const targetBit = (pass.x + x * pass.stepX) * depth;
            target[row + (targetBit >> 3)] |= pixel << (8 - depth - (targetBit & 7));
        }
    }
}

function rowsOf(file) {
    const image = readFile(file);
    const sizes = image.passes.map((pass) => sizeOf(pass, image));
    const rows = inflated(image.data, sizes.reduce((sum, size) => sum + size.bytes, 0));
    if (image.passes === WHOLE) {
        return unfiltered(rows, sizes[0], image);
    }
    const result = new Uint8Array(rowBytesOf(image.width, image.pixelBits) * image.height);
    const place = image.pixelBits < 8 ? placeBits : placeBytes;
    let at = 0;
    for (const [index, size] of sizes.entries()) {
        if (size.bytes > 0) {
            place(result, unfiltered(rows.subarray(at, at + size.bytes), size, image), image.passes[index], size, image);
        }
        at += size.bytes;
    }
    return result;
}

/**
 * Decodes the rows of a PNG file of IHDR, IDAT and IEND.
 * @returns {{bytes: Uint8Array} | {error: string}} the samples as they are stored, 16-bit samples in little-endian
 * order, rows of less than 8 bits a pixel padded to bytes
 */
export function decodeRows(file) {
    try {
        return { bytes: rowsOf(file) };
    } catch (error) {
        return { error: error.message };
    }
}

/** Makes a zlib stream as zlib does, with these settings. */
export function compress(bytes, level, strategy) {
    return deflate(bytes, { level, strategy, memLevel: 9 });
}
