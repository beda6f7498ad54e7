#!/usr/bin/env bash
# Runs a JVM with LeakSanitizer preloaded and fails when a leak was allocated with the engine's
# code on the stack.
#
# usage: lsan-jvm.sh RUNTIME KEEP_LOADED SUPPRESSIONS ENGINE_REGEX COMMAND [ARGS...]
#   RUNTIME       the standalone LeakSanitizer runtime (GCC's liblsan.so.0)
#   KEEP_LOADED   library whose dlclose keeps Mesa's driver mapped (see KeepLibrariesLoaded.cpp)
#   SUPPRESSIONS  LSan suppressions for the JVM's own allocations (lsan-jvm.supp)
#   ENGINE_REGEX  extended regex matching a stack frame of the engine (its modules or sources)
#
# The JVM keeps much of its own native memory reachable only from memory LSan does not scan (the
# Java heap, metaspace, the code cache), so it always "leaks". Those reports are counted but only
# fail the run when one of their frames is the engine's. Only COMMAND runs under the preload.
set -uo pipefail

if [ $# -lt 5 ]; then
    echo "usage: $0 RUNTIME KEEP_LOADED SUPPRESSIONS ENGINE_REGEX COMMAND [ARGS...]" >&2
    exit 2
fi
runtime=$1 keep_loaded=$2 suppressions=$3 engine=$4
shift 4
for file in "$runtime" "$keep_loaded" "$suppressions"; do
    if [ ! -r "$file" ]; then
        echo "lsan-jvm: $file not found" >&2
        exit 2
    fi
done

logs=$(mktemp -d /tmp/kesto-lsan-XXXXXX)
trap 'rm -rf "$logs"' EXIT

# The JVM relies on its own SIGSEGV, SIGBUS, SIGILL and SIGFPE handlers (null checks, safepoints,
# arithmetic exceptions): the runtime must not take them. exitcode=0 leaves the verdict on leaks
# to the scan below and the JUnit result in the exit status.
options="handle_segv=0:handle_sigbus=0:handle_sigill=0:handle_sigfpe=0:handle_abort=0"
options+=":allow_user_segv_handler=1:detect_leaks=1:exitcode=0:print_suppressions=1"
options+=":suppressions=$suppressions:log_path=$logs/lsan"

LD_PRELOAD="$runtime:$keep_loaded${LD_PRELOAD:+:$LD_PRELOAD}" LSAN_OPTIONS="$options" "$@"
status=$?

# The JVM always leaves some of its own allocations behind, so a check that ran always writes a
# report, if only the suppression counts. None means the runtime was not loaded or the process
# did not reach exit().
reports=("$logs"/lsan.*)
if [ ! -e "${reports[0]}" ]; then
    echo "lsan-jvm: no report from LeakSanitizer (exit status $status): the check did not run"
    exit 1
fi

# One block per leak: its header and its frames. Print the blocks with an engine frame, count the
# rest, and pass on what LSan said about suppressions.
# The pattern goes through the environment: awk -v would take its backslashes as escapes.
ENGINE_PATTERN="$engine" awk '
    BEGIN { engine = ENVIRON["ENGINE_PATTERN"] }
    function flush() {
        if (block == "") return
        if (block ~ engine) {
            print block "\n"
            engineLeaks++
        } else {
            # One line each: the header and the first frame past the allocator.
            otherLeaks++
            n = split(block, lines, "\n")
            where = ""
            for (i = 2; i <= n && where == ""; ++i) {
                if (lines[i] !~ /__interceptor_|operator new|os::malloc|os::strdup|AllocateHeap/) {
                    where = lines[i]
                    sub(/^ +#[0-9]+ 0x[0-9a-f]+ (in )?/, "", where)
                }
            }
            others = others "  " lines[1] " " where "\n"
        }
        block = ""
    }
    /^(Direct|Indirect) leak of/ { flush(); block = $0; next }
    /^ +#[0-9]+ / { if (block != "") block = block "\n" $0; next }
    { flush() }
    /^Suppressions used:/ { suppressions = 1 }
    /^-+$/ { suppressions = 0 }
    suppressions { print }
    END {
        flush()
        if (others != "") printf "Not the engine'"'"'s (no engine frame):\n%s", others
        printf "lsan-jvm: %d leak report(s) with an engine frame, %d without (the JVM'"'"'s own)\n",
               engineLeaks, otherLeaks
        exit (engineLeaks > 0)
    }' "${reports[@]}"
leaks=$?
if [ $leaks -ne 0 ]; then
    echo "lsan-jvm: FAILED: the engine leaked (stacks above)"
    exit 1
fi
exit $status
