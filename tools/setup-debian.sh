#!/bin/sh
# Installs, on a Debian machine, whatever the build, the tests, the benchmarks
# and the command-line tool need and is not there yet.
set -eu

packages="g++ clang cmake ninja-build pkg-config libgtest-dev libgmock-dev libbenchmark-dev \
libsndfile1-dev sox libsoxr-dev libsamplerate0-dev clang-format \
lv2-dev lilv-utils python3-dev python3-pybind11 python3-numpy python3-pytest \
python3-soundfile python3-matplotlib"

missing=""
for p in $packages; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing="$missing $p"
    fi
done
[ -z "$missing" ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "installing:$missing" >&2
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends $missing >&2
