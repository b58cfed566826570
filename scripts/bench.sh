#!/usr/bin/env bash
# Measures the converter and its parts side by side with other programs and libraries, on one core, and
# prints tables. A ratio is the time of the other over ours: above 1 ours is faster.
#
#     scripts/bench.sh [--quick] [--rounds N] [--steps "STEP..."] [FOLDER]
#
# FOLDER holds PNG files of any kind; they are sorted into sets. Without FOLDER the images come from packages of
# Debian. --quick uses fewer images and fewer rounds: about two minutes instead of 18. The steps are deflate, decode,
# backends, process, batch, instructions, micro and pixels. Without --steps all of them run.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

quick=0
rounds=""
steps="deflate decode backends process batch instructions micro pixels"
folder=""
while [ $# -gt 0 ]; do
    case $1 in
    --quick) quick=1 ;;
    --rounds) rounds=$2 && shift ;;
    --steps) steps=$2 && shift ;;
    *) folder=$(cd "$1" && pwd) ;;
    esac
    shift
done

# The number of files of each set: in one process, and with a process for each.
if [ "$quick" -eq 1 ]; then
    rounds=${rounds:-3}
    declare -A most=([photographs]=3 [graphics]=20 [palette_and_gray]=8 [icons]=60)
    icon_processes=300
    micro_seconds=0.02
else
    rounds=${rounds:-7}
    declare -A most=([photographs]=5 [graphics]=100 [palette_and_gray]=16 [icons]=300)
    icon_processes=2000
    micro_seconds=0.2
fi
sets=(photographs graphics palette_and_gray icons)

install_missing g++ cmake make pkg-config valgrind zlib1g-dev libpng-dev libspng-dev liblodepng-dev \
    libstb-dev libdeflate-dev libbenchmark-dev libpixman-1-dev libyuv-dev \
    libcli11-dev nlohmann-json3-dev libxxhash-dev python3 python3-pil
configure bench
build bench
built="$tree/build/bench"
bin="$built/bin"

lists="$built/lists"
mkdir -p "$lists"
if [ -z "$folder" ]; then
    folder="$built/images"
    "$tree/bench/get_images.sh" "$folder"
fi
"$bin/sort_images" "$folder" "$lists"

# Sets `files` to at most $2 of the files in set $1, evenly spread.
choose() {
    mapfile -t files < <(awk -v most="$2" '
        { line[NR] = $0 }
        END {
            count = NR < most ? NR : most
            for (i = 0; i < count; ++i) print line[1 + int(i * NR / count)]
        }' "$lists/$1.txt")
    [ ${#files[@]} -gt 0 ]
}

# Runs the program $1, with the further options given, on the chosen files of every set.
on_every_set() {
    local set
    for set in "${sets[@]}"; do
        if choose "$set" "${most[$set]}"; then
            printf '\n%s\n' "${set//_/ }"
            "$bin/$1" "${@:2}" "${files[@]}"
        fi
    done
}

measure_deflate() {
    echo "### Raw DEFLATE streams of the images, in one process"
    on_every_set compare_deflate --rounds "$rounds"
}

measure_decode() {
    echo "### Decoding files in memory, in one process"
    on_every_set compare_decode --rounds "$rounds"
}

measure_backends() {
    echo "### The gain of SIMD: decoding by each backend, in one process"
    on_every_set compare_backends --rounds "$rounds"
}

measure_process() {
    echo "### Whole processes: reading, decoding, writing the same surface file"
    local set count set_rounds commands
    # In memory if possible, so that no disk is measured.
    target=$(mktemp -d "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")/pngslab-XXXXXX")
    trap 'rm -rf "$target"' EXIT
    # Copies, as an installation makes them: a linker writes a program in pieces, so it lies in pieces in the system's
    # cache and starts 5 % slower.
    local installed="$built/installed"
    rm -rf "$installed"
    cp -r "$bin" "$installed"
    for set in "${sets[@]}"; do
        count=${most[$set]}
        set_rounds=$rounds
        commands=(pngslab="$installed/pngslab" libpng="$installed/libpng_converter"
            libspng="$installed/libspng_converter" lodepng="$installed/lodepng_converter")
        if [ "$set" != palette_and_gray ]; then # stb_image converts these to RGB
            commands+=(stb_image="$installed/stb_image_converter")
        fi
        if [ "$set" = icons ]; then # their time is mostly the start
            commands+=(libpng_static="$installed/libpng_static_converter")
            commands+=(empty_dynamic="$installed/empty_dynamic" empty_static="$installed/empty_static")
            count=$icon_processes
            set_rounds=3
        fi
        if choose "$set" "$count"; then
            printf '\n%s\n' "${set//_/ }"
            "$bin/run_interleaved" --rounds "$set_rounds" "$target" "${commands[@]}" -- "${files[@]}"
        fi
    done
}

measure_batch() {
    echo "### Many images: slabtool convert in one run"
    # Debian's Pillow needs Debian's Python.
    /usr/bin/python3 "$tree/bench/compare_batch.py" --rounds "$rounds" --max-icons "$icon_processes" \
        "$bin/slabtool" "$bin/pngslab" "$lists/icons.txt" "$lists/photographs.txt"
}

# Millions of instructions that the program $1 executes for its contender $2 on the file $3.
instructions() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null \
        --toggle-collect='run_contender*' "$bin/$1" --only "$2" "$3" 2>&1 |
        awk '/Collected/ { printf "%.4f", $NF / 1e6 }'
}

# A table row for the task $1 on the file $2 by the program $3: ours and the contender $4.
count_instructions() {
    local ours peer
    ours=$(instructions "$3" pngslab "$2")
    peer=$(instructions "$3" "$4" "$2")
    awk -v name="$(basename "$2")" -v work="$1" -v ours="$ours" -v peer="$peer" 'BEGIN {
        printf "| %-44.44s | %-11s | %9.2f | %9.2f | %5.2f |\n", name, work, ours, peer, peer / ours }'
}

measure_instructions() {
    echo "### Instructions, in millions, for the file of median size in each set; beside zlib and libpng"
    local set middle
    printf '\n| %-44s | %-11s | %9s | %9s | ratio |\n|---|---|---|---|---|\n' file work pngslab peer
    for set in "${sets[@]}"; do
        if choose "$set" "${most[$set]}"; then
            middle=$(ls -S "${files[@]}" | sed -n "$(((${#files[@]} + 1) / 2))p")
            count_instructions "raw DEFLATE" "$middle" compare_deflate zlib
            count_instructions decode "$middle" compare_decode libpng
        fi
    done
}

# The last core that this script may use; the other programs find it themselves.
core=$(taskset -cp $$ | sed 's/.*[:,-] *//')

measure_micro() {
    echo "### Micro benchmarks"
    taskset -c "$core" "$bin/micro_benchmarks" --benchmark_min_time="$micro_seconds" 2>/dev/null
}

measure_pixels() {
    if [ -x "$bin/compare_pixels" ]; then
        echo "### Pixel operations"
        taskset -c "$core" "$bin/compare_pixels"
    fi
}

for step in $steps; do
    echo
    "measure_$step"
done
