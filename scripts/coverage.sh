#!/usr/bin/env bash
# Runs the suite on a build that counts executed lines and branches, and prints the counts of each product file.
# With -v it also lists every line and branch that no test executed.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

install_missing cmake make clang llvm libclang-rt-dev python3 "${test_packages[@]}"

configure coverage
build coverage
folder="$tree/build/coverage"
rm -rf "$folder/profiles"
# One file for each program, merged as its runs end: thousands of tests would fill the disk.
export LLVM_PROFILE_FILE="$folder/profiles/%2m.profraw"
(cd "$tree" && quietly ctest --preset coverage --parallel "$(nproc)")

llvm-profdata merge -o "$folder/suite.profdata" "$folder"/profiles/*.profraw
programs=("$folder/bin/pngslab")
for program in "$folder"/bin/*_tests "$folder"/bin/{draw_on_surface,slabtool}; do
    programs+=(-object "$program")
done
cd "$tree"
sources=$(find src inflate png tools -name '*.cpp' -o -name '*.h')
llvm-cov report "${programs[@]}" -instr-profile "$folder/suite.profdata" \
    -show-region-summary=false $sources
if [ "${1:-}" = -v ]; then
    llvm-cov show "${programs[@]}" -instr-profile "$folder/suite.profdata" \
        -show-branches=count -show-instantiations=false $sources |
        grep -E '^/|\| +0\||Branch.*(True: 0,|False: 0\])' || true
fi
