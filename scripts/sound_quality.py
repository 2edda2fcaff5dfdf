#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures what melorin-cli does to sound and writes docs/sound-quality.md.

Every signal is made here, goes through "melorin-cli decode" as a file, and what comes out is compared with what
theory says; nothing of the player's code is used but the program. Exit 1 when a figure misses its mark.
"""
import pathlib
import struct
import subprocess
import sys
import tempfile

import numpy as np

import sound_quality_report as report

FULL_32 = 2.0**31
EQUALIZER_RATES = [22050, 32000, 44100, 48000, 96000, 192000]
CENTRES = [31.25, 62.5, 125, 250, 500, 1000, 2000, 4000, 8000, 16000]


class Cli:
    """The program under measurement, with a folder of its own for the files."""

    def __init__(self, program, folder):
        self.program = program
        self.folder = pathlib.Path(folder)

    def decode(self, samples, rate, *options, bits=32):
        """Float samples (frames × channels) through the program; floats again."""
        return self.decode_file(write_float_wave(self.folder / "in.wav", samples, rate), *options, bits=bits)

    def decode_file(self, path, *options, bits=32):
        out = self.folder / "out.wav"
        command = [self.program, "decode", str(path), str(out), "--bits", str(bits), *options]
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return read_wave(out)


def write_wave(path, tag, rate, channels, bits, data):
    align = channels * bits // 8
    header = struct.pack("<HHIIHH", tag, channels, rate, rate * align, align, bits)
    chunks = b"WAVEfmt " + struct.pack("<I", len(header)) + header + b"data" + struct.pack("<I", len(data)) + data
    path.write_bytes(b"RIFF" + struct.pack("<I", len(chunks)) + chunks)
    return path


def write_float_wave(path, samples, rate):
    samples = np.atleast_2d(np.asarray(samples, dtype="<f4").T).T
    return write_wave(path, 3, rate, samples.shape[1], 32, samples.tobytes())


def read_wave(path):
    """(samples as floats, rate, data bytes) of a PCM file."""
    raw = path.read_bytes()
    at = 12
    while raw[at : at + 4] != b"data":
        if raw[at : at + 4] == b"fmt ":
            _, channels, rate, _, _, bits = struct.unpack_from("<HHIIHH", raw, at + 8)
        at += 8 + struct.unpack_from("<I", raw, at + 4)[0]
    data = raw[at + 8 : at + 8 + struct.unpack_from("<I", raw, at + 4)[0]]
    kinds = {16: ("<i2", 2.0**15), 32: ("<i4", FULL_32)}
    kind, full = kinds[bits]
    return np.frombuffer(data, kind).reshape(-1, channels) / full, rate, data


def db(ratio):
    return 20 * np.log10(np.maximum(np.abs(ratio), 1e-12))


# ---- equalizer


def equalizer_theory(hz, rate, preamp, bands):
    """The design at those frequencies: each band adds gain × band-pass to what comes from below."""
    z1 = np.exp(-2j * np.pi * hz / rate)
    response = np.ones_like(z1)
    limit = 10 ** (12 / 28)
    p = min(max(10 ** (preamp / 28), 1 / limit), limit) - 1
    for centre, value in zip(CENTRES, bands):
        if centre > 0.43478262 * rate:
            break
        theta = 2 * np.pi * centre / rate
        t = np.tan(1.2247449 * theta / 2)
        beta = (1 - t) / (1 + t)
        gamma, alpha = np.cos(theta) * (1 + beta), (1 - beta) / 2
        gain = 10 ** (min(max(value, -12), 12) / 28) - 1 + p
        band = alpha * (1 - 1.005 * z1**2) / (1 - gamma * z1 + beta * z1**2)
        response = response * (1 + gain * band)
    return response


def equalizer_response(cli, rate, preamp, bands):
    """(Hz, measured dB, theory dB): the spectrum of the answer to an impulse that stays below full scale."""
    frames = 1 << 17
    loudest = np.max(np.abs(equalizer_theory(np.linspace(10, rate / 2, 512), rate, preamp, bands)))
    height = min(0.5, 0.5 / loudest)
    impulse = np.zeros(frames)
    impulse[64] = height
    text = f"{preamp}:" + ",".join(str(b) for b in bands)
    out, _, _ = cli.decode(impulse, rate, "--eq", text)
    hz = np.geomspace(20, min(20000, rate * 0.49), 400)
    bins = np.unique(np.round(hz * frames / rate).astype(int))
    spectrum = np.fft.rfft(out[:, 0])[bins] / np.float32(height)
    hz = bins * rate / frames
    return hz, db(spectrum), db(equalizer_theory(hz, rate, preamp, bands))


def measure_equalizer(cli):
    flat = [0] * 10
    cases = []
    for rate in EQUALIZER_RATES:
        settings = [(0, flat[:k] + [v] + flat[k + 1 :], f"{CENTRES[k]:g} Hz {v:+d}")
                    for k in range(10) for v in (12, -12)]
        settings += [(0, [v] * 10, f"all bands {v:+d}") for v in (12, -12, 6)]
        settings += [(v, flat, f"preamplifier {v:+d}") for v in (12, -12)]
        settings += [(-4, [5, 4, 2, 0, -2, -3, -1, 2, 4, 6], "a curve")]
        for preamp, bands, name in settings:
            hz, measured, wanted = equalizer_response(cli, rate, preamp, bands)
            cases.append(dict(rate=rate, name=name, hz=hz, measured=measured,
                              error=float(np.max(np.abs(measured - wanted)))))
    return cases


# ---- resampler


def tones(rate, frequencies, seconds, amplitude):
    """One tone after the other, each faded in and out, so that none rings into the next."""
    frames = int(rate * seconds)
    fade = int(rate * 0.02)
    shape = np.ones(frames)
    shape[:fade] = 0.5 - 0.5 * np.cos(np.pi * np.arange(fade) / fade)
    shape[-fade:] = shape[:fade][::-1]
    t = np.arange(frames) / rate
    return np.concatenate([amplitude * shape * np.sin(2 * np.pi * f * t) for f in frequencies])


def steady(out, rate, seconds, number):
    """The middle half of a tone."""
    start = int((number + 0.25) * seconds * rate)
    return out[start : start + int(seconds * rate / 2), 0]


def split_tone(signal, rate, hz):
    """(amplitude of that tone, what else there is as RMS), by least squares."""
    t = np.arange(len(signal)) / rate
    basis = np.stack([np.sin(2 * np.pi * hz * t), np.cos(2 * np.pi * hz * t)], axis=1)
    parts, *_ = np.linalg.lstsq(basis, signal, rcond=None)
    rest = signal - basis @ parts
    return float(np.hypot(*parts)), float(np.sqrt(np.mean(rest**2)))


def sweep(cli, rate, out_rate, frequencies, options):
    """Per tone: level in dB against the input, and the rest in dB against the tone put in."""
    seconds, amplitude = 0.4, 0.9
    out, got_rate, _ = cli.decode(tones(rate, frequencies, seconds, amplitude), rate, "--rate", str(out_rate),
                                  *options)
    assert got_rate == out_rate
    levels, rests = [], []
    for number, hz in enumerate(frequencies):
        signal = steady(out, out_rate, seconds, number)
        if hz < min(rate, out_rate) / 2:
            level, rest = split_tone(signal, out_rate, hz)
        else:
            level, rest = 0.0, float(np.sqrt(np.mean(signal**2)))
        levels.append(float(db(level / amplitude)))
        rests.append(float(db(rest / (amplitude / np.sqrt(2)))))
    return levels, rests


def measure_resampler(cli):
    results = {}
    for name, options in (("high", ["--hq"]), ("fast", [])):
        up_hz = np.concatenate([np.linspace(50, 18000, 24), np.linspace(18500, 22000, 15), [1000, 20000]])
        levels, rests = sweep(cli, 44100, 48000, up_hz, options)
        down_hz = np.linspace(22100, 47900, 40)
        _, aliases = sweep(cli, 96000, 44100, down_hz, options)
        tone_rests = [sweep(cli, a, b, [1000.0], options)[1][0]
                      for a, b in ((44100, 48000), (48000, 44100), (96000, 44100), (44100, 96000), (22050, 44100))]
        order = np.argsort(up_hz)
        results[name] = dict(hz=up_hz[order], level=np.array(levels)[order], rest=np.array(rests)[order],
                             tone=max(tone_rests), at_20k=levels[-1],
                             # Up to where the level has not begun to fall, images are all that is left.
                             images=float(np.max(np.array(rests)[up_hz <= 20000])),
                             down_hz=down_hz, alias=np.array(aliases))
    return results


# ---- dither


def measure_dither(cli):
    """Spectra of the error that dithering to 16 bits makes, in dB of full scale per Hz."""
    results = []
    for rate in (44100, 48000):
        t = np.arange(rate * 8) / rate
        signal = (0.1 * np.sin(2 * np.pi * 997 * t)).astype("<f4")
        for setting in range(5):
            out, _, _ = cli.decode(signal, rate, "--dither", str(setting), bits=16)
            error = out[:, 0] - signal.astype(float)
            size = 4096
            window = np.hanning(size)
            blocks = [error[i : i + size] for i in range(0, len(error) - size, size // 2)]
            power = np.mean([np.abs(np.fft.rfft(b * window)) ** 2 for b in blocks], axis=0)
            density = power * 2 / (np.sum(window**2) * rate)
            hz = np.fft.rfftfreq(size, 1 / rate)
            ear = (hz >= 2000) & (hz <= 5000)
            results.append(dict(rate=rate, setting=setting, hz=hz, density_db=10 * np.log10(density + 1e-30),
                                lsb=float(np.std(error) * 32768),
                                ear_db=float(10 * np.log10(np.mean(density[ear]))),
                                tracks=float(np.abs(np.corrcoef(error, signal)[0, 1]))))
    return results


# ---- what is left alone


def measure_passthrough(cli):
    """16-bit noise of every channel count through the chain with every effect off."""
    results = []
    random = np.random.default_rng(7)
    for rate, channels in ((44100, 1), (44100, 2), (48000, 2), (48000, 6), (96000, 8)):
        data = random.integers(-32768, 32768, (rate, channels), dtype="<i2").tobytes()
        path = write_wave(cli.folder / "noise.wav", 1, rate, channels, 16, data)
        _, _, out = cli.decode_file(path, bits=16)
        results.append(dict(rate=rate, channels=channels, frames=rate, exact=out == data))
    return results


# ---- gain and surround


def measure_gain(cli):
    """Sines whose loudness the standard names, brought to the common loudness by "--gain auto"."""
    results = []
    for name, level_db, channels in (("stereo", -23.0, 2), ("stereo", -33.0, 2), ("mono", -20.0, 1)):
        rate = 48000
        t = np.arange(rate * 10) / rate
        sine = 10 ** (level_db / 20) * np.sin(2 * np.pi * 1000 * t)
        out, _, _ = cli.decode(np.stack([sine] * channels, axis=1), rate, "--gain", "auto")
        got = float(db(np.max(np.abs(out[rate:-rate])) / 10 ** (level_db / 20)))
        # A 1 kHz sine in both channels is as loud as its peak is high, and mono sounds from both.
        results.append(dict(name=name, level=level_db, wanted=-18.0 - level_db, got=got))
    return results


# ---- limiter


def measure_limiter(cli):
    """Tones near full scale that "--gain" brings far above it: what is left beside the tone, once it is steady."""
    rate, results = 44100, []
    for hz in (30, 50, 100, 1000, 10000):
        for gain_db in (6, 12, 24):
            tone = 0.99 * np.sin(2 * np.pi * hz * np.arange(rate * 2) / rate)
            out, _, _ = cli.decode(tone, rate, "--gain", str(gain_db))
            level, rest = split_tone(out[rate:, 0], rate, hz)
            results.append(dict(hz=hz, gain=gain_db, peak=float(np.max(np.abs(out))),
                                rest=float(db(rest * np.sqrt(2) / level))))
    return results


def main():
    check_only = "--check" in sys.argv[2:]
    root = pathlib.Path(__file__).resolve().parent.parent
    with tempfile.TemporaryDirectory(prefix="melorin-quality-") as folder:
        cli = Cli(str(pathlib.Path(sys.argv[1]).resolve()), folder)
        measured = dict(equalizer=measure_equalizer(cli), resampler=measure_resampler(cli),
                        dither=measure_dither(cli), passthrough=measure_passthrough(cli), gain=measure_gain(cli),
                        limiter=measure_limiter(cli))
    page, misses = report.make_page(measured)
    print(page)
    if not check_only:
        report.draw(measured, root / "docs" / "images")
        (root / "docs" / "sound-quality.md").write_text(page, encoding="utf-8")
    for miss in misses:
        print("missed:", miss, file=sys.stderr)
    return 1 if misses else 0


if __name__ == "__main__":
    sys.exit(main())
