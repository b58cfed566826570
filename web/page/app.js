// The page: takes files, converts them in workers, and shows and saves the results.
import { Card, cardView } from './card.js';
import { Comparison } from './compare.js';
import { byId, counted, save, withSeparators } from './elements.js';
import { chosenFiles, droppedFiles } from './inputs.js';
import { currentOptions, updateOptions } from './options.js';
import { Workers } from './workers.js';

const SOURCE_NAME = 'surfaces'; // of the C source and of the archives

const workers = new Workers();
const comparison = new Comparison(workers);
const palettes = new Map(); // path without suffix -> file
let cards = [];

const stemOf = (path) => path.replace(/\.[^./]*$/, '');
const isWorking = (card) => card.element.dataset.state === 'working';

// ---- Work

async function work(card) {
    card.showStep('waiting');
    const how = { group: card, onStep: (text) => card.showStep(text) };
    const { file, path } = card.source;
    try {
        if (card.isSurface) {
            const palette = palettes.get(stemOf(path)) ?? null;
            card.showSurface(await workers.run('surface', { file, palette, ...cardView }, how));
        } else {
            const name = path.slice(path.lastIndexOf('/') + 1);
            const result = await workers.run('image', { name, file, options: currentOptions(), ...cardView }, how);
            card.size = [result.original.pictureWidth, result.original.pictureHeight];
            card.showImage(result);
        }
    } catch (error) {
        card.showFailure(error.message);
    }
    update();
}

// Converts again, with changed options.
function workAgain(affected) {
    for (const card of affected) {
        workers.cancel(card);
        work(card);
    }
    update();
}

function add(files) {
    byId('problem').textContent = files.length === 0 ? 'No PNG images or surface files were found there.' : '';
    const added = [];
    for (const source of files) {
        if (source.path.endsWith('.palette')) {
            palettes.set(stemOf(source.path), source.file);
        } else {
            added.push(new Card(source, { remove, compare: (card) => comparison.open(card, card.size) }));
        }
    }
    cards.push(...added);
    byId('files').append(...added.map((card) => card.element));
    added.forEach(work);
    update();
}

function remove(card) {
    workers.cancel(card);
    cards = cards.filter((other) => other !== card);
    card.element.remove();
    byId('files').focus();
    update();
}

function removeAll() {
    cards.forEach((card) => workers.cancel(card));
    cards = [];
    palettes.clear();
    byId('files').replaceChildren();
    byId('choose-files').focus();
    update();
}

// ---- State

function summaryOf() {
    const verdicts = ['accepted', 'accepted with loss', 'rejected'];
    const parts = verdicts.map((verdict) => [verdict, cards.filter((card) => card.verdict === verdict && !card.isSurface).length])
        .filter(([, count]) => count > 0).map(([verdict, count]) => `${withSeparators(count)} ${verdict}`);
    const surfaces = cards.filter((card) => card.isSurface).length;
    return [...parts, ...surfaces > 0 ? [counted(surfaces, 'surface file')] : []].join(', ');
}

function update() {
    const working = cards.filter(isWorking).length;
    const done = cards.length - working;
    byId('work').hidden = cards.length === 0 && byId('problem').textContent === '';
    byId('welcome').hidden = cards.length > 0;
    byId('drop').classList.toggle('small', cards.length > 0);
    byId('status').textContent = working > 0
        ? `Converting: ${withSeparators(done)} of ${counted(cards.length, 'file')} done`
        : `${counted(cards.length, 'file')}${cards.length > 0 ? `: ${summaryOf()}` : ''}`;
    byId('progress').max = Math.max(cards.length, 1);
    byId('progress').value = done;
    byId('progress').hidden = working === 0;
    const hasOutputs = working === 0 && cards.some((card) => card.outputs.length > 0);
    byId('save-all').disabled = !hasOutputs;
    byId('save-source').disabled = !hasOutputs;
    const wanted = byId('filter').value;
    for (const card of cards) {
        card.element.hidden = wanted !== '' && !isWorking(card) && card.verdict !== wanted;
    }
}

// ---- Downloads

// The files to save. Two inputs may have the same path; the second one gets a number.
function outputs() {
    const names = new Set();
    const uniqueOf = (name) => {
        let unique = name;
        for (let number = 2; names.has(unique); number++) {
            unique = name.replace(/(\.[^.]*)$/, `-${number}$1`);
        }
        names.add(unique);
        return unique;
    };
    return cards.flatMap((card) => card.outputs).map(({ name, content }) => ({ name: uniqueOf(name), content }));
}

async function saving(button, makeFile) {
    button.disabled = true;
    byId('problem').textContent = '';
    try {
        await makeFile();
    } catch (error) {
        byId('problem').textContent = `The download failed: ${error.message}`;
    }
    update();
}

const showStep = (text) => {
    byId('status').textContent = `Archive: ${text}`;
};

async function saveAll() {
    save(await workers.run('archive', { files: outputs() }, { isUrgent: true, onStep: showStep }), `${SOURCE_NAME}.zip`);
}

async function saveSource() {
    const surfaces = outputs().filter(({ name }) => name.endsWith('.surface'))
        .map(({ name, content }) => ({ name: name.slice(name.lastIndexOf('/') + 1), content }));
    const { header, source } = await workers.run('embed', { fileName: SOURCE_NAME, surfaces }, { isUrgent: true });
    const files = [{ name: `${SOURCE_NAME}.h`, content: new Blob([header]) }, { name: `${SOURCE_NAME}.c`, content: new Blob([source]) }];
    save(await workers.run('archive', { files }, { isUrgent: true, onStep: showStep }), `${SOURCE_NAME}-c.zip`);
}

// ---- Events

function listenToInputs() {
    for (const kind of ['file', 'folder']) {
        const input = byId(`${kind}-input`);
        byId(kind === 'file' ? 'choose-files' : 'choose-folder').addEventListener('click', () => input.click());
        input.addEventListener('change', () => {
            add(chosenFiles(input));
            input.value = ''; // the same files may be chosen again
        });
    }
    const setDragged = (isDragged) => document.body.classList.toggle('dragged', isDragged);
    document.addEventListener('dragover', (event) => {
        event.preventDefault();
        setDragged(true);
    });
    document.addEventListener('dragleave', (event) => event.relatedTarget === null && setDragged(false));
    document.addEventListener('drop', async (event) => {
        event.preventDefault();
        setDragged(false);
        try {
            add(await droppedFiles(event.dataTransfer));
        } catch {
            byId('problem').textContent = 'The browser cannot read these files.';
            update();
        }
    });
}

function listenToOptions() {
    let last = JSON.stringify(currentOptions());
    byId('options').addEventListener('input', () => {
        updateOptions();
        const options = JSON.stringify(currentOptions());
        if (options !== last) {
            last = options;
            workAgain(cards.filter((card) => !card.isSurface));
        }
    });
    byId('options').addEventListener('submit', (event) => event.preventDefault());
}

byId('too-old').hidden = 'findLast' in Array.prototype && 'HTMLDialogElement' in window;
byId('save-all').addEventListener('click', (event) => saving(event.target, saveAll));
byId('save-source').addEventListener('click', (event) => saving(event.target, saveSource));
byId('remove-all').addEventListener('click', removeAll);
byId('filter').addEventListener('input', update);
byId('backdrop').addEventListener('input', () => {
    document.body.dataset.backdrop = byId('backdrop').value;
});
listenToInputs();
listenToOptions();
updateOptions();
update();
