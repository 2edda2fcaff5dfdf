# SPDX-License-Identifier: MIT
"""The player, driven from outside: the mouse and keys of a display, /status, pixels. Started by run.sh."""
import contextlib
import json
import os
import subprocess
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

import player_process
import sound_check as sound
from player_process import WORK, windows_path, wine, write_settings
from skin_map import SkinMap
from x11 import Screen, wait_until

TITLES = {"playlist": "播放列表", "equalizer": "均衡器", "lyric": "歌词"}
# Left and top of the player window unless a test says otherwise.
HOME = (100, 60)
# Where the slider's thumb is then: (across, down) parts of the control.
FULL_VOLUME = (0.875, 0.5)
SKIN = SkinMap(os.environ["MELORIN_SKIN"])


def settings_of_tests(**changes):
    """What every test starts from: nothing fades, so that sound and pixels are there at once."""
    width, height = SKIN.image_size("player")
    sections = {
        "Player": {"Volume": 100, "PlayMode": 2, "LyricVisible": 1, "EqualizerVisible": 1, "PlayListVisible": 1,
                   "PlayerWnd": f"{HOME[0]},{HOME[1]},{HOME[0] + width},{HOME[1] + height}"},
        "General": {"Fade_Windows": 0},
        "Playback": {"SoundFadeMode": 0},
        "Visual": {"Type": 0},
        # Rows are told apart by the colours behind them.
        "PlayList": {"Color_Bkgnd": "#ffffff", "Color_Bkgnd2": "#d0d0ff"},
    }
    for section, keys in changes.items():
        sections.setdefault(section, {}).update(keys)
    return sections


class Player(player_process.Player):
    """One run of the player, with windows. Settings: Section={"Key": value}, over those of settings_of_tests."""
    screen = None

    def __init__(self, *arguments, data=None, **settings):
        if Player.screen is None:
            Player.screen = Screen()
            self.screen.paint_background()
        if data is None:
            data = os.path.join(WORK, f"ui{player_process.Player.number + 1}")
            write_settings(data, **settings_of_tests(**settings))
        super().__init__(*arguments, data=data)
        self.last_status = {}
        try:
            self.wait_for("started", timeout=40)
            wait_until(self.status, 20, "the player does not answer")
        except BaseException:
            self.process.kill()
            raise

    def __exit__(self, kind, *rest):
        if kind is not None:
            self.give_up()
        else:
            super().__exit__(kind, *rest)

    def give_up(self):
        """After a failure: what was to be seen, for whoever looks into it, and the end of the process."""
        keep = os.environ.get("MELORIN_UI_KEEP")
        if keep:
            os.makedirs(keep, exist_ok=True)
            self.screen.whole_picture().save_png(os.path.join(keep, os.path.basename(self.data) + ".png"))
        print(f"\nstatus at the failure: {self.last_status}\nwindows: {self.screen.windows()}\n"
              f"last events: {self.events()[-4:]}", file=sys.stderr)
        self.screen.let_go()
        if self.process.poll() is None:
            self.kill()

    def kill(self):
        """Ends the program's process at once, as the task manager does."""
        for process in os.listdir("/proc"):
            if not process.isdigit():
                continue
            try:
                with open(f"/proc/{process}/cmdline", "rb") as source:
                    words = source.read().split(b"\0")
                # The data folder is this run's own.
                if ("/data=" + windows_path(self.data)).encode() in words:
                    os.kill(int(process), 9)
            except (FileNotFoundError, ProcessLookupError, PermissionError):
                pass
        self.process.wait(10)

    # ---- what it says of itself

    def status(self):
        result = subprocess.run(wine("melorin.exe", "/status"), stdin=subprocess.DEVNULL, capture_output=True,
                                timeout=30)
        lines = [line for line in result.stdout.decode("utf-8", "replace").splitlines() if line.startswith("{")]
        self.last_status = json.loads(lines[-1]) if lines else {}
        return self.last_status

    def wait_status(self, timeout=15, **wanted):
        """Until each of the fields has the value, or the property if a function is given."""
        def matches():
            status = self.status()
            return status and all(want(status[field]) if callable(want) else status[field] == want
                                  for field, want in wanted.items()) and status
        return wait_until(matches, timeout, lambda: f"{sorted(wanted)} in {self.last_status}")

    # ---- windows

    def find_window(self, kind):
        """None when it is not shown."""
        found = [window for window in self.screen.windows() if self._is(window, kind)]
        return found[-1] if found else None

    def _is(self, window, kind):
        if kind in TITLES:
            return window.title == TITLES[kind]
        if window.title != "Melorin" and not window.title.endswith(" - Melorin"):
            return False
        width, height = SKIN.image_size(kind)
        return (window.width, window.height) in ((width, height), (2 * width, 2 * height))

    def window(self, kind, timeout=15):
        return wait_until(lambda: self.find_window(kind), timeout,
                          lambda: f"no window {kind}: {self.screen.windows()}")

    def wait_hidden(self, kind, timeout=15):
        wait_until(lambda: not self.find_window(kind), timeout, f"the window {kind} is still there")

    def new_window(self, known, timeout=20, title=None):
        """One that was not among `known` (a list of windows), a dialog or a menu. The window in which Wine shows the
        icons of the notification area comes when it likes."""
        handles = {window.handle.id for window in known}

        def find():
            fresh = [window for window in self.screen.windows()
                     if window.handle.id not in handles and window.title != "Wine System Tray"
                     and (title is None or title in window.title)]
            return fresh[-1] if fresh else None
        return wait_until(find, timeout, lambda: f"no new window {title or ''}: {self.screen.windows()}")

    def wait_gone(self, window, timeout=15):
        wait_until(lambda: window.handle.id not in {other.handle.id for other in self.screen.windows()}, timeout,
                   f"{window} is still there")

    @contextlib.contextmanager
    def another_program(self):
        """While the block runs, another program's window has the keyboard."""
        known = self.screen.windows()
        program = subprocess.Popen(["wine", "notepad.exe"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        try:
            window = self.new_window(known, 30)
            self.screen.click(window.x + window.width // 2, window.y + window.height // 2)
            yield
        finally:
            program.kill()
            program.wait()

    # ---- controls

    def area(self, kind, control):
        """(left, top, right, bottom) of a control on the screen."""
        window = self.window(kind)
        if isinstance(control, int):
            rect = SKIN.band(control)
        else:
            rect = SKIN.control(kind, control, (window.width, window.height))
        return tuple(offset + value for offset, value in zip((window.x, window.y) * 2, rect))

    def point(self, kind, control, across=0.5, down=0.5):
        left, top, right, bottom = self.area(kind, control)
        return round(left + (right - left) * across), round(top + (bottom - top) * down)

    def click(self, kind, control, button=1, times=1, across=0.5, down=0.5):
        self.screen.click(*self.point(kind, control, across, down), button, times)

    def drag(self, kind, control, start, end):
        """start, end: (across, down) parts of the control."""
        self.screen.drag(self.point(kind, control, *start), self.point(kind, control, *end))

    def wheel(self, kind, control, notches):
        self.screen.wheel(*self.point(kind, control), notches)

    def caption(self, kind):
        """A point of the window where there is nothing to set off, and from where it is dragged."""
        window = self.window(kind)
        return window.x + window.width // 3, window.y + (10 if kind != "mini" else 3)

    def click_at(self, kind, point, times=1):
        """A click after which the window has the keyboard: keys go to the window that has it when they are pressed,
        and a busy machine takes its time to hand it over."""
        window = self.window(kind)
        self.screen.click(*point, times=times)
        self.screen.give_keyboard(window)

    def focus(self, kind="player"):
        self.click_at(kind, self.caption(kind))

    def drag_window(self, kind, start, end):
        """By its caption or an edge. It has the keyboard before: a window that comes to the front lets go of the
        mouse."""
        self.focus(kind)
        self.screen.drag(start, end)

    def choose(self, kind, point, *keys):
        """Chooses in the menu that a right click opens, by the entries' keys."""
        self.focus(kind)
        known = self.screen.windows()
        self.screen.click(*point, button=3)
        menu = self.new_window(known)
        for key in keys[:-1]:
            known = self.screen.windows()
            self.screen.key(key)
            self.new_window(known)
        self.screen.key(keys[-1])
        self.wait_gone(menu)

    def refill(self, paths):
        """The list that is shown holds just these files then, and nothing plays."""
        self.command("/stop")
        if self.status()["entries"]:
            self.key("ctrl+a", "playlist")
            self.screen.key("Delete")
            self.wait_status(entries=0)
        self.command("/add", *map(windows_path, paths))
        self.wait_status(entries=len(paths), state="stopped")

    def key(self, chord, kind="player", times=1):
        self.focus(kind)
        self.screen.key(chord, times)

    def control_picture(self, kind, control):
        left, top, right, bottom = self.area(kind, control)
        return self.screen.picture(left, top, right - left, bottom - top)


class UiTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def tone(cls, name, frequency=440, seconds=30, level=8000):
        """A WAV file with a steady tone; made once a session."""
        path = os.path.join(WORK, name)
        if not os.path.exists(path):
            # A tenth of a second holds whole periods of every multiple of ten.
            sound.write_wav(path, sound.sine(0.1, frequency, level) * round(seconds * 10))
        return path

    @classmethod
    def tones(cls, count, seconds=30, prefix="曲"):
        return [cls.tone(f"{prefix}{i + 1}.wav", 300 + 50 * i, seconds) for i in range(count)]

    @staticmethod
    def heard(recorder, frequency):
        """How loud the frequency was at the recording's end: the median, since a busy machine leaves gaps."""
        tail = sorted(sound.levels(recorder.frames, frequency)[-16:-4])
        return tail[len(tail) // 2]

    def level(self, player, frequency):
        """How loud the frequency is from now on."""
        with sound.Recorder() as recorder:
            position = player.status()["position_ms"]
            player.wait_status(position_ms=lambda ms: ms > position + 1000)
        return self.heard(recorder, frequency)

    def check_level(self, player, frequency, wanted, delta, tries=3):
        """A machine whose cores are busy elsewhere starves the mixer; several tries tell that from a fault."""
        for _ in range(tries):
            found = self.level(player, frequency)
            if abs(found - wanted) <= delta:
                return
        self.assertAlmostEqual(found, wanted, delta=delta)


class SharedPlayer(UiTest):
    """Tests of one module and the same settings share one run of the player, since a start and an exit cost seconds.
    Each begins with what it needs and leaves all windows shown where they were; after one that fails the player is
    started anew. The module ends with close_players()."""
    SETTINGS = {}
    _shared = {}

    def setUp(self):
        key = repr(self.SETTINGS)
        if key not in self._shared:
            self._shared[key] = Player(**self.SETTINGS)
        self.player = self._shared[key]

    def tearDown(self):
        result = self._outcome.result
        if any(getattr(test, "test_case", test) is self for test, _ in result.failures + result.errors):
            del self._shared[repr(self.SETTINGS)]
            self.player.give_up()

    @classmethod
    def close_players(cls):
        while cls._shared:
            _, player = cls._shared.popitem()
            with player:
                pass
            assert player.finish(10) == 0


class OwnPlayer(UiTest):
    """Tests that start the player themselves: there is one at a time."""

    def setUp(self):
        SharedPlayer.close_players()


def key_map(*bindings):
    """The settings' keys: "COMMAND:a(MODIFIERS,KEY),g(MODIFIERS,KEY)"; the second pair works everywhere. There are no
    others then but those that refill needs."""
    bindings += ("1112:a(0,46),g(0,0)", "1120:a(2,65),g(0,0)")
    return {"KeyMap_Count": len(bindings), **{f"KeyMap_{i}": binding for i, binding in enumerate(bindings)}}


def file_name(status):
    return status["file"].rsplit("\\", 1)[-1]
