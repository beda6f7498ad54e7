#!/bin/sh
# Runs one fuzz target for a bounded time from its committed seeds, as a test.
#   run-fuzzer.sh FUZZER SEED_DIR WORK_DIR SECONDS
#   run-fuzzer.sh --unavailable MESSAGE      (prints MESSAGE and exits 77: skipped)
# New inputs go to WORK_DIR/corpus, never into the seeds; a crash, leak, timeout or sanitizer
# report leaves its input in WORK_DIR/artifacts and fails the test.
set -u

if [ "${1:-}" = "--unavailable" ]; then
    echo "fuzz target skipped: ${2:-clang unavailable}"
    exit 77
fi
if [ $# -ne 4 ]; then
    echo "usage: $0 FUZZER SEED_DIR WORK_DIR SECONDS" >&2
    exit 2
fi
fuzzer=$1
seeds=$2
work=$3
seconds=$4

if [ ! -x "$fuzzer" ]; then
    echo "$fuzzer is missing: build the kesto_fuzzers target first" >&2
    exit 1
fi
if [ ! -d "$seeds" ] || [ -z "$(ls -A "$seeds")" ]; then
    echo "no seeds in $seeds" >&2
    exit 1
fi
mkdir -p "$work/corpus" "$work/artifacts" || exit 1

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1}"
"$fuzzer" -max_total_time="$seconds" -timeout=10 -max_len=4096 -rss_limit_mb=2048 \
    -print_final_stats=1 -artifact_prefix="$work/artifacts/" "$work/corpus" "$seeds"
status=$?
# libFuzzer reports findings with 77 by default, the code CTest reads as "skipped": map every
# failure to 1.
if [ "$status" -ne 0 ]; then
    echo "$(basename "$fuzzer") failed (exit $status); the input is in $work/artifacts/" >&2
    exit 1
fi
