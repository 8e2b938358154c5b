"""What the comparisons of the other scenarios find: strays put into a session by hand, takes in the wrong place."""

import copy

import prediction
from corvane import channel
from report import report
from session import isAudioTrack
from shows import createQuietly, read, scenario, sync

# Ids that no object of such a small session has.
ROUTE, PLAYLIST = "9000001", "9000002"


def addCopy(root, section, original, **attributes):
    """A copy of an element beside it, as a new one of its own."""
    stray = copy.deepcopy(original)
    stray.attrib |= attributes
    root.find(section).append(stray)
    return stray


def bus(root):
    addCopy(root, "Routes", next(r for r in root.find("Routes") if not isAudioTrack(r)), id=ROUTE, name="Stray")


def playlist(root):
    addCopy(root, "Playlists", root.find("Playlists/Playlist"), id=PLAYLIST, name="Stray.1")


def secondTrack(root):
    """The added track a second time, with a playlist of its own."""
    playlist(root)
    addCopy(root, "Routes", root.find("Routes/Route[@name='Gast']"), id=ROUTE, **{"name": "Stray", "audio-playlist": PLAYLIST})


def otherInput(root):
    prediction.connect(prediction.inputPorts(root.find("Routes/Route[@name='Gast']")), prediction.CAPTURE, 7)


@scenario("What an update was not to add, and takes that have changed places, are found")
def straysAreFound():
    channels = [channel("Kick", 1), channel("Keys", 2, stereo=True), channel("Vox", 4)]
    folder = createQuietly("Strays", channels, "armAll(true) roll(1, true)")
    wanted = [*channels[:2], channel("Gast", 5)]
    before, after = sync(folder, wanted, (2, 1, 1))
    routes, playlists = (f"/Session[Strays]/{section}" for section in ("Routes", "Playlists"))
    for what, add, places in (("a bus", bus, [routes]), ("a playlist", playlist, [playlists]),
                              ("a second track for a channel", secondTrack, [routes, playlists]),
                              ("a track for an input that no channel has", otherInput, [routes, playlists])):
        root = copy.deepcopy(after.root)
        add(root)
        found = prediction.unexpected(before.root, root, wanted)
        report.equal(f"{what} is found", [(path, difference) for path, difference, *_ in found],
                     [(place, "children") for place in places])
    taken = after.takesById()
    report.equal("the takes, by what is in them", sorted(taken.values()), [[], [[[1]]], [[[2], [3]]]])
    left, right = after.takeFiles("Keys")[0]
    left.rename(left.with_suffix(".aside"))
    right.rename(left)
    left.with_suffix(".aside").rename(right)
    exchanged = read(folder)
    report.equal("the sources are called as before", exchanged.sources(), after.sources())
    report.equal("that they have changed places is found", sorted(exchanged.takesById().values()), [[], [[[1]]], [[[3], [2]]]])
