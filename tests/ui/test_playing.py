# SPDX-License-Identifier: MIT
"""The player window: buttons, sliders, play modes, and the lyrics that follow."""
from driver import FULL_VOLUME, SharedPlayer, wait_until, windows_path

SINGLE, REPEAT_ONE, IN_ORDER, REPEAT_ALL, RANDOM = range(5)


def tearDownModule():
    SharedPlayer.close_players()


class Playing(SharedPlayer):
    def play(self, path, **wanted):
        self.player.command("/volume=100", windows_path(path))
        return self.player.wait_status(state="playing", file=windows_path(path), volume=100, **wanted)

    def test_play_pause_stop(self):
        player = self.player
        self.play(self.tone("甲.wav"))
        player.wait_status(position_ms=lambda ms: ms > 200)
        pauses = player.control_picture("player", "pause")
        player.click("player", "pause")
        position = player.wait_status(state="paused")["position_ms"]
        # The button for playing has taken the place of the one for pausing.
        wait_until(lambda: player.control_picture("player", "play").differing(pauses) > 20, 10, "the button")
        self.assertLess(abs(player.status()["position_ms"] - position), 100, "it goes on while it pauses")
        player.click("player", "play")
        player.wait_status(state="playing", position_ms=lambda ms: ms > position)
        player.click("player", "stop")
        self.assertEqual(player.wait_status(state="stopped")["position_ms"], 0)
        player.click("player", "play")
        player.wait_status(state="playing", file=lambda name: name.endswith("甲.wav"))

    def test_seek_by_slider(self):
        player = self.player
        self.play(self.tone("甲.wav"), duration_ms=30000)
        player.drag("player", "progress", (0.1, 0.5), (0.6, 0.5))
        position = player.wait_status(position_ms=lambda ms: ms > 10000)["position_ms"]
        self.assertTrue(17000 < position < 22000, position)
        player.click("player", "progress", across=0.25)
        position = player.wait_status(position_ms=lambda ms: ms < 16000)["position_ms"]
        self.assertTrue(6500 < position < 12000, position)
        self.assertEqual(player.status()["state"], "playing")

    def test_volume_by_slider_wheel_and_mute(self):
        player = self.player
        self.play(self.tone("甲.wav"))
        self.check_level(player, 440, 8000, 400)
        player.drag("player", "volume", FULL_VOLUME, (0.5, 0.5))
        volume = player.wait_status(volume=lambda value: value < 80)["volume"]
        self.assertAlmostEqual(volume, 50, delta=5)
        player.wheel("player", "visual", 2)
        volume = player.wait_status(volume=lambda value: value > volume)["volume"]
        player.wheel("player", "visual", -6)
        player.wait_status(volume=lambda value: value < volume - 10)
        self.assertTrue(20 < self.level(player, 440) < 6000, "it is heard more quietly")
        player.click("player", "mute")
        player.wait_status(mute=True)
        self.check_level(player, 440, 0, 5)
        player.click("player", "mute")
        player.wait_status(mute=False)

    def test_next_in_every_mode(self):
        player = self.player
        player.refill([])
        player.command(f"/mode={SINGLE}", *map(windows_path, self.tones(4, 4, "短")))
        player.wait_status(state="playing", mode=SINGLE)
        for mode in (SINGLE, REPEAT_ONE, IN_ORDER, REPEAT_ALL, RANDOM):
            with self.subTest(mode=mode):
                player.wait_status(mode=mode)
                self.check_next(mode)
                self.check_end(mode)
            player.key("ctrl+r")
        player.wait_status(mode=SINGLE)

    def next(self):
        before = self.player.last_status["index"]
        self.player.click("player", "next")
        return self.player.wait_status(index=lambda index: index != before, state="playing")["index"]

    def check_next(self, mode):
        seen = [self.player.status()["index"]]
        seen += [self.next() for _ in range(3)]
        if mode == RANDOM:
            self.assertEqual(sorted(seen), [0, 1, 2, 3], "each once")
        else:
            self.assertEqual(seen, [(seen[0] + step) % 4 for step in range(4)], "one after the other")

    def check_end(self, mode):
        """What follows by itself after the list's last entry."""
        player = self.player
        while player.last_status["index"] != 3:
            self.next()
        ended = len(player.events("ended"))
        player.click("player", "progress", across=0.9)
        player.wait_for("ended", ended + 1)
        if mode in (SINGLE, IN_ORDER):
            player.wait_status(state="stopped")
            player.click("player", "play")
            player.wait_status(state="playing")
        else:
            follows = {REPEAT_ONE: lambda index: index == 3, REPEAT_ALL: lambda index: index == 0,
                       RANDOM: lambda index: index != 3}[mode]
            player.wait_status(state="playing", position_ms=lambda ms: ms < 3500, index=follows)


class Lyrics(SharedPlayer):
    LINES = ["窗外的雨慢慢停了", "街灯一盏一盏亮起", "我把歌唱给晚风听", "明天又是好天气"]

    def test_lyrics_follow_the_music(self):
        player = self.player
        song = self.tone("词.wav", 520, 40)
        with open(song[:-4] + ".lrc", "w", encoding="gbk") as out:
            out.write("".join(f"[00:{10 * i:02d}.00]{line}\r\n" for i, line in enumerate(self.LINES)))
        player.command(windows_path(song))
        player.wait_status(state="playing", lyric=self.LINES[0])
        first = wait_until(lambda: self.text(player), 10, "no text in the window")
        player.click("player", "progress", across=0.6)
        player.wait_status(lyric=self.LINES[2])
        wait_until(lambda: player.control_picture("lyric", "lyric").differing(first) > 200, 10,
                   "the window shows the line before")
        # Dragged by the height of some lines, the lyrics take the music along.
        player.command("/pause")
        player.wait_status(state="paused")
        player.drag("lyric", "lyric", (0.5, 0.7), (0.5, 0.5))
        player.wait_status(lyric=self.LINES[3], position_ms=lambda ms: ms > 25000)
        # Another song has other lyrics: none.
        player.command(windows_path(self.tone("甲.wav")))
        player.wait_status(lyric="", file=lambda name: name.endswith("甲.wav"))

    def text(self, player):
        """The lyrics as they are seen, once there are letters: their edges have many shades."""
        picture = player.control_picture("lyric", "lyric")
        return picture if len(picture.colours()) > 8 else None
