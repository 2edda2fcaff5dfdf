# SPDX-License-Identifier: MIT
"""melorin.exe under Wine for tests from outside: how it is started, told and asked, and its settings file.

The session's place comes from the environment: MELORIN_BIN, the folder of the programs, and MELORIN_SESSION_DIR.
"""
import json
import os
import subprocess
import time
import xml.etree.ElementTree

BIN = os.path.abspath(os.environ.get("MELORIN_BIN", "build/windows/bin"))
WORK = os.environ.get("MELORIN_SESSION_DIR", "/tmp")


def wine(program, *arguments, **options):
    return ["wine", os.path.join(BIN, program), *arguments]


def windows_path(path):
    return "Z:" + os.path.abspath(path).replace("/", "\\")


class Player:
    """melorin.exe with its event log."""
    number = 0

    def __init__(self, *arguments, environment=None, data=None):
        """data: the folder of settings and lists; a fresh one, full volume and the list once by default."""
        Player.number += 1
        start = [] if data else ["/volume=100", "/mode=2"]
        self.log_path = os.path.join(WORK, f"events{Player.number}.jsonl")
        self.data = data or os.path.join(WORK, f"data{Player.number}")
        os.makedirs(self.data, exist_ok=True)
        self.process = subprocess.Popen(wine("melorin.exe", "/log=" + windows_path(self.log_path),
                                             "/data=" + windows_path(self.data), *start, *arguments),
                                        stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL, env=environment)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.command("/exit")
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                raise AssertionError("the player does not exit")

    def events(self, name=None):
        try:
            with open(self.log_path, encoding="utf-8") as log:
                found = [json.loads(line) for line in log if line.endswith("\n")]
        except FileNotFoundError:
            return []
        return [event for event in found if name is None or event["event"] == name]

    def wait_for(self, name, count=1, timeout=20):
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            found = self.events(name)
            if len(found) >= count:
                return found[count - 1]
            if self.process.poll() is not None and len(self.events(name)) < count:
                break
            time.sleep(0.05)
        raise AssertionError(f"no event {name} (number {count}); log: {self.events()}")

    def command(self, *arguments):
        """Hands arguments over as a second instance; it must leave with 1."""
        result = subprocess.run(wine("melorin.exe", *arguments), stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=30)
        assert result.returncode == 1, f"the second instance left with {result.returncode}"

    def finish(self, timeout=60):
        return self.process.wait(timeout)


def write_settings(folder, **sections):
    """A settings file that holds just these: Playback={"AutoPlay": 1} …"""
    os.makedirs(folder, exist_ok=True)
    parts = "".join(f"<{section} " + " ".join(f'{key}="{value}"' for key, value in keys.items()) + "/>"
                    for section, keys in sections.items())
    with open(os.path.join(folder, "melorin.xml"), "w", encoding="utf-8") as out:
        out.write(f'<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\r\n<melorin>{parts}</melorin>\r\n')


def read_setting(folder, section, key):
    root = xml.etree.ElementTree.parse(os.path.join(folder, "melorin.xml")).getroot()
    return root.find(section).get(key)
