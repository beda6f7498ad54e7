#!/usr/bin/env bash
# Runs the benchmarks of a build, each in its own process, and ends with kesto_bench's summary
# table, which takes in the call check's and the SDL2 peer's figures from this run.
# Usage: bench/run.sh [build-dir] [extra kesto_bench options, e.g. --rounds=5 --min-time=0.5]
set -uo pipefail

build=${1:-build}
shift || true
bin="$build/bench"
out="$bin/results"
mkdir -p "$out"
rm -f "$out/calls.txt" "$out/sdl.txt" "$out/engine.txt"
status=0

echo "load average before: $(cut -d' ' -f1-3 /proc/loadavg)"
echo "### call check (kesto_bench_calls)"
"$bin/kesto_bench_calls" --results="$out/calls.txt" || status=1

if [ -x "$bin/kesto_bench_sdl" ]; then
    echo "### SDL2 peer (kesto_bench_sdl)"
    "$bin/kesto_bench_sdl" --results="$out/sdl.txt" "$@" || status=1
else
    echo "### SDL2 peer not built (libsdl2-dev missing): no engine / SDL2 ratios"
fi

echo "### engine (kesto_bench)"
"$bin/kesto_bench" --calls-results="$out/calls.txt" --peer-results="$out/sdl.txt" \
    --results="$out/engine.txt" "$@" || status=1
echo "load average after: $(cut -d' ' -f1-3 /proc/loadavg)"
exit $status
