// Shows an image in every mode, with and without dithering. All pictures show the same place at the same zoom.
import { byId, canvasOf, counted, element } from './elements.js';
import { DEFAULTS, backgroundFor, chooseMode } from './options.js';

const SECTION_SIDE = 1024; // pixels; of a larger image, a section is converted for the screen
const ZOOMS = [1 / 8, 1 / 6, 1 / 4, 1 / 3, 1 / 2, 1, 2, 3, 4, 6, 8, 12, 16, 24, 32];
const FOLLOW_DELAY = 300; // milliseconds without a movement
const STEP = 1 / 4; // of a tile, for an arrow key

const dithered = (mode) => [[mode, 'none'], [mode, 'ordered'], [mode, 'floyd-steinberg']];
const MODES = [
    ['', 'none'], ['ARGB8888', 'none'], ['RGB888', 'none'], ...dithered('RGB565'), ...dithered('ARGB1555'),
    ...dithered('ARGB4444'), ['AI88', 'none'], ['I8', 'none'], ['A8', 'none'],
];

function titleOf([mode, dither]) {
    if (mode === '') {
        return 'as pngslab';
    }
    return dither === 'none' ? mode : `${mode}, ${dither === 'ordered' ? 'ordered' : 'Floyd-Steinberg'}`;
}

// A picture among the others.
class Tile {
    constructor(title) {
        this.canvas = element('canvas');
        this.canvas.setAttribute('role', 'img');
        this.canvas.setAttribute('aria-label', title);
        this.facts = element('p', { className: 'quiet' }, 'waiting…');
        this.picture = null;
        this.element = element('figure', { className: 'tile' }, this.canvas,
            element('figcaption', {}, element('h3', {}, title), this.facts));
    }

    /** @param origin the place of the picture in the image */
    setPicture(picture, origin, facts) {
        this.picture = canvasOf(picture);
        this.origin = origin;
        this.facts.replaceChildren(...facts);
    }

    setFailure(text) {
        this.element.classList.add('failed');
        this.facts.textContent = text;
    }

    /** Draws the part of the image around a center. */
    draw(center, zoom) {
        const ratio = window.devicePixelRatio;
        this.canvas.width = Math.round(this.canvas.clientWidth * ratio);
        this.canvas.height = Math.round(this.canvas.clientHeight * ratio);
        if (this.picture === null || this.canvas.width === 0) {
            return;
        }
        const scale = zoom * ratio;
        const context = this.canvas.getContext('2d');
        context.imageSmoothingEnabled = zoom < 1;
        context.imageSmoothingQuality = 'high';
        const left = Math.round(this.canvas.width / 2 - (center.x - this.origin.x) * scale);
        const top = Math.round(this.canvas.height / 2 - (center.y - this.origin.y) * scale);
        const width = this.picture.width * scale;
        const height = this.picture.height * scale;
        context.fillStyle = this.backdrop(context);
        context.fillRect(left, top, width, height);
        context.drawImage(this.picture, left, top, width, height);
    }

    // The color or the checkerboard under translucent pixels.
    backdrop(context) {
        const style = getComputedStyle(this.canvas);
        const color = (name) => style.getPropertyValue(name).trim();
        const board = element('canvas', { width: 16, height: 16 });
        const squares = board.getContext('2d');
        squares.fillStyle = color('--check-a');
        squares.fillRect(0, 0, 16, 16);
        squares.fillStyle = color('--check-b');
        squares.fillRect(0, 0, 8, 8);
        squares.fillRect(8, 8, 8, 8);
        return context.createPattern(board, 'repeat');
    }
}

export class Comparison {
    #dialog = byId('compare');
    #grid = byId('tiles');
    #tiles = [];
    #card = null;
    #center = { x: 0, y: 0 };
    #zoom = 1;
    #section = null;
    #timer = 0;

    constructor(workers) {
        this.workers = workers;
        const actions = {
            'zoom-in': () => this.#step(1), 'zoom-out': () => this.#step(-1), fit: () => this.#fit(),
            'close-compare': () => this.#dialog.close(),
        };
        for (const [id, action] of Object.entries(actions)) {
            byId(id).addEventListener('click', action);
        }
        this.#dialog.addEventListener('close', () => this.#stop());
        this.#dialog.addEventListener('keydown', (event) => this.#key(event));
        this.#grid.addEventListener('pointerdown', (event) => this.#drag(event));
        this.#grid.addEventListener('wheel', (event) => this.#wheel(event), { passive: false });
        new ResizeObserver(() => this.#draw()).observe(this.#grid);
    }

    /** Opens the dialog with the image of a card. */
    open(card) {
        this.#card = card;
        byId('compare-name').textContent = card.name;
        const { width, height } = card.size;
        this.#center = { x: width / 2, y: height / 2 };
        this.#section = this.#sectionAtCenter();
        const isSection = width > SECTION_SIDE || height > SECTION_SIDE;
        byId('compare-facts').textContent = `${width} × ${height}` +
            (isSection ? `; ${SECTION_SIDE} × ${SECTION_SIDE} pixels are shown at a time` : '');
        this.#tiles = [new Tile('original'), ...MODES.map((mode) => new Tile(titleOf(mode)))];
        this.#grid.replaceChildren(...this.#tiles.map((tile) => tile.element));
        this.#dialog.showModal();
        this.#grid.focus();
        this.#fit();
        this.#convert();
    }

    // The part of the image that is converted for the screen.
    #sectionAtCenter() {
        const start = (center, size) => Math.round(Math.min(Math.max(center - SECTION_SIDE / 2, 0), Math.max(size - SECTION_SIDE, 0)));
        const { width, height } = this.#card.size;
        return {
            x: start(this.#center.x, width), y: start(this.#center.y, height),
            width: Math.min(width, SECTION_SIDE), height: Math.min(height, SECTION_SIDE),
        };
    }

    #convert() {
        const { file } = this.#card.source;
        const view = this.#section;
        const [original, ...others] = this.#tiles;
        const how = { isUrgent: true, group: this };
        const show = (tile, work, factsOf) => work.then((result) => {
            tile.setPicture(result.picture ?? result, view, factsOf(result));
            this.#drawTile(tile);
        }, (error) => tile.setFailure(error.message));
        show(original, this.workers.run('original', { file, view }, how), () => ['as it is']);
        for (const [index, mode] of MODES.entries()) {
            const options = { ...DEFAULTS, mode: mode[0], dither: mode[1], background: backgroundFor(mode[0]) };
            show(others[index], this.workers.run('tile', { file, options, view }, how),
                (result) => this.#factsOf(mode, result));
        }
    }

    #factsOf([mode, dither], { bytes, losses }) {
        const choose = element('button', { type: 'button', onclick: () => this.#choose(mode, dither) }, 'Use this mode');
        choose.setAttribute('aria-label', `Use this mode: ${titleOf([mode, dither])}`);
        const texts = [counted(bytes, 'byte'), ...losses.map((loss) => loss.text)];
        return [`${texts.join('; ')} `, choose];
    }

    #choose(mode, dither) {
        this.#dialog.close();
        chooseMode(mode, dither);
        byId('mode').focus();
    }

    #stop() {
        this.workers.cancel([this]);
        clearTimeout(this.#timer);
        this.#tiles = [];
        this.#grid.replaceChildren();
        this.#card.element.querySelector('.row button:last-child')?.focus();
    }

    // ---- The magnifier

    #drawTile(tile) {
        tile.draw(this.#center, this.#zoom);
    }

    #draw() {
        this.#tiles.forEach((tile) => this.#drawTile(tile));
        byId('zoom').textContent = this.#zoom < 1 ? `1/${Math.round(1 / this.#zoom)}` : `${this.#zoom} ×`;
    }

    #moveTo(x, y) {
        const { width, height } = this.#card.size;
        this.#center = { x: Math.min(Math.max(x, 0), width), y: Math.min(Math.max(y, 0), height) };
        this.#draw();
        clearTimeout(this.#timer);
        this.#timer = setTimeout(() => this.#follow(), FOLLOW_DELAY);
    }

    // Converts another section if the center has come near the edge of this one.
    #follow() {
        const next = this.#sectionAtCenter();
        const distance = Math.max(Math.abs(next.x - this.#section.x), Math.abs(next.y - this.#section.y));
        if (distance > SECTION_SIDE / 4) {
            this.#section = next;
            this.workers.cancel([this]);
            this.#convert();
        }
    }

    #setZoom(zoom) {
        this.#zoom = zoom;
        this.#draw();
    }

    #step(direction) {
        const next = direction > 0 ? ZOOMS.find((zoom) => zoom > this.#zoom) : ZOOMS.findLast((zoom) => zoom < this.#zoom);
        this.#setZoom(next ?? this.#zoom);
    }

    #fit() {
        const { width, height } = this.#section;
        const { clientWidth, clientHeight } = this.#tiles[0].canvas;
        const fitting = ZOOMS.filter((zoom) => width * zoom <= clientWidth && height * zoom <= clientHeight);
        this.#zoom = fitting.at(-1) ?? ZOOMS[0];
        this.#moveTo(this.#section.x + width / 2, this.#section.y + height / 2);
    }

    #key(event) {
        const reach = this.#tiles[0].canvas.clientWidth / this.#zoom * STEP;
        const move = (x, y) => () => this.#moveTo(this.#center.x + x * reach, this.#center.y + y * reach);
        const actions = {
            '+': () => this.#step(1), '=': () => this.#step(1), '-': () => this.#step(-1), 0: () => this.#fit(),
            ArrowLeft: move(-1, 0), ArrowRight: move(1, 0), ArrowUp: move(0, -1), ArrowDown: move(0, 1),
        };
        if (event.key in actions && !event.ctrlKey && !event.metaKey && !event.altKey) {
            event.preventDefault();
            actions[event.key]();
        }
    }

    #drag(event) {
        const canvas = event.target;
        if (!(canvas instanceof HTMLCanvasElement) || event.button !== 0 || canvas.onpointermove !== null) {
            return;
        }
        const start = { x: event.clientX, y: event.clientY, center: this.#center };
        canvas.setPointerCapture(event.pointerId);
        canvas.onpointermove = (moved) => this.#moveTo(start.center.x - (moved.clientX - start.x) / this.#zoom,
            start.center.y - (moved.clientY - start.y) / this.#zoom);
        canvas.onlostpointercapture = () => {
            canvas.onpointermove = null;
        };
    }

    // The wheel zooms with Ctrl held, as on maps; without it the page scrolls.
    #wheel(event) {
        if (event.ctrlKey && event.target instanceof HTMLCanvasElement) {
            event.preventDefault();
            this.#step(event.deltaY < 0 ? 1 : -1);
        }
    }
}
