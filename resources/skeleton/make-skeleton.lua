-- Makes the session that `make-template` starts from when it is given none: a master bus, a mono and a stereo
-- audio track, each with a send in front of its fader. Run by the recorder engine's own interpreter:
--
--   ardour7-lua make-skeleton.lua FOLDER
--
-- and keep FOLDER/Skeleton/Skeleton.ardour. (Debian 12: package `ardour`.)

local folder = arg[1]
assert(folder, "usage: ardour7-lua make-skeleton.lua FOLDER")
local session = create_session(folder .. "/Skeleton", "Skeleton", 48000)
assert(session, "the session cannot be made")
for width, name in ipairs({ "Mono", "Stereo" }) do
    local tracks = session:new_audio_track(width, 2, nil, 1, name, ARDOUR.PresentationInfo.max_order,
                                           ARDOUR.TrackMode.Normal, true)
    local track = tracks:front()
    assert(ARDOUR.LuaAPI.new_send(session, track, track:amp()), "no send for " .. name)
end
session:save_state("")
close_session()
