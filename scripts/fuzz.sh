#!/usr/bin/env bash
# Runs every fuzzer under AddressSanitizer and UndefinedBehaviorSanitizer: first the inputs of its corpus, then new
# inputs for the given time. A finding stays in build/fuzz/findings and ends the script. New inputs are collected in
# build/fuzz/corpus/<fuzzer>; fuzz/pack_corpus.py adds them to the archive in the tree.
#
#     scripts/fuzz.sh [seconds for each fuzzer, 60; 0 only replays the corpora]
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

seconds=${1:-60}
install_missing cmake make clang libclang-rt-dev zlib1g-dev "${tool_packages[@]}"

options=(-max_len=4096 -timeout=10 -rss_limit_mb=3000 -print_final_stats=1)

configure fuzz
build fuzz
folder="$tree/build/fuzz"
mkdir -p "$folder/findings"
(cd "$tree" && quietly ctest --preset fuzz)

# Runs the program $1 with the dictionary $2 and the further options given. Its output goes to its log.
run_fuzzer() {
    local name=$1 log="$folder/$1.log" grown="$folder/corpus/$1"
    mkdir -p "$grown"
    if ! "$folder/bin/$name" "${options[@]}" "${@:3}" -dict="$2" \
        -artifact_prefix="$folder/findings/$name-" "$grown" "$folder/seeds/$name" >"$log" 2>&1; then
        tail -n 60 "$log"
        echo "$name: a finding"
        return 1
    fi
}

limit=-max_total_time="$seconds"
[ "$seconds" -gt 0 ] || limit=-runs=0
echo "Fuzzing: $(wc -l <"$folder/fuzzers.txt") programs, $seconds seconds each"
while read -r name dictionary; do
    run_fuzzer "$name" "$dictionary" "$limit"
    echo "$name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$folder/$name.log") inputs, nothing found"
done <"$folder/fuzzers.txt"
