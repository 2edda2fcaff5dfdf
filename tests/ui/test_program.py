# SPDX-License-Identifier: MIT
"""The program as a whole: keys from everywhere, a second instance, what a restart and a kill leave."""
import os
import xml.etree.ElementTree

from driver import HOME, Player, UiTest, file_name, key_map, wait_until, windows_path
from test_lists import stored_lists

PLAY_PAUSE = 1001
NEXT = 1004
CTRL_ALT = 3


class Program(UiTest):
    def test_global_keys(self):
        files = [windows_path(path) for path in self.tones(2)]
        with Player(*files, HotKey=key_map(f"{PLAY_PAUSE}:a(0,0),g({CTRL_ALT},{ord('K')})",
                                           f"{NEXT}:a(0,0),g({CTRL_ALT},{ord('J')})")) as player:
            player.wait_status(state="playing")
            with player.another_program():
                player.screen.key("ctrl+alt+k")
                player.wait_status(state="paused")
                player.screen.key("ctrl+alt+j")
                player.wait_status(state="playing", index=1)

    def test_second_instance_hands_over(self):
        one, two, three = map(windows_path, self.tones(3))
        with Player(one) as player:
            player.wait_status(state="playing", entries=1)
            player.command("/add", two)
            player.wait_status(entries=2, index=0)
            player.command(three)
            status = player.wait_status(entries=3, index=2, state="playing")
            self.assertEqual(status["file"], three)
            player.command("/volume=35", "/seek=20000")
            player.wait_status(volume=35, position_ms=lambda ms: ms >= 20000)
            player.command("/prev")
            player.wait_status(index=1)

    def test_exit_and_restore(self):
        files = [windows_path(path) for path in self.tones(3)]
        with Player("/add", *files) as player:
            player.wait_status(entries=3)
            player.drag("player", "volume", (0.93, 0.5), (0.3, 0.5))
            volume = player.wait_status(volume=lambda value: value < 60)["volume"]
            player.click("player", "equalizer")
            player.wait_hidden("equalizer")
            x, y = HOME[0] + 180, HOME[1] + 12
            player.screen.drag((x, y), (x + 130, y + 50))
            wait_until(lambda: player.window("player").x == HOME[0] + 130, 10, lambda: player.window("player"))
            player.click("player", "next")
            player.click("player", "next")
            played = file_name(player.wait_status(state="playing", index=1))
            places = {kind: player.window(kind).place for kind in ("player", "playlist", "lyric")}
            player.click("player", "exit")
            self.assertEqual(player.finish(20), 0)
        with Player(data=player.data) as again:
            status = again.wait_status(entries=3, volume=volume)
            for kind, place in places.items():
                self.assertEqual(again.window(kind).place, place, kind)
            self.assertIsNone(again.find_window("equalizer"))
            again.click("player", "play")
            self.assertEqual(file_name(again.wait_status(state="playing")), played)

    def test_kill_while_playing_leaves_everything_whole(self):
        files = self.tones(4)
        with Player(*map(windows_path, files)) as player:
            player.wait_status(state="playing", entries=4)
            player.command("/volume=42")
            player.wait_status(volume=42)
            wait_until(lambda: stored_lists(player.data) == [[os.path.basename(path) for path in files]], 30,
                       lambda: f"{stored_lists(player.data)}")
            player.kill()
        xml.etree.ElementTree.parse(os.path.join(player.data, "melorin.xml"))
        with Player(data=player.data) as again:
            again.wait_status(entries=4)
            again.click("player", "play")
            again.wait_status(state="playing")
            self.assertEqual(again.events("error"), [])
