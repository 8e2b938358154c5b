"""What is in a recording: which of the device's tones, and how loud."""

import math
import struct
from array import array
from pathlib import Path

# The device "Sine Wave 1K, 1/3 Oct" plays a tone of its own into each of its inputs, a third of an octave apart.
TONES = [1000 * 2 ** ((index - 4) / 3) for index in range(8)]
RATE = 48000


def samples(file):
    """The samples of a mono file of 32-bit floats, as the recorder writes them."""
    data = Path(file).read_bytes()
    at, size64 = 12, None
    while at + 8 <= len(data):
        name, size = data[at : at + 4], struct.unpack_from("<I", data, at + 4)[0]
        if name == b"ds64":
            size64 = struct.unpack_from("<Q", data, at + 16)[0]
        if name == b"data":
            size = size64 if size == 0xFFFFFFFF else size
            size = size or len(data)  # nobody came to fill it in
            return array("f", data[at + 8 : at + 8 + size // 4 * 4])
        at += 8 + size + size % 2
    return array("f")


def level(part, frequency):
    """The amplitude of one frequency."""
    step = 2 * math.pi * frequency / RATE
    factor, before, last = 2 * math.cos(step), 0.0, 0.0
    for value in part:
        before, last = last, value + factor * last - before
    return 2 * math.sqrt(max(before * before + last * last - factor * before * last, 0)) / len(part)


def inputs(file, start=0.4, seconds=0.3):
    """Which inputs' tones are in a file, with their amplitudes: {1: 0.2}."""
    part = samples(file)[int(start * RATE) : int((start + seconds) * RATE)]
    if not part:
        return {}
    windowed = [value * (1 - math.cos(2 * math.pi * index / len(part))) for index, value in enumerate(part)]
    found = {number: level(windowed, tone) for number, tone in enumerate(TONES, 1)}
    return {number: round(amplitude, 4) for number, amplitude in found.items() if amplitude > 0.002}
