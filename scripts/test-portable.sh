#!/usr/bin/env bash
# Tests builds that the daily presets leave out. There are three groups of variants:
#
# - gcc-O0 gcc-O3 clang-O0 clang-O3 aarch64 clang-aarch64 run the suite: with both compilers at -O0 and -O3, and on 64-bit
#   ARM in an emulator.
# - gcc-O1 gcc-O2 clang-O1 clang-O2 clang-19 gcc-14 arm s390x windows browser build only the converter. gcc-14 runs in a
#   minimal Debian 13, which needs root. 32-bit ARM and s390x, a big-endian machine, run in an emulator, the program for
#   Windows in wine, and the module of the web page in node.
# - c-arm c-s390x test the header for C on 32-bit ARM and s390x.
#
# In the first two groups, the surfaces of all images of the tree and of libpng's conformance images must have the bytes
# that tests/bytes lists.
#
#     scripts/test-portable.sh [variant ...]     all of them without arguments
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

# CMake's build types bring a level of optimization of their own.
declare -A suites=(
    [gcc-O0]="-DCMAKE_CXX_COMPILER=g++ -DCMAKE_CXX_FLAGS=-O0"
    [gcc-O3]="-DCMAKE_CXX_COMPILER=g++ -DCMAKE_CXX_FLAGS=-O3"
    [clang-O0]="-DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS=-O0"
    [clang-O3]="-DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS=-O3"
    [aarch64]="-DCMAKE_TOOLCHAIN_FILE=$tree/cmake/aarch64.cmake -DCMAKE_CXX_FLAGS=-O2"
    [clang-aarch64]="-DCMAKE_TOOLCHAIN_FILE=$tree/cmake/aarch64.cmake -DCMAKE_CXX_FLAGS=-O2
        -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++"
)
declare -A converters=(
    [gcc-O1]="-DCMAKE_CXX_COMPILER=g++ -DCMAKE_CXX_FLAGS=-O1"
    [gcc-O2]="-DCMAKE_CXX_COMPILER=g++ -DCMAKE_CXX_FLAGS=-O2"
    [clang-O1]="-DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS=-O1"
    [clang-O2]="-DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS=-O2"
    [clang-19]="-DCMAKE_CXX_COMPILER=clang++-19 -DCMAKE_CXX_FLAGS=-O2"
    [gcc-14]="-DCMAKE_CXX_COMPILER=g++-14 -DCMAKE_CXX_FLAGS=-O2"
    [arm]="-DCMAKE_TOOLCHAIN_FILE=cmake/arm.cmake -DCMAKE_CXX_FLAGS=-O2"
    [s390x]="-DCMAKE_TOOLCHAIN_FILE=cmake/s390x.cmake -DCMAKE_CXX_FLAGS=-O2"
    [windows]="-DCMAKE_TOOLCHAIN_FILE=cmake/windows.cmake -DCMAKE_CXX_FLAGS=-O2"
)
# What the variants need besides clang and g++: packages, and the command that runs the program.
declare -A converter_packages=(
    [clang-19]="clang-19" [arm]="g++-arm-linux-gnueabihf qemu-user"
    [s390x]="g++-s390x-linux-gnu qemu-user" [windows]="g++-mingw-w64-x86-64-posix wine64"
)
declare -A runners=([aarch64]=qemu-aarch64 [clang-aarch64]=qemu-aarch64
    [arm]=qemu-arm [s390x]=qemu-s390x [windows]=/usr/lib/wine/wine64)
# For each machine that tests only the header for C: the compiler, the emulator, and the package of the C library.
declare -A c_machines=(
    [c-arm]="arm-linux-gnueabihf-gcc qemu-arm libc6-dev-armhf-cross"
    [c-s390x]="s390x-linux-gnu-gcc qemu-s390x libc6-dev-s390x-cross"
)

# Builds everything as the suite $1 and runs the tests.
test_suite() {
    local folder="$tree/build/portable-$1"
    install_missing libclang-rt-dev "${test_packages[@]}"
    if [[ $1 == *aarch64 ]]; then
        require_root
        if ! dpkg --print-foreign-architectures | grep -qx arm64; then
            as_root dpkg --add-architecture arm64
        fi
        install_missing g++-aarch64-linux-gnu qemu-user \
            libstdc++6:arm64 libgtest-dev:arm64 zlib1g-dev:arm64 libpng-dev:arm64 \
            libchafa-dev:arm64 libglib2.0-dev:arm64
    fi
    echo "Building $1 (some minutes)"
    # A variant consists of options, so it is split at spaces.
    # shellcheck disable=SC2086
    quietly cmake -S "$tree" -B "$folder" -DCMAKE_BUILD_TYPE=None -DPNGSLAB_TESTS=ON \
        -DPNGSLAB_TOOL=ON -DPNGSLAB_INSTALL=OFF -DPNGSLAB_WARNINGS_AS_ERRORS=ON ${suites[$1]}
    quietly cmake --build "$folder" --parallel "$(nproc)"
    run_tests --test-dir "$folder"
    compare_bytes ${runners[$1]:+"${runners[$1]}"} "$folder/bin/pngslab"
}

# Compares the surfaces that the converter "$@" writes with both lists.
compare_bytes() {
    fetch_conformance_images
    python3 "$tree/tests/bytes/same_bytes.py" "$@"
    python3 "$tree/tests/bytes/same_bytes.py" --conformance "$conformance_images" "$@"
}

# Builds the converter as the variant $1, with commands that "${@:2}" runs in the tree.
build_converter() {
    echo "Building the converter as $1 (one minute)"
    # shellcheck disable=SC2086 # options
    quietly "${@:2}" cmake -S . -B "build/portable-$1" -DCMAKE_BUILD_TYPE=None -DPNGSLAB_INSTALL=OFF \
        -DPNGSLAB_WARNINGS_AS_ERRORS=ON ${converters[$1]}
    quietly "${@:2}" cmake --build "build/portable-$1" --target pngslab --parallel "$(nproc)"
}

test_converter() {
    # shellcheck disable=SC2086 # packages
    install_missing ${converter_packages[$1]:-}
    (cd "$tree" && build_converter "$1" env)
    local program="$tree/build/portable-$1/bin/pngslab"
    if [ "$1" = windows ]; then
        program+=.exe
        export WINEPREFIX="$tree/build/wine" WINEDEBUG=-all
        /usr/lib/wine/wineserver64 --persistent=60 # seconds; hundreds of restarts take long, and some of them fail
        quietly "${runners[windows]}" "$program" --help # fills wine's folder, with messages
    fi
    compare_bytes ${runners[$1]:+"${runners[$1]}"} "$program"
}

# Builds the converter in a minimal Debian 13 and runs it here: the program is static. Only committed changes take part.
test_gcc_14() {
    local bare folder="$tree/build/portable-gcc-14"
    install_missing debootstrap git
    bare=$(mktemp -d)
    # shellcheck disable=SC2064 # the folder of now
    trap "rm -rf --one-file-system '$bare'" EXIT
    make_bare_system trixie "$bare"
    quietly git clone --no-hardlinks "$tree" "$bare/root/pngslab"
    quietly inside_clone "$bare" apt-get update
    quietly inside_clone "$bare" apt-get install --no-install-recommends -y cmake make g++-14
    build_converter gcc-14 inside_clone "$bare"
    mkdir -p "$folder"
    cp "$bare/root/pngslab/build/portable-gcc-14/bin/pngslab" "$folder"
    compare_bytes "$folder/pngslab"
}

# Compares the surfaces of the web page's module.
test_browser() {
    local folder="$tree/build/portable-browser"
    "$tree/scripts/web.sh" --build
    mkdir -p "$folder"
    cp "$tree/build/web/module/pngslab_module.js" "$folder/pngslab_module.mjs" # node decides by the suffix
    compare_bytes node "$tree/tests/bytes/convert_in_module.mjs" "$folder/pngslab_module.mjs"
}

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

known=(gcc-O0 gcc-O3 clang-O0 clang-O3 aarch64 clang-aarch64 gcc-O1 gcc-O2 clang-O1 clang-O2 clang-19 gcc-14
    arm s390x windows browser c-arm c-s390x)
[ $# -gt 0 ] || set -- "${known[@]}"
for variant in "$@"; do
    [[ " ${known[*]} " == *" $variant "* ]] || fail "unknown variant '$variant'; known are: ${known[*]}"
    [ "$variant" != gcc-14 ] || [ "$(id -u)" -eq 0 ] || fail "gcc-14 needs root to enter a new system by chroot"
done
install_missing g++ clang cmake make python3
for variant in "$@"; do
    case $variant in
    gcc-14) test_gcc_14 ;;
    browser) test_browser ;;
    c-*) test_c_header "$variant" ;;
    *)
        if [ -n "${suites[$variant]:-}" ]; then
            test_suite "$variant"
        else
            test_converter "$variant"
        fi
        ;;
    esac
done
