// The page: takes files, converts them in workers, and shows and saves the results.
import { Card, cardView } from './card.js';
import { Comparison } from './compare.js';
import { byId, counted, printable, save, withSeparators } from './elements.js';
import { chosenFiles, droppedFiles } from './inputs.js';
import { currentOptions, updateOptions } from './options.js';
import { Workers } from './workers.js';

const SOURCE_NAME = 'surfaces'; // of the C source and of the archives

const workers = new Workers();
const comparison = new Comparison(workers);
const palettes = new Map(); // path without suffix -> file
let cards = [];
let isSaving = false;

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
            card.size = { width: result.original.pictureWidth, height: result.original.pictureHeight };
            card.showImage(result);
        }
    } catch (error) {
        card.showFailure(error.message);
    }
    update();
}

// Converts again, with changed options.
function workAgain(affected) {
    workers.cancel(affected);
    affected.forEach(work);
    update();
}

// Palettes give colors to surfaces that are there, or that come later.
function addPalettes(files) {
    const stems = files.map((source) => {
        palettes.set(stemOf(source.path), source.file);
        return stemOf(source.path);
    });
    workAgain(cards.filter((card) => card.isSurface && stems.includes(stemOf(card.source.path))));
}

function problemOf(files, unreadable) {
    if (unreadable.length > 0) {
        return `The browser cannot read ${unreadable.slice(0, 3).map(printable).join(', ')}${unreadable.length > 3
            ? ` and ${withSeparators(unreadable.length - 3)} more` : ''}.`;
    }
    return files.length === 0 ? 'No PNG images or surface files were found there.' : '';
}

function add({ files, unreadable }) {
    byId('problem').textContent = problemOf(files, unreadable);
    const isPalette = ({ path }) => path.endsWith('.palette');
    const added = files.filter((source) => !isPalette(source))
        .map((source) => new Card(source, { remove, compare: (card) => comparison.open(card) }));
    cards = cards.concat(added);
    added.forEach((card) => byId('files').append(card.element));
    addPalettes(files.filter(isPalette));
    added.forEach(work);
    update();
}

function remove(card) {
    const next = card.element.nextElementSibling ?? card.element.previousElementSibling;
    workers.cancel([card]);
    cards = cards.filter((other) => other !== card);
    palettes.delete(stemOf(card.source.path));
    card.element.remove();
    (next?.querySelector('.head button') ?? byId('choose-files')).focus();
    update();
}

function removeAll() {
    workers.cancel(cards);
    cards = [];
    palettes.clear();
    byId('problem').textContent = '';
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
    const hasOutputs = working === 0 && !isSaving && cards.some((card) => card.outputs.length > 0);
    byId('save-all').disabled = !hasOutputs;
    byId('save-source').disabled = !hasOutputs;
    const wanted = byId('filter').value;
    for (const card of cards) {
        card.element.hidden = wanted !== '' && !isWorking(card) && card.verdict !== wanted;
    }
}

// ---- Downloads

// The files to save. If two inputs have the same path, the second one gets a number. Some systems take A and a for equal.
function outputs() {
    const stems = new Set();
    const uniqueOf = (stem) => {
        let unique = stem;
        for (let number = 2; stems.has(unique.toLowerCase()); number++) {
            unique = `${stem}-${number}`;
        }
        stems.add(unique.toLowerCase());
        return unique;
    };
    return cards.filter((card) => card.outputs.length > 0).flatMap((card) => {
        const stem = uniqueOf(card.stem);
        return card.outputs.map(({ suffix, content }) => ({ name: stem + suffix, content }));
    });
}

async function saving(makeFile) {
    isSaving = true;
    update();
    byId('problem').textContent = '';
    try {
        await makeFile();
    } catch (error) {
        byId('problem').textContent = `The download failed: ${error.message}`;
    }
    isSaving = false;
    update();
}

const showStep = (text) => {
    byId('status').textContent = `Archive: ${text}`;
};

async function saveAll() {
    save(await workers.run('archive', { files: outputs() }, { isUrgent: true, onStep: showStep }), `${SOURCE_NAME}.zip`);
}

async function saveSource() {
    const surfaces = outputs().filter(({ name }) => name.endsWith('.surface'));
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
        add(await droppedFiles(event.dataTransfer));
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
byId('save-all').addEventListener('click', () => saving(saveAll));
byId('save-source').addEventListener('click', () => saving(saveSource));
byId('remove-all').addEventListener('click', removeAll);
byId('filter').addEventListener('input', update);
byId('backdrop').addEventListener('input', () => {
    document.body.dataset.backdrop = byId('backdrop').value;
});
listenToInputs();
listenToOptions();
updateOptions();
update();
