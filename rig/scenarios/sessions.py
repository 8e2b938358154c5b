"""Sessions that Corvane made, and their updates, in the recorder with its window."""

import corvane
import make_sessions
import prediction
import recorder
from corvane import channel, corvanectl, patchFile
from report import report
from session import Session, differences
from shows import (BAND, SHOWS, checkSession, checkSignature, checkTakes, complaints, create, foreign, savedByRecorder,
                   scenario, sessionFile, syncAndOpen, tones, width)

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


def livesInTheRecorder(path, what, was, now):
    """What the recorder itself changes between two of its saves: the numbering of clip columns, where a fader that follows
    its automation happens to stand, and by which name a processor calls the IO that it plays into."""
    if what == "@output":
        return path.count("/") == 2 and now.startswith("Audio ")
    return "TriggerBox" in path and what == "@order" or "gaincontrol" in path and what == "@value"


@scenario("SYNC after a rename, a move, an addition, a removal, mono to stereo and another order")
def syncABand():
    folder = create("Band", BAND)
    recorder.record(1)
    before = savedByRecorder(folder)
    recorder.quit()
    checkTakes(before, {c["name"]: [tones(c)] for c in BAND})
    report.equal("a sound file for each input", before.files(), width(BAND))
    changed = [
        channel("Ride & Crash", 2, stereo=True, color=(0.1, 0.2, 0.3)),
        channel("Gast", 6),
        channel("Sängerin 🎤", 8),
        channel("Kick In", 1),
        channel("鍵盤", 4, stereo=True),
    ]
    before, after = syncAndOpen(folder, changed, {"adjusted": 2, "added": 3, "removed": 3})
    checkTakes(after, {"Kick In": [[[1]]], "Ride & Crash": [[[2], [3]]], "Gast": [], "Sängerin 🎤": [], "鍵盤": []})
    report.equal("every sound file is still there", after.files(), before.files())
    syncAndOpen(folder, changed, {"adjusted": 5, "added": 0, "removed": 0})


@scenario("SYNC of a session that the recorder's user made")
def syncAForeignSession():
    recorder.prepareHome(surfaceOn=True)
    folder = make_sessions.jazzClub()
    channels = [
        foreign("Grand Piano", 5, stereo=True),
        foreign("Overheads", 2, stereo=True),
        foreign("Kick Out", 1),
        foreign("Sängerin", 4),
        channel("Ansage", 8),
    ]
    before, after = syncAndOpen(folder, channels, {"adjusted": 4, "added": 1, "removed": 1})
    checkTakes(after, {"Kick Out": [[[1]]], "Overheads": [[[2], [3]]], "Sängerin": [[[4]]]})
    report.equal("every sound file is still there", after.files(), before.files())
    report.equal("the buses are there", [b.get("name") for b in after.buses], [b.get("name") for b in before.buses])
    added = [t.route for t in after.tracks if t.name == "Ansage"]
    expected = {r.get("id"): r for r in prediction.updated(before.root, channels, added, before.device).find("Routes")}
    for track in after.tracks:
        if track.route not in added:
            report.equal(f"plug-ins, sends and automation of {track.name} are as they were, saved by the recorder again",
                         [d for d in differences(expected[track.id], track.route) if not livesInTheRecorder(*d)], [])


@scenario("Names that the recorder does not take as they are")
def awkwardNames():
    names = ["GTR L/R", "Vox: Lead", "<Click>", "\"Q\" & A", "a|b*c?", "Back\\slash", "Master", "Audio 3", "42", "A" * 120]
    taken = ["GTR L_R", "Vox_ Lead", "_Click_", "_Q_ & A", "a_b_c_", "Back_slash", "Master", "Audio 3", "42", "A" * 120]
    channels = [channel(name, 1 + index) for index, name in enumerate(names)]
    folder = create("Names", channels)
    session = savedByRecorder(folder)
    report.equal("the recorder's own spelling", [t.name for t in session.tracks], taken)
    checkSession(session, channels, names=taken)
    recorder.quit()
    done = corvanectl("sync", folder, "--from", patchFile(channels))
    report.equal("a sync finds every track again by its input", done, {"adjusted": 8, "added": 2, "removed": 2})
    spelled = [t.name for t in Session(sessionFile(folder)).tracks]
    report.equal("and gives it the console's spelling", spelled, names)
