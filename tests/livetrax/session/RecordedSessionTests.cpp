#include "tests/livetrax/session/SessionTexts.h"

#include "platform/files/Files.h"
#include "tests/support/BuiltFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Lines = std::vector<std::string>;

Lines linesOf(const std::string &text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// Takes the element that begins with `start`, indented as found, out of the lines. Returns how many lines
/// went.
std::size_t cut(Lines &lines, const std::string &start) {
    const auto first = std::find_if(lines.begin(), lines.end(), [&](const std::string &line) {
        return line.find(start) != std::string::npos;
    });
    if (first == lines.end())
        return 0;
    auto last = first;
    if (!first->ends_with("/>")) {
        const std::string indentation = first->substr(0, first->find('<'));
        const std::string name = first->substr(indentation.size() + 1,
                                               first->find(' ', indentation.size()) - indentation.size() - 1);
        last = std::find(first, lines.end(), indentation + "</" + name + ">");
    }
    const auto count = static_cast<std::size_t>(last - first) + 1;
    lines.erase(first, last + 1);
    return count;
}

/// Each attribute of a line with one element, as name="value".
Lines attributesOf(const std::string &line) {
    Lines attributes;
    for (std::size_t start = line.find(' ', line.find('<'));
         start != std::string::npos && line[start] == ' ';) {
        const std::size_t end = line.find('"', line.find('"', start) + 1) + 1;
        attributes.push_back(line.substr(start + 1, end - start - 1));
        start = end;
    }
    return attributes;
}

/// What differs between lines that must be alike but for attribute values: "Element: old -> new".
Lines changes(const Lines &before, const Lines &after) {
    EXPECT_EQ(before.size(), after.size());
    Lines found;
    for (std::size_t line = 0; line < std::min(before.size(), after.size()); ++line) {
        if (before[line] == after[line])
            continue;
        const Lines old = attributesOf(before[line]);
        const Lines now = attributesOf(after[line]);
        const std::size_t start = before[line].find('<') + 1;
        const std::string element = before[line].substr(start, before[line].find(' ', start) - start);
        for (std::size_t index = 0; index < std::min(old.size(), now.size()); ++index)
            if (old[index] != now[index])
                found.push_back(element + ": " + old[index] + " -> " + now[index]);
        for (std::size_t index = old.size(); index < now.size(); ++index)
            found.push_back(element + ": + " + now[index]);
        EXPECT_LE(old.size(), now.size()) << before[line] << "\n" << after[line];
    }
    return found;
}

/// A session that the recorder wrote, with regions, plug-ins, automation, sends and a group, and with
/// comments and a direct out on its first track on top.
std::string richSession() {
    const std::filesystem::path file = testData() / "sessions/Jazz Club/Jazz Club.ardour";
    const Bytes bytes = readFile(file);
    std::string text(bytes.begin(), bytes.end());
    const std::string directOut = R"(      <!-- a remark & a "quote" -->
      <Processor id="9001" name="Kick Direct" type="send" role="DirectOuts" bitslot="5">
        <IO name="Kick Direct" id="9002" direction="Output">
          <Port type="audio" name="Kick Direct/audio_send 1">
            <ExtConnection for="Dummy;Normal Speed;Silence"/>
            <ExtConnection for="Dummy;Normal Speed;Silence" other="system:playback_5"/>
          </Port>
        </IO>
      </Processor>
)";
    text.insert(text.find("    </Route>", text.find("name=\"Kick\"")), directOut);
    return text;
}

LV1Channel coloredAs(const std::string &name, std::int32_t inputIndex, bool stereo, std::uint32_t color) {
    const auto component = [&](unsigned shift) {
        return static_cast<float>(color >> shift & 0xFFU) / 255.0F;
    };
    return {name, stereo, "SoundGrid", inputIndex, "Mixer_Ch", 1, component(24), component(16), component(8)};
}

/// The console that the rich session's tracks look exactly like.
std::vector<LV1Channel> matchingConsole() {
    return {coloredAs("Kick", 0, false, 4289374975), coloredAs("Overheads", 1, true, 3563743999),
            coloredAs("Sängerin", 3, false, 2148865535), coloredAs("Piano", 4, true, 1426063615),
            coloredAs("Spare", 6, false, 2861447679)};
}

/// Whether a change is the engine namespace of one of the rich session's tracks, its old name, and nothing
/// else.
bool isNamespaceChange(const std::string &change) {
    const std::string names[] = {"Kick", "Overheads", "Sängerin", "Piano", "Spare"};
    const std::size_t start = change.find(": ") + 2;
    const std::size_t arrow = change.find(" -> ");
    const std::string old = change.substr(start, arrow - start);
    for (std::size_t index = 0; index < std::size(names); ++index) {
        std::string now = change.substr(arrow + 4);
        const std::string space = "Audio " + std::to_string(index + 1);
        for (std::size_t at = now.find(space); at != std::string::npos; at = now.find(space, at))
            now.replace(at, space.size(), names[index]);
        if (now == old)
            return true;
    }
    return false;
}

class RecordedSessionUpdate : public ::testing::Test {
protected:
    RecordedSessionUpdate() {
        platform.writeSession(richSession());
        // The first update names the engine ports and switches OSC on; what is looked at comes after it.
        EXPECT_EQ(update(matchingConsole()), (UpdateResult{5, 0, 0}));
    }

    UpdateResult update(const std::vector<LV1Channel> &channels) {
        return LiveTraxGenerator::update(platform.platform, platform.sessionFolder(), channels);
    }

    SessionPlatform platform;
};

TEST_F(RecordedSessionUpdate, TheFirstUpdateChangesOnlyWhatAnUpdateNames) {
    const Lines before = linesOf(richSession());
    Lines after = linesOf(platform.session());
    EXPECT_EQ(cut(after, "<Option name=\"osc-port\" value=\"3819\"/>"), 1U);
    EXPECT_EQ(cut(after, "<Option name=\"use-osc\" value=\"1\"/>"), 1U);
    std::set<std::string> kinds;
    for (const std::string &change : changes(before, after))
        if (!isNamespaceChange(change))
            kinds.insert(change);
    EXPECT_THAT(kinds,
                ::testing::UnorderedElementsAre(
                    "Session: id-counter=\"1521\" -> id-counter=\"1621\"",
                    "Processor: name=\"Kick Direct\" -> name=\"Kick\"",
                    "Processor: bitslot=\"5\" -> bitslot=\"1\"", "IO: name=\"Kick Direct\" -> name=\"Kick\"",
                    "Port: name=\"Kick Direct/audio_send 1\" -> name=\"Kick/audio_send 1\"",
                    "ExtConnection: other=\"system:playback_5\" -> other=\"system:playback_1\"",
                    "Protocol: + session-state=\"1\"", "Controllable: value=\"0\" -> value=\"1\""));
}

TEST_F(RecordedSessionUpdate, TheSameConsoleAgainChangesOneLine) {
    const Lines before = linesOf(platform.session());
    EXPECT_EQ(update(matchingConsole()), (UpdateResult{5, 0, 0}));
    EXPECT_THAT(changes(before, linesOf(platform.session())),
                ElementsAre("Session: id-counter=\"1621\" -> id-counter=\"1721\""));
}

TEST_F(RecordedSessionUpdate, ARenameRecoloursAndMovesNothingElse) {
    const Lines before = linesOf(platform.session());
    std::vector<LV1Channel> channels = matchingConsole();
    channels[0] = coloredAs("Bass Drum", 0, false, 4289374975);
    channels[1].red = 1.0F;
    EXPECT_EQ(update(channels), (UpdateResult{5, 0, 0}));
    EXPECT_THAT(changes(before, linesOf(platform.session())),
                ElementsAre("Session: id-counter=\"1621\" -> id-counter=\"1721\"",
                            "Route: name=\"Kick\" -> name=\"Bass Drum\"",
                            "Processor: name=\"Kick\" -> name=\"Bass Drum\"",
                            "IO: name=\"Kick\" -> name=\"Bass Drum\"",
                            "Port: name=\"Kick/audio_send 1\" -> name=\"Bass Drum/audio_send 1\"",
                            "PresentationInfo: color=\"3563743999\" -> color=\"" +
                                std::to_string((3563743999U & 0x00FFFFFFU) | 0xFF000000U) + "\""));
}

TEST_F(RecordedSessionUpdate, ARemovedAndAnAddedTrackLeaveAllOthersAlone) {
    Lines before = linesOf(platform.session());
    std::vector<LV1Channel> channels = matchingConsole();
    channels[4] = coloredAs("Guest", 7, false, 255);
    EXPECT_EQ(update(channels), (UpdateResult{4, 1, 1}));
    Lines after = linesOf(platform.session());
    EXPECT_GT(cut(before, "name=\"Spare\" default-type"), 60U);
    EXPECT_GT(cut(after, "name=\"Guest\" audio-playlist="), 10U);
    EXPECT_EQ(cut(after, "name=\"Guest\"/>"), 1U);
    EXPECT_THAT(changes(before, after), ElementsAre("Session: id-counter=\"1621\" -> id-counter=\"1725\""));
}

} // namespace
} // namespace corvane
