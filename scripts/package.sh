#!/usr/bin/env bash
# Makes the Debian packages of the programs and the libraries in build/package. Works on a new machine.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

install_missing g++ cmake make dpkg-dev file "${tool_packages[@]}"
# The same commit gives the same packages. Without a repository, the date of the newest version counts.
if [ -z "${SOURCE_DATE_EPOCH:-}" ]; then
    SOURCE_DATE_EPOCH=$(git -C "$tree" log -1 --format=%ct 2>/dev/null ||
        date --utc --date="$(sed -n 's/^## .* - //p' "$tree/CHANGELOG.md" | head -n 1)" +%s)
    export SOURCE_DATE_EPOCH
fi
umask 022 # cpack writes the modes of its own files into the packages
configure package
build package
cd "$tree/build/package"
quietly cpack
ls -l "$PWD"/*.deb
