"""Direct outs: opened, saved, read back, and heard where they arrive."""

import copy

import corvane
import headless
import prediction
import recorder
from corvane import channel, patchFile
from report import report
from session import directOuts
from shows import (BAND, checkSession, checkTakes, createQuietly, heard, read, refusal,
                   rewritten, scenario, sessionFile, sync, syncQuietly, tones)

LEVEL = 0.1259  # of the device's tones
USERS_OWN = """
local bus = addBus(session, "Monitor")
pause(0.3)
for _, name in ipairs { "Kick", "Talkback" } do -- the first send of each is its direct out
    route(name):add_aux_send(bus, route(name):amp())
    pause(0.2)
    route(name):nth_send(1):to_send():gain_control():set_value(1, PBD.GroupControlDisposition.NoGroup)
end
ARDOUR.LuaAPI.new_send(session, route("Ride & Crash"), route("Ride & Crash"):amp())
"""
RECORD = "armAll(true) roll(1, true)"


def giveBusDirectOut(folder, busName, firstPlayback):
    """Gives a stereo bus a direct out of its own, as a user of LiveTrax does in its port matrix."""
    def change(root):
        routes = root.find("Routes")
        source = next(p for r in routes for p in prediction.directOuts(r) if len(p.find("IO").findall("Port")) == 2)
        bus = next(r for r in routes if r.get("name") == busName)
        out = copy.deepcopy(source)
        counter = int(root.get("id-counter"))
        for element in out.iter():
            if element.get("id"):
                counter += 1
                element.set("id", str(counter))
        root.set("id-counter", str(counter + 1))
        name = busName + " Direct"
        out.set("name", name)
        out.set("bitslot", "0")
        io = prediction.firstIO(out, "Output")
        io.set("name", name)
        for number, port in enumerate(io.findall("Port")):
            port.set("name", f"{name}/audio_send {number + 1}")
        prediction.connect(io.findall("Port"), "system:playback_", firstPlayback)
        bus.insert(list(bus).index(next(p for p in bus if p.get("role") == "Main")), out)
    rewritten(folder, change)


def busOut(session, name):
    """Names, ports and playback channels of a bus's own direct out."""
    outs = directOuts(session.bus(name), session.device)
    return [(o.name, o.io, o.ports, o.playbacks) for o in outs]


def arriving(found):
    """The inputs' tones at each playback channel, without their levels."""
    return {number: sorted(levels) for number, levels in found.items() if levels}


def aloud(found):
    """The channels at which a tone does not arrive at the level that it was recorded with."""
    return {n: levels for n, levels in found.items() if any(abs(level - LEVEL) > LEVEL / 20 for level in levels.values())}


@scenario("Direct outs: opened, saved twice, read back and heard, over five syncs")
def directOutsAreHeard():
    folder = createQuietly("Direct", BAND, RECORD)
    headless.opened(folder)
    session = read(folder)
    checkSession(session, BAND)
    report.equal("the engine saves every slot as 0", {o.processor.get("bitslot") for t in session.tracks for o in t.directOuts}, {"0"})
    checkTakes(session, {c["name"]: [tones(c)] for c in BAND})
    channels = BAND
    for turn in range(5):
        report.title(f"  sync {turn + 1}")
        channels = [c | {"name": f"{c['name'].split(' #')[0]} #{turn}"} for c in channels[1:] + channels[:1]]
        _, session = syncQuietly(folder, channels, (5, 0, 0))
    inputs = range(1, 8)
    found = heard(folder)
    report.equal("each input's take arrives at the playback channel of its number", arriving(found), {n: [n] for n in inputs})
    report.equal("at the level of the take", aloud(found), {})
    handled = "".join(f'route("{name} #4"):gain_control():set_value(0.01, PBD.GroupControlDisposition.NoGroup)\n'
                      for name in ("Kick", "Ride & Crash"))
    handled += 'route("Talkback #4"):mute_control():set_value(1, PBD.GroupControlDisposition.NoGroup)\n'
    handled += 'route("Kick #4"):solo_control():set_value(1, PBD.GroupControlDisposition.NoGroup)\n'
    found = heard(folder, handled)
    report.equal("and whatever faders, mutes and solos do", (arriving(found), aloud(found)), ({n: [n] for n in inputs}, {}))


@scenario("Direct outs beside a user's own sends and a bus's own direct out")
def besideAUsersOwn():
    folder = createQuietly("Monitor", BAND, USERS_OWN + RECORD)
    giveBusDirectOut(folder, "Monitor", 8)
    headless.opened(folder)
    before = read(folder)
    stays = [("Monitor Direct", "Monitor Direct", ["Monitor Direct/audio_send 1", "Monitor Direct/audio_send 2"],
              [["system:playback_8"], []])]  # the device has no ninth
    report.equal("the bus's own direct out", busOut(before, "Monitor"), stays)
    sends = [p.get("name") for t in before.tracks for p in t.route.iter("Processor") if p.get("role") in ("Aux", "Send")]
    report.equal("the user's sends", len(sends), 3)
    channels = BAND
    for turn in range(2):
        report.title(f"  sync {turn + 1}")
        channels = channels[1:] + channels[:1]
        _, after = syncQuietly(folder, channels, (5, 0, 0))
        report.equal("the bus's own direct out stays where it is", busOut(after, "Monitor"), stays)
    report.equal("the user's sends are there", sorted(p.get("name") for t in after.tracks for p in t.route.iter("Processor")
                                                      if p.get("role") in ("Aux", "Send")), sorted(sends))
    found = arriving(heard(folder))
    report.equal("the direct outs are heard, and the bus with what is sent to it",
                 found, {n: [n] for n in range(1, 8)} | {8: [1, 7]})


@scenario("A bus's direct out and the console's channels: slots")
def busSlots():
    band = [channel("Kick", 1), channel("Keys", 2, stereo=True)]
    folder = createQuietly("Slots", band, 'addBus(session, "Monitor")')
    giveBusDirectOut(folder, "Monitor", 4)
    headless.opened(folder)
    for _ in range(2):
        _, after = syncQuietly(folder, band, (2, 0, 0))
        report.equal("both halves stay where no channel plays", busOut(after, "Monitor")[0][3],
                     [["system:playback_4"], ["system:playback_5"]])
    more = band + [channel("Vox", 5)]
    _, after = syncQuietly(folder, more, (2, 1, 0), busesMove=True)
    moved = busOut(after, "Monitor")[0][3]
    report.equal("a channel that needs one of them moves both, next to each other", [len(p) for p in moved], [1, 1])
    report.equal("away from the console's channels", [p for p in moved for c in more for q in tones(c) if p == [f"system:playback_{q[0]}"]], [])
    report.equal("in order", int(moved[1][0].rpartition("_")[2]), int(moved[0][0].rpartition("_")[2]) + 1)
    _, again = syncQuietly(folder, more, (3, 0, 0))
    report.equal("and then it stays", busOut(again, "Monitor")[0][3], moved)


@scenario("Direct outs of channels with “:” and what else no file may be called, after several openings")
def colons():
    channels = [channel("Vox: Lead", 1), channel("A:B:", 2, stereo=True), channel("Kick", 4), channel("Gast ", 5),
                channel("GTR L/R", 6), channel("*?|<>\\\"", 7)]
    folder = createQuietly("Colons", channels, RECORD)
    taken = ["Vox_ Lead", "A_B_", "Kick", "Gast", "GTR L_R", "_______"]
    for opening in range(2):
        headless.opened(folder)
        checkSession(read(folder), channels, names=taken)
    sync(folder, channels, (6, 0, 0))
    for opening in range(2):
        headless.opened(folder)
    checkSession(read(folder), channels, names=taken)
    report.equal("heard", arriving(heard(folder)), {n: [n] for n in range(1, 8)})
    both = [channel("A:B", 1), channel("A-B", 2)]
    refused = (1, "The session would create a duplicate audio port (A-B/audio_send 1). Check the LV1 channel names.")
    before = sessionFile(folder).read_bytes()
    report.equal("“A-B” beside “A:B” is refused", refusal("sync", folder, "--from", patchFile(both)), refused)
    report.equal("and nothing is changed", sessionFile(folder).read_bytes(), before)
    report.equal("for a new session too", refusal("create", "Both", "--in", recorder.HOME, "--from", patchFile(both)), refused)


@scenario("Direct outs that a device with fewer outputs took away")
def lostOutputs():
    folder = createQuietly("Lost", BAND, RECORD)

    def lose(root):
        for number, route in enumerate(r for r in root.find("Routes") for _ in prediction.directOuts(r)):
            out = prediction.directOuts(route)[0]
            io = prediction.firstIO(out, "Output")
            if number == 0:
                out.remove(io)
            elif number == 1:
                io.remove(io.findall("Port")[1])
            else:
                for port in io.findall("Port"):
                    for connection in list(port):
                        port.remove(connection)
    rewritten(folder, lose)
    _, after = syncQuietly(folder, BAND, (5, 0, 0))
    report.equal("all are heard again", arriving(heard(folder)), {n: [n] for n in range(1, 8)})


@scenario("A base template made from a user's own session, its bus with a direct out")
def ownTemplate():
    folder = createQuietly("Own", BAND, 'addBus(session, "Monitor")')
    giveBusDirectOut(folder, "Monitor", 1)
    headless.opened(folder)
    with corvane.Template("--session", folder, "--backend-id", read(folder).device, "--channels", "8"):
        made = createQuietly("Made", BAND[:3])
        session = read(made)
        checkSession(session, BAND[:3])
        report.equal("the bus's direct out keeps off the channels'", busOut(session, "Monitor")[0][3],
                     [["system:playback_7"], ["system:playback_8"]])
        _, after = syncQuietly(made, BAND[:3], (3, 0, 0))
        report.equal("after a sync as well", busOut(after, "Monitor")[0][3], [["system:playback_7"], ["system:playback_8"]])
