# What the scripts share: help, the tree, missing packages, builds and test runs. Sourced, not run.

tree=$(cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.." && pwd)

# The comment at the top of a script is its help.
if [ "${1:-}" = --help ] || [ "${1:-}" = -h ]; then
    sed -n '2,/^[^#]/ s/^# \{0,1\}//p' "$0"
    exit 0
fi

# Prints why the script cannot go on, and ends it.
fail() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# For a script without arguments: passes "$@".
reject_arguments() {
    [ $# -eq 0 ] || fail "unknown argument '$1'; --help explains the script"
}

# Runs a command; its output is shown only if it fails.
quietly() {
    local log status=0
    log=$(mktemp)
    "$@" >"$log" 2>&1 || status=$?
    if [ "$status" -ne 0 ]; then
        cat "$log" >&2
    fi
    rm -f "$log"
    return "$status"
}

# ---- Packages

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "root or sudo is missing. Ask the administrator to run: $*"
    fi
}

# What shows that a package's content is there, whatever installed it: a command, or a header. Packages that
# are not listed bring a command of their own name.
declare -A evidence=(
    [g++]=${CXX:-g++} [dpkg-dev]=dpkg-shlibdeps [libclang-rt-dev]="clang's fuzzer runtime" [llvm]=llvm-profdata
    [groff-base]=groff [ninja-build]=ninja [openssh-client]=ssh [openssh-server]=/usr/sbin/sshd
    [libbenchmark-dev]=benchmark/benchmark.h [libcli11-dev]=CLI/CLI.hpp [libdeflate-dev]=libdeflate.h
    [libgtest-dev]=gtest/gtest.h [liblodepng-dev]=lodepng.h [libpixman-1-dev]=pixman-1/pixman.h
    [libpng-dev]=png.h [libspng-dev]=spng.h [libstb-dev]=stb/stb_image.h [libyuv-dev]=libyuv.h
    [zlib1g-dev]=zlib.h
)

has_header() {
    "${CXX:-g++}" -E -x c++ -include "$1" /dev/null >/dev/null 2>&1
}

has_fuzzer_runtime() {
    local archives
    archives=$(find "$(clang -print-resource-dir 2>/dev/null)/lib" -name 'libclang_rt.fuzzer*.a' 2>/dev/null)
    [ -n "$archives" ]
}

is_there() {
    local sign=${evidence[$1]:-$1}
    case $sign in
    *fuzzer*) has_fuzzer_runtime ;;
    *.h | *.hpp) has_header "$sign" ;;
    *) command -v "$sign" >/dev/null ;;
    esac || [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# Installs what is missing of what the named Debian packages bring. Programs and libraries that came another
# way are taken as they are.
install_missing() {
    local package missing=()
    for package in "$@"; do
        is_there "$package" || missing+=("$package")
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    if ! command -v apt-get >/dev/null; then
        fail "what these Debian packages bring is missing here: ${missing[*]}. Install it" \
            "with this system's package manager, then run the script again."
    fi
    if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
        fail "packages are missing. Ask the administrator to run:" \
            "apt-get install --no-install-recommends ${missing[*]}"
    fi
    echo "Installing ${missing[*]}"
    quietly as_root apt-get update
    local install=(as_root env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get install --no-install-recommends)
    "${install[@]}" --assume-no "${missing[@]}" 2>&1 |
        sed -nE 's/^(Need to get .*|After this operation.*)/    \1/p' || true
    quietly "${install[@]}" -y "${missing[@]}"
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

# ---- Compilers

# Whether version $1 is at least version $2.
is_at_least() {
    printf '%s\n%s\n' "$2" "$1" | sort --version-sort --check=quiet
}

# Ends the script where CMake or the compiler is older than this project can use.
check_versions() {
    local compiler cmake version name minimum
    compiler=${CXX:-$(command -v c++ || echo g++)} # as CMake chooses
    cmake=$(cmake --version | sed -n '1s/[^0-9]*//p')
    is_at_least "$cmake" 3.21 || fail "pngslab needs CMake 3.21 or newer; this is CMake $cmake."
    command -v "$compiler" >/dev/null || fail "there is no compiler '$compiler'"
    version=$("$compiler" -dumpversion)
    name=g++ minimum=12
    if "$compiler" --version | grep -q clang; then
        name=clang minimum=13
    fi
    is_at_least "$version" "$minimum" ||
        fail "pngslab needs g++ 12 or clang 13, or newer; this is $name $version. CXX=... chooses another one."
}

# ---- Builds

# Configures the preset $1 with the further options given. What a failure has found out is forgotten.
configure() {
    check_versions
    if ! (cd "$tree" && quietly cmake --preset "$@"); then
        rm -f "$tree/build/$1/CMakeCache.txt"
        return 1
    fi
}

# Builds target $2 (all without it) of the preset $1.
build() {
    (cd "$tree" && quietly cmake --build --preset "$1" --parallel "$(nproc)" ${2:+--target "$2"})
}

# Runs the tests of a build by ctest with the arguments given. On a terminal one line shows the progress;
# elsewhere only failures and the summary are printed.
run_tests() {
    local log status=0
    if [ -t 1 ]; then
        ctest "$@" --output-on-failure --parallel "$(nproc)" --progress
        return
    fi
    log=$(mktemp)
    ctest "$@" --output-on-failure --parallel "$(nproc)" >"$log" 2>&1 || status=$?
    grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test +#[0-9]+: .* Passed )' "$log"
    rm -f "$log"
    return "$status"
}
