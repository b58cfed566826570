#!/usr/bin/env bash
# Checks the Debian packages with lintian, installs them on a minimal Debian in a scratch folder, and runs their
# programs. Needs root for chroot. Takes a few minutes.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"
require_root

"$tree/scripts/package.sh"
install_missing debootstrap lintian binutils
# The owner decides on the copyright file and the maintainer's address. The spelling check reads neighboring pieces of
# constants in a program as one word.
ignored=no-copyright-file,malformed-contact,bogus-mail-host-in-debian-changelog,spelling-error-in-binary
echo "lintian"
lintian --allow-root --display-info --fail-on error,warning,info --suppress-tags "$ignored" \
    "$tree"/build/package/*.deb
bare=$(mktemp -d)
trap 'as_root rm -rf --one-file-system "$bare"' EXIT

# Fails unless the installed program $1 runs at a random address, has no memory that is both writable and executable,
# and binds all symbols at its start.
check_program() {
    local headers dynamic
    headers=$(readelf --wide --file-header --program-headers "$bare$1")
    dynamic=$(readelf --wide --dynamic "$bare$1")
    grep -q 'Type: *DYN' <<<"$headers" || fail "$1 is not position-independent"
    grep -q 'GNU_RELRO' <<<"$headers" || fail "$1 has no read-only relocations"
    grep -q 'GNU_STACK.* RW ' <<<"$headers" || fail "$1 has an executable stack"
    ! grep -q ' RWE ' <<<"$headers" || fail "$1 has writable code"
    grep -q 'BIND_NOW' <<<"$dynamic" || fail "$1 binds symbols late"
    ! grep -qE 'R(UN)?PATH' <<<"$dynamic" || fail "$1 has a path for libraries"
}

# Fails unless x86-64 code of the installed program $1 has the checks of the compiler. Installed programs have no symbols,
# so main() is found in the program of the build. The C++ library brings marked functions of its own.
check_code() {
    local main code
    main=$(objdump --disassemble=main "$tree/build/package/bin/${1##*/}" | grep -A1 '<main>:')
    grep -q 'endbr64' <<<"$main" || fail "$1 does not mark the targets of indirect jumps"
    code=$(objdump --disassemble --section=.text "$bare$1")
    grep -qE 'or[lq] +\$0x0,\(%rsp\)' <<<"$code" || fail "$1 does not touch each page of a large stack frame"
}

# Fails unless the installed program $1 calls the function of the C or C++ library that reports a failed check.
check_calls() {
    local function
    for function in "${@:2}"; do
        readelf --wide --dyn-syms "$bare$1" | grep "$function" >"$bare/calls" || fail "$1 never calls $function"
    done
}

inside() {
    as_root chroot "$bare" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin \
        DEBIAN_FRONTEND=noninteractive "$@"
}

make_bare_system bookworm "$bare"
as_root cp "$tree"/build/package/*.deb "$tree"/samples/{quill,seal}.png "$bare/root"

echo "The converter, which needs no other package"
inside sh -c 'dpkg --install /root/pngslab_*.deb'
inside pngslab --image /root/quill.png --output /root/quill.surface --rotation 90

echo "The other packages with their dependencies"
quietly inside sh -c 'apt-get install -y --no-install-recommends /root/*.deb g++ cmake make pkg-config'
inside slabtool info /root/quill.surface
as_root cp -r "$tree/tests/package/consumer" "$bare/root"
quietly inside sh -c 'cd /root/consumer && cmake -S . -B build -DIMAGES=/root/seal.png && cmake --build build'
inside /root/consumer/build/consumer /root/seal.png
quietly inside pngslab --image /root/seal.png --output /root/seal.surface
inside slabtool compare /root/seal.surface /root/consumer/build/seal.surface
inside sh -c 'g++ -std=c++20 /root/consumer/consumer.cpp -o /root/other $(pkg-config --cflags --libs quillory-png)'
inside /root/other /root/quill.png

quietly inside apt-get install -y --no-install-recommends man-db
inside sh -c 'man -P cat slabtool | grep -q "inspect surface files"'

echo "Hardening"
check_program /usr/bin/pngslab
check_program /usr/bin/slabtool
if [ "$(uname -m)" = x86_64 ]; then
    check_code /usr/bin/pngslab
    check_code /usr/bin/slabtool
fi
check_calls /usr/bin/slabtool __stack_chk_fail __printf_chk __glibcxx_assert_fail

echo "Removal"
quietly inside dpkg --purge libquillory-dev slabtool pngslab
inside sh -c 'test -z "$(find /usr -path "*quillory*" -o -name "*pngslab*" -o -name "*slabtool*")"'
