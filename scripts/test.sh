#!/usr/bin/env bash
# Sets up, builds and runs every test.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VESK_BUILD_DIR:-$root/build}
"$root/scripts/setup.sh"
cd "$build"
ctest --output-on-failure --parallel "$(nproc)" --timeout 300
