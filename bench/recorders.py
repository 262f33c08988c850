#!/usr/bin/env python3
"""What recording costs: the program beside parecord, at the same time, on the same server.

Measures CPU, wake-ups and memory from outside, in the steady state after the start; see README.md.
"""
import argparse
import array
import glob
import math
import os
import signal
import time

from figures import report
from soundserver import RATE, SoundServer, clean_up_when_ended

WARM_UP = 5.0  # seconds; what was asked for is in force by then
RAW = ("--raw", "--format=s16le", f"--rate={RATE}", "--channels=2")


class Cost:
    """What a process has used up to now, all its threads together."""

    def __init__(self, pid):
        self.time = time.monotonic()
        self.cpu = 0.0  # seconds
        self.wakes = 0
        self.cpu_of = {}  # by thread
        for task in glob.glob(f"/proc/{pid}/task/*"):
            try:
                with open(task + "/schedstat") as file:
                    cpu = int(file.read().split()[0]) / 1e9
                with open(task + "/comm") as file:
                    self.cpu_of[file.read().strip() + " " + os.path.basename(task)] = cpu
                self.cpu += cpu
                self.wakes += number_of(task + "/status", "voluntary_ctxt_switches")
            except FileNotFoundError:  # a thread that ended meanwhile
                continue


def number_of(path, key):
    with open(path) as file:
        for line in file:
            if line.startswith(key + ":"):
                return int(line.split()[1])
    raise SystemExit(f"{path} has no {key}")


class Contender:
    def __init__(self, name, process):
        self.name = name
        self.process = process

    def begin(self):
        self.started = Cost(self.process.pid)

    def end(self):
        ended = Cost(self.process.pid)
        span = ended.time - self.started.time
        self.cpu = (ended.cpu - self.started.cpu) * 60.0 / span  # seconds per minute
        self.wakes = (ended.wakes - self.started.wakes) / span  # per second
        self.threads = [
            f"{name.rsplit(' ', 1)[0]} {(cpu - self.started.cpu_of.get(name, 0.0)) * 60.0 / span:.3f}"
            for name, cpu in ended.cpu_of.items()
        ]
        self.peak = number_of(f"/proc/{self.process.pid}/status", "VmHWM") / 1024.0  # MiB

    def finish(self):
        """Ends the process; `whole` is its CPU seconds from start to end, as the kernel accounts for them."""
        self.process.send_signal(signal.SIGTERM)
        _, _, usage = os.wait4(self.process.pid, 0)
        self.process.returncode = 0  # waited for here
        self.whole = usage.ru_utime + usage.ru_stime


def write_tone(path, seconds):
    """A sine of 440 Hz at half scale, one second repeated."""
    second = array.array("h")
    for frame in range(RATE):
        sample = int(16384 * math.sin(2 * math.pi * 440 * frame / RATE))
        second.extend((sample, sample))
    with open(path, "wb") as file:
        for _ in range(seconds):
            second.tofile(file)


def measure(program, case, seconds, settings):
    with SoundServer() as server:
        tone = server.path("tone.raw")
        write_tone(tone, int(seconds + 4 * WARM_UP))
        # Each recorder has a source of its own: the hastiest one of a source sets the pace for all on it.
        sinks = ("duty", "other-50", "other-plain")
        for sink in sinks:
            if sink != "duty":
                server.add_sink(sink)
            server.start("paplay", *RAW, f"--device={sink}", "--latency-msec=2000", tone)
        time.sleep(1.0)
        # The sources are alike but for their names on the server, by which they are ordered.
        duty = ("--source", "0", "--set", "RecordSwitch=true", *settings)
        contenders = [
            Contender("velmoratide", server.record(program, "recordings", *duty)),
            Contender("parecord 50 ms", server.start("parecord", *RAW, "--device=other-50.monitor", "--latency-msec=50",
                                                     server.path("50.raw"))),
            Contender("parecord", server.start("parecord", *RAW, "--device=other-plain.monitor",
                                               server.path("plain.raw"))),
        ]  # fmt: skip
        time.sleep(WARM_UP)
        for contender in contenders:
            contender.begin()
        time.sleep(seconds)
        for contender in contenders:
            contender.end()
        for contender in contenders:
            contender.finish()
        check_length(server.recordings("recordings"), seconds)
    print(f"\n{case}: per recorded minute, over {seconds:g} s")
    print(f"  {'':16}{'CPU s':>8}{'wakes/s':>9}{'peak MiB':>10}{'whole run CPU s':>17}")
    for each in contenders:
        print(f"  {each.name:16}{each.cpu:8.3f}{each.wakes:9.1f}{each.peak:10.1f}{each.whole:17.3f}")
    print("  velmoratide by thread: " + ", ".join(contenders[0].threads))
    return contenders


def check_length(files, seconds):
    """A recorder that records nothing costs little."""
    frames = sum(os.path.getsize(file) for file in files) / 4
    if frames < seconds * RATE:
        raise SystemExit(f"only {frames / RATE:.1f} s of {seconds:g} s were recorded")


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("program")
    arguments.add_argument("--seconds", type=float, default=20.0)
    options = arguments.parse_args()
    clean_up_when_ended()
    cases = (
        ("always mode, nothing shown", 0.8, ("--set", "RecordMode=0")),
        ("a level decides", 1.1, ("--set", "RecordMode=1", "--set", "AutoStartLevel=5")),
    )
    peak = 0.0
    for case, aim, settings in cases:
        ours, limit, plain = measure(options.program, case, options.seconds, settings)
        peak = max(peak, ours.peak)
        report(f"CPU, {case}", f"{ours.cpu:.3f} s/min", f"{limit.cpu:.3f} s/min, parecord 50 ms",
               ours.cpu / limit.cpu, aim)  # fmt: skip
        print(f"  wake-ups: {ours.wakes / limit.wakes:.2f} times parecord's at 50 ms, "
              f"{ours.wakes / plain.wakes:.2f} times plain parecord's")  # fmt: skip
    report("peak memory", f"{peak:.1f} MiB", "60 MB", peak * 1.048576 / 60.0, 1.0)


if __name__ == "__main__":
    main()
