#!/usr/bin/env bash
# Runs fuzzers: first the inputs of their corpora, then new inputs for the given time, up to 4 KiB for half of it and up
# to 64 KiB for the other half. A finding stays in build/<preset>/findings and ends the script. New inputs are collected
# in build/fuzz/corpus/<fuzzer>; fuzz/pack_corpus.py adds them to the archive in the tree. docs/fuzzing.md says how to
# fuzz continuously on many machines.
#
#     scripts/fuzz.sh [--guarded] [seconds for each fuzzer, 60; 0 only replays the corpora] [fuzzer ...]
#
# The fuzzers run under AddressSanitizer and UndefinedBehaviorSanitizer. With --guarded they run without both, several
# times as fast: buffers lie beside pages that cannot be accessed.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

preset=fuzz
if [ "${1:-}" = --guarded ]; then
    preset=fuzz-guarded
    shift
fi
seconds=${1:-60}
[[ $seconds =~ ^[0-9]+$ ]] || fail "'$seconds' is not a number of seconds; --help explains the script"
chosen=("${@:2}")
install_missing cmake make clang libclang-rt-dev zlib1g-dev "${tool_packages[@]}"

options=(-timeout=10 -rss_limit_mb=3000 -print_final_stats=1)

configure "$preset"
build "$preset"
folder="$tree/build/$preset"
mkdir -p "$folder/findings"
for name in "${chosen[@]}"; do
    grep -q "^$name " "$folder/fuzzers.txt" ||
        fail "unknown fuzzer '$name'; known are: $(cut -d' ' -f1 "$folder/fuzzers.txt" | xargs)"
done
(cd "$tree" && quietly ctest --preset "$preset")

# Runs the program $1 with the dictionary $2 and the further options given. Its output is added to its log.
run_fuzzer() {
    local name=$1 log="$folder/$1.log" grown="$tree/build/fuzz/corpus/$1"
    mkdir -p "$grown"
    if ! "$folder/bin/$name" "${options[@]}" "${@:3}" -dict="$2" \
        -artifact_prefix="$folder/findings/$name-" "$grown" "$folder/seeds/$name" >>"$log" 2>&1; then
        tail -n 60 "$log"
        echo "$name: a finding"
        return 1
    fi
}

# The number of inputs that the program $1 has tried, by its log.
inputs_of() {
    awk '/^stat::number_of_executed_units:/ { sum += $2 } END { print sum }' "$folder/$1.log"
}

is_chosen() {
    [ ${#chosen[@]} -eq 0 ] || [[ " ${chosen[*]} " == *" $1 "* ]]
}

echo "Fuzzing: $seconds seconds for each program"
while read -r name dictionary; do
    is_chosen "$name" || continue
    rm -f "$folder/$name.log"
    if [ "$seconds" -eq 0 ]; then
        run_fuzzer "$name" "$dictionary" -runs=0
    else
        run_fuzzer "$name" "$dictionary" -max_len=4096 -max_total_time=$(((seconds + 1) / 2))
        run_fuzzer "$name" "$dictionary" -max_len=65536 -max_total_time=$(((seconds + 1) / 2))
    fi
    echo "$name: $(inputs_of "$name") inputs, nothing found"
done <"$folder/fuzzers.txt"
