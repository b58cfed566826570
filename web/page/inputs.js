// Finds the files that the user drops or chooses.

const SUFFIXES = ['.png', '.surface', '.palette'];

/** Whether a file in a folder is meant. Files that are chosen one by one are all meant. */
const isMeant = (name) => SUFFIXES.some((suffix) => name.endsWith(suffix));

const readEntries = (reader) => new Promise((resolve, reject) => reader.readEntries(resolve, reject));
const fileOf = (entry) => new Promise((resolve, reject) => entry.file(resolve, reject));

async function filesBelow(folder, path) {
    const found = [];
    const reader = folder.createReader();
    // A reader returns some entries at a time, and none at the end.
    for (let entries = await readEntries(reader); entries.length > 0; entries = await readEntries(reader)) {
        for (const entry of entries) {
            if (entry.isDirectory) {
                found.push(...await filesBelow(entry, `${path}${entry.name}/`));
            } else if (isMeant(entry.name)) {
                found.push({ path: path + entry.name, file: await fileOf(entry) });
            }
        }
    }
    return found;
}

/** The files of a drop, as {path, file}, sorted by path. */
export async function droppedFiles(transfer) {
    // The items are valid only until the first await. Files that come from another program have no entry.
    const items = [...transfer.items].filter((item) => item.kind === 'file')
        .map((item) => ({ entry: item.webkitGetAsEntry(), file: item.getAsFile() }));
    const found = [];
    for (const { entry, file } of items) {
        found.push(...entry?.isDirectory ? await filesBelow(entry, `${entry.name}/`) : [{ path: file.name, file }]);
    }
    return sorted(found);
}

/** The files of an input element. */
export function chosenFiles(input) {
    const files = [...input.files].map((file) => ({ path: file.webkitRelativePath || file.name, file }));
    return sorted(files.filter(({ file }) => file.webkitRelativePath === '' || isMeant(file.name)));
}

function sorted(files) {
    return files.sort((a, b) => (a.path < b.path ? -1 : Number(a.path > b.path)));
}
