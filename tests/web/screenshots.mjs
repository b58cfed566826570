// Makes the pictures of the pages for the documents: docs/web.png, docs/web-compare.png and docs/gallery.png.
import { execFileSync } from 'node:child_process';
import { copyFile } from 'node:fs/promises';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';
import { convertAll, inScratchFolder, launch, serve, tree } from './browser.mjs';

const slabtool = process.env.PNGSLAB_TOOL;
const IMAGES = ['samples/quill.png', 'samples/seal.png', 'examples/postcard/postmark.png'].map((path) => join(tree, path));
const WINDOW = { viewport: { width: 1200, height: 800 }, colorScheme: 'light' };

const picture = (name) => ({ path: join(tree, 'docs', name) });

async function showPage(browser) {
    const server = await serve();
    const page = await browser.newPage(WINDOW);
    await page.goto(server.address);
    await convertAll(page, IMAGES);
    await page.screenshot(picture('web.png'));
    await page.getByRole('button', { name: 'Compare modes: quill.png' }).click();
    await page.getByRole('button', { name: 'Use this mode: A8' }).waitFor();
    for (let step = 0; step < 3; step++) {
        await page.keyboard.press('+');
    }
    await page.screenshot(picture('web-compare.png'));
    await page.close();
    server.close();
}

async function showGallery(browser) {
    await inScratchFolder(async (folder) => {
        for (const image of IMAGES) {
            await copyFile(image, join(folder, image.slice(image.lastIndexOf('/') + 1)));
        }
        for (const mode of ['ARGB4444', 'RGB565']) {
            execFileSync(slabtool, ['convert', '--quiet', '--no-manifest', '--mode', mode, folder, join(folder, mode.toLowerCase())]);
        }
        execFileSync(slabtool, ['gallery', '--quiet', '--images', '.', '-o', 'gallery.html'], { cwd: folder });
        const page = await browser.newPage(WINDOW);
        await page.goto(pathToFileURL(join(folder, 'gallery.html')).href);
        await page.screenshot(picture('gallery.png'));
        await page.close();
    });
}

const browser = await launch();
await showPage(browser);
await showGallery(browser);
await browser.close();
