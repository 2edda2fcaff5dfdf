# SPDX-License-Identifier: MIT
"""The player window: buttons, sliders, play modes, and the lyrics that follow."""
import os

import sound_check as sound
from driver import Player, UiTest, key_map, windows_path, wait_until

KEY_M = 77
MODE_NEXT = 1036


class Playing(UiTest):
    def test_play_pause_stop(self):
        with Player(windows_path(self.tone("甲.wav"))) as player:
            player.wait_status(state="playing", position_ms=lambda ms: ms > 200)
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
        with Player(windows_path(self.tone("甲.wav"))) as player:
            player.wait_status(state="playing", duration_ms=30000)
            player.drag("player", "progress", (0.1, 0.5), (0.6, 0.5))
            position = player.wait_status(position_ms=lambda ms: ms > 10000)["position_ms"]
            self.assertTrue(17000 < position < 22000, position)
            player.click("player", "progress", across=0.25)
            position = player.wait_status(position_ms=lambda ms: ms < 16000)["position_ms"]
            self.assertTrue(6500 < position < 12000, position)
            self.assertEqual(player.status()["state"], "playing")

    def test_volume_by_slider_and_wheel(self):
        with Player(windows_path(self.tone("甲.wav", 440))) as player:
            player.wait_status(state="playing", volume=100)
            with sound.Recorder() as recorder:
                player.wait_status(position_ms=lambda ms: ms > 1500)
            self.assertAlmostEqual(self.heard(recorder, 440), 8000, delta=400)
            player.drag("player", "volume", (0.93, 0.5), (0.5, 0.5))
            volume = player.wait_status(volume=lambda value: value < 80)["volume"]
            self.assertAlmostEqual(volume, 50, delta=5)
            player.wheel("player", "visual", 2)
            volume = player.wait_status(volume=lambda value: value > volume)["volume"]
            player.wheel("player", "visual", -6)
            player.wait_status(volume=lambda value: value < volume - 10)
            with sound.Recorder() as recorder:
                position = player.status()["position_ms"]
                player.wait_status(position_ms=lambda ms: ms > position + 1500)
            self.assertTrue(20 < self.heard(recorder, 440) < 6000, "it is heard more quietly")
            player.click("player", "mute")
            player.wait_status(mute=lambda mute: bool(mute))
            with sound.Recorder() as recorder:
                position = player.status()["position_ms"]
                player.wait_status(position_ms=lambda ms: ms > position + 1500)
            self.assertLess(self.heard(recorder, 440), 5, "it is not heard")

    def test_next_in_every_mode(self):
        files = [windows_path(path) for path in self.tones(4, 5, "短")]
        # A key for the next mode, as somebody may have set it.
        with Player(*files, Player={"PlayMode": 0},
                    HotKey=key_map(f"{MODE_NEXT}:a(0,{KEY_M}),g(0,0)")) as player:
            player.wait_status(state="playing", index=0)
            for mode in range(5):
                with self.subTest(mode=mode):
                    player.wait_status(mode=mode)
                    self.check_next(player, mode)
                player.key("m")
            player.wait_status(mode=0)

    def check_next(self, player, mode):
        seen = [player.status()["index"]]
        for _ in range(4):
            player.click("player", "next")
            seen.append(player.wait_status(index=lambda index: index != seen[-1], state="playing")["index"])
        if mode == 4:
            self.assertEqual(sorted(seen[:4]), [0, 1, 2, 3], "each once")
        else:
            self.assertEqual(seen[1:], [(seen[0] + step) % 4 for step in range(1, 5)], "one after the other")
        # What follows at the end.
        while player.status()["index"] != 3:
            player.click("player", "next")
            before = player.last_status["index"]
            player.wait_status(index=lambda index: index != before)
        ended = len(player.events("ended"))
        player.click("player", "progress", across=0.93)
        player.wait_for("ended", ended + 1)
        if mode in (0, 2):
            player.wait_status(state="stopped")
            player.click("player", "play")
            player.wait_status(state="playing")
        else:
            wanted = {1: lambda index: index == 3, 3: lambda index: index == 0, 4: lambda index: index != 3}[mode]
            player.wait_status(state="playing", position_ms=lambda ms: ms < 4000, index=wanted)


class Lyrics(UiTest):
    LINES = ["窗外的雨慢慢停了", "街灯一盏一盏亮起", "我把歌唱给晚风听", "明天又是好天气"]

    def test_lyrics_follow_the_music(self):
        song = self.tone("词.wav", 520, 40)
        with open(song[:-4] + ".lrc", "w", encoding="gbk") as out:
            out.write("".join(f"[00:{10 * i:02d}.00]{line}\r\n" for i, line in enumerate(self.LINES)))
        with Player(windows_path(song)) as player:
            player.wait_status(state="playing", lyric=self.LINES[0])
            first = player.control_picture("lyric", "lyric")
            self.assertGreater(len(first.colours()), 4, "no text in the window")
            player.click("player", "progress", across=0.6)
            player.wait_status(lyric=self.LINES[2])
            wait_until(lambda: player.control_picture("lyric", "lyric").differing(first) > 200, 10,
                       "the window shows another line")
            player.click("player", "progress", across=0.8)
            player.wait_status(lyric=self.LINES[3])
            # Another song has other lyrics: none.
            player.command(windows_path(self.tone("甲.wav")))
            player.wait_status(lyric="", file=lambda name: name.endswith("甲.wav"))


if __name__ == "__main__":
    import unittest
    unittest.main()
