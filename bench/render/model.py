"""What the workload should sound like, in double precision, and how far a result is from it.

  model.py DIR linear|ideal WAV whole|excerpt

Prints what is known of the WAV: its rate; how much longer it is; and, for the first minute, by how
many frames of the mix and of the samples it is late, its gain, and what else it differs by, in dB
below the model. `linear` interpolates between two sample frames, and is told again with rates of
single precision; `ideal` converts with libsoxr in 64 bits.
"""
import ctypes
import functools
import struct
import sys

import numpy

from notes import EXCERPT, SESSION_RATE, read_notes

MAX_LAG = 256  # frames of the mix
SAMPLE_LAGS = [0, 1, -1]  # frames of the sample


def read_wav(path):
    with open(path, "rb") as f:
        data = f.read()
    pos, kind, channels, rate, bits = 12, 0, 0, 0, 0
    while pos + 8 <= len(data):
        name, size = data[pos:pos + 4], struct.unpack_from("<I", data, pos + 4)[0]
        if name == b"fmt ":
            kind, channels, rate, _, _, bits = struct.unpack_from("<HHIIHH", data, pos + 8)
            if kind == 0xFFFE:
                kind = struct.unpack_from("<H", data, pos + 32)[0]
        elif name == b"data":
            raw = numpy.frombuffer(data, "u1", min(size, len(data) - pos - 8), pos + 8)
            return rate, decode(raw, kind, bits).reshape(-1, channels)
        pos += 8 + size + size % 2
    raise ValueError(f"{path}: no sound")


def decode(raw, kind, bits):
    if kind == 3:
        return raw.view("<f4")
    if bits == 16:
        return raw.view("<i2") / 32768
    wide = numpy.zeros((len(raw) // 3, 4), "u1")
    wide[:, 1:] = raw.reshape(-1, 3)
    return wide.view("<i4")[:, 0] / 2 ** 31


def convert_linear(sound, step):
    sound = numpy.vstack([sound, numpy.zeros((2, sound.shape[1]))])
    place = numpy.arange(0, len(sound) - 1, step)
    index = place.astype(int)
    part = (place - index)[:, None]
    return sound[index] * (1 - part) + sound[index + 1] * part


def convert_ideal(sound, step):
    soxr = ctypes.CDLL("libsoxr.so.0")
    size, done = ctypes.c_size_t, ctypes.c_size_t()

    class Io(ctypes.Structure):
        _fields_ = [("in_type", ctypes.c_int), ("out_type", ctypes.c_int),
                    ("scale", ctypes.c_double), ("e", ctypes.c_void_p), ("flags", ctypes.c_ulong)]

    class Quality(ctypes.Structure):
        _fields_ = [("precision", ctypes.c_double), ("phase", ctypes.c_double),
                    ("passband", ctypes.c_double), ("stopband", ctypes.c_double),
                    ("e", ctypes.c_void_p), ("flags", ctypes.c_ulong)]

    soxr.soxr_io_spec.restype, soxr.soxr_quality_spec.restype = Io, Quality
    soxr.soxr_quality_spec.argtypes = [ctypes.c_ulong, ctypes.c_ulong]
    soxr.soxr_oneshot.argtypes = [ctypes.c_double, ctypes.c_double, ctypes.c_uint] + \
        [ctypes.c_void_p, size, ctypes.c_void_p] * 2 + [ctypes.c_void_p] * 3
    soxr.soxr_oneshot.restype = ctypes.c_char_p
    float64, precision_33_bits, double_flag = 1, 7, 16
    io, quality = soxr.soxr_io_spec(float64, float64), soxr.soxr_quality_spec(precision_33_bits, double_flag)
    sound = numpy.ascontiguousarray(sound, "f8")
    result = numpy.zeros((int(len(sound) / step) + 1, sound.shape[1]))
    error = soxr.soxr_oneshot(step, 1, sound.shape[1], sound.ctypes.data, len(sound), None,
                              result.ctypes.data, len(result), ctypes.byref(done),
                              ctypes.byref(io), ctypes.byref(quality), None)
    if error:
        raise RuntimeError(error.decode())
    return result[:done.value]


def shift(sound, frames):
    return numpy.vstack([numpy.zeros((max(frames, 0), sound.shape[1])), sound[max(-frames, 0):]])


def make_model(notes, convert, frames, sample_lag):
    @functools.lru_cache(None)
    def convert_sample(path, step):
        return convert(shift(read_wav(path)[1].astype("f8"), sample_lag), step)

    mix = numpy.zeros((frames, 2))
    for note in notes:
        sound = convert_sample(note.path, note.step)
        part = mix[note.frame:note.frame + len(sound)]
        part += sound[:len(part)] * [note.left, note.right]
    return mix


def find_lag(model, sound):
    """Frames by which the sound comes late, from the first 10 seconds."""
    size = 2 ** 20
    a, b = (numpy.fft.rfft(x[:size // 2, 0], size) for x in (model, sound))
    course = numpy.fft.irfft(a.conj() * b)
    return max(range(-MAX_LAG, MAX_LAG + 1), key=lambda lag: course[lag])


def compare(model, sound):
    lag = find_lag(model, sound)
    model, sound = model[max(-lag, 0):], sound[max(lag, 0):]
    frames = min(len(model), len(sound))
    model, sound = model[:frames], sound[:frames].astype("f8")
    gain = numpy.vdot(model, sound) / numpy.vdot(model, model)
    rest = numpy.linalg.norm(sound / gain - model) / numpy.linalg.norm(model)
    return lag, 20 * numpy.log10(gain), 20 * numpy.log10(rest)


def main():
    folder, kind, path, extent = sys.argv[1:]
    notes = read_notes(folder)
    if extent == "excerpt":
        notes = [note for note in notes if note.is_in_excerpt()]
    convert = {"linear": convert_linear, "ideal": convert_ideal}[kind]
    rate, sound = read_wav(path)
    longer = len(sound) - max(note.frame + note.frames for note in notes)

    def judge(sample_lag):
        model = make_model(notes, convert, EXCERPT * SESSION_RATE, sample_lag)
        return compare(model, sound) + (sample_lag,)

    lag, gain, rest, sample_lag = min(map(judge, SAMPLE_LAGS), key=lambda result: result[2])
    print(f"{rate} Hz, {longer:+} frames, late by {lag:+} and {sample_lag:+}, "
          f"{gain:+.2f} dB, {rest:.1f} dB", end="")
    if kind == "linear":
        for note in notes:
            note.step = float(numpy.float32(note.step))
        print(f" ({judge(sample_lag)[2]:.1f} dB)", end="")
    print()


if __name__ == "__main__":
    main()
