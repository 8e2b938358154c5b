-- Writes a session with a mono and a stereo track, to be used as a user template.

local session = newSession("Band")
addTrack(session, "Mono", 1)
addTrack(session, "Stereo", 2)
finish()
