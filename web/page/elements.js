// Small functions for the elements of the page.

export const byId = (id) => document.getElementById(id);

const numbers = new Intl.NumberFormat('en-US');
export const withSeparators = (number) => numbers.format(number);
export const counted = (count, noun) => `${withSeparators(count)} ${noun}${count === 1 ? '' : 's'}`;

/** An element with properties and children. Text stays text. */
export function element(tag, properties = {}, ...children) {
    const result = Object.assign(document.createElement(tag), properties);
    result.append(...children);
    return result;
}

/** Text without control characters: names of files are the user's. */
// eslint-disable-next-line no-control-regex
export const printable = (text) => text.replace(/[\u0000-\u001f\u007f-\u009f]/g, '?');

/** A canvas with a picture of the worker. */
export function canvasOf(picture) {
    const canvas = element('canvas', { width: picture.width, height: picture.height });
    const pixels = new Uint8ClampedArray(picture.pixels.buffer, picture.pixels.byteOffset, picture.pixels.byteLength);
    canvas.getContext('2d').putImageData(new ImageData(pixels, picture.width, picture.height), 0, 0);
    return canvas;
}

/** Gives the user a file. */
export function save(content, name) {
    const url = URL.createObjectURL(content);
    element('a', { href: url, download: name }).click();
    setTimeout(() => URL.revokeObjectURL(url), 60_000); // the download has started by then
}
