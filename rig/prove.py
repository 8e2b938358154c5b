"""Corvane beside a real recorder engine: what it makes is opened, saved and answered by a program that nobody here wrote."""

import argparse
import os
import shutil
import sys
import time
import traceback
from pathlib import Path

import recorder
import shows
from report import report
from scenarios import comparison, configuration, devices, directouts, guards, names, remote, rounds, sessions, window  # noqa: F401

OUTPUT = Path("/run/output")
# What no run of the rig shows, whatever passed.
UNPROVEN = [
    "LiveTrax itself: this is the public engine that its sessions are made for, with direct outs switched on. What the"
    " product changes in that engine, in its files or in its OSC surface is not seen here",
    "which playback channel LiveTrax sends a direct out to: this engine goes by the port's connection alone, takes no notice"
    " of bitslot and saves it as 0",
    "CoreAudio and a SoundGrid driver: devices here are the engine's dummies and a JACK server without hardware, whose"
    " inputs beyond the eighth carry silence, so that takes are compared by content on eight inputs only",
    "macOS: its paths, its list of running programs, its way to quit a program",
    "a real LV1: the console is Corvane's own stand-in",
    "a power cut: the crash is one of the engine, the disk keeps what was written",
]


def chosen():
    """The scenarios that the words of the command line ask for; ends the program with 2 where they ask for none."""
    parser = argparse.ArgumentParser(prog="rig/run", add_help=False)
    parser.add_argument("--long", action="store_true")
    parser.add_argument("--only", default="", metavar="TEXT")
    options = parser.parse_args()
    found = [(title, run) for title, run, long in shows.SCENARIOS
             if (options.long or not long) and options.only.lower() in title.lower()]
    if not found:
        parser.error(f"no scenario's title contains “{options.only}”")
    return found


def runOne(title, run, display):
    report.title(title)
    for left in recorder.HOME.iterdir():
        shutil.rmtree(left) if left.is_dir() and not left.is_symlink() else left.unlink()
    recorder.prepareHome()
    shows.FOREIGN.clear()
    before, start = report.failed, time.monotonic()
    try:
        run()
    except Exception as error:
        traceback.print_exc(file=sys.stdout)
        report.check("ran to its end", False, error)
    if report.failed > before:
        name = "".join(c if c.isalnum() else "-" for c in title)
        display.keepPicture(OUTPUT / (name + ".png"))
        shutil.rmtree(OUTPUT / name, ignore_errors=True)
        shutil.copytree(recorder.HOME, OUTPUT / name, symlinks=True, dirs_exist_ok=True, ignore_dangling_symlinks=True)
    recorder.quit()
    print(f"  {time.monotonic() - start:.0f} s", flush=True)


def main():
    scenarios = chosen()
    os.chdir(recorder.HOME)
    with recorder.Display() as display:
        for title, run in scenarios:
            runOne(title, run, display)
    report.notRun([title for title, _, _ in shows.SCENARIOS if title not in [t for t, _ in scenarios]])
    report.unproven(UNPROVEN)
    return report.summary()


if __name__ == "__main__":
    sys.exit(main())
