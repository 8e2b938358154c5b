-- Writes a session with a bit of everything: mono and stereo tracks, a bus with a plug-in, sends, automation, a group.

local session = newSession("Jazz Club")
local kick = addTrack(session, "Kick", 1)
local overheads = addTrack(session, "Overheads", 2)
local singer = addTrack(session, "Sängerin", 1)
local piano = addTrack(session, "Piano", 2)
local spare = addTrack(session, "Spare", 1)
patch(kick, 1)
patch(overheads, 2)
patch(singer, 4)
patch(piano, 5)
patch(spare, 7)

local hall = session:new_audio_route(2, 2, nil, 1, "Hall", ARDOUR.PresentationInfo.Flag.AudioBus,
                                     ARDOUR.PresentationInfo.max_order):front()

local function insert(route, uri, position)
    local plugin = ARDOUR.LuaAPI.new_plugin(session, uri, ARDOUR.PluginType.LV2, "")
    assert(not plugin:isnil(), uri .. " is not installed")
    assert(route:add_processor_by_index(plugin, position, nil, true) == 0)
    return plugin
end
insert(kick, "urn:ardour:a-eq", 0)
insert(hall, "urn:ardour:a-reverb", 0)

singer:add_aux_send(hall, singer:amp())
piano:add_aux_send(hall, piano:amp())

-- A fade of the overheads, written as automation.
local fader = overheads:amp():gain_control()
fader:set_automation_state(ARDOUR.AutoState.Play)
for second = 0, 3 do
    fader:alist():add(Temporal.timepos_t(second * 48000), 1 - second / 4, false, true)
end

local group = session:new_route_group("Vocals")
group:add(singer)

finish()
