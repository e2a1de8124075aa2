#!/usr/bin/env bash
# Sets up, builds and runs every test; then the core and command-line tests again under AddressSanitizer and
# UndefinedBehaviorSanitizer, and each fuzz target for a bounded time (scripts/fuzz.sh).
# VESK_SKIP_SANITIZE=1 / VESK_SKIP_FUZZ=1 leave those passes out; VESK_FUZZ_SECONDS sets the time per target.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VESK_BUILD_DIR:-$root/build}
"$root/scripts/setup.sh"
(cd "$build" && ctest --output-on-failure --parallel "$(nproc)" --timeout 300)

if [[ ${VESK_SKIP_SANITIZE:-} != 1 ]]; then
    # Only the targets these tests need: the sanitizer build of the whole app would double the CI time.
    asan=${VESK_SANITIZE_BUILD_DIR:-$root/build-sanitize}
    cmake -S "$root" -B "$asan" -DCMAKE_BUILD_TYPE=Debug -DVESK_SANITIZE=ON -DVESK_BUILD_BENCH=OFF \
        ${VESK_CMAKE_ARGS:-} >/dev/null
    cmake --build "$asan" --parallel "$(nproc)" --target vesk_core_tests vesk_cli_tests
    # Qt and the keyring libraries keep process-lifetime allocations; leaks are not what this pass is for.
    export ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
    "$asan/tests/vesk_core_tests" --gtest_brief=1
    "$asan/tests/vesk_cli_tests" --gtest_brief=1 --gtest_filter=-*Keyring*
    "$root/tests/support/with-keyring.sh" "$asan/tests/vesk_cli_tests" --gtest_brief=1 --gtest_filter=*Keyring*
fi

if [[ ${VESK_SKIP_FUZZ:-} != 1 ]]; then
    "$root/scripts/fuzz.sh" "${VESK_FUZZ_SECONDS:-25}"
fi
