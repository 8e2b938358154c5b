-- Writes a session with a mono and a stereo track, to be used as a user template.
dofile("/src/rig/sessions/Engine.lua")

local session = newSession("Band")
addTrack(session, "Mono", 1)
addTrack(session, "Stereo", 2)
finish(session)
