#!/usr/bin/env bash
# Checks one ABI's engine library as an app would ship it: linked with --no-undefined, needing only
# the platform's libraries, every LOAD segment aligned to 16 KB pages, no text relocations, and
# exporting exactly JNI_OnLoad and the natives that Kesto2.java and NativeBitmap.java declare.
# Prints the stripped size; arm64-v8a must stay within 400 KB.
# Usage: check-library.sh OUT ABI SOURCE_DIR    (OUT as scripts/android.sh made it)
set -euo pipefail
out=$1
abi=$2
source=$3
library="$out/$abi/libxolkesto2engine.so"
stripped="$out/$abi/stripped/libxolkesto2engine.so"
failures=0
fail() {
    echo "FAIL $abi: $*"
    failures=$((failures + 1))
}

build="$out/build/$abi"
if [ -f "$build/build.ninja" ]; then
    link=$(ninja -C "$build" -t commands xolkesto2engine | grep -- '-o libxolkesto2engine\.so' || true)
else
    link=$(cat "$build/CMakeFiles/xolkesto2engine.dir/link.txt" 2>/dev/null || true)
fi
if [ -z "$link" ]; then
    fail "the link command of the library was not found"
elif ! grep -q -- '--no-undefined\|-z,defs\|-zdefs' <<<"$link"; then
    fail "linked without --no-undefined"
fi

allowed=" libc.so libm.so libdl.so liblog.so libEGL.so libGLESv2.so libandroid.so libjnigraphics.so "
for needed in $(readelf -dW "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
    if [[ "$allowed" != *" $needed "* ]]; then
        fail "needs $needed, which is not a platform library an app may link"
    fi
done

while read -r alignment; do
    if [ $((alignment)) -lt 16384 ]; then
        fail "a LOAD segment is aligned to $((alignment)) bytes, not 16 KB"
    fi
done < <(readelf -lW "$library" | awk '$1 == "LOAD" {print $NF}')

if readelf -dW "$library" | grep -q 'TEXTREL'; then
    fail "has text relocations"
fi

# Natives as Java declares them: Kesto2's under their JNI names ("_" written "_1"), NativeBitmap's
# under their own names.
natives() {
    sed -n 's/.*\bnative\b[^(]*[[:space:]]\([A-Za-z_][A-Za-z0-9_]*\)[[:space:]]*(.*/\1/p' "$1"
}
expected=$( {
    echo JNI_OnLoad
    natives "$source/java/com/xol/kesto2/Kesto2.java" | sed 's/_/_1/g; s/^/Java_com_xol_kesto2_Kesto2_/'
    natives "$source/java/com/xol/kesto2/NativeBitmap.java"
} | sort)
exported=$(readelf --dyn-syms -W "$library" |
    awk '($5 == "GLOBAL" || $5 == "WEAK") && $7 != "UND" {sub(/@.*/, "", $8); print $8}' | sort)
extra=$(comm -13 <(echo "$expected") <(echo "$exported"))
missing=$(comm -23 <(echo "$expected") <(echo "$exported"))
[ -z "$extra" ] || fail "exports what no Java class declares:" $extra
[ -z "$missing" ] || fail "lacks natives that Java declares:" $missing

size=$(stat -c %s "$stripped")
echo "$abi: $size bytes stripped ($((size / 1024)) KB), $(wc -l <<<"$exported") exports"
if [ "$abi" = arm64-v8a ] && [ "$size" -gt $((400 * 1024)) ]; then
    fail "stripped library is $((size / 1024)) KB, above 400 KB"
fi
if [ "$failures" -ne 0 ]; then
    exit 1
fi
echo "$abi: passed"
