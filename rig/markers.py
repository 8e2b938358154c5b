"""What the recorder's engine makes of the two ways to drop a marker, message by message; no Corvane in between."""

import shutil
import sys
import time
from collections import namedtuple
from pathlib import Path

import osc
import recorder
from session import Session

SOURCE = Path("/src/tests/data/sessions/Soundcheck")
BLOCKS = (256, 1024, 4096, 8192)
STATES = ("standing", "playing", "recording")
ROUNDS = 8
UNDISTURBED = "undisturbed"
HERE = ("first here", "second here")  # two of the classic way at one place keep their names apart
Row = namedtuple("Row", "block transport way named disturbed again")
ALL, NOT_ALL = "all named", "not all named"
JUMPED = "playhead jumped"
# By way and transport: whether new names are there, and what a name that exists does.
EXPECTED = {
    ("classic", "standing"): (ALL, JUMPED),
    ("classic", "playing"): (NOT_ALL, "transport 1, record 0 became 0, 0"),
    ("classic", "recording"): (NOT_ALL, UNDISTURBED),
    **{("named", transport): (ALL, UNDISTURBED) for transport in STATES},
}
NAMING_DELAY = 0.09  # Corvane's, between the two messages of the classic way


def classic(name):
    osc.send("/add_marker")
    time.sleep(NAMING_DELAY)
    osc.send("/marker", name)


def named(name):
    osc.send("/add_marker", name)


def locate(sample):
    osc.send("/locate", sample, 0)
    time.sleep(0.3)


def playhead():
    answer = osc.ask("/transport_frame")
    return answer and answer[0]


def state():
    """Speed, record-enable and playhead, as the engine says them."""
    return (*recorder.transport(), playhead())


def enter(wanted):
    if wanted == "recording":
        osc.send("/rec_enable_toggle")
        recorder.settle((0, 1), "enabling the recording")
    if wanted != "standing":
        osc.send("/transport_play")
        recorder.settle((1, int(wanted == "recording")), wanted)


def leave():
    osc.send("/transport_stop")
    time.sleep(0.5)
    if recorder.transport()[1]:
        osc.send("/rec_enable_toggle")
    recorder.settle((0, 0), "standing")


def dropAll(style, wanted, prefix, place):
    """Drops markers of new names, each at a place of its own. Returns how often the transport was disturbed."""
    locate(place)
    enter(wanted)
    before = recorder.transport()
    for number in range(ROUNDS):
        if wanted == "standing":
            locate(place + 48000 * number)
        style(f"{prefix} {number}")
        time.sleep(0.4)
    disturbed = recorder.transport() != before
    leave()
    return disturbed


def again(style, wanted, prefix, place):
    """Scenes A, B, A. Returns the transport before and after the second A."""
    locate(place)
    enter(wanted)
    for name in "A", "B":
        if wanted == "standing":
            locate(place + (48000 if name == "B" else 0))
        # Dropped and named in one, so that the name exists whatever the transport does.
        named(f"{prefix} {name}")
        time.sleep(0.7)
    if wanted == "standing":
        locate(place + 96000)
    before = state()
    style(f"{prefix} A")
    time.sleep(0.7)
    after = state()
    leave()
    return before, after


def marks(folder):
    recorder.save(folder / (folder.name + ".ardour"))
    root = Session(folder / (folder.name + ".ardour")).root
    return [(m.get("start"), m.get("name")) for m in root.find("Locations") if "IsMark" in m.get("flags", "")]


def moved(before, after, wanted):
    if before[:2] != after[:2]:
        return f"transport {before[0]:g}, record {before[1]} became {after[0]:g}, {after[1]}"
    jumped = after[2] != before[2] if wanted == "standing" else after[2] < before[2]
    return JUMPED if jumped else UNDISTURBED


def outcome(row):
    """A row in the words of EXPECTED."""
    return ALL if row.named == ROUNDS else NOT_ALL, "disturbed by new names" if row.disturbed else row.again


def measure(block):
    folder = recorder.HOME / f"Markers {block}"
    shutil.copytree(SOURCE, folder)
    (folder / (SOURCE.name + ".ardour")).rename(folder / (folder.name + ".ardour"))
    recorder.prepareHome("Silence", surfaceOn=True, block=block)
    recorder.start([folder], recorder.HOME / f"recorder-{block}.log")
    recorder.waitUntilReady()
    rows, place = {}, 0
    for wanted in STATES:
        for style in classic, named:
            prefix = f"{wanted} {style.__name__}"
            disturbed = dropAll(style, wanted, prefix, place)
            before, after = again(style, wanted, prefix + " again", place + 48000 * 20)
            rows[wanted, style.__name__] = prefix, disturbed, moved(before, after, wanted)
            place += 48000 * 40
    locate(place)
    for name in HERE:
        classic(name)
        time.sleep(0.4)
    found = [name for _, name in marks(folder)]
    recorder.quit()
    report = [Row(block, wanted, style, sum(f"{prefix} {number}" in found for number in range(ROUNDS)), disturbed, repeated)
              for (wanted, style), (prefix, disturbed, repeated) in rows.items()]
    assert [name for name in found if name in HERE] == list(HERE), found
    return report


def main():
    print("| block | transport | way | named | a name that exists |\n|---:|---|---|---|---|", flush=True)
    with recorder.Display():
        for block in map(int, sys.argv[1:] or BLOCKS):
            for row in measure(block):
                count = f"{row.named} of {ROUNDS}" + (", transport disturbed" if row.disturbed else "")
                print(f"| {row.block:,} | {row.transport} | {row.way} | {count} | {row.again} |", flush=True)


if __name__ == "__main__":
    main()
