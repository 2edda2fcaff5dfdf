# SPDX-License-Identifier: MIT
"""The page and the plots of scripts/sound_quality.py, and the marks that its figures are held to."""

EQUALIZER_ERROR_DB = 0.01
LIMITER_REST_DB = -100.0
MARKS = {
    "high": dict(tone=-120.0, at_20k=0.1, alias=-100.0),
    "fast": dict(tone=-100.0, images=-80.0),
}
DITHER_NAMES = ["off", "triangular", "error feedback", "shaped", "alternative"]


class Marks:
    """Collects what was missed."""

    def __init__(self):
        self.misses = []

    def hold(self, met, text):
        if not met:
            self.misses.append(text)
        return "" if met else " **missed**"


def equalizer_section(cases, marks):
    rates = list(dict.fromkeys(case["rate"] for case in cases))
    lines = ["## Equalizer", "",
             "The answer to an impulse, against the design equations evaluated by the script in double precision.",
             f"Largest difference in dB from 20 Hz to 20 kHz; the mark is {EQUALIZER_ERROR_DB} dB.", "",
             "| setting | " + " | ".join(f"{rate / 1000:g} kHz" for rate in rates) + " |",
             "|---|" + "---|" * len(rates)]
    names = list(dict.fromkeys(case["name"] for case in cases))
    for name in names:
        row = [name]
        for rate in rates:
            error = next(c["error"] for c in cases if c["name"] == name and c["rate"] == rate)
            row.append(f"{error:.5f}" + marks.hold(error < EQUALIZER_ERROR_DB, f"equalizer {name} at {rate}"))
        lines.append("| " + " | ".join(row) + " |")
    lines += ["", "![Measured responses at 44.1 kHz](images/quality-equalizer.png)", ""]
    return lines


def resampler_section(results, marks):
    lines = ["## Resampler", "", "Tones of 0.9 of full scale. \"Rest\" is all that is not the tone.", "",
             "| | high quality | fast |", "|---|---|---|"]
    high, fast = results["high"], results["fast"]

    def row(name, values):
        lines.append("| " + name + " | " + " | ".join(values) + " |")

    row("rest at 1 kHz, the worst of 44.1→48, 48→44.1, 96→44.1, 44.1→96, 22.05→44.1",
        [f"{r['tone']:.1f} dB" + marks.hold(r["tone"] <= MARKS[n]["tone"], f"{n}: rest at 1 kHz")
         for n, r in results.items()])
    row("level at 20 kHz, 44.1→48",
        [f"{high['at_20k']:+.3f} dB" + marks.hold(abs(high["at_20k"]) <= MARKS["high"]["at_20k"], "level at 20 kHz"),
         f"{fast['at_20k']:+.3f} dB"])
    row("largest rest up to 20 kHz, 44.1→48",
        [f"{high['images']:.1f} dB",
         f"{fast['images']:.1f} dB" + marks.hold(fast["images"] <= MARKS["fast"]["images"], "fast: images")])
    beyond = {n: r["alias"].max() for n, r in results.items()}
    row(f"largest alias of tones from {high['down_hz'][0] / 1000:g} kHz on, 96→44.1",
        [f"{beyond['high']:.1f} dB" + marks.hold(beyond["high"] <= MARKS["high"]["alias"], "high: aliases"),
         f"{beyond['fast']:.1f} dB"])
    lines += ["", "![Level and rest over the sweep](images/quality-resampler.png)", ""]
    return lines


def dither_section(results, marks):
    lines = ["## Dither", "",
             "The error that reducing a 997 Hz tone of 0.1 to 16 bits makes. \"Ear\" is its density from 2 to 5 kHz,",
             "where hearing is keenest. White noise of triangular dither of 0.18 LSB lies close to plain rounding;",
             "what the shapers take from the ear's range they put above it.", "",
             "| rate | \"Dither\" | RMS | ear | likeness to the signal |", "|---|---|---|---|---|"]
    for r in results:
        lines.append(f"| {r['rate'] / 1000:g} kHz | {r['setting']} {DITHER_NAMES[r['setting']]} | {r['lsb']:.2f} LSB | "
                     f"{r['ear_db']:.1f} dB/Hz | {r['tracks']:.5f} |")
    for rate in (44100, 48000):
        plain = next(r for r in results if r["rate"] == rate and r["setting"] == 1)
        for setting in (3, 4):
            shaped = next(r for r in results if r["rate"] == rate and r["setting"] == setting)
            marks.hold(shaped["ear_db"] < plain["ear_db"] - 10, f"dither {setting} at {rate} is not shaped")
    lines += ["", "![Noise spectra](images/quality-dither.png)", ""]
    return lines


def passthrough_section(results, marks):
    lines = ["## With every effect off", "", "16-bit noise, one second; the bytes that come out against those put in.", "",
             "| rate | channels | |", "|---|---|---|"]
    for r in results:
        marks.hold(r["exact"], f"passthrough at {r['rate']} Hz, {r['channels']} channels")
        lines.append(f"| {r['rate'] / 1000:g} kHz | {r['channels']} | {'bit for bit' if r['exact'] else '**differs**'} |")
    return lines + [""]


def gain_section(results, marks):
    lines = ["## Gain", "", "Sines of 1 kHz, whose loudness the standard names, with `--gain auto`.", "",
             "| signal | wanted | measured |", "|---|---|---|"]
    for r in results:
        met = abs(r["wanted"] - r["got"]) < 0.1
        lines.append(f"| {r['name']}, {r['level']:g} dBFS | {r['wanted']:+.2f} dB | {r['got']:+.2f} dB"
                     + marks.hold(met, f"gain of {r['name']} {r['level']}") + " |")
    return lines + [""]


def limiter_section(results, marks):
    gains = list(dict.fromkeys(r["gain"] for r in results))
    lines = ["## Limiter", "",
             "Sines of 0.99 that `--gain` brings beyond full scale: what there is beside the tone once it is steady,",
             f"relative to it; the mark is {LIMITER_REST_DB:g} dB. No sample is above full scale.", "",
             "| tone | " + " | ".join(f"{gain:+d} dB" for gain in gains) + " |", "|---|" + "---|" * len(gains)]
    for hz in dict.fromkeys(r["hz"] for r in results):
        row = [f"{hz} Hz"]
        for r in (r for r in results if r["hz"] == hz):
            name = f"limiter, {hz} Hz {r['gain']:+d} dB"
            marks.hold(r["peak"] <= 1.0, name + ": beyond full scale")
            row.append(f"{r['rest']:.1f} dB" + marks.hold(r["rest"] <= LIMITER_REST_DB, name))
        lines.append("| " + " | ".join(row) + " |")
    return lines + [""]


def make_page(measured):
    """(Markdown, what missed its mark)."""
    marks = Marks()
    lines = ["# Sound quality", "",
             "Measured on the program as it is by `scripts/sound-quality.sh`, which writes this page: test signals go",
             "through `melorin-cli decode`, and what comes out is compared with theory. The command fails when a figure",
             "misses its mark.", ""]
    lines += equalizer_section(measured["equalizer"], marks)
    lines += resampler_section(measured["resampler"], marks)
    lines += dither_section(measured["dither"], marks)
    lines += passthrough_section(measured["passthrough"], marks)
    lines += gain_section(measured["gain"], marks)
    lines += limiter_section(measured["limiter"], marks)
    return "\n".join(lines).rstrip() + "\n", marks.misses


def draw(measured, folder):
    import matplotlib

    matplotlib.use("Agg")
    from matplotlib import pyplot as plt

    folder.mkdir(parents=True, exist_ok=True)

    def save(figure, name):
        figure.tight_layout()
        figure.savefig(folder / name, dpi=90)
        plt.close(figure)

    figure, axes = plt.subplots(figsize=(10, 4.5))
    for case in measured["equalizer"]:
        if case["rate"] != 44100:
            continue
        wide = not case["name"].split()[0].replace(".", "").isdigit()
        # The preamplifier does what all bands together do; dashes leave both to be seen.
        axes.semilogx(case["hz"], case["measured"], "--" if case["name"][0] == "p" else "-",
                      linewidth=1.6 if wide else 0.9,
                      label=case["name"] if wide else None, color=None if wide else "0.6")
    axes.set(xlabel="Hz", ylabel="dB", title="Equalizer: each band at ±12 (grey), all bands, preamplifier")
    axes.grid(True, which="both", alpha=0.3)
    axes.legend(fontsize=8, ncols=3)
    save(figure, "quality-equalizer.png")

    figure, (left, right) = plt.subplots(1, 2, figsize=(11, 4.2))
    for name, r in measured["resampler"].items():
        left.plot(r["hz"], r["level"], label=f"{name}: level")
        left.plot(r["hz"], r["rest"], "--", label=f"{name}: rest")
        right.plot(r["down_hz"], r["alias"], label=name)
    left.set(xlabel="Hz", ylabel="dB", title="44.1 → 48 kHz", ylim=(-180, 10))
    right.set(xlabel="Hz of the tone put in", ylabel="dB", title="96 → 44.1 kHz: what comes out below 22.05 kHz",
              ylim=(-180, 10))
    for axes in (left, right):
        axes.grid(True, alpha=0.3)
        axes.legend(fontsize=8)
    save(figure, "quality-resampler.png")

    figure, pair = plt.subplots(1, 2, figsize=(11, 4.2), sharey=True)
    for axes, rate in zip(pair, (44100, 48000)):
        for r in measured["dither"]:
            if r["rate"] == rate:
                axes.plot(r["hz"], r["density_db"], linewidth=0.9, label=f"{r['setting']} {DITHER_NAMES[r['setting']]}")
        axes.set(xlabel="Hz", title=f"{rate / 1000:g} kHz, to 16 bits", ylim=(-175, -95))
        axes.grid(True, alpha=0.3)
        axes.legend(fontsize=8)
    pair[0].set_ylabel("dB of full scale per Hz")
    save(figure, "quality-dither.png")
