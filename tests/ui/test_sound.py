# SPDX-License-Identifier: MIT
"""What the equalizer window does is heard."""
from driver import SharedPlayer, windows_path

BAND_1K = 5
LEVEL = 3000


def tearDownModule():
    SharedPlayer.close_players()


class Equalizer(SharedPlayer):
    def test_a_band_that_is_dragged_is_heard(self):
        player = self.player
        player.command(windows_path(self.tone("千赫.wav", 1000, 60, LEVEL)))
        player.wait_status(state="playing", position_ms=lambda ms: ms > 300)
        self.check_level(player, 1000, LEVEL, 150)
        player.drag("equalizer", BAND_1K, (0.5, 0.5), (0.5, 0.98))
        # The lowest value takes 8.6 dB at the band's centre.
        self.check_level(player, 1000, 0.37 * LEVEL, 0.1 * LEVEL)
        player.click("equalizer", "enabled")
        self.check_level(player, 1000, LEVEL, 150)
        player.click("equalizer", "enabled")
        self.check_level(player, 1000, 0.37 * LEVEL, 0.1 * LEVEL)
        player.click("equalizer", "reset")
        self.check_level(player, 1000, LEVEL, 150)
