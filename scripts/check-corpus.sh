#!/usr/bin/env bash
# Converts thousands of icons and wallpapers of four Debian packages, and the conformance images of
# libpng's source package, and compares every pixel with libpng; then compares slabtool with both. apt must have access
# to the packages and, for the conformance images, to their sources.
#
#     scripts/check-corpus.sh [--installed]
#
# --installed downloads nothing and checks the images below /usr/share instead.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

[ "$*" = --installed ] || reject_arguments "$@"
install_missing g++ cmake make python3 dpkg-dev "${test_packages[@]}"
folder="$tree/build/corpus"

packages=(tango-icon-theme oxygen-icon-theme mate-backgrounds desktop-base)

# Downloads the images into $folder.
fetch() {
    echo "Fetching ${packages[*]}"
    rm -rf "$folder"
    mkdir -p "$folder"/{fetched,icons,conformance}
    (cd "$folder/fetched" && quietly apt-get download "${packages[@]}")
    for package in "$folder"/fetched/*.deb; do
        dpkg -x "$package" "$folder/icons"
    done
    echo "Fetching the sources of libpng"
    # The script has its own package indexes and leaves those of the machine alone.
    write_source_entries "$folder/sources"
    mkdir -p "$folder"/{lists,cache/archives}/partial
    apt=(apt-get -o Dir::Etc::SourceList=/dev/null -o "Dir::Etc::SourceParts=$folder/sources"
        -o "Dir::State::Lists=$folder/lists" -o "Dir::Cache=$folder/cache")
    quietly "${apt[@]}" update
    (cd "$folder/conformance" && quietly "${apt[@]}" source --download-only --tar-only libpng1.6 &&
        tar --extract --wildcards --file libpng1.6_*.orig.tar.* '*/contrib/pngsuite/*.png' '*/contrib/testpngs/*.png')
    rm -rf "$folder"/{sources,lists,cache}
    touch "$folder/complete"
}

folders=("$folder"/{icons,conformance})
if [ "$*" = --installed ]; then
    folders=(/usr/share)
elif [ ! -e "$folder/complete" ]; then
    fetch
fi

configure dev
build dev
for images in "${folders[@]}"; do
    for check in check_corpus check_slabtool; do
        echo "$check $images"
        "$tree/build/dev/bin/$check" "$images"
    done
done
