# SPDX-License-Identifier: MIT
"""What the equalizer window does is heard."""
import sound_check as sound
from driver import Player, UiTest, windows_path

# The band of 1 kHz, and one far from it.
BAND_1K = 5
TRIES = 2


class Equalizer(UiTest):
    def level(self, player):
        with sound.Recorder() as recorder:
            position = player.status()["position_ms"]
            player.wait_status(position_ms=lambda ms: ms > position + 1700)
        return self.heard(recorder, 1000)

    def test_a_band_that_is_dragged_is_heard(self):
        with Player(windows_path(self.tone("千赫.wav", 1000, 60, 3000))) as player:
            player.wait_status(state="playing", position_ms=lambda ms: ms > 300)
            before = self.level(player)
            self.assertAlmostEqual(before, 3000, delta=150)
            player.drag("equalizer", BAND_1K, (0.5, 0.5), (0.5, 0.98))
            for attempt in range(TRIES):
                lower = self.level(player)
                if 0.2 < lower / before < 0.55:
                    break
            # The lowest value takes 8.6 dB at the band's centre.
            self.assertAlmostEqual(lower / before, 0.37, delta=0.1)
            player.click("equalizer", "enabled")
            for attempt in range(TRIES):
                off = self.level(player)
                if abs(off - before) < 150:
                    break
            self.assertAlmostEqual(off, before, delta=150, msg="switched off, it does nothing")
            player.click("equalizer", "enabled")
            player.click("equalizer", "reset")
            for attempt in range(TRIES):
                reset = self.level(player)
                if abs(reset - before) < 150:
                    break
            self.assertAlmostEqual(reset, before, delta=150, msg="reset, it does nothing")
