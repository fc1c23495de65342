"""The quorvex package against the command-line tool and its own promises.

Most filters keep history in process-wide state that nothing clears, so a
comparison of two runs gets a fresh interpreter for each (fresh()).
"""

import multiprocessing
import os
import subprocess
import threading
import time

import numpy as np
import pytest
import soundfile

import quorvex

RATE = 44100


def noise(frames, channels=2, dtype=np.float32, seed=1):
    shape = (frames,) if channels == 0 else (frames, channels)
    return np.random.default_rng(seed).uniform(-0.5, 0.5, shape).astype(dtype)


def run_whole(audio, chain, channels_first=False):
    return quorvex.process(audio, RATE, chain, channels_first)[0]


def run_blocks(audio, chain, channels_first=False, seed=2):
    sizes = np.random.default_rng(seed)
    with quorvex.Chain(chain, RATE) as running:
        axis = 1 if channels_first else 0
        parts, start = [], 0
        while start < audio.shape[axis]:
            size = int(sizes.choice([0, 1, 7, 100, 4095, 10000]))
            block = audio[:, start:start + size] if channels_first else audio[start:start + size]
            parts.append(running.process(np.ascontiguousarray(block), channels_first))
            start += size
        parts.append(running.flush())
    return np.concatenate(parts, axis=axis)


def run_tool(audio, chain, folder):
    source, result = os.path.join(folder, "in.wav"), os.path.join(folder, "out.wav")
    soundfile.write(source, audio, RATE, subtype="FLOAT")
    subprocess.run([os.environ["QUORVEX_CLI"], "process", source, result, "--chain", chain],
                   check=True, capture_output=True)
    return soundfile.read(result, dtype="float32", always_2d=audio.ndim == 2)[0]


def fresh(function, *args):
    """function(*args) in an interpreter that has run no chain before."""
    with multiprocessing.get_context("spawn").Pool(1) as pool:
        return pool.apply(function, args)


@pytest.mark.parametrize("chain, channels", [
    ("eq:63=+3,1k=-2 velmo:source=mp3", 2),
    ("surround:hall=0.6,echo=0.3 gain:-3 resample:48000", 0),
])
def test_equals_the_tool_bit_for_bit(tmp_path, chain, channels):
    audio = noise(30000, channels)
    ours = fresh(run_whole, audio, chain)
    theirs = fresh(run_tool, audio, chain, str(tmp_path))
    assert ours.dtype == np.float32 and ours.shape == theirs.shape
    assert np.array_equal(ours.view(np.uint32), theirs.view(np.uint32))


@pytest.mark.parametrize("chain, audio, channels_first", [
    ("eq:63=+3,16k=+2 velmo:source=mp3", noise(20000), False),
    ("resample:48000 alc", noise(20000, 0, np.float64), False),
    ("velmo:enhance=off decimate", noise(20000, 2).T.copy(), True),
])
def test_streaming_equals_whole_array(chain, audio, channels_first):
    whole = fresh(run_whole, audio, chain, channels_first)
    blocks = fresh(run_blocks, audio, chain, channels_first)
    assert blocks.dtype == whole.dtype and np.array_equal(blocks, whole)


@pytest.mark.parametrize("dtype", [np.float32, np.float64])
@pytest.mark.parametrize("shape, channels_first", [
    ((1000,), False), ((1000, 1), False), ((1000, 2), False), ((2, 1000), True),
    ((1, 1000), True), ((0, 2), False)])
def test_results_keep_dtype_layout_and_duration(dtype, shape, channels_first):
    out, rate = quorvex.process(np.zeros(shape, dtype), RATE, "gain:-3 resample:48000",
                                channels_first)
    frames = shape[1] if channels_first else shape[0]
    expected = list(shape)
    expected[1 if channels_first else 0] = frames * 48000 // RATE
    assert rate == 48000 and out.dtype == dtype and list(out.shape) == expected
    assert out.flags.c_contiguous


def tool_message(chain):
    result = subprocess.run([os.environ["QUORVEX_CLI"], "process", "in.wav", "out.wav",
                             "--chain", chain], capture_output=True, text=True)
    return result.stderr.strip().removeprefix("quorvex: ")


@pytest.mark.parametrize("call, error, words", [
    (lambda: run_whole(noise(10, dtype=np.int16), "alc"), TypeError, "int16 samples"),
    (lambda: run_whole(noise(10).astype(">f4"), "alc"), TypeError, "byte order"),
    (lambda: run_whole([0.0, 0.1], "alc"), TypeError, "must be a numpy array"),
    (lambda: run_whole(np.zeros((2, 2, 2), np.float32), "alc"), ValueError, "must have shape"),
    (lambda: run_whole(np.zeros((10, 3), np.float32), "alc"), ValueError, "3 channels"),
    (lambda: run_whole(np.zeros((2, 10), np.float32), "alc"), ValueError, "channels_first=True"),
    (lambda: run_whole(noise(20)[::2], "alc"), ValueError, "not contiguous"),
    (lambda: run_whole(noise(20), "hold"), ValueError, "works on integer PCM"),
    (lambda: run_whole(noise(20), [("eq", {"63": "a b"})]), ValueError, "cannot be written"),
    (lambda: quorvex.Chain([("eq", [3])], RATE), TypeError, "takes a number"),
    (lambda: quorvex.Chain(3, RATE), TypeError, "a chain is text"),
    (lambda: quorvex.Chain("alc", 0), ValueError, "takes rates from 1"),
    (lambda: quorvex.Chain("alc", 2**31), TypeError, "incompatible"),
])
def test_refusals(call, error, words):
    with pytest.raises(error, match=words):
        call()


@pytest.mark.parametrize("chain", ["nope", "eq eq"])
def test_chain_refusals_carry_the_tools_message(chain):
    with pytest.raises(ValueError) as raised:
        quorvex.Chain(chain, RATE)
    assert str(raised.value) == tool_message(chain)


def test_a_stream_keeps_its_kind_and_a_closed_chain_says_so():
    running = quorvex.Chain("alc", RATE)
    running.process(noise(10))
    with pytest.raises(ValueError, match="cannot join it"):
        running.process(noise(10, dtype=np.float64))
    running.close()
    with pytest.raises(ValueError, match="is closed"):
        running(noise(10))


def test_a_second_live_chain_of_a_shared_state_filter_is_refused():
    first = quorvex.Chain("eq:63=+3 alc", RATE)
    with pytest.raises(ValueError, match="eq is in use by another live chain .* process-wide"):
        quorvex.Chain("velmo eq", RATE)
    with pytest.raises(ValueError, match="eq is in use"):
        quorvex.process(noise(10), RATE, "eq")
    quorvex.Chain("alc gain:-3", RATE)  # nothing shared
    first.close()
    with quorvex.Chain("eq", RATE):
        pass
    second = quorvex.Chain("eq", RATE)
    del second
    quorvex.Chain("eq", RATE)


def test_other_threads_run_while_a_chain_runs():
    audio = noise(RATE * 20)
    span, ticks = [], []
    running = quorvex.Chain("velmo:source=mp3", RATE)

    def work():
        span.append(time.perf_counter())
        running(audio)
        span.append(time.perf_counter())

    worker = threading.Thread(target=work)
    worker.start()
    while worker.is_alive():
        ticks.append(time.perf_counter())
    worker.join()
    start, end = span
    quarter = (end - start) / 4
    assert end - start > 0.05
    assert sum(start + quarter < t < end - quarter for t in ticks) > 100


def test_keyword_form_equals_text_form():
    words = [("gain", -3.5), ("alc", {"mode": "linked"}), ("velmo", {"enhance": False})]
    text = "gain:-3.5 alc:mode=linked velmo:enhance=off"
    assert str(quorvex.Chain(words, RATE)) == text
    audio = noise(5000)
    assert np.array_equal(run_whole(audio, words[:2]), run_whole(audio, text.rsplit(" ", 1)[0]))


def run_non_finite():
    audio = noise(5000, 2, np.float64)
    audio[100:200] = [np.nan, np.inf]
    out = run_whole(audio, "eq:63=+3 velmo:source=mp3")
    return out.shape, np.isfinite(out).all()


def test_non_finite_samples_pass_without_a_crash():
    shape, _ = fresh(run_non_finite)
    assert shape == (10000, 2)


def test_filters_hold_what_the_tool_lists():
    listing = subprocess.run([os.environ["QUORVEX_CLI"], "list"], capture_output=True,
                             text=True, check=True).stdout
    entries = {entry["name"]: entry for entry in quorvex.filters()}
    assert all(name in listing for name in entries)
    band = next(p for p in entries["eq"]["params"] if p["key"] == "63")
    assert (band["kind"], band["unit"], band["range"] in listing) == ("number", "dB", True)
    assert entries["velmo"]["shared_state"] and not entries["alc"]["shared_state"]
    assert quorvex.Chain("velmo", RATE).output_rate == 2 * RATE
