#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The real program under Wine, played into a null sink, recorded and compared. Started by end_to_end.sh.

The null sink passes 16-bit samples at its own rate unchanged, so where Melorin converts nothing the recording must
hold the file's samples bit for bit; a mixer that is starved of time leaves a gap, which shows as a change of offset.
"""
import os
import signal
import subprocess
import sys
import time
import unittest
import xml.etree.ElementTree

import sound_check as sound
from player_process import WORK, Player, read_setting, windows_path, wine, write_settings
from sound_check import FRAME, RATE

# A device block: what the chain delivers at once.
BLOCK_FRAMES = 4096
FADE_IN_MS = 300
TRIES = 5


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
        frames = sound.noise(9, seed=5)
        long_wav = os.path.join(WORK, "long.wav")
        sound.write_wav(long_wav, frames)
        for device in ("dsound", "waveout"):
            with self.subTest(device=device), sound.Recorder() as recorder:
                with Player(f"/device={device}", windows_path(long_wav)) as player:
                    player.wait_for("playing")
                    time.sleep(1)
                    player.command("/pause")
                    player.wait_for("paused")
                    time.sleep(1.5)
                    player.command("/play")
                    player.wait_for("playing", 2)
                    time.sleep(0.8)
                    player.command("/seek=8000")
                    player.wait_for("seek")
                    player.wait_for("ended")
                    player.command("/play")
                    player.wait_for("playing", 3)
                    time.sleep(0.8)
                    player.command("/stop")
                    player.wait_for("stopped")
                    time.sleep(1)
            with self.subTest(device=device, events=player.events()):
                self.check_controls(recorder.frames, frames)

    def check_controls(self, recording, frames):
        start, end = sound.sounding(recording)
        self.assertGreater(sound.longest_silence(recording, start, end), RATE // 2, "the pause is silent")
        tenth = RATE // 10 * FRAME

        def place(second):
            part = frames[int(second * RATE) * FRAME:][:tenth]
            return sound.find(recording, part)

        before, after_seek = place(0.5), place(8.85)
        self.assertGreater(before, 0, "the first second is heard")
        self.assertGreater(after_seek, before, "the part behind the seek target is heard")
        last = sound.find(recording, frames[-2000 * FRAME:])
        self.assertGreater(last, 0, "the track's end is heard")
        # At its first pass playback had reached about 2 s; commands take their time on a loaded machine.
        self.assertEqual(place(7.8), -1, "what the seek jumps over is not heard")
        tail = len(recording) // FRAME
        self.assertGreater(tail - end, RATE // 4, "silent after the stop")

    def test_one_track_after_another(self):
        second = os.path.join(WORK, "第二首 昞.wav")
        frames = sound.noise(1.5, seed=2)
        sound.write_wav(second, frames)
        for _ in range(TRIES):
            recording, player, code = play_and_record(windows_path(self.wav), windows_path(second), timeout=40)
            self.assertEqual(code, 0, player.events())
            self.assertEqual([event["file"].rsplit("\\", 1)[1] for event in player.events("opened")],
                             ["noise.wav", "第二首 昞.wav"])
            if sound.find(recording, frames[-RATE * FRAME // 2:]) > 0:
                return
        self.fail("the second track's end is not heard bit for bit")

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

    def test_a_sound_server_that_stands_still(self):
        """Neither a command nor leaving waits for it."""
        server = int(os.environ["MELORIN_SOUND_PID"])
        for device in ("dsound", "waveout"):
            with self.subTest(device=device):
                player = Player(f"/device={device}", windows_path(self.wav))
                try:
                    player.wait_for("playing")
                    time.sleep(0.5)
                    os.kill(server, signal.SIGSTOP)
                    player.command("/pause")
                    player.wait_for("paused", timeout=5)
                    player.command("/exit")
                    player.finish(10)
                finally:
                    os.kill(server, signal.SIGCONT)
                    player.process.wait(40)

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


class Effects(unittest.TestCase):
    """What the settings ask of the sound, heard in the recording."""

    def test_measured_gain_and_equalizer(self):
        data = os.path.join(WORK, "effects")
        write_settings(data, Playback={"AutoGain": 1, "AutoScanGain": 1}, Player={"Volume": 100, "PlayMode": 2})
        quiet = os.path.join(WORK, "leise.wav")
        # 1 kHz at -30 dB, 12 below the common loudness.
        sound.write_wav(quiet, sound.sine(2, 1000, 1036))

        def play():
            with sound.Recorder() as recorder:
                with Player("/device=dsound", "/autoclose", windows_path(quiet), data=data) as player:
                    self.assertEqual(player.finish(), 0)
            levels = sorted(sound.levels(recorder.frames, 1000))
            return levels[int(len(levels) * 0.9)], player

        level, player = play()
        self.assertAlmostEqual(level, 1036, delta=30)
        gain = float(player.events("gain")[0]["value"].split()[0])
        self.assertAlmostEqual(gain, 12, delta=0.1)

        settings = os.path.join(data, "melorin.xml")
        tree = xml.etree.ElementTree.parse(settings)
        tree.getroot().find("Equalizer").set("Current", "0:0,0,0,0,0,-12,0,0,0,0")
        tree.write(settings, encoding="UTF-8", xml_declaration=True)
        level, player = play()
        self.assertEqual(player.events("gain"), [], "known now")
        # The band takes 8.6 dB at its centre.
        self.assertAlmostEqual(level, 1036 * 10 ** ((gain - 8.6) / 20), delta=40)


def names(events):
    return [event["file"].rsplit("\\", 1)[1] for event in events]


class Lists(unittest.TestCase):
    """Playing lists, and what is left of them after a restart."""

    @classmethod
    def setUpClass(cls):
        cls.sounds = [sound.noise(0.6, seed=10 + i) for i in range(5)]
        cls.files = [os.path.join(WORK, f"列表{i + 1}.wav") for i in range(5)]
        for path, frames in zip(cls.files, cls.sounds):
            sound.write_wav(path, frames)
        cls.paths = [windows_path(path) for path in cls.files]
        cls.names = [os.path.basename(path) for path in cls.files]
        cls.missing = windows_path(os.path.join(WORK, "没有.wav"))

    def test_play_modes(self):
        with sound.Recorder() as recorder:
            with Player(*self.paths[:3]) as player:
                player.wait_for("finished")
        self.assertEqual(names(player.events("opened")), self.names[:3], "in order, each once")
        # The end of each: a fade-in lies over the beginning.
        places = [sound.find(recorder.frames, frames[-RATE // 10 * FRAME:]) for frames in self.sounds[:3]]
        self.assertNotIn(-1, places, "each is heard")
        self.assertEqual(places, sorted(places))

        with Player("/mode=3", *self.paths[:3]) as player:
            player.wait_for("opened", 5)
            player.command("/mode=1")
            first = len(player.events("opened")) + 1
            player.wait_for("opened", first + 2)
            repeated = names(player.events("opened"))[first - 1:]
            player.command("/mode=0")
            player.wait_for("finished")
            opened = names(player.events("opened"))
        self.assertEqual(opened[:5], self.names[:3] + self.names[:2], "all over and over")
        # A track may have ended while the mode was on its way.
        self.assertEqual(len(set(repeated[1:])), 1, "one over and over")

    def test_random_mode_plays_each_once(self):
        with Player("/mode=4", *self.paths) as player:
            player.wait_for("opened", 5)
            indexes = [event["index"] for event in player.events("opened")][:5]
        self.assertEqual(indexes[0], 0, "what was asked for comes first")
        self.assertEqual(sorted(indexes), [0, 1, 2, 3, 4])

    def test_missing_file(self):
        paths = [self.paths[0], self.missing, self.paths[2]]
        with Player(*paths) as player:
            player.wait_for("finished")
        self.assertEqual(names(player.events("opened")), [self.names[0], self.names[2]])
        self.assertEqual(names(player.events("error")), ["没有.wav"])

        data = os.path.join(WORK, "stop_when_fail")
        write_settings(data, Playback={"StopWhenFail": 1}, Player={"PlayMode": 3})
        with Player(*paths, data=data) as player:
            player.wait_for("finished")
            time.sleep(0.5)
        self.assertEqual(names(player.events("opened")), [self.names[0]])
        self.assertEqual(names(player.events("error")), ["没有.wav"])

    def test_cross_fade(self):
        low, high = os.path.join(WORK, "low.wav"), os.path.join(WORK, "high.wav")
        sound.write_wav(low, sound.sine(6, 400))
        sound.write_wav(high, sound.sine(6, 1300))
        with sound.Recorder() as recorder:
            with Player("/device=dsound", windows_path(low), windows_path(high)) as player:
                player.wait_for("playing")
                time.sleep(2)
                player.command("/next")
                player.wait_for("opened", 2)
                time.sleep(2)
        self.assertEqual(names(player.events("fading")), ["low.wav", "high.wav"])
        old, new = sound.levels(recorder.frames, 400), sound.levels(recorder.frames, 1300)
        both = [i for i in range(len(old)) if old[i] > 200 and new[i] > 200]
        self.assertGreaterEqual(len(both), 6, f"both are heard for 300 ms; {old} {new}")
        self.assertLessEqual(both[-1] - both[0], len(both), "at a stretch, but for a gap")
        third = len(both) // 3
        # By thirds: a machine that is busy elsewhere leaves gaps of some milliseconds.
        falling = [sum(old[i] for i in part) / third for part in (both[:third], both[third:-third], both[-third:])]
        falling[1] *= third / (len(both) - 2 * third)
        self.assertTrue(falling[0] > 1.2 * falling[1] > 1.5 * falling[2], f"the old one fades out: {falling}")
        self.assertGreater(max(new[both[-1]:]), 7500, "the new one comes to its full level")

    def test_resumes_where_it_was(self):
        data = os.path.join(WORK, "resume")
        write_settings(data, Playback={"AutoPlay": 1, "ContinuePlay": 1}, Player={"Volume": 100, "PlayMode": 2})
        frames = sound.noise(20, seed=30)
        track = os.path.join(WORK, "长曲.wav")
        sound.write_wav(track, frames)
        with Player(self.paths[0], windows_path(track), data=data) as player:
            player.wait_for("playing")
            player.command("/next")
            player.wait_for("opened", 2)
            time.sleep(3)
        saved = int(read_setting(data, "Player", "PlayingTime"))
        self.assertGreater(saved, 2000)
        self.assertEqual(read_setting(data, "Player", "PlayingItem"), "1")
        with sound.Recorder() as recorder:
            with Player(data=data) as player:
                self.assertEqual(player.wait_for("resumed")["ms"], saved)
                time.sleep(2.5)
        opened = player.events("opened")
        self.assertEqual([(event["index"], event["file"]) for event in opened], [(1, windows_path(track))])
        heard = lambda ms: sound.find(recorder.frames, frames[ms * RATE // 1000 * FRAME:][:RATE // 10 * FRAME])
        self.assertGreaterEqual(heard(saved + 1200), 0, "the place behind the resume is heard")
        self.assertEqual(heard(saved - 1500), -1, "what was heard before is not")

    def test_lists_and_settings_survive(self):
        data = os.path.join(WORK, "survive")
        playlist = os.path.join(WORK, "三首.m3u8")
        with open(playlist, "w", encoding="utf-8-sig", newline="\r\n") as out:
            out.write("#EXTM3U\n" + "".join(f"{name}\n" for name in self.names[:3]))
        with Player("/add", "/list=一号", windows_path(playlist), data=data) as player:
            # Started side by side, either could become the first instance.
            player.wait_for("lists")
            player.command("/add", "/list=二号", *self.paths[3:])
            player.command("/volume=37", "/mode=4", "/play")
            player.wait_for("playing")
            self.assertEqual(player.events("opened")[0]["list"], "二号")
        self.assertEqual(sorted(os.listdir(os.path.join(data, "PlayList"))), ["000.mzbl", "001.mzbl", "002.mzbl"])
        self.assertEqual(read_setting(data, "Player", "Volume"), "37")
        self.assertEqual(read_setting(data, "Player", "PlayMode"), "4")
        with Player(data=data) as player:
            lists = player.wait_for("lists")
            self.assertEqual([lists[key] for key in ("read", "count", "list", "entries")], [3, 3, "二号", 2])
            player.command("/list=一号", "/play")
            opened = player.wait_for("opened")
        self.assertEqual((opened["list"], opened["index"], opened["file"]), ("一号", 0, self.paths[0]))

    def test_a_damaged_settings_file_is_kept_aside(self):
        data = os.path.join(WORK, "damaged")
        write_settings(data)
        with open(os.path.join(data, "melorin.xml"), "r+b") as out:
            out.truncate(70)
        with open(os.path.join(data, "melorin.xml"), "rb") as damaged:
            before = damaged.read()
        with Player(data=data) as player:
            player.wait_for("lists")
            self.assertIn("melorin.xml.bad", player.events("error")[0]["text"])
        with open(os.path.join(data, "melorin.xml.bad"), "rb") as kept:
            self.assertEqual(kept.read(), before)
        self.assertEqual(read_setting(data, "Player", "PlayMode"), "3", "defaults are written anew")

    def test_lists_that_cannot_be_saved_are_told(self):
        data = os.path.join(WORK, "unsaved")
        os.makedirs(data)
        in_the_way = os.path.join(data, "PlayList")
        with open(in_the_way, "w") as out:
            out.write("a file where the folder should be")
        with Player("/autoclose", self.paths[0], data=data) as player:
            player.finish()
        self.assertIn("无法保存播放列表", player.events("error")[-1]["text"])
        self.assertEqual(player.events("saved")[-1]["lists"], 0)
        with open(in_the_way) as kept:
            self.assertEqual(kept.read(), "a file where the folder should be")

    def test_sheet(self):
        frames = sound.noise(3, seed=40)
        folder = os.path.join(WORK, "专辑")
        os.makedirs(folder, exist_ok=True)
        sound.write_wav(os.path.join(folder, "image.wav"), frames)
        with open(os.path.join(folder, "image.cue"), "w", encoding="gbk", newline="\r\n") as out:
            out.write('PERFORMER "歌手"\nTITLE "专辑"\nFILE "image.wav" WAVE\n')
            for number in (1, 2, 3):
                out.write(f'  TRACK 0{number} AUDIO\n    TITLE "第{number}轨"\n    INDEX 01 00:0{number - 1}:00\n')
        with sound.Recorder() as recorder:
            # The folder: its sheet stands for the file.
            with Player(windows_path(folder)) as player:
                player.wait_for("finished")
        opened = player.events("opened")
        self.assertEqual([event["subtrack"] for event in opened], [1, 2, 3], player.events())
        self.assertEqual([event["duration_ms"] for event in opened], [1000, 1000, 1000])
        for number, event in enumerate(opened, 1):
            self.assertIn(f"第{number}轨", event["title"])
        ends = [sound.find(recorder.frames, frames[second * RATE * FRAME - 4000 * FRAME: second * RATE * FRAME])
                for second in (1, 2, 3)]
        self.assertNotIn(-1, ends, "each track is heard to its last frame")
        self.assertEqual(ends, sorted(ends))


if __name__ == "__main__":
    unittest.main()
