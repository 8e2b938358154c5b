"""Corvane beside a real recorder engine: what it makes is opened, saved and answered by a program that nobody here wrote."""

import argparse
import base64
import copy
import difflib
import os
import re
import shutil
import sys
import time
import traceback
import xml.etree.ElementTree as ET
from pathlib import Path

import corvane
import make_sessions
import markers
import osc
import recorder
from corvane import captures, channel, corvanectl, packedColor, patchFile
from report import report
from session import Session, differences

SHOWS = recorder.HOME / "Shows"
OUTPUT = Path("/run/output")
BAND = [
    channel("Kick", 1),
    channel("Ride & Crash", 2, stereo=True),
    channel("Sängerin 🎤", 4),
    channel("鍵盤", 5, stereo=True),
    channel("Talkback", 7),
]
SCENARIOS = []


def scenario(title, long=False):
    def register(function):
        SCENARIOS.append((title, function, long))
        return function
    return register


def sessionFile(folder):
    return folder / (folder.name + ".ardour")


def complaints(log):
    """What the recorder complained about, in its log."""
    lines = log.read_text(errors="replace").splitlines() if log.exists() else []
    return [line for line in lines if re.search(r"\b(ERROR|WARNING|FATAL)\b", line) and "Gtk-WARNING" not in line]


def savedByRecorder(folder, device=None):
    """Has the running recorder save, and reads what it wrote."""
    recorder.waitUntilReady()
    recorder.save(sessionFile(folder))
    return Session(sessionFile(folder), device) if device else Session(sessionFile(folder))


def checkSession(session, channels, devicePorts=recorder.DEVICE_PORTS):
    """Every channel has its track, as the recorder understood it."""
    tracks = session.tracks
    report.equal("every channel has a track, in order", [t.name for t in tracks], [c["name"] for c in channels])
    if len(tracks) != len(channels):
        return
    report.equal("widths", [t.width for t in tracks], [2 if c["stereo"] else 1 for c in channels])
    report.equal("colours", [t.color for t in tracks], [packedColor(c) for c in channels])
    report.equal("all armed", [t.name for t in tracks if not t.armed], [])
    report.equal("capture connections", [t.captures for t in tracks], [captures(c, devicePorts) for c in channels])
    report.equal("every track uses a playlist of its own", len({id(t.playlist) for t in tracks if t.playlist is not None}),
                 len(channels))
    report.equal("the playlists know their tracks", [t.playlist is not None and t.playlist.get("orig-track-id") for t in tracks],
                 [t.id for t in tracks])
    report.equal("no id is used twice", session.repeatedIds(), [])
    report.equal("no port name is used twice", session.repeatedPorts(), [])


def checkSignature(folder, patch):
    report.equal("the session's signature is the console's", corvanectl("signature", folder)["signature"],
                 corvanectl("signature", "--from", patch)["signature"])


def create(name, channels, *source):
    """Creates a session as the window's button does, from a patch file unless another source is given."""
    result = corvanectl("create", name, "--in", SHOWS, *(source or ("--from", patchFile(channels))), "--launch")
    if not recorder.usesJack():
        recorder.confirmAudioSetup()
    recorder.waitUntilReady()
    return Path(result["session"])


@scenario("A session created from the console")
def createFromConsole():
    with corvane.Console(BAND) as console:
        folder = create("Opening Night – Zürich", BAND, "--host", "127.0.0.1", "--port", console.port)
    report.equal("the session's folder", folder, SHOWS / "Opening Night – Zürich")
    session = savedByRecorder(folder)
    checkSession(session, BAND)
    report.equal("nothing else lies in its folder", sorted(p.name for p in folder.glob("*.ardour")), [folder.name + ".ardour"])
    report.equal("playlists", len(session.playlists), len(BAND))
    recorder.quit()
    checkSignature(folder, patchFile(BAND))
    report.equal("the recorder complains of nothing", complaints(corvane.LOG), [])
    report.equal("it is the recorder's most recent session", (recorder.PREFERENCES / "recent").read_text().splitlines()[:2],
                 [folder.name, str(folder)])


def namespace(route):
    """What the names of a route's ports begin with."""
    return next(p.get("name") for p in route.iter("Port") if "/audio_" in p.get("name")).split("/audio_")[0]


def unexpectedInTrack(before, after):
    """What differs in a kept track besides its name, place, colour, arming and the names and connections of its ports."""
    old, new = namespace(before), namespace(after)

    def expected(path, what, was, now):
        if path.count("/") == 1 and what == "@name" or path.endswith("/PresentationInfo") and what in ("@order", "@color"):
            return True
        if path.endswith("/Controllable[rec-enable]") and what == "@value" and now == "1":
            return True
        return was is not None and now is not None and isinstance(was, str) and was.replace(old, new) == now

    return [d for d in differences(before, after) if not expected(*d)]


def livesInTheRecorder(path, what, was, now):
    """What the recorder itself changes between two of its saves: the numbering of clip columns, and where a fader that
    follows its automation happens to stand."""
    return "TriggerBox" in path and what == "@order" or "gaincontrol" in path and what == "@value"


def unexpectedInSession(before, after):
    """What differs outside the tracks besides the surface's switches and the place for new ids."""
    before, after = copy.deepcopy(before), copy.deepcopy(after)
    for root in before, after:
        root.attrib.pop("id-counter")
        for option in [o for o in root.find("Config") if o.get("name") in ("osc-port", "use-osc")]:
            root.find("Config").remove(option)
        for protocol in root.find("ControlProtocols"):
            if protocol.get("name") == "Open Sound Control (OSC)":
                protocol.attrib = {"name": protocol.get("name")}
        routes = root.find("Routes")
        for route in [r for r in routes if "AudioTrack" in r.find("PresentationInfo").get("flags", "")]:
            routes.remove(route)
    known = {p.get("id") for p in before.find("Playlists")}
    for playlist in [p for p in after.find("Playlists") if p.get("id") not in known]:
        after.find("Playlists").remove(playlist)
    return differences(before, after)


def checkNothingLost(before, after):
    """Compares the session that went into a sync with the one that came out of it."""
    kept = {t.id for t in before.tracks} & {t.id for t in after.tracks}
    old = {t.id: t.route for t in before.tracks}
    report.equal("nothing else has changed in the kept tracks",
                 [d for t in after.tracks if t.id in kept for d in unexpectedInTrack(old[t.id], t.route)], [])
    report.equal("nothing else has changed in the session", unexpectedInSession(before.root, after.root), [])


def syncAndOpen(folder, channels, counts):
    """Syncs as the button does while the recorder is closed, opens the result, and checks what the recorder makes of it."""
    before = Session(sessionFile(folder))
    done = corvanectl("sync", folder, "--from", patchFile(channels), "--launch")
    if counts:
        report.equal("the counts", done, counts)
    checkNothingLost(before, Session(sessionFile(folder)))
    after = savedByRecorder(folder)
    checkSession(after, channels)
    report.equal("the takes are as they were", {s: n for s, n in after.sources().items() if s in before.sources()}, before.sources())
    report.equal("the markers too", after.markers(), before.markers())
    report.equal("one backup", len(list((folder / "backup").glob("Corvane pre-sync *.ardour"))), 1)
    recorder.quit()
    if all(len(c) == 1 for channel in channels for c in captures(channel)):
        checkSignature(folder, patchFile(channels))
    report.equal("the recorder complains of nothing", complaints(corvane.LOG), [])
    return before, after


@scenario("SYNC after a rename, a move, an addition, a removal, mono to stereo and another order")
def syncABand():
    folder = create("Band", BAND)
    recorder.record(1)
    before = savedByRecorder(folder)
    recorder.quit()
    report.check("every track has a take", all(t.regions() for t in before.tracks))
    changed = [
        channel("Ride & Crash", 2, stereo=True, color=(0.1, 0.2, 0.3)),
        channel("Gast", 6),
        channel("Sängerin 🎤", 8),
        channel("Kick In", 1),
        channel("鍵盤", 4, stereo=True),
    ]
    before, after = syncAndOpen(folder, changed, {"adjusted": 2, "added": 3, "removed": 3})
    for was, now in ("Kick", "Kick In"), ("Ride & Crash", "Ride & Crash"):
        report.equal(f"what was recorded on {was} is on {now}", after.track(now).regions(), before.track(was).regions())
    report.equal("the new tracks are empty", [after.track(n).regions() for n in ("Gast", "Sängerin 🎤", "鍵盤")], [[], [], []])
    syncAndOpen(folder, changed, {"adjusted": 5, "added": 0, "removed": 0})


@scenario("SYNC of a session that the recorder's user made")
def syncAForeignSession():
    recorder.prepareHome(surfaceOn=True)
    folder = make_sessions.jazzClub()
    channels = [
        channel("Grand Piano", 5, stereo=True),
        channel("Overheads", 2, stereo=True),
        channel("Kick Out", 1),
        channel("Sängerin", 4),
        channel("Ansage", 8),
    ]
    before, after = syncAndOpen(folder, channels, {"adjusted": 4, "added": 1, "removed": 1})
    for was, now in ("Kick", "Kick Out"), ("Overheads", "Overheads"), ("Sängerin", "Sängerin"):
        report.equal(f"what was recorded on {was} is on {now}", after.track(now).regions(), before.track(was).regions())
    report.equal("the buses are there", [b.get("name") for b in after.buses], [b.get("name") for b in before.buses])
    for was, now in zip(before.tracks, (after.track(n) for n in ("Kick Out", "Overheads", "Sängerin", "Grand Piano"))):
        report.equal(f"plug-ins, sends and automation of {now.name} are as they were, saved by the recorder again",
                     [d for d in unexpectedInTrack(was.route, now.route) if not livesInTheRecorder(*d)], [])


@scenario("Names that the recorder does not take as they are")
def awkwardNames():
    names = ["GTR L/R", "Vox: Lead", "<Click>", "\"Q\" & A", "a|b*c?", "Back\\slash", "Master", "Audio 3", "42", "A" * 120]
    taken = ["GTR L_R", "Vox_ Lead", "_Click_", "_Q_ & A", "a_b_c_", "Back_slash", "Master", "Audio 3", "42", "A" * 120]
    channels = [channel(name, 1 + index) for index, name in enumerate(names)]
    folder = create("Names", channels)
    session = savedByRecorder(folder)
    report.equal("the recorder's own spelling", [t.name for t in session.tracks], taken)
    checkSession(session, [c | {"name": name} for c, name in zip(channels, taken)])
    recorder.quit()
    done = corvanectl("sync", folder, "--from", patchFile(channels))
    report.equal("a sync finds every track again by its input", done, {"adjusted": 8, "added": 2, "removed": 2})
    spelled = [t.name for t in Session(sessionFile(folder)).tracks]
    report.equal("and gives it the console's spelling", spelled, names)


@scenario("Transport, save and markers over OSC")
def remoteControl():
    folder = create("Remote", BAND)
    stopped = {"speed": 0, "recordEnabled": False, "isRecording": False}
    report.equal("stopped", corvanectl("transport"), stopped)
    osc.send("/transport_play")
    recorder.settle((1, 0), "rolling")
    report.equal("rolling", corvanectl("transport"), {"speed": 1, "recordEnabled": False, "isRecording": False})
    osc.send("/transport_stop")
    recorder.settle((0, 0), "stopping")
    osc.send("/rec_enable_toggle")
    recorder.settle((0, 1), "enabling the recording")
    report.equal("armed", corvanectl("transport"), {"speed": 0, "recordEnabled": True, "isRecording": False})
    osc.send("/transport_play")
    recorder.settle((1, 1), "recording")
    report.equal("recording", corvanectl("transport"), {"speed": 1, "recordEnabled": True, "isRecording": True})
    corvanectl("marker", "Szene 1")
    time.sleep(0.5)
    osc.send("/transport_stop")
    recorder.settle((0, 0), "stopping")
    time.sleep(1)
    report.equal("what marker sends", corvanectl("marker", "  Strophe 2 – Größe 🎵\n"), {"sent": ["/add_marker", "/marker"]})
    time.sleep(0.5)
    before = sessionFile(folder).stat().st_mtime_ns
    report.equal("what save sends", corvanectl("save"), {"sent": ["/save_state"]})
    recorder.waitFor(lambda: sessionFile(folder).stat().st_mtime_ns != before, 10, "saving")
    markers = Session(sessionFile(folder)).markers()
    report.equal("a marker for each scene", len(markers), 2)
    # While it rolls, this engine no longer finds the marker under the playhead when the name arrives, and keeps its own name.
    report.equal("the name of the one that was dropped at a standstill", markers[-1:], ["Strophe 2 – Größe 🎵"])
    recorder.quit()
    try:
        corvanectl("transport")
        report.check("nobody answers once the recorder is gone", False)
    except corvane.Refused as refused:
        report.equal("nobody answers once the recorder is gone", refused.status, 3)


def beInState(wanted):
    if wanted == "recording":
        osc.send("/rec_enable_toggle")
        recorder.settle((0, 1), "enabling the recording")
    if wanted != "standing":
        osc.send("/transport_play")
        recorder.settle((1, int(wanted == "recording")), wanted)


def undisturbed(wanted, action):
    """Does something and says whether the transport, the recording and the playhead went on as if nothing had been."""
    before, at = recorder.transport(), osc.ask("/transport_frame")[0]
    result = action()
    time.sleep(0.5)
    after, now = recorder.transport(), osc.ask("/transport_frame")[0]
    report.equal(f"the transport goes on, {wanted}", after, before)
    report.check(f"and the playhead has not jumped, {wanted}", now == at if wanted == "standing" else now > at, (at, now))
    return result


@scenario("Markers in both ways, and scenes A, B, A, whatever the transport does")
def markersInBothWays():
    folder = create("Markers", BAND)
    expected = []
    for place, wanted in enumerate(("standing", "playing", "recording")):
        osc.send("/locate", 48000 * 60 * (place + 1), 0)
        time.sleep(0.5)
        beInState(wanted)
        undisturbed(wanted, lambda: corvanectl("marker", f"{wanted}, named", "--style", "named"))
        # The classic way finds no marker under a playhead that moves on.
        undisturbed(wanted, lambda: corvanectl("marker", f"{wanted}, classic", "--style", "classic"))
        for name in "A", "B":
            corvanectl("marker", f"{wanted} {name}", "--style", "named")
        corvanectl("save")
        time.sleep(1)
        sent = undisturbed(wanted, lambda: corvanectl("marker", f"{wanted} A", "--confirm"))
        report.equal("a name that exists is dropped and named in one", sent, {"sent": ["/add_marker"]})
        expected += [f"{wanted}, named"] + [f"{wanted}, classic"] * (wanted == "standing")
        expected += [f"{wanted} A", f"{wanted} B", f"{wanted} A"]
        osc.send("/transport_stop")
        recorder.settle((0, 0), "stopping")
        time.sleep(1)
    session = savedByRecorder(folder)
    marks = [m for m in session.root.find("Locations") if "IsMark" in m.get("flags", "")]
    inOrder = sorted(marks, key=lambda m: int(m.get("start")[1:]))
    names = [m.get("name") for m in inOrder]
    report.equal("their names, in order of their places", [n for n in names if not n.startswith("mark")], expected)
    report.equal("and those that came too late for a moving playhead", len(names) - len(expected), 2)
    listed = corvanectl("markers", folder)
    ticks = int(session.root.find("TempoMap").get("superclocks-per-second"))
    places = [round(int(m.get("start")[1:]) * listed["rate"] / ticks) for m in inOrder]
    report.equal("markers lists them so", [(m["samples"], m["name"]) for m in listed["markers"]], list(zip(places, names)))
    recorder.quit()


@scenario("The window: scenes A, B, A while it records")
def scenesAgainWhileRecording():
    folder = create("Again", BAND)
    beInState("recording")
    with corvane.Console(BAND, "--announce", "multicast") as console, corvane.Window():
        console.waitForClient()
        for name in "A", "B", "A":  # the console has told its first scene already
            console.tell(f"scene {name}")
            time.sleep(1)
    report.equal("the recording goes on", recorder.transport(), (1, 1))
    osc.send("/transport_stop")
    recorder.settle((0, 0), "stopping")
    names = savedByRecorder(folder).markers()
    report.equal("three markers, and the one that was there already by its name", (len(names), names[2:]), (3, ["A"]))
    recorder.quit()


@scenario("Markers at block sizes from 256 to 8,192", long=True)
def markersAtBlockSizes():
    for block in markers.BLOCKS:
        for row in markers.measure(block):
            report.equal(f"{block}, {row.transport}, {row.way}", markers.outcome(row), markers.EXPECTED[row.way, row.transport])


@scenario("The window: a console found, a session created, a change applied, a scene marked")
def throughTheWindow():
    music = recorder.HOME / "Music"
    music.mkdir()
    folder = music / "LV1 Session"
    with corvane.Console(BAND, "--announce", "multicast") as console, corvane.Window() as window:
        console.waitForClient()
        window.click(window.CREATE)
        recorder.confirmAudioSetup()
        checkSession(savedByRecorder(folder), BAND)
        recorder.record(1)
        before = savedByRecorder(folder)
        console.tell("scene Zugabe – Größe 🎵")
        time.sleep(1)
        for command in "rename 1 Kick In", "move 3 8", "stereo 4 off":
            console.tell(command)
        time.sleep(1)
        first = recorder.pids()
        window.click(window.SYNC)
        window.answerAlert()
        recorder.waitFor(lambda: recorder.pids() and recorder.pids() != first, 60, "the recorder's second start")
        changed = copy.deepcopy(BAND)
        changed[0]["name"] = "Kick In"
        changed[2]["inputIndex"] = 7
        changed[3]["stereo"] = False
        after = savedByRecorder(folder)
        checkSession(after, changed)
        report.equal("what was recorded on Kick is on Kick In", after.track("Kick In").regions(), before.track("Kick").regions())
        report.equal("the scene has its marker, saved before the update", after.markers(), ["Zugabe – Größe 🎵"])
        recorder.quit()
        checkSignature(folder, patchFile(changed))
    report.equal("the program ends in order", window.process.returncode, 0)
    report.equal("the recorder complains of nothing", complaints(corvane.LOG), [])


def hook(identifier, name):
    """An action hook as the recorder stores one: its state is Lua text in base64."""
    state = f's = {{}} s["n"] = "{name}" s["s"] = "-- {name}" s["f"] = "return function () end" s["a"] = {{}} '
    signals = "1".rjust(32, "0")
    content = base64.b64encode(state.encode()).decode()
    return f'    <LuaCallback lua="Lua 5.3" id="{identifier}" name="{name}" signals="{signals}">{content}</LuaCallback>\n'


def scripts(*hooks):
    return f"""<?xml version="1.0" encoding="UTF-8"?>
<UIScripts>
  <ActionHooks>
{"".join(hooks)}  </ActionHooks>
</UIScripts>
"""


def quitByMenu():
    """The recorder's own way out, on which it writes its configuration."""
    osc.send("/access_action", "Common/Quit")
    recorder.waitFor(lambda: not recorder.pids(), 20, "the recorder's end")


@scenario("The recorder's configuration, hooks and list of sessions")
def configuration():
    first = create("First", BAND)
    savedByRecorder(first)
    quitByMenu()
    config, backup, hooks = (recorder.PREFERENCES / n for n in ("config", "config.corvane-backup", "ui_scripts"))
    backup.unlink()
    written = config.read_bytes()
    hooks.write_text(scripts(hook(770, "My Hook"), hook(771, "Corvane Tick"), hook(772, "Corvane Sync"), hook(773, "Wolke ☁")))
    corvanectl("sync", first, "--from", patchFile(BAND), "--launch")
    report.equal("the backup is what the recorder wrote", backup.read_bytes(), written)
    changes = [line for line in difflib.ndiff(written.decode().splitlines(), config.read_text().splitlines()) if line[0] in "+-"]
    report.check("something was changed", changes)
    report.equal("only the surface's switches were changed",
                 [c for c in changes if not any(n in c for n in ('"osc-port"', '"use-osc"', '"Open Sound Control (OSC)"'))], [])
    report.equal("only the old hooks were taken out", hooks.read_text(), scripts(hook(770, "My Hook"), hook(773, "Wolke ☁")))
    recorder.waitUntilReady()
    report.check("the recorder came up with both", recorder.isReady())
    quitByMenu()
    surface = next(p for p in ET.parse(config).getroot().iter("Protocol") if p.get("name") == "Open Sound Control (OSC)")
    report.equal("the recorder keeps the surface on", surface.get("active"), "1")
    second = create("Second", BAND)
    report.equal("the list of sessions, newest first", (recorder.PREFERENCES / "recent").read_text().splitlines(),
                 ["Second", str(second), "First", str(first)])
    report.equal("the backup is still the first", backup.read_bytes(), written)
    recorder.quit()
    report.equal("the recorder complains of nothing", complaints(corvane.LOG), [])


@scenario("Twenty rounds of changes", long=True)
def manyRounds():
    folder = create("Rounds", BAND)
    recorder.record(1)
    session = savedByRecorder(folder)
    recorder.quit()
    sizes = []
    for round in range(20):
        channels = [channel(f"{c['name']} {round}", 1 + (c["inputIndex"] + round) % 7, c["stereo"]) for c in BAND]
        used, kept = set(), []
        for c in channels:
            wanted = set(port for ports in captures(c, 99) for port in ports)
            if not wanted & used:
                used |= wanted
                kept.append(c)
        report.title(f"  round {round + 1}: {len(kept)} channels")
        before, session = syncAndOpen(folder, kept, None)
        corvanectl("sync", folder, "--from", patchFile(kept))
        sizes.append(sessionFile(folder).stat().st_size)
    report.check("the number of ids taken stays within reason", session.idCounter() < 100000, session.idCounter())
    report.check("the file does not grow beyond the playlists that the recorder keeps", sizes[-1] < 4 * sizes[0], sizes)


@scenario("Many channels on a device that has as many ports", long=True)
def manyChannels():
    with corvane.Jack(256):
        for count in 64, 256:
            report.title(f"  {count} channels")
            recorder.useJack()
            pairs = count // 4
            channels = [channel(f"Paar {i + 1}", 1 + 2 * i, stereo=True) for i in range(pairs)]
            channels += [channel(f"Kanal {i + 1}", 1 + 2 * pairs + i) for i in range(count - 2 * pairs)]
            folder = create(f"Festival {count}", channels)
            checkSession(savedByRecorder(folder, recorder.JACK), channels, 256)
            recorder.quit()
            checkSignature(folder, patchFile(channels))
            changed = [c | {"name": c["name"] + " neu"} for c in reversed(channels)]
            done = corvanectl("sync", folder, "--from", patchFile(changed), "--launch")
            report.equal("the counts", done, {"adjusted": len(channels), "added": 0, "removed": 0})
            checkSession(savedByRecorder(folder, recorder.JACK), changed, 256)
            recorder.quit()
            checkSignature(folder, patchFile(changed))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--long", action="store_true")
    parser.add_argument("--only", default="", metavar="TEXT", help="the scenarios whose title contains TEXT")
    options = parser.parse_args()
    os.chdir(recorder.HOME)
    with recorder.Display() as display:
        for title, run, long in SCENARIOS:
            if (long and not options.long) or options.only.lower() not in title.lower():
                continue
            report.title(title)
            for left in recorder.HOME.iterdir():
                shutil.rmtree(left) if left.is_dir() else left.unlink()
            recorder.prepareHome()
            before = report.failed
            try:
                run()
            except Exception as error:
                traceback.print_exc(file=sys.stdout)
                report.check("ran to its end", False, error)
            if report.failed > before:
                name = "".join(c if c.isalnum() else "-" for c in title)
                display.keepPicture(OUTPUT / (name + ".png"))
                shutil.copytree(recorder.HOME, OUTPUT / name, symlinks=True, dirs_exist_ok=True,
                                ignore_dangling_symlinks=True)
            recorder.quit()
    return report.summary()


sys.exit(main())
