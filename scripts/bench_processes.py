#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Times whole programs over the same input: melorin-cli beside the command-line tools that do the same.

    bench_processes.py REPETITIONS RESULT.json

The input is made here, always the same; programs take turns, so that a slow spell of the machine hits all alike.
"""
import array
import json
import math
import os
import pathlib
import random
import resource
import shutil
import subprocess
import sys
import tempfile
import time
import wave

ROOT = pathlib.Path(__file__).resolve().parent.parent
HOST = ROOT / "build/bench-host/bin/melorin-cli"
WINDOWS = ROOT / "build/bench-windows/bin/melorin-cli.exe"
SECONDS = 300
RATE = 44100


def make_music(path, bits, seconds=SECONDS):
    """Chords with noise that comes and goes: enough for an encoder to work on."""
    chunk = RATE // 2
    source = random.Random(1)
    scale = (1 << (bits - 1)) * 0.3
    with wave.open(str(path), "wb") as out:
        out.setnchannels(2)
        out.setsampwidth(bits // 8)
        out.setframerate(RATE)
        chunks = []
        for _ in range(16):
            tones = [source.uniform(80, 3000) * 2 * math.pi / RATE for _ in range(4)]
            loud = source.uniform(0, 0.4)
            samples = []
            for i in range(chunk):
                tone = sum(math.sin(i * t) for t in tones) / 4
                samples += [int(scale * (tone + loud * source.uniform(-1, 1))) for _ in (0, 1)]
            if bits == 16:
                chunks.append(array.array("h", samples).tobytes())
            else:
                chunks.append(b"".join(s.to_bytes(3, "little", signed=True) for s in samples))
        for i in range(seconds * RATE // chunk):
            out.writeframesraw(chunks[i * 7 % 16])


def time_once(command):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.perf_counter()
    subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
    wall = time.perf_counter() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return wall, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def median(values):
    ordered = sorted(values)
    return ordered[len(ordered) // 2]


def make_list(path, entries):
    """An extended M3U of Chinese names in random order; the first names no file, which a player need not open."""
    source = random.Random(2)
    letters = "晨露月光晴天夜曲青花瓷东风破稻香七里听妈的话简单爱发如雪"
    lines = []
    for i in range(entries):
        artist, album, title = ("".join(source.choices(letters, k=k)) for k in (3, 5, 6))
        lines.append(f"#EXTINF:{source.randrange(90, 400)},{artist} - {title}\r\n"
                     f"D:\\音乐\\{artist}\\{album} {i // 16}\\{i % 16 + 1:02} - {title}.mp3\r\n")
    source.shuffle(lines)
    path.write_bytes(("\ufeff#EXTM3U\r\n" + "".join(lines)).encode("utf-8"))


def measure(title, commands, out, repetitions, least_bytes=0):
    times = {name: [] for name in commands}
    for _ in range(repetitions + 1):
        for name, command in commands.items():
            out.unlink(missing_ok=True)
            times[name].append(time_once(command))
            if least_bytes and (not out.exists() or out.stat().st_size < least_bytes):
                sys.exit(f"error: {name} did not write all of {out}")
    rows = []
    for name, runs in times.items():
        # The first round warms the caches.
        walls = [wall for wall, _ in runs[1:]]
        rows.append({"name": name, "wall_s": median(walls), "cpu_s": median([cpu for _, cpu in runs[1:]]),
                     "min_s": min(walls), "max_s": max(walls)})
    return {"title": title, "rows": rows}


def measure_lists(folder, wine, repetitions):
    """Reading an M3U8 of 100,000 entries. mpv leaves when it begins with the first; what it needs for a list of one
    entry is its start-up. Melorin's tool writes the list again, in the player's own form."""
    big, one, stored, script = (folder / n for n in ("big.m3u8", "one.m3u8", "big.mzbl", "quit.lua"))
    make_list(big, 100_000)
    make_list(one, 1)
    script.write_text('mp.register_event("start-file", function() mp.commandv("quit") end)\n', encoding="ascii")

    def mpv(path):
        return ["mpv", "--no-config", "--no-terminal", "--ao=null", "--vo=null", "--ytdl=no", "--load-scripts=no",
                f"--script={script}", f"--playlist={path}"]

    def convert(source):
        return {"melorin-cli": [str(HOST), "playlist", str(source), str(stored)],
                "melorin-cli.exe under Wine": [*wine, "playlist", str(source), str(stored)]}

    return [measure("An M3U8 of 100,000 entries", {**convert(big), "mpv": mpv(big)}, stored, repetitions),
            measure("An M3U8 of one entry", {**convert(one), "mpv": mpv(one)}, stored, repetitions)]


def main(repetitions, result):
    # In memory where there is room: the disk is not what is compared.
    memory = pathlib.Path("/dev/shm")
    room = memory.is_dir() and os.access(memory, os.W_OK) and shutil.disk_usage(memory).free > 400 << 20
    with tempfile.TemporaryDirectory(prefix="melorin-bench-", dir=memory if room else None) as name:
        folder = pathlib.Path(name)
        music, deep, song, out = (folder / n for n in ("music.wav", "deep.wav", "song.mp3", "out.wav"))
        make_music(music, 16)
        subprocess.run(["lame", "--quiet", "-b", "192", music, song], check=True)
        music.unlink()
        make_music(deep, 24)
        wine = [str(ROOT / "scripts/wine.sh"), str(WINDOWS)]
        subprocess.run(wine + ["--version"], stdout=subprocess.DEVNULL, check=True)

        audio_bytes = SECONDS * RATE * 4 * 0.99

        def ffmpeg(source, *options):
            return ["ffmpeg", "-v", "error", "-y", "-i", str(source), *options, "-c:a", "pcm_s16le", str(out)]

        def ours(source, *options):
            return {"melorin-cli": [str(HOST), "decode", str(source), str(out), *options],
                    "melorin-cli.exe under Wine": wine + ["decode", str(source), str(out), *options]}

        groups = [
            measure(f"{SECONDS} s of MP3 (192 kbit/s, stereo, 44100 Hz) to a 16-bit Wave file",
                    {**ours(song), "mpg123 -w": ["mpg123", "-q", "-w", str(out), str(song)],
                     "sox (no dither)": ["sox", "-D", str(song), "-b", "16", str(out)],
                     "ffmpeg": ffmpeg(song)}, out, repetitions, audio_bytes),
            measure(f"{SECONDS} s of 24-bit stereo to 16 bits with triangular dither",
                    {**ours(deep, "--bits", "16", "--dither", "1"), "sox dither": ["sox", str(deep), "-b", "16", str(out), "dither"],
                     "ffmpeg triangular": ffmpeg(deep, "-af", "aresample=dither_method=triangular:osf=s16")},
                    out, repetitions, audio_bytes),
            measure(f"{SECONDS} s of 24-bit stereo to 16 bits with noise-shaped dither",
                    {**ours(deep, "--bits", "16", "--dither", "3"),
                     "sox dither -f shibata": ["sox", str(deep), "-b", "16", str(out), "dither", "-f", "shibata"],
                     "ffmpeg shibata": ffmpeg(deep, "-af", "aresample=dither_method=shibata:osf=s16")},
                    out, repetitions, audio_bytes),
            *measure_lists(folder, wine, repetitions),
        ]
    pathlib.Path(result).write_text(json.dumps(groups, indent=1), encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(int(sys.argv[1]), sys.argv[2])
