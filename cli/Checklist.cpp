#include "cli/Checklist.h"

#include "base/Quotation.h"
#include "base/Text.h"
#include "livetrax/LiveTraxSurface.h"
#include "livetrax/session/GeneratorError.h"
#include "patch/PatchConflicts.h"
#include "patch/RecordedInputs.h"
#include "patch/RecorderNames.h"

#include <algorithm>
#include <cstdio>

namespace corvane::cli {

namespace {

using State = Check::State;
using Facts = CheckFacts;

/// "0.4 s", "75 s"
std::string secondsText(std::chrono::milliseconds time) {
    char text[32] = {};
    std::snprintf(text, sizeof text, time.count() < 10'000 ? "%.1f s" : "%.0f s",
                  static_cast<double>(time.count()) / 1000);
    return text;
}

/// "14 h 20 min", "38 min"
std::string durationText(std::uintmax_t minutes) {
    const std::string rest = std::to_string(minutes % 60) + " min";
    return minutes < 60 ? rest : std::to_string(minutes / 60) + " h " + rest;
}

std::string sizeText(std::uintmax_t bytes) {
    constexpr std::uintmax_t gigabyte = 1'000'000'000;
    return std::to_string(bytes / gigabyte) + " GB";
}

/// The sentences, one after the other.
std::string sentences(const std::vector<std::string> &texts) {
    std::string all;
    for (const std::string &text : texts)
        all += (all.empty() ? "" : " ") + withoutControls(text);
    return all;
}

Check consoleCheck(const Facts::Console &console) {
    if (console.accepted) {
        const std::string heard = console.way.empty() ? " has accepted the link."
                                                      : " was heard by " + console.way + " " +
                                                            secondsText(console.sinceHeard) +
                                                            " ago and has accepted the link.";
        return {"console", State::ok, console.name + heard};
    }
    std::vector<std::string> lines = nonEmptyLines(console.problem);
    for (std::string &each : lines)
        each = trimmed(each);
    const std::string text = lines.empty() ? "No LV1 host was heard." : lines.front();
    if (!lines.empty())
        lines.erase(lines.begin());
    return {"console", State::failed, text,
            lines.empty() ? "See that the console is on and in this computer's network; --host and --port "
                            "name one that is not heard."
                          : sentences(lines)};
}

Check patchCheck(const Facts &facts) {
    if (!facts.channels)
        return {"patch", State::failed, "The console's patch is not known."};
    const auto &channels = *facts.channels;
    if (channels.empty())
        return {"patch", State::failed, "There are no channels to record.",
                "Patch inputs to channels on the console."};
    const std::string size = counted(channels.size(), "channel", "channels") + ", " +
                             counted(recordedInputs(channels), "input", "inputs") + ".";
    std::string conflicts;
    for (const PatchConflict &conflict : patchConflicts(channels))
        conflicts += " " + withoutControls(conflict.text) + ".";
    if (!conflicts.empty())
        return {"patch", State::failed, size + conflicts,
                "Change that on the console: no session can be made of it."};
    if (const auto problems = recorderNameProblems(channels); !problems.empty())
        return {"patch", State::warning, size + " " + sentences(problems),
                "Change these names on the console."};
    return {"patch", State::ok, size};
}

Check recorderCheck(const Facts::Recorder &recorder) {
    if (recorder.name.empty())
        return {"LiveTrax", State::failed, GeneratorError::liveTraxMissing().what(),
                recorder.rehearsal.empty() ? "Install LiveTrax." : recorder.rehearsal};
    return {"LiveTrax", State::ok,
            recorder.name + (recorder.runs ? " is installed and runs." : " is installed.")};
}

/// Whether LiveTrax will listen. A stand-in keeps no configuration; one that listens needs none.
Check surfaceCheck(const Facts::Recorder &recorder, const Facts::Port &listening) {
    const std::string place = "in the preferences " + quotation(recorder.preferences);
    if (!recorder.problem.empty())
        return {"OSC surface", State::failed, recorder.problem,
                "Start LiveTrax by itself and quit it, so that it writes them anew."};
    const bool isOn = recorder.configuration && recorder.configuration->surfaceIsOn();
    if (!isOn && listening.holder == Facts::Port::Holder::liveTrax)
        return {"OSC surface", State::ok, "It is on: LiveTrax listens."};
    if (!recorder.configuration && !recorder.rehearsal.empty())
        return {"OSC surface", State::ok, "LiveTrax's stand-in in a rehearsal needs no configuration."};
    if (!recorder.configuration)
        return {"OSC surface", State::warning, "LiveTrax has no configuration yet " + place + ".",
                "Start LiveTrax once and quit it."};
    if (!isOn)
        return {"OSC surface", State::warning, "It is off " + place + ".",
                "Have Corvane start LiveTrax: that switches it on."};
    return {"OSC surface", State::ok, "It is on " + place + "."};
}

Check listeningCheck(const Facts::Port &port, const Facts::Recorder &recorder) {
    using Holder = Facts::Port::Holder;
    const std::string name = "port " + std::to_string(liveTraxSurface::port);
    if (port.holder == Holder::liveTrax)
        return {name, State::ok, "LiveTrax listens there: " + port.name + "."};
    if (port.holder != Holder::nobody)
        return {name, State::failed, "It is held by " + port.name + ".",
                "Quit that program: LiveTrax has to listen there."};
    if (recorder.runs)
        return {name, State::failed, "LiveTrax runs and does not listen there.",
                "Quit LiveTrax and have Corvane start it."};
    return {name, State::ok, "It is free for LiveTrax."};
}

Check replyCheck(const Facts::Port &port) {
    using Holder = Facts::Port::Holder;
    const std::string name = "port " + std::to_string(liveTraxSurface::replyPort);
    if (port.holder == Holder::nobody)
        return {name, State::ok, "It is free for Corvane."};
    if (port.holder == Holder::corvane)
        return {name, State::ok, "Corvane listens there: " + port.name + "."};
    return {name, State::failed, "It is held by " + port.name + ".",
            "Quit that program: LiveTrax's answers come to this port."};
}

Check deviceCheck(const Facts &facts) {
    if (!facts.baseTemplate)
        return {"device", State::failed, facts.templateProblem, "Install Corvane anew."};
    const std::string made = "New sessions are made for " + quotation(facts.baseTemplate->device);
    if (!facts.session || !facts.session->made)
        return {"device", State::ok, made + ".", "LiveTrax's Audio/MIDI Setup has to name the same device."};
    if (facts.session->made->device != facts.baseTemplate->device)
        return {"device", State::warning,
                made + ", the session for " + quotation(facts.session->made->device) + ".",
                "See which of the two LiveTrax's Audio/MIDI Setup names."};
    return {"device", State::ok, made + ", and so was the session."};
}

Check placeCheck(const std::string &name, const Facts::Place &place) {
    if (!place.problem.empty())
        return {name, State::failed, place.problem, "Choose another folder, or see to its rights."};
    return {name, State::ok,
            quotation(place.folder.string()) +
                (place.exists ? " can be written to." : " is not there yet and can be made.")};
}

/// Of the volumes that are recorded on the one with the least space.
Check spaceCheck(const Facts &facts) {
    std::vector<Volume> volumes;
    if (facts.folder && facts.folder->volume)
        volumes.push_back(*facts.folder->volume);
    if (facts.session && facts.session->place.volume)
        volumes.push_back(*facts.session->place.volume);
    const auto tightest =
        std::min_element(volumes.begin(), volumes.end(),
                         [](const Volume &a, const Volume &b) { return a.available < b.available; });
    if (tightest == volumes.end())
        return {"space", State::warning, "It cannot be told how much is free."};
    const auto made = facts.session ? facts.session->made : std::nullopt;
    const std::size_t inputs = facts.channels ? recordedInputs(*facts.channels) : made ? made->inputs : 0;
    const std::string where = tightest->name.empty() ? "" : " on " + quotation(tightest->name);
    if (inputs == 0)
        return {"space", State::ok, sizeText(tightest->available) + " are free" + where + "."};
    const RecordingFormat format = made ? made->format : RecordingFormat();
    const auto minutes = recordingMinutes(tightest->available, inputs, format);
    const std::string text = durationText(minutes) + " of recording left" + where + ": " +
                             counted(inputs, "input", "inputs") + " at " + kilohertz(format.rate) + ", " +
                             std::to_string(8 * format.bytesPerSample) + " bit.";
    if (minutes >= fewRecordingMinutes)
        return {"space", State::ok, text};
    return {"space", minutes == 0 ? State::failed : State::warning, text,
            "Free some space, or record elsewhere."};
}

void addStep(std::vector<Check> &list, const Facts::Session &session) {
    if (!session.planProblem.empty())
        list.push_back({"in step", State::failed, session.planProblem});
    if (!session.plan)
        return;
    const UpdateResult &counts = session.plan->result;
    if (session.inStep == true)
        list.push_back({"in step", State::ok, "The session has the console's patch."});
    else
        list.push_back({"in step", State::warning,
                        "A sync would adjust " + std::to_string(counts.updated) + ", add " +
                            std::to_string(counts.added) + ", remove " + std::to_string(counts.removed) +
                            " tracks.",
                        "Press SYNC LV1, or use corvanectl sync."});
    const auto going = removedWithTakes(*session.plan);
    if (going.empty())
        list.push_back({"recordings", State::ok, "A sync would take out no recorded track."});
    else
        list.push_back({"recordings", State::warning,
                        "A sync would take out " +
                            counted(going.size(), "recorded track", "recorded tracks") + ": " +
                            joined(going) + ".",
                        "Patch these channels on the console again, or save the session under another name "
                        "first."});
}

Check historyCheck(const Facts::Session &session) {
    if (session.copies > 0)
        return {"history", State::ok,
                counted(session.copies, "copy is", "copies are") + " kept, the newest of " +
                    session.newestCopy + "."};
    if (session.wasUpdated)
        return {"history", State::warning, "No copy is kept of the session as it was before it was changed.",
                "Save a copy of the session in LiveTrax."};
    return {"history", State::ok, "No copy yet: the first is kept when Corvane first changes the session."};
}

Check recoveryCheck(const Facts::Session &session) {
    if (session.recoveryData)
        return {"recovery data", State::failed, "LiveTrax was not closed properly while recording.",
                "Open the session in LiveTrax once and have it recover the recording."};
    return {"recovery data", State::ok, "There is none."};
}

void addSession(std::vector<Check> &list, const Facts::Session &session) {
    const std::string folder = quotation(session.place.folder.string());
    if (!session.problem.empty()) {
        list.push_back({"session", State::failed, session.problem,
                        session.advice.empty() ? "See whether it is the session's folder."
                                               : withoutControls(session.advice)});
        return;
    }
    if (!session.place.problem.empty())
        list.push_back({"session", State::failed, session.place.problem, "See to the rights of the folder."});
    else
        list.push_back({"session", State::ok, folder + " can be read and written."});
    addStep(list, session);
    list.push_back(historyCheck(session));
    list.push_back(recoveryCheck(session));
}

} // namespace

std::vector<Check> checklist(const CheckFacts &facts) {
    std::vector<Check> list{consoleCheck(facts.console), patchCheck(facts), recorderCheck(facts.recorder)};
    if (!facts.recorder.name.empty())
        list.push_back(surfaceCheck(facts.recorder, facts.listening));
    list.push_back(listeningCheck(facts.listening, facts.recorder));
    list.push_back(replyCheck(facts.replies));
    list.push_back(deviceCheck(facts));
    if (facts.folder)
        list.push_back(placeCheck("folder", *facts.folder));
    if (facts.folder || facts.session)
        list.push_back(spaceCheck(facts));
    if (facts.session)
        addSession(list, *facts.session);
    return list;
}

} // namespace corvane::cli
