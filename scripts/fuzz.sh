#!/usr/bin/env bash
# Builds the libFuzzer targets with clang under ASan/UBSan and runs each for a bounded time from its corpus
# in fuzz/corpus/<target>. Usage: scripts/fuzz.sh [seconds per target, default 25].
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VESK_FUZZ_BUILD_DIR:-$root/build-fuzz}
seconds=${1:-25}

CXX=clang++ cmake -S "$root/fuzz" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo ${VESK_FUZZ_CMAKE_ARGS:-} >/dev/null
cmake --build "$build" --parallel "$(nproc)"

export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
for corpus in "$root"/fuzz/corpus/*/; do
    target=$(basename "$corpus")
    # New inputs go to a scratch folder, so the corpus in the tree stays as committed.
    scratch=$(mktemp -d)
    echo "fuzz: $target for ${seconds}s"
    "$build/fuzz_$target" -max_total_time="$seconds" -max_len=8192 -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=0 -artifact_prefix="$build/$target-" "$scratch" "$corpus" 2>"$build/$target.log" ||
        { tail -n 60 "$build/$target.log"; rm -rf "$scratch"; exit 1; }
    rm -rf "$scratch"
done
