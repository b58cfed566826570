// The module of the web page in place of pngslab, in node. The first argument is the module, which scripts/web.sh
// compiles, under a name that ends with .mjs; the others are those of pngslab. The page also converts images that
// pngslab rejects; these are rejected here.
import { readFileSync, writeFileSync } from 'node:fs';
import { resolve } from 'node:path';
import { pathToFileURL } from 'node:url';
import { parseArgs } from 'node:util';
import { compress, decodeRows } from '../../web/worker/png_library.js';

const { values, positionals } = parseArgs({
    allowPositionals: true,
    options: {
        help: { type: 'boolean' },
        image: { type: 'string' },
        rotation: { type: 'string', default: '0' },
        alphaonly: { type: 'boolean', default: false },
        output: { type: 'string' },
    },
});
if (values.help) {
    process.exit(0);
}

globalThis.self = { location: { href: '' } }; // the module looks for these in a worker
const { default: createModule } = await import(pathToFileURL(resolve(positionals[0])));
const module = await createModule({ decodeRows, compress });

const image = new Uint8Array(readFileSync(values.image));
const judgment = module.judge(values.image, image, values.alphaonly);
if (judgment.error !== undefined || judgment.verdict === 'rejected') {
    console.log('ERROR: cannot decode PNG file');
    process.exit(1);
}
const { surface } = module.convert(image, {
    mode: '', background: '', dither: 'none', alphaOnly: values.alphaonly, keepColors: false, palette: false,
    rotation: Number(values.rotation),
});
writeFileSync(values.output, surface);
