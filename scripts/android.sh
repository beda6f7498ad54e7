#!/usr/bin/env bash
# Builds the engine for Android apps: Release libraries for arm64-v8a, armeabi-v7a, x86_64 and x86
# at API 21, each with a stripped copy, and kesto2.aar, under OUT (default build/android).
# The toolchain is the official NDK's when ANDROID_NDK is set, else the sysroot in shared/android
# beside the checkout. The Java classes compile against the API 21 jar: ANDROID_JAR, else the SDK's
# (ANDROID_HOME), else the one in shared/android.
# --with-tests also builds the unit suite for x86_64 Android, to run here on the bionic runtime of
# shared/android (tests/android/run-bionic.sh).
# Exits 77 when there is no toolchain, saying so in one line.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
with_tests=0
if [ "${1:-}" = "--with-tests" ]; then
    with_tests=1
    shift
fi
out=$(mkdir -p "${1:-$root/build/android}" && cd "${1:-$root/build/android}" && pwd)
shared="$root/../shared/android"
abis=(arm64-v8a armeabi-v7a x86_64 x86)
api=21

if [ -n "${ANDROID_NDK:-}" ]; then
    toolchain="$ANDROID_NDK/build/cmake/android.toolchain.cmake"
elif [ -f "$shared/android.toolchain.cmake" ]; then
    toolchain="$shared/android.toolchain.cmake"
else
    echo "android: skipped - no Android toolchain (set ANDROID_NDK, or put shared/android beside the checkout)"
    exit 77
fi
if [ ! -f "$toolchain" ]; then
    echo "android: no toolchain file at $toolchain" >&2
    exit 1
fi
api_jar="${ANDROID_JAR:-}"
if [ -z "$api_jar" ] && [ -n "${ANDROID_HOME:-}" ]; then
    api_jar="$ANDROID_HOME/platforms/android-$api/android.jar"
fi
if [ -z "$api_jar" ] || [ ! -f "$api_jar" ]; then
    api_jar="$shared/platforms/android-$api.jar"
fi

generator=()
if command -v ninja >/dev/null 2>&1; then
    generator=(-G Ninja)
fi

configure() {  # build directory, ABI, further options
    local dir=$1 abi=$2
    shift 2
    if [ ! -f "$dir/CMakeCache.txt" ]; then
        cmake -S "$root" -B "$dir" "${generator[@]}" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
            -DANDROID_ABI="$abi" -DANDROID_PLATFORM="android-$api" -DCMAKE_BUILD_TYPE=Release \
            -DKESTO_BUILD_EXAMPLES=OFF "$@" >"$dir.configure.log" 2>&1 ||
            { cat "$dir.configure.log" >&2; return 1; }
    fi
}

mkdir -p "$out/build"
for abi in "${abis[@]}"; do
    dir="$out/build/$abi"
    configure "$dir" "$abi" -DKESTO_BUILD_TESTS=OFF
    cmake --build "$dir" --target xolkesto2engine -j "$(nproc)" >"$dir.build.log" 2>&1 ||
        { cat "$dir.build.log" >&2; exit 1; }
    mkdir -p "$out/$abi/stripped"
    cp "$dir/libxolkesto2engine.so" "$out/$abi/"
    cp "$dir/stripped/libxolkesto2engine.so" "$out/$abi/stripped/"
    printf 'android: %-12s %7d bytes stripped\n' "$abi" "$(stat -c %s "$out/$abi/stripped/libxolkesto2engine.so")"
done

if [ "$with_tests" = 1 ] && [ -d "$shared/hostrun" ]; then
    dir="$out/build/x86_64-bionic-tests"
    configure "$dir" x86_64 -DKESTO_BUILD_TESTS=ON -DKESTO_BIONIC_HOSTRUN="$shared/hostrun"
    cmake --build "$dir" --target kesto_unit_tests_bionic -j "$(nproc)" >"$dir.build.log" 2>&1 ||
        { cat "$dir.build.log" >&2; exit 1; }
fi

# The AAR: the classes compiled against the platform's API (never the desktop stand-ins), the
# stripped libraries, the manifest, the consumer rules for code shrinkers and an empty R.txt.
if [ ! -f "$api_jar" ]; then
    echo "android: no Android API jar for the AAR (set ANDROID_JAR or ANDROID_HOME)" >&2
    exit 1
fi
stage="$out/aar"
rm -rf "$stage" "$out/classes" "$out/kesto2.aar"
mkdir -p "$stage" "$out/classes"
javac -source 8 -target 8 -bootclasspath "$api_jar" -Xlint:all -Xlint:-options -encoding UTF-8 \
    -d "$out/classes" $(find "$root/java/com" -name '*.java' | sort)
jar cf "$stage/classes.jar" -C "$out/classes" .
for abi in "${abis[@]}"; do
    mkdir -p "$stage/jni/$abi"
    cp "$out/$abi/stripped/libxolkesto2engine.so" "$stage/jni/$abi/"
done
cp "$root/cmake/android/AndroidManifest.xml" "$root/cmake/android/proguard.txt" "$stage/"
: >"$stage/R.txt"
(cd "$stage" && jar cfM "$out/kesto2.aar" AndroidManifest.xml classes.jar proguard.txt R.txt jni)
echo "android: $out/kesto2.aar"
