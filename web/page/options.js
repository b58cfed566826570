// The options of the conversion.
import { byId } from './elements.js';

const DITHERED_MODES = ['RGB565', 'ARGB1555', 'ARGB4444'];
const MODES_WITH_BACKGROUND = ['RGB888', 'RGB565', 'I8', 'A8'];
const MODES_WITH_INDICES = ['', 'I8', 'AI88'];

/** Options that convert as pngslab does. */
export const DEFAULTS = {
    mode: '', dither: 'none', background: '', rotation: 0, alphaOnly: false, keepColors: false, palette: true,
};

/** The background that the user has chosen, if a mode has one. */
export function backgroundFor(mode) {
    return byId('has-background').checked && MODES_WITH_BACKGROUND.includes(mode) ? byId('background').value : '';
}

export function currentOptions() {
    const mode = byId('mode').value;
    return {
        mode,
        dither: DITHERED_MODES.includes(mode) ? byId('dither').value : 'none',
        background: backgroundFor(mode),
        rotation: byId('rotation').checked ? 90 : 0,
        alphaOnly: byId('alpha-only').checked && ['', 'A8'].includes(mode),
        keepColors: byId('keep-colors').checked,
        palette: byId('palette').checked && MODES_WITH_INDICES.includes(mode),
    };
}

/** Chooses a mode. */
export function chooseMode(mode, dither) {
    byId('mode').value = mode;
    byId('dither').value = dither;
    byId('options').dispatchEvent(new Event('input'));
}

/** The command that converts a folder with these options. */
function commandOf(options) {
    const words = ['slabtool convert'];
    const add = (isUsed, word) => isUsed && words.push(word);
    add(options.mode !== '', `--mode ${options.mode}`);
    add(options.dither !== 'none', `--dither ${options.dither}`);
    add(options.background !== '', `--background "${options.background}"`);
    add(options.rotation !== 0, '--rotation 90');
    add(options.alphaOnly, '--alphaonly');
    add(options.keepColors, '--keep-colors');
    add(options.palette, '--palette');
    return `${words.join(' ')} images surfaces`;
}

/** Enables the options that have an effect, and shows the command. */
export function updateOptions() {
    const mode = byId('mode').value;
    byId('dither').disabled = !DITHERED_MODES.includes(mode);
    byId('has-background').disabled = !MODES_WITH_BACKGROUND.includes(mode);
    byId('background').disabled = byId('has-background').disabled || !byId('has-background').checked;
    byId('alpha-only').disabled = !['', 'A8'].includes(mode);
    byId('palette').disabled = !MODES_WITH_INDICES.includes(mode);
    byId('command').textContent = commandOf(currentOptions());
}
