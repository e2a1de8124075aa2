#!/usr/bin/env bash
# A small mutation check: plants one plausible bug at a time in the code the tests guard most closely (the
# diff, the validator, dialect parsing, failure mapping, the history file's schema), rebuilds the test
# binary that covers it and says whether any test failed ("killed") or none did ("survived").
#
#   scripts/mutation-check.sh                 every mutant
#   scripts/mutation-check.sh validator diff  only the mutants whose name contains "validator" or "diff"
#
# The mutants are the rows of scripts/mutants.json: a name, a file, the tests that guard it (a key of
# `guards` below), an original snippet that must occur exactly once in the file and its mutated form.
# Mutants are applied in place, one at a time, and the file is always put back, also on Ctrl-C. They are
# built in their own build directory (VESK_MUTATION_BUILD_DIR, default build-mutation/) with ccache, so a
# second run costs little more than the tests. A mutant whose original snippet is no longer in its file
# is reported "not applicable": edit its row when the code moves.
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VESK_MUTATION_BUILD_DIR:-$root/build-mutation}
only=("$@")

# Which tests stand guard over each area: a test binary and a gtest filter.
declare -A guards=(
    [diff]='vesk_core_tests *CorrectionDiff*'
    [validator]='vesk_core_tests *CorrectionValidator*:*ProviderClient*'
    [dialect]='vesk_core_tests *Anthropic*:*OpenAI*:*ProviderRequest*:*Endpoints*:*ProviderClient*'
    [client]='vesk_core_tests *ProviderClient*:*Sentinels*:*ErrorMessages*'
    [failure]='vesk_core_tests *FailureTexts*:*ProviderError*:*ProviderFailure*'
    [history]='vesk_app_tests HistoryStoreTest.*'
)

# One record a mutant: name, file, guard, original, mutated, separated by \x1f.
mapfile -d '' mutants < <(python3 -c '
import json, sys
for row in json.load(open(sys.argv[1], encoding="utf-8")):
    sys.stdout.write("\x1f".join([row["name"], row["file"], row["guard"], row["original"], row["mutated"]]) + "\0")
' "$root/scripts/mutants.json")

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
    IFS=$'\x1f' read -r -d '' name file guard old new < <(printf '%s\0' "$row")
    selected "$name" || continue
    tests=${guards[$guard]}
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
    IFS=$'\x1f' read -r -d '' name file guard old new < <(printf '%s\0' "$row")
    selected "$name" || continue
    read -r binary filter <<<"${guards[$guard]}"
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
