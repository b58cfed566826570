#!/usr/bin/env bash
# Makes the pictures of the web page and of the gallery in docs/ again, with Chromium. Takes no arguments.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

"$tree/scripts/web.sh" --build
install_missing chromium "${tool_packages[@]}"
configure dev
build dev slabtool
PNGSLAB_TOOL="$tree/build/dev/bin/slabtool" node "$tree/tests/web/screenshots.mjs"
