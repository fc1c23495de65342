#!/usr/bin/env python3
"""Writes the chain text target's seeds in fuzz/corpus/chain_text_fuzzer/,
reproducibly: every filter and setting, the formats each acts at and the
ones it refuses, section files good and bad, and the syntax errors.

Each seed is a format byte (an index into the target's kFormats), a flags
byte (1: the section file goes to personalize instead of hpeq; 2: clip;
4: run the integer runner too; 8: reset and read the filters first) and the chain text, then optionally a NUL
and the section file. The other targets' seeds are minimised fuzz runs
(see fuzz/merge-corpus.sh)."""
import os
import shutil

F44_16, F48_24, F88_24, F96_32, F44_24, F48_16, F96_16, F88_32 = range(8)
F32_16, F8_24, F22_16, F192_24, F0, FTOP, FABOVE, F48_32 = range(8, 16)
SECTIONS, CLIP, PCM, TOUCH = 1, 2, 4, 8

SEEDS = [
    # Every filter at the rates it acts at, through both runners.
    (F44_16, CLIP | PCM, "eq:63=+3,1k=-2,160=1,400=-1,2.5k=4,6.3k=-5,16k=2 alc"),
    (F88_24, PCM, "eq:32k=+6,lowshelf=-3,highshelf=12 alc:mode=sample,recovery=0.5"),
    (F96_16, CLIP | PCM, "eq:63=-12,highshelf=-12"),
    (F48_16, PCM, "eq alc:enabled=off"),
    (F96_32, CLIP, "surround:hall=0.6,echo=0.3,natural=0.2,live=0.4,wide=0.5,3d=0.7 gain:-6"),
    (F44_16, CLIP | PCM, "surround:natural=1,live=0.1,hall-len1=8000,hall-ap1=0.2 gain:+3dB"),
    (F48_24, PCM, "surround:wide=0.3,3d=1,3d-ap=0.5,hall-len2=17,hall-len3=5460,hall-ap2=0"),
    (F88_32, PCM, "surround"),
    (F44_24, PCM, "velmo:source=mp3,mode=fine"),
    (F44_16, TOUCH, "velmo:mode=fine"),
    (F96_16, PCM, "resample:48000"),
    (F44_16, TOUCH | PCM, "gain:-3 alc gain:2"),
    (F44_16, CLIP | PCM, "velmo:source=cd,mode=super resample:48000"),
    (F48_16, PCM, "velmo:hb33=on,source=mp3"),
    (F48_16, CLIP, "velmo:hb33=on,mode=fine"),
    (F48_24, PCM, "velmo:mode=super gain:-1"),
    (F32_16, PCM, "velmo:enhance=off decimate:bits=16"),
    (F96_32, PCM, "decimate:bits=24 resample:44100,bits=16"),
    (F192_24, PCM, "decimate resample:44.1kHz,bits=32"),
    (F48_24, PCM, "resample:44100"),
    (F44_16, PCM, "resample:48000Hz,bits=24"),
    (F88_24, CLIP, "velmo:enhance=off resample:48k"),
    (F44_16, PCM, "hold"),
    (F48_24, PCM, "hold:rate=96000,bits=16"),
    (F44_16, PCM, "hold:44100"),
    (F96_32, PCM, "hold:bits=24"),
    (F96_32, PCM, "hold:rate=96000"),
    (FTOP, PCM, "hold"),
    (FTOP, PCM, "velmo:enhance=off"),
    (F0, 0, "alc"),
    (FABOVE, 0, "alc"),
    # Long chains: a composition of every size.
    (F44_16, PCM, " ".join(["gain:-0.5"] * 6)),
    (F44_16, 0, " ".join(["gain:1"] * 7)),
    (F48_16, PCM, " ".join(["gain"] * 8)),
    (F48_24, 0, " ".join(["gain:0.1"] * 8) + " alc"),
    (F96_16, PCM, " ".join(["gain:-0.1"] * 9) + " eq"),
    # Filters switched off work at any rate.
    (F32_16, 0, "eq:enabled=off surround:enabled=off hpeq:enabled=off personalize:enabled=off"),
    # Rates a filter refuses, with and without a way to reach its rates.
    (F44_16, 0, "hpeq"),
    (F48_16, 0, "personalize"),
    (F192_24, 0, "hpeq"),
    (F32_16, 0, "eq"),
    (F8_24, 0, "surround"),
    (F22_16, 0, "eq:16k=3"),
    (F44_16, 0, "eq:32k=3"),
    (F48_24, 0, "eq:highshelf=1"),
    (F96_32, 0, "velmo"),
    (F48_32, 0, "velmo"),
    (F44_16, 0, "resample:96000"),
    (F48_16, 0, "resample:44101"),
    (F96_32, 0, "hold:rate=44100"),
    # Syntax errors.
    (F44_16, 0, ""),
    (F44_16, 0, "bogus"),
    (F44_16, 0, "eq:63"),
    (F44_16, 0, "eq:=3"),
    (F44_16, 0, "eq:63=abc"),
    (F44_16, 0, "eq:63=1.5"),
    (F44_16, 0, "eq:63=+99"),
    (F44_16, 0, "eq:63=1,63=2"),
    (F44_16, 0, "eq:63=1,"),
    (F44_16, 0, "alc:mode=bogus"),
    (F44_16, 0, "velmo:enhance=maybe"),
    (F44_16, 0, "hpeq:file="),
    (F44_16, 0, "velmo velmo"),
    (F44_16, 0, "hold alc"),
    (F44_16, 0, "gain:nan"),
    (F44_16, 0, "gain:1e999"),
    (F44_16, 0, "gain:-3dB,db=2"),
    (F44_16, 0, " ".join(["gain"] * 11)),
    (F44_16, 0, "hpeq:file=/nonexistent/sections"),
    (F44_16, 0, "alc:bogus=1"),
    # The exact engine: up within its pass band, down, equal rates, and the
    # pairs it refuses.
    (F44_16, PCM, "resample:48000,engine=exact"),
    (F48_24, 0, "resample:48000,engine=exact"),
    (F96_32, PCM, "resample:44100,engine=exact,bits=16"),
    (F88_24, 0, "resample:96000,engine=exact"),
    (F48_16, 0, "resample:96000,engine=exact"),
    (F44_16, 0, "resample:44101,engine=exact"),
    # The clean engine at steep and awkward ratios, and a rate it refuses.
    (F8_24, 0, "resample:384000"),
    (F192_24, PCM, "resample:8000"),
    (F44_16, PCM, "resample:96000,engine=clean"),
    (FTOP, 0, "resample:48000"),
    (F48_16, PCM, "resample:48000"),
    (F44_16, TOUCH, "resample:48000"),
    # Hints: a rate reached by doubling and then resampling, and none at all.
    (F8_24, 0, "decimate hpeq"),
    (FTOP, 0, "hpeq"),
]

# (format, flags, chain after the section step, section file)
SECTION_SEEDS = [
    (F88_24, PCM, "decimate:bits=16", "1 -1.9 0.9 1 -1.8 0.81\n# second\n0.5 0 0 1 0 0\n"),
    (F96_16, SECTIONS | PCM, "alc", "1 0.5 0.2 1 -0.3 0.1\n0.9 0 0 1 0.2 0\n"),
    (F96_32, SECTIONS, "", "1, 0, 0, 1, 0, 0\n"),
    (F88_24, 0, "", "\n\t,\n1 0 0 2 0 0\n0.5 0 0 1 0.5 -0.25\n1 0 0 1 0 0\n"),
    (F88_24, 0, "", "1 2 3\n"),
    (F88_24, 0, "", "1 2 3 0 0 0\n"),
    (F88_24, 0, "", "1 0 0 1 0 0 7\n"),
    (F88_24, 0, "", "1 0 0 1 -3 2\n"),
    (F88_24, 0, "", "1 0 0 1 0 1.5\n"),
    (F88_24, 0, "", "5000 0 0 1 0 0\n"),
    (F88_24, 0, "", "1 0 0 1 0 0\n" * 4),
    (F88_24, SECTIONS, "", "1 0 0 1 0 0\n" * 3),
    (F88_24, 0, "", "# nothing\n"),
]

root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus", "chain_text_fuzzer")
shutil.rmtree(root, ignore_errors=True)
os.makedirs(root)
seeds = [bytes([f, flags]) + text.encode() for f, flags, text in SEEDS]
seeds += [bytes([f, flags]) + text.encode() + b"\0" + sections.encode()
          for f, flags, text, sections in SECTION_SEEDS]
for i, seed in enumerate(seeds):
    with open(os.path.join(root, f"seed-{i:03d}"), "wb") as f:
        f.write(seed)
