#!/usr/bin/env bash
# A small mutation check: plants one plausible bug at a time in the code the tests guard most closely (the
# diff, the validator, dialect parsing, failure mapping, the history file's schema), rebuilds the test
# binary that covers it and says whether any test failed ("killed") or none did ("survived").
#
#   scripts/mutation-check.sh                 every mutant
#   scripts/mutation-check.sh validator diff  only the mutants whose name contains "validator" or "diff"
#
# Mutants are applied in place, one at a time, and the file is always put back, also on Ctrl-C. They are
# built in their own build directory (VESK_MUTATION_BUILD_DIR, default build-mutation/) with ccache, so a
# second run costs little more than the tests. A mutant whose original snippet is no longer in its file
# is reported "not applicable": edit its row in the table below when the code moves.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VESK_MUTATION_BUILD_DIR:-$root/build-mutation}
only=("$@")

# Which tests stand guard over each area: a test binary and a gtest filter.
diff_tests='vesk_core_tests *CorrectionDiff*'
validator_tests='vesk_core_tests *CorrectionValidator*:*ProviderClient*'
dialect_tests='vesk_core_tests *Anthropic*:*OpenAI*:*ProviderRequest*:*Endpoints*:*ProviderClient*'
client_tests='vesk_core_tests *ProviderClient*:*Sentinels*:*ErrorMessages*'
failure_tests='vesk_core_tests *FailureTexts*:*ProviderError*:*ProviderFailure*'
history_tests='vesk_app_tests HistoryStoreTest.*'

# The table: name, file, tests, original snippet, mutated snippet. The snippet must occur exactly once.
mutants=()
mutant() { mutants+=("$1"$'\x1f'"$2"$'\x1f'"$3"$'\x1f'"$4"$'\x1f'"$5"); }

mutant diff-tie-prefers-insertion core/CorrectionDiff.cpp "$diff_tests" \
    'if (below < right) {' \
    'if (below <= right) {'
mutant diff-empty-leading-token core/CorrectionDiff.cpp "$diff_tests" \
    'if (begin > tokenBegin && word != tokenIsWord) {' \
    'if (begin >= tokenBegin && word != tokenIsWord) {'
mutant diff-pure-insertion-dropped core/CorrectionDiff.cpp "$diff_tests" \
    'if (pending.original.empty() && pending.replacement.empty()) {' \
    'if (pending.original.empty() || pending.replacement.empty()) {'
mutant diff-carry-lost-between-words core/CorrectionDiff.cpp "$diff_tests" \
    'carryOut |= sum < carry ? 1 : 0;' \
    ''
mutant validator-wrapper-in-original core/CorrectionValidator.cpp "$validator_tests" \
    'return foldedReply.starts_with(start) && !foldedSent.starts_with(start);' \
    'return foldedReply.starts_with(start);'
mutant validator-delimiter-in-original core/CorrectionValidator.cpp "$validator_tests" \
    'if (contains(reply, delimiter) && !contains(sent, delimiter)) {' \
    'if (contains(reply, delimiter)) {'
mutant validator-phrase-unfolded core/CorrectionValidator.cpp "$validator_tests" \
    'if (contains(foldedReply, phrase) && !contains(foldedSent, phrase)) {' \
    'if (contains(reply, phrase) && !contains(sent, phrase)) {'
mutant openai-last-choice-shown core/OpenAIDialect.cpp "$dialect_tests" \
    'if (&choice == &choices->front()) {' \
    'if (&choice == &choices->back()) {'
mutant openai-partial-usage-accepted core/OpenAIDialect.cpp "$dialect_tests" \
    ' && result.promptTokens &&
                result.completionTokens);' \
    ');'
mutant anthropic-max-tokens-halving core/AnthropicDialect.cpp "$dialect_tests" \
    'return static_cast<std::int64_t>(textBytes / 2);' \
    'return static_cast<std::int64_t>(textBytes);'
mutant anthropic-bad-delta-accepted core/AnthropicDialect.cpp "$dialect_tests" \
    'if (!delta->is_object() || !JsonFields::readString(*delta, "text", result.delta) ||' \
    'if (!delta->is_object() || (JsonFields::readString(*delta, "text", result.delta), false) ||'
mutant client-payload-last-byte-cut core/ProviderClient.cpp "$client_tests" \
    'text.find_last_not_of(" \t") - first + 1);' \
    'text.find_last_not_of(" \t") - first);'
mutant client-key-masked-once core/ProviderClient.cpp "$client_tests" \
    'at != std::string::npos; at = text.find(apiKey, at + redacted.size())) {' \
    'at != std::string::npos; at = std::string::npos) {'
mutant failure-403-not-a-key-problem core/ProviderFailure.cpp "$failure_tests" \
    'if (error.status() == 401 || error.status() == 403) {' \
    'if (error.status() == 401) {'
mutant failure-rate-limit-range core/ProviderFailure.cpp "$failure_tests" \
    'if (error.status() == 429) {' \
    'if (error.status() >= 429) {'
mutant history-newer-schema-opened app/services/HistoryDatabase.cpp "$history_tests" \
    'return *version == schemaVersion || noteFailure();' \
    'return *version >= schemaVersion || noteFailure();'
mutant history-locale-change-not-refolded app/services/HistoryStore.cpp "$history_tests" \
    'const bool refold = stored && *stored != currentLocale();' \
    'const bool refold = false;'

# ---------------------------------------------------------------------------------------------------------

backup=
target=
restore()
{
    if [[ -n $backup ]]; then
        cat "$backup" >"$target" # rewritten, not moved back: the new time stamp makes the next build recompile
        rm -f "$backup"
        backup=
    fi
}
trap restore EXIT
trap 'exit 130' INT TERM

# Replaces the only occurrence of $2 in file $1 by $3; exit 3 when it is missing, 4 when it is ambiguous.
apply()
{
    python3 - "$@" <<'EOF'
import sys
path, old, new = sys.argv[1:4]
text = open(path, encoding="utf-8").read()
count = text.count(old)
if count != 1:
    sys.exit(3 if count == 0 else 4)
open(path, "w", encoding="utf-8").write(text.replace(old, new))
EOF
}

build_target()
{
    cmake --build "$build" -j2 --target "$1" >"$build/mutation-build.log" 2>&1
}

run_tests()
{
    local binary=$1 filter=$2
    QT_QPA_PLATFORM=offscreen timeout 300 "$build/tests/$binary" --gtest_filter="$filter" --gtest_brief=1 \
        >"$build/mutation-test.log" 2>&1
}

export CCACHE_NOHASHDIR=1 # the build directory's path does not change the objects
cmake -S "$root" -B "$build" -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >/dev/null || exit 1

selected()
{
    ((${#only[@]} == 0)) && return 0
    local word
    for word in "${only[@]}"; do
        [[ $1 == *"$word"* ]] && return 0
    done
    return 1
}

# The unmutated tree must pass every filter it uses, or a failure would prove nothing.
declare -A checked=()
for row in "${mutants[@]}"; do
    IFS=$'\x1f' read -r -d '' name file tests old new < <(printf '%s\0' "$row")
    selected "$name" || continue
    [[ -z ${checked[$tests]:-} ]] || continue
    checked[$tests]=1
    read -r binary filter <<<"$tests"
    if ! build_target "$binary" || ! run_tests "$binary" "$filter"; then
        echo "the unmutated tree fails $binary --gtest_filter='$filter'; see $build/mutation-*.log" >&2
        exit 1
    fi
done

killed=0
total=0
lines=()
for row in "${mutants[@]}"; do
    IFS=$'\x1f' read -r -d '' name file tests old new < <(printf '%s\0' "$row")
    selected "$name" || continue
    read -r binary filter <<<"$tests"
    target=$root/$file
    backup=$(mktemp)
    cp "$target" "$backup"
    apply "$target" "$old" "$new"
    case $? in
    0) ;;
    3) restore; lines+=("not applicable  $name ($file: snippet not found)"); continue ;;
    *) restore; lines+=("not applicable  $name ($file: snippet not unique)"); continue ;;
    esac
    if ! build_target "$binary"; then
        restore
        lines+=("does not build  $name ($file)")
        continue
    fi
    total=$((total + 1))
    if run_tests "$binary" "$filter"; then
        lines+=("SURVIVED        $name ($file)")
    else
        killed=$((killed + 1))
        lines+=("killed          $name ($file)")
    fi
    restore
done

# Leaves the build directory matching the tree again.
for binary in $(printf '%s\n' "${!checked[@]}" | cut -d' ' -f1 | sort -u); do
    build_target "$binary"
done

printf '%s\n' "${lines[@]}"
if ((total > 0)); then
    echo "killed $killed of $total ($((100 * killed / total))%)"
else
    echo "killed 0 of 0"
fi
