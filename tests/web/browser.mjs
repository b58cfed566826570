// Serves the built page and opens it in Chromium.
import { createReadStream } from 'node:fs';
import { mkdtemp, rm } from 'node:fs/promises';
import { createServer } from 'node:http';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { extname, join, normalize } from 'node:path';
import { after, before } from 'node:test';
import { fileURLToPath } from 'node:url';

export const tree = fileURLToPath(new URL('../..', import.meta.url));
export const site = join(tree, 'build/web/site');
// The libraries are below web/, and the tests are not.
export const require = createRequire(join(tree, 'web/package.json'));
export const axeScript = require.resolve('axe-core/axe.min.js');

const TYPES = { '.html': 'text/html', '.css': 'text/css', '.js': 'text/javascript' };

/** Serves the page's files. `requests` collects the paths that were asked for. */
export async function serve() {
    const requests = [];
    const server = createServer((request, response) => {
        requests.push(request.url);
        const path = normalize(request.url === '/' ? '/index.html' : request.url);
        response.setHeader('Content-Type', TYPES[extname(path)] ?? 'application/octet-stream');
        createReadStream(join(site, path)).on('error', () => response.writeHead(404).end()).pipe(response);
    });
    await new Promise((resolve) => server.listen(0, 'localhost', resolve));
    return { address: `http://localhost:${server.address().port}/`, requests, close: () => server.close() };
}

/** Chromium of the system. */
export async function launch() {
    const { chromium } = require('playwright-core');
    return chromium.launch({ executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', args: ['--no-sandbox'] });
}

/** A server and a browser for the tests of a file. They are there while the tests run. */
export function testTools() {
    const tools = {};
    before(async () => {
        tools.server = await serve();
        tools.browser = await launch();
    });
    after(async () => {
        await tools.browser.close();
        tools.server.close();
    });
    return tools;
}

/** Calls `work` with the path of a scratch folder. */
export async function inScratchFolder(work) {
    const folder = await mkdtemp(join(tmpdir(), 'pngslab-web-'));
    try {
        return await work(folder);
    } finally {
        await rm(folder, { recursive: true });
    }
}

/** Sets options of the conversion by the ids of their elements. */
export async function setOptions(page, options) {
    for (const [id, value] of Object.entries(options)) {
        const control = page.locator(`#${id}`);
        if (value === true) {
            await control.check();
        } else if (value.startsWith('#')) {
            await control.fill(value);
        } else {
            await control.selectOption(value);
        }
    }
}

/** Waits until all files of a page are done. */
export async function waitUntilDone(page) {
    await page.waitForFunction(() => {
        const cards = [...document.querySelectorAll('.card')];
        return cards.length > 0 && cards.every((card) => card.dataset.state === 'done');
    }, null, { timeout: 120_000 });
}

/** Gives files to a page and waits until they are done. */
export async function convertAll(page, files) {
    await page.setInputFiles('#file-input', files);
    await waitUntilDone(page);
}
