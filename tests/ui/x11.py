# SPDX-License-Identifier: MIT
"""The display as a person has it: windows to look at, a mouse, a keyboard, and files dragged from elsewhere."""
import time
import urllib.parse

from Xlib import X, XK, Xatom, display, error
from Xlib.ext import xtest
from Xlib.protocol import event

from picture import Picture

MODIFIERS = {"ctrl": "Control_L", "alt": "Alt_L", "shift": "Shift_L"}
PUNCTUATION = {"\\": "backslash", "/": "slash", ":": "colon", ".": "period", "-": "minus", "_": "underscore",
               " ": "space", "~": "asciitilde", "\n": "Return"}
# Between two moves of a drag: the program looks where the mouse is now, not only where it was.
STEP_SECONDS = 0.02


def wait_until(condition, timeout=15, what=""):
    """The condition's first true value; it is asked again and again."""
    deadline = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"waited {timeout} s in vain: {what() if callable(what) else what}")
        time.sleep(0.05)


class Window:
    """A top-level window that is shown. Its place was read when this was made."""

    def __init__(self, screen, handle, title, x, y, width, height):
        self.screen = screen
        self.handle = handle
        self.title = title
        self.x, self.y, self.width, self.height = x, y, width, height

    def __repr__(self):
        return f"{self.title!r} {self.width}x{self.height} at {self.x},{self.y}"

    @property
    def place(self):
        return self.x, self.y, self.width, self.height

    def picture(self):
        return self.screen.picture(self.x, self.y, self.width, self.height)


class Screen:
    def __init__(self):
        self.display = display.Display()
        self.root = self.display.screen().root
        # Windows come and go between a question and its answer; what then fails shows as an answer of None.
        self.display.set_error_handler(lambda *_: None)

    def paint_background(self):
        """What is seen between windows does not depend on what was there before."""
        self.root.change_attributes(background_pixel=0x5E7387)
        self.root.clear_area(0, 0, 0, 0)
        self.display.sync()

    # ---- windows

    def _atom(self, name):
        return self.display.intern_atom(name)

    def _title(self, handle):
        for name in ("_NET_WM_NAME", "WM_NAME"):
            found = handle.get_full_property(self._atom(name), X.AnyPropertyType)
            if found and found.value:
                return found.value.decode("utf-8", "replace") if isinstance(found.value, bytes) else found.value
        return ""

    def windows(self):
        """Those that are shown, from the lowest to the topmost."""
        found = []
        for handle in self.root.query_tree().children:
            try:
                if handle.get_attributes().map_state != X.IsViewable:
                    continue
                place = handle.get_geometry()
                found.append(Window(self, handle, self._title(handle), place.x, place.y, place.width, place.height))
            except (error.XError, AttributeError):
                pass
        return [window for window in found if window.width > 1 and window.height > 1]

    def give_keyboard(self, window, timeout=10):
        """Waits until a window that was clicked has the keyboard. No window manager is there to see to it: where the
        program asked for it before the window was shown, the display has ignored that, so it is given again."""
        given_at = time.monotonic()

        def has_it():
            nonlocal given_at
            focus = self.display.get_input_focus().focus
            if getattr(focus, "id", focus) == window.handle.id:
                return True
            if time.monotonic() > given_at + 0.5:
                window.handle.set_input_focus(X.RevertToParent, X.CurrentTime)
                self.display.sync()
                given_at = time.monotonic()
            return False
        wait_until(has_it, timeout, lambda: f"{window} does not get the keyboard")

    def picture(self, x, y, width, height):
        """What is to be seen there; parts beyond the screen are left out."""
        screen = self.display.screen()
        left, top = max(x, 0), max(y, 0)
        right, bottom = min(x + width, screen.width_in_pixels), min(y + height, screen.height_in_pixels)
        image = self.root.get_image(left, top, right - left, bottom - top, X.ZPixmap, 0xFFFFFFFF)
        return Picture(right - left, bottom - top, bytes(image.data))

    def whole_picture(self):
        screen = self.display.screen()
        return self.picture(0, 0, screen.width_in_pixels, screen.height_in_pixels)

    # ---- the mouse

    def move(self, x, y):
        xtest.fake_input(self.display, X.MotionNotify, x=x, y=y)
        self.display.sync()

    def move_away(self):
        """To a corner, over nothing."""
        screen = self.display.screen()
        self.move(screen.width_in_pixels - 2, screen.height_in_pixels - 2)

    def press(self, button=1):
        xtest.fake_input(self.display, X.ButtonPress, button)
        self.display.sync()

    def release(self, button=1):
        xtest.fake_input(self.display, X.ButtonRelease, button)
        self.display.sync()

    def click(self, x, y, button=1, times=1):
        self.move(x, y)
        time.sleep(STEP_SECONDS)
        for _ in range(times):
            self.press(button)
            self.release(button)

    def wheel(self, x, y, notches):
        """Up by so many notches; down when negative."""
        self.move(x, y)
        time.sleep(STEP_SECONDS)
        for _ in range(abs(notches)):
            self.click(x, y, 4 if notches > 0 else 5)

    def drag(self, start, end, steps=12, release=True):
        self.move(*start)
        time.sleep(STEP_SECONDS)
        self.press()
        for step in range(1, steps + 1):
            self.move(*(a + (b - a) * step // steps for a, b in zip(start, end)))
            time.sleep(STEP_SECONDS)
        if release:
            time.sleep(STEP_SECONDS)
            self.release()

    def let_go(self):
        """Nothing stays pressed."""
        for button in (1, 2, 3):
            self.release(button)
        for name in MODIFIERS.values():
            self._key(name, False)
        self.display.sync()

    # ---- the keyboard

    def _key(self, name, down):
        code = self.display.keysym_to_keycode(XK.string_to_keysym(name))
        assert code, f"no key {name}"
        xtest.fake_input(self.display, X.KeyPress if down else X.KeyRelease, code)

    def key(self, chord, times=1):
        """"ctrl+alt+k", "F5", "Return"."""
        *modifiers, name = chord.split("+")
        for _ in range(times):
            for modifier in modifiers:
                self._key(MODIFIERS[modifier], True)
            self._key(name, True)
            self._key(name, False)
            for modifier in reversed(modifiers):
                self._key(MODIFIERS[modifier], False)
            self.display.sync()
            time.sleep(STEP_SECONDS)

    def type(self, text):
        """ASCII text as an American keyboard types it."""
        for character in text:
            name = PUNCTUATION.get(character, character)
            shifted = character.isupper() or character in ":_~"
            self.key(("shift+" if shifted else "") + name)

    # ---- files from elsewhere

    def drop_files(self, paths, x, y, timeout=20, held=lambda: None):
        """Drags files from another program and drops them there. held: looks at the screen before they are let go."""
        FileDrag(self, paths).drop_at(x, y, timeout, held)


class FileDrag:
    """The source's side of a drag between programs: XDND, version 5 (freedesktop.org)."""
    VERSION = 5

    def __init__(self, screen, paths):
        self.screen = screen
        self.display = screen.display
        self.uris = "".join("file://" + urllib.parse.quote(path) + "\r\n" for path in paths).encode()
        self.source = screen.root.create_window(0, 0, 1, 1, 0, X.CopyFromParent)
        self.target = None
        self.accepted = None
        self.finished = False

    def atom(self, name):
        return self.display.intern_atom(name)

    def _send(self, kind, *values):
        data = [self.source.id, *values]
        data += [0] * (5 - len(data))
        self.target.send_event(event.ClientMessage(window=self.target, client_type=self.atom(kind),
                                                   data=(32, data)))
        self.display.sync()

    def _serve(self, request):
        """Hands the names over."""
        known = request.target in (self.atom("text/uri-list"), self.atom("TARGETS"))
        place = request.property if request.property != X.NONE else request.target
        if request.target == self.atom("text/uri-list"):
            request.requestor.change_property(place, request.target, 8, self.uris)
        elif known:
            request.requestor.change_property(place, Xatom.ATOM, 32, [self.atom("text/uri-list")])
        request.requestor.send_event(event.SelectionNotify(
            time=request.time, requestor=request.requestor, selection=request.selection, target=request.target,
            property=place if known else X.NONE))
        self.display.sync()

    def _pump(self):
        while self.display.pending_events():
            happened = self.display.next_event()
            if happened.type == X.SelectionRequest:
                self._serve(happened)
            elif happened.type == X.ClientMessage:
                if happened.client_type == self.atom("XdndStatus"):
                    self.accepted = bool(happened.data[1][1] & 1)
                elif happened.client_type == self.atom("XdndFinished"):
                    self.finished = True

    def _wait(self, condition, timeout, what):
        def done():
            self._pump()
            return condition()
        wait_until(done, timeout, what)

    def _target_at(self, x, y):
        for window in reversed(self.screen.windows()):
            if window.x <= x < window.x + window.width and window.y <= y < window.y + window.height \
                    and window.handle.get_full_property(self.atom("XdndAware"), X.AnyPropertyType):
                return window.handle
        raise AssertionError(f"no window at {x},{y} takes files")

    def drop_at(self, x, y, timeout, held):
        try:
            self.screen.move(x, y)
            self.target = self._target_at(x, y)
            self.source.set_selection_owner(self.atom("XdndSelection"), X.CurrentTime)
            self._send("XdndEnter", self.VERSION << 24, self.atom("text/uri-list"))
            # The first answer may come before the program has looked at the names.
            deadline = time.monotonic() + timeout
            while not self.accepted:
                self.accepted = None
                self._send("XdndPosition", 0, x << 16 | y, X.CurrentTime, self.atom("XdndActionCopy"))
                self._wait(lambda: self.accepted is not None, timeout, "no answer to files that are dragged")
                assert time.monotonic() < deadline, f"files are not accepted at {x},{y}"
            held()
            self._send("XdndDrop", 0, X.CurrentTime)
            self._wait(lambda: self.finished, timeout, "the drop does not finish")
        finally:
            self.source.destroy()
            self.display.sync()
