#!/usr/bin/env python3
"""Writes the small seed corpora in fuzz/corpus/<target>/, reproducibly."""
import os
import random

SEEDS = {"effects_fuzzer": 6, "int_adapters_fuzzer": 5, "fft_fuzzer": 4, "rate_fuzzer": 5,
         "python_array_fuzzer": 3}
SIZES = (16, 64, 256, 700)

root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")
rng = random.Random(13)
for target, count in SEEDS.items():
    os.makedirs(os.path.join(root, target), exist_ok=True)
    for i in range(count):
        data = bytes(rng.randrange(256) for _ in range(SIZES[i % len(SIZES)]))
        with open(os.path.join(root, target, f"seed-{i}"), "wb") as f:
            f.write(data)
