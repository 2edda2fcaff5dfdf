# SPDX-License-Identifier: MIT
"""The program as a whole: keys from everywhere, a second instance, what a restart and a kill leave."""
import os
import xml.etree.ElementTree

from driver import FULL_VOLUME, HOME, OwnPlayer, Player, SharedPlayer, file_name, key_map, wait_until, windows_path

PLAY_PAUSE = 1001
NEXT = 1004
CTRL_ALT = 3


def tearDownModule():
    SharedPlayer.close_players()


class Program(SharedPlayer):
    SETTINGS = {"HotKey": key_map(f"{PLAY_PAUSE}:a(0,0),g({CTRL_ALT},{ord('K')})",
                                  f"{NEXT}:a(0,0),g({CTRL_ALT},{ord('J')})")}

    def test_global_keys(self):
        player = self.player
        player.refill([])
        player.command(*map(windows_path, self.tones(2)))
        player.wait_status(state="playing", index=0)
        with player.another_program():
            player.screen.key("ctrl+alt+k")
            player.wait_status(state="paused")
            player.screen.key("ctrl+alt+j")
            player.wait_status(state="playing", index=1)

    def test_second_instance_hands_over(self):
        player = self.player
        one, two, three = self.tones(3)
        player.refill([])
        player.command(windows_path(one))
        player.wait_status(state="playing", entries=1)
        player.command("/add", windows_path(two))
        player.wait_status(entries=2, index=0)
        player.command(windows_path(three))
        player.wait_status(entries=3, index=2, state="playing", file=windows_path(three))
        player.command("/volume=35", "/seek=20000")
        player.wait_status(volume=35, position_ms=lambda ms: ms >= 20000)
        player.command("/prev")
        player.wait_status(index=1)


class Restarts(OwnPlayer):
    def test_exit_and_restore(self):
        files = [windows_path(path) for path in self.tones(3)]
        with Player("/add", *files) as player:
            player.wait_status(entries=3)
            player.drag("player", "volume", FULL_VOLUME, (0.3, 0.5))
            volume = player.wait_status(volume=lambda value: value < 60)["volume"]
            player.click("player", "equalizer")
            player.wait_hidden("equalizer")
            x, y = player.caption("player")
            player.drag_window("player", (x, y), (x + 130, y + 50))
            wait_until(lambda: player.window("player").place[:2] == (HOME[0] + 130, HOME[1] + 50), 10,
                       lambda: player.window("player"))
            player.command("/play", "/next")
            played = file_name(player.wait_status(state="playing", index=1))
            places = {kind: player.window(kind).place for kind in ("player", "playlist", "lyric")}
            player.click("player", "exit")
            self.assertEqual(player.finish(20), 0)
        with Player(data=player.data) as again:
            again.wait_status(entries=3, volume=volume, index=1)
            for kind, place in places.items():
                self.assertEqual(again.window(kind).place, place, kind)
            self.assertIsNone(again.find_window("equalizer"))
            again.click("player", "play")
            self.assertEqual(file_name(again.wait_status(state="playing")), played)
            again.command("/next", "/volume=42")
            again.wait_status(index=2, volume=42)
            again.click("player", "minimode")
            again.window("mini")
            # Settings are written some seconds after a change.
            again.wait_for("saved", len(again.events("saved")) + 1)
            again.kill()
        xml.etree.ElementTree.parse(os.path.join(player.data, "melorin.xml"))
        with Player(data=player.data) as after:
            after.wait_status(entries=3, volume=42)
            after.click("mini", "minimode")
            after.click("player", "play")
            after.wait_status(state="playing")
            after.click("playlist", "close")
            after.wait_hidden("playlist")
            after.click("player", "playlist")
            after.window("playlist")
            # A key's dialog is open: the end of the program ends that as well.
            known = after.screen.windows()
            after.key("ctrl+n", kind="playlist")
            after.new_window(known)
            after.command("/exit")
            self.assertEqual(after.finish(20), 0)
            self.assertEqual(after.events("error"), [])
