# Shared by the scripts: help, the tree, missing packages, builds and test runs. Sourced, not run.

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

may_be_root() {
    [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null
}

# For scripts that need root for more than installing packages.
require_root() {
    may_be_root || fail "root or sudo is missing. Ask the administrator to run this script."
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo "$@"
    fi
}

# What builds of slabtool need besides a compiler and CMake, and what builds of slabtool with the tests need.
tool_packages=(libpng-dev libcli11-dev nlohmann-json3-dev libxxhash-dev libchafa-dev libglib2.0-dev pkg-config)
# shellcheck disable=SC2034 # used by other scripts
test_packages=(libgtest-dev zlib1g-dev "${tool_packages[@]}")

# The command, header or pkg-config module that proves a package's content to be there, whatever installed it. Packages
# that are not listed bring a command of their own name.
declare -A evidence=(
    [bubblewrap]=bwrap
    [dpkg-dev]=dpkg-shlibdeps [emscripten]=emcc [llvm]=llvm-profdata [nodejs]=node
    [gcc-arm-linux-gnueabihf]=arm-linux-gnueabihf-gcc [gcc-s390x-linux-gnu]=s390x-linux-gnu-gcc
    [g++-arm-linux-gnueabihf]=arm-linux-gnueabihf-g++ [g++-s390x-linux-gnu]=s390x-linux-gnu-g++
    [g++-mingw-w64-x86-64-posix]=x86_64-w64-mingw32-g++-posix [wine64]=/usr/lib/wine/wine64
    [groff-base]=groff [ninja-build]=ninja [openssh-client]=ssh [openssh-server]=/usr/sbin/sshd
    [libbenchmark-dev]=benchmark/benchmark.h [libchafa-dev]=chafa.pc [libcli11-dev]=CLI/CLI.hpp
    [libdeflate-dev]=libdeflate.h [libglib2.0-dev]=glib-2.0.pc [libgtest-dev]=gtest/gtest.h
    [liblodepng-dev]=lodepng.h [libpixman-1-dev]=pixman-1/pixman.h [libpng-dev]=png.h [libspng-dev]=spng.h
    [libstb-dev]=stb/stb_image.h [libyuv-dev]=libyuv.h [libxxhash-dev]=xxhash.h
    [nlohmann-json3-dev]=nlohmann/json.hpp [zlib1g-dev]=zlib.h
)

# The compiler that CMake chooses, as command-line words: CXX may hold options or a launcher.
compiler() {
    echo "${CXX:-$(command -v c++ || echo g++)}"
}

has_header() {
    # shellcheck disable=SC2046 # words
    $(compiler) -E -x c++ -include "$1" /dev/null >/dev/null 2>&1
}

has_clang_runtime() {
    local archives
    command -v clang >/dev/null || return 1
    archives=$(find "$(clang -print-resource-dir)/lib" -name 'libclang_rt.fuzzer*.a' 2>/dev/null)
    [ -n "$archives" ]
}

# A different program is also called parallel; only GNU parallel counts.
has_gnu_parallel() {
    parallel --version 2>/dev/null </dev/null | grep -q GNU
}

is_there() {
    local sign=${evidence[$1]:-$1}
    case $sign in
    g++) [ -n "${CXX:-}" ] || command -v g++ >/dev/null ;;
    libclang-rt-dev) has_clang_runtime ;;
    parallel) has_gnu_parallel ;;
    *.h | *.hpp) has_header "$sign" ;;
    *.pc) pkg-config --exists "${sign%.pc}" 2>/dev/null ;;
    *) command -v "$sign" >/dev/null ;;
    esac || [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# Installs the named Debian packages whose content is missing. Programs and libraries that were installed in another
# way are used as they are.
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
    may_be_root || fail "packages are missing. Ask the administrator to run:" \
        "apt-get install --no-install-recommends ${missing[*]}"
    echo "Installing ${missing[*]}"
    quietly as_root apt-get update
    local install=(as_root env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get install --no-install-recommends)
    "${install[@]}" --assume-no "${missing[@]}" 2>&1 |
        sed -nE 's/^(Need to get .*|After this operation.*)/    \1/p' || true
    quietly "${install[@]}" -y "${missing[@]}"
}

# Installs the ssh daemon for tests that start their own. The package also starts one for the machine, now and at each
# boot; that one is switched off.
install_sshd() {
    if [ -x /usr/sbin/sshd ]; then
        return
    fi
    install_missing openssh-server
    quietly as_root service ssh stop
    quietly as_root update-rc.d ssh disable
}

# Fills the folder $1 with this machine's package sources, changed to source packages, in both formats that apt knows.
# Many machines fetch no index of source packages.
write_source_entries() {
    local file list parts
    eval "$(apt-config shell list Dir::Etc::sourcelist/f parts Dir::Etc::sourceparts/d)"
    mkdir -p "$1"
    for file in "$list" "$parts"/*.list; do
        if [ -e "$file" ]; then
            sed --quiet --regexp-extended \
                '/cdrom:/d; s/^[[:blank:]]*deb(-src)?([[:blank:]])/deb-src\2/p' \
                "$file" >"$1/one-line-${file##*/}"
        fi
    done
    for file in "$parts"/*.sources; do
        if [ -e "$file" ]; then
            sed --regexp-extended 's/^Types:.*/Types: deb-src/I' "$file" >"$1/${file##*/}"
        fi
    done
}

# Fetches the conformance images of libpng's source package into $conformance_images, once.
fetch_conformance_images() {
    local apt partial="$tree/build/conformance.partial"
    conformance_images="$tree/build/conformance"
    if [ -d "$conformance_images" ]; then
        return
    fi
    install_missing dpkg-dev
    echo "Fetching the sources of libpng"
    # The download has its own package indexes and leaves those of the machine alone.
    rm -rf "$partial"
    write_source_entries "$partial/sources"
    mkdir -p "$partial"/{lists,cache/archives}/partial "$partial/images"
    apt=(apt-get -o Dir::Etc::SourceList=/dev/null -o "Dir::Etc::SourceParts=$partial/sources"
        -o "Dir::State::Lists=$partial/lists" -o "Dir::Cache=$partial/cache")
    quietly "${apt[@]}" update
    (cd "$partial/images" && quietly "${apt[@]}" source --download-only --tar-only libpng1.6 &&
        tar --extract --wildcards --file libpng1.6_*.orig.tar.* '*/contrib/pngsuite/*.png' '*/contrib/testpngs/*.png')
    mv "$partial/images" "$conformance_images"
    rm -rf "$partial"
}

# ---- Compilers

# Whether version $1 is at least version $2.
is_at_least() {
    printf '%s\n%s\n' "$2" "$1" | sort --version-sort --check=quiet
}

# Ends the script if CMake is too old for this project.
check_cmake() {
    local version
    version=$(cmake --version | sed -n '1s/[^0-9]*//p')
    is_at_least "$version" 3.21 || fail "pngslab needs CMake 3.21 or newer; this is CMake $version."
}

compiler_name() {
    # shellcheck disable=SC2046 # words
    if $(compiler) --version | grep -q clang; then
        echo clang
    else
        echo g++
    fi
}

# The same for the compiler.
check_compiler() {
    local compiler version name minimum=12
    read -ra compiler < <(compiler)
    version=$("${compiler[@]}" -dumpversion) || fail "there is no compiler '${compiler[*]}'"
    name=$(compiler_name)
    [ "$name" = g++ ] || minimum=13
    is_at_least "$version" "$minimum" ||
        fail "pngslab needs g++ 12 or clang 13, or newer; this is $name $version. CXX=... chooses another one."
}

# ---- Builds

# Configures the preset $1. After a failure the cached findings are removed.
configure() {
    check_cmake
    if ! (cd "$tree" && quietly cmake --preset "$1"); then
        rm -f "$tree/build/$1/CMakeCache.txt"
        return 1
    fi
}

# Builds target $2 (all without it) of the preset $1.
build() {
    echo "Building $1${2:+: $2} ($([ $# -eq 2 ] && echo "less than a minute" || echo "some minutes") the first time)"
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

# ---- Bare systems

# The mirror from which this machine's apt gets its own release.
mirror() {
    local codename
    codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
    apt-get indextargets --format '$(CODENAME) $(REPO_URI)' 'Created-By: Packages' |
        awk -v codename="$codename" '$1 == codename { print $2; exit }'
}

# Makes a minimal Debian $1 in the empty folder $2. Downloaded packages stay in $cache for the next run.
make_bare_system() {
    local from
    [ -n "$(mirror)" ] || quietly as_root apt-get update # a new machine has no index yet
    from=$(mirror)
    [ -n "$from" ] || fail "apt knows no mirror of this machine's own release"
    cache="${XDG_CACHE_HOME:-$HOME/.cache}/pngslab/$1"
    mkdir -p "$cache"
    echo "Making a bare Debian ($1, one minute)"
    as_root chmod 755 "$2" # users other than root must enter its root folder
    quietly as_root debootstrap --variant=minbase --cache-dir="$cache" "$1" "$2" "$from"
}

# Runs a command in the clone /root/pngslab of the bare system $1, in separate namespaces: no process and no mount
# outlives it.
inside_clone() {
    unshare --mount --pid --fork --kill-child /bin/sh -c '
        bare=$1 && shift
        mount -t proc proc "$bare/proc" && mount -t sysfs sysfs "$bare/sys" && mount --rbind /dev "$bare/dev" &&
            mount --bind "$1" "$bare/var/cache/apt/archives" && shift &&
            exec chroot "$bare" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root \
                /bin/sh -c "cd /root/pngslab && exec \"\$@\"" sh "$@"' sh "$1" "$cache" "${@:2}" </dev/null
}
