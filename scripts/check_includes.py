#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Keeps the folders' includes pointing one way, and windows.h at the edge.

A folder may include itself and what stands beside its name below. Exit 1 and one line a finding otherwise.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
MAY_INCLUDE = {
    "platform": set(),
    "doc": {"platform"},
    "tags": {"platform", "doc"},
    "sound": {"platform", "doc", "tags"},
    "playlist": {"platform", "doc", "tags", "sound"},
    "playback": {"platform", "doc", "tags", "sound"},
    "lyrics": {"platform", "doc", "tags", "sound", "playlist"},
    "skin": {"platform", "doc"},
    "visual": {"platform"},
    "ui": {"platform", "doc", "tags", "sound", "playlist", "lyrics", "skin", "visual"},
    "cli": {"platform", "doc", "tags", "sound", "playback", "playlist", "lyrics", "skin"},
    "app": {"platform", "doc", "tags", "sound", "playback", "playlist", "lyrics", "skin", "visual", "ui"},
}
# What brings two subsystems together may see both: player control plays the lists' entries.
BRIDGES = {"playback/player_control": {"playlist"}}
SYSTEM_HEADERS = re.compile(r"^(windows|mmsystem|mmreg|dsound|dshow|objbase|objidl|unknwn|msacm|dmo|shlobj|commctrl|setupapi|ks|ksmedia)\.h$")
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')


def findings():
    for folder, allowed in MAY_INCLUDE.items():
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix not in {".h", ".cpp"}:
                continue
            bridge = BRIDGES.get(str(path.relative_to(ROOT).with_suffix("")), set())
            shell = "win32" in path.parts or folder == "app"
            for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
                match = INCLUDE.match(line)
                if not match:
                    continue
                name = match.group(2)
                where = f"{path.relative_to(ROOT)}:{number}"
                top = name.split("/")[0]
                if match.group(1) == '"' and top != folder and top not in allowed | bridge:
                    yield f"{where}: {folder}/ may not include {name}"
                if SYSTEM_HEADERS.match(name) and not shell:
                    yield f"{where}: {name} belongs in a win32/ folder or in app/"


def main():
    found = list(findings())
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
