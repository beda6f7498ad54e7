#!/usr/bin/env bash
# Runs the unit suite built for x86_64 Android on this machine: bionic's own dynamic linker (the
# executable names it), its libc, the sysroot's stub system libraries and the test log library.
# Usage: run-bionic.sh BUILD_DIR SHARED_ANDROID_DIR [gtest options]
set -euo pipefail
build=$1
shared=$(cd "$2" && pwd)
shift 2
binary="$build/tests/kesto_unit_tests_bionic"
if [ ! -x "$binary" ]; then
    echo "android.unit: skipped - the bionic unit suite was not built (no bionic runtime in $shared)"
    exit 77
fi
export LD_LIBRARY_PATH="$build/testlog:$shared/hostrun/system/lib64:$shared/sysroot/usr/lib/x86_64-linux-android/21:$shared/sysroot/usr/lib/x86_64-linux-android"
output=$(mktemp)
trap 'rm -f "$output"' EXIT
status=0
"$binary" "$@" >"$output" 2>&1 || status=$?
# The old linker warns about a flag it does not know; that line is not the suite's.
grep -v 'unsupported flags DT_FLAGS_1' "$output" || true
exit "$status"
