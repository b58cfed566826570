#!/usr/bin/env bash
# Gathers images for the benchmarks from packages of Debian 12, as PNG files in FOLDER.
#
#     bench/get_images.sh FOLDER
#
# Drawings, screenshots and icons are PNG files of the packages. Photographs are JPEG files in every
# package: djpeg decodes them, and pnmtopng stores them without loss, with its default settings. Large
# palette and gray images are rare, so pnmquant and ppmtopgm make some. Some photographs have rows of more than
# 16 KiB, which the decoder handles in another way: wallpapers with alpha, and pairs of photographs side by side.
# FOLDER is made again if another version of this script made it.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../scripts/common.sh"

folder=$(mkdir -p "$1" && cd "$1" && pwd)
version=2 # of the images; to be raised when the script makes others
if [ "$(cat "$folder/complete" 2>/dev/null)" = "$version" ]; then
    exit
fi
install_missing libjpeg-turbo-progs netpbm
packages=(lomiri-wallpapers-16.04 ukui-wallpapers mate-backgrounds desktop-base debian-handbook
    plasma-workspace-wallpapers oxygen-icon-theme tango-icon-theme)
photographs=(sunset_by_Aitzol_Berasategi Dragonfly_by_Bolly picosdeeuropa_by_Aitzol_Berasategi
    life_by_Aitzol_Berasategi aitzgorri_by_Aitzol_Berasategi)
wide_with_alpha=(IceCold Kay Patak)

unpacked="$folder/unpacked"
rm -rf "$folder"/*
mkdir -p "$unpacked" "$folder"/{photographs,graphics,palette_and_gray,icons}
echo "Fetching images: ${packages[*]}"
(cd "$unpacked" && quietly apt-get download "${packages[@]}")
for package in "$unpacked"/*.deb; do
    dpkg -x "$package" "$unpacked"
done
cd "$unpacked/usr/share"

# Moves PNG files into the set $1. The other arguments are those of find.
add_found() {
    local set=$1 path
    shift
    find "$@" -name '*.png' -type f | while IFS= read -r path; do
        mv "$path" "$folder/$set/${path//\//-}"
    done
}

# Adds gray and palette versions of the PNG file $1, with the name $2.
add_few_colored() {
    pngtopnm -quiet "$1" | ppmtopgm -quiet | pnmtopng -quiet >"$folder/palette_and_gray/$2-gray.png"
    pngtopnm -quiet "$1" | pnmquant -quiet 256 | pnmtopng -quiet \
        >"$folder/palette_and_gray/$2-palette.png"
}

# Makes the photograph wide-rgb-$1: the left and the right photograph, $2 and $3, each cut to $4 rows.
add_pair() {
    local name
    for name in "$2" "$3"; do
        pamcut -height "$4" "$name.ppm" >"$name-cut.ppm"
    done
    pnmcat -leftright "$2-cut.ppm" "$3-cut.ppm" | pnmtopng -quiet >"$folder/photographs/wide-rgb-$1.png"
}

echo "Making photographs, palette and gray images"
for name in "${photographs[@]}"; do
    djpeg "backgrounds/$name.jpg" >"$name.ppm"
    pnmtopng -quiet "$name.ppm" >"$folder/photographs/$name.png"
done
add_pair mountains aitzgorri_by_Aitzol_Berasategi life_by_Aitzol_Berasategi 2056
add_pair evening sunset_by_Aitzol_Berasategi picosdeeuropa_by_Aitzol_Berasategi 1600
for name in "${wide_with_alpha[@]}"; do
    mv "wallpapers/$name/contents/images/5120x2880.png" "$folder/photographs/wide-rgba-$name.png"
done
{
    add_few_colored "$folder/photographs/aitzgorri_by_Aitzol_Berasategi.png" photograph
    add_few_colored backgrounds/goldfish.png goldfish
    add_few_colored backgrounds/mate/abstract/Flow.png flow
    add_few_colored backgrounds/mate/desktop/Float-into-MATE.png float
} 2>/dev/null # libpng's warnings about the images' color profiles
add_found graphics backgrounds desktop-base plymouth -size +99k
add_found graphics doc/debian-handbook/html/en-US/images -size +19k
add_found graphics icons/oxygen -path '*/256x256/apps/preferences-desktop-*'
add_found icons icons/oxygen icons/Tango -not -path '*/256x256/*' -not -path '*/animations/*'
rm -r "$unpacked"
echo "$version" >"$folder/complete"
