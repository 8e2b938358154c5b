#include "app/Notice.h"

#include "app/PlanText.h"
#include "base/Quotation.h"

#include <algorithm>
#include <array>
#include <utility>

namespace corvane {

namespace {

using Kind = Notice::Kind;
using Found = std::optional<Notice>;

/// Minutes of recording below which it is worth saying once more.
constexpr auto worse = std::to_array<std::uintmax_t>({30, 15, 5, 1});

std::string nameOf(const std::filesystem::path &session) {
    return quotation((session.has_filename() ? session : session.parent_path()).filename().string());
}

Notice explained(Notice notice, std::string detail) {
    notice.detail = std::move(detail);
    return notice;
}

Found createCannot(const NoticeFacts &facts) {
    using Problem = NoticeFacts::CreateProblem;
    if (facts.createProblem == Problem::noName)
        return Notice{Kind::createCannot, "Type a session name."};
    if (facts.createProblem == Problem::noChannels)
        return Notice{Kind::createCannot, "The synchronised patch has no channels; press SYNC LV1."};
    return {};
}

Found otherSession(const NoticeFacts &facts) {
    if (!facts.session || !facts.lastOpened || *facts.session == *facts.lastOpened)
        return {};
    const std::string last = nameOf(*facts.lastOpened);
    return Notice{Kind::otherSession,
                  "LiveTrax opened " + last + " last; SYNC LV1 works on " + nameOf(*facts.session) + ".",
                  "Use " + last};
}

Found sessionGone(const NoticeFacts &facts) {
    if (!facts.session || !facts.sessionIsGone)
        return {};
    return Notice{Kind::sessionGone,
                  nameOf(*facts.session) + " is not at " + isolated(facts.session->parent_path().string()) +
                      " any more.",
                  "Choose…"};
}

Found networkRefused(const NoticeFacts &facts) {
    if (!facts.networkIsRefused)
        return {};
    return Notice{
        Kind::networkRefused,
        "This computer does not let Corvane use the local network, where consoles are. Switch Corvane "
        "on in System Settings, Privacy & Security, Local Network."};
}

Found linkDown(const NoticeFacts &facts) {
    if (!facts.linkIsDown)
        return {};
    return Notice{Kind::linkDown,
                  "The console is not connected. Choose it again in LV1 HOST, or:", "Reconnect"};
}

Found sessionDiffers(const NoticeFacts &facts) {
    if (!facts.session || facts.sessionIsGone || !facts.difference)
        return {};
    const auto [lacks, extra, changed, moved] = *facts.difference;
    std::vector<std::string> ways;
    if (lacks > 0)
        ways.push_back("lacks " + std::to_string(lacks) + " of the console's " +
                       counted(facts.channels, "channel", "channels"));
    if (extra > 0)
        ways.push_back("has " + counted(extra, "track", "tracks") + " that the console does not have");
    if (changed > 0)
        ways.push_back("differs from the console in " + counted(changed, "track", "tracks"));
    if (moved > 0 && ways.empty())
        ways.push_back("has " + counted(moved, "track", "tracks") + " in another place than the console");
    if (ways.empty())
        return {};
    std::string text = nameOf(*facts.session);
    for (const std::string &way : ways)
        text += (&way == &ways.front() ? " " : " It ") + way + ".";
    if (const auto &going = facts.takesInDifference; !going.empty())
        text += " An update takes " + counted(going.size(), "recorded track", "recorded tracks") +
                " out: " + joined(going) + ".";
    return explained({Kind::sessionDiffers, text, "Update…"},
                     listing("The update would change:", facts.differences));
}

Found takesRemoved(const NoticeFacts &facts) {
    if (facts.removedWithTakes.empty())
        return {};
    const auto since = facts.recordingsSinceRemoval;
    std::string text = counted(facts.removedWithTakes.size(), "track", "tracks") +
                       " with recordings left the session: " + joined(facts.removedWithTakes) + ".";
    if (since.value_or(0) > 0)
        text += " " + counted(std::size_t(*since), "recording was", "recordings were") + " made since.";
    if (since == 0)
        return explained({Kind::takesRemoved, text, "Undo"},
                         "Undo puts the whole session back as it was before the update: markers, edits and "
                         "mixes made since go with it.");
    return Notice{Kind::takesRemoved, text};
}

Found firstOf(Kind kind, const std::vector<std::string> &problems) {
    if (problems.empty())
        return {};
    if (problems.size() == 1)
        return Notice{kind, problems.front()};
    return explained({kind, problems.front() + " (And " + std::to_string(problems.size() - 1) + " more.)"},
                     listing("All of them:", problems));
}

Found namesUnfit(const NoticeFacts &facts) {
    return firstOf(Kind::namesUnfit, facts.overlongNames);
}

Found namesRewritten(const NoticeFacts &facts) {
    return firstOf(Kind::namesRewritten, facts.rewrittenNames);
}

Found takesAtRisk(const NoticeFacts &facts) {
    if (facts.atRisk.empty())
        return {};
    return Notice{Kind::takesAtRisk,
                  "SYNC LV1 will take " + counted(facts.atRisk.size(), "recorded track", "recorded tracks") +
                      " out of the session: " + joined(facts.atRisk) + ".",
                  "Show plan"};
}

Found markerLost(const NoticeFacts &facts) {
    if (!facts.lostMarker)
        return {};
    const auto &[name, reason] = *facts.lostMarker;
    const bool isHeld = facts.portHolder && facts.portHolder->problem == reason;
    return Notice{Kind::markerLost, "The marker " + quotation(name) + " did not reach LiveTrax: " + reason +
                                        (isHeld ? " It is held by " + facts.portHolder->program + "." : "")};
}

Found patchConflict(const NoticeFacts &facts) {
    if (facts.conflicts.empty())
        return {};
    return Notice{Kind::patchConflict, facts.conflicts.front() + ": a session cannot be created.", "Show"};
}

Found spaceLow(const NoticeFacts &facts) {
    const auto &[inputs, format, volumes] = facts.recording;
    const auto tightest =
        std::min_element(volumes.begin(), volumes.end(),
                         [](const Volume &a, const Volume &b) { return a.available < b.available; });
    if (inputs == 0 || tightest == volumes.end())
        return {};
    const auto minutes = recordingMinutes(tightest->available, inputs, format);
    if (minutes >= fewRecordingMinutes)
        return {};
    const std::string left =
        minutes == 0 ? "Less than a minute" : counted(std::size_t(minutes), "minute", "minutes");
    const auto steps = std::count_if(worse.begin(), worse.end(), [&](auto few) { return minutes < few; });
    const std::string where = tightest->name.empty() ? "this computer" : quotation(tightest->name);
    return Notice{Kind::spaceLow,
                  left + " left on " + where + " for " + counted(inputs, "input", "inputs") + " at " +
                      kilohertz(format.rate) + ".",
                  "", where, static_cast<int>(steps) + 1};
}

} // namespace

bool Notice::covers(const Notice &other) const {
    if (step == 0)
        return kind == other.kind && text == other.text && action == other.action;
    return kind == other.kind && matter == other.matter && step >= other.step;
}

std::vector<Notice> notices(const NoticeFacts &facts) {
    std::vector<Notice> found;
    for (const auto row :
         {createCannot, otherSession, sessionGone, networkRefused, linkDown, sessionDiffers, takesRemoved,
          namesUnfit, takesAtRisk, markerLost, namesRewritten, patchConflict, spaceLow})
        if (auto notice = row(facts))
            found.push_back(*std::move(notice));
    return found;
}

} // namespace corvane
