#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs `melorin-cli info` over a corpus of real and broken sound files and compares with what other tools say.

    corpus_check.py PROGRAM CORPUS [--show]

CORPUS holds mp3/, wav/, aiff_au/, malformed/ and expected.csv, where three tools' opinions of each file stand. A
value passes when it is near to one of them. Where this player answers something else on purpose, DIFFERENT below
says what and why; an entry that is no longer needed is an error too. --show prints all differences in that form.

Exit 77 (skipped) when CORPUS is not there.
"""
import csv
import json
import os
import pathlib
import subprocess
import sys

SKIPPED = 77
BATCH = 60
KINDS = ("mp3", "wav", "aiff_au", "malformed")
SOUNDS = (".mp3", ".mp2", ".mp1", ".wav", ".aif", ".aiff", ".aifc", ".au")
# The tools differ by encoder delay and padding, up to two frames at either end.
NEAR_MS = 120
NEAR_PART = 0.02
# expected.csv cuts texts at this length.
CUT_TEXT = 120

# file: (reason, {field: what melorin-cli says}); field "opens" False: refused.
DIFFERENT = {
    "aiff_au/fuzzcorp__pcm_mulaw.au": (
        "no media graph in this build, and AIFF and AU have no reader of their own",
        {"opens": False}),
    "aiff_au/mutagen__11k-1ch-2s-silence.aif": (
        "no media graph in this build, and AIFF and AU have no reader of their own",
        {"opens": False}),
    "aiff_au/mutagen__48k-2ch-s16-silence.aif": (
        "no media graph in this build, and AIFF and AU have no reader of their own",
        {"opens": False}),
    "aiff_au/mutagen__with-id3.aif": (
        "no media graph in this build, and AIFF and AU have no reader of their own",
        {"opens": False}),
    "aiff_au/taglib__alaw.aifc": (
        "no media graph in this build, and AIFF and AU have no reader of their own",
        {"opens": False}),
    "malformed/fuzzcorp__notags-bad.mp3": (
        "a VBR header is looked for at the place that the layer gives, so that of a mono file is not seen",
        {"duration_ms": 38}),
    "mp3/deadbeef__tone1sec_id3v1.mp3": (
        "a VBR header is looked for at the place that the layer gives, so that of a mono file is not seen",
        {"duration_ms": 367}),
    "mp3/deadbeef__vbr_rhytm_30sec_lamehdr.mp3": (
        "a VBR header is looked for at the place that the layer gives, so that of a mono file is not seen",
        {"duration_ms": 9560}),
    "mp3/fuzzcorp__vbr-head.mp3": (
        "a VBR header is looked for at the place that the layer gives, so that of a mono file is not seen",
        {"duration_ms": 279}),
    "mp3/taglib__mpeg2.mp3": (
        "a VBR header is looked for at the place that the layer gives, so that of a mono file is not seen",
        {"duration_ms": 2048}),
    "mp3/tinytag__vbr44.mp3": (
        "a VBR header is looked for at the place that the layer gives, so that of a mono file is not seen",
        {"duration_ms": 2288}),
    "mp3/tinytag__vbr8.mp3": (
        "a VBR header is looked for at the place that the layer gives, so that of a mono file is not seen",
        {"duration_ms": 2376}),
    "mp3/mutagen__audacious-trailing-id32-apev2.mp3": (
        "an ID3v2 tag at the end counts; the Xing header of this file is not where it is looked for",
        {"duration_ms": 319, "Title": "safdsaf", "Artist": "dsdgsg", "Album": "safdsa", "Date": "2009", "Genre": "blub", "Tracknumber": "42", "Comment": "safdsaf"}),
    "mp3/taglib__lame_cbr.mp3": (
        "\"Info\" is no VBR header: the bytes that are there count",
        {"duration_ms": 486}),
    "mp3/taglib__toc_many_children.mp3": (
        "\"Info\" is no VBR header: the bytes that are there count",
        {"duration_ms": 78}),
    "mp3/tinytag__chinese_id3.mp3": (
        "\"Info\" is no VBR header; text marked Latin-1 is GBK",
        {"duration_ms": 30, "Title": "角落之歌", "Artist": "苏云", "Album": "角落之歌", "Genre": "休闲音乐"}),
    "mp3/fuzzcorp__test27.mp2": (
        "the audio starts after the last change of the channel mode in the first frames",
        {"duration_ms": 528}),
    "mp3/lofty-rs__full_test.mp1": (
        "the audio starts after the last change of the channel mode in the first frames",
        {"duration_ms": 384}),
    "mp3/minimp3__l2-fl10.mp2": (
        "the audio starts after the last change of the channel mode in the first frames",
        {"duration_ms": 1152}),
    "mp3/minimp3__l3-he_mode.mp3": (
        "the audio starts after the last change of the channel mode in the first frames",
        {"duration_ms": 3056, "channels": 2}),
    "mp3/minimp3__l3-he_free.mp3": (
        "free format is refused",
        {"opens": False}),
    "malformed/lofty-rs__crash-625fdf469a07ca27b291122f8f95f6fce4458ad5_minimized.mp3": (
        "no two frames in a row",
        {"opens": False}),
    "malformed/minimp3__l3-nonstandard-vbrtag-corrupted.mp3": (
        "no two frames in a row",
        {"opens": False}),
    "malformed/minimp3__l3-nonstandard-vbrtag-noframes.mp3": (
        "no two frames in a row",
        {"opens": False}),
    "malformed/mutagen__bad-xing.mp3": (
        "the Xing header has no frame count",
        {"duration_ms": 419}),
    "malformed/musicmeta__odd-list-type.wav": (
        "\"fmt \" must be the first chunk",
        {"opens": False}),
    "wav/hound__nonstandard-01.wav": (
        "\"fmt \" must be the first chunk",
        {"opens": False}),
    "wav/scipy__test-8000Hz-be-3ch-5S-24bit.wav": (
        "big-endian files are refused",
        {"opens": False}),
    "malformed/hound__crash-e5471f5b58397287b509db7d026e95f1724454f5.wav": (
        "no byte rate, so no duration: 2^32 - 1",
        {"duration_ms": 4294967295, "Date": None}),
    "wav/mediafile__mpeglayer3.wav": (
        "no byte rate, so no duration: 2^32 - 1",
        {"duration_ms": 4294967295}),
    "wav/tinytag__adpcm_no_byterate.wav": (
        "no byte rate, so no duration: 2^32 - 1",
        {"duration_ms": 4294967295}),
    "wav/tinytag__mp3_audio.wav": (
        "no byte rate, so no duration: 2^32 - 1",
        {"duration_ms": 4294967295}),
    "malformed/lofty-rs__2_IDX_63_RAND_104275228651573584855676.wav": (
        "the format is handed out as it stands; decoding decides",
        {"opens": True}),
    "malformed/lofty-rs__aa.wav": (
        "the format is handed out as it stands; decoding decides",
        {"opens": True}),
    "malformed/tinytag__zero_value_properties.wav": (
        "the format is handed out as it stands; decoding decides",
        {"opens": True}),
    "malformed/mp3agic__incompletempegframe.mp3": (
        "only \"(n)\" and \"n\" become a genre's name",
        {"Genre": "(13)Pop"}),
    "mp3/mp3agic__v1andv23tags.mp3": (
        "only \"(n)\" and \"n\" become a genre's name",
        {"Genre": "(13)Pop"}),
    "mp3/musicmeta__tcon.mp3": (
        "only \"(n)\" and \"n\" become a genre's name",
        {"Genre": "(52)(53)"}),
    "mp3/mutagen__vbri.mp3": (
        "only \"(n)\" and \"n\" become a genre's name",
        {"Genre": "(3)Dance"}),
    "malformed/tag__sample_ms932_v1.1.mp3": (
        "ID3v1 text is in code page 936; 216 of 344 bytes are audio",
        {"duration_ms": 216, "Title": "僒儞僾儖偺僞僀僩儖", "Artist": "僒儞僾儖偺傾乕僥傿僗僩", "Album": "僒儞僾儖偺傾儖僶儉"}),
    "mp3/mpg123__sweep.mp3": (
        "the line break is kept",
        {"Album": "The Greatest\nTest Suite"}),
    "mp3/mutagen__apev2-lyricsv2.mp3": (
        "Lyrics3v2 fields count, and of two the APEv2 date",
        {"Album": "A song    EP", "Date": "0"}),
    "mp3/taglib__ape.mp3": (
        "an APEv2 tag alone counts",
        {"Title": "Title"}),
    "mp3/taglib__id3v22-tda.mp3": (
        "the year frame counts, the day frame does not",
        {"Date": "2010"}),
}


def folder_arguments():
    show = "--show" in sys.argv
    arguments = [a for a in sys.argv[1:] if a != "--show"]
    if len(arguments) != 2:
        sys.exit(__doc__)
    corpus = pathlib.Path(os.environ.get("MELORIN_CORPUS") or arguments[1])
    if not (corpus / "expected.csv").exists():
        print(f"no corpus at {corpus}: skipped")
        sys.exit(SKIPPED)
    return arguments[0], corpus, show


def run_info(program, paths):
    """What is said of each file, and the error lines. A crash or a sanitizer's report ends the check."""
    facts, errors = {}, []
    for i in range(0, len(paths), BATCH):
        batch = [str(path) for path in paths[i:i + BATCH]]
        done = subprocess.run([program, "info", *batch], stdin=subprocess.DEVNULL, capture_output=True, timeout=120,
                              check=False)
        lines = done.stderr.decode("utf-8").splitlines()
        if done.returncode not in (0, 1) or any(not line.startswith("melorin-cli: ") for line in lines):
            sys.exit("error: not an orderly end, exit code %d:\n%s" % (done.returncode, "\n".join(lines[-60:])))
        for line in done.stdout.decode("utf-8").splitlines():
            fact = json.loads(line)
            facts[fact["file"]] = fact
        errors += lines
    return facts, errors


def numbers(row, *columns):
    return [int(row[column]) for column in columns if row[column].strip().isdigit()]


def near(value, opinions):
    return not opinions or any(abs(value - o) <= max(NEAR_MS, o * NEAR_PART) for o in opinions)


def plain(text):
    return " ".join(text.split()).casefold()


def same_text(ours, theirs):
    return plain(ours) == plain(theirs) or (len(theirs) == CUT_TEXT and plain(ours).startswith(plain(theirs)))


def differences(row, fact):
    """(field, ours, theirs) for every field that no tool agrees with."""
    opened_elsewhere = bool(row["codec_ffprobe"] or row["codec_mutagen"])
    if (fact is not None) != opened_elsewhere:
        yield "opens", fact is not None, opened_elsewhere
    if fact is None or not opened_elsewhere:
        return
    durations = numbers(row, "ms_ffprobe", "ms_mutagen", "ms_mediainfo")
    if not near(fact["duration_ms"], durations):
        yield "duration_ms", fact["duration_ms"], durations
    for field, columns in (("sample_rate", ("rate_ffprobe", "rate_mutagen")), ("channels", ("ch_ffprobe", "ch_mutagen"))):
        opinions = numbers(row, *columns)
        if opinions and fact[field] not in opinions:
            yield field, fact[field], opinions
    if row["kind"] != "wav":
        yield from tag_differences(row, fact)


def tag_differences(row, fact):
    names = (("Title", "title"), ("Artist", "artist"), ("Album", "album"), ("Date", "date"), ("Genre", "genre"),
             ("Tracknumber", "track"), ("Comment", "comment"))
    for name, column in names:
        ours = [tag["value"] for tag in fact["tags"] if tag["name"].casefold() == name.casefold()]
        theirs = [row[f"{column}_ffprobe"], row[f"{column}_mutagen"]]
        theirs = [value for value in theirs if value.strip()]
        if not ours and not theirs:
            continue
        if not ours or not theirs or not any(same_text(o, t) for o in ours for t in theirs):
            yield name, ours[-1] if ours else None, theirs


def main():
    program, corpus, show = folder_arguments()
    with open(corpus / "expected.csv", encoding="utf-8", newline="") as table:
        rows = [row for row in csv.DictReader(table) if row["kind"] in KINDS]
    rows = [row for row in rows if row["file"].lower().endswith(SOUNDS)]
    paths = {f"{row['kind']}/{row['file']}": corpus / row["kind"] / row["file"] for row in rows}
    facts, errors = run_info(program, list(paths.values()))
    problems = []
    used = 0
    for row in rows:
        name = f"{row['kind']}/{row['file']}"
        fact = facts.get(str(paths[name]))
        if fact is None and not any(str(paths[name]) in line for line in errors):
            problems.append(f"{name}: neither described nor refused")
        found = list(differences(row, fact))
        reason, allowed = DIFFERENT.get(name, ("", {}))
        used += name in DIFFERENT
        if show and found:
            print(f"    {name!r}: ({reason!r}, {{")
            for field, ours, theirs in found:
                print(f"        {field!r}: {ours!r},  # {theirs!r}")
            print(f"    }}),  # {row['raw_facts'][:200]}; {row['err_mutagen']}")
        for field, ours, theirs in found:
            if field not in allowed:
                problems.append(f"{name}: {field} is {ours!r}, others say {theirs!r}")
            elif allowed[field] != ours:
                problems.append(f"{name}: {field} is {ours!r}, expected is {allowed[field]!r}: {reason}")
        for field in allowed.keys() - {field for field, _, _ in found}:
            problems.append(f"{name}: {field} no longer differs; take it out of the table")
    if used != len(DIFFERENT):
        problems.append("the table names files that the corpus does not have")
    for problem in problems:
        print(problem)
    print(f"{len(rows)} files, {len(facts)} opened, {len(DIFFERENT)} with expected differences, "
          f"{len(problems)} problems")
    return 1 if problems or not rows else 0


if __name__ == "__main__":
    sys.exit(main())
