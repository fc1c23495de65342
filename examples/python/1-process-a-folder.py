#!/usr/bin/python3
"""Runs every audio file of a folder through one chain, with a progress bar.

    1-process-a-folder.py IN_DIR OUT_DIR [CHAIN]

Each file comes out as a float WAV of the same name at the chain's output
rate; mono stays mono.
"""
import pathlib
import sys

import soundfile

import quorvex


def progress(done, total, name):
    width = 40
    filled = width * done // max(total, 1)
    sys.stderr.write(f"\r[{'#' * filled}{'.' * (width - filled)}] {done}/{total} {name[:30]:30}")
    sys.stderr.flush()


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    source, target = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    chain = sys.argv[3] if len(sys.argv) > 3 else "eq:63=+3,1k=-2 velmo:source=mp3"
    files = sorted(p for p in source.iterdir() if p.suffix.lower() in (".wav", ".flac", ".aiff"))
    target.mkdir(parents=True, exist_ok=True)
    for done, path in enumerate(files):
        progress(done, len(files), path.name)
        audio, rate = soundfile.read(path, dtype="float32")
        out, out_rate = quorvex.process(audio, rate, chain)
        soundfile.write(target / (path.stem + ".wav"), out, out_rate, subtype="FLOAT")
    progress(len(files), len(files), "done")
    sys.stderr.write("\n")


if __name__ == "__main__":
    main()
