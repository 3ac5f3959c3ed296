#!/usr/bin/env bash
# Sets up, builds and runs every test. With "asan" as the argument, the same
# suite under AddressSanitizer + UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
preset="${1:-release}"
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset" -j2
