#!/usr/bin/env bash
# Runs the suite in builds that the daily presets leave out: both compilers at -O0 and -O3, and 64-bit ARM under an
# emulator. The variants c-arm and c-s390x run only the test of the header for C, on an emulated 32-bit machine and on
# an emulated big-endian machine.
#
#     scripts/test-portable.sh [variant ...]     all of them without arguments
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

declare -A variants=(
    [gcc-O0]="-DCMAKE_CXX_COMPILER=g++ -DCMAKE_CXX_FLAGS_RELEASE=-O0"
    [gcc-O3]="-DCMAKE_CXX_COMPILER=g++ -DCMAKE_CXX_FLAGS_RELEASE=-O3"
    [clang-O0]="-DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS_RELEASE=-O0"
    [clang-O3]="-DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS_RELEASE=-O3"
    [aarch64]="-DCMAKE_TOOLCHAIN_FILE=$tree/cmake/aarch64.cmake -DCMAKE_CXX_FLAGS_RELEASE=-O2"
    [clang-aarch64]="-DCMAKE_TOOLCHAIN_FILE=$tree/cmake/aarch64.cmake -DCMAKE_CXX_FLAGS_RELEASE=-O2
        -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++"
)
# For each machine that tests only the header for C: the compiler, the emulator, and the package of the C library.
declare -A c_machines=(
    [c-arm]="arm-linux-gnueabihf-gcc qemu-arm libc6-dev-armhf-cross"
    [c-s390x]="s390x-linux-gnu-gcc qemu-s390x libc6-dev-s390x-cross"
)

# Builds and runs the test of the header for C on machine $1.
test_c_header() {
    local compiler emulator c_library
    read -r compiler emulator c_library <<<"${c_machines[$1]}"
    install_missing "gcc-${compiler%-gcc}" "$c_library" qemu-user
    mkdir -p "$tree/build"
    "$compiler" -std=c99 -O2 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -static -I "$tree/include" \
        "$tree/tests/include/quillory_surface_test.c" -o "$tree/build/portable-$1"
    "$emulator" "$tree/build/portable-$1"
    echo "The header for C works on $1"
}

install_missing g++ clang libclang-rt-dev cmake make python3 "${test_packages[@]}"

[ $# -gt 0 ] || set -- gcc-O0 gcc-O3 clang-O0 clang-O3 aarch64 clang-aarch64 c-arm c-s390x
for variant in "$@"; do
    if [ -n "${c_machines[$variant]:-}" ]; then
        test_c_header "$variant"
        continue
    fi
    [ -n "${variants[$variant]:-}" ] ||
        fail "unknown variant '$variant'; known are: ${!variants[*]} ${!c_machines[*]}"
    if [[ $variant == *aarch64 ]]; then
        require_root
        if ! dpkg --print-foreign-architectures | grep -qx arm64; then
            as_root dpkg --add-architecture arm64
        fi
        install_missing g++-aarch64-linux-gnu qemu-user \
            libstdc++6:arm64 libgtest-dev:arm64 zlib1g-dev:arm64 libpng-dev:arm64 \
            libchafa-dev:arm64 libglib2.0-dev:arm64
    fi
    folder="$tree/build/portable-$variant"
    echo "Building $variant (some minutes)"
    # A variant consists of options, so it is split at spaces.
    # shellcheck disable=SC2086
    quietly cmake -S "$tree" -B "$folder" -DCMAKE_BUILD_TYPE=Release -DPNGSLAB_TESTS=ON \
        -DPNGSLAB_TOOL=ON -DPNGSLAB_INSTALL=OFF -DPNGSLAB_WARNINGS_AS_ERRORS=ON ${variants[$variant]}
    quietly cmake --build "$folder" --parallel "$(nproc)"
    run_tests --test-dir "$folder"
done
