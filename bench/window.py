#!/usr/bin/env python3
"""The program's window on a display of its own: how soon it can be used, and what it costs while nobody uses it.

The folder holds as many recordings as are asked for. The window can be used once it is mapped and the program waits
for events; that is asked of the display every few milliseconds. The input is a private sound server's. CPU and memory
are those of the whole process.
"""
import argparse
import os
import statistics
import subprocess
import sys
import tempfile
import time

from figures import report
from soundserver import SoundServer, clean_up_when_ended

TICKS = os.sysconf("SC_CLK_TCK")


def make_recordings(folder, count):
    """Recordings of an hour by their names, with a valid header and a second of silence each."""
    frames = 22050
    data = frames * 2
    comm = b"COMM" + (18).to_bytes(4, "big") + (1).to_bytes(2, "big") + frames.to_bytes(4, "big") + \
        (16).to_bytes(2, "big") + b"\x40\x0d\xac\x44" + bytes(6)
    ssnd = b"SSND" + (data + 8).to_bytes(4, "big") + bytes(8)
    head = b"FORM" + (4 + len(comm) + len(ssnd) + data).to_bytes(4, "big") + b"AIFF" + comm + ssnd
    first = 1_577_836_800
    for number in range(count):
        begin = time.strftime("%Y%m%d_%H%M%S", time.gmtime(first + number * 3600))
        end = time.strftime("%H%M%S", time.gmtime(first + number * 3600 + 3599))
        with open(os.path.join(folder, f"_Velmoratide_{begin}~{end}.aif"), "wb") as file:
            file.write(head)
            file.truncate(len(head) + data)


class Display:
    def __init__(self):
        reading, writing = os.pipe()
        self.server = subprocess.Popen(["Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x800x24",
                                        "-nolisten", "tcp"], pass_fds=[writing], stderr=subprocess.DEVNULL)
        os.close(writing)
        with os.fdopen(reading) as number:
            self.name = ":" + number.readline().strip()

    def tool(self, *arguments):
        return subprocess.run(["xdotool", *arguments], env={**os.environ, "DISPLAY": self.name},
                              capture_output=True, text=True, check=False).stdout

    def end(self):
        self.server.terminate()
        self.server.wait()


def processor_seconds(pid):
    with open(f"/proc/{pid}/stat", encoding="ascii") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def memory(pid, what):
    with open(f"/proc/{pid}/status", encoding="ascii") as file:
        for line in file:
            if line.startswith(what + ":"):
                return int(line.split()[1]) / 1024
    return 0.0


class Program:
    def __init__(self, path, display, server, place):
        environment = {**server.environment, "DISPLAY": display.name, "QT_QPA_PLATFORM": "xcb", "HOME": place,
                       "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/nonexistent",
                       "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}
        self.display = display
        begin = time.monotonic()
        self.process = subprocess.Popen([path, "--settings", os.path.join(place, "settings.json"), "--folder",
                                         os.path.join(place, "record")], env=environment,
                                        stderr=subprocess.DEVNULL)
        while not display.tool("search", "--onlyvisible", "--name", "^Velmoratide$").strip():
            if self.process.poll() is not None or time.monotonic() - begin > 30:
                sys.exit(f"window.py: the window does not come (exit status {self.process.poll()})")
        self.start = time.monotonic() - begin
        self.work = processor_seconds(self.process.pid)

    def click(self, x, y):
        window = self.display.tool("search", "--onlyvisible", "--name", "^Velmoratide$").split()[0]
        self.display.tool("mousemove", "--window", window, str(x), str(y), "click", "1")

    def end(self):
        self.process.terminate()
        if self.process.wait() != 0:
            sys.exit("window.py: the program did not end well")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program")
    parser.add_argument("--recordings", type=int, default=10000)
    parser.add_argument("--starts", type=int, default=5)
    parser.add_argument("--seconds", type=float, default=20.0)
    options = parser.parse_args()
    clean_up_when_ended()
    display = Display()
    try:
        with SoundServer() as server, tempfile.TemporaryDirectory(prefix="velmoratide-window-") as place:
            os.makedirs(os.path.join(place, "record"))
            starts = []
            work = []
            for _ in range(options.starts):
                program = Program(options.program, display, server, place)
                starts.append(program.start)
                work.append(program.work)
                program.end()
            start = statistics.median(starts)
            report("start to window", f"{start:.3f} s, {statistics.median(work):.2f} s of CPU", "0.5 s", start / 0.5, 1.0)

            make_recordings(os.path.join(place, "record"), options.recordings)
            program = Program(options.program, display, server, place)
            for tab, x in (("record tab", 40), ("play tab", 101)):
                program.click(x, 16)
                time.sleep(10)  # the list is read
                begin = processor_seconds(program.process.pid)
                time.sleep(options.seconds)
                share = (processor_seconds(program.process.pid) - begin) / options.seconds * 100
                report(f"idle CPU, {tab}", f"{share:.2f} % of a core", "1 %", share, 1.0)
            peak = memory(program.process.pid, "VmHWM")
            report(f"memory, {options.recordings} recordings", f"{peak:.1f} MiB", "120 MB", peak * 1.048576 / 120, 1.0)
            program.end()
    finally:
        display.end()


if __name__ == "__main__":
    main()
