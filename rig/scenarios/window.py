"""Corvane's own window beside the recorder's."""

import copy
import time

import corvane
import markers
import osc
import recorder
from corvane import patchFile
from report import report
from shows import BAND, checkSession, checkSignature, checkTakes, complaints, create, savedByRecorder, scenario, tones, width


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
        checkTakes(before, {c["name"]: [tones(c)] for c in BAND})
        report.equal("a sound file for each input", before.files(), width(BAND))
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
        checkTakes(after, {"Kick In": [[[1]]], "Ride & Crash": [[[2], [3]]], "Sängerin 🎤": [], "鍵盤": [], "Talkback": [[[7]]]})
        report.equal("every sound file is still there", after.files(), before.files())
        report.equal("the scene has its marker, saved before the update", after.markers(), ["Zugabe – Größe 🎵"])
        recorder.quit()
        checkSignature(folder, patchFile(changed))
    report.equal("the program ends in order", window.process.returncode, 0)
    report.equal("the recorder complains of nothing", complaints(corvane.LOG), [])


@scenario("The window: scenes A, B, A while it records")
def scenesAgainWhileRecording():
    folder = create("Again", BAND)
    markers.enter("recording")
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
