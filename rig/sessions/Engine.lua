-- What scripts of the recorder engine's own scripting host have in common; run before each of them.
sessions = os.getenv("HOME") .. "/Sessions"
io.stdout:setvbuf("no")

-- Starts the engine on a device of its dummy backend, or on a JACK server.
local function startEngine()
    -- By this name the engine knows its own ports from the device's.
    local backend = AudioEngine:set_backend(jack and "JACK/Pipewire" or "None (Dummy)", "ardour", "")
    if not jack then
        backend:set_driver("Normal Speed")
        assert(backend:set_device_name(device or "Silence") == 0, "there is no such device")
        backend:set_sample_rate(48000)
        backend:set_buffer_size(1024)
    end
    assert(AudioEngine:start(false) == 0, "the audio engine did not start")
end

function pause(seconds)
    ARDOUR.LuaAPI.usleep(math.floor(seconds * 1000000))
end

-- An empty session.
function newSession(name)
    startEngine()
    session = create_session(sessions .. "/" .. name, name, 48000)
    assert(session, "the session could not be made")
    return session
end

-- The session in a folder.
function openSession(folder)
    startEngine()
    session = load_session(folder, folder:match("[^/]+$"))
    assert(session, "the session could not be opened")
    return session
end

function addTrack(session, name, width)
    return session:new_audio_track(width, width, nil, 1, name, ARDOUR.PresentationInfo.max_order,
                                   ARDOUR.TrackMode.Normal, true):front()
end

function addBus(session, name)
    return session:new_audio_route(2, 2, nil, 1, name, ARDOUR.PresentationInfo.Flag.AudioBus,
                                   ARDOUR.PresentationInfo.max_order):front()
end

-- The track or bus of that name.
function route(name)
    local found = session:route_by_name(name)
    assert(not found:isnil(), "there is no " .. name)
    return found
end

-- Connects a track's inputs to the device's, from the given one on. The engine connects new tracks in a thread of its own:
-- wait before.
function patch(track, firstInput)
    local inputs = track:input()
    for port = 0, inputs:n_ports():n_audio() - 1 do
        inputs:nth(port):disconnect_all()
        assert(inputs:nth(port):connect("system:capture_" .. firstInput + port) == 0)
    end
end

-- Connects a route's outputs to another one's inputs alone.
function feed(from, to)
    for port = 0, from:output():n_ports():n_audio() - 1 do
        from:output():nth(port):disconnect_all()
        assert(from:output():nth(port):connect(to:input():nth(port):name()) == 0)
    end
end

function arm(track, on)
    track:to_track():rec_enable_control():set_value(on and 1 or 0, PBD.GroupControlDisposition.NoGroup)
end

-- Arms or disarms all tracks.
function armAll(on)
    for track in session:get_tracks():iter() do arm(track, on) end
    pause(0.2)
end

local function wait(condition, what)
    for _ = 1, 400 do
        if condition() then return end
        pause(0.05)
    end
    error(what .. " did not happen")
end

-- Rolls from a second on, for so many; records where `recording` and tracks are armed; then calls `before` and stops. Goes by the
-- playhead: a machine that has much else to do starts late.
function roll(seconds, recording, from, before)
    local start = (from or 0) * 48000
    session:request_locate(start, false, ARDOUR.LocateTransportDisposition.MustStop, ARDOUR.TransportRequestSource.TRS_UI)
    wait(function() return session:transport_sample() == start end, "the jump")
    if recording then session:maybe_enable_record(false) end
    session:request_roll(ARDOUR.TransportRequestSource.TRS_UI)
    wait(function() return session:transport_sample() > start + seconds * 48000 end, "rolling")
    if before then before() end
    if recording then assert(session:actively_recording(), "it does not record") end
    session:request_stop(false, false, ARDOUR.TransportRequestSource.TRS_UI)
    pause(0.7)
end

-- Saves.
function save()
    assert(session:save_state("") == 0, "the session could not be saved")
end

-- Saves and ends. The last word tells the caller that all went well: at its own exit the host crashes on the dummy device.
function finish()
    save()
    close_session()
    print("finished")
    quit()
end
