"""Makes the recorder sessions that the tests use as data, with the recorder's own engine. Run by rig/make-sessions."""

import os
import shutil
import subprocess
import sys
import time
from pathlib import Path

import osc
import recorder

SESSIONS = recorder.HOME / "Sessions"
LOG = recorder.HOME / "recorder.log"


def script(name):
    """Runs one of the scripts in the engine's scripting host."""
    settings = recorder.environment() | {"ARDOUR_BACKEND_PATH": str(recorder.APP / "lib/backends")}
    lua = Path(__file__).parent / "sessions" / (name + ".lua")
    host = subprocess.run(["ardour8-lua", lua], env=settings, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if "finished" not in host.stdout:
        sys.exit(f"{lua} failed:\n{host.stdout}{host.stderr}")


def sessionFile(name):
    return SESSIONS / name / (name + ".ardour")


def soundcheck():
    """A session made from a user template and saved, nothing else."""
    script("Band")
    template = recorder.PREFERENCES / "templates/Band"
    template.mkdir(parents=True)
    shutil.move(sessionFile("Band"), template / "Band.template")
    recorder.start(["-T", "Band", "-N", SESSIONS / "Soundcheck"], LOG)
    recorder.confirmAudioSetup()
    recorder.waitUntilReady()
    recorder.save(sessionFile("Soundcheck"))
    recorder.quit()


def jazzClub():
    script("JazzClub")
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
    recorder.prepareHome(surfaceOn=True)
    with recorder.Display():
        for make in soundcheck, jazzClub:
            make()
    for name in "Soundcheck", "Jazz Club":
        target = Path(sys.argv[1]) / name
        target.mkdir(parents=True, exist_ok=True)
        shutil.copy(sessionFile(name), target)
        print("made", target / (name + ".ardour"))


if __name__ == "__main__":
    main()
