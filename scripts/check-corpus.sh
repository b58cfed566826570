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
    mkdir -p "$folder"/{fetched,icons}
    (cd "$folder/fetched" && quietly apt-get download "${packages[@]}")
    for package in "$folder"/fetched/*.deb; do
        dpkg -x "$package" "$folder/icons"
    done
    touch "$folder/complete"
}

if [ "$*" = --installed ]; then
    folders=(/usr/share)
else
    [ -e "$folder/complete" ] || fetch
    fetch_conformance_images
    folders=("$folder/icons" "$conformance_images")
fi

configure dev
build dev
for images in "${folders[@]}"; do
    for check in check_corpus check_slabtool; do
        echo "$check $images"
        "$tree/build/dev/bin/$check" "$images"
    done
done
