#!/usr/bin/env bash
# Runs every fuzzer under AddressSanitizer and UndefinedBehaviorSanitizer: first what its corpus holds,
# then new inputs for the given time. A finding is left in build/fuzz/findings and ends the script.
#
#     scripts/fuzz.sh [seconds for each fuzzer, 60; 0 only replays the corpora]
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

seconds=${1:-60}
install_missing cmake make clang libclang-rt-dev zlib1g-dev libpng-dev libcli11-dev

declare -A dictionaries=(
    [fuzz_inflate]=deflate [fuzz_inflate_against_zlib]=deflate
    [fuzz_png_decode]=png [fuzz_png_against_libpng]=png [fuzz_surface_from_png]=png
    [fuzz_slabtool]=png
    [fuzz_draw]=draw [fuzz_command_line]=command_line
)
options=(-max_len=4096 -timeout=10 -rss_limit_mb=3000 -print_final_stats=1)

configure fuzz
build fuzz
folder="$tree/build/fuzz"
mkdir -p "$folder/findings"

# Runs the program $1 on its corpus with the further options given. Its words go to its log.
run_fuzzer() {
    local name=$1 log="$folder/$1.log" grown="$folder/corpus/$1"
    mkdir -p "$grown"
    if ! "$folder/bin/$name" "${options[@]}" "${@:2}" \
        -dict="$tree/fuzz/dictionaries/${dictionaries[$name]}.dict" \
        -artifact_prefix="$folder/findings/$name-" "$grown" "$tree/fuzz/corpus/$name" >"$log" 2>&1; then
        tail -n 60 "$log"
        echo "$name: a finding"
        return 1
    fi
}

echo "Fuzzing: ${#dictionaries[@]} programs, $seconds seconds each"
for name in $(printf '%s\n' "${!dictionaries[@]}" | sort); do
    # The corpus alone, as on a machine without a symbolizer: no report has names there.
    ASAN_OPTIONS="symbolize=0:${ASAN_OPTIONS:-}" run_fuzzer "$name" -runs=0
    if [ "$seconds" -gt 0 ]; then
        run_fuzzer "$name" -max_total_time="$seconds"
    else
        run_fuzzer "$name" -runs=0
    fi
    echo "$name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$folder/$name.log") inputs, nothing found"
done
