"""What the scenarios share: a band, its sessions, and what must hold of every session that Corvane touched."""

import re
import shutil
import xml.etree.ElementTree as ET
from pathlib import Path

import audio
import corvane
import headless
import prediction
import recorder
from corvane import captures, channel, corvanectl, packedColor, patchFile
from report import report
from session import DEVICE, Session

SHOWS = recorder.HOME / "Shows"
BAND = [
    channel("Kick", 1),
    channel("Ride & Crash", 2, stereo=True),
    channel("Sängerin 🎤", 4),
    channel("鍵盤", 5, stereo=True),
    channel("Talkback", 7),
]
SCENARIOS = []
FOREIGN = set()  # the names of channels whose tracks were made by hand, without direct outs


def scenario(title, long=False):
    def register(function):
        SCENARIOS.append((title, function, long))
        return function
    return register


def foreign(name, *where, **options):
    """A channel whose track somebody made in the recorder, without a direct out."""
    FOREIGN.add(name)
    return channel(name, *where, **options)


def sessionFile(folder):
    return folder / (folder.name + ".ardour")


def complaints(log):
    """What the recorder complained about, in its log, which must be there and hold something. What it says when its threads are
    cancelled at its end is not about us."""
    lines = log.read_text(errors="replace").splitlines()
    if not lines:
        raise AssertionError(f"{log} is empty: whether the recorder complained cannot be told")
    return [line for line in lines if re.search(r"\b(ERROR|WARNING|FATAL)\b", line) and "Gtk-WARNING" not in line
            and line != "FATAL: exception not rethrown"]


def read(folder, device=None):
    return Session(sessionFile(folder), device) if device else Session(sessionFile(folder))


def savedByRecorder(folder, device=None):
    """Has the running recorder save, and reads what it wrote."""
    recorder.waitUntilReady()
    recorder.save(sessionFile(folder))
    return read(folder, device)


def playbacks(channel, devicePorts):
    """The playback port of each of the channel's inputs; the engine drops what its device lacks."""
    return [[port.replace("capture", "playback") for port in ports] for ports in captures(channel, devicePorts)]


def checkDirectOuts(tracks, channels, devicePorts=recorder.DEVICE_PORTS):
    """Every track has its direct out, named after it, to the playback channels with its inputs' numbers."""
    wanted = []
    for c in channels:
        if c["name"] in FOREIGN:
            wanted.append([])
            continue
        name = c["name"].replace(":", "-")
        ports = [f"{name}/audio_send {k}" for k in range(1, 3 if c["stereo"] else 2)]
        wanted.append([(name, name, ports, playbacks(c, devicePorts))])
    report.equal("direct outs, their ports and playback channels",
                 [[(o.name, o.io, o.ports, o.playbacks) for o in t.directOuts] for t in tracks], wanted)


def checkSession(session, channels, devicePorts=recorder.DEVICE_PORTS, names=None):
    """Every channel has its track, as the recorder understood it; `names` are the recorder's spelling where it differs."""
    tracks = session.tracks
    report.equal("every channel has a track, in order", [t.name for t in tracks], names or [c["name"] for c in channels])
    if len(tracks) != len(channels):
        return
    report.equal("widths", [t.width for t in tracks], [2 if c["stereo"] else 1 for c in channels])
    report.equal("colours", [t.color for t in tracks], [packedColor(c) for c in channels])
    report.equal("all armed", [t.name for t in tracks if not t.armed], [])
    report.equal("capture connections", [t.captures for t in tracks], [captures(c, devicePorts) for c in channels])
    checkDirectOuts(tracks, channels, devicePorts)
    report.equal("every track uses a playlist of its own", len({id(t.playlist) for t in tracks if t.playlist is not None}),
                 len(channels))
    report.equal("the playlists know their tracks", [t.playlist is not None and t.playlist.get("orig-track-id") for t in tracks],
                 [t.id for t in tracks])
    report.equal("no id is used twice", session.repeatedIds(), [])
    report.equal("no port name is used twice", session.repeatedPorts(), [])


def checkSignature(folder, patch):
    report.equal("the session's signature is the console's", corvanectl("signature", folder)["signature"],
                 corvanectl("signature", "--from", patch)["signature"])


def tones(channel):
    """What a take of a channel holds: for each of its inputs that input's tone alone."""
    first = channel["inputIndex"] + 1
    return [[port] for port in range(first, first + (2 if channel["stereo"] else 1))]


def width(channels):
    """How many sound files one take of these channels makes."""
    return sum(2 if c["stereo"] else 1 for c in channels)


def checkTakes(session, expected):
    """The content of each track's takes, in order: {"Kick": [[[1]]]} is one take, of input 1's tone."""
    report.equal("the takes are in their tracks, by what is in them", {n: session.takes(n) for n in expected}, expected)


def checkSources(before, after):
    """The session still knows every sound file by its name."""
    report.equal("no source is lost", {s: n for s, n in after.sources().items() if s in before.sources()}, before.sources())


def rewritten(folder, change):
    """Changes a closed session's tree by hand."""
    tree = ET.parse(sessionFile(folder))
    change(tree.getroot())
    tree.write(sessionFile(folder), encoding="UTF-8", xml_declaration=True)


def create(name, channels, *source):
    """Creates a session as the window's button does, from a patch file unless another source is given."""
    result = corvanectl("create", name, "--in", SHOWS, *(source or ("--from", patchFile(channels))), "--launch")
    if not recorder.usesJack():
        recorder.confirmAudioSetup()
    recorder.waitUntilReady()
    return Path(result["session"])


def createQuietly(name, channels, script="", **options):
    """Creates a session and has the engine without windows make it from the user template, as the recorder does."""
    result = corvanectl("create", name, "--in", SHOWS, "--from", patchFile(channels))
    folder = Path(result["session"])
    folder.mkdir(parents=True)
    tree = ET.parse(result["template"])
    tree.getroot().attrib |= {"name": name, "sample-rate": "48000"}
    tree.write(sessionFile(folder), encoding="UTF-8", xml_declaration=True)
    headless.opened(folder, script, **options)
    return folder


def sync(folder, channels, counts=None, preferred=DEVICE, busesMove=False):
    """Syncs a closed session and compares it with what was to become of it. Returns the session before and after.
    `preferred` is the base template's device; a bus's direct out stays where it is unless told that it may move."""
    before = read(folder)
    done = corvanectl("sync", folder, "--from", patchFile(channels))
    if counts:
        report.equal("the counts (adjusted, added, removed)", tuple(done.values()), counts)
    after = read(folder)
    report.equal("nothing else has changed",
                 prediction.unexpected(before.root, after.root, channels, preferred, busesMove), [])
    return before, after


def syncQuietly(folder, channels, counts=None, script="", names=None, jack=False, **options):
    """Syncs, has the engine without windows open and save the result, and checks what it made of it."""
    before, _ = sync(folder, channels, counts, **options)
    headless.opened(folder, script, jack=jack)
    after = read(folder, recorder.JACK if jack else None)
    checkSession(after, channels, 64 if jack else recorder.DEVICE_PORTS, names)
    checkSources(before, after)
    return before, after


def syncAndOpen(folder, channels, counts):
    """Syncs as the button does while the recorder is closed, opens the result, and checks what the recorder makes of it."""
    before = read(folder)
    taken = before.takesById()  # while the files are as they were
    done = corvanectl("sync", folder, "--from", patchFile(channels), "--launch")
    report.equal("the counts", done, counts)
    report.equal("nothing else has changed", prediction.unexpected(before.root, read(folder).root, channels), [])
    after = savedByRecorder(folder)
    checkSession(after, channels)
    checkSources(before, after)
    takes = after.takesById()
    report.equal("in the tracks that stay the takes are as they were, by what is in them", {i: takes[i] for i in takes if i in taken},
                 {i: taken[i] for i in taken if i in takes})
    report.equal("the markers too", after.markers(), before.markers())
    report.equal("one backup", len(list((folder / "backup").glob("Corvane pre-sync *.ardour"))), 1)
    recorder.quit()
    if all(len(c) == 1 for channel in channels for c in captures(channel)):
        checkSignature(folder, patchFile(channels))
    report.equal("the recorder complains of nothing", complaints(corvane.LOG), [])
    return before, after


def refusal(command, *arguments):
    """How a command ends that is refused: its status and the message's first line; none when it is not."""
    try:
        corvanectl(command, *arguments)
    except corvane.Refused as refused:
        return refused.status, refused.message.splitlines()[0]
    return None


LISTENERS = range(1, recorder.DEVICE_PORTS + 1)


def heard(folder, script=""):
    """What arrives at each playback channel while the session plays: {1: {1: 0.12}} is input 1's tone at playback channel 1.
    A copy of the session runs on a device that gives back what it is given, beside tracks that record that."""
    copied = recorder.HOME / "Heard" / folder.name
    shutil.rmtree(copied, ignore_errors=True)
    shutil.copytree(folder, copied)
    file = sessionFile(copied)
    file.write_text(file.read_text().replace(read(folder).device, recorder.deviceId(recorder.LOOPBACK)))
    known = set(copied.rglob("*.wav"))
    listen = "".join(f'local ear = addTrack(session, "Ear {n}", 1)\n' for n in LISTENERS)
    wire = "".join(f'patch(route("Ear {n}"), {n}) route("Ear {n}"):output():nth(0):disconnect_all()\n' for n in LISTENERS)
    arming = "".join(f'arm(route("Ear {n}"), true)\n' for n in LISTENERS)
    headless.opened(copied, f"{script}\narmAll(false)\n{listen}pause(0.5)\n{wire}{arming}roll(1, true)",
                    device=recorder.LOOPBACK)
    found = {}
    for file in set(copied.rglob("*.wav")) - known:
        number = int(re.match(r"Ear (\d+)", file.name)[1])
        found[number] = audio.inputs(file)
    return found
