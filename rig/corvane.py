"""Corvane's programs as the rig uses them, and the console stand-in."""

import json
import subprocess
import time
from pathlib import Path

import recorder

BIN = Path("/build/installed/bin")
LOG = recorder.HOME / "Library/Application Support/Corvane/livetrax.log"
HUES = [(1.0, 0.0, 0.0), (0.0, 0.5, 1.0), (1.0, 0.5, 0.0), (0.25, 0.75, 0.25), (0.9, 0.1, 0.6)]


def channel(name, firstInput, stereo=False, color=None):
    """A console channel; inputs are counted from 1, as the recorder's ports are."""
    red, green, blue = color or HUES[firstInput % len(HUES)]
    return {"name": name, "stereo": stereo, "driver": "SoundGrid", "inputIndex": firstInput - 1, "sourceType": "Mixer_Ch",
            "sourceIndex": firstInput, "red": red, "green": green, "blue": blue}


def packedColor(channel):
    """R, G and B in eight bits each, and an opaque alpha, as the recorder keeps colours."""
    red, green, blue = (int(channel[part] * 255) for part in ("red", "green", "blue"))
    return red << 24 | green << 16 | blue << 8 | 255


def captures(channel, devicePorts=recorder.DEVICE_PORTS):
    """The capture ports of each of the channel's inputs, as far as the device has them."""
    first = channel["inputIndex"] + 1
    ports = range(first, first + (2 if channel["stereo"] else 1))
    return [[f"system:capture_{port}"] if port <= devicePorts else [] for port in ports]


def patchFile(channels, name="patch"):
    path = recorder.HOME / (name + ".json")
    path.write_text(json.dumps({"version": 1, "channels": channels}, ensure_ascii=False))
    return path


class Refused(Exception):
    """corvanectl's own ending: its exit status and its message."""

    def __init__(self, status, message):
        super().__init__(f"exit {status}: {message}")
        self.status = status
        self.message = message


def corvanectl(command, *arguments, seconds=60):
    """Runs a command and returns its JSON document."""
    line = [str(BIN / "corvanectl"), command, *map(str, arguments), "--json"]
    done = subprocess.run(line, env=recorder.environment(), capture_output=True, text=True, timeout=seconds,
                          stdin=subprocess.DEVNULL)
    if done.returncode != 0:
        raise Refused(done.returncode, done.stderr.strip())
    if done.stderr:
        raise AssertionError(f"corvanectl {command} complained: {done.stderr}")
    return json.loads(done.stdout)


class Console:
    """A running console stand-in with a patch."""

    def __init__(self, channels, *options):
        self.process = subprocess.Popen(
            [BIN / "lv1-console-sim", "--patch", patchFile(channels, "console"), *options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = int(self.process.stdout.readline().removeprefix("listening on "))

    def __enter__(self):
        return self

    def __exit__(self, *reason):
        self.process.terminate()
        self.process.wait()

    def waitForClient(self):
        """The client introduces itself; the patch is with it a moment later."""
        while not self.process.stdout.readline().startswith("client is"):
            if self.process.poll() is not None:
                raise AssertionError("the console stand-in has ended")
        time.sleep(1)

    def tell(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()


class Window:
    """The real program with its window, used with mouse and keyboard."""

    # The buttons by their colours: where they stand is the window's business.
    SYNC = (242, 166, 13)  # amber: there is something to do
    CREATE = (224, 10, 10)

    def __init__(self):
        self.process = subprocess.Popen([BIN / "corvane"], env=recorder.environment(), stdin=subprocess.DEVNULL)

    def __enter__(self):
        recorder.waitFor(self.windows, 30, "the window")
        self.main = self.windows()[0]
        return self

    def __exit__(self, *reason):
        self.process.terminate()
        self.process.wait()

    def windows(self):
        found = subprocess.run(["xdotool", "search", "--all", "--onlyvisible", "--pid", str(self.process.pid), "--name", "."],
                               capture_output=True, text=True)
        return sorted(found.stdout.split(), key=int)

    def click(self, button):
        """Clicks a button once it shows that colour."""
        subprocess.run(["xdotool", "windowraise", self.main], check=True)
        recorder.waitFor(lambda: self.place(button), 20, f"a button of the colour {button}")
        x, y = self.place(button)
        subprocess.run(["xdotool", "mousemove", str(x), str(y), "click", "1"], check=True)

    def place(self, button):
        shape = subprocess.run(["xdotool", "getwindowgeometry", "--shell", self.main], capture_output=True, text=True).stdout
        at = {key: int(value) for key, value in (line.split("=") for line in shape.split())}
        return recorder.Display.current.middleOf(button, at["X"], at["Y"], at["WIDTH"], at["HEIGHT"])

    def alert(self):
        """The alert that stands before the window."""
        return next((w for w in self.windows() if w != self.main), None)

    def answerAlert(self):
        """Presses the button that the alert proposes."""
        recorder.waitFor(self.alert, 20, "the question")
        asked = self.alert()

        def answered():
            if asked in self.windows():
                subprocess.run(["xdotool", "windowfocus", asked, "key", "Return"], capture_output=True)
                time.sleep(0.3)
            return asked not in self.windows()

        recorder.waitFor(answered, 20, "the end of the question")


class Template:
    """Another base template for a while, made by the tool that users have."""

    FILE = BIN.parent / "share/corvane/LiveTraxSeed.template"

    def __init__(self, *options):
        self.options = options

    def __enter__(self):
        self.before = self.FILE.read_bytes()
        subprocess.run(["/src/resources/make-template", *self.options, "--output", self.FILE], check=True)
        return self

    def __exit__(self, *reason):
        self.FILE.write_bytes(self.before)


class Jack:
    """A JACK server with many ports on no hardware."""

    def __init__(self, ports):
        self.ports = str(ports)

    def __enter__(self):
        command = ["jackd", "-r", "--no-mlock", "-t", "20000", "-d", "dummy", "-r", "48000", "-p", "2048", "-C", self.ports, "-P", self.ports]
        self.server = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        recorder.waitFor(lambda: any(Path("/dev/shm").glob("jack_sem.*_system")), 30, "the JACK server")
        time.sleep(1)  # its threads run a little later
        return self

    def __exit__(self, *reason):
        self.server.terminate()
        self.server.wait()
