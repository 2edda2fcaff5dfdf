#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes what scripts/bench.sh measured as Markdown: bench_report.py RESULT_FOLDER > docs/benchmarks.md"""
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
UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


def first_line(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    lines = (done.stdout or done.stderr).splitlines()
    return lines[0].strip() if lines else "?"


def version_of(package):
    return first_line("dpkg-query", "-W", "-f", "${Package} ${Version}\n", package)


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


def header():
    yield "# Benchmarks"
    yield ""
    yield "Made by `scripts/bench.sh`, which builds both builds, runs everything on one machine in one go and writes this"
    yield "file; numbers stand as measured. Times are medians; compare within a table, not between machines."
    yield ""
    memory = int(next(line for line in open("/proc/meminfo", encoding="ascii")).split()[1]) >> 10
    cores = len([l for l in open("/proc/cpuinfo", encoding="utf-8") if l.startswith("processor")])
    yield f"- date: {datetime.date.today().isoformat()}"
    yield f"- machine: {cpu_name()}, {cores} cores, {memory} MB, Linux {platform.release()}"
    yield f"- native compiler: {first_line('clang++', '--version')}, -O2"
    yield f"- Windows compiler: {first_line('i686-w64-mingw32-g++-posix', '--version')}, -O2 -msse2 -mfpmath=sse"
    yield f"- {first_line('wine', '--version')}"
    names = ("libmpg123-0", "mpg123", "sox", "ffmpeg", "mpv", "libtag1v5", "libpugixml-dev", "libtinyxml2-dev")
    yield "- peers: " + ", ".join(version_of(name) for name in names)


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
        notes += [f"{key} {show_number(value)}" for key, value in run.items()
                  if key not in STANDARD and isinstance(value, (int, float))]
        if run.get("label"):
            notes.append(run["label"])
        yield (name, show_time(run["real_time"] * scale), show_time(run["cpu_time"] * scale),
               f"{spread * 100:.0f} %" if spread is not None else "", ", ".join(notes))


def report(folder):
    yield from header()
    topics = sorted({path.stem.split("-", 1)[1] for path in folder.glob("*-*.json")})
    for topic in topics:
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


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    print("\n".join(report(pathlib.Path(sys.argv[1]))))
