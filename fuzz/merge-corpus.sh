#!/bin/sh
# Folds what fuzz/run.sh found (build-fuzz/corpus/<target>/) into the
# checked-in seeds of the named targets (all but the chain text target,
# whose seeds fuzz/make-corpus.py writes, when none are named): the smallest
# inputs that keep every edge either set reaches. Hit counts are left out,
# which keeps each corpus to a few kilobytes.
set -eu
cd "$(dirname "$0")/.."
[ -d build-fuzz/fuzz ] || { echo "run fuzz/run.sh first" >&2; exit 1; }
if [ "$#" -eq 0 ]; then
    set --
    for target in build-fuzz/fuzz/*_fuzzer; do
        name="$(basename "$target")"
        [ "$name" = chain_text_fuzzer ] || set -- "$@" "$name"
    done
fi

for name in "$@"; do
    merged="build-fuzz/merged/$name"
    rm -rf "$merged"
    mkdir -p "$merged" "fuzz/corpus/$name" "build-fuzz/corpus/$name"
    "build-fuzz/fuzz/$name" -merge=1 -use_counters=0 "$merged" "fuzz/corpus/$name" \
        "build-fuzz/corpus/$name" >"build-fuzz/merged/$name.log" 2>&1
    rm -rf "fuzz/corpus/$name"
    mv "$merged" "fuzz/corpus/$name"
    echo "fuzz: $name keeps $(ls "fuzz/corpus/$name" | wc -l) seeds," \
        "$(cat "fuzz/corpus/$name"/* | wc -c) bytes"
done
