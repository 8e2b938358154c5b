#!/usr/bin/env python3
"""Times corvanectl's commands on sessions as whole processes, beside what XML libraries alone need for the same
file, and prints a table.

    bench/commands.py BIN_FOLDER [--rounds N] [--shapes TRACKS-MB ...]

What is compared takes turns; of the ratios within one round the median counts. Processor time is that of the
process and its threads, so that other programs on the machine disturb it least; the clock wants a machine that has
nothing else to do. Sessions are kept where TMPDIR says: in memory the disk is not measured, and copies flush for nothing.
"""

import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

SHAPES = ["16-0", "64-0", "256-0", "1024-0", "4096-0", "24-1", "24-10", "24-100"]
CPU, CLOCK, MEMORY = range(3)


class Bench:
    def __init__(self, binaries, folder):
        self.binaries = binaries
        self.folder = folder
        self.room = os.path.join(folder, "room")
        program = os.path.join(self.room, "Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3")
        os.makedirs(os.path.dirname(program))
        open(program, "w").close()

    def run(self, program, *arguments):
        """Processor seconds, seconds and megabytes at the peak."""
        command = [os.path.join(self.binaries, program), *arguments]
        null = os.open(os.devnull, os.O_RDWR)
        before = time.monotonic()
        child = os.posix_spawn(command[0], command, os.environ, file_actions=[(os.POSIX_SPAWN_DUP2, null, 1)])
        _, status, usage = os.wait4(child, 0)
        elapsed = time.monotonic() - before
        os.close(null)
        if status != 0:
            sys.exit(f"{' '.join(command)} ended with status {status}")
        return usage.ru_utime + usage.ru_stime, elapsed, usage.ru_maxrss / 1024

    def session(self, shape):
        """The folder of a session of that shape, and a patch file that renames all its tracks."""
        tracks, megabytes = shape.split("-")
        subprocess.run([os.path.join(self.binaries, "session_benchmarks"), "--once", "load", tracks, megabytes, "0",
                        self.folder], check=True, stdout=subprocess.DEVNULL)
        channels, index = [], 0
        for number in range(1, int(tracks) + 1):
            stereo = number % 8 == 0
            channels.append({"name": f"Guitar {number}", "stereo": stereo, "driver": "SoundGrid 1",
                             "inputIndex": index, "sourceType": "Mixer_Ch", "sourceIndex": number})
            index += 2 if stereo else 1
        patch = os.path.join(self.folder, f"{shape}.json")
        with open(patch, "w") as file:
            json.dump({"version": 1, "channels": channels}, file)
        return os.path.join(self.folder, f"Show {shape}"), patch

    def round(self, session, patch):
        """One run of each, by name."""
        file = os.path.join(session, os.path.basename(session) + ".ardour")
        result = os.path.join(self.folder, "result")
        changed = os.path.join(self.folder, "changed", os.path.basename(session))
        shutil.rmtree(changed, ignore_errors=True)
        shutil.copytree(session, changed)
        measured = {name: self.run("bare_xml", name, file, result)
                    for name in ("load", "save", "pugixml-load", "pugixml-save", "copy")}
        rehearsal = ("--rehearse", self.room)
        measured["signature"] = self.run("corvanectl", "signature", session, *rehearsal)
        measured["plan"] = self.run("corvanectl", "plan", session, "--from", patch, *rehearsal)
        measured["sync"] = self.run("corvanectl", "sync", changed, "--from", patch, *rehearsal)
        return measured


def row(shape, size, rounds):
    def median(name, kind):
        return statistics.median(each[name][kind] for each in rounds)

    def ratio(name, measure, kind):
        return statistics.median(each[name][kind] / max(each[measure][kind], 1e-9) for each in rounds)

    times = [f"{1e3 * median(name, CPU):.0f} ms" for name in ("load", "pugixml-load", "save", "pugixml-save", "copy")]
    commands = [f"{1e3 * median(name, CPU):.0f} ms, {ratio(name, measure, CPU):.2f}"
                for name, measure in (("signature", "load"), ("plan", "load"), ("sync", "save"))]
    tracks = shape.split("-")[0]
    print(f"| {tracks} tracks | {size / 1e6:.3g} MB | {' | '.join(times)} | {' | '.join(commands)} "
          f"| {ratio('sync', 'save', CLOCK):.2f} | {ratio('sync', 'save', MEMORY):.2f} |", flush=True)


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("binaries")
    arguments.add_argument("--rounds", type=int, default=9)
    arguments.add_argument("--shapes", nargs="+", default=SHAPES)
    options = arguments.parse_args()
    print("| session | file | load | pugixml | load and save | pugixml | flushed copy | `signature`, times a load "
          "| `plan`, times a load | `sync`, times a load and save | by the clock | peak memory |")
    print("|" + "---|" * 12)
    with tempfile.TemporaryDirectory() as folder:
        bench = Bench(os.path.abspath(options.binaries), folder)
        for shape in options.shapes:
            session, patch = bench.session(shape)
            file = os.path.join(session, os.path.basename(session) + ".ardour")
            row(shape, os.path.getsize(file), [bench.round(session, patch) for _ in range(options.rounds)])
            shutil.rmtree(session)
    print()


main()
