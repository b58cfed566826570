#!/usr/bin/env bash
# Makes the Debian packages of the programs and the libraries, in build/package, on a machine that may have
# nothing yet.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"
reject_arguments "$@"

install_missing g++ cmake make dpkg-dev file libpng-dev libcli11-dev nlohmann-json3-dev libxxhash-dev
configure package
build package
cd "$tree/build/package"
quietly cpack
ls -l "$PWD"/*.deb
