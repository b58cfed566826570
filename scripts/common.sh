# What the scripts share: finding the tree, installing missing Debian packages, quiet builds.
# Sourced, not run.

tree=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)

# Runs a command; its output is shown only if it fails.
quietly() {
    local log
    log=$(mktemp)
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

# Installs those of the named Debian packages that are not installed yet.
install_missing() {
    local package missing=()
    for package in "$@"; do
        if ! dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed; then
            missing+=("$package")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    echo "Installing ${missing[*]} ..."
    quietly as_root apt-get update
    quietly as_root env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"
}

# Installs the ssh daemon for tests that start their own. The machine's, which the package starts, and would
# start again with the machine, is not wanted.
install_sshd() {
    if [ -x /usr/sbin/sshd ]; then
        return
    fi
    install_missing openssh-server
    quietly as_root service ssh stop
    quietly as_root update-rc.d ssh disable
}

# Configures the preset $1 with the further options given. What a failure has found out is forgotten.
configure() {
    if ! (cd "$tree" && quietly cmake --preset "$@"); then
        rm -f "$tree/build/$1/CMakeCache.txt"
        return 1
    fi
}

# Builds target $2 (all without it) of the preset $1.
build() {
    (cd "$tree" && quietly cmake --build --preset "$1" --parallel "$(nproc)" ${2:+--target "$2"})
}
