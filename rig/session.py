"""Reads session files as the recorder saved them, independently of Corvane's own reader."""

import xml.etree.ElementTree as ET
from collections import Counter
from glob import escape as escaped

import audio
import recorder

DEVICE = recorder.deviceId(recorder.TONES)


def isAudioTrack(route):
    return "AudioTrack" in route.find("PresentationInfo").get("flags", "")


def namespace(route):
    """What the names of a route's own ports begin with."""
    ports = [p.get("name", "") for io in route.findall("IO") for p in io.findall("Port")]
    return next((name.split("/audio_")[0] for name in ports if "/audio_" in name), route.get("name"))


class DirectOut:
    """A route's own way to the playback channels."""

    def __init__(self, processor, device):
        self.processor = processor
        self.name = processor.get("name")
        io = next((io for io in processor.findall("IO") if io.get("direction") == "Output"), None)
        ports = [] if io is None else io.findall("Port")
        self.io = None if io is None else io.get("name")
        self.ports = [port.get("name") for port in ports]
        self.playbacks = [connections(port, device) for port in ports]


def directOuts(route, device):
    return [DirectOut(p, device) for p in route.findall("Processor") if p.get("role") == "DirectOuts"]


class Track:
    """One audio track of a session."""

    def __init__(self, route, playlists, device):
        self.route = route
        self.id = route.get("id")
        self.name = route.get("name")
        self.namespace = namespace(route)
        info = route.find("PresentationInfo")
        self.order = int(info.get("order"))
        self.color = int(info.get("color"))
        arming = [c for c in route.findall("Controllable") if c.get("name") == "rec-enable"]
        self.armed = [c.get("value") for c in arming] == ["1"]
        ports = next(io for io in route.findall("IO") if io.get("direction") == "Input").findall("Port")
        self.width = len(ports)
        self.captures = [sorted(connections(port, device)) for port in ports]
        self.directOuts = directOuts(route, device)
        self.playlist = next((p for p in playlists if p.get("id") == route.get("audio-playlist")), None)


def connections(port, device):
    """The hardware ports that a port is connected to while the recorder runs on a device."""
    return [c.get("other") for c in port.findall("ExtConnection") if c.get("for") == device and c.get("other")]


class Session:
    def __init__(self, path, device=DEVICE):
        self.path = path
        self.root = ET.parse(path).getroot()
        self.playlists = self.root.find("Playlists").findall("Playlist")
        routes = self.root.find("Routes").findall("Route")
        self.device = device
        self.tracks = sorted((Track(r, self.playlists, device) for r in routes if isAudioTrack(r)), key=lambda t: t.order)
        self.buses = [r for r in routes if not isAudioTrack(r)]

    def track(self, name):
        return next((t for t in self.tracks if t.name == name), None)

    def bus(self, name):
        return next((b for b in self.buses if b.get("name") == name), None)

    def takes(self, name):
        """What is in a track's takes, read from their files: for each region, which inputs' tones each of its files holds.
        None in place of a file that is not there."""
        return [[file and sorted(audio.inputs(file)) for file in take] for take in self.takeFiles(name)]

    def takesById(self):
        """What is in every track's takes, by the track's id, which stays when the name changes."""
        return {t.id: self.takes(t.name) for t in self.tracks}

    def takeFiles(self, name):
        """The sound files of each of a track's takes, one for each channel."""
        names, found = self.sources(), []
        for region in self.track(name).playlist.findall("Region"):
            sources = [names[region.get(f"source-{channel}")] for channel in range(int(region.get("channels", "1")))]
            found.append([next(self.path.parent.glob(f"interchange/*/audiofiles/{escaped(s)}"), None) for s in sources])
        return found

    def soundFiles(self):
        return list(self.path.parent.glob("interchange/*/audiofiles/*.wav"))

    def files(self):
        """How many sound files lie in the session's folder."""
        return len(self.soundFiles())

    def markers(self):
        marks = [m for m in self.root.find("Locations") if "IsMark" in m.get("flags", "")]
        return [m.get("name") for m in marks]

    def sources(self):
        return {s.get("id"): s.get("name") for s in self.root.find("Sources").findall("Source")}

    def playlistIds(self):
        """Of those in use and of those that no track uses any more."""
        return [p.get("id") for part in ("Playlists", "UnusedPlaylists") for p in self.root.iterfind(f"{part}/Playlist")]

    def idCounter(self):
        return int(self.root.get("id-counter"))

    def repeatedIds(self):
        """Ids that two objects of the session claim; a region stands in the file again where a playlist uses it."""
        ids = [e.get("id") for e in self.root.iter() if e.get("id") and e.tag not in ("Region", "Protocol")]
        return [i for i, times in Counter(ids).items() if times > 1]

    def repeatedPorts(self):
        names = [p.get("name") for p in self.root.iter("Port") if p.get("name")]
        return [n for n, times in Counter(names).items() if times > 1]


def called(element):
    return f"{element.tag}[{element.get('name')}]" if element.get("name") else element.tag


def differences(before, after, where=""):
    """Every place in which two elements differ, as (path, what, before, after)."""
    path = f"{where}/{called(before)}"
    found = []
    for key in sorted(before.attrib.keys() | after.attrib.keys()):
        if before.get(key) != after.get(key):
            found.append((path, "@" + key, before.get(key), after.get(key)))
    if (before.text or "").strip() != (after.text or "").strip():
        found.append((path, "text", before.text, after.text))
    if [c.tag for c in before] != [c.tag for c in after]:
        found.append((path, "children", [called(c) for c in before], [called(c) for c in after]))
    else:
        for one, other in zip(before, after):
            found += differences(one, other, path)
    return found
