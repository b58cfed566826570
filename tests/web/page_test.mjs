// The page in a real browser: what a user does, and what the page shows.
import assert from 'node:assert/strict';
import { mkdir, readFile, readdir, stat, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { test } from 'node:test';
import { gzipSync } from 'node:zlib';
import { axeScript, convertAll, inScratchFolder, require, setOptions, site, testTools, tree, waitUntilDone } from './browser.mjs';
import { grayPng } from './png_maker.mjs';

const { unzipSync } = require('fflate');
const QUILL = join(tree, 'samples/quill.png');
const SEAL = join(tree, 'samples/seal.png');

const tools = testTools();

/** Calls `work` with a new page, and fails if the page reported an error. */
async function onPage(work, settings = {}) {
    const context = await tools.browser.newContext(settings);
    const page = await context.newPage();
    const errors = [];
    page.on('pageerror', (error) => errors.push(error.message));
    page.on('console', (message) => message.type() === 'error' && errors.push(message.text()));
    try {
        await page.goto(tools.server.address);
        await work(page);
        assert.deepEqual(errors, []);
    } finally {
        await context.close();
    }
}

async function savedBy(page, click) {
    const download = page.waitForEvent('download');
    await click();
    const saved = await download;
    return { name: saved.suggestedFilename(), content: new Uint8Array(await readFile(await saved.path())) };
}

const cardOf = (page, name) => page.locator('.card', { has: page.getByRole('heading', { name, exact: true }) });

/** Drops files on the page, as a file manager does. */
async function drop(page, files) {
    const transfer = await page.evaluateHandle((contents) => {
        const data = new DataTransfer();
        for (const [name, bytes] of contents) {
            data.items.add(new File([new Uint8Array(bytes)], name));
        }
        return data;
    }, files.map(([name, bytes]) => [name, [...bytes]]));
    await page.dispatchEvent('#drop', 'drop', { dataTransfer: transfer });
}

// ---- Tests

test('The compressed page is smaller than 300 KB', async () => {
    const MAX_BYTES = 300_000;
    let bytes = 0;
    for (const name of await readdir(site, { recursive: true })) {
        if ((await stat(join(site, name))).isFile()) {
            bytes += gzipSync(await readFile(join(site, name))).length;
        }
    }
    assert.ok(bytes > 0 && bytes < MAX_BYTES, `${bytes} bytes`);
});

test('A chosen image is accepted and shown beside its surface', async () => {
    await onPage(async (page) => {
        await convertAll(page, [QUILL]);
        const card = cardOf(page, 'quill.png');
        await card.getByText('accepted', { exact: true }).waitFor();
        await card.getByText('Surface of 92,948 bytes').waitFor();
        assert.equal(await card.getByRole('img').count(), 2);
        assert.equal(await page.locator('#status').textContent(), '1 file: 1 accepted');
    });
});

test('A dropped image is converted, and its surface can be saved', async () => {
    await onPage(async (page) => {
        await drop(page, [['seal.png', await readFile(SEAL)]]);
        await waitUntilDone(page);
        const { name, content } = await savedBy(page, () => cardOf(page, 'seal.png').getByRole('button', { name: 'Download surface' }).click());
        assert.equal(name, 'seal.surface');
        assert.ok(content.length > 20);
    });
});

test('A rejected image has reason and fix, and is converted all the same', async () => {
    await onPage(async (page) => {
        await drop(page, [['sixteen.png', grayPng({ depth: 16 })]]);
        await waitUntilDone(page);
        const card = cardOf(page, 'sixteen.png');
        await card.getByText('rejected', { exact: true }).waitFor();
        await card.getByText('slabtool prepare sixteen.png sixteen-prepared.png').waitFor();
        await card.getByText('The page converted the image all the same').waitFor();
        await card.getByText('Surface of 84 bytes').waitFor();
    });
});

test('A file that is no PNG is rejected with a reason', async () => {
    await onPage(async (page) => {
        await drop(page, [['notes.txt', Buffer.from('hello')], ['empty.png', Buffer.alloc(0)]]);
        await waitUntilDone(page);
        await cardOf(page, 'notes.txt').getByText('[not-png]').waitFor();
        await cardOf(page, 'empty.png').getByText('[not-png]').waitFor();
        assert.ok(await page.getByRole('button', { name: 'Download all' }).isDisabled());
    });
});

test('Hostile files are rejected, and the page goes on', async () => {
    const bomb = grayPng({ width: 60000, height: 60000, rowCount: 2 });
    const huge = Buffer.from(grayPng());
    huge.writeUInt32BE(0x7fffffff, 16);
    await onPage(async (page) => {
        await drop(page, [['<img src=x onerror=alert(1)>.png', Buffer.from('x')], ['bomb.png', bomb], ['huge.png', huge],
            ['line\nbreak.png', grayPng()], ['quill.png', await readFile(QUILL)]]);
        await waitUntilDone(page);
        await cardOf(page, '<img src=x onerror=alert(1)>.png').getByText('[not-png]').waitFor();
        assert.equal(await page.locator('.card img').count(), 0, 'names stay text');
        await cardOf(page, 'bomb.png').getByText('No surface: more pixels than').waitFor();
        await cardOf(page, 'huge.png').getByText('rejected', { exact: true }).waitFor();
        await cardOf(page, 'line?break.png').getByText('accepted', { exact: true }).waitFor();
        await cardOf(page, 'quill.png').getByText('Surface of 92,948 bytes').waitFor();
    });
});

test('Options convert all images again', async () => {
    await onPage(async (page) => {
        await convertAll(page, [QUILL, SEAL]);
        await setOptions(page, { mode: 'RGB565', dither: 'ordered' });
        await cardOf(page, 'quill.png').getByText('Surface of 46,484 bytes').waitFor();
        await waitUntilDone(page);
        assert.equal(await page.locator('#command').textContent(),
            'slabtool convert --mode RGB565 --dither ordered images surfaces');
    });
});

test('The comparison shows every mode and dithering, and chooses one', async () => {
    await onPage(async (page) => {
        await convertAll(page, [QUILL]);
        await page.getByRole('button', { name: 'Compare modes: quill.png' }).click();
        const tiles = page.locator('.tile');
        assert.equal(await tiles.count(), 16);
        await page.getByRole('button', { name: 'Use this mode: ARGB4444, Floyd-Steinberg' }).waitFor();
        await page.locator('.tile.failed').nth(1).waitFor(); // I8 and AI88 hold no colors
        await page.keyboard.press('+');
        assert.equal(await page.locator('#zoom').textContent(), '2 ×');
        const pixels = () => tiles.nth(1).locator('canvas').evaluate((canvas) => canvas.toDataURL());
        const centered = await pixels();
        await page.keyboard.press('ArrowRight');
        assert.notEqual(await pixels(), centered, 'the arrow key moves the pictures');
        await page.getByRole('button', { name: 'Use this mode: RGB565, ordered' }).click();
        await cardOf(page, 'quill.png').getByText('Surface of 46,484 bytes').waitFor();
    });
});

test('The archive has all files, also those of equal names', async () => {
    await onPage(async (page) => {
        await convertAll(page, [QUILL, SEAL]);
        await drop(page, [['quill.png', await readFile(QUILL)]]);
        await waitUntilDone(page);
        const { name, content } = await savedBy(page, () => page.getByRole('button', { name: 'Download all' }).click());
        assert.equal(name, 'surfaces.zip');
        assert.deepEqual(Object.keys(unzipSync(content)).filter((file) => file.endsWith('.surface')).sort(),
            ['quill-2.surface', 'quill.surface', 'seal.surface']);
    });
});

test('The C source has an array for each surface', async () => {
    await onPage(async (page) => {
        await convertAll(page, [QUILL, SEAL]);
        const { name, content } = await savedBy(page, () => page.getByRole('button', { name: 'Download as C source' }).click());
        assert.equal(name, 'surfaces-c.zip');
        const files = unzipSync(content);
        assert.deepEqual(Object.keys(files).sort(), ['surfaces.c', 'surfaces.h']);
        const source = new TextDecoder().decode(files['surfaces.c']);
        assert.match(source, /surfaces_quill_surface\[92948\]/);
        assert.match(source, /surfaces_seal_surface\[/);
    });
});

test('A surface file is shown and its header explained', async () => {
    await onPage(async (page) => {
        await convertAll(page, [QUILL]);
        const { content } = await savedBy(page, () => page.getByRole('button', { name: 'Download surface: quill.png' }).click());
        await page.getByRole('button', { name: 'Remove all' }).click();
        await drop(page, [['quill.surface', content], ['short.surface', content.subarray(0, 10)]]);
        await waitUntilDone(page);
        const card = cardOf(page, 'quill.surface');
        await card.getByText('consistent', { exact: true }).waitFor();
        await card.getByRole('row', { name: 'c0 02 00 00 stride 704 bytes from a row to the next one' }).waitFor();
        await cardOf(page, 'short.surface').getByText('not consistent').waitFor();
    });
});

test('200 files at once are converted and counted', async () => {
    await onPage(async (page) => {
        const image = grayPng();
        await drop(page, Array.from({ length: 200 }, (_, i) => [`icon-${i}.png`, image]));
        await waitUntilDone(page);
        assert.equal(await page.locator('#status').textContent(), '200 files: 200 accepted');
    });
});

test('The page answers while an image of 50 megapixels is decoded', async () => {
    await inScratchFolder(async (folder) => {
        const large = join(folder, 'large.png');
        await writeFile(large, grayPng({ width: 8000, height: 6250, level: 1 }));
        await onPage(async (page) => {
            await page.setInputFiles('#file-input', [large]);
            await setOptions(page, { backdrop: 'black' });
            assert.equal(await page.locator('body').getAttribute('data-backdrop'), 'black');
            assert.equal(await page.locator('.card').getAttribute('data-state'), 'working');
            await page.getByText('Converting: 0 of 1 file done').waitFor();
            await waitUntilDone(page);
            await cardOf(page, 'large.png').getByText('8000 × 6250').waitFor();
            await cardOf(page, 'large.png').getByText('Surface of 50,000,020 bytes').waitFor();
        });
    });
});

test('Removing a file ends its worker, and the next one needs no connection', async () => {
    await inScratchFolder(async (folder) => {
        const large = join(folder, 'large.png');
        await writeFile(large, grayPng({ width: 8000, height: 6250, level: 1 }));
        await onPage(async (page) => {
            const started = page.waitForEvent('worker');
            await page.setInputFiles('#file-input', [large]);
            const worker = await started;
            const requests = tools.server.requests.length;
            const ended = worker.waitForEvent('close');
            await page.getByRole('button', { name: 'Remove large.png' }).click();
            await ended;
            assert.equal(await page.locator('.card').count(), 0);
            await convertAll(page, [QUILL]);
            await cardOf(page, 'quill.png').getByText('Surface of 92,948 bytes').waitFor();
            assert.equal(tools.server.requests.length, requests);
        });
    });
});

test('A change of options during work replaces few workers', async () => {
    await onPage(async (page) => {
        let workers = 0;
        page.on('worker', () => workers++);
        const quill = await readFile(QUILL);
        await drop(page, Array.from({ length: 60 }, (_, i) => [`${i}.png`, quill]));
        await setOptions(page, { mode: 'RGB565' });
        await waitUntilDone(page);
        assert.equal(await page.getByText('Surface of 46,484 bytes').count(), 60);
        assert.ok(workers <= 4, `${workers} workers`);
    });
});

test('A chosen folder gives its images and surfaces', async () => {
    await inScratchFolder(async (folder) => {
        await mkdir(join(folder, 'icons', 'small'), { recursive: true });
        await writeFile(join(folder, 'icons', 'notes.txt'), 'hello');
        await writeFile(join(folder, 'icons', 'a.png'), grayPng());
        await writeFile(join(folder, 'icons', 'small', 'a.png'), grayPng());
        await onPage(async (page) => {
            await page.setInputFiles('#folder-input', join(folder, 'icons'));
            await waitUntilDone(page);
            const { content } = await savedBy(page, () => page.getByRole('button', { name: 'Download all' }).click());
            assert.deepEqual(Object.keys(unzipSync(content)).sort(), ['icons/a.surface', 'icons/small/a.surface']);
        });
    });
});

test('A palette gives colors to its surface, also if it comes later', async () => {
    await onPage(async (page) => {
        await drop(page, [['gray.png', grayPng()]]);
        await waitUntilDone(page);
        const { content } = await savedBy(page, () => page.getByRole('button', { name: 'Download surface: gray.png' }).click());
        await page.getByRole('button', { name: 'Remove all' }).click();
        await drop(page, [['gray.surface', content]]);
        await waitUntilDone(page);
        const firstPixel = () => page.locator('.card canvas').evaluate(
            (canvas) => [...canvas.getContext('2d').getImageData(0, 0, 1, 1).data]);
        assert.deepEqual(await firstPixel(), [0, 0, 0, 255]);
        await drop(page, [['gray.palette', Buffer.concat([Buffer.from([30, 20, 10]), Buffer.alloc(765)])]]);
        await waitUntilDone(page);
        assert.deepEqual(await firstPixel(), [10, 20, 30, 255]);
    });
});

test('The archive has names that every system can store', async () => {
    await onPage(async (page) => {
        await drop(page, [['..\\..\\x.png', grayPng()], ['A.png', grayPng()], ['a.png', grayPng()]]);
        await waitUntilDone(page);
        const { content } = await savedBy(page, () => page.getByRole('button', { name: 'Download all' }).click());
        assert.deepEqual(Object.keys(unzipSync(content)).sort(), ['.._.._x.surface', 'A.surface', 'a-2.surface']);
    });
});

test('The comparison of a large image follows the movement', async () => {
    await onPage(async (page) => {
        await drop(page, [['wide.png', grayPng({ width: 4000, height: 4, level: 1 })]]);
        await waitUntilDone(page);
        await page.getByRole('button', { name: 'Compare modes: wide.png' }).click();
        await page.getByRole('button', { name: 'Use this mode: A8' }).waitFor();
        const shown = () => page.locator('.tile canvas').first().evaluate((canvas) => {
            const { data } = canvas.getContext('2d').getImageData(canvas.width / 2, canvas.height / 2, 1, 1);
            return data[3];
        });
        assert.equal(await shown(), 255);
        for (let i = 0; i < 30; i++) {
            await page.keyboard.press('ArrowRight');
        }
        for (let i = 0; i < 2; i++) {
            await page.keyboard.press('ArrowLeft');
        }
        await page.waitForFunction(() => {
            const canvas = document.querySelector('.tile canvas');
            return canvas.getContext('2d').getImageData(canvas.width / 2, canvas.height / 2, 1, 1).data[3] === 255;
        });
    });
});

test('The keyboard reaches everything', async () => {
    await onPage(async (page) => {
        await convertAll(page, [QUILL]);
        await page.locator('body').focus();
        const reached = new Set();
        for (let i = 0; i < 40; i++) {
            await page.keyboard.press('Tab');
            reached.add(await page.evaluate(() => document.activeElement.id ||
                document.activeElement.getAttribute('aria-label') || document.activeElement.textContent));
        }
        for (const name of ['choose-files', 'choose-folder', 'mode', 'rotation', 'save-all', 'save-source', 'filter',
            'Remove quill.png', 'Compare modes: quill.png']) {
            assert.ok(reached.has(name), `${name} is not among ${[...reached].join(', ')}`);
        }
        await page.getByRole('button', { name: 'Compare modes: quill.png' }).focus();
        await page.keyboard.press('Enter');
        await page.locator('#compare[open]').waitFor();
        await page.keyboard.press('Escape');
        await page.locator('#compare[open]').waitFor({ state: 'detached' });
    });
});

test('After loading the page opens no connection, and its policy forbids them', async () => {
    await onPage(async (page) => {
        await convertAll(page, [QUILL]);
        const before = tools.server.requests.length;
        await setOptions(page, { mode: 'ARGB4444', dither: 'ordered' });
        await waitUntilDone(page);
        await savedBy(page, () => page.getByRole('button', { name: 'Download all' }).click());
        assert.equal(tools.server.requests.length, before);
    });
    await onPage(async (page) => {
        const blocked = await page.evaluate(async () => {
            const inPage = await fetch('/index.html').then(() => 'sent', () => 'blocked');
            const script = 'fetch(ADDRESS).then(() => postMessage("sent"), () => postMessage("blocked"))';
            const worker = new Worker(URL.createObjectURL(new Blob([script.replace('ADDRESS', JSON.stringify(location.href))])));
            return [inPage, await new Promise((resolve) => {
                worker.onmessage = ({ data }) => resolve(data);
            })];
        });
        assert.deepEqual(blocked, ['blocked', 'blocked']);
    }).catch((error) => assert.match(error.message, /Content Security Policy/)); // Chromium reports what it blocked
});

for (const [colorScheme, width] of [['light', 1280], ['dark', 1280], ['light', 360]]) {
    test(`axe-core finds no violation in the ${colorScheme} page of ${width} pixels`, async () => {
        await onPage(async (page) => {
            const check = async (state) => {
                await page.addScriptTag({ path: axeScript }); // again: a new document may not have it
                const { violations } = await page.evaluate(() => window.axe.run());
                assert.deepEqual(violations.map(({ id, nodes }) => `${id}: ${nodes.map((node) => node.html).join(' ')}`), [], state);
            };
            await check('empty');
            await drop(page, [['quill.png', await readFile(QUILL)], ['sixteen.png', grayPng({ depth: 16 })],
                ['notes.txt', Buffer.from('hello')], ['bad.surface', Buffer.from('hello')]]);
            await waitUntilDone(page);
            await check('full');
            await page.getByRole('button', { name: 'Compare modes: quill.png' }).click();
            await page.locator('.tile.failed').nth(1).waitFor();
            await check('comparison');
        }, { colorScheme, viewport: { width, height: 800 }, bypassCSP: true });
    });
}
