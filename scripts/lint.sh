#!/usr/bin/env bash
# Runs the clang-tidy checks of .clang-tidy on the product's sources.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

install_missing g++ cmake make clang-tidy python3 libgtest-dev zlib1g-dev libpng-dev libcli11-dev nlohmann-json3-dev libxxhash-dev

configure debug
cd "$tree"
find src inflate png tools -name '*.cpp' -print0 | xargs -0 clang-tidy --quiet -p build/debug
