#!/usr/bin/env bash
# Makes a minimal Debian in a scratch folder, puts a clean clone of this tree into it, and runs the two commands of the
# README there, as on a new machine. Then it checks the counts of instructions (bench.sh --instructions) if the word
# instructions is among the arguments, and runs the named variants of test-portable.sh. Only committed changes take
# part. Needs root for chroot. Takes 15 to 30 minutes on two cores. Downloaded packages stay in ~/.cache/pngslab for the
# next run.
#
#     scripts/test-bare.sh [bookworm | trixie] [instructions] [variant of test-portable.sh ...]
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

suite=${1:-bookworm}
case $suite in
bookworm | trixie) ;;
*) fail "unknown Debian '$suite'; bookworm and trixie are known" ;;
esac
variants=()
counts_instructions=0
for word in "${@:2}"; do
    case $word in
    instructions) counts_instructions=1 ;;
    *) variants+=("$word") ;;
    esac
done
[ "$(id -u)" -eq 0 ] || fail "root is needed to enter the new system by chroot"
install_missing debootstrap git
bare=$(mktemp -d)
trap 'rm -rf --one-file-system "$bare"' EXIT

make_bare_system "$suite" "$bare"
quietly git clone --no-hardlinks "$tree" "$bare/root/pngslab"

mapfile -t commands < <(sed -nE '/^scripts\/(convert|test)\.sh/ { s/ *#.*//; p }' "$tree/README.md")
[ ${#commands[@]} -eq 2 ] || fail "the README has ${#commands[@]} commands for a new machine, not 2"
for command in "${commands[@]}"; do
    printf '\n%s$ %s\n' "$suite" "$command"
    inside_clone "$bare" bash -c "$command"
done
[ "$(stat --format %s "$bare/root/pngslab/quill.surface")" -eq 92948 ] || fail "the surface has the wrong size"

if [ "$counts_instructions" -eq 1 ]; then
    inside_clone "$bare" scripts/bench.sh --instructions
fi
if [ ${#variants[@]} -gt 0 ]; then
    inside_clone "$bare" scripts/test-portable.sh "${variants[@]}"
fi
