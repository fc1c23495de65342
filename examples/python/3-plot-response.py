#!/usr/bin/python3
"""Plots what the filters do, into PNG files.

    3-plot-response.py [OUT_DIR]

eq-response.png: the equalizer's magnitude response, measured from an
impulse, for a few settings. enhancer-spectrum.png: the spectrum of noise
cut off at 16 kHz, as an MP3 encoder leaves it, against the enhancer's
output at twice the rate.
"""
import pathlib
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

import quorvex  # noqa: E402

RATE = 44100
SETTINGS = ["eq:63=+6", "eq:1k=-6", "eq:160=+4,2.5k=-3,16k=+6", "eq:400=-12,6.3k=+9"]


def magnitude_db(signal, rate, size):
    spectrum = np.abs(np.fft.rfft(signal, size))
    return np.fft.rfftfreq(size, 1 / rate), 20 * np.log10(np.maximum(spectrum, 1e-12))


def average_spectrum_db(signal, rate):
    size = 4096 * rate // RATE  # the same bin width at either rate
    window = np.hanning(size)
    frames = [signal[i:i + size] * window for i in range(0, len(signal) - size, size // 2)]
    power = np.mean([np.abs(np.fft.rfft(f)) ** 2 for f in frames], axis=0)
    return np.fft.rfftfreq(size, 1 / rate), 10 * np.log10(np.maximum(power, 1e-30))


def plot_eq(path):
    impulse = np.zeros(16384)
    impulse[0] = 0.25
    fig, axes = plt.subplots(figsize=(9, 5))
    for chain in SETTINGS:
        response, _ = quorvex.process(impulse, RATE, chain)
        freqs, db = magnitude_db(response / 0.25, RATE, 65536)
        axes.semilogx(freqs[1:], db[1:], label=chain)
    axes.set(xlim=(20, RATE / 2), ylim=(-15, 12), xlabel="Hz", ylabel="dB",
             title="Equalizer: measured magnitude response at 44.1 kHz")
    axes.grid(True, which="both", alpha=0.3)
    axes.legend()
    fig.savefig(path, dpi=110)


def mp3_like_noise(seconds):
    noise = np.random.default_rng(7).normal(0, 0.1, int(RATE * seconds))
    spectrum = np.fft.rfft(noise)
    spectrum[np.fft.rfftfreq(len(noise), 1 / RATE) > 16000] = 0
    return np.fft.irfft(spectrum, len(noise))


def plot_enhancer(path):
    source = mp3_like_noise(4)
    enhanced, out_rate = quorvex.process(source, RATE, "velmo:source=mp3")
    fig, axes = plt.subplots(figsize=(9, 5))
    axes.plot(*average_spectrum_db(source, RATE), label=f"input, {RATE} Hz")
    axes.plot(*average_spectrum_db(enhanced, out_rate),
              label=f"velmo:source=mp3, {out_rate} Hz", alpha=0.8)
    axes.set(xlim=(0, out_rate / 2), xlabel="Hz", ylabel="dB",
             title="Enhancer: spectrum of its output against its input")
    axes.grid(True, alpha=0.3)
    axes.legend()
    fig.savefig(path, dpi=110)


def main():
    folder = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "out/python-plots")
    folder.mkdir(parents=True, exist_ok=True)
    plot_eq(folder / "eq-response.png")
    plot_enhancer(folder / "enhancer-spectrum.png")
    print(f"wrote {folder / 'eq-response.png'} and {folder / 'enhancer-spectrum.png'}")


if __name__ == "__main__":
    main()
