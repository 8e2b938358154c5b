"""What happens to a session in a week with the recorder, and must not cost a recording."""

import audio
import headless
import recorder
from corvane import channel, corvanectl, patchFile
from report import report
from shows import (BAND, checkSession, checkTakes, createQuietly, read, refusal, savedByRecorder, scenario, sessionFile, sync,
                   syncQuietly, tones)

RECORD = "armAll(true) roll(1, true)"


def feeders(session, bus):
    """The tracks whose outputs a bus's first input is connected to, by both ends' say. The engine may save a connection twice."""
    port = session.bus(bus).find("IO/Port")
    said = {c.get("other") for c in port.findall("Connection")}
    outputs = {p.get("name"): t.name for t in session.tracks for p in t.route.findall("IO[@direction='Output']/Port")}
    meant = sorted(t.name for t in session.tracks for p in t.route.findall("IO[@direction='Output']/Port")
                   if port.get("name") in [c.get("other") for c in p.findall("Connection")])
    return sorted(outputs.get(other, other) for other in said), meant


@scenario("Tracks that feed different buses change places; a track in front of them goes")
def changingPlaces():
    channels = [channel("Click", 5), channel("Kick", 1), channel("Vox", 2)]
    folder = createQuietly("Places", channels, """
        for _, name in ipairs { "Drums", "Vocals" } do addBus(session, name) end
        pause(0.5)
        feed(route("Kick"), route("Drums"))
        feed(route("Vox"), route("Vocals"))
    """ + RECORD)
    fed = {"Drums": (["Kick"], ["Kick"]), "Vocals": (["Vox"], ["Vox"])}
    report.equal("who feeds whom", {b: feeders(read(folder), b) for b in fed}, fed)
    clicked = read(folder).tracks[0].name
    for what, order in ("they change places", (0, 2, 1)), ("a track in front goes", (2, 1)), ("and comes back", (0, 1, 2)):
        present = [channels[i] for i in order]
        _, after = syncQuietly(folder, present, names=[clicked if c["name"] == "Click" else c["name"] for c in present])
        report.equal(f"who feeds whom: {what}", {b: feeders(after, b) for b in fed}, fed)
    checkTakes(after, {"Kick": [[[1]]], "Vox": [[[2]]], clicked: []})


@scenario("A session that was opened once on another device")
def otherDevice():
    channels = [channel("Kick", 1), channel("Keys", 2, stereo=True)]
    folder = createQuietly("Laptop", channels, RECORD)
    headless.opened(folder, 'patch(route("Kick"), 3)\npatch(route("Keys"), 5)', device="Silence")
    first = [c.get("for") for c in read(folder).track("Kick").route.iter("ExtConnection") if c.get("other")][:1]
    report.equal("the other device's connections come first", first, [recorder.deviceId("Silence")])
    more = [channel("Gast", 4), *channels]
    _, after = syncQuietly(folder, more, (2, 1, 0), RECORD)
    checkTakes(after, {"Kick": [[[1]], [[1]]], "Keys": [[[2], [3]], [[2], [3]]], "Gast": [[[4]]]})


@scenario("A session on a device that the base template does not know")
def unknownDevice():
    channels = [channel("Kick", 1), channel("Keys", 2, stereo=True)]
    folder = createQuietly("Elsewhere", channels)
    file = sessionFile(folder)
    elsewhere = recorder.deviceId("Uniform White Noise")
    file.write_text(file.read_text().replace(recorder.deviceId(recorder.TONES), elsewhere))
    headless.opened(folder, device="Uniform White Noise")
    sync(folder, [*channels, channel("Gast", 4)], (2, 1, 0))
    added = read(folder, elsewhere).track("Gast")
    report.equal("a new track records from it and plays to it",
                 (added.captures, [o.playbacks for o in added.directOuts]), ([["system:capture_4"]], [[["system:playback_4"]]]))


def crashedFiles(session):
    """What is in the sound files that the session does not know."""
    known = set(session.sources().values())
    return sorted([sorted(audio.inputs(file))] for file in session.soundFiles() if file.name not in known)


@scenario("A crash while recording, and the recovery")
def crashWhileRecording():
    folder = createQuietly("Crash", BAND, RECORD)
    # The engine writes in pieces of one to two seconds.
    headless.crash(folder, 'armAll(true) roll(4, true, 0, function() print("recording") pause(30) end)', "recording")
    report.equal("the recorder leaves what it needs", [p.name for p in folder.glob("*.pending")], ["Crash.pending"])
    files = {p.name: p.read_bytes() for p in folder.glob("*.*") if p.is_file()}
    backups = sorted(p.name for p in (folder / "backup").glob("*"))
    patch = patchFile([c | {"name": c["name"] + " neu"} for c in BAND[:4]])
    text = "LiveTrax was not closed properly while recording. Open the session in LiveTrax once, then press SYNC LV1 again."
    report.equal("a sync is refused", refusal("sync", folder, "--from", patch), (1, text))
    report.equal("nothing is written", ({p.name: p.read_bytes() for p in folder.glob("*.*") if p.is_file()},
                                        sorted(p.name for p in (folder / "backup").glob("*"))), (files, backups))
    plan = corvanectl("plan", folder, "--from", patch)
    report.check("plan goes on and says it", text in plan["warnings"] and plan["removed"] == 1, plan)
    recorder.start([folder], recorder.HOME / "recovery.log")
    recorder.confirmRecovery()
    session = savedByRecorder(folder)
    recorder.quit()
    checkTakes(session, {c["name"]: [tones(c)] for c in BAND})
    # What this engine recovers is the session. The take itself it leaves in the folder.
    crashed = sorted([tone] for c in BAND for tone in tones(c))
    report.equal("the sound of the take lies there, whichever was written", crashedFiles(session), crashed)
    report.equal("nothing is left to recover", list(folder.glob("*.pending")), [])
    channels = [c | {"name": c["name"] + " neu"} for c in BAND]
    _, after = syncQuietly(folder, channels, (5, 0, 0), RECORD)
    checkTakes(after, {c["name"]: [tones(c), tones(c)] for c in channels})
    report.equal("a sync and a take later as well", crashedFiles(after), crashed)


@scenario("A channel that goes and comes back, and the way back by the history")
def comingBack():
    folder = createQuietly("Return", BAND, RECORD)
    before = read(folder)
    vox, rest = BAND[2], [c for c in BAND if c is not BAND[2]]
    plan = {t["name"]: t.get("takes") for t in corvanectl("plan", folder, "--from", patchFile(rest))["tracks"] if t["action"] == "remove"}
    report.equal("plan says that a recording goes", plan, {vox["name"]: 1})
    _, without = syncQuietly(folder, rest, (4, 0, 1))
    taken = before.track(vox["name"]).playlist.get("id")
    report.check("its take stays in the session", taken in without.playlistIds(), without.playlistIds())
    _, after = syncQuietly(folder, BAND, (4, 1, 0))
    checkTakes(after, {c["name"]: [] if c is vox else [tones(c)] for c in BAND})
    report.equal("no sound file is lost", after.files(), before.files())
    report.check("and its take is there for somebody to put back", taken in after.playlistIds(), after.playlistIds())
    copies = corvanectl("history", folder)["copies"]
    report.equal("the history tells of it", [(c["before"], c["removed"]) for c in copies], [("sync", []), ("sync", [vox["name"]])])
    corvanectl("restore", folder, "--number", "2")
    headless.opened(folder)
    checkSession(read(folder), BAND)
    checkTakes(read(folder), {c["name"]: [tones(c)] for c in BAND})


@scenario("Five presses in vain")
def refusedUpdates():
    folder = createQuietly("Vain", BAND)
    before = sessionFile(folder).read_bytes()
    both = patchFile([channel("Kick", 1), channel("Kick", 2)])
    for _ in range(5):
        status, _ = refusal("sync", folder, "--from", both)
        report.equal("refused", status, 1)
    report.equal("one copy", [p.read_bytes() == before for p in (folder / "backup").glob("Corvane pre-sync *")], [True])
    report.equal("the session is as it was", sessionFile(folder).read_bytes(), before)
    report.equal("the history holds none", corvanectl("history", folder)["copies"], [])
