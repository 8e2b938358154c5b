"""Makes the recorder sessions that the tests use as data, with the recorder's own engine. Run by rig/make-sessions."""

import os
import shutil
import sys
import time
from pathlib import Path

import headless
import osc
import recorder

SESSIONS = recorder.HOME / "Sessions"
LOG = recorder.HOME / "recorder.log"
SILENCE = "Silence"


def script(name, **device):
    """Runs one of the scripts in the engine's scripting host."""
    headless.run((Path(__file__).parent / "sessions" / (name + ".lua")).read_text(), **device)


def sessionFile(name):
    return SESSIONS / name / (name + ".ardour")


def soundcheck(device):
    """A session made from a user template and saved, nothing else."""
    script("Band", device=device)
    template = recorder.PREFERENCES / "templates/Band"
    template.mkdir(parents=True)
    shutil.move(sessionFile("Band"), template / "Band.template")
    recorder.start(["-T", "Band", "-N", SESSIONS / "Soundcheck"], LOG)
    recorder.confirmAudioSetup()
    recorder.waitUntilReady()
    recorder.save(sessionFile("Soundcheck"))
    recorder.quit()


def jazzClub(device=recorder.TONES):
    """A session with a bit of everything and a take, as somebody made it in the recorder."""
    script("JazzClub", device=device)
    recorder.start([SESSIONS / "Jazz Club"], LOG)
    recorder.waitUntilReady()
    osc.send("/add_marker")
    time.sleep(0.1)
    osc.send("/marker", "Refrain für alle")
    for strip in 1, 2, 3:
        osc.send("/strip/recenable", strip, 1)
    recorder.record(2)
    osc.send("/add_marker")
    time.sleep(0.5)
    recorder.save(sessionFile("Jazz Club"))
    recorder.quit()
    return SESSIONS / "Jazz Club"


def main():
    os.chdir(recorder.HOME)
    recorder.prepareHome(SILENCE, surfaceOn=True)
    with recorder.Display():
        for make in soundcheck, jazzClub:
            make(SILENCE)
    for name in "Soundcheck", "Jazz Club":
        target = Path(sys.argv[1]) / name
        target.mkdir(parents=True, exist_ok=True)
        shutil.copy(sessionFile(name), target)
        print("made", target / (name + ".ardour"))


if __name__ == "__main__":
    main()
