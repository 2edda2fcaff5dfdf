# SPDX-License-Identifier: MIT
"""The windows: shown and hidden, moved together, the mini player, skins and options."""
import io
import os
import subprocess
import time
import zipfile

from driver import HOME, SKIN, Player, UiTest, player_process, wait_until, windows_path


class Windows(UiTest):
    def test_windows_are_where_the_skin_wants_them(self):
        with Player() as player:
            for kind in ("playlist", "equalizer", "lyric"):
                window = player.window(kind)
                left, top, right, bottom = map(int, SKIN.window(kind).get("position").split(","))
                self.assertEqual(window.place, (HOME[0] + left, HOME[1] + top, right - left, bottom - top), kind)
            self.assertEqual(sorted(player.status()["windows"]), ["equalizer", "lyric", "player", "playlist"])

    def test_windows_are_hidden_and_shown(self):
        with Player() as player:
            for kind, key in (("playlist", "1"), ("lyric", "2"), ("equalizer", "3")):
                with self.subTest(kind=kind):
                    player.click("player", kind)
                    player.wait_hidden(kind)
                    player.wait_status(windows=lambda shown: kind not in shown)
                    player.key("ctrl+" + key)
                    player.window(kind)
                    player.click(kind, "close")
                    player.wait_hidden(kind)
                    player.click("player", kind)
                    player.window(kind)

    def test_snapped_windows_move_together(self):
        with Player() as player:
            places = {kind: player.window(kind).place for kind in ("player", "playlist", "equalizer", "lyric")}
            x, y = HOME[0] + 180, HOME[1] + 12
            player.screen.drag((x, y), (x + 160, y + 70))
            wait_until(lambda: player.window("player").x == HOME[0] + 160, 10, lambda: player.window("player"))
            for kind, (left, top, width, height) in places.items():
                wait_until(lambda: player.window(kind).place == (left + 160, top + 70, width, height), 10,
                           lambda: f"{player.window(kind)}, was at {left},{top}")
            # One that is drawn away moves alone, and comes back to the edge when it is brought near.
            lyric = player.window("lyric")
            start = lyric.x + 80, lyric.y + 14
            player.screen.drag(start, (start[0] + 90, start[1] + 60))
            wait_until(lambda: player.window("lyric").x == lyric.x + 90, 10, lambda: player.window("lyric"))
            self.assertEqual(player.window("player").x, HOME[0] + 160)
            away = player.window("lyric")
            start = away.x + 80, away.y + 14
            player.screen.drag(start, (start[0] - 90 + 4, start[1] - 60 + 3))
            wait_until(lambda: player.window("lyric").place == lyric.place, 10,
                       lambda: f"{player.window('lyric')}, not back at {lyric}")

    def test_mini_mode_and_back(self):
        with Player(windows_path(self.tone("甲.wav"))) as player:
            player.wait_status(state="playing")
            player.click("player", "minimode")
            player.window("mini")
            for kind in ("player", "playlist", "equalizer"):
                player.wait_hidden(kind)
            self.assertIn("mini", player.status()["windows"])
            player.click("mini", "pause")
            player.wait_status(state="paused")
            player.click("mini", "play")
            player.wait_status(state="playing")
            player.click("mini", "minimode")
            self.assertEqual(player.window("player").place[:2], HOME)
            for kind in ("playlist", "equalizer", "lyric"):
                player.window(kind)
            player.wait_hidden("mini")


class Skins(UiTest):
    def second_skin(self, name):
        """The built-in skin with the player window's colours turned round, laid beside the program."""
        with zipfile.ZipFile(os.environ["MELORIN_SKIN"]) as source, \
                zipfile.ZipFile(os.path.join(player_process.BIN, "Skin", name), "w") as out:
            for entry in source.namelist():
                data = source.read(entry)
                if entry in ("player.png", "player@2x.png"):
                    data = subprocess.run(["convert", "png:-", "-channel", "RGB", "-negate", "png:-"], input=data,
                                          capture_output=True, check=True).stdout
                if entry == "Skin.xml":
                    data = data.replace(b'name="Melorin"', 'name="反色"'.encode())
                out.writestr(entry, data)

    def test_skin_changes_while_playing(self):
        self.second_skin("inverted.zip")
        with Player(windows_path(self.tone("甲.wav"))) as player:
            player.wait_status(state="playing")
            x, y = 200, 90
            before = player.window("player").picture().pixel(x, y)
            raise self.skipTest("the menu is not there yet")


class Options(UiTest):
    def test_options_open_and_close(self):
        with Player() as player:
            known = player.screen.windows()
            player.key("F5")
            dialog = player.new_window(known, title="选项")
            player.screen.key("Escape")
            player.wait_gone(dialog)
