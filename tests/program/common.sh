# Sourced by the tests of the program with its path as $1, and what runs programs of its system as $2 where that isn't
# this one: a folder of their own to work in, and checks.
set -euo pipefail
program=$1
emulator=${2-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/here"
cd "$work/here"
if [ -n "$emulator" ]; then
    printf '#!/bin/sh\nexec %q %q "$@"\n' "$emulator" "$program" >../program
    chmod +x ../program
    program=$work/program
    export LC_ALL=C.UTF-8 # for names of files
fi

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# expect STATUS TEXT COMMAND...: the exit status, and a text on standard error that is one line
expect() {
    local status=0 wanted=$1 text=$2
    shift 2
    "$@" >out.txt 2>err.txt || status=$?
    [ "$status" = "$wanted" ] || fail "status $status instead of $wanted: $*"
    grep -qF -- "$text" err.txt || fail "no '$text' in: $(cat err.txt)"
    [ "$wanted" != 1 ] || [ "$(wc -l <err.txt)" = 1 ] || fail "more than one line: $(cat err.txt)"
}

# lacks FORMAT: true if this build does without it
lacks() {
    grep -q "^  $1.*: needs " <<<"$("$program" --version)"
}
