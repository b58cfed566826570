// The page of slabtool gallery in a real browser.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { copyFile, writeFile } from 'node:fs/promises';
import { basename, join } from 'node:path';
import { test } from 'node:test';
import { pathToFileURL } from 'node:url';
import { axeScript, inScratchFolder, testTools, tree } from './browser.mjs';

const slabtool = process.env.PNGSLAB_TOOL;

const tools = testTools();

/** Calls `work` with a gallery of two images, their surfaces, and two files that cannot be drawn. */
async function onGallery(work, settings = {}) {
    await inScratchFolder(async (folder) => {
        for (const name of ['samples/quill.png', 'samples/seal.png']) {
            await copyFile(join(tree, name), join(folder, basename(name)));
        }
        execFileSync(slabtool, ['convert', '--quiet', '--no-manifest', folder, folder]);
        await writeFile(join(folder, 'bad.surface'), 'too short');
        await writeFile(join(folder, 'text.png'), 'no image');
        const gallery = join(folder, 'gallery.html');
        execFileSync(slabtool, ['gallery', '--quiet', '--images', folder, '-o', gallery]);
        const context = await tools.browser.newContext(settings);
        const page = await context.newPage();
        const requests = [];
        page.on('request', (request) => request.url().startsWith('data:') || requests.push(request.url()));
        const address = pathToFileURL(gallery).href;
        await page.goto(address);
        await work(page);
        assert.deepEqual(requests, [address], 'the page asks for nothing');
        await context.close();
    });
}

const shownNames = (page) => page.locator('#pictures > li:not([hidden]) h2').allTextContents();

test('The gallery shows every file', async () => {
    await onGallery(async (page) => {
        assert.deepEqual(await shownNames(page), ['bad.surface', 'quill.png', 'quill.surface', 'seal.png', 'seal.surface', 'text.png']);
        const sizes = await page.locator('#pictures img').evaluateAll(
            (images) => Promise.all(images.map(async (image) => {
                await image.decode();
                return `${image.naturalWidth} ${image.naturalHeight}`;
            })));
        assert.deepEqual(sizes.slice(0, 2), ['176 132', '176 132']);
    });
});

test('The gallery filters by name, mode and verdict, and sorts', async () => {
    await onGallery(async (page) => {
        await page.fill('#name', 'SEAL');
        assert.deepEqual(await shownNames(page), ['seal.png', 'seal.surface']);
        await page.selectOption('#mode', 'PNG');
        assert.deepEqual(await shownNames(page), ['seal.png']);
        await page.fill('#name', '');
        await page.selectOption('#mode', '');
        await page.selectOption('#verdict', 'rejected');
        assert.deepEqual(await shownNames(page), ['text.png']);
        await page.selectOption('#verdict', '');
        await page.selectOption('#sort', 'bytes-down');
        assert.equal((await shownNames(page))[0], 'quill.surface');
        await page.fill('#name', 'nothing has this name');
        await page.getByText('No picture has these properties.').waitFor();
    });
});

test('The keyboard opens a picture, zooms, moves to the next one and closes it', async () => {
    await onGallery(async (page) => {
        await page.getByRole('button', { name: 'Enlarge quill.surface' }).focus();
        await page.keyboard.press('Enter');
        await page.locator('#viewer[open]').waitFor();
        await page.waitForFunction(() => document.getElementById('zoom').textContent !== ''); // it fits the picture first
        await page.keyboard.press('1');
        assert.equal(await page.locator('#zoom').textContent(), '1 ×');
        await page.keyboard.press('+');
        assert.equal(await page.locator('#zoom').textContent(), '2 ×');
        assert.equal(await page.locator('#stage img').evaluate((image) => image.clientWidth), 352);
        await page.locator('#close').focus();
        await page.keyboard.press('ArrowRight');
        assert.equal(await page.locator('#viewer-name').textContent(), 'seal.png');
        await page.keyboard.press('Escape');
        await page.locator('#viewer[open]').waitFor({ state: 'detached' });
        assert.equal(await page.evaluate(() => document.activeElement.getAttribute('aria-label')), 'Enlarge seal.png');
    });
});

for (const colorScheme of ['light', 'dark']) {
    test(`axe-core finds no violation in the ${colorScheme} gallery`, async () => {
        await onGallery(async (page) => {
            await page.addScriptTag({ path: axeScript });
            const check = async (state) => {
                const { violations } = await page.evaluate(() => window.axe.run());
                assert.deepEqual(violations.map(({ id, nodes }) => `${id}: ${nodes.map((node) => node.html).join(' ')}`), [], state);
            };
            await check('pictures');
            await page.getByRole('button', { name: 'Enlarge quill.surface' }).click();
            await page.locator('#stage img').waitFor();
            await check('viewer');
        }, { colorScheme, bypassCSP: true });
    });
}
