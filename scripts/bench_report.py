#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes what scripts/bench.sh measured as Markdown.

    bench_report.py RESULT_FOLDER          all but the sound: docs/benchmarks.md
    bench_report.py RESULT_FOLDER sound    equalizer, resampler, effects, playing: docs/benchmarks-sound.md
    bench_report.py RESULT_FOLDER player PAGE
                                           the page, with its section of the player and its windows anew
"""
import datetime
import json
import pathlib
import platform
import subprocess
import sys

BUILDS = {"host": "native, 64 bit", "windows": "Windows, 32 bit, under Wine"}
STANDARD = {"name", "family_index", "per_family_instance_index", "run_name", "run_type", "repetitions",
            "repetition_index", "threads", "aggregate_name", "aggregate_unit", "iterations", "real_time", "cpu_time",
            "time_unit", "bytes_per_second", "items_per_second", "label"}
SOUND_TOPICS = ("equalizer", "resampler", "chain")
UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


def first_line(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    lines = (done.stdout or done.stderr).splitlines()
    return lines[0].strip() if lines else "?"


def version_of(package):
    return first_line("dpkg-query", "-W", "-f", "${Package} ${Version}\n", package).replace("dpkg-query: ", "")


def show_time(seconds):
    for unit in ("s", "ms", "µs", "ns"):
        factor = {"s": 1, "ms": 1e3, "µs": 1e6, "ns": 1e9}[unit]
        if seconds * factor >= 1 or unit == "ns":
            return f"{seconds * factor:.3g} {unit}" if seconds * factor < 1000 else f"{seconds * factor:.0f} {unit}"
    return "0"


def show_number(value):
    for unit, size in (("G", 1e9), ("M", 1e6), ("k", 1e3)):
        if abs(value) >= size:
            return f"{value / size:.3g} {unit}"
    return f"{value:.3g}"


def cpu_name():
    for line in pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def machine(folder, names):
    memory = int(next(line for line in open("/proc/meminfo", encoding="ascii")).split()[1]) >> 10
    cores = len([l for l in open("/proc/cpuinfo", encoding="utf-8") if l.startswith("processor")])
    yield f"- date: {datetime.date.today().isoformat()}"
    yield f"- machine: {cpu_name()}, {cores} cores, {memory} MB, Linux {platform.release()}"
    yield f"- native compiler: {first_line('clang++', '--version')}, -O2"
    yield f"- Windows compiler: {first_line('i686-w64-mingw32-g++-posix', '--version')}, -O2 -msse2 -mfpmath=sse"
    yield f"- {first_line('wine', '--version')}"
    yield "- peers: " + ", ".join(version_of(name) for name in names)
    load = folder / "load"
    if load.exists():
        loads = [float(line.split()[0]) for line in load.read_text(encoding="ascii").splitlines()]
        yield f"- load, mean of a minute, the measuring itself with it: {min(loads):.1f} to {max(loads):.1f}"


def header(folder):
    yield "# Benchmarks"
    yield ""
    yield "Made by `scripts/bench.sh`, which builds both builds, runs everything on one machine in one go and writes this"
    yield "file; numbers stand as measured. Times are medians; compare within a table, not between machines."
    yield ""
    yield from machine(folder, ("libmpg123-0", "mpg123", "sox", "ffmpeg", "mpv", "libtag1v5", "libpugixml-dev",
                                "libtinyxml2-dev", "libzip4", "libpng16-16"))


def show_counter(key, value):
    if key == "frame":
        return f"{show_time(value)} a frame"
    if key == "core_percent":
        return f"{value:.3g} % of a core"
    if key == "x_realtime":
        return f"{value:.0f} × real time"
    if key == "SNR_dB":
        return f"{value:.0f} dB"
    return f"{key} {show_number(value)}"


def benchmark_rows(path):
    data = json.loads(path.read_text(encoding="utf-8"))
    runs = {}
    for run in data["benchmarks"]:
        kind = run.get("aggregate_name", "median")
        runs.setdefault(run["run_name"], {})[kind] = run
    for name, kinds in sorted(runs.items(), key=lambda item: item[1].get("median", {}).get("family_index", 0)):
        run = kinds.get("median")
        if run is None:
            continue
        scale = UNITS[run["time_unit"]]
        spread = kinds.get("cv", {}).get("real_time")
        notes = []
        if "bytes_per_second" in run:
            notes.append(show_number(run["bytes_per_second"]) + "B/s")
        if "items_per_second" in run:
            notes.append(show_number(run["items_per_second"]) + "/s")
            notes.append(show_time(1 / run["items_per_second"]) + " each")
        notes += [show_counter(key, value) for key, value in run.items()
                  if key not in STANDARD and isinstance(value, (int, float))]
        if run.get("label"):
            notes.append(run["label"])
        yield (name, show_time(run["real_time"] * scale), show_time(run["cpu_time"] * scale),
               f"{spread * 100:.0f} %" if spread is not None else "", ", ".join(notes))


def topic_tables(folder, topic):
    yield ""
    yield f"## {topic}"
    for build, title in BUILDS.items():
        path = folder / f"{build}-{topic}.json"
        if not path.exists():
            continue
        yield ""
        yield f"{title[0].upper()}{title[1:]}:"
        yield ""
        yield "| benchmark | time | CPU | spread | |"
        yield "|---|---:|---:|---:|---|"
        for row in benchmark_rows(path):
            yield "| " + " | ".join(row) + " |"


def report(folder):
    yield from header(folder)
    for topic in sorted({path.stem.split("-", 1)[1] for path in folder.glob("*-*.json")}):
        if topic not in SOUND_TOPICS:
            yield from topic_tables(folder, topic)
    processes = folder / "processes.json"
    if processes.exists():
        yield ""
        yield "## Whole programs"
        yield ""
        yield "From start to exit, reading and writing files in memory. The peers are 64-bit Linux programs; the Windows"
        yield "build's start-up under Wine is in its time."
        for group in json.loads(processes.read_text(encoding="utf-8")):
            yield ""
            yield f"{group['title']}:"
            yield ""
            yield "| program | wall | CPU | fastest | slowest |"
            yield "|---|---:|---:|---:|---:|"
            for row in group["rows"]:
                times = (show_time(row[key]) for key in ("wall_s", "cpu_s", "min_s", "max_s"))
                yield f"| {row['name']} | " + " | ".join(times) + " |"
    yield from player_section(folder)


def counter(folder, build, topic, benchmark, key):
    path = folder / f"{build}-{topic}.json"
    if not path.exists():
        return None
    for run in json.loads(path.read_text(encoding="utf-8"))["benchmarks"]:
        if run["run_name"] == benchmark and run.get("aggregate_name", "median") == "median":
            return run[key]
    return None


def aims(folder, playing):
    """(what, measured, aim, met)"""
    bands = counter(folder, "windows", "equalizer", "BM_Equalizer/vector", "frame")
    if bands is not None:
        yield "ten bands, stereo, Windows build", show_time(bands) + " a frame", "at most 15 ns", bands <= 15e-9
    chain = counter(folder, "windows", "chain", "BM_EverythingResampled/high:1", "core_percent")
    if chain is not None:
        yield "all effects on, without the decoder, Windows build", f"{chain:.2f} % of a core", "below 1 %", chain < 1
    for row in playing["rows"] if playing else ():
        if row["key"] == "melorin-on":
            for key, what in (("own", "the threads of its own"), ("player", "with Wine's sound threads")):
                yield (f"playing with everything on, {what}", f"{row[key] * 100:.2f} % of a core", "below 1 %",
                       row[key] < 0.01)


def effect_tables(groups):
    for group in groups:
        frames, seconds = group["frames"], group["seconds"]
        yield ""
        if group["kind"] == "equalizer":
            yield f"Ten bands over {seconds} s of 16-bit stereo at 44100 Hz:"
            yield ""
            yield "| program | without | with | difference a frame | least | most |"
            yield "|---|---:|---:|---:|---:|---:|"
            for row in group["rows"]:
                values = [show_time(row["plain_s"]), show_time(row["effect_s"])]
                values += [f"{row[key] / frames * 1e9:.1f} ns" for key in ("difference_s", "least_s", "most_s")]
                yield f"| {row['name']} | " + " | ".join(values) + " |"
        else:
            yield f"44100 to 48000 Hz, {seconds} s of 16-bit stereo; the noise is that of a 1 kHz tone in 32-bit files:"
            yield ""
            yield "| program | without | with | difference | × real time | signal to noise |"
            yield "|---|---:|---:|---:|---:|---:|"
            for row in group["rows"]:
                speed = f"{seconds / row['difference_s']:.0f}" if row["difference_s"] > 0 else "not measurable"
                yield (f"| {row['name']} | {show_time(row['plain_s'])} | {show_time(row['effect_s'])} | "
                       f"{show_time(row['difference_s'])} | {speed} | {row['snr_db']:.0f} dB |")


def playing_table(playing):
    def share(row, key):
        return f"{row[key] * 100:.2f} %" if key in row else ""

    yield ""
    yield "## Playing"
    yield ""
    yield f"Of one core while a 192 kbit/s MP3 file plays for {playing['seconds']} s; median of {playing['repetitions']}."
    yield "All players play at the same time, each into a PulseAudio null sink of its own. Everything on: ten bands,"
    yield "surround, the file's gain, the loudness scan, resampling to 48 kHz in high quality, noise-shaped dither. Under"
    yield "Wine the process holds threads that mix and deliver every 10 ms, which on Windows are not the player's. The"
    yield "servers are processes of their own, one each for every player. The Wave file shows what playing takes without"
    yield "decoding: waits, of which each is a round to the server under Wine. Melorin is hidden in the notification area."
    yield ""
    keys = {"process": "player", "least": "least", "most": "most", "own threads": "own", "Wine's sound": "wine_sound",
            "Wine server": "wine_server", "sound server": "sound_server"}
    yield "| player | " + " | ".join(keys) + " | plays |"
    yield "|---|" + "---:|" * len(keys) + "---|"
    for row in playing["rows"]:
        shares = (share(row, key) for key in keys.values())
        yield f"| {row['name']} | " + " | ".join(shares) + f" | {row['format']} |"
    if playing["missing"]:
        yield ""
        yield "Not on this machine: " + ", ".join(playing["missing"]) + "."


PLAYER_TITLE = "## The player and its windows"


def middle(values):
    return sorted(values)[len(values) // 2]


def player_aims(player):
    """(what, measured, aim, met)"""
    running = {row["key"]: row for row in player["running"]}
    if "start" in player:
        start = next(row for row in player["start"]["rows"] if row["key"] == "melorin")
        for what, times, aim in (("first block to the device, from the start of the process", start["block"], 250),
                                 ("first block to the device, from the key \"play\"", player["start"]["play"]["block"], 20)):
            yield what, f"{middle(times):.0f} ms", f"at most {aim} ms", middle(times) <= aim
    if "play-hidden" in running:
        row = running["play-hidden"]
        own = (row["cpu"] - row["wine_sound"]) * 60
        yield "CPU of 60 s played, windows hidden, the program's own threads", f"{own:.2f} s", "at most 0.6 s", own <= 0.6
        yield ("the same with Wine's sound threads", f"{row['cpu'] * 60:.2f} s", "at most 0.6 s", row["cpu"] * 60 <= 0.6)
        most = max([row["private"] for row in running.values() if row["own"]]
                   + [row["private"] for row in player.get("objects", {}).get("rows", ())])
        yield "private memory, the most of all cases", f"{most:.1f} MB", "below 40 MB", most < 40
    if "objects" in player:
        rows = player["objects"]["rows"]
        for what in ("track", "skin"):
            counts = [[row[key] for key in ("handles", "gdi", "user")] for row in rows if row["what"] == what]
            grown = [last - first for first, last in zip(counts[0], counts[-1])]
            changes = max(row["changes"] for row in rows if row["what"] == what)
            yield (f"handles, GDI and USER objects more after {changes} changes of the {what}",
                   ", ".join(map(str, grown)), "no growth", max(grown) <= 3)
    for key, row in running.items():
        if key.startswith("idle"):
            yield f"wake-ups of the UI thread, {row['name']}", f"{row['wake_ups']['ui']:.1f} a second", "none", \
                row["wake_ups"]["ui"] < 0.5


def player_section(folder):
    path = folder / "player.json"
    if not path.exists():
        return
    player = json.loads(path.read_text(encoding="utf-8"))
    for row in player["running"]:
        row["own"] = row["key"].startswith(("play-", "idle-")) and "wine_sound" in row and row["key"] != "play-empty"
    yield ""
    yield PLAYER_TITLE
    yield ""
    yield "Made by `scripts/bench.sh player`, which plays the same MP3 file (192 kbit/s, stereo, 44100 Hz) everywhere. Under"
    yield "Wine a process holds threads that mix and deliver the sound every 10 ms, which on Windows are not the program's,"
    yield "and memory of the platform's own; the program that only shows a window and plays silence tells how much that is."
    yield ""
    yield from machine(folder, ("mpg123", "audacious", "mpv", "pulseaudio", "xvfb"))
    yield ""
    yield "| aim | measured | wanted | |"
    yield "|---|---:|---:|---|"
    for what, measured, aim, met in player_aims(player):
        yield f"| {what} | {measured} | {aim} | {'met' if met else 'missed'} |"
    if "start" in player:
        yield from start_tables(player["start"])
    if player["running"]:
        yield from running_tables(player)
    if "objects" in player:
        yield from object_table(player["objects"])


def show_ms(times):
    return f"{middle(times):.0f} | {min(times):.0f} to {max(times):.0f}" if times else " | "


def start_tables(start):
    yield ""
    yield "### How soon it plays"
    yield ""
    yield f"Medians of {start['starts']} starts, the programs in turns, in ms; all are in the disk's cache, and Wine's services"
    yield "run, as those of Windows do. The moments from \"window\" on count from the start of the process as the system has"
    yield "it, whose clock has steps of 1 ms: the windows are painted; the device has taken the first block; it has been told"
    yield "to play. \"Heard\" is what the sound server gives out, from the moment that the program was asked for, so with its"
    yield "loader and Wine's mixing."
    yield ""
    yield "| program | heard | | window | | first block | | device plays | |"
    yield "|---|---:|---:|---:|---:|---:|---:|---:|---:|"
    for row in start["rows"]:
        yield f"| {row['name']} | " + " | ".join(show_ms(row.get(key)) for key in ("heard", "window", "block", "device")) + " |"
    play = start["play"]
    yield f"| Melorin, the key \"play\" on a stopped track | | | | | {show_ms(play['block'])} | {show_ms(play['device'])} |"


def running_tables(player):
    yield ""
    yield "### While it plays"
    yield ""
    yield f"CPU time in seconds of 60 s played, from a run of {player['seconds']} s; median of {player['repetitions']}, and the"
    yield "least and most. Six run at a time, each in a session with a display and a sound server of its own. \"Own\" is"
    yield "the process without Wine's sound threads. Memory is what no other process shares, and the working set, in MB."
    yield "Melorin has ten bands, noise-shaped dither and the visual effect at 30 frames a second."
    yield ""
    columns = ("CPU", "least", "most", "own", "Wine's sound", "Wine server", "display", "private", "working set")
    yield "| program | " + " | ".join(columns) + " |"
    yield "|---|" + "---:|" * len(columns)

    def seconds(row, key):
        return f"{row[key] * 60:.2f}" if key in row else ""

    for row in player["running"]:
        if not row["key"].startswith("play"):
            continue
        own = f"{(row['cpu'] - row['wine_sound']) * 60:.2f}" if row["own"] else ""
        cells = [seconds(row, "cpu"), seconds(row, "least"), seconds(row, "most"), own, seconds(row, "wine_sound"),
                 seconds(row, "wine_server"), seconds(row, "display"), f"{row['private']:.1f}", f"{row['resident']:.1f}"]
        yield f"| {row['name']} | " + " | ".join(cells) + " |"
    idle = [row for row in player["running"] if row["key"].startswith("idle")]
    if not idle:
        return
    yield ""
    yield "### While nothing plays"
    yield ""
    yield "CPU time in seconds a minute, and how often a second threads went to sleep: each is once that they were woken. The"
    yield "device stays open, so that the next track begins at once; Wine mixes its silence on."
    yield ""
    yield "| Melorin | CPU | own | UI thread | other own threads | Wine's sound |"
    yield "|---|---:|---:|---:|---:|---:|"
    for row in idle:
        woken = row["wake_ups"]
        yield (f"| {row['name']} | {seconds(row, 'cpu')} | {(row['cpu'] - row['wine_sound']) * 60:.2f} | {woken['ui']:.1f} | "
               f"{woken.get('others', 0):.1f} | {woken.get('wine', 0):.0f} |")


def object_table(objects):
    yield ""
    yield "### What is kept"
    yield ""
    yield "Counted from outside, with the spectrum shown; private memory in MB. Of USER objects Wine tells only how many the"
    yield "session has."
    yield ""
    yield "| after | handles | GDI | USER | private |"
    yield "|---|---:|---:|---:|---:|"
    for row in objects["rows"]:
        yield (f"| {row['changes']} changes of the {row['what']} | {row['handles']} | {row['gdi']} | {row['user']} | "
               f"{row['private']:.1f} |")


def page_with_player(folder, page):
    """The section is the last one of the page."""
    before = page.read_text(encoding="utf-8").split("\n" + PLAYER_TITLE)[0].rstrip("\n") if page.exists() else "# Benchmarks"
    yield from before.split("\n")
    yield from player_section(folder)


def sound_report(folder):
    yield "# Benchmarks of the sound"
    yield ""
    yield "Made by `scripts/bench.sh sound`, which builds both builds, runs everything on one machine in one go and"
    yield "writes this file; numbers stand as measured. Times are medians; compare within a table, not between machines."
    yield "The last column of a benchmark goes by CPU time, which other work on the machine changes less."
    yield ""
    yield from machine(folder, ("libsoxr0", "libspeexdsp1", "libsamplerate0", "libebur128-1", "sox", "ffmpeg",
                                "mpg123", "mpv", "audacious", "pulseaudio"))
    effects, playing = (json.loads(path.read_text(encoding="utf-8")) if path.exists() else None
                        for path in (folder / "effects.json", folder / "playing.json"))
    rows = list(aims(folder, playing))
    if rows:
        yield ""
        yield "## Aims"
        yield ""
        yield "| | measured | aim | |"
        yield "|---|---:|---:|---|"
        for what, measured, aim, met in rows:
            yield f"| {what} | {measured} | {aim} | {'met' if met else 'missed'} |"
    for topic in SOUND_TOPICS:
        if list(folder.glob(f"*-{topic}.json")):
            yield from topic_tables(folder, topic)
    if effects:
        yield ""
        yield "## Whole programs"
        yield ""
        yield "CPU time from start to exit, reading and writing Wave files in memory, and by how much an effect raises it:"
        yield "the median of pairs of runs. ffmpeg calculates in floats here, as the others do in floats or wider."
        yield from effect_tables(effects)
    if playing:
        yield from playing_table(playing)


if __name__ == "__main__":
    results = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else None
    match sys.argv[2:]:
        case [] if results:
            lines = report(results)
        case ["sound"]:
            lines = sound_report(results)
        case ["player", page]:
            lines = page_with_player(results, pathlib.Path(page))
        case _:
            sys.exit(__doc__)
    print("\n".join(lines))
