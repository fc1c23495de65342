"""Quorvex's filters on numpy arrays.

Audio is a numpy array of float32 or float64 samples at full scale 1.0,
shaped ``(frames,)`` for mono or ``(frames, channels)`` with 1 or 2 channels.
The transposed layout ``(channels, frames)`` is read only when asked for with
``channels_first=True``; it is never guessed. Results keep the input's dtype,
shape layout and channel count, and span exactly the input's duration at the
chain's output rate, with the chain's delay removed.

A chain is written as text, as for the command-line tool
(``"eq:63=+3,16k=+2 velmo:source=mp3"``), or as a list of filters, each a
name, a ``(name, {key: value})`` pair or a ``(name, value)`` pair for the
filter's main parameter (``("resample", 48000)``).

    >>> import quorvex
    >>> out, out_rate = quorvex.process(audio, 44100, "eq:63=+3 velmo:source=mp3")
    >>> chain = quorvex.Chain("alc:mode=linked", sample_rate=48000)
    >>> whole = chain(audio)

Refusals of a chain, of its settings or of an array raise ValueError (or
TypeError for an array of the wrong sample type) with a one-line message.

Filters with process-wide state: every instance of the equalizer, the
surround, the enhancer and a few more shares one set of state in the process
(``filters()`` says which under ``shared_state``). So a second live Chain
holding such a filter is refused until the first is closed (``close()``, the
end of a ``with`` block, or its last reference going away). Some of that
state is never cleared, not even by a new chain: the equalizer's and the
enhancer's section histories carry over from one chain to the next in one
process, as they do in any host of the library, and a NaN that reaches them
stays there. Results equal the command-line tool's bit for bit in a process
that has run nothing before them.
"""

import numbers

import numpy

from ._quorvex import Stream as _Stream
from ._quorvex import filters as _filters

__all__ = ["Chain", "process", "filters"]


def filters():
    """Every filter a chain can hold, as a list of dicts (what ``quorvex list`` shows).

    Each dict has ``name``, ``summary``, ``rates`` (where the filter acts, in
    words), ``shared_state`` (the process-wide state every instance shares,
    empty when instances are independent), ``positional`` (the key a bare
    value sets), ``integer_only`` and ``params``: a list of dicts with
    ``key``, ``kind`` (number, choice, switch or path), ``default`` and
    ``help``; numbers also have ``min``, ``max``, ``unit``, ``whole`` and
    ``range``, choices have ``choices``.
    """
    return _filters()


def _value_text(filter_name, key, value):
    if isinstance(value, bool):
        text = "on" if value else "off"
    elif isinstance(value, numbers.Integral):
        text = str(int(value))
    elif isinstance(value, numbers.Real):
        text = repr(float(value))
    elif isinstance(value, str):
        text = value
    else:
        raise TypeError(f"{filter_name}: {key} takes a number, a string or a bool, "
                        f"not {type(value).__name__}")
    if not text or any(c.isspace() or c in ",=" for c in text):
        raise ValueError(f"{filter_name}: {key}={text!r} cannot be written in a chain")
    return text


def _step_text(step):
    if isinstance(step, str):
        return step
    if not isinstance(step, tuple) or len(step) != 2 or not isinstance(step[0], str):
        raise TypeError(f"a chain step is a name or a (name, settings) pair, not {step!r}")
    name, settings = step
    if isinstance(settings, dict):
        items = [f"{key}={_value_text(name, key, value)}" for key, value in settings.items()]
    else:
        items = [_value_text(name, "its main parameter", settings)]
    return f"{name}:{','.join(items)}" if items else name


def _chain_text(chain):
    """The text form of a chain given as text or as a list of steps."""
    if isinstance(chain, str):
        return chain
    if isinstance(chain, (list, tuple)):
        return " ".join(_step_text(step) for step in chain)
    raise TypeError(f"a chain is text or a list of steps, not {type(chain).__name__}")


def _array(audio):
    if not isinstance(audio, numpy.ndarray):
        raise TypeError("audio must be a numpy array of float32 or float64 samples, "
                        f"not {type(audio).__name__}")
    return audio


class Chain:
    """A chain of filters built for one input rate, run over numpy arrays.

    ``Chain(chain, sample_rate)``: ``chain`` is text such as
    ``"eq:63=+3,16k=+2 velmo:source=mp3"`` or a list such as
    ``[("eq", {"63": 3, "16k": 2}), ("velmo", {"source": "mp3"})]``.
    Refusals raise ValueError with a one-line message.

    ``chain(audio)`` runs a whole array as a stream of its own.
    ``chain.process(block)`` runs blocks of any size and returns what is
    ready; ``chain.flush()`` returns the tail and ends the stream. Together
    they return exactly what ``chain(audio)`` returns for the joined blocks.
    Arrays are float32 or float64, ``(frames,)`` or ``(frames, channels)``
    with 1 or 2 channels, or ``(channels, frames)`` with
    ``channels_first=True``; results keep the dtype and layout.

    The interpreter lock is released while a chain runs, so other Python
    threads go on meanwhile; one chain runs one call at a time. While a
    chain is alive, no other chain may hold a filter type whose state is
    process-wide (see ``filters()``): ``close()`` it, or use it in a
    ``with`` block, to let another one have it.
    """

    def __init__(self, chain, sample_rate):
        self._text = _chain_text(chain)
        self._stream = _Stream(self._text, int(sample_rate))

    def __call__(self, audio, channels_first=False):
        """The whole of ``audio`` through the chain, as a stream of its own."""
        return self._open().whole(_array(audio), channels_first)

    def process(self, block, channels_first=False):
        """One block of a stream; returns the output that is ready (possibly none).

        Every block of a stream has the same dtype and channel count. After
        ``flush()`` the next block starts a new stream.
        """
        return self._open().process(_array(block), channels_first)

    def flush(self):
        """The rest of the stream's output; the stream ends."""
        return self._open().flush()

    def reset(self):
        """Drops the stream under way; the next block starts a new one."""
        self._open().reset()

    def close(self):
        """Lets go of the filters, so that another chain may hold their types."""
        self._stream = None

    @property
    def sample_rate(self):
        """The input rate in Hz."""
        return self._open().sample_rate

    @property
    def output_rate(self):
        """The rate in Hz of what the chain returns."""
        return self._open().output_rate

    @property
    def latency(self):
        """How much later than its input, in seconds, the filters' output comes.

        Results have it removed already; it is what a host running the
        filters live would hear.
        """
        return self._open().latency

    def output_frames(self, frames):
        """How many frames ``frames`` input frames turn into."""
        return self._open().output_frames(frames)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __str__(self):
        return self._text

    def __repr__(self):
        state = "closed" if self._stream is None else f"sample_rate={self._stream.sample_rate}"
        return f"quorvex.Chain({self._text!r}, {state})"

    def _open(self):
        if self._stream is None:
            raise ValueError(f"the chain '{self._text}' is closed")
        return self._stream


def process(audio, sample_rate, chain, channels_first=False):
    """Runs ``audio`` through ``chain``; returns ``(output, output_rate)``.

    ``audio``: float32 or float64 numpy array at full scale 1.0, shaped
    ``(frames,)`` (mono) or ``(frames, channels)`` with 1 or 2 channels, or
    ``(channels, frames)`` with ``channels_first=True``. ``chain``: text as
    for the command-line tool, or a list of steps as for ``Chain``. The
    output keeps the dtype and channel count and spans exactly the input's
    duration at ``output_rate``, the chain's delay removed.
    """
    with Chain(chain, sample_rate) as running:
        return running(audio, channels_first), running.output_rate
