#!/usr/bin/env bash
# fuzz.sh SECONDS [NAME...]: the fuzzing campaign: each target under tests/fuzz (or those named) for
# that long, as many at once as there are processors. What it learns stays in build-fuzz/corpus for
# the next campaign; an input that breaks something is kept beside it and the campaign fails.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:?$(sed -n 2p "$0" >&2)}
shift
names=("$@")
if [ $# -eq 0 ]; then
    mapfile -t names < <(cd tests/fuzz/corpus && printf '%s\n' *)
fi
scripts/build.sh build-fuzz -Ccmake/fuzz.cmake "${names[@]/#/fuzz_}"
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1

campaign() {
    local name=$1 learned=build-fuzz/corpus/$1 code=0
    mkdir -p "$learned"
    build-fuzz/tests/fuzz_"$name" -max_total_time="$2" -max_len=4096 -dict=tests/fuzz/words.dict \
        -print_final_stats=1 -artifact_prefix="$learned-" "$learned" tests/fuzz/corpus/"$name" \
        >"$learned.log" 2>&1 || code=$?
    printf '%-14s %12s executions%s\n' "$name" \
        "$(sed -n 's/^stat::number_of_executed_units: //p' "$learned.log")" \
        "$([ $code -eq 0 ] || echo ", FAILED: see $learned.log")"
    return $code
}
export -f campaign
printf '%s\n' "${names[@]}" | xargs -P "$(nproc)" -I '{}' bash -c 'campaign {} '"$seconds"
