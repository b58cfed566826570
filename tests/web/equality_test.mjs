// The surfaces of the page are the files that slabtool convert writes.
import assert from 'node:assert/strict';
import { execFile } from 'node:child_process';
import { copyFile, mkdir, readFile, readdir, writeFile } from 'node:fs/promises';
import { basename, join } from 'node:path';
import { test } from 'node:test';
import { rareImages } from './png_maker.mjs';
import { convertAll, inScratchFolder, require, setOptions, testTools, tree } from './browser.mjs';

const { unzipSync } = require('fflate');
const slabtool = process.env.PNGSLAB_TOOL;

const PICTURES = ['samples/quill.png', 'samples/seal.png', 'docs/drawing.png', 'docs/postcard-rgb565.png',
    'docs/postcard.png'];
const SEEDS = 'fuzz/corpus/fuzz_png_against_libpng_seed_corpus.zip';

const tools = testTools();

/** Puts the samples, the pictures of the documents, the images of the fuzzers and rare images into a folder. */
async function gatherImages(folder) {
    const seeds = unzipSync(new Uint8Array(await readFile(join(tree, SEEDS))));
    for (const [name, content] of Object.entries(seeds)) {
        await writeFile(join(folder, `${name}.png`), content);
    }
    for (const picture of PICTURES) {
        await copyFile(join(tree, picture), join(folder, basename(picture)));
    }
    for (const [name, content] of Object.entries(rareImages())) {
        await writeFile(join(folder, `${name}.png`), content);
    }
    for (const extra of process.env.PNGSLAB_MORE_IMAGES?.split(':') ?? []) {
        await copyFile(extra, join(folder, basename(extra)));
    }
}

/** The files that slabtool writes, by name. It exits with 1 if it rejects an image. */
async function convertedByTool(images, options, output) {
    await mkdir(output);
    await new Promise((resolve) => {
        execFile(slabtool, ['convert', '--quiet', '--no-manifest', ...options, images, output], resolve);
    });
    return Object.fromEntries(await Promise.all((await readdir(output)).map(
        async (name) => [name, await readFile(join(output, name))])));
}

/** The files in the archive of the page, by name. */
async function convertedByPage(images, options) {
    const page = await tools.browser.newPage();
    try {
        await page.goto(tools.server.address);
        await setOptions(page, options);
        await convertAll(page, (await readdir(images)).map((name) => join(images, name)));
        const download = page.waitForEvent('download');
        await page.getByRole('button', { name: 'Download all' }).click();
        return unzipSync(new Uint8Array(await readFile(await (await download).path())));
    } finally {
        await page.close();
    }
}

const CASES = [
    ['no option', ['--palette'], {}],
    ['rotation', ['--palette', '--rotation', '90'], { rotation: true }],
    ['alpha only', ['--palette', '--alphaonly'], { 'alpha-only': true }],
    ['kept colors', ['--palette', '--keep-colors'], { 'keep-colors': true }],
    ['A8', ['--mode', 'A8'], { mode: 'A8' }],
    ['I8', ['--palette', '--mode', 'I8'], { mode: 'I8' }],
    ['AI88', ['--palette', '--mode', 'AI88'], { mode: 'AI88' }],
    ['ARGB8888', ['--mode', 'ARGB8888'], { mode: 'ARGB8888' }],
    ['RGB888 on a background', ['--mode', 'RGB888', '--background', '#336699'],
        { mode: 'RGB888', 'has-background': true, background: '#336699' }],
    ['RGB565 in ordered dithering', ['--mode', 'RGB565', '--dither', 'ordered'], { mode: 'RGB565', dither: 'ordered' }],
    ['ARGB1555', ['--mode', 'ARGB1555'], { mode: 'ARGB1555' }],
    ['ARGB4444 in Floyd-Steinberg dithering', ['--mode', 'ARGB4444', '--dither', 'floyd-steinberg'],
        { mode: 'ARGB4444', dither: 'floyd-steinberg' }],
];

for (const [title, words, options] of CASES) {
    test(`The page writes the bytes of slabtool convert with ${title}`, async () => {
        await inScratchFolder(async (folder) => {
            const images = join(folder, 'images');
            await mkdir(images);
            await gatherImages(images);
            const expected = await convertedByTool(images, words, join(folder, 'surfaces'));
            const actual = await convertedByPage(images, options);
            assert.ok(Object.keys(expected).length > 20, 'slabtool converted the images');
            assert.deepEqual(Object.keys(actual).sort(), Object.keys(expected).sort());
            for (const [name, content] of Object.entries(expected)) {
                assert.ok(content.equals(actual[name]), `${name} differs`);
            }
        });
    });
}
