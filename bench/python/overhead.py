#!/usr/bin/python3
"""What the Python package adds to a chain's own time on a 3-minute stereo
array: quorvex.process() against the chain layer's runner in C++, in turns
within one run, best of each.

    PYTHONPATH=build/python bench/python/overhead.py build/bench/quorvex_chain_runner_bench
"""
import subprocess
import sys
import time

import numpy as np

import quorvex

RATE, SECONDS, RUNS = 44100, 180, 7
CHAINS = ["eq:63=+3,1k=-2 velmo:source=mp3", "surround:hall=0.6 alc", "resample:48000"]


def signal(dtype):
    t = np.arange(SECONDS * RATE)
    left = 0.5 * np.sin(2.0 * np.pi * 997.0 * t / RATE)
    right = 0.5 * np.sin(2.0 * np.pi * 1499.0 * t / RATE)
    return np.stack([left, right], axis=1).astype(dtype)


def python_seconds(chain, audio):
    start = time.perf_counter()
    quorvex.process(audio, RATE, chain)
    return time.perf_counter() - start


def native_seconds(runner, chain):
    result = subprocess.run([runner, chain, str(RATE), str(SECONDS), "1"], check=True,
                            capture_output=True, text=True)
    return float(result.stdout)


def main():
    runner = sys.argv[1]
    arrays = {"float32": signal(np.float32), "float64": signal(np.float64)}
    for chain in CHAINS:
        native, python = [], {name: [] for name in arrays}
        for _ in range(RUNS):
            native.append(native_seconds(runner, chain))
            for name, audio in arrays.items():
                python[name].append(python_seconds(chain, audio))
        figures = ", ".join(f"{name} {min(t):.3f} s ({100 * (min(t) / min(native) - 1):+.1f}%)"
                            for name, t in python.items())
        print(f"{chain}: C++ runner {min(native):.3f} s; Python {figures}")


if __name__ == "__main__":
    main()
