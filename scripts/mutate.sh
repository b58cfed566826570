#!/usr/bin/env bash
# Makes small changes in copies of the product's sources, one at a time, and runs the tests on each. A change that no
# test detects is a survivor. Prints every survivor and the score.
#
#     scripts/mutate.sh [number of changes, 240] [seed, 1] [path ...]      all folders without any
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

install_missing g++ cmake ninja-build python3 "${test_packages[@]}"

exec python3 "$tree/scripts/mutate.py" "$tree" "${1:-240}" "${2:-1}" "${@:3}"
