#!/usr/bin/env bash
# Builds the web page in build/web/site and serves it on this machine, at localhost:PORT. Ctrl-C ends it.
# Any static host can serve the folder.
#
#     scripts/web.sh [--build] [PORT, 8000]
#
# --build only builds.
set -euo pipefail
source "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/common.sh"

serves=1
if [ "${1:-}" = --build ]; then
    serves=0
    shift
fi
port=${1:-8000}
reject_arguments "${@:2}"
[[ $port =~ ^[0-9]+$ ]] || fail "unknown argument '$port'; --help explains the script"

install_missing emscripten cmake ninja-build python3 nodejs npm
site="$tree/build/web/site"
# emscripten's scripts look for Debian's modules there, also if node comes from elsewhere.
export NODE_PATH=/usr/share/nodejs

# ---- The libraries

if [ "$tree/web/package-lock.json" -nt "$tree/web/node_modules/.package-lock.json" ]; then
    echo "Fetching the libraries"
    (cd "$tree/web" && quietly npm ci --no-audit --no-fund)
fi

# ---- The module

toolchain=$(dirname "$(readlink -f "$(command -v emcc)")")/cmake/Modules/Platform/Emscripten.cmake
echo "Building the module (some minutes the first time)"
quietly cmake -S "$tree/web" -B "$tree/build/web/module" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=None
quietly cmake --build "$tree/build/web/module"

# ---- The page

# A bundler joins the worker with the module and the libraries, as text in a script of the page: page/workers.js starts
# workers from text. The page's other scripts stay as they are.
rm -rf "$site"
mkdir -p "$site/page"
cp "$tree/web/index.html" "$tree/web/style.css" "$tree/tools/slabtool/gallery/colors.css" "$site"
cp "$tree"/web/page/*.js "$site/page"
"$tree/web/node_modules/.bin/esbuild" "$tree/web/worker/worker.js" --bundle --format=esm --minify --log-level=warning \
    --alias:pngslab_module="$tree/build/web/module/pngslab_module.js" --legal-comments=inline --charset=utf8 \
    --outfile="$tree/build/web/worker.js"
node -p '"export default " + JSON.stringify(fs.readFileSync(process.argv[1], "utf8")) + ";"' "$tree/build/web/worker.js" \
    >"$site/page/worker_code.js"

if [ "$serves" -eq 1 ]; then
    echo "Serving the page at localhost:$port"
    exec python3 -m http.server "$port" --bind localhost --directory "$site"
fi
