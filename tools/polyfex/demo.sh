#!/usr/bin/env bash
# Runs the polyfex command on the bundled samples: information, a conversion
# chain and a rendering. Usage: tools/polyfex/demo.sh [BUILD_DIR] (default
# build/release); the files it writes go to BUILD_DIR/demo.
set -euo pipefail
root="$(cd "$(dirname "$0")/../.." && pwd)"
build="$(cd "${1:-$root/build/release}" && pwd)"
if [ ! -x "$build/polyfex" ]; then
  echo "demo.sh: $build/polyfex not found; build it first (cmake --build --preset release)" >&2
  exit 2
fi
mkdir -p "$build/demo"
# Paths as a user in the repository types them.
cd "$root"
polyfex="$(realpath --relative-to="$root" "$build/polyfex")"
[[ "$polyfex" == */* ]] || polyfex="./$polyfex"
out="$(realpath --relative-to="$root" "$build/demo")"
samples=samples

if [ -t 1 ]; then bold=$'\033[1m' plain=$'\033[0m'; else bold="" plain=""; fi
step() { printf '\n%s$ %s%s\n' "$bold" "$*" "$plain"; "$@"; }

step "$polyfex" --version
step "$polyfex" info "$samples/sphere.stl"
step "$polyfex" convert "$samples/cube.obj" "$out/cube.stl" --triangulate
step "$polyfex" convert "$out/cube.stl" "$out/cube.mov"
step "$polyfex" info "$out/cube.mov"
step "$polyfex" check "$out/cube.mov"
step "$polyfex" hull "$samples/points.mov" "$out/points_hull.stl"
step "$polyfex" render "$samples/sphere.stl" "$out/sphere.png" --size 640x480
step "$polyfex" render "$samples/cube.obj" "$out/cube.png" --size 480x360 --view iso
printf '\nPictures: %s/sphere.png %s/cube.png\n' "$out" "$out"
