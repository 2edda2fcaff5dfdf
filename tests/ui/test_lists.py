# SPDX-License-Identifier: MIT
"""The playlist window: adding, ordering, finding, taking back, and the lists' tabs."""
import os
import time

from driver import SharedPlayer, file_name, wait_until, windows_path

# The rows' colours in settings_of_tests.
ROW_COLOURS = ((255, 255, 255), (208, 208, 255))
# Of the tabs above the rows: this much higher than a row.
TABS_EXTRA = 6


def tearDownModule():
    SharedPlayer.close_players()


class ListTest(SharedPlayer):
    # (top of the first row below the control's, height of a row).
    geometry = None

    def setUp(self):
        super().setUp()
        self.files = self.tones(5)
        self.names = [os.path.basename(path) for path in self.files]
        if ListTest.geometry is None:
            self.player.refill(self.files)
            ListTest.geometry = wait_until(self.find_rows, 10, "no rows in the playlist window")

    def find_rows(self):
        """By the colours of the rows."""
        left, top, _, bottom = self.player.area("playlist", "playlist")
        # Left of the numbers no text stands.
        column = self.player.screen.picture(left + 2, top, 1, bottom - top).column(0)
        edges = [y for y in range(1, len(column))
                 if column[y] != column[y - 1] and {column[y], column[y - 1]} == set(ROW_COLOURS)]
        heights = [b - a for a, b in zip(edges, edges[1:])]
        if len(heights) < 3 or len(set(heights)) != 1 or (edges[0] - heights[0] - TABS_EXTRA) % heights[0] != 0:
            return None
        return heights[0] + TABS_EXTRA, heights[0]

    def rows(self):
        """(top of the first row on the screen, height of a row)."""
        top, height = self.geometry
        return self.player.area("playlist", "playlist")[1] + top, height

    def row(self, number, across=0.4):
        """The middle of a row on the screen."""
        left, _, right, _ = self.player.area("playlist", "playlist")
        top, height = self.rows()
        return round(left + (right - left) * across), top + height * number + height // 2

    def click_row(self, number, times=1):
        self.player.click_at("playlist", self.row(number), times)

    def order(self):
        """The files in the order of the list, by playing each of them: what is heard is what counts."""
        player = self.player
        self.click_row(0, times=2)
        order = [file_name(player.wait_status(state="playing", index=0))]
        for index in range(1, player.last_status["entries"]):
            player.command("/next")
            order.append(file_name(player.wait_status(state="playing", index=index)))
        player.command("/stop")
        player.wait_status(state="stopped")
        return order


class Adding(ListTest):
    def test_files_dropped_from_elsewhere(self):
        player = self.player
        player.refill([])
        player.screen.drop_files(self.files[:2], *player.point("playlist", "playlist"))
        player.wait_status(entries=2, state="stopped")
        # On the player window they are played.
        player.screen.drop_files(self.files[2:3], *player.point("player", "visual"))
        status = player.wait_status(state="playing", entries=3)
        self.assertEqual((file_name(status), status["index"]), (self.names[2], 2))
        # Between rows they stand there.
        top, height = self.rows()
        x, y = self.row(1)[0], top + height
        before = player.screen.picture(x, y - 2, 1, 4).column(0)

        def line_is_shown():
            wait_until(lambda: player.screen.picture(x, y - 2, 1, 4).column(0) != before, 10,
                       "it is not shown where the files would go")
        player.screen.drop_files(self.files[3:5], x, y, held=line_is_shown)
        wait_until(lambda: player.screen.picture(x, y + 2 * height - 2, 1, 4).column(0) == before, 10,
                   "the line stays")
        player.wait_status(entries=5, state="playing", index=4)
        one, two, three, four, five = self.names
        self.assertEqual(self.order(), [one, four, five, two, three])

    def test_files_held_at_the_edge_scroll(self):
        player = self.player
        player.refill(self.files)
        # Entries that are there already come again.
        player.command("/add", *map(windows_path, self.files * 5))
        player.wait_status(entries=30)
        left, _, right, bottom = player.area("playlist", "playlist")
        seen = [player.control_picture("playlist", "playlist")]

        def moves():
            time.sleep(0.3)
            seen.append(player.control_picture("playlist", "playlist"))
            return seen[-1].differing(seen[-2]) > 500

        def scrolls():
            wait_until(moves, 10, "the list stands still")
            wait_until(lambda: not moves(), 20, "the list does not come to its end")
        bar = self.rows()[1] + 4
        player.screen.drop_files([self.tone("末.wav", 810)], (left + right) // 2, bottom - bar, held=scrolls)
        player.wait_status(entries=31)
        player.key("End", "playlist")
        player.screen.key("Return")
        status = player.wait_status(state="playing", index=30)
        self.assertEqual(file_name(status), "末.wav")

    def test_file_chosen_in_the_dialog(self):
        player = self.player
        path = self.tone("chosen.wav", 610)
        for key, kind, plays in (("ctrl+o", "player", True), ("Insert", "playlist", False)):
            with self.subTest(key=key):
                player.refill([])
                known = player.screen.windows()
                player.key(key, kind)
                dialog = player.new_window(known)
                player.screen.type(windows_path(path))
                player.screen.key("Return")
                player.wait_gone(dialog)
                status = player.wait_status(entries=1, state="playing" if plays else "stopped")
                if plays:
                    self.assertEqual(file_name(status), "chosen.wav")


class Editing(ListTest):
    def test_reorder_by_drag_and_take_back(self):
        player = self.player
        player.refill(self.files)
        top, height = self.rows()
        x = self.row(0)[0]
        # Below the middle of the fourth: behind it.
        player.drag_window("playlist", (x, top + height // 2), (x, top + 4 * height - height // 4))
        one, two, three, four, five = self.names
        self.assertEqual(self.order(), [two, three, four, one, five])
        player.key("ctrl+z", "playlist")
        self.assertEqual(self.order(), self.names)

    def test_the_playing_file_is_deleted(self):
        player = self.player
        files = [self.tone(f"删{i}.wav", 300 + 50 * i, 30) for i in range(3)]
        player.refill(files)
        self.click_row(1, times=2)
        player.wait_status(state="playing", index=1)
        player.screen.key("Delete")
        player.wait_status(entries=2, index=None, state="playing")
        player.key("ctrl+z", "playlist")
        self.assertEqual(file_name(player.wait_status(entries=3, index=1)), "删1.wav")
        known = player.screen.windows()
        player.key("shift+Delete", "playlist")
        dialog = player.new_window(known)
        player.screen.key("Return")
        player.wait_gone(dialog)
        self.assertEqual(file_name(player.wait_status(entries=2, index=1, state="playing")), "删2.wav")
        self.assertFalse(os.path.exists(files[1]))

    def test_remove_and_take_back(self):
        player = self.player
        player.refill(self.files)
        self.click_row(1)
        player.screen.key("shift+Down")
        player.screen.key("Delete")
        player.wait_status(entries=3)
        self.assertEqual(self.order(), [self.names[0], *self.names[3:]])
        player.key("ctrl+z", "playlist")
        player.wait_status(entries=5)
        self.assertEqual(self.order(), self.names)
        player.key("ctrl+y", "playlist")
        player.wait_status(entries=3)

    def test_double_click_and_return_play(self):
        player = self.player
        player.refill(self.files)
        self.click_row(2, times=2)
        self.assertEqual(file_name(player.wait_status(state="playing", index=2)), self.names[2])
        player.screen.key("Down")
        player.screen.key("Return")
        player.wait_status(state="playing", index=3)

    def test_find_as_you_type(self):
        player = self.player
        player.refill([self.tone(name, 700) for name in ("alpha.wav", "beta one.wav", "gamma.wav", "beta two.wav")])
        self.click_row(0)
        player.screen.key("ctrl+f")
        player.screen.type("eta")
        player.screen.key("F3")
        player.screen.key("Return")
        status = player.wait_status(state="playing")
        self.assertEqual(file_name(status), "beta two.wav")
        # The keyboard is the list's again.
        player.screen.key("Escape")
        self.click_row(0)
        player.screen.key("Delete")
        player.wait_status(entries=3)


class Tabs(ListTest):
    def test_lists_are_made_renamed_moved_and_deleted(self):
        player = self.player
        player.refill(self.files)
        (first,) = player.status()["lists"]
        self.answer("ctrl+n", "Evening")
        player.wait_status(lists=[first, "Evening"], entries=0)
        player.command("/add", windows_path(self.files[0]))
        player.wait_status(entries=1)
        self.answer("F2", "Morning")
        player.wait_status(lists=[first, "Morning"])
        # To the left of the other one.
        tab = self.shown_tab()
        player.drag_window("playlist", tab, (player.area("playlist", "playlist")[0] + 8, tab[1]))
        player.wait_status(lists=["Morning", first], entries=1)
        player.key("ctrl+Tab", "playlist")
        player.wait_status(entries=5)
        player.key("ctrl+Tab", "playlist")
        player.wait_status(entries=1)
        # What has entries is asked for.
        known = player.screen.windows()
        player.choose("playlist", self.shown_tab(), "d")
        player.new_window(known)
        player.screen.key("Return")
        player.wait_status(lists=[first], entries=5)

    def answer(self, key, text):
        """Opens a dialog that asks for a name, and gives it."""
        player = self.player
        known = player.screen.windows()
        player.key(key, "playlist")
        dialog = player.new_window(known)
        player.screen.type(text)
        player.screen.key("Return")
        player.wait_gone(dialog)

    def shown_tab(self):
        """The middle of the tab that is shown: the only one in the list's own colour."""
        left, top, right, _ = self.player.area("playlist", "playlist")
        first, _ = self.rows()
        middle = (top + first) // 2

        def found():
            row = self.player.screen.picture(left, first - 4, right - left, 1).row(0)
            inside = [x for x, colour in enumerate(row) if colour == ROW_COLOURS[0]]
            return inside and (left + (inside[0] + inside[-1]) // 2, middle)
        return wait_until(found, 10, "no tab is shown")
