"""The recorder's remote control: transport, saving and markers."""

import time

import corvane
import markers
import osc
import recorder
from corvane import corvanectl
from report import report
from session import Session
from shows import BAND, create, savedByRecorder, scenario, sessionFile


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
        markers.enter(wanted)
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


@scenario("Markers at block sizes from 256 to 8,192", long=True)
def markersAtBlockSizes():
    for block in markers.BLOCKS:
        for row in markers.measure(block):
            report.equal(f"{block}, {row.transport}, {row.way}", markers.outcome(row), markers.EXPECTED[row.way, row.transport])
