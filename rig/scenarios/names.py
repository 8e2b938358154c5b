"""Names: of tracks that a person renamed in the recorder, of channels that are like ids, and of those that are too long."""

import headless
from corvane import channel, corvanectl, patchFile
from report import report
from shows import checkTakes, createQuietly, read, scenario, syncQuietly, tones

SHORT = ["L", "R", "A", "i", "1", "in", "Input", "Audio"]
OTHERS = ["Meter", "rec", "Track", "Vox 2"]
RECORD = "armAll(true) roll(1, true)"


def renamed(folder, names):
    """Renames the tracks from top to bottom, as a person does in the recorder: disarmed, the ports follow."""
    tracks = [t.name for t in read(folder).tracks]
    renaming = "".join(f"route({headless.text(was)}):set_name({headless.text(now)})\n" for was, now in zip(tracks, names))
    headless.opened(folder, f"armAll(false)\n{renaming}")
    return read(folder)


@scenario("Tracks renamed in the recorder to L, R, A, i, 1, in, Input, Audio, Meter, rec, Track, Vox 2")
def renamedTracks():
    for turn, names in enumerate((SHORT, OTHERS)):
        channels = [channel(f"Channel {n}", n) for n in range(1, len(names) + 1)]
        folder = createQuietly(f"Renamed {turn}", channels, RECORD)
        session = renamed(folder, names)
        report.equal("they bear the names", [t.name for t in session.tracks], names)
        report.equal("and so do their ports", [t.namespace for t in session.tracks], names)
        turned = channels[1:] + channels[:1]
        syncQuietly(folder, turned, (len(names), 0, 0), RECORD)
        session = read(folder)
        checkTakes(session, {c["name"]: [tones(c), tones(c)] for c in channels})
        report.equal("a sound file for each track and take", session.files(), 2 * len(names))


@scenario("A channel that is called like the id of another track's playlist, such as “416”")
def channelLikeAPlaylist():
    channels = [channel("Kick", 1), channel("Vox", 2), channel("Gast", 3)]
    identifier = read(createQuietly("Ids", channels)).track("Vox").playlist.get("id")
    channels[0] = channels[0] | {"name": identifier}
    folder = createQuietly("Microphones", channels, RECORD)
    before = read(folder)
    report.equal("one playlist's name is the other's id",
                 [before.track(n).playlist.get(key) for n, key in ((identifier, "name"), ("Vox", "id"))], [identifier] * 2)
    checkTakes(before, {identifier: [[[1]]], "Vox": [[[2]]], "Gast": [[[3]]]})
    _, after = syncQuietly(folder, [channels[0], channels[2]], (2, 0, 1))
    checkTakes(after, {identifier: [[[1]]], "Gast": [[[3]]]})
    report.equal("no sound file is lost", after.files(), before.files())
    report.check("the removed track's take stays in the session", identifier in after.playlistIds(), after.playlistIds())


@scenario("Names of 243 and of 244 bytes")
def longNames():
    fits, tooLong = "F" * 243, "Ü" * 122
    channels = [channel(fits, 1), channel(tooLong, 2)]
    folder = createQuietly("Long", channels, RECORD)
    session = read(folder)
    report.equal("the names are whole", [t.name for t in session.tracks], [fits, tooLong])
    checkTakes(session, {fits: [[[1]]], tooLong: [[None]]})
    report.equal("one sound file for two takes", session.files(), 1)
    warnings = corvanectl("plan", folder, "--from", patchFile(channels)).get("warnings", [])
    report.check("plan says so, with the name as long as a line takes it", len(warnings) == 1 and "ÜÜÜ" in warnings[0]
                 and warnings[0].endswith("” is too long: LiveTrax would record it without a file."), warnings)
    report.equal("and nothing of a name that fits", corvanectl("plan", folder, "--from", patchFile(channels[:1])).get("warnings", []), [])
