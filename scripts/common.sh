# shellcheck shell=bash
# What the scripts share; sourced, never run. Sets top to the root of the tree.
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
program=$(basename "$0")

# die WHAT...: one line on standard error, and the end.
die() {
    printf '%s: %s\n' "$program" "$*" >&2
    exit 1
}

# note WHAT...: progress that only a person at a terminal wants to see.
note() {
    if [ -t 2 ]; then
        printf '\r\033[K%s: %s' "$program" "$*" >&2
    fi
}

# note_done: clears the progress line.
note_done() {
    if [ -t 2 ]; then
        printf '\r\033[K' >&2
    fi
}

# cores: how many jobs a build or a test run may use.
cores() {
    nproc 2>/dev/null || echo 2
}

# configure PRESET [OPTION...]: quiet unless it fails. Done anew only when there is a reason.
configure() {
    local preset=$1 log="$top/build/$1.configure.log"
    shift
    mkdir -p "$top/build"
    if [ $# -eq 0 ] && [ -f "$top/build/$preset/build.ninja" ] &&
        [ "$top/build/$preset/build.ninja" -nt "$top/CMakePresets.json" ]; then
        return 0
    fi
    note "configuring $preset"
    if ! (cd "$top" && cmake --preset "$preset" "$@") >"$log" 2>&1; then
        note_done
        cat "$log" >&2
        return 1
    fi
}

# build PRESET [TARGET...]: quiet unless it fails; counts the steps on a terminal.
build() {
    local preset=$1 log="$top/build/$1.build.log" line status
    shift
    configure "$preset" || return 1
    # Without a terminal of its own ninja writes one line for each step.
    ninja -C "$top/build/$preset" -j "$(cores)" "$@" 2>&1 | tee "$log" | while IFS= read -r line; do
        if [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]]; then
            note "building $preset, step ${BASH_REMATCH[1]} of ${BASH_REMATCH[2]}"
        fi
    done
    status=${PIPESTATUS[0]}
    note_done
    if [ "$status" -ne 0 ]; then
        grep -vE '^\[[0-9]+/[0-9]+\] (Building|Linking|Re-checking|Generating)' "$log" |
            tail -n 80 >&2
        printf '%s: the build of %s failed; all of its output: %s\n' "$program" "$preset" "$log" >&2
        return 1
    fi
}
