#!/usr/bin/env bash
# Builds the engine with coverage counters in its own directory, runs the tests that load the plain
# library, and prints line coverage per engine folder. Usage: scripts/coverage.sh [build-dir]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-coverage}

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Debug -DKESTO_COVERAGE=ON -DKESTO_TSAN_TESTS=OFF \
    -DKESTO_ASAN_TESTS=OFF -DKESTO_LSAN_JVM_TESTS=OFF \
    -DKESTO_BUILD_BENCHMARKS=OFF >/dev/null
cmake --build "$build" -j "$(nproc)"
objects="$build/CMakeFiles/xolkesto2engine.dir"
find "$objects" -name '*.gcda' -delete
ctest --test-dir "$build" -j "$(nproc)" --output-on-failure >"$build/coverage-tests.log" ||
    { tail -30 "$build/coverage-tests.log"; echo "coverage: some tests failed" >&2; }
grep -E 'tests passed|tests failed' "$build/coverage-tests.log"
python3 scripts/coverage-table.py "$objects" "$PWD"
