#!/usr/bin/env bash
# Runs the suite where the everyday builds do not look: both compilers, without and with all
# optimization, and 64-bit ARM under an emulator.
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

install_missing g++ clang libclang-rt-dev cmake make python3 libgtest-dev zlib1g-dev libpng-dev libcli11-dev nlohmann-json3-dev libxxhash-dev

[ $# -gt 0 ] || set -- gcc-O0 gcc-O3 clang-O0 clang-O3 aarch64 clang-aarch64
for variant in "$@"; do
    [ -n "${variants[$variant]:-}" ] || fail "unknown variant '$variant'; known are: ${!variants[*]}"
    if [[ $variant == *aarch64 ]]; then
        require_root
        if ! dpkg --print-foreign-architectures | grep -qx arm64; then
            as_root dpkg --add-architecture arm64
        fi
        install_missing g++-aarch64-linux-gnu qemu-user \
            libstdc++6:arm64 libgtest-dev:arm64 zlib1g-dev:arm64 libpng-dev:arm64
    fi
    folder="$tree/build/portable-$variant"
    echo "Building $variant (some minutes)"
    # The variant's words are options, so they are split.
    # shellcheck disable=SC2086
    quietly cmake -S "$tree" -B "$folder" -DCMAKE_BUILD_TYPE=Release -DPNGSLAB_TESTS=ON \
        -DPNGSLAB_TOOL=ON -DPNGSLAB_INSTALL=OFF -DPNGSLAB_WARNINGS_AS_ERRORS=ON ${variants[$variant]}
    quietly cmake --build "$folder" --parallel "$(nproc)"
    run_tests --test-dir "$folder"
done
