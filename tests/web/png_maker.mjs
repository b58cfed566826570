// Makes PNG files from named pieces.
import { deflateSync, gzipSync } from 'node:zlib';

const TABLE = Uint32Array.from({ length: 256 }, (_, byte) => {
    let crc = byte;
    for (let bit = 0; bit < 8; bit++) {
        crc = crc & 1 ? crc >>> 1 ^ 0xedb88320 : crc >>> 1;
    }
    return crc;
});

const crc32 = (bytes) => ~bytes.reduce((crc, byte) => TABLE[(crc ^ byte) & 255] ^ crc >>> 8, ~0) >>> 0;

export function chunk(type, content) {
    const bytes = Buffer.concat([Buffer.alloc(4), Buffer.from(type), content, Buffer.alloc(4)]);
    bytes.writeUInt32BE(content.length, 0);
    bytes.writeUInt32BE(crc32(bytes.subarray(4, -4)), bytes.length - 4);
    return bytes;
}

export function header({ width = 8, height = 8, depth = 8, colorType = 0, interlace = 0 } = {}) {
    const content = Buffer.alloc(13);
    content.writeUInt32BE(width, 0);
    content.writeUInt32BE(height, 4);
    content.set([depth, colorType, 0, 0, interlace], 8);
    return chunk('IHDR', content);
}

export const png = (...chunks) => Buffer.concat([Buffer.from('\x89PNG\r\n\x1a\n', 'latin1'), ...chunks, chunk('IEND', Buffer.alloc(0))]);

/** A gray PNG with these properties, and zeros as samples. */
export function grayPng({ width = 8, height = 8, depth = 8, rowCount = height, level = 0 } = {}) {
    const rows = Buffer.alloc((Math.ceil(width * depth / 8) + 1) * rowCount);
    return png(header({ width, height, depth }), chunk('IDAT', deflateSync(rows, { level })));
}

// Rows of 8 x 8 pixels with bytes of all values, filter type 0.
function rowsOf(rowBytes) {
    return Buffer.from(Array.from({ length: 8 * (rowBytes + 1) }, (_, i) => (i % (rowBytes + 1) === 0 ? 0 : i * 37 & 255)));
}

const stored = (rows) => deflateSync(rows, { level: 0 });
const data = (rows) => chunk('IDAT', stored(rows));
const palette = (bytes) => chunk('PLTE', Buffer.alloc(bytes, 7));
const truncatedExif = Buffer.concat([Buffer.from([0xff, 0xff, 0xff, 0xff]), Buffer.from('eXIfMM'), Buffer.alloc(40)]);

/** Images with rare or faulty chunks, by name. */
export function rareImages() {
    const indices = rowsOf(8);
    const colors = rowsOf(24);
    const halves = [stored(indices).subarray(0, 30), stored(indices).subarray(30)];
    const indexed = header({ colorType: 3 });
    const rgb16 = header({ depth: 16, colorType: 2 });
    const key = chunk('tRNS', Buffer.from([0, 37, 0, 74, 0, 111]));
    return {
        'palette-after-data': png(indexed, data(indices), palette(768)),
        'palette-too-long': png(indexed, palette(771), data(indices)),
        'palette-of-no-entry': png(header({ colorType: 2 }), palette(0), data(colors)),
        'two-palettes': png(indexed, palette(768), palette(768), data(indices)),
        'two-palettes-of-colors': png(header({ colorType: 2 }), palette(30), palette(30), data(colors)),
        'short-palette': png(indexed, palette(30), data(indices)),
        'data-in-two-places': png(header(), chunk('IDAT', halves[0]), chunk('tEXt', Buffer.from('a')), chunk('IDAT', halves[1])),
        'data-in-two-chunks': png(header(), chunk('IDAT', halves[0]), chunk('IDAT', halves[1])),
        'key-before-palette': png(rgb16, key, palette(30), data(rowsOf(48))),
        'key-after-palette': png(rgb16, palette(30), key, data(rowsOf(48))),
        'no-letter-in-name': png(header({ depth: 16 }), chunk('a1bc', Buffer.alloc(1)), data(rowsOf(16))),
        'unknown-critical-chunk': png(header({ depth: 16 }), chunk('ABCD', Buffer.alloc(1)), data(rowsOf(16))),
        'gzip-stream': png(header(), chunk('IDAT', gzipSync(indices))),
        'exif-of-4-gigabytes': Buffer.concat([png(header()).subarray(0, 33), truncatedExif]),
        'colors-under-full-transparency': png(header({ depth: 16, colorType: 6 }), data(rowsOf(64))),
        'interlaced-bits': png(header({ depth: 1, interlace: 1 }), data(Buffer.alloc(24, 0xa5).map((byte, i) => (i % 2 ? byte : 0)))),
    };
}
