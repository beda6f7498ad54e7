#!/usr/bin/env bash
# Fails on any #include "dir/..." between the engine's top-level folders that points the wrong way.
# The layers, each using only those before it; host/ (the desktop stand-ins for the platform's
# libraries) sits beside jni/ on top of platform/.
set -euo pipefail
cd "$(dirname "$0")/.."

layers=(platform core shader gl image scene draw jni)
declare -A rank
for i in "${!layers[@]}"; do rank[${layers[$i]}]=$i; done
rank[host]=1  # may use platform/ only

status=0
for from in "${layers[@]}" host; do
    while IFS=: read -r file line text; do
        to=$(sed -E 's/.*#include "([a-z]+)\/.*/\1/' <<<"$text")
        [ "$to" = "$from" ] && continue
        if [ -z "${rank[$to]+set}" ] || [ "${rank[$to]}" -ge "${rank[$from]}" ] ||
            [ "$to" = host ] || { [ "$from" = host ] && [ "$to" != platform ]; }; then
            echo "$file:$line: $from/ must not include $to/: $text"
            status=1
        fi
    done < <(grep -rnE '^\s*#\s*include "[a-z]+/' "$from" --include='*.h' --include='*.cpp' || true)
done
[ $status -eq 0 ] && echo "includes follow the layer order: ${layers[*]} (host on platform)"
exit $status
