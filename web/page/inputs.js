// Finds the files that the user drops or chooses.

const SUFFIXES = ['.png', '.surface', '.palette'];

/** Whether a file in a folder is meant. Files that are chosen one by one are all meant. */
const isMeant = (name) => SUFFIXES.some((suffix) => name.endsWith(suffix));

const readEntries = (reader) => new Promise((resolve, reject) => reader.readEntries(resolve, reject));
const fileOf = (entry) => new Promise((resolve, reject) => entry.file(resolve, reject));

async function addFilesBelow(folder, path, found) {
    const reader = folder.createReader();
    // A reader returns some entries at a time, and none at the end.
    for (let entries = await readEntries(reader); entries.length > 0; entries = await readEntries(reader)) {
        for (const entry of entries) {
            if (entry.isDirectory || isMeant(entry.name)) {
                await addEntry(entry, path, found);
            }
        }
    }
}

// An entry that cannot be read does not hide the others.
async function addEntry(entry, folder, found) {
    const path = folder + entry.name;
    try {
        if (entry.isDirectory) {
            await addFilesBelow(entry, `${path}/`, found);
        } else {
            found.files.push({ path, file: await fileOf(entry) });
        }
    } catch {
        found.unreadable.push(path);
    }
}

/** The files of a drop, as {path, file}, sorted by path, and the paths that cannot be read. */
export async function droppedFiles(transfer) {
    // The items are valid only until the first await. Files that come from another program have no entry.
    const items = [...transfer.items].filter((item) => item.kind === 'file')
        .map((item) => ({ entry: item.webkitGetAsEntry(), file: item.getAsFile() }));
    const found = { files: [], unreadable: [] };
    for (const { entry, file } of items) {
        if (entry?.isDirectory) {
            await addEntry(entry, '', found);
        } else {
            found.files.push({ path: file.name, file });
        }
    }
    return { files: sorted(found.files), unreadable: found.unreadable };
}

/** The files of an input element, in the same form. */
export function chosenFiles(input) {
    const files = [...input.files].map((file) => ({ path: file.webkitRelativePath || file.name, file }));
    const meant = files.filter(({ file }) => file.webkitRelativePath === '' || isMeant(file.name));
    return { files: sorted(meant), unreadable: [] };
}

function sorted(files) {
    return files.sort((a, b) => (a.path < b.path ? -1 : Number(a.path > b.path)));
}
