"""The recorder under test: its home folder, its start and its end. Processes are ended by their number alone."""

import os
import signal
import struct
import subprocess
import tempfile
import time
import zlib
from pathlib import Path

import osc

HOME = Path(os.environ["HOME"])
APP = Path("/Applications/LiveTrax3.app/Contents")
PROGRAM = APP / "MacOS/LiveTrax3"
PREFERENCES = HOME / "Library/Preferences/LiveTrax3"
TONES = "Sine Wave 1K, 1/3 Oct"  # a device that plays a tone of its own into each input
LOOPBACK = "Loopback"  # a device that plays into its inputs what its outputs get
JACK = "JACK"  # how connections made over JACK are marked in a session
AUDIO_SETUP = "Audio/MIDI Setup"
CRASH_RECOVERY = "Crash Recovery"
DEVICE_PORTS = 8  # what the engine's dummy device offers for recording, and for playing

CONFIG = """<?xml version="1.0" encoding="UTF-8"?>
<Ardour>
  <Config>
    <Option name="hide-dummy-backend" value="0"/>
    <Option name="try-autostart-engine" value="1"/>
  </Config>
  <Extra>
    <AudioMIDISetup>
      <EngineStates>
        <State backend="None (Dummy)" driver="Normal Speed" device="{device}" input-device="" output-device="" sample-rate="48000" buffer-size="{block}" n-periods="0" input-latency="0" output-latency="0" lm-input="" lm-output="" active="1" use-buffered-io="0" midi-option="1 in, 1 out, Silence" lru="1">
          <MIDIDevices/>
        </State>
      </EngineStates>
    </AudioMIDISetup>
  </Extra>
  <ControlProtocols>
    <Protocol name="Open Sound Control (OSC)" active="{osc}" session-state="0"/>
  </ControlProtocols>
</Ardour>
"""


def deviceId(device):
    """How connections made on a device of the dummy backend are marked in a session."""
    return f"Dummy;Normal Speed;{device}"


def prepareHome(device=TONES, surfaceOn=False, block=1024):
    """The preferences of someone who has started the recorder before: no first-run questions, a dummy device."""
    PREFERENCES.mkdir(parents=True, exist_ok=True)
    settings = HOME / ".config"
    settings.mkdir(exist_ok=True)
    if not (settings / "ardour8").is_symlink():
        (settings / "ardour8").symlink_to(PREFERENCES)
    (PREFERENCES / ".a8").touch()
    (PREFERENCES / "instant.xml").write_text("<instant><no-memory-warning/></instant>\n")
    (PREFERENCES / "config").write_text(CONFIG.format(device=device, osc=int(surfaceOn), block=block))


def useJack():
    """The preferences of someone who records through a JACK server; the engine takes what ports the server has."""
    text = CONFIG.format(device="Silence", osc=0, block=1024)
    dummy = 'backend="None (Dummy)" driver="Normal Speed" device="Silence"'
    (PREFERENCES / "config").write_text(text.replace(dummy, 'backend="JACK/Pipewire" driver="" device=""'))


def usesJack():
    return "JACK/Pipewire" in (PREFERENCES / "config").read_text()


def environment():
    """What the engine needs besides what Corvane sets when it starts it."""
    return dict(os.environ, LD_LIBRARY_PATH="/usr/lib/ardour8", XDG_CONFIG_HOME=str(HOME / ".config"))


def pids():
    """The running recorders, found by the path of their program."""
    found = []
    for entry in Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                if os.readlink(entry / "exe") == str(PROGRAM):
                    found.append(int(entry.name))
            except OSError:
                pass
    return found


def start(arguments, log):
    """Starts the recorder directly, with the environment that Corvane would give it. For preparations."""
    paths = {
        "ARDOUR_DLL_PATH": APP / "lib",
        "ARDOUR_BACKEND_PATH": APP / "lib/backends",
        "ARDOUR_PANNER_PATH": APP / "lib/panners",
        "ARDOUR_DATA_PATH": APP / "Resources",
        "ARDOUR_CONFIG_PATH": f"{PREFERENCES}:{APP / 'Resources'}",
    }
    settings = environment() | {name: str(path) for name, path in paths.items()}
    command = [str(PROGRAM), "-a", "-n", "-k", str(APP / "Resources/livetrax.keys"), *map(str, arguments)]
    with open(log, "ab") as out:
        return subprocess.Popen(command, env=settings, stdout=out, stderr=out, stdin=subprocess.DEVNULL)


def window(title):
    """The visible window with this text in its title."""
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title], capture_output=True, text=True)
    return (found.stdout.split() or [None])[-1]


def confirmAudioSetup(seconds=30):
    """Presses "Start" in the window that asks for the audio device, as a person does once for every new session."""
    waitFor(lambda: window(AUDIO_SETUP), seconds, "the question for the audio device")

    def pressedStart():
        question = window(AUDIO_SETUP)
        if question:
            subprocess.run(["xdotool", "windowfocus", question, "key", "Return"], capture_output=True)
            time.sleep(0.3)
        return not question

    waitFor(pressedStart, seconds, "the start of the audio device")


def confirmRecovery(seconds=60):
    """Presses "Recover from crash", the right one of two buttons, in the window in which the recorder asks after a crash."""
    waitFor(lambda: window(CRASH_RECOVERY), seconds, "the question for the recovery")
    time.sleep(0.5)

    def pressedRecover():
        question = window(CRASH_RECOVERY)
        if question:
            subprocess.run(["xdotool", "windowfocus", question, "key", "Tab", "Right", "Return"], capture_output=True)
            time.sleep(0.5)
        return not question

    waitFor(pressedRecover, seconds, "the recovery")


def isReady():
    """Whether the surface answers; while Corvane's window holds the port for replies, whether it listens."""
    try:
        return osc.ask("/transport_speed", seconds=0.3) is not None
    except OSError:
        return f":{osc.SURFACE_PORT:04X} " in Path("/proc/net/udp").read_text()


def waitFor(condition, seconds, what):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            return
        time.sleep(0.1)
    raise AssertionError(f"{what} did not happen within {seconds} s")


def waitUntilReady(seconds=240):
    """OSC is answered before the windows are built, and a command that comes in between is lost or worse."""
    waitFor(isReady, seconds, "the recorder's answer over OSC")
    waitFor(lambda: window(" - Ardour"), seconds, "the recorder's window")
    time.sleep(1)


def transport():
    """Speed, and whether recording is enabled."""
    speed, enabled = osc.ask("/transport_speed"), osc.ask("/record_enabled")
    return speed and speed[0], enabled and enabled[0]


def record(seconds):
    """A take on all armed tracks."""
    osc.send("/rec_enable_toggle")
    settle((0, 1), "enabling the recording")
    osc.send("/transport_play")
    settle((1, 1), "rolling")
    time.sleep(seconds)
    osc.send("/transport_stop")
    settle((0, 0), "stopping")
    time.sleep(1)


def settle(expected, what):
    """Waits for a state of the transport. While Corvane's window holds the port for replies, what is recorded tells it."""
    try:
        waitFor(lambda: transport() == expected, 20, what)
    except OSError:
        waitFor(lambda: isWriting() == (expected == (1, 1)), 20, what)


def isWriting(seconds=3):
    """Whether sound files grow. The engine writes what it records in pieces of one to two seconds."""
    before, end = written(), time.monotonic() + seconds
    while time.monotonic() < end:
        time.sleep(0.1)
        if written() > before:
            return True
    return False


def written():
    """How many bytes of sound lie in the home folder."""
    return sum(file.stat().st_size for file in HOME.rglob("audiofiles/*.wav"))


def isAlive(pid):
    try:
        state = Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()[0]
    except OSError:
        return False
    return state != "Z"


def quit(seconds=20):
    """Ends every running recorder, as the window does: asked first."""
    for pid in pids():
        os.kill(pid, signal.SIGTERM)
        try:
            waitFor(lambda: not isAlive(pid), seconds, f"the end of the recorder ({pid})")
        except AssertionError:
            os.kill(pid, signal.SIGKILL)
            raise


def save(sessionFile, seconds=60):
    """Has the recorder save, and waits until the file has changed and is whole."""
    before = sessionFile.stat().st_mtime_ns if sessionFile.exists() else 0
    osc.send("/save_state")
    waitFor(lambda: sessionFile.exists() and sessionFile.stat().st_mtime_ns != before, seconds, f"saving {sessionFile}")


class Display:
    """A screen for the programs that want one; what it shows can be kept as a picture."""

    def __enter__(self):
        self.folder = tempfile.mkdtemp()
        reading, writing = os.pipe()
        # Without -noreset the server starts afresh when its last client has gone, and refuses the next one meanwhile.
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(writing), "-fbdir", self.folder, "-screen", "0", "1600x1000x24", "-nolisten", "tcp",
             "-noreset"],
            pass_fds=[writing], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(writing)
        with os.fdopen(reading) as number:
            os.environ["DISPLAY"] = ":" + number.readline().strip()
        Display.current = self
        return self

    def __exit__(self, *reason):
        self.server.terminate()
        self.server.wait()

    def pixels(self):
        """The screen as rows of red, green and blue. The screen buffer is an X window dump of 32-bit pixels."""
        dump = (Path(self.folder) / "Xvfb_screen0").read_bytes()
        header = struct.unpack(">20I", dump[:80])
        width, height, rowBytes = header[4], header[5], header[12]
        start = header[0] + header[19] * 12
        for y in range(height):
            row = dump[start + y * rowBytes :][: width * 4]
            pixels = bytearray(width * 3)
            pixels[0::3], pixels[1::3], pixels[2::3] = row[2::4], row[1::4], row[0::4]
            yield pixels

    def middleOf(self, colour, left, top, width, height):
        """The middle of what has a colour within a rectangle of the screen; none when nothing has it."""
        wanted, found = bytes(colour), []
        for y, row in enumerate(self.pixels()):
            if top <= y < top + height:
                found += [(x, y) for x in range(left, left + width) if row[3 * x : 3 * x + 3] == wanted]
        return tuple(sorted(each[axis] for each in found)[len(found) // 2] for axis in (0, 1)) if found else None

    def keepPicture(self, path):
        """A PNG is the rows, compressed."""
        rows = list(self.pixels())

        def chunk(kind, data):
            return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

        Path(path).write_bytes(
            b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", len(rows[0]) // 3, len(rows), 8, 2, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(b"".join(b"\0" + row for row in rows))) + chunk(b"IEND", b""))
