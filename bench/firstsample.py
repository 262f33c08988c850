#!/usr/bin/env python3
"""How soon after its start a recorder captures: the program beside parecord.

The source is a pipe into which numbered frames are written in real time. The first number in the recording says when
its first frame was made, so nothing of the recorder has to be believed; see README.md.
"""
import argparse
import array
import os
import statistics
import sys
import threading
import time

from figures import report
from soundserver import RATE, SoundServer, clean_up_when_ended

STEP = 16384  # of the left channel's count; the right channel counts the left one's rounds
LENGTH = 1.5  # seconds recorded


class NumberedSound:
    """Writes numbered frames into the pipe as time passes."""

    def __init__(self, path):
        self.pipe = open(path, "wb", buffering=0)
        self.begin = time.monotonic()
        self.ending = False
        self.thread = threading.Thread(target=self._write, daemon=True)
        self.thread.start()

    def _write(self):
        written = 0
        while not self.ending:
            due = int((time.monotonic() - self.begin) * RATE)
            frames = array.array("h")
            for frame in range(written, due):
                frames.append(frame % STEP)
                frames.append(frame // STEP * 256 + 128)  # off by one or two, it is still the same round
            if sys.byteorder == "big":
                frames.byteswap()
            self.pipe.write(frames.tobytes())
            written = due
            time.sleep(0.003)

    def moment_of(self, left, right):
        return self.begin + (right // 256 * STEP + left) / RATE

    def end(self):
        self.ending = True
        self.thread.join()
        self.pipe.close()


def first_frame(sound, big_endian):
    # A converter may begin with silence; no numbered frame has 0 on the right.
    samples = array.array("h", sound[: len(sound) // 4 * 4])
    if big_endian == (sys.byteorder == "little"):
        samples.byteswap()
    for left, right in zip(samples[0::2], samples[1::2]):
        if right != 0:
            return left, right
    raise SystemExit("nothing was recorded")


def sound_of_aiff(path):
    with open(path, "rb") as file:
        content = file.read()
    at = 12
    while content[at : at + 4] != b"SSND":
        at += 8 + int.from_bytes(content[at + 4 : at + 8], "big")
        if at >= len(content):
            raise SystemExit(f"{path} holds no sound")
    return content[at + 16 :]


def seconds_to_first_frame(server, program, number, sound):
    begin = time.monotonic()
    if program == "parecord":
        path = server.path(f"first-{number}.raw")
        process = server.start("parecord", "--raw", "--format=s16le", f"--rate={RATE}", "--channels=2",
                               "--device=numbers", "--latency-msec=50", path)  # fmt: skip
        time.sleep(LENGTH)
        process.terminate()
        process.wait()
        with open(path, "rb") as file:
            first = first_frame(file.read(), big_endian=False)
    else:
        name = f"first-{number}"
        server.record(program, name, "--source", "FIFO", "--record-for", str(LENGTH)).wait()
        files = server.recordings(name)
        if len(files) != 1:
            raise SystemExit(f"{len(files)} files were recorded instead of one")
        first = first_frame(sound_of_aiff(files[0]), big_endian=True)
    return sound.moment_of(*first) - begin


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("program")
    arguments.add_argument("--times", type=int, default=7)
    options = arguments.parse_args()
    clean_up_when_ended()
    ours, limit = [], []
    with SoundServer() as server:
        server.load("module-pipe-source", "source_name=numbers", f"file={server.path('numbers')}", "format=s16le",
                    f"rate={RATE}", "channels=2")  # fmt: skip
        # Somebody must listen all the time, else the pipe fills and hands on what is old.
        server.start("parecord", "--raw", "--device=numbers", "--latency-msec=20", "/dev/null")
        for number in range(options.times):
            sound = NumberedSound(server.path("numbers"))
            time.sleep(0.5)
            ours.append(seconds_to_first_frame(server, options.program, number, sound))
            limit.append(seconds_to_first_frame(server, "parecord", number, sound))
            sound.end()
    for name, times in (("velmoratide", ours), ("parecord", limit)):
        print(f"{name}: first frame after " + ", ".join(f"{seconds:.3f}" for seconds in times) + " s")
    measured, parecord = statistics.median(ours), statistics.median(limit)
    report("start to first sample", f"{measured:.3f} s", f"0.3 s; parecord {parecord:.3f} s", measured / 0.3, 1.0)


if __name__ == "__main__":
    main()
