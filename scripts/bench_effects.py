#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What a ten-band equalizer and a change of rate cost whole programs, each less what it takes without them.

    bench_effects.py REPETITIONS RESULT.json

Every program reads the same long Wave file and writes one, in memory; a run with the effect follows one without, so
that a slow spell of the machine hits both, and the median of their differences counts.
"""
import array
import json
import math
import pathlib
import shutil
import subprocess
import sys
import tempfile
import wave

import bench_processes as processes
from bench_processes import HOST, RATE, ROOT, WINDOWS, median

SECONDS = 600
NEW_RATE = 48000
CENTRES = (31, 62, 125, 250, 500, 1000, 2000, 4000, 8000, 16000)
# So that nothing is near full scale: no program has to limit.
GAINS = (2, -3, 2, -2, 1, -1, 2, -3, 3, -3)
TONE_HZ = 1000


def make_tone(path):
    """Two seconds of 1 kHz just below full scale; 32 bits, so that the file's own noise is not what is measured."""
    samples = array.array("i")
    for i in range(2 * RATE):
        samples.extend([round(0.99 * (2**31 - 1) * math.sin(2 * math.pi * TONE_HZ * i / RATE))] * 2)
    with wave.open(str(path), "wb") as out:
        out.setnchannels(2)
        out.setsampwidth(4)
        out.setframerate(RATE)
        out.writeframes(samples.tobytes())


def left_channel(path):
    """Of a stereo Wave file of 32-bit integers, which may be an extensible one."""
    data = pathlib.Path(path).read_bytes()
    at = 12
    while at + 8 <= len(data):
        length = int.from_bytes(data[at + 4:at + 8], "little")
        if data[at:at + 4] == b"data":
            body = data[at + 8:at + 8 + length]
            return array.array("i", body[:len(body) // 8 * 8])[::2]
        at += 8 + length + length % 2
    sys.exit(f"error: {path} holds no sound")


def signal_to_noise(path):
    """The middle half against the tone that fits it best, in dB."""
    left = left_channel(path)
    step = 2 * math.pi * TONE_HZ / NEW_RATE
    if abs(len(left) - 2 * NEW_RATE) > NEW_RATE // 10:
        sys.exit(f"error: {path} was not resampled: {len(left)} frames")
    where = range(len(left) // 4, len(left) * 3 // 4)
    sines = [math.sin(step * i) for i in where]
    cosines = [math.cos(step * i) for i in where]
    values = [left[i] for i in where]
    ss, cc = (sum(v * v for v in wave_form) for wave_form in (sines, cosines))
    sc = sum(map(float.__mul__, sines, cosines))
    ys = sum(v * s for v, s in zip(values, sines))
    yc = sum(v * c for v, c in zip(values, cosines))
    whole = ss * cc - sc * sc
    a, b = (ys * cc - yc * sc) / whole, (yc * ss - ys * sc) / whole
    fits = [a * s + b * c for s, c in zip(sines, cosines)]
    noise = sum((v - fit) ** 2 for v, fit in zip(values, fits))
    return 10 * math.log10(sum(fit * fit for fit in fits) / noise)


def run(command, out):
    out.unlink(missing_ok=True)
    _, cpu = processes.time_once(command)
    if not out.exists() or out.stat().st_size < SECONDS * RATE * 4 * 0.99:
        sys.exit(f"error: {command[0]} did not write all of {out}")
    return cpu


def measure(pairs, out, repetitions):
    """CPU seconds of each program: without the effect, with it, and by how much they differ."""
    times = {name: [] for name in pairs}
    for _ in range(repetitions + 1):
        for name, (plain, effect) in pairs.items():
            times[name].append((run(plain, out), run(effect, out)))
    rows = []
    for name, runs in times.items():
        # The first round warms the caches.
        differences = sorted(effect - plain for plain, effect in runs[1:])
        rows.append({"name": name, "plain_s": median([plain for plain, _ in runs[1:]]),
                     "effect_s": median([effect for _, effect in runs[1:]]), "difference_s": median(differences),
                     "least_s": differences[0], "most_s": differences[-1]})
    return rows


def main(repetitions, result):
    memory = pathlib.Path("/dev/shm")
    room = memory.is_dir() and shutil.disk_usage(memory).free > 600 << 20
    with tempfile.TemporaryDirectory(prefix="melorin-bench-", dir=memory if room else None) as name:
        folder = pathlib.Path(name)
        music, tone, out = (folder / n for n in ("music.wav", "tone.wav", "out.wav"))
        processes.make_music(music, 16, SECONDS)
        make_tone(tone)
        wine = [str(ROOT / "scripts/wine.sh"), str(WINDOWS)]
        subprocess.run(wine + ["--version"], stdout=subprocess.DEVNULL, check=True)

        def sox(source, bits, *effects):
            return ["sox", "-D", str(source), "-b", bits, "-e", "signed-integer", str(out), *effects]

        def ffmpeg(source, bits, filters):
            # In floats, as the others: in the file's 16 bits it would round after each filter. On more than one thread
            # it spends more on handing blocks around than on filtering them.
            return ["ffmpeg", "-v", "error", "-y", "-filter_threads", "1", "-i", str(source), "-af",
                    "aformat=sample_fmts=fltp" + filters, "-c:a", f"pcm_s{bits}le", str(out)]

        def ours(program, source, bits, *options):
            return [*program, "decode", str(source), str(out), "--bits", bits, *options]

        bands = "0:" + ",".join(map(str, GAINS))
        each = list(zip(CENTRES, GAINS))
        programs = {"melorin-cli": [str(HOST)], "melorin-cli.exe under Wine": wine}
        equalizers = {name: (ours(program, music, "16"), ours(program, music, "16", "--eq", bands))
                      for name, program in programs.items()}
        sox_bands = [word for hz, db in each for word in ("equalizer", str(hz), "1o", str(db))]
        equalizers["sox, ten `equalizer`"] = (sox(music, "16"), sox(music, "16", *sox_bands))
        equalizers["ffmpeg, ten `equalizer`"] = (
            ffmpeg(music, "16", ""),
            ffmpeg(music, "16", "".join(f",equalizer=f={hz}:t=o:w=1:g={db}" for hz, db in each)))

        rate = str(NEW_RATE)
        converters = {}
        for name, program in programs.items():
            for options in ([], ["--hq"]):
                converters[" ".join(["fast:" if not options else "high:", name])] = (
                    lambda source, bits, program=program: ours(program, source, bits),
                    lambda source, bits, program=program, options=options:
                        ours(program, source, bits, "--rate", rate, *options))
        for option in ("-h", "-v"):
            converters[f"sox rate {option}"] = (
                sox, lambda source, bits, option=option: sox(source, bits, "rate", option, rate))
        for title, options in {"ffmpeg, its own": "", "ffmpeg, soxr 20 bits": ":resampler=soxr:precision=20",
                               "ffmpeg, soxr 28 bits": ":resampler=soxr:precision=28"}.items():
            converters[title] = (
                lambda source, bits: ffmpeg(source, bits, ""),
                lambda source, bits, options=options: ffmpeg(source, bits, f",aresample={rate}{options}"))

        groups = [{"kind": "equalizer", "frames": SECONDS * RATE, "seconds": SECONDS,
                   "rows": measure(equalizers, out, repetitions)}]
        rows = measure({name: (plain(music, "16"), effect(music, "16"))
                        for name, (plain, effect) in converters.items()}, out, repetitions)
        for row in rows:
            out.unlink(missing_ok=True)
            subprocess.run(converters[row["name"]][1](tone, "32"), stdin=subprocess.DEVNULL,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
            row["snr_db"] = signal_to_noise(out)
        groups.append({"kind": "resampling", "frames": SECONDS * RATE, "seconds": SECONDS, "rows": rows})
    pathlib.Path(result).write_text(json.dumps(groups, indent=1), encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(int(sys.argv[1]), sys.argv[2])
