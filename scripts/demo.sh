#!/usr/bin/env bash
# Runs the showcase: one frame through the Java API, saved as a PNG. The engine's own log goes to
# a file next to the picture; the resource statistics it ends with are shown here.
set -uo pipefail
build=${1:-build}
out="$build/demo"
mkdir -p "$out"
log="$out/engine.log"

java -Djava.library.path="$build:$build/host" \
    -cp "$build/java/kesto2-demo.jar:$build/java/kesto2.jar:$build/java/kesto2-host.jar" \
    com.xol.kesto2.demo.Showcase "$out/showcase.png" 2>"$log"
status=$?
if [ $status -ne 0 ]; then
    echo "The showcase failed; the engine log is $log:" >&2
    grep -E ' E |Exception|failed' "$log" | tail -n 20 >&2
    exit $status
fi

# The environment prints its statistics once more as it goes: the last block of the log.
echo "Resource statistics after teardown (from $log):"
awk 'function message(line) { for (i = 0; i < 6; ++i) sub(/^[^ ]+ +/, "", line); return line }
     /^KestoEnv I / { text = message($0) }
     /^KestoEnv I / && text == "KestoEnv deinit -" { block = "" }
     /^KestoEnv I / && text ~ /^(egl(Display|Context|Surface)|Window|Scene|SceneNode|Camera|Mesh|Shader|ShaderProgram|Bitmap|Texture|GLArrayBuffer|new|new \[\]) -?[0-9]/ {
         block = block "  " text "\n" }
     /^SNATIVEBITMAP D / { native = "  " message($0) "\n" }
     END { printf "%s%s", block, native }' "$log"
