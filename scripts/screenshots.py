# SPDX-License-Identifier: MIT
"""The pictures of the player's windows. Started by screenshots.sh."""
import array
import math
import os
import subprocess
import sys
import time

import sound_check as sound
from driver import SKIN, WORK, Player, wait_until, windows_path

# (artist, title, seconds): songs nobody has written.
SONGS = [
    ("林间小调", "清晨的风", 222), ("竹影乐团", "雨过河岸", 268), ("南山旧事", "一盏灯的夜晚", 195),
    ("白鹭", "慢火车", 241), ("阿禾", "去海边的路", 207), ("北窗", "第一场雪", 254), ("竹影乐团", "茶与远山", 312),
    ("林间小调", "萤火虫", 188), ("晚渡", "归舟", 276), ("阿禾", "纸飞机", 199), ("南山旧事", "老街的钟", 233),
    ("白鹭", "看云", 215),
]
PLAYING = 1
LOW_RATE = 8000
LYRIC = [
    "雨过河岸", "演唱：竹影乐团", "", "青石板上落了一夜的雨", "清早的河岸升起薄薄的雾", "你撑着伞从桥的那头走来",
    "把昨天的话慢慢说给我听", "风吹过芦苇，也吹过渡口", "远山一点一点亮起来", "我们沿着河岸向前走", "不问路有多长，天有多远",
    "雨停了以后，云就散了", "留下一条发光的河",
]
SECONDS_A_LINE = 4
OPTIONS_PAGES = 16
GENERAL_PAGE = 0
DEVICE_PAGE = 2
KINDS = ("player", "playlist", "equalizer", "lyric")
MARGIN = 24
# Chords of a slow song, in Hz.
CHORDS = [(220.0, 261.6, 329.6), (174.6, 220.0, 261.6), (130.8, 196.0, 329.6), (196.0, 246.9, 293.7)]


def song_frames(seconds):
    """Plucked chords with overtones and a little breath, so that the spectrum has something to show."""
    bars = []
    noise = array.array("h", sound.noise(1, level=500))
    for chord in CHORDS:
        bar = array.array("h")
        for i in range(sound.RATE):
            decay = math.exp(-2.5 * i / sound.RATE)
            value = sum(math.sin(2 * math.pi * tone * part * i / sound.RATE) / part ** 1.1 * decay ** (part / 4)
                        for tone in chord for part in (1, 2, 3, 5, 8, 13))
            bar.append(int(3200 * value) + noise[2 * i])
            bar.append(int(3200 * value) + noise[2 * i + 1])
        bars.append(bar.tobytes())
    return b"".join(bars[i % len(bars)] for i in range(seconds))


def make_songs(folder):
    os.makedirs(folder, exist_ok=True)
    loop = song_frames(len(CHORDS))
    paths = []
    for number, (artist, title, seconds) in enumerate(SONGS):
        wav = os.path.join(WORK, "song.wav")
        if number == PLAYING:
            sound.write_wav(wav, loop * (seconds // len(CHORDS)))
        else:
            # Of the others only the length is seen.
            sound.write_wav(wav, bytes(seconds * LOW_RATE * sound.FRAME), LOW_RATE)
        path = os.path.join(folder, f"{artist} - {title}.mp3")
        subprocess.run(["lame", "--quiet", "-f", "-b", "128" if number == PLAYING else "8", "--add-id3v2",
                        "--id3v2-utf16", "--ta", artist, "--tt", title, "--tl", "河岸集", wav, path], check=True)
        paths.append(path)
    with open(paths[PLAYING][:-4] + ".lrc", "w", encoding="gbk") as out:
        out.write("[ti:雨过河岸]\r\n[ar:竹影乐团]\r\n")
        for number, line in enumerate(LYRIC):
            at = number * SECONDS_A_LINE
            out.write(f"[{at // 60:02d}:{at % 60:02d}.00]{line}\r\n")
    return paths


class Pictures:
    def __init__(self, folder):
        self.folder = folder

    def save(self, picture, name):
        path = os.path.join(self.folder, name + ".png")
        picture.save_png(path)
        print(path)

    def settled(self, take, timeout=10):
        """A picture that is the same twice, or the last one when something moves on and on."""
        deadline = time.monotonic() + timeout
        last = take()
        while time.monotonic() < deadline:
            time.sleep(0.3)
            now = take()
            if now == last:
                break
            last = now
        return last


def settings_at(left, top, scale):
    width, height = (size * scale for size in SKIN.image_size("player"))
    return {
        "Player": {"Volume": 80, "PlayMode": 3, "PlayerWnd": f"{left},{top},{left + width},{top + height}"},
        "Visual": {"Type": 1},
        "PlayList": {"Color_Bkgnd": "#ffffff", "Color_Bkgnd2": "#f2f4f7"},
        "Equalizer": {"Current": "2:5,4,2,0,-1,-1,0,2,3,4", "Custom": "2:5,4,2,0,-1,-1,0,2,3,4"},
    }


def play_with_lyrics(player, songs):
    """The song that has lyrics, at a line in their middle."""
    player.wait_status(entries=len(songs))
    player.screen.move_away()
    player.command(windows_path(songs[PLAYING]))
    player.wait_status(state="playing", index=PLAYING)
    player.command(f"/seek={7 * SECONDS_A_LINE * 1000 + 1500}")
    player.wait_status(lyric=LYRIC[7])
    # The lyrics glide to the line, and the bars of the spectrum rise.
    time.sleep(1)


def desktop(player):
    """The windows and a little of what is around them."""
    windows = [player.window(kind) for kind in KINDS]
    left, top = (min(getattr(window, side) for window in windows) - MARGIN for side in ("x", "y"))
    right = max(window.x + window.width for window in windows) + MARGIN
    bottom = max(window.y + window.height for window in windows) + MARGIN
    return player.screen.picture(left, top, right - left, bottom - top)


def take_menus(pictures, player, names):
    screen = player.screen
    points = {"menu": player.caption("player"), "menu-playlist": player.point("playlist", "playlist", 0.3, 0.3),
              "menu-lyric": player.point("lyric", "lyric", 0.5, 0.2),
              "menu-equalizer": player.point("equalizer", "profile")}
    for name in names:
        known = screen.windows()
        screen.click(*points[name], button=1 if name == "menu-equalizer" else 3)
        menu = player.new_window(known)
        pictures.save(pictures.settled(menu.picture), "window-" + name)
        screen.key("Escape")
        player.wait_gone(menu)


def inside(dialog):
    """Without the caption, which is not ours."""
    border, caption = 3, 22
    return dialog.picture().cut(border, caption, dialog.width - border, dialog.height - border)


def take_options(pictures, player, pages):
    """pages: what the pictures of the pages are called, by the pages' numbers."""
    screen = player.screen
    known = screen.windows()
    player.key("F5")
    dialog = player.new_window(known, title="选项")
    for page in range(OPTIONS_PAGES):
        if page in pages:
            pictures.save(pictures.settled(lambda: inside(dialog)), "window-options" + pages[page])
        screen.key("ctrl+Next")
    screen.key("Escape")
    player.wait_gone(dialog)


def main():
    pictures = Pictures(sys.argv[1])
    scale = int(sys.argv[2])
    everything = "all" in sys.argv[3:]
    songs = make_songs(os.path.join(WORK, "音乐"))
    with Player("/add", *map(windows_path, songs), **settings_at(320, 110, scale)) as player:
        play_with_lyrics(player, songs)
        if scale > 1:
            pictures.save(desktop(player), "desktop@2x")
            return
        pictures.save(desktop(player), "desktop")
        for kind in KINDS:
            pictures.save(player.window(kind).picture(), "window-" + kind)
        take_menus(pictures, player, ("menu", "menu-playlist", "menu-lyric", "menu-equalizer") if everything
                   else ("menu",))
        take_options(pictures, player, {page: f"-{page + 1:02d}" for page in range(OPTIONS_PAGES)} if everything
                     else {GENERAL_PAGE: "", DEVICE_PAGE: "-device"})
        player.click("player", "minimode")
        player.window("mini")
        player.screen.move_away()
        player.wait_status(lyric=LYRIC[-1])
        time.sleep(0.5)
        pictures.save(player.window("mini").picture(), "window-mini")


if __name__ == "__main__":
    main()
