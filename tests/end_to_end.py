#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The real program under Wine, played into a null sink, recorded and compared. Started by end_to_end.sh.

The null sink passes 16-bit samples at its own rate unchanged, so where Melorin converts nothing the recording must
hold the file's samples bit for bit; a mixer that is starved of time leaves a gap, which shows as a change of offset.
"""
import json
import os
import subprocess
import sys
import time
import unittest

import sound_check as sound
from sound_check import FRAME, RATE

BIN = os.path.abspath(os.environ.get("MELORIN_BIN", "build/windows/bin"))
WORK = os.environ.get("MELORIN_SESSION_DIR", "/tmp")
# A device block: what the chain delivers at once.
BLOCK_FRAMES = 4096
FADE_IN_MS = 300
TRIES = 5


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


def play_and_record(*arguments, timeout=60):
    with sound.Recorder() as recorder:
        with Player("/autoclose", *arguments) as player:
            code = player.finish(timeout)
    return recorder.frames, player, code


class EndToEnd(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.wav = os.path.join(WORK, "noise.wav")
        cls.frames = sound.noise(4)
        sound.write_wav(cls.wav, cls.frames)
        plain = os.path.join(WORK, "music.wav")
        sound.write_wav(plain, sound.music(5))
        cls.mp3 = os.path.join(WORK, "music.mp3")
        subprocess.run(["lame", "--quiet", "-b", "192", plain, cls.mp3], check=True)
        cls.mp3_320 = os.path.join(WORK, "music320.mp3")
        subprocess.run(["lame", "--quiet", "-b", "320", plain, cls.mp3_320], check=True)

    def reference(self, path):
        """The file's 16-bit samples as the command line tool decodes them."""
        out = os.path.join(WORK, "reference.wav")
        subprocess.run(wine("melorin-cli.exe", "decode", windows_path(path), windows_path(out), "--bits", "16"),
                       check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                       timeout=60)
        return sound.read_wav(out)

    def check_agreement(self, recording, reference):
        """Bit for bit after the fade-in, whole length within a block, no gap."""
        total = len(reference) // FRAME
        first = (FADE_IN_MS + 100) * RATE // 1000
        offsets = sound.matching_segments(recording, reference, first, total)
        missing = [i for i, offset in enumerate(offsets) if offset is None]
        heard = f"{len(recording) // FRAME} frames recorded, sounding {sound.sounding(recording)}, " \
                f"peak {sound.peak(recording)} of {sound.peak(reference)}"
        self.assertEqual(missing, [], f"segments not found bit for bit; offsets {offsets}; {heard}")
        self.assertEqual(len(set(offsets)), 1, f"a gap: offsets {offsets}")
        start, end = sound.sounding(recording)
        want_start, want_end = sound.sounding(reference)
        self.assertLess(abs((end - start) - (want_end - want_start)), BLOCK_FRAMES)
        # The fade-in is the same sound made quieter, so it is never louder than the source.
        self.assertGreaterEqual(start - offsets[0], want_start - 1)
        self.assertEqual(end - offsets[0], want_end)

    def play_compared(self, path, device, reference):
        # A machine whose cores are busy elsewhere can starve the mixer; several tries tell that from a fault.
        for attempt in range(TRIES):
            recording, player, code = play_and_record(f"/device={device}", windows_path(path))
            self.assertEqual(code, 0, player.events())
            self.assertEqual(len(player.events("ended")), 1, player.events())
            try:
                self.check_agreement(recording, reference)
                return
            except AssertionError:
                if attempt == TRIES - 1:
                    raise

    def test_wav_directsound(self):
        self.play_compared(self.wav, "dsound", self.frames)

    def test_wav_waveout(self):
        self.play_compared(self.wav, "waveout", self.frames)

    def test_mp3_directsound(self):
        reference = self.reference(self.mp3)
        self.assertEqual(len(reference) // FRAME, 5 * RATE, "gapless: the encoder's delay and padding are gone")
        self.play_compared(self.mp3, "dsound", reference)

    def test_mp3_waveout(self):
        self.play_compared(self.mp3, "waveout", self.reference(self.mp3))

    def test_pause_resume_seek_stop(self):
        for device in ("dsound", "waveout"):
            with self.subTest(device=device), sound.Recorder() as recorder:
                with Player(f"/device={device}", windows_path(self.wav)) as player:
                    player.wait_for("playing")
                    time.sleep(1)
                    player.command("/pause")
                    player.wait_for("paused")
                    time.sleep(1.5)
                    player.command("/play")
                    player.wait_for("playing", 2)
                    time.sleep(0.8)
                    player.command("/seek=3000")
                    player.wait_for("seek")
                    player.wait_for("ended")
                    player.command("/play")
                    player.wait_for("playing", 3)
                    time.sleep(0.8)
                    player.command("/stop")
                    player.wait_for("stopped")
                    time.sleep(1)
            self.check_controls(recorder.frames)

    def check_controls(self, recording):
        start, end = sound.sounding(recording)
        self.assertGreater(sound.longest_silence(recording, start, end), RATE // 2, "the pause is silent")
        tenth = RATE // 10 * FRAME

        def place(second):
            part = self.frames[int(second * RATE) * FRAME:][:tenth]
            return sound.find(recording, part)

        before, after_seek = place(0.5), place(3.85)
        self.assertGreater(before, 0, "the first second is heard")
        self.assertGreater(after_seek, before, "the part behind the seek target is heard")
        last = sound.find(recording, self.frames[-2000 * FRAME:])
        self.assertGreater(last, 0, "the track's end is heard")
        # 2.9 s is jumped over: at its first pass playback had reached about 2.0 s.
        self.assertEqual(place(2.8), -1, "what the seek jumps over is not heard")
        tail = len(recording) // FRAME
        self.assertGreater(tail - end, RATE // 4, "silent after the stop")

    def test_one_track_after_another(self):
        second = os.path.join(WORK, "第二首 昞.wav")
        frames = sound.noise(1.5, seed=2)
        sound.write_wav(second, frames)
        recording, player, code = play_and_record(windows_path(self.wav), windows_path(second), timeout=40)
        self.assertEqual(code, 0, player.events())
        self.assertEqual([event["file"].rsplit("\\", 1)[1] for event in player.events("opened")],
                         ["noise.wav", "第二首 昞.wav"])
        self.assertGreater(sound.find(recording, frames[-RATE * FRAME // 2:]), 0)

    def test_second_instance_hands_over(self):
        name = os.path.join(WORK, "交给第一个.wav")
        sound.write_wav(name, sound.noise(1, seed=3))
        with Player(windows_path(self.wav)) as player:
            player.wait_for("playing")
            player.command(windows_path(name))
            event = player.wait_for("opened", 2)
            self.assertTrue(event["file"].endswith("交给第一个.wav"), event)

    def test_bad_input_is_told_and_skipped(self):
        empty = os.path.join(WORK, "empty.mp3")
        open(empty, "wb").close()
        text = os.path.join(WORK, "text.wav")
        with open(text, "w") as out:
            out.write("no sound in here " * 100)
        folder = os.path.join(WORK, "folder.mp3")
        os.makedirs(folder, exist_ok=True)
        missing = os.path.join(WORK, "missing.mp3")
        paths = [windows_path(path) for path in (empty, text, folder, missing)]
        recording, player, code = play_and_record(*paths, windows_path(self.wav))
        errors = player.events("error")
        self.assertGreaterEqual(len(errors), 3, player.events())
        for error in errors:
            self.assertTrue(error["text"], error)
        self.assertEqual(len(player.events("ended")), 1, "the good file behind the bad ones is played")
        self.assertEqual(code, 2, "a failed track shows in the exit code")

    def test_no_device(self):
        environment = dict(os.environ, PULSE_SERVER="unix:/nonexistent", HOME=WORK)
        for device in ("dsound", "waveout"):
            with self.subTest(device=device):
                with Player("/autoclose", f"/device={device}", windows_path(self.wav),
                            environment=environment) as player:
                    code = player.finish(30)
                self.assertEqual(code, 2, player.events())
                self.assertTrue(player.events("error")[0]["text"])

    def test_file_cut_while_playing(self):
        victim = os.path.join(WORK, "cut.wav")
        sound.write_wav(victim, self.frames)
        with Player("/autoclose", windows_path(victim)) as player:
            player.wait_for("playing")
            os.truncate(victim, 400000)
            os.unlink(victim)
            self.assertIn(player.finish(30), (0, 2))
            self.assertEqual(len(player.events("ended")), 1, player.events())

    def test_no_underrun_on_a_loaded_machine(self):
        reference = self.reference(self.mp3_320)
        loads = [subprocess.Popen([sys.executable, "-c", "while True: pass"]) for _ in range(os.cpu_count() or 2)]
        try:
            self.play_compared(self.mp3_320, "dsound", reference)
        finally:
            for load in loads:
                load.kill()
                load.wait()


if __name__ == "__main__":
    unittest.main()
