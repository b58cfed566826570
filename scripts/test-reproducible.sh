#!/usr/bin/env bash
# Makes the Debian packages twice and compares them byte by byte: in folders of different names, 400 days apart, with
# another time zone, language and umask. Only committed changes take part. Takes a few minutes.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

install_missing git faketime
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
first="$scratch/a" second="$scratch/folder-of-the-second-build"
for folder in "$first" "$second"; do
    quietly git clone --no-hardlinks "$tree" "$folder"
done

echo "The first build"
(cd "$first" && TZ=UTC LC_ALL=C quietly scripts/package.sh)
echo "The second build, 400 days later"
(
    cd "$second"
    umask 077
    TZ=Pacific/Auckland LC_ALL=C.UTF-8 \
        quietly faketime -f '+400d' scripts/package.sh
)

packages=("$first"/build/package/*.deb)
[ ${#packages[@]} -eq 3 ] || fail "the first build made ${#packages[@]} packages, not 3"
for package in "${packages[@]}"; do
    name=${package##*/}
    cmp "$package" "$second/build/package/$name" || fail "$name differs"
    sha256sum "$package" | sed "s|  .*/|  |"
done
echo "Both builds gave the same packages"
