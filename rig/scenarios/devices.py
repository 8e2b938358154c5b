"""Devices: many channels, fewer inputs for once, another interface."""

import hashlib

import audio
import corvane
import headless
import recorder
from corvane import channel, corvanectl, patchFile
from report import report
from shows import (checkSession, checkSignature, create, createQuietly, read, savedByRecorder, scenario, syncQuietly,
                   tones, width)


@scenario("Many channels on a device that has as many ports", long=True)
def manyChannels():
    with corvane.Template("--backend-id", recorder.JACK), corvane.Jack(256):
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


def contents(session):
    """What each of a session's sound files holds, in short."""
    return {file: hashlib.sha256(file.read_bytes()).hexdigest() for file in session.soundFiles()}


@scenario("Fewer device inputs once: 64, 32 and 64 again, over JACK")
def fewerInputs():
    channels = [channel("Kick", 1), channel("Keys", 2, stereo=True), channel("Vox", 32), channel("Paar", 33, stereo=True),
                channel("Chor", 63, stereo=True), channel("Gast", 40)]
    lost = [c["name"] for c in channels if c["inputIndex"] >= 32]
    with corvane.Template("--backend-id", recorder.JACK):
        with corvane.Jack(64):
            folder = createQuietly("Inputs", channels, "armAll(true) roll(0.5, true)", jack=True)
            checkSession(read(folder, recorder.JACK), channels, 64)
            # A server without hardware records silence, so that takes are told apart by their files.
            recorded = read(folder, recorder.JACK)
            takes, files = {c["name"]: recorded.takeFiles(c["name"]) for c in channels}, contents(recorded)
            report.equal("every channel has one take", [[len(take) for take in takes[c["name"]]] for c in channels],
                         [[len(tones(c))] for c in channels])
            report.equal("a sound file for each input", len(files), width(channels))
            report.equal("with samples in it", [file.name for file in files if not audio.samples(file)], [])
        with corvane.Jack(32):
            headless.opened(folder, jack=True)
        left = [t.name for t in read(folder, recorder.JACK).tracks if any(t.captures)]
        report.equal("the engine drops the connections of the rest", left, [c["name"] for c in channels if c["name"] not in lost])
        plan = corvanectl("plan", folder, "--from", patchFile(channels))["tracks"]
        report.equal("plan says whose recordings go", [(t["name"], t["takes"]) for t in plan if t["action"] == "remove"],
                     [(name, 1) for name in lost])
        report.equal("and that new tracks come", [t["name"] for t in plan if t["action"] == "add"], lost)
        with corvane.Jack(64):
            before, after = syncQuietly(folder, channels, (len(channels) - len(lost), len(lost), len(lost)),
                                        preferred=recorder.JACK, jack=True)
        report.equal("every sound file is still there, as it was", contents(after), files)
        gone = {t.playlist.get("id") for t in before.tracks if t.name in lost}
        report.equal("and every take in the session", gone - set(after.playlistIds()), set())
        report.equal("what could be kept has its take", {t.name: after.takeFiles(t.name) for t in after.tracks},
                     {name: [] if name in lost else take for name, take in takes.items()})
