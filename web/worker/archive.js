// Makes a zip archive, one file after the other.
import { Zip, ZipPassThrough } from 'fflate';
import { Deflate } from 'pako';

const LEVEL = 6;
const PIECE_BYTES = 1 << 20;
const DEFLATED = 8; // the compression method of the entry
const MAX_FILES = 65535; // a zip archive counts them in 16 bits, and bytes in 32
const MAX_BYTES = 0xffffffff;

// An entry of an archive. pako compresses it: the streams of fflate 0.8.3 can have distances that are too far back.
class Entry extends ZipPassThrough {
    constructor(name) {
        super(name);
        this.compression = DEFLATED;
        this.deflate = new Deflate({ level: LEVEL, raw: true });
        this.deflate.onData = (part) => this.ondata(null, part, false);
    }

    process(piece, isLast) {
        this.deflate.push(piece, isLast);
        if (isLast) {
            this.ondata(null, new Uint8Array(0), true);
        }
    }
}

/** Whether one archive can hold the files. */
export function fitsArchive(files) {
    return files.length <= MAX_FILES && files.reduce((sum, file) => sum + file.content.size, 0) <= MAX_BYTES;
}

/**
 * @param {{name: string, content: Blob}[]} files
 * @param {(done: number) => void} onFile called after each file
 * @returns {Promise<Blob>}
 */
export async function archiveOf(files, onFile) {
    const parts = [];
    const zip = new Zip((error, part) => {
        if (error !== null) {
            throw error;
        }
        parts.push(new Blob([part])); // the browser may keep it on disk
    });
    for (const [index, file] of files.entries()) {
        const entry = new Entry(file.name);
        zip.add(entry);
        for (let at = 0; at < file.content.size; at += PIECE_BYTES) {
            const piece = file.content.slice(at, at + PIECE_BYTES);
            entry.push(new Uint8Array(await piece.arrayBuffer()), false);
        }
        entry.push(new Uint8Array(0), true);
        onFile(index + 1);
    }
    zip.end();
    return new Blob(parts, { type: 'application/zip' });
}
