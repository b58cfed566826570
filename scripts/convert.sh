#!/usr/bin/env bash
# Converts one PNG on a new machine: installs what the build needs, builds pngslab, and runs it.
#
#     scripts/convert.sh IMAGE OUTPUT [more pngslab options]
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

if [ $# -lt 2 ]; then
    echo "usage: scripts/convert.sh IMAGE OUTPUT [more pngslab options]" >&2
    exit 2
fi

install_missing g++ cmake make
check_cmake
check_compiler
configure release
build release pngslab

exec "$tree/build/release/bin/pngslab" --image "$1" --output "$2" "${@:3}"
