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
LYRIC = [
    "雨过河岸", "演唱：竹影乐团", "", "青石板上落了一夜的雨", "清早的河岸升起薄薄的雾", "你撑着伞从桥的那头走来",
    "把昨天的话慢慢说给我听", "风吹过芦苇，也吹过渡口", "远山一点一点亮起来", "我们沿着河岸向前走", "不问路有多长，天有多远",
    "雨停了以后，云就散了", "留下一条发光的河",
]
SECONDS_A_LINE = 4
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
        # Of the others only the length is seen.
        frames = loop * (seconds // len(CHORDS)) if number == PLAYING else bytes(seconds * sound.RATE * sound.FRAME)
        sound.write_wav(wav, frames)
        path = os.path.join(folder, f"{artist} - {title}.mp3")
        subprocess.run(["lame", "--quiet", "-f", "-b", "128" if number == PLAYING else "32", "--add-id3v2",
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


def paint_desktop(screen):
    screen.root.change_attributes(background_pixel=0x5E7387)
    screen.root.clear_area(0, 0, 0, 0)
    screen.display.sync()


def main():
    pictures = Pictures(sys.argv[1])
    songs = make_songs(os.path.join(WORK, "音乐"))
    width, height = SKIN.image_size("player")
    left, top = 180, 50
    settings = {
        "Player": {"Volume": 80, "PlayMode": 3, "PlayerWnd": f"{left},{top},{left + width},{top + height}"},
        "Visual": {"Type": 1},
        "PlayList": {"Color_Bkgnd": "#ffffff", "Color_Bkgnd2": "#f2f4f7"},
        "Equalizer": {"Current": "2:5,4,2,0,-1,-1,0,2,3,4", "Custom": "2:5,4,2,0,-1,-1,0,2,3,4"},
    }
    with Player("/add", *map(windows_path, songs), **settings) as player:
        screen = player.screen
        paint_desktop(screen)
        player.wait_status(entries=len(songs))
        player.screen.move(1270, 790)
        player.command(windows_path(songs[PLAYING]))
        player.wait_status(state="playing", index=PLAYING)
        player.command(f"/seek={7 * SECONDS_A_LINE * 1000 + 1500}")
        player.wait_status(lyric=LYRIC[7])
        time.sleep(1)
        pictures.save(screen.whole_picture(), "desktop")
        for kind in ("player", "playlist", "equalizer", "lyric"):
            pictures.save(player.window(kind).picture(), "window-" + kind)

        for name, kind in (("menu", "player"), ("menu-playlist", "playlist"), ("menu-lyric", "lyric")):
            known = screen.windows()
            if kind == "player":
                window = player.window(kind)
                screen.click(window.x + 200, window.y + 14, button=3)
            else:
                player.click(kind, kind, button=3, down=0.2)
            menu = player.new_window(known)
            pictures.save(pictures.settled(menu.picture), "window-" + name)
            screen.key("Escape")
            player.wait_gone(menu)

        known = screen.windows()
        player.key("F5")
        dialog = player.new_window(known, title="选项")
        pages = []
        for _ in range(20):
            page = pictures.settled(dialog.picture)
            if pages and page == pages[-1]:
                break
            pages.append(page)
            pictures.save(page, f"window-options-{len(pages)}")
            screen.key("ctrl+Next")
        screen.key("Escape")
        player.wait_gone(dialog)

        player.click("player", "minimode")
        player.window("mini")
        screen.move(1270, 790)
        time.sleep(0.5)
        pictures.save(player.window("mini").picture(), "window-mini")


if __name__ == "__main__":
    main()
