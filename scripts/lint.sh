#!/usr/bin/env bash
# Runs the clang-tidy checks of .clang-tidy on the product's sources.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

install_missing g++ cmake make clang-tidy python3 "${test_packages[@]}"

configure debug
cd "$tree"
find src inflate png tools -name '*.cpp' -print0 | xargs -0 clang-tidy --quiet -p build/debug
