# Shared by the scripts of this folder. Sourced, never run.
#
# Sets `root` (the tree) and the compiler cache, which is outside the tree so that a clean clone builds
# fast, too.

set -euo pipefail
export LC_ALL=C.UTF-8

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cache_folder=${XDG_CACHE_HOME:-${HOME:-/tmp}/.cache}/vnxtest

say() { printf '== %s\n' "$*"; }
warn() { printf '%s\n' "$*" >&2; }
die() {
    warn "${0##*/}: $*"
    exit 1
}

# need_folder FOLDER VARIABLE: makes a folder outside the tree; the environment variable VARIABLE sets its
# place.
need_folder() {
    { mkdir -p "$1" && [ -w "$1" ]; } 2> /dev/null && return
    die "the folder $1 cannot be made or written in; it keeps what is built once. Name one that you may write: $2=FOLDER $0"
}

use_compiler_cache() {
    if ! command -v ccache > /dev/null; then
        export VNXTEST_LAUNCHER=
        return
    fi
    export VNXTEST_LAUNCHER=ccache
    export CCACHE_DIR=${CCACHE_DIR:-$cache_folder/ccache}
    export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root}
    export CCACHE_NOHASHDIR=1
    # What precompiled headers need; no source uses the macros of date and time.
    export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-pch_defines,time_macros}
    export CCACHE_MAXSIZE=${CCACHE_MAXSIZE:-2G}
    need_folder "$CCACHE_DIR" CCACHE_DIR
}

# configure PRESET [OPTION...]: the build folder is build/PRESET unless an option -B says otherwise.
configure() {
    local preset=$1
    shift
    use_compiler_cache
    (cd "$root" && cmake --preset "$preset" "$@" --log-level=WARNING)
}

# build FOLDER [TARGET...]: as many jobs as there are processors.
build() {
    local folder=$1
    shift
    use_compiler_cache
    cmake --build "$folder" --parallel "$(nproc)" ${1:+--target "$@"}
}

# run_tests PRESET [CTEST OPTION...]. The programs' own tests, on wires, terminals and screens, live on time-outs, and a
# machine that halts for half a second makes a ping late. If a few of them fail beside others, they run again, one at a
# time: what fails alone, too, is a fault. They are named either way.
run_tests() {
    local preset=$1 failed=$root/build/$1/Testing/Temporary/LastTestsFailed.log few=5 status=0 names
    shift
    cd "$root"
    rm -f "$failed"
    ctest --preset "$preset" "$@" || status=$?
    if [ $status -eq 0 ] || [ ! -s "$failed" ] || [ "$(wc -l < "$failed")" -gt $few ] ||
        grep -qvE '^[0-9]+:(e2e|ui|helpui|widgets|windows)\b' "$failed"; then
        return $status
    fi
    names=$(cut -d: -f2 "$failed" | tr '\n' ' ')
    say "Testing once more, one at a time ($preset): $names"
    ctest --preset "$preset" --rerun-failed --parallel 1 || return
    say "Failed beside others and passed alone: $names"
}
