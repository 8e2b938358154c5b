"""What an update may do to a session, worked out from its rules alone, and what it did besides. Shares nothing with Corvane."""

import copy
import re

import corvane
from session import DEVICE, differences, isAudioTrack, namespace

CAPTURE = "system:capture_"


def audioTracks(root):
    return [r for r in root.find("Routes") if isAudioTrack(r)]


def firstIO(element, direction):
    return next((io for io in element.findall("IO") if io.get("direction") == direction), None)


def inputPorts(route):
    io = firstIO(route, "Input")
    return [] if io is None else io.findall("Port")


def connectedInputs(route):
    return [c for port in inputPorts(route) for c in port.findall("ExtConnection") if c.get("other")]


def captureStart(route, device):
    """The number of the first input that a track is connected to, on the session's own device before any other."""
    captures = [c for c in connectedInputs(route) if c.get("other").startswith(CAPTURE)]
    own = [c for c in captures if c.get("for") == device]
    return int((own or captures)[0].get("other")[len(CAPTURE):]) if captures else None


def sessionDevice(tracks, preferred):
    """The device that most tracks are connected to."""
    counts = {}
    for track in tracks:
        for device in dict.fromkeys(c.get("for") for c in connectedInputs(track) if c.get("for")):
            counts[device] = counts.get(device, 0) + 1
    most = max(counts.values(), default=0)
    equal = [device for device, count in counts.items() if count == most]
    return preferred if preferred in equal else equal[0] if equal else None


def claims(tracks, channels, device):
    """For each channel the track that records its input in its width."""
    left, claimed = list(tracks), []
    for channel in channels:
        width, start = (2 if channel["stereo"] else 1), channel["inputIndex"] + 1
        found = next((t for t in left if len(inputPorts(t)) == width and captureStart(t, device) == start), None)
        if found is not None:
            left.remove(found)
        claimed.append(found)
    return claimed, left


def directOuts(route):
    return [p for p in route.findall("Processor") if p.get("role") == "DirectOuts"]


def needsRepair(out, width):
    """Whether a direct out has lost ports or connections on a device that lacked them."""
    io = firstIO(out, "Output")
    ports = [] if io is None else io.findall("Port")
    return len(ports) < width or not any(c.get("other") for port in ports for c in port)


def connect(ports, prefix, first):
    for number, port in enumerate(ports, first):
        for connection in port.findall("ExtConnection"):
            if connection.get("other") is not None:
                connection.set("other", prefix + str(number))


def renameOwner(route, old, new):
    """Ports whose whole owner is the old name, and the IOs and processors that are called by it; where the old name was
    Corvane's and not a person's, also what the faders send to."""
    given = re.fullmatch("Audio [0-9]+", old)
    for element in route.iter():
        key = "name" if element.tag == "Port" else "other"
        if element.tag in ("Port", "Connection", "ExtConnection") and element.get(key, "").rpartition("/")[0] == old:
            element.set(key, new + element.get(key)[len(old):])
        name = element.get("name", "")
        if element.tag in ("IO", "Processor") and (name == old or name.endswith((":" + old, "-" + old))):
            element.set("name", name[: len(name) - len(old)] + new)
        if given and element.tag == "Processor" and element.get("output") == old:
            element.set("output", new)


def configure(route, channel, position):
    """A kept track as it is to come out."""
    first, name = channel["inputIndex"] + 1, channel["name"]
    renameOwner(route, namespace(route), f"Audio {position + 1}")
    route.set("name", name)
    info = route.find("PresentationInfo")
    info.set("order", str(position + 1))
    info.set("color", str(corvane.packedColor(channel)))
    for out in directOuts(route):
        sending = name.replace(":", "-")
        io = firstIO(out, "Output")
        out.set("bitslot", str(first))
        out.set("name", sending)
        if needsRepair(out, len(inputPorts(route))):
            out.remove(io) if io is not None else None
            continue
        io.set("name", sending)
        for number, port in enumerate(io.findall("Port"), 1):
            port.set("name", f"{sending}/audio_send {number}")
        connect(io.findall("Port"), "system:playback_", first)
    connect(inputPorts(route), CAPTURE, first)
    for control in [c for c in route.findall("Controllable") if c.get("name") == "rec-enable"][:1]:
        control.set("value", "1")


class Ends:
    """The connections between routes, each kept at both of its ends."""

    def __init__(self, routes):
        self.ports = [(port, route, port.get("name")) for route in routes for port in route.iter("Port")]
        self.read = {id(c): c.get("other") for port, _, _ in self.ports for c in port.findall("Connection")}

    def follow(self, removed, added):
        """Lets the other ends follow what their ports are called now; those of removed tracks go, where no added track
        has taken the name and the connection over."""
        gone = {name for _, route, name in self.ports if route in removed}
        now = {name: (port.get("name"), route) for port, route, name in reversed(self.ports) if route not in removed}
        fresh = {p.get("name"): [c.get("other") for c in p.findall("Connection")] for r in added for p in r.iter("Port")}
        names = {port.get("name") for port, route, _ in self.ports if route not in removed} | set(fresh)
        for port, route, _ in self.ports:
            others = {}
            for connection in port.findall("Connection"):
                other = self.read[id(connection)]
                if other in now and now[other][1] is not route:
                    others[connection] = now[other][0]
                elif other not in now and other in gone | names:
                    others[connection] = other if port.get("name") in fresh.get(other, []) else None
                else:
                    others[connection] = connection.get("other")
            if sorted(filter(None, others.values())) == sorted(self.read[id(c)] for c in others):
                continue
            for connection, other in others.items():
                port.remove(connection) if other is None else connection.set("other", other)


def updated(root, channels, added, preferred):
    """The session as an update is to leave it, without the added tracks."""
    root = copy.deepcopy(root)
    routes, playlists = root.find("Routes"), root.find("Playlists")
    tracks = audioTracks(root)
    claimed, removed = claims(tracks, channels, sessionDevice(tracks, preferred))
    ends = Ends(list(routes))
    for position, (channel, track) in enumerate(zip(channels, claimed)):
        if track is not None:
            configure(track, channel, position)
    ends.follow(removed, added)
    for track in removed:
        routes.remove(track)
    ids = {p.get("id") for p in playlists}
    referred = {r.get("audio-playlist") for r in routes}
    for track in removed:
        name = track.get("audio-playlist")
        for playlist in [p for p in playlists if p.get("name") == name and name not in ids and name not in referred][:1]:
            playlists.remove(playlist)
    return root


def takeAdded(root, before, channels, device):
    """Takes out what an update adds, and returns those tracks: one for each channel that no track claimed, found by its input
    and width, and the playlist that it uses. What else is new stays, as it is not to be there."""
    missing = [c for c, track in zip(channels, claims(audioTracks(before), channels, device)[0]) if track is None]
    known = {e.get("id") for section in ("Routes", "Playlists") for e in before.find(section)}
    routes, playlists = root.find("Routes"), root.find("Playlists")
    fresh = [r for r in audioTracks(root) if r.get("id") not in known]
    added = [track for track in claims(fresh, missing, device)[0] if track is not None]
    for track in added:
        routes.remove(track)
        for playlist in [p for p in playlists if p.get("id") == track.get("audio-playlist") and p.get("id") not in known][:1]:
            playlists.remove(playlist)
    return added


def comparable(root, repaired, busesMove):
    """Without the place for new ids, the surface's switches, and numbers that only Corvane reads."""
    root = copy.deepcopy(root)
    root.attrib.pop("id-counter")
    for option in [o for o in root.find("Config") if o.get("name") in ("osc-port", "use-osc")]:
        root.find("Config").remove(option)
    for protocol in root.find("ControlProtocols"):
        if protocol.get("name") == "Open Sound Control (OSC)":
            protocol.attrib = {"name": protocol.get("name")}
    for route in root.find("Routes"):
        for out in directOuts(route):
            if not isAudioTrack(route):
                out.attrib.pop("bitslot", None)
            if (out.get("id") in repaired or busesMove and not isAudioTrack(route)) and (io := firstIO(out, "Output")) is not None:
                out.remove(io)
    return root


def unexpected(before, after, channels, preferred=DEVICE, busesMove=False):
    """Every place in which a session that was updated differs from what its update was to make of it."""
    after = copy.deepcopy(after)
    added = takeAdded(after, before, channels, sessionDevice(audioTracks(before), preferred))
    repaired = {out.get("id") for track in audioTracks(before) for out in directOuts(track)
                if needsRepair(out, len(inputPorts(track)))}
    expected = updated(before, channels, added, preferred)
    return differences(comparable(expected, repaired, busesMove), comparable(after, repaired, busesMove))
