#!/usr/bin/env bash
# Opens kesto2.aar and checks what an app's build takes from it: the manifest (package, minSdk 21),
# classes.jar with the binding and the object layer and none of the desktop stand-ins, a stripped
# library for each ABI, an empty R.txt, and consumer rules that keep every native method and every
# class of this project the engine finds by name through JNI.
# Usage: check-aar.sh AAR SOURCE_DIR
set -euo pipefail
aar=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

(cd "$work" && jar xf "$aar")
entries=$(cd "$work" && find . -type f | sed 's|^\./||' | sort)
expected=$(printf '%s\n' AndroidManifest.xml R.txt classes.jar proguard.txt \
    jni/{arm64-v8a,armeabi-v7a,x86,x86_64}/libxolkesto2engine.so | sort)
[ "$entries" = "$expected" ] || fail "entries differ from the expected set:" \
    "$(diff <(echo "$expected") <(echo "$entries") | grep '^[<>]' | tr '\n' ' ')"

grep -q 'package="com.xol.kesto2"' "$work/AndroidManifest.xml" || fail "manifest: package is not com.xol.kesto2"
grep -q 'android:minSdkVersion="21"' "$work/AndroidManifest.xml" || fail "manifest: minSdk is not 21"
[ ! -s "$work/R.txt" ] || fail "R.txt is not empty"

classes=$(jar tf "$work/classes.jar")
for class in com/xol/kesto2/Kesto2.class com/xol/kesto2/NativeBitmap.class \
    com/xol/kesto2/scene/Engine.class com/xol/kesto2/scene/RenderLoop.class \
    com/xol/kesto2/testing/SnapshotAssert.class com/xol/kesto2/android/KestoSurfaceView.class \
    com/xol/kesto2/android/KestoTextureView.class; do
    grep -qx "$class" <<<"$classes" || fail "classes.jar lacks $class"
done
if grep -q '^android/' <<<"$classes"; then
    fail "classes.jar holds desktop stand-ins: $(grep '^android/' <<<"$classes" | tr '\n' ' ')"
fi

for library in "$work"/jni/*/libxolkesto2engine.so; do
    if readelf -SW "$library" | grep -q '\.symtab'; then
        fail "${library#"$work"/} is not stripped"
    fi
done

rules="$work/proguard.txt"
grep -q 'class com.xol.kesto2.Kesto2' "$rules" || fail "no rule keeps Kesto2's natives"
# Every class of this project that the native code finds by name must be kept by name.
for name in $(grep -rhoE 'FindClass\("com/xol/[^"]*"' "$source/jni" "$source/platform" |
    sed 's/FindClass("//; s/"$//; s|/|.|g' | sort -u); do
    grep -q "class $name\b" "$rules" || fail "no rule keeps $name, which JNI finds by name"
done

if [ "$failures" -ne 0 ]; then
    exit 1
fi
echo "kesto2.aar: $(wc -l <<<"$entries") entries, $(grep -c '\.class$' <<<"$classes") classes: passed"
