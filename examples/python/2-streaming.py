#!/usr/bin/python3
"""Streams a file through a chain block by block, as a live host would.

    2-streaming.py IN OUT [CHAIN]

Reads blocks of 1000 frames, writes what each block gives back and the tail
flush() leaves; OUT equals what quorvex.process() makes of the whole file.
"""
import sys

import soundfile

import quorvex


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    chain_text = sys.argv[3] if len(sys.argv) > 3 else "surround:hall=0.6 gain:-3"
    info = soundfile.info(sys.argv[1])
    with quorvex.Chain(chain_text, info.samplerate) as chain, soundfile.SoundFile(
            sys.argv[2], "w", chain.output_rate, info.channels, subtype="FLOAT") as out:
        print(f"{chain}: {info.samplerate} Hz in, {chain.output_rate} Hz out, "
              f"{chain.latency * 1000:.2f} ms latency removed")
        for block in soundfile.blocks(sys.argv[1], blocksize=1000, dtype="float32"):
            out.write(chain.process(block))
        out.write(chain.flush())


if __name__ == "__main__":
    main()
