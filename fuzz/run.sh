#!/bin/sh
# Builds the fuzz targets in build-fuzz/ and runs each for the given number of
# seconds (20 by default), starting from its seed corpus; any finding fails.
set -eu
cd "$(dirname "$0")/.."
seconds="${1:-20}"
# A fixed seed makes a run repeatable, so CI fails or passes the same way
# twice; FUZZ_SEED=0 lets libFuzzer pick one.
seed="${FUZZ_SEED:-1}"

CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQUORVEX_FUZZ=ON -DQUORVEX_BUILD_TESTS=OFF -DQUORVEX_BUILD_TOOLS=OFF >/dev/null
cmake --build build-fuzz

for target in build-fuzz/fuzz/*_fuzzer; do
    name="$(basename "$target")"
    work="build-fuzz/corpus/$name"
    mkdir -p "$work" "build-fuzz/findings"
    seeds=""
    [ -d "fuzz/corpus/$name" ] && seeds="fuzz/corpus/$name"
    dict=""
    [ -f "fuzz/$name.dict" ] && dict="-dict=fuzz/$name.dict"
    echo "fuzz: $name for ${seconds}s"
    # New inputs go to the scratch corpus; the checked-in seeds stay as they are.
    log="build-fuzz/findings/$name.log"
    if ! "$target" -max_total_time="$seconds" -print_final_stats=1 -seed="$seed" $dict \
        -artifact_prefix="build-fuzz/findings/$name-" "$work" $seeds >"$log" 2>&1; then
        tail -n 40 "$log" >&2
        echo "fuzz: $name found a fault, see build-fuzz/findings/" >&2
        exit 1
    fi
    grep -E '^stat::(number_of_executed_units|average_exec_per_sec)' "$log"
done
echo "fuzz: no findings"
