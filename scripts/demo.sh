#!/usr/bin/env bash
# Sets up, builds and runs the main job: the example host (and the polyfex
# command on the bundled samples once it is built).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release
if [ -x build/release/polyfex ] && [ -f tools/polyfex/demo.sh ]; then
  bash tools/polyfex/demo.sh build/release
else
  build/release/example_host
fi
