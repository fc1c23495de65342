#!/bin/sh
# Builds the fuzz targets with coverage instrumentation in build-fuzz-cov/,
# runs each over its seed corpus and whatever fuzz/run.sh has found since
# (on the wide kernels and on the plain ones),
# and prints line and branch coverage of src/; with --files, file by file.
set -eu
files="${1:-}"
cd "$(dirname "$0")/.."

tool() { command -v "$1-14" || command -v "$1"; }
profdata="$(tool llvm-profdata)"
cov="$(tool llvm-cov)"
flags="-fprofile-instr-generate -fcoverage-mapping"

CC=clang CXX=clang++ cmake -S . -B build-fuzz-cov -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQUORVEX_FUZZ=ON -DQUORVEX_BUILD_TESTS=OFF -DQUORVEX_BUILD_TOOLS=OFF \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" \
    -DCMAKE_SHARED_LINKER_FLAGS="$flags" >/dev/null
cmake --build build-fuzz-cov

rm -rf build-fuzz-cov/profiles
mkdir -p build-fuzz-cov/profiles
objects=""
for target in build-fuzz-cov/fuzz/*_fuzzer; do
    name="$(basename "$target")"
    inputs=""
    for dir in "fuzz/corpus/$name" "build-fuzz/corpus/$name"; do
        [ -d "$dir" ] && inputs="$inputs $dir"
    done
    LLVM_PROFILE_FILE="build-fuzz-cov/profiles/$name.profraw" "$target" -runs=0 $inputs \
        >/dev/null 2>&1
    # Once more on the plain kernels, which a processor with wide ones skips.
    QUORVEX_KERNELS=plain LLVM_PROFILE_FILE="build-fuzz-cov/profiles/$name-plain.profraw" \
        "$target" -runs=0 $inputs >/dev/null 2>&1
    objects="$objects -object $target"
done
"$profdata" merge -sparse -o build-fuzz-cov/fuzz.profdata build-fuzz-cov/profiles/*.profraw
# The library's code lives in the shared libraries the targets load.
"$cov" report build-fuzz-cov/src/libquorvex.so -object build-fuzz-cov/src/chain/libquorvex_chain.so \
    $objects -instr-profile=build-fuzz-cov/fuzz.profdata "$(pwd)/src" 2>/dev/null >build-fuzz-cov/report.txt
if [ "$files" = --files ]; then
    awk 'NR > 2 && !/^-/ && !/^TOTAL/ { printf "%-45s lines %7s  branches %7s\n", $1, $10, $13 }' \
        build-fuzz-cov/report.txt
fi
tail -n 1 build-fuzz-cov/report.txt |
    awk '{ printf "src/ coverage: lines %s, branches %s\n", $10, $13 }'
