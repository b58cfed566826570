// The card of a file in the list.
import { canvasOf, counted, element, printable, save, withSeparators } from './elements.js';

const CARD_SIDE = 320; // pixels of the pictures in a card
const SMALL_SIDE = 96; // smaller pictures are enlarged
const MAX_ZOOM = 8;

/** The options of the worker's jobs for cards. */
export const cardView = { maxSide: CARD_SIDE };

const CLASSES = { 'accepted with loss': 'with-loss', accepted: 'accepted', rejected: 'rejected' };

const textOf = (finding) => `${finding.text} [${finding.code}]`;

const paragraph = (text, className = '') => element('p', { className }, text);

function button(text, label, onClick) {
    const result = element('button', { type: 'button', onclick: onClick }, text);
    result.setAttribute('aria-label', label);
    return result;
}

// A picture with its caption. Small pictures are enlarged by a whole number, so that all pixels stay equal.
function figureOf(picture, caption, name) {
    const figure = element('figure', {}, element('figcaption', {}, caption));
    if (picture.error !== undefined) {
        figure.prepend(element('div', { className: 'nothing' }, 'no picture'));
        return figure;
    }
    const canvas = canvasOf(picture);
    const isReduced = picture.width < picture.pictureWidth || picture.height < picture.pictureHeight;
    const zoom = Math.min(Math.max(Math.floor(SMALL_SIDE / Math.max(picture.width, picture.height)), 1), MAX_ZOOM);
    canvas.style.width = `${picture.width * zoom}px`;
    canvas.classList.toggle('reduced', isReduced);
    canvas.setAttribute('role', 'img');
    canvas.setAttribute('aria-label', `${caption} of ${name}`);
    figure.prepend(element('div', { className: 'stage' }, canvas));
    return figure;
}

function lossesOf(losses) {
    return losses.map((loss) => paragraph(`Loss: ${textOf(loss)}`));
}

export class Card {
    /** @param {{path: string, file: File}} source */
    constructor(source, actions) {
        this.source = source;
        this.actions = actions;
        this.name = printable(source.path);
        this.verdict = '';
        // The path of the outputs without suffix, with letters that every system can store.
        this.stem = this.name.replace(/\.png$/, '').replace(/[\\:*?"<>|]/g, '_');
        this.outputs = []; // {suffix, content} of the files to download
        this.heading = element('h3', {}, ...this.name.split('/').flatMap((part, i) => (i > 0 ? ['/', element('wbr'), part] : [part])));
        this.body = element('div', { className: 'body' });
        this.element = element('li', { className: 'card' }, element('div', { className: 'head' }, this.heading,
            button('×', `Remove ${this.name}`, () => actions.remove(this))), this.body);
        this.showStep('waiting');
    }

    get isSurface() {
        return this.source.path.endsWith('.surface');
    }

    showStep(text) {
        this.outputs = [];
        this.element.dataset.state = 'working';
        this.body.replaceChildren(paragraph(`${text}…`, 'quiet'));
    }

    showFailure(text) {
        this.#finish('rejected', [paragraph('rejected', 'verdict rejected'), paragraph(text)]);
    }

    showImage({ judgment, converted, original, header, picture, bytes }) {
        const { verdict } = judgment;
        const hasPicture = original.error === undefined;
        const children = [];
        if (hasPicture) {
            children.push(element('div', { className: 'pictures' }, figureOf(original, 'original', this.name),
                figureOf(picture ?? { error: '' }, header ? header.modeName : 'surface', this.name)));
        }
        const kind = hasPicture ? `${original.pictureWidth} × ${original.pictureHeight}, PNG` : 'File';
        children.push(paragraph(`${kind} of ${counted(bytes, 'byte')}`, 'quiet'),
            paragraph(verdict, `verdict ${CLASSES[verdict]}`));
        if (judgment.reason !== null) {
            children.push(paragraph(textOf(judgment.reason)));
        }
        if (judgment.note !== '') {
            children.push(paragraph(`${judgment.note}.`));
        }
        if (converted.error === undefined) {
            children.push(...this.#surfaceParts(judgment, converted));
        } else if (judgment.reason === null || converted.error !== textOf(judgment.reason)) {
            children.push(paragraph(`No surface: ${converted.error}`, 'rejected'));
        }
        if (!hasPicture && judgment.reason === null && converted.error === undefined) {
            children.push(paragraph(`No picture: ${original.error}`));
        }
        if (judgment.fix !== '') {
            children.push(element('p', {}, 'Fix: ', element('code', {}, judgment.fix)));
        }
        this.#finish(verdict, [...children, this.#buttons(hasPicture)]);
    }

    #surfaceParts(judgment, converted) {
        this.outputs.push({ suffix: '.surface', content: converted.surface });
        if (converted.palette !== null) {
            this.outputs.push({ suffix: '.palette', content: converted.palette });
        }
        const parts = lossesOf(converted.losses);
        if (judgment.reason !== null) {
            parts.unshift(paragraph('The page converted the image all the same.'));
        }
        return [...parts, paragraph(`Surface of ${counted(converted.surface.size, 'byte')}`)];
    }

    #buttons(hasPicture) {
        const row = element('p', { className: 'row' });
        for (const { suffix, content } of this.outputs) {
            const kind = suffix.slice(1);
            row.append(button(`Download ${kind}`, `Download ${kind}: ${this.name}`,
                () => save(content, this.stem.slice(this.stem.lastIndexOf('/') + 1) + suffix)));
        }
        if (hasPicture) {
            row.append(button('Compare modes', `Compare modes: ${this.name}`, () => this.actions.compare(this)));
        }
        return row;
    }

    showSurface({ facts, picture, head, bytes }) {
        const { header } = facts;
        const isConsistent = facts.faults.length === 0 && facts.oddities.length === 0;
        const children = [element('div', { className: 'pictures' }, figureOf(picture, header?.modeName ?? 'surface', this.name)),
            paragraph(`Surface file of ${counted(bytes, 'byte')}`, 'quiet'),
            paragraph(isConsistent ? 'consistent' : 'not consistent', `verdict ${isConsistent ? 'accepted' : 'rejected'}`),
            ...[...facts.faults, ...facts.oddities].map((text) => paragraph(text))];
        if (picture.error !== undefined && !facts.faults.includes(picture.error)) {
            children.push(paragraph(`No picture: ${picture.error}`));
        }
        if (facts.note !== null) {
            children.push(paragraph(textOf(facts.note)));
        }
        if (header !== null) {
            children.push(headerTable(header, head));
        }
        this.#finish('surface', children);
    }

    #finish(verdict, children) {
        this.verdict = verdict;
        this.element.dataset.state = 'done';
        this.element.dataset.verdict = verdict;
        this.body.replaceChildren(...children);
    }
}

// The five words of the header: bytes, value and meaning.
function headerTable(header, head) {
    const rows = [
        ['rotation', header.rotation, 'the stored pixels are rotated by 90° if it is 90'],
        ['color mode', header.mode, header.modeName],
        ['width', header.width, 'pixels of a stored row'],
        ['height', header.height, 'stored rows'],
        ['stride', header.stride, 'bytes from a row to the next one'],
    ];
    const bytesAt = (at) => [...head.slice(at, at + 4)].map((byte) => byte.toString(16).padStart(2, '0')).join(' ');
    const head1 = element('tr', {}, ...['Bytes', 'Field', 'Value', 'Meaning'].map((text) => element('th', { scope: 'col' }, text)));
    const table = element('table', {}, element('caption', {}, 'Header: five little-endian words'), element('thead', {}, head1));
    table.append(element('tbody', {}, ...rows.map(([field, value, meaning], i) => element('tr', {},
        element('td', {}, element('code', {}, bytesAt(i * 4))), element('th', { scope: 'row' }, field),
        element('td', {}, withSeparators(value)), element('td', {}, meaning)))));
    const box = element('div', { className: 'scroll', tabIndex: 0 }, table);
    box.setAttribute('role', 'region');
    box.setAttribute('aria-label', 'Header');
    return box;
}
