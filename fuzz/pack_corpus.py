#!/usr/bin/env python3
"""Packs the files of folders into the seed archive of a fuzzer.

    fuzz/pack_corpus.py ARCHIVE.zip FOLDER...

Equal files enter it once, named by their contents. The same files give the same archive.
"""

import hashlib
import pathlib
import sys
import zipfile


def pack(archive, folders):
    inputs = {file.read_bytes() for folder in folders for file in pathlib.Path(folder).iterdir()}
    with zipfile.ZipFile(archive, "w") as target:
        for name, data in sorted((hashlib.sha1(data).hexdigest(), data) for data in inputs):
            entry = zipfile.ZipInfo(name) # with the earliest date that there is
            entry.external_attr = 0o644 << 16
            target.writestr(entry, data, zipfile.ZIP_DEFLATED, 9)


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    pack(sys.argv[1], sys.argv[2:])
