// The gallery's filters and its viewer. The page has all pictures; this script only arranges them.
'use strict';

const byId = (id) => document.getElementById(id);
const list = byId('pictures');
const cards = Array.from(list.children);
const plain = new Intl.NumberFormat('en-US');

// ---- Filters

const orders = {
    name: () => 0, // the cards are in this order, and sort() keeps it
    'bytes-up': (a, b) => Number(a.dataset.bytes) - Number(b.dataset.bytes),
    'bytes-down': (a, b) => Number(b.dataset.bytes) - Number(a.dataset.bytes),
    'pixels-up': (a, b) => Number(a.dataset.pixels) - Number(b.dataset.pixels),
    'pixels-down': (a, b) => Number(b.dataset.pixels) - Number(a.dataset.pixels),
};

function fillChoices(select, key) {
    const counts = new Map();
    for (const card of cards) {
        const value = card.dataset[key];
        counts.set(value, (counts.get(value) ?? 0) + 1);
    }
    for (const value of [...counts.keys()].sort()) {
        select.append(new Option(`${value} (${plain.format(counts.get(value))})`, value));
    }
}

function isShown(card) {
    const words = byId('name').value.toLowerCase().split(/\s+/);
    const matches = (id) => byId(id).value === '' || card.dataset[id] === byId(id).value;
    return matches('mode') && matches('verdict') &&
        words.every((word) => card.dataset.name.toLowerCase().includes(word));
}

function update() {
    let shown = 0;
    let bytes = 0;
    for (const card of cards) {
        card.hidden = !isShown(card);
        shown += card.hidden ? 0 : 1;
        bytes += card.hidden ? 0 : Number(card.dataset.bytes);
    }
    byId('shown').textContent =
        `${plain.format(shown)} of ${plain.format(cards.length)} shown, ${plain.format(bytes)} bytes`;
    byId('none').hidden = shown !== 0;
}

function sort() {
    list.append(...[...cards].sort(orders[byId('sort').value]));
}

fillChoices(byId('mode'), 'mode');
fillChoices(byId('verdict'), 'verdict');
byId('filters').hidden = false;
for (const id of ['name', 'mode', 'verdict']) {
    byId(id).addEventListener('input', update);
}
byId('sort').addEventListener('input', sort);
byId('background').addEventListener('input', () => {
    document.body.className = byId('background').value;
});
byId('filters').addEventListener('submit', (event) => event.preventDefault());
update();

// ---- The viewer

const viewer = byId('viewer');
const stage = byId('stage');
const zooms = [1 / 16, 1 / 12, 1 / 8, 1 / 6, 1 / 4, 1 / 3, 1 / 2, 1, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64];
let current = null;
let zoom = 1;

const pictures = () => Array.from(list.children).filter((card) => !card.hidden && card.querySelector('img'));

function setZoom(value) {
    zoom = value;
    const image = stage.firstElementChild;
    image.classList.toggle('reduced', zoom < 1);
    image.style.width = `${image.naturalWidth * zoom}px`;
    image.style.height = `${image.naturalHeight * zoom}px`;
    byId('zoom').textContent = zoom < 1 ? `1/${Math.round(1 / zoom)}` : `${zoom} ×`;
}

// The largest zoom at which the picture fits; an integer or the inverse of one, so that all pixels are equal.
function fit() {
    const image = stage.firstElementChild;
    const fitting = zooms.filter((value) => image.naturalWidth * value <= stage.clientWidth &&
        image.naturalHeight * value <= stage.clientHeight);
    setZoom(fitting.length > 0 ? fitting[fitting.length - 1] : zooms[0]);
}

function step(direction) {
    const next = direction > 0 ? zooms.find((value) => value > zoom) : zooms.findLast((value) => value < zoom);
    setZoom(next ?? zoom);
}

async function show(card) {
    current = card;
    const image = card.querySelector('img').cloneNode();
    image.removeAttribute('width');
    image.removeAttribute('height');
    image.alt = card.dataset.name;
    stage.replaceChildren(image);
    byId('viewer-name').textContent = card.dataset.name;
    byId('viewer-facts').textContent = card.querySelector('.numbers').textContent;
    if (!viewer.open) {
        viewer.showModal();
    }
    const isDecoded = await image.decode().then(() => true, () => false);
    if (stage.firstElementChild === image && isDecoded) {
        fit();
    }
}

function move(direction) {
    const all = pictures();
    if (all.length > 0) {
        show(all[(Math.max(all.indexOf(current), 0) + direction + all.length) % all.length]);
    }
}

list.addEventListener('click', (event) => {
    const button = event.target.closest('button');
    if (button !== null) {
        show(button.closest('li'));
    }
});
const actions = {
    previous: () => move(-1),
    next: () => move(1),
    'zoom-out': () => step(-1),
    'zoom-in': () => step(1),
    actual: () => setZoom(1),
    fit,
    close: () => viewer.close(),
};
for (const [id, action] of Object.entries(actions)) {
    byId(id).addEventListener('click', action);
}
viewer.addEventListener('close', () => current.querySelector('button')?.focus());
const keys = { ArrowLeft: 'previous', ArrowRight: 'next', '-': 'zoom-out', '+': 'zoom-in', '=': 'zoom-in', 1: 'actual', 0: 'fit' };
viewer.addEventListener('keydown', (event) => {
    // A picture that is larger than the window scrolls by arrow keys.
    const scrolls = event.target === stage && stage.scrollWidth > stage.clientWidth && event.key.startsWith('Arrow');
    if (event.key in keys && !scrolls && !event.ctrlKey && !event.metaKey && !event.altKey) {
        event.preventDefault();
        actions[keys[event.key]]();
    }
});

// ---- Images that the browser cannot show

function replaceBroken(image) {
    const button = image.closest('button');
    if (button !== null) {
        const text = document.createElement('div');
        text.className = 'nothing';
        text.textContent = 'The browser cannot show this image.';
        button.replaceWith(text);
    }
}

document.addEventListener('error', (event) => replaceBroken(event.target), true);
for (const image of list.querySelectorAll('img')) {
    if (image.complete && image.naturalWidth === 0) {
        image.decode().catch(() => replaceBroken(image));
    }
}
