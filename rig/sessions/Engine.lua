-- Common to the scripts beside it; run by the recorder engine's own scripting host.
sessions = os.getenv("HOME") .. "/Sessions"

-- An empty session on the dummy device.
function newSession(name)
    local backend = AudioEngine:set_backend("None (Dummy)", "", "")
    backend:set_driver("Normal Speed")
    backend:set_device_name("Silence")
    backend:set_sample_rate(48000)
    backend:set_buffer_size(1024)
    assert(AudioEngine:start(false) == 0, "the audio engine did not start")
    local session = create_session(sessions .. "/" .. name, name, 48000)
    assert(session, "the session could not be made")
    return session
end

function addTrack(session, name, width)
    return session:new_audio_track(width, width, nil, 1, name, ARDOUR.PresentationInfo.max_order,
                                   ARDOUR.TrackMode.Normal, true):front()
end

-- Connects a track's inputs to the device's, from the given one on.
function patch(track, firstInput)
    local inputs = track:input()
    for port = 0, inputs:n_ports():n_audio() - 1 do
        assert(inputs:nth(port):connect("system:capture_" .. firstInput + port) == 0)
    end
end

-- Saves. The last word tells the caller that all went well: at its own exit the host crashes on the dummy device.
function finish(session)
    assert(session:save_state("") == 0, "the session could not be saved")
    close_session()
    print("finished")
    io.stdout:flush()
    quit()
end
