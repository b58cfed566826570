// Runs the converter. The page sends one job at a time; the answer is a message with `result` or `error`, and before it
// any number of messages with `step`.
import createModule from 'pngslab_module'; // scripts/web.sh compiles it
import { archiveOf, fitsArchive } from './archive.js';
import { compress, decodeRows } from './png_library.js';

// The rows of the job's file. The module asks for them up to three times.
let rows = null;

function rowsOfJob(file) {
    rows ??= decodeRows(file);
    return rows;
}

const ready = createModule({ decodeRows: rowsOfJob, compress });

// A failure that is no defect of the page.
class Rejected extends Error {}

// Drawn pixels need up to four times as many bytes as a surface file, and the module has 4 GiB.
const MAX_FILE_BYTES = 512 * 1024 * 1024;

async function bytesOf(file) {
    if (file.size > MAX_FILE_BYTES) {
        throw new Rejected('The file is larger than 512 MiB.');
    }
    return new Uint8Array(await file.arrayBuffer());
}

function checked(answer) {
    if (answer.error !== undefined) {
        throw new Rejected(answer.error.code === '' ? answer.error.text : `${answer.error.text} [${answer.error.code}]`);
    }
    return answer;
}

// Stands in for a result that may be missing.
function attempted(answer) {
    try {
        return checked(answer);
    } catch (error) {
        return { error: error.message };
    }
}

const jobs = {
    // The verdict on an image, its surface, and small pictures of both.
    async image({ name, file, options, maxSide }, module, step) {
        step('reading');
        const bytes = await bytesOf(file);
        step('decoding');
        const judgment = checked(module.judge(name, bytes, options.alphaOnly));
        step('converting');
        const converted = attempted(module.convert(bytes, options));
        step('drawing');
        const original = attempted(module.drawImage(bytes, { maxSide }));
        const result = { judgment, converted, original, bytes: bytes.length };
        if (converted.error === undefined) {
            const { surface, palette } = converted;
            result.header = checked(module.inspect(surface)).header;
            result.picture = checked(module.drawSurface(surface, palette, { maxSide }));
            // The browser may keep these on disk.
            converted.surface = new Blob([surface]);
            converted.palette = palette === null ? null : new Blob([palette]);
        }
        return result;
    },

    // A section of an image as it is.
    async original({ file, view }, module) {
        return checked(module.drawImage(await bytesOf(file), view));
    },

    // A section of an image in the colors of a mode.
    async tile({ file, options, view }, module) {
        const converted = checked(module.convert(await bytesOf(file), options));
        const picture = checked(module.drawSurface(converted.surface, converted.palette, view));
        return { picture, bytes: converted.surface.length, losses: converted.losses };
    },

    // The header of a surface file, and its picture.
    async surface({ file, palette, maxSide }, module, step) {
        step('reading');
        const bytes = await bytesOf(file);
        const facts = checked(module.inspect(bytes));
        const colors = palette === null ? null : await bytesOf(palette);
        step('drawing');
        const picture = facts.faults.length > 0 ? { error: facts.faults[0] }
            : attempted(module.drawSurface(bytes, colors, { maxSide }));
        return { facts, picture, head: bytes.slice(0, 20), bytes: bytes.length };
    },

    async embed({ fileName, surfaces }, module) {
        const read = [];
        for (const { name, content } of surfaces) {
            read.push({ name, bytes: await bytesOf(content) });
        }
        return checked(module.embed(fileName, read));
    },

    async archive({ files }, module, step) {
        if (!fitsArchive(files)) {
            throw new Rejected('an archive holds at most 65,535 files and 4 GiB; save the surfaces in parts');
        }
        return archiveOf(files, (done) => step(`${done} of ${files.length} files`));
    },
};

function textOf(error) {
    if (error instanceof Rejected) {
        return error.message;
    }
    if (error instanceof DOMException) {
        return 'The browser cannot read the file. Was it changed or removed?';
    }
    return error instanceof RangeError ? 'There is not enough memory in this browser.'
        : `The page has a defect: ${error.message}`;
}

// After any other failure the module is not trusted any more.
const isExpected = (error) => error instanceof Rejected || error instanceof DOMException;

self.onmessage = async ({ data: { id, kind, request } }) => {
    const step = (text) => self.postMessage({ id, step: text });
    try {
        const module = await ready;
        const result = await jobs[kind](request, module, step);
        self.postMessage({ id, result, memory: module.HEAPU8.length });
    } catch (error) {
        self.postMessage({ id, error: textOf(error), isBroken: !isExpected(error) });
    } finally {
        rows = null;
    }
};
