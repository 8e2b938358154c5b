"""Twenty rounds of changes to a session that its user has made a home of."""

import xml.etree.ElementTree as ET

import headless
from corvane import channel
from report import report
from shows import checkTakes, createQuietly, read, rewritten, scenario, syncQuietly, tones

ROUNDS = 20
HOME = """
local bus = addBus(session, "Hall")
pause(0.3)
local function insert(where, uri)
    local plugin = ARDOUR.LuaAPI.new_plugin(session, uri, ARDOUR.PluginType.LV2, "")
    assert(not plugin:isnil(), uri .. " is not installed")
    assert(where:add_processor_by_index(plugin, 0, nil, true) == 0)
end
insert(bus, "urn:ardour:a-reverb")
insert(route("Kick"), "urn:ardour:a-eq")
route("Kick"):add_aux_send(bus, route("Kick"):amp())
ARDOUR.LuaAPI.new_send(session, route("Vox"), route("Vox"):amp())
local group = session:new_route_group("Rhythm")
group:add(route("Kick"))
group:add(route("Keys"))
local tempi = Temporal.TempoMap.write_copy()
tempi:set_tempo(Temporal.Tempo(93, 93, 4), Temporal.timepos_t(0))
Temporal.TempoMap.update(tempi)
"""


def marked(root):
    """A marker, as the engine writes one."""
    mark = {"id": root.get("id-counter"), "name": "Refrain", "start": "b0", "end": "b0", "flags": "IsMark", "locked": "0",
            "timestamp": "1795178248", "cue": "0"}
    ET.SubElement(root.find("Locations"), "Location", mark)
    root.set("id-counter", str(int(mark["id"]) + 1))


def furniture(session):
    """What the user made besides tracks."""
    def names(path, *keys):
        return sorted(tuple(e.get(k) for k in keys) for e in session.root.iterfind(path))
    processors = [(p.get("type"), p.get("role"), p.get("id")) for r in session.root.find("Routes") for p in r.findall("Processor")]
    return {"buses": names("Routes/Route/PresentationInfo[@flags='AudioBus,OrderSet']/..", "name", "id"),
            "sends": sorted(p for p in processors if p[1] in ("Aux", "Send")),
            "plug-ins": sorted(p for p in processors if p[0] == "lv2"),
            "groups": names("RouteGroups/RouteGroup", "name", "routes"),
            "markers": session.markers(), "tempo": names("TempoMap/Tempos/Tempo", "npm", "enpm")}


@scenario("Twenty rounds with a user's bus, sends, plug-ins, group, marker and tempo")
def twentyRounds():
    fixed = [channel("Kick", 1), channel("Vox", 2), channel("Keys", 3, stereo=True)]
    guests = [channel("Gast", 5), channel("Ansage", 6), channel("Chor", 7, stereo=True)]
    folder = createQuietly("Rounds", fixed, HOME + "armAll(true) roll(1, true)")
    rewritten(folder, marked)
    headless.opened(folder)
    session = read(folder)
    first, sizes = furniture(session), []
    report.equal("all of it is there", {k: len(v) for k, v in first.items()},
                 {"buses": 1, "sends": 2, "plug-ins": 2, "groups": 1, "markers": 1, "tempo": 1})
    for turn in range(ROUNDS):
        report.title(f"  round {turn + 1}")
        named = [c | {"name": f"{c['name']} {turn}"} for c in fixed]
        present = named[turn % 3 :] + named[: turn % 3]
        present[turn % 4 : turn % 4] = guests[: turn % 4]
        _, session = syncQuietly(folder, present)
        report.equal("the user's own is as it was", furniture(session), first)
        sizes.append(session.path.stat().st_size)
    checkTakes(session, {c["name"]: [tones(c)] for c in named})
    report.equal("no sound file is lost", session.files(), 4)
    report.check("few ids are used up", session.idCounter() < 40000, session.idCounter())
    report.check("the file grows by no more than the playlists that the recorder keeps", sizes[-1] < 3 * sizes[0], sizes)
