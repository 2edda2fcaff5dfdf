# SPDX-License-Identifier: MIT
"""The windows: shown and hidden, moved together, the mini player, skins and options."""
import os
import subprocess
import zipfile

from driver import HOME, SKIN, OwnPlayer, Player, SharedPlayer, player_process, wait_until, windows_path

KINDS = ("player", "playlist", "equalizer", "lyric")
PLAY_LIST_LOOK_PAGE = 6
SKINS_PAGE = 13


def setUpModule():
    """The built-in skin with the player window's colours turned round, laid beside the program before it starts."""
    with zipfile.ZipFile(os.environ["MELORIN_SKIN"]) as source, \
            zipfile.ZipFile(os.path.join(player_process.BIN, "Skin", "inverted.zip"), "w") as out:
        for entry in source.namelist():
            data = source.read(entry)
            if entry in ("player.png", "player@2x.png"):
                data = subprocess.run(["convert", "png:-", "-channel", "RGB", "-negate", "png:-"], input=data,
                                      capture_output=True, check=True).stdout
            if entry == "Skin.xml":
                data = data.replace(b'name="Melorin"', 'name="反色"'.encode())
            out.writestr(entry, data)


def tearDownModule():
    SharedPlayer.close_players()


class Windows(SharedPlayer):
    def places(self):
        return {kind: self.player.window(kind).place for kind in KINDS}

    def drag_window(self, kind, dx, dy):
        x, y = self.player.caption(kind)
        self.player.drag_window(kind, (x, y), (x + dx, y + dy))

    def wait_places(self, wanted):
        for kind, place in wanted.items():
            wait_until(lambda: self.player.window(kind).place == place, 10,
                       lambda: f"{self.player.window(kind)}, not at {place}")

    def test_windows_are_where_the_skin_wants_them(self):
        left, top = HOME
        wanted = {"player": (left, top, *SKIN.image_size("player"))}
        for kind in KINDS[1:]:
            x1, y1, x2, y2 = map(int, SKIN.window(kind).get("position").split(","))
            wanted[kind] = (left + x1, top + y1, x2 - x1, y2 - y1)
        self.wait_places(wanted)
        self.assertEqual(sorted(self.player.status()["windows"]), sorted(KINDS))

    def test_windows_are_hidden_and_shown(self):
        player = self.player
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
        before = self.places()
        self.drag_window("player", 160, 70)
        together = {kind: (x + 160, y + 70, width, height) for kind, (x, y, width, height) in before.items()}
        self.wait_places(together)
        # One that is drawn away moves alone, and comes back to the edge when it is brought near.
        self.drag_window("lyric", 90, 60)
        x, y, width, height = together["lyric"]
        self.wait_places({**together, "lyric": (x + 90, y + 60, width, height)})
        self.drag_window("lyric", -90 + 4, -60 + 3)
        self.wait_places(together)
        self.drag_window("player", -160, -70)
        self.wait_places(before)

    def test_an_edge_is_dragged(self):
        player = self.player
        x, y, width, height = player.window("lyric").place
        edge = x + width - 2, y + height // 2
        player.drag_window("lyric", edge, (edge[0] + 60, edge[1]))
        self.wait_places({"lyric": (x, y, width + 60, height)})
        edge = edge[0] + 60, edge[1]
        player.drag_window("lyric", edge, (edge[0] - 60, edge[1]))
        self.wait_places({"lyric": (x, y, width, height)})

    def test_mini_mode_and_back(self):
        player = self.player
        before = self.places()
        player.command(windows_path(self.tone("甲.wav")))
        player.wait_status(state="playing")
        player.click("player", "minimode")
        player.window("mini")
        for kind in ("player", "playlist", "equalizer"):
            player.wait_hidden(kind)
        player.wait_status(windows=lambda shown: "mini" in shown and "player" not in shown)
        player.click("mini", "pause")
        player.wait_status(state="paused")
        player.click("mini", "play")
        player.wait_status(state="playing")
        player.click("mini", "minimode")
        self.wait_places(before)
        player.wait_hidden("mini")


class Skins(SharedPlayer):
    def test_skin_changes_while_playing(self):
        player = self.player
        player.command(windows_path(self.tone("甲.wav")))
        position = player.wait_status(state="playing", skin="")["position_ms"]
        window = player.window("player")
        spot = window.x + 6, window.y + window.height - 6
        colour = self.colour(spot)
        for entry, skin, wanted in (("2", "inverted.zip", tuple(255 - value for value in colour)), ("1", "", colour)):
            player.choose("player", player.caption("player"), "k", entry)
            player.wait_status(skin=skin)
            wait_until(lambda: self.colour(spot) == wanted, 10, lambda: f"{self.colour(spot)}, not {wanted}")
            position = player.wait_status(state="playing", position_ms=lambda ms: ms > position)["position_ms"]
        self.assertEqual(player.events("paused") + player.events("stopped") + player.events("error"), [])

    def colour(self, spot):
        return self.player.screen.picture(*spot, 1, 1).pixel(0, 0)


class Options(OwnPlayer):
    def test_skin_is_chosen_by_keys(self):
        with Player(Histroy={"LastActivePage": SKINS_PAGE}) as player:
            known = player.screen.windows()
            player.key("F5")
            dialog = player.new_window(known, title="选项")
            player.screen.key("Tab")

            def chosen():
                # The list is read on a thread.
                player.screen.key("Right")
                player.screen.key("Return")
                return player.status()["skin"] == "inverted.zip"
            wait_until(chosen, 15, "Return does not choose the skin")
            player.screen.key("Escape")
            player.wait_gone(dialog)

    def test_options_take_effect_at_once_and_are_kept(self):
        with Player("/add", *map(windows_path, self.tones(4)),
                    Histroy={"LastActivePage": PLAY_LIST_LOOK_PAGE}) as player:
            player.wait_status(entries=4)
            second_colour = (208, 208, 255)

            def striped():
                return second_colour in player.control_picture("playlist", "playlist").colours()
            wait_until(striped, 10, "the rows have no colours")
            known = player.screen.windows()
            player.key("F5")
            dialog = player.new_window(known, title="选项")
            # "恢复默认值(&D)": of the colours, among others.
            player.screen.key("alt+d")
            wait_until(lambda: not striped(), 10, "the rows still have the colours")
            player.screen.key("Escape")
            player.wait_gone(dialog)
        self.assertNotEqual(player_process.read_setting(player.data, "PlayList", "Color_Bkgnd2"), "#d0d0ff")
