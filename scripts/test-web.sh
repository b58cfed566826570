#!/usr/bin/env bash
# Builds the web page and tests it, and the page of slabtool gallery, in Chromium. Installs what is missing: Debian's
# emscripten, Chromium and node, and libraries of npm. Takes some minutes.
#
#     scripts/test-web.sh [word ...]       runs the tests whose names contain a word; all without any
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

"$tree/scripts/web.sh" --build
install_missing chromium "${tool_packages[@]}"
configure dev
build dev slabtool

patterns=()
for word in "$@"; do
    patterns+=("--test-name-pattern=$word")
done
echo "Testing the pages in Chromium (some minutes)"
cd "$tree"
PNGSLAB_TOOL="$tree/build/dev/bin/slabtool" node --test --test-concurrency=1 --test-reporter=spec "${patterns[@]}" tests/web/*_test.mjs
