"""A sound server of its own for a measurement, gone when the measurement is."""
import ctypes
import os
import shutil
import signal
import subprocess
import tempfile
import time

RATE = 48000  # Hz, of every source here; stereo


def clean_up_when_ended():
    """Lets a SIGTERM run the clean-up, as an interrupt does."""

    def leave(number, _frame):
        raise SystemExit(128 + number)

    signal.signal(signal.SIGTERM, leave)
    signal.signal(signal.SIGHUP, leave)


def null_sink(name):
    # Not with norewinds=1: such a sink wakes everybody every 50 ms, whatever fragments they asked for.
    return ("module-null-sink", f"sink_name={name}", "format=float32le", f"rate={RATE}", "channels=2")


LIBC = ctypes.CDLL(None)


def end_with_this_script():
    """In a child, before it becomes the program: even if the script is killed outright, the child ends."""
    LIBC.prctl(1, signal.SIGTERM)  # PR_SET_PDEATHSIG


class SoundServer:
    """PulseAudio in a fresh folder, with the null sink "duty". A context manager; ends whatever `start` started."""

    def __init__(self):
        self.folder = tempfile.mkdtemp(prefix="velmoratide-bench-")  # of mode 700, as the server demands
        self.processes = []
        self.environment = dict(
            os.environ,
            LC_ALL="C",
            HOME=self.folder,
            XDG_RUNTIME_DIR=self.folder,
            PULSE_SERVER=f"unix:{self.folder}/native",
        )

    def __enter__(self):
        try:
            self._launch()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            if process.poll() is None:
                process.terminate()
                try:
                    process.wait(5)
                except subprocess.TimeoutExpired:
                    process.kill()
                    process.wait()
        shutil.rmtree(self.folder, ignore_errors=True)

    def _launch(self):
        self.start(
            "pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
            "-L", f"module-native-protocol-unix socket={self.folder}/native auth-anonymous=1",
            "-L", " ".join(null_sink("duty")),
        )  # fmt: skip
        for _ in range(100):
            if subprocess.run(["pactl", "info"], env=self.environment, capture_output=True).returncode == 0:
                return
            time.sleep(0.05)
        raise SystemExit("the sound server does not answer")

    def path(self, name):
        return os.path.join(self.folder, name)

    def start(self, *command, output=None):
        """Starts a program that ends with the server at the latest."""
        stdout = open(output, "wb") if output else subprocess.DEVNULL
        process = subprocess.Popen(
            command, env=self.environment, stdin=subprocess.DEVNULL, stdout=stdout, stderr=subprocess.DEVNULL,
            preexec_fn=end_with_this_script,
        )  # fmt: skip
        self.processes.append(process)
        if output:
            stdout.close()
        return process

    def load(self, *module):
        subprocess.run(["pactl", "load-module", *module], env=self.environment, check=True, capture_output=True)

    def add_sink(self, name):
        self.load(*null_sink(name))

    def record(self, program, name, *arguments):
        """Starts the program without a window, at full rate in stereo, with settings and a folder of its own."""
        return self.start(
            program, "--headless", "--settings", self.path(name + ".json"), "--folder", self.path(name),
            "--set", "SamplingRateNumber=2", "--set", "ChannelsNumber=2", *arguments,
        )  # fmt: skip

    def recordings(self, name):
        """The sound files; beside them lie their pictures."""
        folder = self.path(name)
        files = os.listdir(folder) if os.path.isdir(folder) else []
        return [os.path.join(folder, file) for file in files if file.endswith(".aif")]
