#!/usr/bin/env bash
# Sets up, builds and starts Vesk. Arguments go to the `vesk` binary.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
exec "${VESK_BUILD_DIR:-$root/build}/app/vesk" "$@"
