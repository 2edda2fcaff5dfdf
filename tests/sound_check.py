# SPDX-License-Identifier: MIT
"""Sound for the end-to-end tests: material to play, the recorder, and comparisons of what was recorded.

Frames are 16-bit stereo at 44100 Hz unless said otherwise, held as bytes, 4 a frame.
"""
import array
import os
import random
import signal
import subprocess
import time
import wave

RATE = 44100
FRAME = 4


def noise(seconds, seed=1, level=6000):
    """Stereo noise: any few frames of it are found again without doubt."""
    generator = random.Random(seed)
    count = int(seconds * RATE) * 2
    raw = generator.randbytes(count * 2)
    samples = array.array("h", raw)
    return array.array("h", (s * level >> 15 for s in samples)).tobytes()


def music(seconds):
    """Tones that sweep and beat, for the encoder: noise would spend its bits badly."""
    import math
    samples = array.array("h")
    for i in range(int(seconds * RATE)):
        t = i / RATE
        left = math.sin(2 * math.pi * (220 + 30 * t) * t) + 0.5 * math.sin(2 * math.pi * 1375 * t)
        right = math.sin(2 * math.pi * (331 + 17 * t) * t) + 0.5 * math.sin(2 * math.pi * 2111 * t)
        samples.append(int(9000 * left / 1.5))
        samples.append(int(9000 * right / 1.5))
    return samples.tobytes()


def sine(seconds, frequency, level=8000):
    import math
    samples = array.array("h")
    for i in range(int(seconds * RATE)):
        value = int(level * math.sin(2 * math.pi * frequency * i / RATE))
        samples.append(value)
        samples.append(value)
    return samples.tobytes()


def levels(recording, frequency, window_ms=50):
    """The amplitude of that frequency in the left channel, window by window (Goertzel's algorithm)."""
    import math
    samples = array.array("h", recording)[::2]
    length = RATE * window_ms // 1000
    coefficient = 2 * math.cos(2 * math.pi * frequency / RATE)
    found = []
    for start in range(0, len(samples) - length + 1, length):
        before = last = 0.0
        for sample in samples[start: start + length]:
            before, last = last, sample + coefficient * last - before
        power = before * before + last * last - coefficient * before * last
        found.append(2 * math.sqrt(max(power, 0.0)) / length)
    return found


def write_wav(path, frames, rate=RATE):
    with wave.open(path, "wb") as out:
        out.setnchannels(2)
        out.setsampwidth(2)
        out.setframerate(rate)
        out.writeframes(frames)


def read_wav(path):
    with wave.open(path) as source:
        assert source.getsampwidth() == 2 and source.getnchannels() == 2, path
        return source.readframes(source.getnframes())


class Recorder:
    """Records the session's sink while the block runs; `frames` afterwards."""

    def __init__(self):
        self.frames = b""

    def __enter__(self):
        self._path = os.path.join(os.environ["MELORIN_SESSION_DIR"], "recording.raw")
        self._out = open(self._path, "wb")
        self._process = subprocess.Popen(
            ["parec", "-d", os.environ["MELORIN_SINK"] + ".monitor", "--format=s16le", f"--rate={RATE}",
             "--channels=2", "--raw", "--latency-msec=50"], stdout=self._out, stdin=subprocess.DEVNULL)
        deadline = time.monotonic() + 5
        while os.path.getsize(self._path) == 0 and time.monotonic() < deadline:
            time.sleep(0.05)
        time.sleep(0.2)
        return self

    def __exit__(self, *_):
        time.sleep(0.4)
        self._process.send_signal(signal.SIGINT)
        self._process.wait()
        self._out.close()
        with open(self._path, "rb") as recorded:
            self.frames = recorded.read()
        self.frames = self.frames[: len(self.frames) // FRAME * FRAME]


def find(recording, wanted, start=0):
    """Frame number at which the frames `wanted` stand in the recording, -1 if nowhere."""
    at = recording.find(wanted, start * FRAME)
    while at >= 0 and at % FRAME:
        at = recording.find(wanted, at + 1)
    return at // FRAME if at >= 0 else -1


def sounding(recording, threshold=1):
    """(first, last + 1) frame whose samples reach the threshold; (0, 0) when there is none."""
    samples = array.array("h", recording)
    loud = [i for i in range(0, len(samples), 2) if abs(samples[i]) >= threshold or abs(samples[i + 1]) >= threshold]
    return (loud[0] // 2, loud[-1] // 2 + 1) if loud else (0, 0)


def peak(frames):
    return max(map(abs, array.array("h", frames)), default=0)


def matching_segments(recording, reference, first_frame, last_frame, segment=RATE // 10):
    """For each segment of the reference between two frames: the offset (recording minus reference, in frames) at
    which it stands in the recording bit for bit, or None."""
    offsets = []
    hint = 0
    for start in range(first_frame, last_frame - segment + 1, segment):
        part = reference[start * FRAME: (start + segment) * FRAME]
        at = find(recording, part, max(0, hint))
        if at < 0:
            at = find(recording, part)
        offsets.append(None if at < 0 else at - start)
        if at >= 0:
            hint = at
    return offsets


def longest_silence(recording, start, end, level=2):
    """The longest run of frames at or below the level between two frames of the recording."""
    samples = array.array("h", recording[start * FRAME: end * FRAME])
    longest = run = 0
    for i in range(0, len(samples), 2):
        if abs(samples[i]) <= level and abs(samples[i + 1]) <= level:
            run += 1
            longest = max(longest, run)
        else:
            run = 0
    return longest
