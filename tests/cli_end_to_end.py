#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Drives the built melorin-cli from outside: exit codes, error lines, JSON, samples, names.

    cli_end_to_end.py PROGRAM…      PROGRAM may be several words (a wrapper such as scripts/wine.sh in front)
"""
import array
import json
import math
import os
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import wave

PROGRAM = []


def run(*arguments, **options):
    done = subprocess.run(PROGRAM + list(arguments), stdin=subprocess.DEVNULL, capture_output=True, timeout=120,
                          check=False, **options)
    # A wrapper may have lines of its own.
    done.errors = [line for line in done.stderr.decode("utf-8", "strict").splitlines()
                   if line.startswith("melorin-cli: ")]
    return done


def noise(count, seed, bits):
    """The same pseudo-random full-scale samples everywhere."""
    half = 1 << (bits - 1)
    state = seed
    for _ in range(count):
        state = (state * 6364136223846793005 + 1442695040888963407) & 0xFFFFFFFFFFFFFFFF
        yield (state >> (64 - bits)) - half


def pack(samples, bits):
    if bits == 8:
        return bytes(s + 128 for s in samples)
    return b"".join((s & ((1 << bits) - 1)).to_bytes(bits // 8, "little") for s in samples)


def write_wave(path, data, bits=16, channels=2, rate=44100):
    with wave.open(path, "wb") as out:
        out.setnchannels(channels)
        out.setsampwidth(bits // 8)
        out.setframerate(rate)
        out.writeframes(data)


def read_wave(path):
    with wave.open(path, "rb") as source:
        return source.getparams(), source.readframes(source.getnframes())


def ints(data, bits):
    if bits == 8:
        return [b - 128 for b in data]
    step = bits // 8
    return [int.from_bytes(data[i:i + step], "little", signed=True) for i in range(0, len(data), step)]


class EndToEnd(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="melorin-cli-")
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def wave(self, name, frames=10000, bits=16, channels=2, rate=44100):
        data = pack(noise(frames * channels, 7, bits), bits)
        write_wave(self.path(name), data, bits, channels, rate)
        return data

    def text(self, name, content):
        with open(self.path(name), "wb") as out:
            out.write(content)
        return self.path(name)

    def assert_fails(self, done, code, *words):
        """Exit code, exactly one error line, and what it must say."""
        self.assertEqual(done.returncode, code, done.stderr)
        self.assertEqual(len(done.errors), 1, done.stderr)
        for word in words:
            self.assertIn(word, done.errors[0])

    def assert_only(self, *names):
        self.assertEqual(sorted(os.listdir(self.folder)), sorted(names))

    def decode(self, source, *options, out="out.wav"):
        done = run("decode", self.path(source), self.path(out), *options)
        self.assertEqual((done.returncode, done.errors), (0, []), done.stderr)
        self.assertIn(b"frames", done.stderr)
        return read_wave(self.path(out))

    # The command line.

    def test_usage_is_exit_code_2(self):
        self.assert_fails(run(), 2)
        self.assert_fails(run("info"), 2, "usage")
        self.assert_fails(run("info", "--fast", "x"), 2, "--fast")
        self.assert_fails(run("decode", "a", "b", "--bits", "20"), 2, "--bits")

    def test_help_and_version(self):
        self.assertRegex(run("--version").stdout, rb"^melorin-cli \d+\.\d+\.\d+\n$")
        for line in (["--help"], ["decode", "--help"]):
            done = run(*line)
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            self.assertIn(b"--start", done.stdout)

    def test_formats_lists_in_the_order_of_preference(self):
        done = run("formats")
        self.assertEqual((done.returncode, done.errors), (0, []))
        records = [line.split("\t") for line in done.stdout.decode("utf-8").splitlines()]
        readers = [r[1:] for r in records if r[0] == "reader"]
        self.assertEqual([r[0] for r in readers[:2]], ["MPEG Audio Reader", "Wave Audio Reader"])
        self.assertEqual(readers[1][1], "Wave 音频文件(*.wav)")
        self.assertEqual(readers[-1], ["DirectShow Audio Reader"])
        decoders = [r[1] for r in records if r[0] == "decoder"]
        self.assertEqual((decoders[0], decoders[-1]), ("MPEG Audio Decoder (mpg123)", "ACM Audio Decoders"))
        self.assertIn(["filter", "Wave 音频文件", "*.wav"],
                      [[r[0], r[1].split("(")[0].strip(), r[2]] for r in records if r[0] == "filter"])

    def test_devices_are_listed_under_their_kinds(self):
        done = run("devices", "--formats")
        self.assertEqual((done.returncode, done.errors), (0, []))
        records = [line.split("\t") for line in done.stdout.decode("utf-8").splitlines()]
        self.assertEqual([r[1:] for r in records if r[0] == "kind"],
                         [["0", "waveOut(Windows 波型输出)"], ["1", "DirectSound"],
                          ["2", "Kernel Streaming(内核音频流)"], ["3", "ASIO(Steinberg Audio Stream I/O API)"]])
        for before, record in zip(records, records[1:]):
            if record[0] == "device":
                self.assertRegex(record[1], r"^\{[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\}$")
            elif record[0] == "format":
                self.assertIn(before[0], ("device", "format"))
                self.assertRegex(record[1], r" (Hz|比特|Samples)( .*)?$")
            else:
                self.assertEqual(record[0], "kind")

    # info

    def test_info_describes_wave_files(self):
        for bits, channels, rate in ((16, 2, 44100), (8, 1, 8000), (24, 2, 96000)):
            with self.subTest(bits=bits):
                self.wave("a.wav", rate // 4, bits, channels, rate)
                done = run("info", self.path("a.wav"))
                self.assertEqual((done.returncode, done.stderr), (0, b""))
                facts = json.loads(done.stdout)
                want = {"file": self.path("a.wav"), "reader": "Wave Audio Reader", "codec": "PCM|PCM Audio",
                        "duration_ms": 250, "sample_rate": rate, "channels": channels, "bits": bits,
                        "bitrate": rate * channels * bits, "tags": [], "tag_flags": 0, "tag_kinds": [],
                        "audio_start": 0, "audio_end": os.path.getsize(self.path("a.wav"))}
                self.assertEqual(facts, want)

    def test_info_goes_on_after_a_failure(self):
        self.wave("a.wav")
        self.wave("b.wav")
        self.text("empty.wav", b"")
        self.text("text.txt", b"hello")
        self.text("text.mp3", b"hello")
        os.mkdir(self.path("folder.wav"))
        names = ["a.wav", "missing.wav", "empty.wav", "text.txt", "text.mp3", "folder.wav", "b.wav"]
        done = run("info", *[self.path(name) for name in names])
        self.assertEqual(done.returncode, 1)
        found = [json.loads(line)["file"] for line in done.stdout.decode("utf-8").splitlines()]
        self.assertEqual(found, [self.path("a.wav"), self.path("b.wav")])
        self.assertEqual(len(done.errors), 5, done.stderr)
        for line, (name, word) in zip(done.errors, [("missing.wav", "no such file"), ("empty.wav", "refused"),
                                                    ("text.txt", "no reader"), ("text.mp3", "refused"),
                                                    ("folder.wav", "folder")]):
            self.assertIn(name, line)
            self.assertIn(word, line)

    def test_info_writes_json_whatever_a_tag_holds(self):
        data = bytearray(self.mpeg_frames())
        field = lambda value, size: value.ljust(size, b"\0")
        data += b"TAG" + field("音乐\\\"".encode("gbk"), 30) + field(b"\x01\x1f\t\xff\x80", 30) + field(b"", 30)
        data += b"2001" + field(b"ok", 28) + b"\0\x07" + b"\x11"
        self.text("a.mp3", bytes(data))
        done = run("info", self.path("a.mp3"))
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        facts = json.loads(done.stdout.decode("utf-8", "strict"))
        tags = {tag["name"]: tag["value"] for tag in facts["tags"]}
        self.assertEqual((tags["Title"], tags["Date"], tags["Tracknumber"]), ("音乐\\\"", "2001", "7"))
        self.assertTrue(tags["Artist"].startswith("\x01\x1f\t"))
        self.assertEqual((facts["reader"], facts["tag_kinds"], facts["audio_end"]),
                         ("MPEG Audio Reader", ["ID3v1"], len(data) - 128))

    @staticmethod
    def mpeg_frames(count=40):
        """Silent MPEG-1 layer 3 frames, 128 kbit/s, 44100 Hz, stereo: a header and no main data."""
        return (b"\xff\xfb\x90\x00" + bytes(413)) * count

    # decode

    def test_decode_keeps_16_bit_samples(self):
        data = self.wave("a.wav")
        params, out = self.decode("a.wav")
        self.assertEqual((params.nchannels, params.sampwidth, params.framerate), (2, 2, 44100))
        self.assertEqual(out, data)
        self.assert_only("a.wav", "out.wav")

    def test_decode_keeps_8_and_24_bit_samples(self):
        for bits in (8, 24):
            with self.subTest(bits=bits):
                data = self.wave("a.wav", bits=bits)
                self.assertEqual(self.decode("a.wav")[1], data)

    def test_decode_changes_the_width(self):
        samples = ints(self.wave("a.wav", channels=1), 16)
        for bits in (8, 24, 32):
            with self.subTest(bits=bits):
                params, out = self.decode("a.wav", "--bits", str(bits))
                self.assertEqual((params.sampwidth, params.nframes), (bits // 8, 10000))
                if bits == 8:
                    # To the nearest, within the range.
                    for before, after in zip(samples, ints(out, 8)):
                        self.assertLessEqual(abs(max(-128, min(127, before / 256)) - after), 0.5)
                else:
                    self.assertEqual(ints(out, bits), [s << (bits - 16) for s in samples])

    def test_dither_stays_near_the_samples_and_differs_by_kind(self):
        samples = ints(self.wave("a.wav", channels=1, bits=24), 24)
        results = {}
        for kind in range(5):
            params, out = self.decode("a.wav", "--bits", "16", "--dither", str(kind))
            self.assertEqual(params.nframes, 10000)
            # Noise shaping moves the error out of the ear's way at the price of more of it.
            limit = (0.5, 1.0, 2.0, 40.0, 40.0)[kind]
            errors = [abs(max(-32768, min(32767, s / 256)) - o) for s, o in zip(samples, ints(out, 16))]
            self.assertLessEqual(max(errors), limit + 0.001, kind)
            results[kind] = out
        self.assertEqual(len(set(results.values())), 5)

    def test_effects_do_what_they_are_told(self):
        # 1 kHz, 0.25 of full scale, the right side the same or turned round.
        left = [round(8192 * math.sin(2 * math.pi * i / 44.1)) for i in range(44100)]
        for name, sign in (("same.wav", 1), ("wide.wav", -1)):
            write_wave(self.path(name), pack([s for l in left for s in (l, sign * l)], 16))
        plain = self.decode("same.wav")[1]

        def level(name, *options):
            """Of the left side's second half, against the file's, in dB; and the frames."""
            params, out = self.decode(name, *options)
            side = ints(out, 16)[::2]
            half = side[len(side) // 2:]
            power = sum(s * s for s in half) / len(half)
            return 10 * math.log10(power / (8192 * 8192 / 2)), params.nframes

        for options, want in ((("--gain", "-6"), -6), (("--gain", "+3,5"), 3.5), (("--rate", "48000"), 0),
                              (("--rate", "22050", "--hq"), 0), (("--eq", "0:0,0,0,0,0,-12,0,0,0,0"), -8.60),
                              (("--eq", "0:0,0,0,0,0,0,0,0,0,0", "--gain", "-1.5"), -1.5)):
            with self.subTest(options=options):
                got, frames = level("same.wav", *options)
                self.assertAlmostEqual(got, want, delta=0.05)
                rate = int(options[1]) if options[0] == "--rate" else 44100
                self.assertAlmostEqual(frames, rate, delta=1)
        for options in (("--eq", "0:0,0,0,0,0,0,0,0,0,0"), ("--surround=0",), ("--gain", "0"), ("--rate", "44100")):
            self.assertEqual(self.decode("same.wav", *options)[1], plain, options)
        self.assertNotEqual(self.decode("wide.wav", "--surround")[1], self.decode("wide.wav")[1])
        # Far more than fits is limited, not cut.
        out = ints(self.decode("same.wav", "--gain", "20")[1], 16)
        self.assertLess(sum(abs(s) >= 32767 for s in out), len(out) // 50)
        self.assertGreater(max(out), 30000)
        # 1 kHz in both channels is as loud as its peak is high: -12.04; the common loudness is -18.
        self.assertAlmostEqual(level("same.wav", "--gain", "auto")[0], -5.96, delta=0.1)
        # Without a byte rate nothing can be sought, not even the start after measuring.
        with open(self.path("same.wav"), "r+b") as file:
            file.seek(28)
            file.write(bytes(4))
        self.assertAlmostEqual(level("same.wav", "--gain", "auto")[0], -5.96, delta=0.1)

    def test_start_and_length_count_frames_exactly(self):
        data = self.wave("a.wav", frames=120000)
        for start, length in ((0, 100), (9, 1), (1, 1500), (1000, 250), (1999, 333), (2700, None), (0, 9000), (7, 0)):
            with self.subTest(start=start, length=length):
                options = ["--start", str(start)] + (["--length", str(length)] if length is not None else [])
                first = start * 44100 // 1000
                end = 120000 if length is None else min(120000, (start + length) * 44100 // 1000)
                self.assertEqual(self.decode("a.wav", *options)[1], data[first * 4:end * 4])

    def test_tracks_of_a_sheet_are_parts_of_its_file(self):
        data = self.wave("a.wav", frames=100000)
        self.text("s.cue", 'FILE "a.wav" WAVE\r\nTRACK 01 AUDIO\r\nTITLE "天空"\r\nINDEX 01 00:00:00\r\n'
                           'TRACK 02 AUDIO\r\nINDEX 01 00:01:10\r\n'.encode("gbk"))
        self.assertEqual(self.decode("s.cue")[1], data[:85 * 588 * 4])
        self.assertEqual(self.decode("s.cue", "--track", "2")[1], data[85 * 588 * 4:])
        self.assertEqual(self.decode("s.cue", "--track", "2", "--start", "1000")[1], data[(85 * 588 + 44100) * 4:])
        done = run("info", self.path("s.cue"), "--track", "1")
        facts = json.loads(done.stdout)
        self.assertEqual((facts["reader"], facts["duration_ms"]), ("CUE Reader", 1133))
        self.assertIn({"name": "Title", "value": "天空"}, facts["tags"])
        self.assert_fails(run("info", self.path("s.cue"), "--track", "3"), 1, "s.cue")
        self.assert_fails(run("info", self.path("s.cue"), "--track", "x"), 2, "--track")

    def test_start_past_the_end_is_refused(self):
        self.wave("a.wav")
        done = run("decode", self.path("a.wav"), self.path("out.wav"), "--start", "5000")
        self.assert_fails(done, 1, "a.wav", "5000")
        self.assert_only("a.wav")

    def test_decode_to_standard_output(self):
        data = self.wave("a.wav")
        done = run("decode", self.path("a.wav"), "-")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout[:4] + done.stdout[8:16], b"RIFFWAVEfmt ")
        self.assertEqual(struct.unpack("<HHIIHH", done.stdout[20:36]), (1, 2, 44100, 176400, 4, 16))
        self.assertEqual(done.stdout[44:], data)
        # And what a pipe delivers can be read again.
        self.text("pipe.wav", done.stdout)
        self.assertEqual(self.decode("pipe.wav")[1], data)

    def test_decode_of_mpeg_agrees_with_itself_in_parts(self):
        self.text("a.mp3", self.mpeg_frames())
        params, whole = self.decode("a.mp3")
        self.assertEqual((params.nchannels, params.sampwidth, params.framerate), (2, 2, 44100))
        self.assertEqual(len(whole) // 4, 40 * 1152)
        self.assertEqual(set(whole), {0})
        if not shutil.which("lame"):
            return
        source = array.array("h", [int(12000 * ((i // 50) % 2 * 2 - 1) * (i % 44100) / 44100)
                                   for i in range(100000) for _ in (0, 1)])
        write_wave(self.path("b.wav"), source.tobytes())
        subprocess.run(["lame", "--quiet", "-b", "192", self.path("b.wav"), self.path("b.mp3")], check=True)
        params, whole = self.decode("b.mp3")
        # The encoder's delay and padding are in the file's header and must be gone.
        self.assertEqual(params.nframes, 100000)
        error = sum(abs(a - b) for a, b in zip(ints(whole, 16), source)) / len(source)
        self.assertLess(error, 600)
        for start, length in ((0, 500), (500, 700), (1200, 5000)):
            part = self.decode("b.mp3", "--start", str(start), "--length", str(length))[1]
            first, end = start * 44100 // 1000, (start + length) * 44100 // 1000
            self.assertEqual(part, whole[first * 4:end * 4])

    def test_decode_replaces_its_own_input(self):
        data = self.wave("a.wav")
        self.assertEqual(self.decode("a.wav", "--start", "100", out="a.wav")[1], data[4410 * 4:])
        self.assert_only("a.wav")

    def test_a_failed_decode_leaves_the_old_file(self):
        self.text("old.wav", b"old")
        self.text("bad.wav", b"RIFF\0\0\0\0WAVEjunk")
        self.assert_fails(run("decode", self.path("bad.wav"), self.path("old.wav")), 1, "bad.wav", "refused")
        self.assert_fails(run("decode", self.path("none.wav"), self.path("new.wav")), 1, "none.wav", "no such file")
        self.assert_only("old.wav", "bad.wav")
        with open(self.path("old.wav"), "rb") as old:
            self.assertEqual(old.read(), b"old")

    def test_decode_refuses_places_that_cannot_be_written(self):
        self.wave("a.wav")
        os.mkdir(self.path("folder"))
        self.assert_fails(run("decode", self.path("a.wav"), self.path("folder")), 1, "folder")
        self.assert_fails(run("decode", self.path("a.wav"), self.path("none/out.wav")), 1, "none/out.wav", "folder")
        self.assert_fails(run("decode", self.path("a.wav"), ""), 1, "no name")
        device = "NUL" if len(PROGRAM) > 1 else "/dev/null"
        self.assert_fails(run("decode", self.path("a.wav"), device), 1, device)
        self.assert_only("a.wav", "folder")

    def test_decode_replaces_a_file_larger_than_memory(self):
        data = self.wave("a.wav")
        with open(self.path("out.wav"), "wb") as old:
            old.truncate(3 << 30)
        self.assertEqual(self.decode("a.wav")[1], data)
        self.assert_only("a.wav", "out.wav")

    def test_an_interrupted_decode_leaves_nothing(self):
        self.wave("a.wav", frames=2000000)
        for _ in range(5):  # A machine busy elsewhere may not get to the signal in time.
            job = subprocess.Popen([*PROGRAM, "decode", self.path("a.wav"), self.path("out.wav"), "--rate", "768000",
                                    "--hq"], stderr=subprocess.PIPE)
            while job.poll() is None and len(os.listdir(self.folder)) == 1:
                time.sleep(0.005)
            job.send_signal(signal.SIGINT)
            errors = job.communicate(timeout=60)[1]
            if job.returncode != 0:
                break
            os.remove(self.path("out.wav"))
        self.assertEqual((job.returncode, errors.count(b"broken off")), (1, 1), errors)
        self.assert_only("a.wav")

    # Names

    def test_names_in_gbk(self):
        # The last has a backslash as the second byte of its last character in GBK.
        for name in ("音乐 测试.wav", "€1.wav", "歌誠.wav", "♪🎵 한국.wav", "เพลง ñ.wav"):
            with self.subTest(name=name):
                data = self.wave(name, frames=1000)
                done = run("info", self.path(name))
                self.assertEqual((done.returncode, done.stderr), (0, b""))
                self.assertEqual(json.loads(done.stdout)["file"], self.path(name))
                self.assertEqual(self.decode(name, out="输出 " + name)[1], data)

    # xml

    def test_xml_prints_what_it_parsed(self):
        source = '<?xml version="1.0" encoding="GB2312"?>\n<设置 a="1&lt;2" b="音"><!--c--><x/><y>你好&amp;</y></设置>'
        path = self.text("a.xml", source.encode("gbk").replace("设置".encode("gbk"), b"root"))
        done = run("xml", path, "--compact")
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertIn('<root a="1&lt;2" b="音">', done.stdout.decode("utf-8"))
        self.assertIn("<y>你好&amp;</y></root>", done.stdout.decode("utf-8"))
        self.assertNotIn(b"\n", done.stdout)
        indented = run("xml", path).stdout
        self.assertIn("\r\n\t<y>你好&amp;</y>".encode(), indented)
        self.assertEqual(indented.count(b"\n"), indented.count(b"\r\n"))
        # The printed form parses to the same document.
        again = self.text("b.xml", indented.replace(b"GB2312", b"UTF-8"))
        self.assertEqual(run("xml", again).stdout, indented.replace(b"GB2312", b"UTF-8"))

    def test_xml_says_where_it_failed(self):
        self.assert_fails(run("xml", self.text("a.xml", b"<a><b><c/></d></a>")), 1, "a.xml", "/a/b", "error 9")
        self.assert_fails(run("xml", self.text("b.xml", b"hello")), 1, "b.xml", "error 13")
        self.assert_fails(run("xml", self.path("none.xml")), 1, "none.xml", "no such file", "error 2")
        self.assert_fails(run("xml", self.folder), 1, "folder")

    @unittest.skipUnless(os.path.exists("/dev/full"), "no device that is always full")
    def test_config_writes_back_what_it_read(self):
        name = self.text("a.xml", '<?xml version="1.0" encoding="GB2312"?><melorin version="9"><Player Volume="7" '
                         'PlayingFile="\u6b4c"/><Player/><Lyric TextColor="blue"/></melorin>'.encode("gbk"))
        first = run("config", name)
        self.assertEqual(first.returncode, 0)
        self.assertIn(b'<melorin \r\n\tversion="9">\r\n\t<Player \r\n', first.stdout)
        self.assertIn(b'\r\n\t\tVolume="7" \r\n', first.stdout)
        self.assertIn('PlayingFile="\u6b4c"'.encode(), first.stdout)
        self.assertEqual(first.errors, ["melorin-cli: " + name + ": " + what for what in (
            "Lyric.TextColor: the value is malformed", "Player: a second section of that name")])
        again = run("config", self.text("b.xml", first.stdout), "--output", self.path("c.xml"))
        self.assertEqual((again.returncode, again.stdout, again.errors), (0, b"", []))
        with open(self.path("c.xml"), "rb") as written:
            self.assertEqual(written.read(), first.stdout)
        foreign = run("config", self.text("d.xml", b"<other/>"))
        self.assertEqual(foreign.returncode, 1)
        self.assertEqual(foreign.stdout, b"")

    # skin

    def skin(self, name):
        done = run("skin", name)
        self.assertEqual((done.returncode, done.errors), (0, []), done.stderr)
        return json.loads(done.stdout.decode("utf-8", "strict"))

    def test_skin_of_the_program_is_without_fault(self):
        facts = self.skin("<DEFAULT_SKIN>")
        self.assertEqual((facts["loads"], facts["version"], facts["findings"]), (True, 2, []))
        self.assertNotIn("mailto", facts["email"])
        self.assertEqual(list(facts["windows"]), ["player_window", "mini_window", "lyric_window",
                                                  "equalizer_window", "playlist_window"])
        self.assertEqual(len(facts["windows"]["equalizer_window"]["elements"]), 9)

    def test_skin_says_the_same_of_a_folder_and_an_archive(self):
        os.makedirs(self.path("皮肤/图"))
        self.text("皮肤/Skin.xml", '<?xml version="1.0" encoding="GB2312"?><skin version="2" name="春">'
                  '<mini_window image="图\\missing.bmp"><minimode position="1, 2, 3, 4" align="Right"/>'
                  '<info position="1,2" color="#102030" vertical="1"/></mini_window></skin>'.encode("gbk"))
        facts = self.skin(self.path("皮肤"))
        self.assertEqual((facts["name"], facts["transparent_color"]), ("春", ""))
        window = facts["windows"]["mini_window"]
        self.assertEqual(window["image"], "图\\missing.bmp")
        self.assertEqual(window["elements"], [
            {"name": "minimode", "position": [1, 2, 3, 4], "image": "", "align": "right+top"},
            {"name": "info", "position": [0, 0, 0, 0], "color": "#102030", "bkgnd": "", "font_size": 12, "font": "",
             "align": "left+vcenter"}])
        self.assertEqual([(f["kind"], f["path"]) for f in facts["findings"]], [
            ("missing", "skin/mini_window/minimode@image"), ("invalid", "skin/mini_window/info@position"),
            ("unknown", "skin/mini_window/info@vertical"), ("missing", "skin/player_window"),
            ("missing", "skin/lyric_window"), ("missing", "skin/equalizer_window"),
            ("missing", "skin/playlist_window"), ("missing", "skin/mini_window@image")])
        archive = shutil.make_archive(self.path("春"), "zip", self.path("皮肤"))
        self.assertEqual(self.skin(archive), facts | {"package": archive})

    def test_skin_preview_draws_windows(self):
        def size(*options):
            out = self.path("预览.png")
            done = run("skin-preview", "<DEFAULT_SKIN>", out, *options)
            self.assertEqual((done.returncode, done.errors), (0, []))
            with open(out, "rb") as file:
                head = file.read(24)
            os.remove(out)
            self.assertEqual(head[:8], b"\x89PNG\r\n\x1a\n")
            return int.from_bytes(head[16:20], "big"), int.from_bytes(head[20:24], "big")

        self.assertEqual(size("--window", "player"), (420, 168))
        self.assertEqual(size("--window", "mini", "--scale", "2"), (1120, 80))
        wide, high = size()
        self.assertGreater(wide * high, 5 * 420 * 168)
        out = self.path("none.png")
        self.assertEqual(run("skin-preview", "<DEFAULT_SKIN>", out, "--window", "other").returncode, 2)
        os.mkdir(self.path("one"))
        self.text("one/Skin.xml", b"<skin version='2'><player_window image='gone.png'/></skin>")
        self.assert_fails(run("skin-preview", self.path("one"), out, "--window", "lyric"), 1, "one", "no such window")
        self.assertFalse(os.path.exists(out))

    def test_skin_says_why_it_does_not_load(self):
        os.mkdir(self.path("old"))
        self.text("old/Skin.xml", b"<skin version='1' name='a'/>")
        done = run("skin", self.path("old"))
        self.assert_fails(done, 1, "old", "version 2")
        facts = json.loads(done.stdout)
        self.assertEqual((facts["loads"], facts["name"], facts["windows"]), (False, "a", {}))
        self.assertEqual(facts["findings"][-1]["path"], "skin@version")
        os.mkdir(self.path("empty"))
        self.assert_fails(run("skin", self.path("empty")), 1, "empty", "Skin.xml")
        self.assert_fails(run("skin", self.path("none")), 1, "none", "no such")
        self.assert_fails(run("skin", self.text("a.zip", b"PK")), 1, "a.zip", "ZIP")

    def test_skin_preview_says_what_is_wrong(self):
        out = self.path("out.png")
        self.assert_fails(run("skin-preview", "<DEFAULT_SKIN>", out, "--scale", "3"), 2, "--scale")
        self.assert_fails(run("skin-preview", self.path("none"), out), 1, "none")
        os.mkdir(self.path("s"))
        self.text("s/Skin.xml", b'<skin version="2" name="s"><mini_window image="gone.png"/></skin>')
        self.assert_only("s")
        self.assert_fails(run("skin-preview", self.path("s"), out, "--window", "mini"), 1, "gone.png")
        self.assert_only("s", "out.png")
        self.assert_fails(run("skin-preview", "<DEFAULT_SKIN>", self.path("none/out.png")), 1, "cannot be written")

    def test_title_goes_on_after_a_failure(self):
        self.wave("\u6b4c.a.wav", 10)
        missing = self.path("missing.wav")
        done = run("title", "%F|%E|%C|%A|%(\u4f5c\u8bcd)%", missing, self.path("\u6b4c.a.wav"), "--count")
        self.assertEqual(done.returncode, 1)
        self.assertEqual(len(done.errors), 1)
        self.assertIn(missing, done.errors[0])
        line = done.stdout.decode()
        self.assertRegex(line, "^3\t\u6b4c[.]a[|]wav[|][^|]+[|][(]\u672a\u77e5\u827a\u672f\u5bb6[)][|]"
                         "[(]\u672a\u77e5\u4f5c\u8bcd[)]%\n$")
        self.assert_fails(run("title", "%A"), 2, "usage")

    def test_lyric_of_files_and_tags(self):
        def answer(*arguments):
            done = run("lyric", *arguments)
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            return json.loads(done.stdout.decode("utf-8", "strict"))
        source = self.text("\u6b4c.lrc", "[ti:\u6b4c]\n[by:B]\n[offset:500]\nplain\n[0:5][0:2.5]\u4f60\u597d\n".encode("gbk"))
        facts = answer(source, "--at", "3250", "--write", self.path("out.lrc"), "--merge")
        self.assertEqual(facts, {
            "file": source, "encoding": "GBK", "title": "\u6b4c", "artist": "", "album": "", "by": "B",
            "plain_text": "plain\r\n", "position": {"index": 1, "start_ms": 2000, "end_ms": 4500, "progress": 500},
            "lines": [{"time_ms": 0, "text": "[\u6b4c]"}, {"time_ms": 2000, "text": "\u4f60\u597d"},
                      {"time_ms": 4500, "text": "\u4f60\u597d"}]})
        with open(self.path("out.lrc"), "rb") as written:
            self.assertEqual(written.read().decode("gbk"), "[ti:\u6b4c]\r\n[ar:]\r\n[al:]\r\n[by:B]\r\n\r\n"
                             "[00:04.50][00:02.00]\u4f60\u597d\r\nplain\r\n")
        body = b"\3chi\2\1\0\xe4\xbd\xa0\0\0\0\3\xe8"
        frame = b"SYLT" + len(body).to_bytes(4, "big") + b"\0\0" + body
        song = self.text("a.mp3", b"ID3\3\0\0" + len(frame).to_bytes(4, "big") + frame + self.mpeg_frames())
        facts = answer(song)
        self.assertEqual((facts["lines"], facts.get("encoding")), ([{"time_ms": 1000, "text": "\u4f60"}], None))
        self.assertEqual(answer(self.text("b.txt", b"words"), "--at", "5")["plain_text"], "words\r\n")
        self.assert_fails(run("lyric", self.path("none.lrc")), 1, "none.lrc")
        self.assert_fails(run("lyric", self.path("none.mp3")), 1, "none.mp3")
        self.assert_fails(run("lyric", source, "--write", self.path("no/where.lrc")), 1, "where.lrc")
        self.assert_fails(run("lyric", source, "--merge"), 2, "--write")
        self.assert_fails(run("lyric", source, "--at", "-1"), 2, "--at")

    def test_find_lyric_prefers_the_better_name_in_a_later_folder(self):
        def found(*arguments):
            done = run("find-lyric", *arguments)
            self.assertEqual((done.returncode, done.errors), (0, []), done.stderr)
            results = [json.loads(line) for line in done.stdout.decode().splitlines()]
            for result in results:
                result["lyric"] = result["lyric"].replace("\\", "/").rpartition("/")[2]
            return results

        for folder in ("歌", "一", "二", "二/深"):
            os.mkdir(self.path(folder))
        song = self.text("歌/07.mp3", self.mpeg_frames() + struct.pack(
            "<3s30s30s30s4s30sB", b"TAG", "晴天".encode("gbk"), "周杰伦".encode("gbk"), b"", b"", b"", 255))
        self.text("歌/07.txt", b"x")
        self.text("二/深/周杰倫-晴天.lrc", b"x")
        self.assertEqual(found(song), [{"file": song, "artist": "周杰伦", "title": "晴天", "score": 4,
                                        "lyric": "07.txt"}])
        folders = ["--folder", self.path("歌"), "--folder", self.path("一"), "--folder=" + self.path("二")]
        self.wave("歌/海阔天空.wav", 10)
        other = self.path("歌/海阔天空.wav")
        results = found(song, other, *folders)
        self.assertEqual([(r["score"], r["title"], r["lyric"]) for r in results],
                         [(9, "晴天", "周杰倫-晴天.lrc"), (0, "海阔天空", "")])
        self.assert_fails(run("find-lyric", song, "--folder", self.path("none")), 1, "no such folder")
        self.assert_fails(run("find-lyric", self.path("none.wav")), 1, "none.wav")

    def test_playlist_converts_between_all_forms(self):
        self.wave("\u6708.wav", 44100)
        rows = [("\u6708.wav", "\u97f3 & <1>", 215000), ("missing \u30ab\u30ca \ud55c\uad6d \U0001f3b5.mp3", "T", -2)]
        lines = "#EXTM3U\r\n#EXTINF:  215,%s\r\n%s\r\n%s\r\n" % (rows[0][1], rows[0][0], rows[1][0])
        source = self.text("in.m3u8", b"\xef\xbb\xbf" + lines.encode())
        for step in ("a.mzpl", "b.mzbl", "c.m3u", "d.m3u8", "e.other", "f.m3u8"):
            done = run("playlist", source, self.path(step), "--relative")
            self.assertEqual((done.returncode, done.stdout, done.errors), (0, b"2\n", []), step)
            source = self.path(step)
            entries = [json.loads(line) for line in run("list", source).stdout.decode().splitlines()]
            self.assertEqual([(e["title"], e["duration_ms"]) for e in entries],
                             [(rows[0][1], 215000), (rows[1][0], -2)], step)
            for entry, row in zip(entries, rows):
                self.assertTrue(entry["path"].endswith(row[0]), entry["path"])
        with open(source, "rb") as last:
            self.assertEqual(last.read(), b"\xef\xbb\xbf" + lines.replace("  ", "").encode())
        self.assertEqual(run("playlist", source, self.path("g.m3u"), "--ignore-bad").stdout, b"1\n")

    def test_list_of_a_sheet_and_of_what_is_no_list(self):
        self.wave("disc.wav", 44100 * 3)
        self.text("disc.cue", b'PERFORMER "P"\r\nFILE "disc.wav" WAVE\r\n  TRACK 01 AUDIO\r\n    TITLE "One"\r\n'
                  b"    INDEX 01 00:00:00\r\n  TRACK 02 AUDIO\r\n    TITLE \"Two\"\r\n    INDEX 01 00:01:00\r\n")
        entries = [json.loads(line) for line in run("list", self.path("disc.cue")).stdout.decode().splitlines()]
        self.assertEqual([(e["title"], e["subtrack"], e["duration_ms"]) for e in entries],
                         [("One", 1, 1000), ("Two", 2, 2000)])
        self.assert_fails(run("list", self.text("a.mzbl", b"MZBL")), 1, "no list")
        self.assert_fails(run("playlist", self.text("a.pls", b"[playlist]"), self.path("x.m3u")), 1, "no list")
        self.assert_fails(run("list", self.path("missing.m3u")), 1)
        cut = run("list", self.text("a.mzpl", b"<mzplaylist version='3'><items><item file='/x.mp3'/>"))
        self.assertEqual((cut.returncode, len(cut.stdout.splitlines()), len(cut.errors)), (1, 1, 1))

    def test_lost_output_is_an_error(self):
        path = self.text("a.xml", b"<a/>")
        self.wave("a.wav")
        for line in (["xml", path], ["info", self.path("a.wav")], ["decode", self.path("a.wav"), "-"]):
            with self.subTest(line=line), open("/dev/full", "wb") as full:
                done = subprocess.run(PROGRAM + line, stdin=subprocess.DEVNULL, stdout=full, stderr=subprocess.PIPE,
                                      timeout=60, check=False)
                self.assertEqual(done.returncode, 1)
                self.assertIn(b"standard output", done.stderr)


if __name__ == "__main__":
    PROGRAM = sys.argv[1:]
    if not PROGRAM:
        sys.exit(__doc__)
    unittest.main(argv=sys.argv[:1], verbosity=1)
