#!/usr/bin/env bash
# Runs the exhaustive tests of small worlds: every blend, every group of PNG filters, every short DEFLATE stream, every
# small prefix code, every clip and position on a small surface, every split of a small input, each against its model.
# Prints one line for each world: the number of cases and the time. Takes about 15 minutes of processor time, which all
# processors share.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

install_missing g++ cmake make python3 "${test_packages[@]}"

configure dev
build dev small_worlds

program="$tree/build/dev/bin/small_worlds"

# Runs the tests that match $1. Everything that they print is shown if one fails, else the lines of their worlds.
run_world() {
    local log status=0
    log=$(mktemp)
    "$program" --gtest_brief=1 --gtest_filter="$1" >"$log" 2>&1 || status=$?
    if [ "$status" -eq 0 ]; then
        grep ' cases ' "$log" || true # a world that needs another backend has none
    else
        cat "$log"
    fi
    rm -f "$log"
    return "$status"
}
export -f run_world
export program

# A backend is chosen for a whole process, so the tests run in processes side by side, the longest ones first.
tests=$("$program" --gtest_list_tests | awk '/^[^ ]/ { suite = $1 } /^ / { print suite $1 }')
long_tests='Blend|28Bits|InDynamicBlocks|EightRows'
# shellcheck disable=SC2016 # $1 is an argument of the inner shell
{
    grep -E "$long_tests" <<<"$tests"
    grep -vE "$long_tests" <<<"$tests"
} | xargs --max-procs="$(nproc)" --replace bash -c 'run_world "$1"' run_world {}
