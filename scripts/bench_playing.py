#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""How much of a core players take while they play the same MP3 file; Melorin also with the sound as a Wave file, which
shows what is left without decoding.

    bench_playing.py REPETITIONS RESULT.json

All play at the same time, so that they meet the same machine, but each into a sound server of its own, since one
that asks for short buffers makes the server wake all others more often. What is measured is the time that a process
ran, by its CPU clock, from the fifth second on; MELORIN_BENCH_SECONDS (60) is how long.
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

from bench_processes import ROOT, median

PLAYER = ROOT / "build/bench-windows/bin/melorin.exe"
WARM_UP_SECONDS = 5
# The others have no windows, or show none.
OFF = {"Player": {"Volume": 100, "PlayMode": 2}, "General": {"StartupMinimize": 1, "HideMinimize": 1}}
ON = {**OFF, "Equalizer": {"Current": "1:3,-2,3,-2,1,-1,2,-3,3,-2", "Surround": 50},
      "Playback": {"AutoGain": 1, "AutoScanGain": 1, "SkipScanGain": 0},
      "Device": {"ResampleRate": 48000, "HQResample": 1, "Dither": 3}}
PLAYERS = {
    "melorin-off": ("Melorin under Wine, everything off", OFF),
    "melorin-wave": ("Melorin under Wine, everything off, Wave file", OFF),
    "melorin-on": ("Melorin under Wine, everything on", ON),
    "mpg123": ("mpg123", ["mpg123", "-q", "-o", "pulse"]),
    "audacious": ("audacious --headless", ["audacious", "--headless", "--play"]),
    "mpv": ("mpv --no-video", ["mpv", "--no-config", "--no-terminal", "--no-video", "--ao=pulse"]),
}


def windows_path(path):
    return "Z:" + str(path).replace("/", "\\")


def command_of(player, source, folder):
    how = PLAYERS[player][1]
    if isinstance(how, list):
        return [*how, str(source)]
    data = folder / "data"
    data.mkdir()
    sections = "".join(f"<{section} " + " ".join(f'{key}="{value}"' for key, value in keys.items()) + "/>"
                       for section, keys in how.items())
    (data / "melorin.xml").write_text(f'<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\r\n'
                                      f"<melorin>{sections}</melorin>\r\n", encoding="utf-8")
    return ["wine", str(PLAYER), "/data=" + windows_path(data), windows_path(source)]


def cpu_seconds(pid):
    """Of all threads a process has and had. Linux makes the clock's number from that of the process."""
    return time.clock_gettime((~pid << 3) | 2)


def wine_sound_seconds(pid):
    """Of the threads by which Wine mixes and delivers; a part of the process only there."""
    total = 0
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        if (task / "comm").read_text(encoding="utf-8").startswith("wine"):
            total += int((task / "schedstat").read_text(encoding="ascii").split()[0])
    return total / 1e9


def wine_server():
    """The server of this session, not that of another beside it."""
    mark = b"WINEPREFIX=" + os.environb[b"WINEPREFIX"]
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if (entry / "comm").read_text(encoding="utf-8").startswith("wineserver") \
                    and mark in (entry / "environ").read_bytes().split(b"\0"):
                return int(entry.name)
        except OSError:
            pass
    sys.exit("error: no Wine server")


def measure_one(player, source, seconds, result):
    """In a session that bench_playing.sh has made; leaves the player playing."""
    folder = pathlib.Path(os.environ["MELORIN_SESSION_DIR"])
    process = subprocess.Popen(command_of(player, source, folder), stdin=subprocess.DEVNULL,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    (folder / "player.pid").write_text(str(process.pid), encoding="ascii")
    time.sleep(WARM_UP_SECONDS)
    watched = {"player": (cpu_seconds, process.pid),
               "sound_server": (cpu_seconds, int(os.environ["MELORIN_PULSE_PID"]))}
    if player.startswith("melorin"):
        watched["wine_sound"] = (wine_sound_seconds, process.pid)
        watched["wine_server"] = (cpu_seconds, wine_server())
    start = time.monotonic()
    before = {name: clock(pid) for name, (clock, pid) in watched.items()}
    time.sleep(seconds)
    if process.poll() is not None:
        sys.exit(f"error: {player} ended before its time")
    taken = {name: clock(pid) - before[name] for name, (clock, pid) in watched.items()}
    passed = time.monotonic() - start
    streams = subprocess.run(["pactl", "list", "short", "sink-inputs"], capture_output=True, text=True, check=True,
                             env={**os.environ, "LC_ALL": "C"}).stdout.splitlines()
    if len(streams) != 1:
        sys.exit(f"error: {player} plays {len(streams)} streams")
    values = {name: value / passed for name, value in taken.items()}
    pathlib.Path(result).write_text(json.dumps({**values, "format": " ".join(streams[0].split()[4:])}),
                                    encoding="utf-8")


def make_sources(folder, seconds):
    """(files of single players, that of all others)"""
    music, source = folder / "music.wav", folder / "music.mp3"
    length = str(seconds)
    subprocess.run(["sox", "-n", "-r", "44100", "-c", "2", "-b", "16", str(music), "synth", length, "pinknoise", "mix",
                    "sine", "220", "synth", length, "sine", "amod", "3", "gain", "-8"], check=True)
    # The gain is what "everything on" applies.
    subprocess.run(["lame", "--quiet", "-b", "192", "--tv", "TXXX=replaygain_track_gain=-6.00 dB", str(music),
                    str(source)], check=True)
    return {"melorin-wave": music}, source


def main(repetitions, result):
    seconds = int(os.environ.get("MELORIN_BENCH_SECONDS", "60"))
    there = [name for name in PLAYERS if name.startswith("melorin") or shutil.which(name)]
    found = {name: [] for name in there}
    with tempfile.TemporaryDirectory(prefix="melorin-bench-") as name:
        folder = pathlib.Path(name)
        special, usual = make_sources(folder, seconds + 60)
        for _ in range(repetitions):
            runs = {player: subprocess.Popen([str(ROOT / "scripts/bench_playing.sh"), player,
                                              str(special.get(player, usual)), str(seconds),
                                              str(folder / f"{player}.json")], stdin=subprocess.DEVNULL)
                    for player in there}
            failed = [player for player, run in runs.items() if run.wait() != 0]
            if failed:
                sys.exit(f"error: not measured: {', '.join(failed)}")
            for player in there:
                found[player].append(json.loads((folder / f"{player}.json").read_text(encoding="utf-8")))
    rows = []
    for player, runs in found.items():
        row = {"name": PLAYERS[player][0], "key": player, "format": runs[0]["format"]}
        for key in ("player", "sound_server", "wine_sound", "wine_server"):
            if key in runs[0]:
                row[key] = median([run[key] for run in runs])
        if "wine_sound" in row:
            row["own"] = median([run["player"] - run["wine_sound"] for run in runs])
        shares = sorted(run["player"] for run in runs)
        rows.append({**row, "least": shares[0], "most": shares[-1]})
    pathlib.Path(result).write_text(json.dumps({"seconds": seconds, "repetitions": repetitions, "rows": rows,
                                                "missing": [name for name in PLAYERS if name not in there]}, indent=1),
                                    encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) == 6 and sys.argv[1] == "--one":
        measure_one(sys.argv[2], sys.argv[3], int(sys.argv[4]), sys.argv[5])
    elif len(sys.argv) == 3:
        main(int(sys.argv[1]), sys.argv[2])
    else:
        sys.exit(__doc__)
