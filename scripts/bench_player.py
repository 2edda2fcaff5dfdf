#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What the player with its windows costs, beside others that play the same MP3 file.

    bench_player.py REPETITIONS RESULT.json [MEASUREMENT…]     all, or those that begin with one of the words

  start      how long it takes from the start of the process until the windows are seen, until the device has the
             first block, and until the sound server hears something; and from the key "play" on
  objects    handles, GDI and USER objects over 1,000 changes of the track and 200 of the skin
  play-…     CPU time while music plays, and memory, with this and that to be seen
  idle-…     CPU time and wake-ups while nothing plays

Of "play" and "idle" some run at the same time, so that they meet the same machine, each in a session of its own; not
all, since they would be in each other's way.
MELORIN_BENCH_SECONDS (60) is how long each plays, MELORIN_BENCH_STARTS (11) how often everything is started.
MELORIN_BENCH_BIN is the folder of melorin.exe and of the programs of bench/win32.
"""
import json
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import zipfile
from typing import NamedTuple

from bench_playing import cpu_seconds, windows_path, wine_server
from bench_processes import ROOT, median

WARM_UP_SECONDS = 6
AT_A_TIME = 6
BIN = pathlib.Path(os.environ.get("MELORIN_BENCH_BIN") or ROOT / "build/bench-windows/bin")
TRACK_CHANGES, SKIN_CHANGES, STEPS = 1000, 200, 4

# Keys that no keyboard has, for commands (see doc/command_id.h).
PLAY, STOP, NEXT, SHOW_HIDE, PAUSE = range(124, 129)
COMMANDS = {PLAY: 1023, STOP: 1002, NEXT: 1004, SHOW_HIDE: 1021, PAUSE: 1024}
USUAL = {
    "Player": {"Volume": 100, "PlayMode": 1, "LyricVisible": 1, "EqualizerVisible": 1, "PlayListVisible": 1},
    "Equalizer": {"Current": "1:3,-2,3,-2,1,-1,2,-3,3,-2"},
    "Device": {"Dither": 3},
    "Visual": {"Type": 0},
    "HotKey": {"Global": 0, "KeyMap_Count": len(COMMANDS),
               **{f"KeyMap_{i}": f"{command}:a(0,{key}),g(0,0)" for i, (key, command) in enumerate(COMMANDS.items())}},
}


class Running(NamedTuple):
    name: str
    how: list | dict  # A command, or the player's settings over the usual ones.
    keys: tuple = ()  # Pressed when it plays.
    file: str = "music.mp3"


MEASUREMENTS = {
    "play-empty": Running("an empty program under Wine: a window, and silence on DirectSound",
                          ["wine", "empty_program.exe"]),
    "play-hidden": Running("Melorin, equalizer and dither on, windows hidden", {}, (SHOW_HIDE,)),
    "play-mpg123": Running("mpg123", ["mpg123", "-q", "-o", "pulse"]),
    "play-headless": Running("audacious --headless", ["audacious", "--headless", "--play"]),
    "play-audacious": Running("audacious with its window", ["audacious", "--play"]),
    "play-mpv": Running("mpv --no-video", ["mpv", "--no-config", "--no-terminal", "--no-video", "--ao=pulse", "--loop"]),
    "play-shown": Running("Melorin, four windows shown, no effect, no lyrics", {}),
    "play-spectrum": Running("Melorin, with the spectrum", {"Visual": {"Type": 1}}),
    "play-scope": Running("Melorin, with the scope", {"Visual": {"Type": 2}}),
    "play-blurred": Running("Melorin, with the scope and its afterglow", {"Visual": {"Type": 3}}),
    "play-lyrics": Running("Melorin, with lyrics that scroll", {}, (), "song.mp3"),
    "play-karaoke": Running("Melorin, with lyrics that scroll, karaoke", {"Lyric": {"KaraokeMode": 1}}, (), "song.mp3"),
    "play-long": Running("Melorin, with a title that slides", {}, (), "long.mp3"),
    "play-waveout": Running("Melorin through waveOut, windows hidden",
                            {"Device": {"DeviceType": "{00000000-0000-0000-0000-000000000000}"}}, (SHOW_HIDE,)),
    "idle-stopped": Running("stopped, windows shown", {"Visual": {"Type": 1}}, (STOP,)),
    "idle-paused": Running("paused, windows shown, lyrics", {"Visual": {"Type": 1}}, (PAUSE,), "song.mp3"),
    "idle-long": Running("paused, a title that is too long", {"Visual": {"Type": 1}}, (PAUSE,), "long.mp3"),
    "idle-hidden": Running("stopped, windows hidden", {"Visual": {"Type": 1}}, (STOP, SHOW_HIDE)),
}
STARTED = {
    "melorin": ("Melorin under Wine", None),
    "mpg123": ("mpg123", MEASUREMENTS["play-mpg123"].how),
    "audacious": ("audacious with its window", MEASUREMENTS["play-audacious"].how),
    "headless": ("audacious --headless", MEASUREMENTS["play-headless"].how),
    "mpv": ("mpv --no-video", MEASUREMENTS["play-mpv"].how),
}


# ---- in a session that bench_player.sh has made

class Melorin:
    """One run of the player, with its event log."""
    number = 0

    def __init__(self, source, changes=None):
        # Not at the top: only a session has the tests' modules in its path.
        from player_process import Player, write_settings
        Melorin.number += 1
        data = os.path.join(os.environ["MELORIN_SESSION_DIR"], f"data{Melorin.number}")
        settings = {section: dict(keys) for section, keys in USUAL.items()}
        for section, keys in (changes or {}).items():
            settings.setdefault(section, {}).update(keys)
        write_settings(data, **settings)
        self.started_at = time.monotonic()
        self.player = Player(*([windows_path(source)] if source else []), data=data)
        self.pid = self.player.process.pid

    def __enter__(self):
        return self

    def __exit__(self, *error):
        return self.player.__exit__(*error)

    def wait(self, event, count=1):
        return self.player.wait_for(event, count)


def probe(*arguments):
    done = subprocess.run(["wine", str(BIN / "process_probe.exe"), *map(str, arguments)], stdin=subprocess.DEVNULL,
                          capture_output=True, text=True, timeout=300, check=False)
    if done.returncode:
        sys.exit(f"error: process_probe {arguments}: {done.stderr}")
    lines = [line for line in done.stdout.splitlines() if line.startswith("{")]
    return json.loads(lines[-1]) if lines else {}


class Ear:
    """Hears when something begins to sound."""
    BYTES_PER_SECOND = 44100 * 4
    QUIET = 64  # Of 32768.
    PAUSE_SECONDS = 0.7

    def __init__(self):
        self._process = subprocess.Popen(
            ["parec", "-d", os.environ["MELORIN_SINK"] + ".monitor", "--format=s16le", "--rate=44100", "--channels=2",
             "--latency-msec=5", "--raw"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self._began = threading.Event()
        self._began_at = 0.0
        self._last_loud = time.monotonic()
        threading.Thread(target=self._listen, daemon=True).start()

    def _listen(self):
        while data := os.read(self._process.stdout.fileno(), 1 << 16):
            now = time.monotonic()
            samples = memoryview(data[:len(data) & ~1]).cast("h")
            first = next((at for at, sample in enumerate(samples) if abs(sample) > self.QUIET), None)
            if first is None:
                continue
            self._last_loud = now
            if not self._began.is_set():
                self._began_at = now - (len(data) - 2 * first) / self.BYTES_PER_SECOND
                self._began.set()

    def wait_for_silence(self):
        while time.monotonic() - self._last_loud < self.PAUSE_SECONDS:
            time.sleep(0.05)
        self._began.clear()

    def began(self):
        if not self._began.wait(20):
            sys.exit("error: nothing is heard")
        return self._began_at

    def close(self):
        self._process.terminate()
        self._process.wait()


def end(process):
    """As a user would: what is killed may leave the sound server in doubt."""
    process.send_signal(signal.SIGTERM)
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def measure_start(folder):
    starts = int(os.environ.get("MELORIN_BENCH_STARTS", "11"))
    source = folder / "music.mp3"
    ear = Ear()
    time.sleep(1)
    found = {key: [] for key in STARTED if key == "melorin" or shutil.which(STARTED[key][1][0])}
    for number in range(starts + 1):
        for key, runs in found.items():
            ear.wait_for_silence()
            if key == "melorin":
                # Fades begin in silence, which is not what is measured.
                with Melorin(source, {"Playback": {"SoundFadeMode": 0}}) as melorin:
                    run = {"heard": (ear.began() - melorin.started_at) * 1000}
                    delivered = melorin.wait("delivered")
                    run["window"] = melorin.wait("started")["window_ms"]
                    run["block"], run["device"] = delivered["block_ms"], delivered["device_ms"]
            else:
                begin = time.monotonic()
                process = subprocess.Popen([*STARTED[key][1], str(source)], stdin=subprocess.DEVNULL,
                                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                run = {"heard": (ear.began() - begin) * 1000}
                end(process)
            if number > 0:  # The first warms the caches.
                runs.append(run)
    commands = []
    with Melorin(source, {"Playback": {"SoundFadeMode": 0}}) as melorin:
        melorin.wait("delivered")
        for number in range(starts + 1):
            probe("press", STOP)
            melorin.wait("stopped", number + 1)
            time.sleep(0.3)
            sent = probe("press", PLAY)["sent_ms"]
            delivered = melorin.wait("delivered", number + 2)
            if number > 0:
                commands.append({"block": delivered["block_ms"] - sent, "device": delivered["device_ms"] - sent})
    ear.close()
    rows = [{"name": STARTED[key][0], "key": key,
             **{what: [run[what] for run in runs] for what in runs[0]}} for key, runs in found.items()]
    return {"starts": starts, "rows": rows,
            "play": {what: [run[what] for run in commands] for what in ("block", "device")}}


def make_second_skin(name):
    """The built-in one with another size of the player window, so that its change can be seen from outside."""
    (BIN / "Skin").mkdir(exist_ok=True)
    with zipfile.ZipFile(BIN.parent / "skin/default/default_skin.zip") as source, \
            zipfile.ZipFile(BIN / "Skin" / name, "w") as out:
        for entry in source.namelist():
            data = source.read(entry)
            if entry in ("player.png", "player@2x.png"):
                cut = 4 if "@2x" in entry else 2
                data = subprocess.run(["convert", "png:-", "-gravity", "south", "-chop", f"0x{cut}", "png:-"], input=data,
                                      capture_output=True, check=True).stdout
            out.writestr(entry, data)
    return BIN / "Skin" / name


def measure_objects(folder):
    skin = make_second_skin("bench.zip")
    try:
        rows = []
        with Melorin(folder / "many", {"Player": {"PlayMode": 3}, "Visual": {"Type": 1}}) as melorin:
            melorin.wait("delivered")
            time.sleep(3)

            def note(what, changes):
                time.sleep(2)
                rows.append({"what": what, "changes": changes, **probe("counts"), **memory_of(melorin.pid)})

            # The first changes fill what is kept between them.
            probe("press", NEXT, 20)
            note("track", 0)
            for step in range(STEPS):
                probe("press", NEXT, TRACK_CHANGES // STEPS)
                note("track", (step + 1) * TRACK_CHANGES // STEPS)
            opened = len(melorin.player.events("opened"))
            if opened < TRACK_CHANGES + 20:
                sys.exit(f"error: {opened} tracks were opened")
            probe("skins", 10)
            note("skin", 0)
            for step in range(STEPS):
                probe("skins", SKIN_CHANGES // STEPS)
                note("skin", (step + 1) * SKIN_CHANGES // STEPS)
        return {"rows": rows}
    finally:
        skin.unlink()


def memory_of(pid):
    """MB, of the whole process."""
    found = {}
    for line in pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text(encoding="ascii").splitlines():
        words = line.split()
        if len(words) == 3 and words[2] == "kB":
            found[words[0].rstrip(":")] = int(words[1]) / 1024
    return {"private": found["Private_Clean"] + found["Private_Dirty"], "resident": found["Rss"]}


def wake_ups(pid):
    """How often the threads of a process went to sleep, by name; the first thread, the UI's, by itself."""
    found = {}
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        name = (task / "comm").read_text(encoding="utf-8").strip()
        line = next(line for line in (task / "status").read_text(encoding="utf-8").splitlines()
                    if line.startswith("voluntary_ctxt_switches"))
        kind = "ui" if task.name == str(pid) else "wine" if name.startswith("wine") else "others"
        found[kind] = found.get(kind, 0) + int(line.split()[1])
    return found


def sound_seconds(pid):
    """Of the threads by which Wine mixes and delivers; on Windows they are not the program's."""
    return sum(int((task / "schedstat").read_text(encoding="ascii").split()[0])
               for task in pathlib.Path(f"/proc/{pid}/task").iterdir()
               if (task / "comm").read_text(encoding="utf-8").startswith("wine")) / 1e9


def watch(pid, seconds, wine):
    clocks = {"cpu": (cpu_seconds, pid), "display": (cpu_seconds, int(os.environ["MELORIN_DISPLAY_PID"]))}
    if wine:
        clocks["wine_sound"] = (sound_seconds, pid)
        clocks["wine_server"] = (cpu_seconds, wine_server())
    begin = time.monotonic()
    before = {name: clock(of) for name, (clock, of) in clocks.items()}
    slept = wake_ups(pid)
    time.sleep(seconds)
    values = {name: clock(of) - before[name] for name, (clock, of) in clocks.items()}
    woken = wake_ups(pid)
    passed = time.monotonic() - begin
    return {**{name: value / passed for name, value in values.items()}, **memory_of(pid),
            "wake_ups": {kind: (count - slept.get(kind, 0)) / passed for kind, count in woken.items()}}


def sounds():
    ear = Ear()
    ear.began()
    ear.close()


def measure_running(measurement, folder, seconds):
    _, how, keys, source = MEASUREMENTS[measurement]
    if isinstance(how, list):
        program = [str(BIN / word) if word.endswith(".exe") else word for word in how]
        process = subprocess.Popen([*program, *([] if how[0] == "wine" else [str(folder / source)])],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(WARM_UP_SECONDS)
        result = watch(process.pid, seconds, how[0] == "wine")
        if process.poll() is not None:
            sys.exit(f"error: {measurement} ended before its time")
        if how[0] != "wine":
            sounds()
        end(process)
        return result
    with Melorin(folder / source, how) as melorin:
        melorin.wait("delivered")
        # A lyric is searched for, the last fades end.
        time.sleep(3)
        for key in keys:
            probe("press", key)
        time.sleep(WARM_UP_SECONDS)
        result = watch(melorin.pid, seconds, True)
        if melorin.player.process.poll() is not None:
            sys.exit(f"error: {measurement} ended before its time")
        if measurement.startswith("play"):
            sounds()
        return result


def measure_one(measurement, folder, result):
    folder = pathlib.Path(folder)
    if measurement == "start":
        found = measure_start(folder)
    elif measurement == "objects":
        found = measure_objects(folder)
    else:
        found = measure_running(measurement, folder, int(os.environ.get("MELORIN_BENCH_SECONDS", "60")))
    pathlib.Path(result).write_text(json.dumps(found), encoding="utf-8")


# ---- all of them

def make_sources(folder, seconds):
    music = folder / "music.wav"
    length = str(seconds)
    subprocess.run(["sox", "-n", "-r", "44100", "-c", "2", "-b", "16", str(music), "synth", length, "pinknoise", "mix",
                    "sine", "220", "synth", length, "sine", "amod", "3", "gain", "-8"], check=True)
    for name, title in (("music", "音乐"), ("song", "歌"), ("long", "一个长得放不下的曲名，" * 8)):
        subprocess.run(["lame", "--quiet", "-b", "192", "--id3v2-only", "--id3v2-utf16", "--tt", title, "--ta", "歌手",
                        str(music), str(folder / f"{name}.mp3")], check=True)
    lines = [f"[{second // 60:02}:{second % 60:02}.00]这是第{number + 1}句歌词，不长也不短\r\n"
             for number, second in enumerate(range(0, seconds, 4))]
    (folder / "song.lrc").write_bytes("".join(lines).encode("gb18030"))
    many = folder / "many"
    many.mkdir()
    for number in range(10):
        shutil.copyfile(folder / "music.mp3", many / f"{number}.mp3")


def run(measurements, folder):
    script = str(ROOT / "scripts/bench_player.sh")
    runs = {name: subprocess.Popen([script, name, str(folder), str(folder / f"{name}.json")],
                                   stdin=subprocess.DEVNULL, env={**os.environ, "MELORIN_BENCH_BIN": str(BIN)})
            for name in measurements}
    failed = [name for name, process in runs.items() if process.wait() != 0]
    if failed:
        sys.exit(f"error: not measured: {', '.join(failed)}")
    return {name: json.loads((folder / f"{name}.json").read_text(encoding="utf-8")) for name in measurements}


def middle(values):
    if isinstance(values[0], dict):
        return {key: middle([value.get(key, 0) for value in values]) for key in values[0]}
    return median(values)


def main(repetitions, result, words):
    seconds = int(os.environ.get("MELORIN_BENCH_SECONDS", "60"))

    def wanted(name):
        return not words or any(name.startswith(word) for word in words)

    found = {"seconds": seconds, "repetitions": repetitions}
    with tempfile.TemporaryDirectory(prefix="melorin-bench-") as name:
        folder = pathlib.Path(name)
        make_sources(folder, 2 * seconds + 60)
        for alone in ("start", "objects"):
            if wanted(alone):
                found[alone] = run([alone], folder)[alone]
        running = [key for key, value in MEASUREMENTS.items()
                   if wanted(key) and (not isinstance(value.how, list) or shutil.which(value.how[0]))]
        rounds = [{name: found for first in range(0, len(running), AT_A_TIME)
                   for name, found in run(running[first:first + AT_A_TIME], folder).items()} for _ in range(repetitions)]
    found["running"] = [{"key": key, "name": MEASUREMENTS[key].name, **middle([one[key] for one in rounds]),
                         "least": min(one[key]["cpu"] for one in rounds), "most": max(one[key]["cpu"] for one in rounds)}
                        for key in running]
    pathlib.Path(result).write_text(json.dumps(found, indent=1), encoding="utf-8")


if __name__ == "__main__":
    if len(sys.argv) == 5 and sys.argv[1] == "--one":
        measure_one(*sys.argv[2:])
    elif len(sys.argv) >= 3 and not sys.argv[1].startswith("-"):
        main(int(sys.argv[1]), sys.argv[2], sys.argv[3:])
    else:
        sys.exit(__doc__)
