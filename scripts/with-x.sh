#!/usr/bin/env bash
# Runs a command with X servers that EGL can render through.
#
# DISPLAY: the caller's display when it answers, otherwise a private Xvfb with a 24-bit screen.
# KESTO_DISPLAY16: a private Xvfb with a 16-bit screen, for 5-6-5 colour configs (Mesa's window
# configs follow the screen depth), unless the caller already names one that answers.
# Servers started here are stopped when the command ends; its exit status is passed on.
set -uo pipefail

if [ $# -eq 0 ]; then
    echo "usage: $0 command [args...]" >&2
    exit 2
fi

pids=()
cleanup() {
    for pid in "${pids[@]}"; do
        kill "$pid" 2>/dev/null
        wait "$pid" 2>/dev/null
    done
}
trap cleanup EXIT

answers() {
    [ -n "$1" ] && DISPLAY="$1" xdpyinfo >/dev/null 2>&1
}

# Starts Xvfb at the given depth and sets `started` to its display (":N") once it accepts
# connections. Runs in this shell (not a subshell) so that cleanup knows the server's pid.
start_xvfb() {
    local depth=$1 fifo number
    fifo=$(mktemp -u /tmp/kesto-xvfb-XXXXXX)
    mkfifo "$fifo"
    # Each swap sends the window's pixels as large requests. With glibc's default malloc
    # thresholds the server maps a fresh buffer for each and faults its pages in, which costs
    # more than the copy (2.3 ms against 0.8 ms a 1024x768 swap here) and varies with whatever
    # the server's allocator saw before; kept buffers make frame times steady.
    GLIBC_TUNABLES=glibc.malloc.mmap_threshold=33554432:glibc.malloc.trim_threshold=67108864 \
        Xvfb -displayfd 3 -screen 0 "1280x1024x$depth" -nolisten tcp -noreset 3>"$fifo" \
        >/dev/null 2>&1 &
    pids+=($!)
    if ! read -r -t 20 number <"$fifo"; then
        rm -f "$fifo"
        echo "with-x: Xvfb (depth $depth) did not start" >&2
        return 1
    fi
    rm -f "$fifo"
    started=":$number"
}

if ! answers "${DISPLAY:-}"; then
    start_xvfb 24 || exit 1
    export DISPLAY=$started
fi
if ! answers "${KESTO_DISPLAY16:-}"; then
    start_xvfb 16 || exit 1
    export KESTO_DISPLAY16=$started
fi

"$@"
