#!/usr/bin/env bash
# Measures the converter and its parts side by side with other programs and libraries, on one core (the step
# batch: on all cores), and prints tables. A ratio is the time of the other over ours: above 1 ours is faster.
#
#     scripts/bench.sh [--quick] [--rounds N] [--steps "STEP..."] [FOLDER]
#     scripts/bench.sh --instructions [--record]
#
# FOLDER holds PNG files of any kind; they are sorted into sets. Without FOLDER the images come from packages of
# Debian. --quick uses fewer images and fewer rounds: about three minutes instead of 23. The steps are deflate, decode,
# backends, process, batch, instructions, micro and pixels. Without --steps all of them run.
#
# --instructions counts the instructions of a fixed set of small jobs, in a minute, and compares them with the record
# bench/instructions.txt. It fails if a job executes over 2 % more than in the record. With other versions of the
# compiler and the libraries than those of the record it says so and succeeds. --record makes the record again.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

quick=0
rounds=""
steps="deflate decode backends process batch instructions micro pixels"
folder=""
task=measure
while [ $# -gt 0 ]; do
    case $1 in
    --quick) quick=1 ;;
    --rounds) rounds=$2 && shift ;;
    --steps) steps=$2 && shift ;;
    --instructions) [ "$task" = record ] || task=check ;;
    --record) task=record ;;
    *) folder=$(cd "$1" && pwd) ;;
    esac
    shift
done

built="$tree/build/bench"
bin="$built/bin"

# Installs what the benchmarks need, and builds target $1 (all without it).
build_benchmarks() {
    install_missing g++ cmake make valgrind zlib1g-dev "${tool_packages[@]}" libspng-dev liblodepng-dev \
        libstb-dev libdeflate-dev libbenchmark-dev libpixman-1-dev libyuv-dev python3 python3-pil
    configure bench
    build bench "$@"
}

# Millions of instructions that the program $1 with the other arguments executes in the function to be measured.
instructions() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect='run_contender*' \
        --toggle-collect='run_job*' "$bin/$1" "${@:2}" 2>&1 | awk '/Collected/ { printf "%.4f", $NF / 1e6 }'
}

# ---- The record of instructions

record="$tree/bench/instructions.txt"

# The first line of the record. Other versions generate other instructions, or compress the images in another way.
versions() {
    local compiler
    read -ra compiler < <(compiler)
    printf '# Millions of instructions with %s %s, %s, zlib %s, %s\n' "$(compiler_name)" \
        "$("${compiler[@]}" -dumpfullversion -dumpversion)" "$(getconf GNU_LIBC_VERSION)" \
        "$(python3 -c 'import zlib; print(zlib.ZLIB_RUNTIME_VERSION)')" "$(uname -m)"
}

# Prints a line of the record for the job $1. The other arguments are those of `instructions`.
count_job() {
    local count
    count=$(instructions "${@:2}") || fail "callgrind fails on $1"
    [[ $count == *[1-9]* ]] || fail "callgrind counts no instructions of $1"
    printf '%-44s %10s\n' "$1" "$count"
}

# Prints a new record. The backend and the features that the C library may use are fixed, because the best ones depend
# on the machine.
count_jobs() {
    local image name
    export GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX512F,-AVX512VL,-AVX2,-AVX,-BMI2,-SSSE3,-ERMS,-FSRM
    versions
    for image in "$tree"/samples/*.png "$built"/small_images/*.png; do
        name=$(basename "$image" .png)
        count_job "decode/$name" compare_decode --backend sse2 --only pngslab "$image"
        count_job "deflate/$name" compare_deflate --only pngslab "$image"
    done
    for name in $("$bin/pixel_jobs"); do
        count_job "pixels/$name" pixel_jobs sse2 "$name"
    done
}

# Prints the change of each job from the first record to the second. Fails if a job got slower, or if the jobs differ.
compare_records() {
    awk -v most=2 '
        /^#/ { next }
        NR == FNR { before[$1] = $2; next }
        !($1 in before) { printf "%-44s is not in the record\n", $1; wrong = 1; next }
        {
            change = ($2 / before[$1] - 1) * 100
            slower = change > most
            printf "%-44s %10.4f %+7.2f %%%s\n", $1, $2, change, slower ? "  more than " most " %" : ""
            wrong = wrong || slower
            delete before[$1]
        }
        END {
            for (name in before) { printf "%-44s is only in the record\n", name; wrong = 1 }
            exit wrong
        }' "$1" "$2"
}

check_instructions() {
    install_missing g++ python3
    if [ "$task" = check ] && [ "$(head -n 1 "$record")" != "$(versions)" ]; then
        printf 'Nothing is checked: the versions differ from those of the record.\n%s\n%s\n' \
            "$(head -n 1 "$record")" "$(versions)"
        return
    fi
    build_benchmarks instruction_jobs
    rm -rf "$built/small_images"
    python3 "$tree/bench/make_images.py" "$built/small_images"
    echo "Counting instructions (a minute)"
    count_jobs >"$built/instructions.txt"
    if [ "$task" = record ]; then
        mv "$built/instructions.txt" "$record"
        echo "Wrote bench/instructions.txt"
    else
        compare_records "$record" "$built/instructions.txt" ||
            fail "the jobs or their instructions differ from bench/instructions.txt. If that is intended, run" \
                "scripts/bench.sh --instructions --record"
    fi
}

if [ "$task" != measure ]; then
    check_instructions
    exit
fi

# ---- Measurements

# The max number of files of each set, and of icons in the steps process and batch.
if [ "$quick" -eq 1 ]; then
    rounds=${rounds:-3}
    declare -A most=([photographs]=3 [graphics]=20 [palette_and_gray]=8 [icons]=60)
    icon_processes=300
    micro_seconds=0.02
else
    rounds=${rounds:-7}
    declare -A most=([photographs]=10 [graphics]=100 [palette_and_gray]=16 [icons]=300)
    icon_processes=2000
    micro_seconds=0.2
fi
large_sets=(photographs graphics palette_and_gray)
sets=("${large_sets[@]}" icons)
most_cold=3000

build_benchmarks

lists="$built/lists"
mkdir -p "$lists"
if [ -z "$folder" ]; then
    folder="$built/images"
    "$tree/bench/get_images.sh" "$folder"
fi
"$bin/sort_images" "$folder" "$lists"

# The small files of the large sets, if they are enough for a set of their own.
list_small_files() {
    local small
    mapfile -t small < <(cat "${large_sets[@]/%/.txt}" | xargs -r -d '\n' sh -c 'find "$@" -size -16384c' sh)
    if [ ${#small[@]} -ge 100 ]; then
        printf '%s\n' "${small[@]}"
    fi
}
(cd "$lists" && list_small_files >small_files.txt)

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

# Runs the program $3, with the further options given, on at most $2 files of set $1.
on_set() {
    if choose "$1" "$2"; then
        printf '\n%s\n' "${1//_/ }"
        "$bin/$3" "${@:4}" "${files[@]}"
    fi
}

# Runs the program $1, with the further options given, on the chosen files of every set. Small files are decoded cold.
on_every_set_small_cold() {
    local set
    for set in "${large_sets[@]}"; do
        on_set "$set" "${most[$set]}" "$@"
    done
    for set in small_files icons; do
        on_set "$set" "$most_cold" "$1" --cold "${@:2}"
    done
}

measure_deflate() {
    echo "### Raw DEFLATE streams of the images, in one process"
    on_every_set_small_cold compare_deflate --rounds "$rounds"
}

measure_decode() {
    echo "### Decoding files in memory, in one process"
    on_every_set_small_cold compare_decode --rounds "$rounds"
}

measure_backends() {
    echo "### The gain of SIMD: decoding by each backend, in one process"
    local set
    for set in "${sets[@]}"; do
        on_set "$set" "${most[$set]}" compare_backends --rounds "$rounds"
    done
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
        "$bin" "$lists/icons.txt" "$lists/photographs.txt"
}

# A table row for the task $1 on the file $2 by the program $3: ours and the contender $4.
count_instructions() {
    local ours peer
    ours=$(instructions "$3" --only pngslab "$2")
    peer=$(instructions "$3" --only "$4" "$2")
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
