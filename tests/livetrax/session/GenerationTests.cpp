#include "tests/livetrax/session/SessionTexts.h"

#include "platform/files/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Generator = LiveTraxGenerator;
using Case = GeneratorError::Case;

class Generation : public ::testing::Test {
protected:
    std::filesystem::path shows() const { return platform.folder.path() / "New Shows/2026"; }
    std::filesystem::path templates() const {
        return platform.folder.path() / "home/Library/Preferences/LiveTrax3/templates";
    }
    std::filesystem::path generate(const std::vector<LV1Channel> &channels, const std::string &name = "Gig") {
        return Generator::generate(platform.platform, name, shows(), channels);
    }
    Tree generated(const std::string &name = "Gig") const {
        return Tree(platform.folder.read("home/Library/Preferences/LiveTrax3/templates/" + name + "/" + name +
                                         ".template"));
    }
    /// Generates in vain: nothing but the output folder and the template's folder may be left.
    Case refused(const std::vector<LV1Channel> &channels) {
        const auto error = errorOf([&] { generate(channels); });
        EXPECT_TRUE(error.has_value());
        EXPECT_FALSE(fileExists(templates() / "Gig/Gig.template"));
        EXPECT_FALSE(fileExists(shows() / "Gig"));
        return error ? error->errorCase() : Case::sessionExists;
    }

    SessionPlatform platform;
};

TEST_F(Generation, ATrackStandsForEachChannelInTheirOrder) {
    const auto session = generate({channel("Kick", 0), channel("OH", 6, true), channel("Vox", 2)});
    EXPECT_EQ(session, shows() / "Gig");
    EXPECT_FALSE(fileExists(session));
    EXPECT_TRUE(fileExists(shows()));

    const Tree tree = generated();
    EXPECT_THAT(names(tree.routes(), "Route"), ElementsAre("Master", "Kick", "OH", "Vox"));
    EXPECT_THAT(names(tree.playlists(), "Playlist"), ElementsAre("Kick", "OH", "Vox"));
    EXPECT_THAT(connections(tree.route("OH").firstChild("IO", "direction", "Input")),
                ElementsAre("system:capture_7", "system:capture_8"));
    EXPECT_EQ(tree.route("Vox").firstChild("PresentationInfo").attribute("order"), "3");
    EXPECT_THAT(names(tree.route("Vox").firstChild("IO"), "Port"), ElementsAre("Audio 3/audio_in 1"));
}

TEST_F(Generation, AStereoChannelTakesTwoInputsAndTwoPlaybackChannels) {
    generate({channel("Keys", 4, true)});
    const Tree tree = generated();
    EXPECT_THAT(connections(tree.route("Keys").firstChild("IO", "direction", "Input")),
                ElementsAre("system:capture_5", "system:capture_6"));
    EXPECT_EQ(directOut(tree.route("Keys")).attribute("bitslot"), "5");
    EXPECT_THAT(connections(directOut(tree.route("Keys")).firstChild("IO")),
                ElementsAre("system:playback_5", "system:playback_6"));
}

TEST_F(Generation, NumbersGoOnFromTheCounterAndLeaveAGap) {
    for (const std::string counter : {"id-counter=\"abc\"", "", "id-counter=\"\"", "id-counter=\"-1\"",
                                      "id-counter=\"18446744073709551616\"", "id-counter=\"10000\""}) {
        SessionPlatform fresh;
        fresh.setBaseTemplate(smallTemplate(counter));
        Generator::generate(fresh.platform, "Gig", shows(),
                            {channel("A", 0), channel("B", 1, true), channel("C", 3)});
        const Tree tree(fresh.folder.read("home/Library/Preferences/LiveTrax3/templates/Gig/Gig.template"));
        EXPECT_EQ(tree.root().attribute("id-counter"), "10112") << counter;
        EXPECT_EQ(tree.route("A").attribute("id"), "10001");
        EXPECT_EQ(directOut(tree.route("A")).attribute("id"), "10002");
        EXPECT_EQ(tree.route("A").firstChild("Controllable", "name", "rec-enable").attribute("id"), "10003");
        EXPECT_EQ(tree.playlists().firstChild("Playlist", "name", "A").attribute("id"), "10004");
        EXPECT_EQ(tree.route("C").attribute("id"), "10009");
    }
}

TEST_F(Generation, ReferencesBetweenATrackAndItsPlaylistFollowTheirIds) {
    platform.setBaseTemplate(
        "<Session id-counter='10'><Routes>"
        "<Route id='20' name='21' audio-playlist='21' group='5'><PresentationInfo flags='AudioTrack'/>"
        "<IO direction='Input'><Port name='M/audio_in 1'><ExtConnection "
        "other='system:capture_1'/></Port></IO>"
        "<X control='22' id='22'/></Route>"
        "<Route id='30' name='31' audio-playlist='31'><PresentationInfo flags='AudioTrack'/>"
        "<IO direction='Input'><Port name='S/audio_in 1'><ExtConnection other='system:capture_1'/></Port>"
        "<Port name='S/audio_in 2'><ExtConnection other='system:capture_2'/></Port></IO></Route>"
        "</Routes><Playlists><Playlist id='21' name='21' orig-track-id='20' other='220'/>"
        "<Playlist id='31' name='31' orig-track-id='30'/></Playlists></Session>");
    generate({channel("Kick", 0)});
    const Tree tree = generated();
    const XMLElement route = tree.route("Kick");
    EXPECT_EQ(route.attribute("id"), "11");
    EXPECT_EQ(route.attribute("audio-playlist"), "13");
    EXPECT_EQ(route.attribute("group"), "5");
    EXPECT_EQ(route.firstChild("X").attribute("control"), "12");
    const XMLElement playlist = tree.playlists().firstChild();
    EXPECT_EQ(playlist.attribute("id"), "13");
    EXPECT_EQ(playlist.attribute("orig-track-id"), "11");
    EXPECT_EQ(playlist.attribute("other"), "220");
}

TEST_F(Generation, ANewIdThatEqualsAnOldOneIsNotReplacedAgain) {
    // The counter gives 11, 12, 13 … while the model's own ids are 12 and 13.
    platform.setBaseTemplate(
        "<Session id-counter='10'><Routes>"
        "<Route id='12' name='m' ref='13'><PresentationInfo flags='AudioTrack'/><X id='13' back='12'/>"
        "<IO direction='Input'><Port name='M/audio_in 1'><ExtConnection "
        "other='system:capture_1'/></Port></IO></Route>"
        "<Route id='30' name='s'><PresentationInfo flags='AudioTrack'/><IO "
        "direction='Input'><Port/><Port/></IO></Route>"
        "</Routes><Playlists><Playlist id='14' name='m' track='12'/><Playlist "
        "name='s'/></Playlists></Session>");
    generate({channel("Kick", 0)});
    const Tree tree = generated();
    EXPECT_EQ(tree.route("Kick").attribute("id"), "11");
    EXPECT_EQ(tree.route("Kick").attribute("ref"), "12");
    EXPECT_EQ(tree.route("Kick").firstChild("X").attribute("back"), "11");
    EXPECT_EQ(tree.playlists().firstChild().attribute("track"), "11");
}

TEST_F(Generation, ARepeatedOldIdTakesItsLaterNumber) {
    platform.setBaseTemplate(
        "<Session id-counter='10'><Routes>"
        "<Route id='7' name='m'><PresentationInfo flags='AudioTrack'/><X id='7' ref='7'/>"
        "<IO direction='Input'><Port name='M/audio_in 1'><ExtConnection "
        "other='system:capture_1'/></Port></IO></Route>"
        "<Route name='s'><PresentationInfo flags='AudioTrack'/><IO "
        "direction='Input'><Port/><Port/></IO></Route>"
        "</Routes><Playlists><Playlist id='7' name='m'/><Playlist name='s'/></Playlists></Session>");
    generate({channel("Kick", 0)});
    const Tree tree = generated();
    EXPECT_EQ(tree.root().attribute("id-counter"), "113");
    EXPECT_EQ(tree.route("Kick").attribute("id"), "13");
    EXPECT_EQ(tree.route("Kick").firstChild("X").attribute("id"), "13");
    EXPECT_EQ(tree.route("Kick").firstChild("X").attribute("ref"), "13");
    EXPECT_EQ(tree.playlists().firstChild().attribute("id"), "13");
}

TEST_F(Generation, EveryIdOfTheNewTracksIsGivenOnce) {
    std::vector<LV1Channel> channels;
    for (int index = 0; index < 40; ++index)
        channels.push_back(channel("C" + std::to_string(index), index * 2, index % 3 == 0));
    generate(channels);
    const Tree tree = generated();
    std::set<std::string> ids;
    for (const XMLElement element : Generator::descendants(tree.root())) {
        if (const auto id = element.attribute("id")) {
            EXPECT_TRUE(ids.insert(*id).second) << *id;
        }
    }
}

TEST_F(Generation, BusesStayAndAllOldPlaylistsGo) {
    std::string text = smallTemplate();
    text.insert(text.find("</Playlists>"), "<Playlist name='unused'/><Note/>");
    text.insert(text.find("</Routes>"),
                "<Route name='FX'><PresentationInfo flags='AudioBus'/></Route><Route name='Bare'/>");
    platform.setBaseTemplate(text);
    generate({channel("Kick", 0)});
    EXPECT_THAT(names(generated().routes(), "Route"), ElementsAre("Master", "FX", "Bare", "Kick"));
    EXPECT_THAT(names(generated().playlists(), "Playlist"), ElementsAre("Kick"));
    EXPECT_TRUE(generated().playlists().firstChild("Note"));
}

TEST_F(Generation, NoChannelsGiveATemplateWithoutTracks) {
    generate({});
    EXPECT_THAT(names(generated().routes(), "Route"), ElementsAre("Master"));
    EXPECT_THAT(names(generated().playlists(), "Playlist"), IsEmpty());
    EXPECT_EQ(generated().root().attribute("id-counter"), "10100");
}

TEST_F(Generation, TheOSCSurfaceIsSwitchedOn) {
    std::string text = smallTemplate();
    text.replace(text.find("active=\"1\" session-state=\"1\""), 28, "active=\"0\"");
    platform.setBaseTemplate(text);
    generate({channel("Kick", 0)});
    const Tree tree = generated();
    EXPECT_EQ(tree.root().firstChild("ControlProtocols").firstChild().attribute("active"), "1");
    EXPECT_EQ(tree.root().firstChild("ControlProtocols").firstChild().attribute("session-state"), "1");
}

TEST_F(Generation, WithoutLiveTraxNothingIsMade) {
    std::filesystem::remove_all(platform.folders->applications);
    EXPECT_EQ(refused({channel("Kick", 0)}), Case::liveTraxMissing);
    EXPECT_FALSE(fileExists(shows()));
}

TEST_F(Generation, AnExistingSessionIsLeftAloneAndNamedInFull) {
    for (const bool file : {false, true}) {
        std::filesystem::create_directories(shows());
        if (file)
            platform.folder.write("New Shows/2026/Gig", "a file in the way");
        else
            std::filesystem::create_directories(shows() / "Gig");
        const auto error = errorOf([&] { generate({channel("Kick", 0)}); });
        ASSERT_TRUE(error);
        EXPECT_EQ(error->errorDescription(), "A session already exists at " + (shows() / "Gig").string() +
                                                 ". Choose another name or folder.");
        EXPECT_FALSE(fileExists(templates()));
        std::filesystem::remove_all(shows());
    }
}

TEST_F(Generation, WithoutTheBaseTemplateOnlyTheFoldersAreMade) {
    platform.resources->files.clear();
    EXPECT_EQ(refused({channel("Kick", 0)}), Case::baseTemplateMissing);
    EXPECT_TRUE(fileExists(templates() / "Gig"));
    EXPECT_TRUE(fileExists(shows()));
}

TEST_F(Generation, AMalformedBaseTemplateIsAnXMLError) {
    platform.setBaseTemplate("<Session>");
    EXPECT_THROW(generate({channel("Kick", 0)}), XMLError);
}

TEST_F(Generation, ATemplateThatLacksAModelIsInvalid) {
    TrackText mono;
    mono.name = "M";
    TrackText stereo;
    stereo.name = "S";
    stereo.width = 2;
    TrackText wide = stereo;
    wide.width = 3;
    TrackText bus = stereo;
    bus.flags = "AudioBus";
    for (const auto &tracks : {std::vector<TrackText>{mono}, {stereo}, {mono, wide}, {mono, bus}, {}}) {
        platform.setBaseTemplate(sessionText(tracks));
        EXPECT_EQ(refused({channel("Kick", 0)}), Case::invalidTemplate);
    }
    platform.setBaseTemplate("<Session/>");
    EXPECT_EQ(refused({channel("Kick", 0)}), Case::invalidTemplate);
}

TEST_F(Generation, ATemplateWhoseModelHasNoPlaylistOfItsNameIsInvalid) {
    std::string text = smallTemplate();
    text.replace(text.find("<Playlist id"), 12, "<Playlist nid");
    const std::string wrong = "<Playlist nid=\"103\" name=\"Mono Model\"/>";
    text.replace(text.find(wrong), wrong.size(), "<Playlist name=\"mono model\"/>");
    platform.setBaseTemplate(text);
    EXPECT_EQ(refused({channel("OH", 0, true)}), Case::invalidTemplate);
}

TEST_F(Generation, TwoChannelsOfOneNameWouldShareAPort) {
    const auto error = errorOf([&] { generate({channel("Vox", 0), channel("Vox", 1)}); });
    ASSERT_TRUE(error);
    EXPECT_EQ(
        error->errorDescription(),
        "The session would create a duplicate audio port (Vox/audio_send 1). Check the LV1 channel names.");
}

TEST_F(Generation, NamesThatBecomeEqualInXMLAreCaught) {
    EXPECT_EQ(refused({channel("Vox\x01", 0), channel("Vox\x02", 1)}), Case::duplicateEnginePort);
}

TEST_F(Generation, OverlappingInputsAreRefusedBeforeTheyAreWritten) {
    EXPECT_EQ(refused({channel("A", 2, true), channel("B", 3, true)}), Case::duplicateCapturePort);
    EXPECT_EQ(refused({channel("A", 2), channel("B", 2)}), Case::duplicateDirectOutBitSlot);
}

TEST_F(Generation, ATemplateOfTheSameNameIsReplaced) {
    generate({channel("Kick", 0)});
    generate({channel("Snare", 0)});
    EXPECT_THAT(names(generated().routes(), "Route"), ElementsAre("Master", "Snare"));
}

TEST_F(Generation, AnyNameOfASessionIsTakenAsItIs) {
    for (const std::string name :
         {"Café & Söhne", "🥁 night", "a.b", "with  blanks", "\u202Eabc", "名前", "quote\"'"}) {
        EXPECT_EQ(generate({channel("Kick", 0)}, name), shows() / name);
        EXPECT_TRUE(fileExists(templates() / name / (name + ".template"))) << name;
    }
}

TEST_F(Generation, ANameThatIsNoFoldersNameIsRefusedBeforeAnythingIsWritten) {
    const std::string slash = "A session's name cannot contain “/”.";
    const std::string control = "A session's name cannot contain a control character.";
    const std::string tooLong = "A session's name is too long.";
    const std::vector<std::pair<std::string, std::string>> names = {
        {"22/11 Palau", slash},
        {"AC/DC Live", slash},
        {"/x", slash},
        {"Gig/", slash},
        {".", "A session cannot be called “.”."},
        {" .. ", "A session cannot be called “..”."},
        {"Gig\n", control},
        {"Gig\x7f", control},
        {"Gig\u0085x", control},
        {std::string(201, 'x'), tooLong},
        {" " + std::string(199, 'x') + "é ", tooLong},
    };
    const auto before = platform.files();
    for (const auto &[name, text] : names)
        EXPECT_EQ(errorOf([&, called = name] { generate({channel("Kick", 0)}, called); })->errorDescription(),
                  text)
            << name;
    EXPECT_EQ(platform.files(), before);
    for (const std::string &name :
         {std::string(200, 'x'), " " + std::string(200, 'y') + " ", std::string("...")})
        EXPECT_NO_THROW(generate({channel("Kick", 0)}, name)) << name;
}

TEST_F(Generation, AChannelMayBeCalledByTheNumberOfAnElementOfTheModel) {
    generate({channel("100", 0), channel("104", 1, true)}); // as the models' routes are numbered
    EXPECT_THAT(names(generated().routes(), "Route"), ElementsAre("Master", "100", "104"));
}

TEST_F(Generation, ATemplateThatIsThereAlreadyIsLeftAloneWhereNoneIsMade) {
    const std::string file = "home/Library/Preferences/LiveTrax3/templates/Gig/Gig.template";
    platform.folder.write(file, "the user's own");
    EXPECT_TRUE(errorOf([&] { generate({channel("A", 2, true), channel("B", 3, true)}); }));
    EXPECT_EQ(platform.folder.read(file), "the user's own");
    EXPECT_EQ(TemporaryFolder::entries(templates() / "Gig"), 1);
}

TEST_F(Generation, ATemplateThatIsThereAlreadyIsKeptOnce) {
    platform.folder.write("home/Library/Preferences/LiveTrax3/templates/Gig/Gig.template", "the user's own");
    generate({channel("Kick", 0)});
    generate({channel("Snare", 0)});
    EXPECT_EQ(
        platform.folder.read("home/Library/Preferences/LiveTrax3/templates/Gig/Gig.template.corvane-backup"),
        "the user's own");
    EXPECT_THAT(names(generated().routes(), "Route"), ElementsAre("Master", "Snare"));
}

TEST_F(Generation, OfSeveralFaultsThePortsNameIsTold) {
    EXPECT_EQ(errorOf([&] {
                  generate({channel("Kick", 0), channel("Kick", 0)});
              })->errorCase(),
              Case::duplicateEnginePort);
}

TEST_F(Generation, AnOutputFolderMayEndInASlash) {
    const auto session = Generator::generate(platform.platform, "Gig", shows() / "", {channel("Kick", 0)});
    EXPECT_EQ(session, shows() / "Gig");
}

TEST_F(Generation, EveryNameOfAChannelComesBackFromTheTemplate) {
    const std::vector<std::string> channelNames = {
        "",
        "a|b",
        "\"quoted\" & <tagged>",
        "'",
        "🥁",
        "\u202Eאבג",
        std::string(1000, 'x'),
        " blank ",
        "line\nbreak",
        "A/audio_send 1",
        "Audio 7",
    };
    std::vector<LV1Channel> channels;
    for (const std::string &name : channelNames)
        channels.push_back(channel(name, static_cast<std::int32_t>(channels.size())));
    generate(channels);
    std::vector<std::string> expected = channelNames;
    expected.insert(expected.begin(), "Master");
    EXPECT_EQ(names(generated().routes(), "Route"), expected);
}

TEST_F(Generation, TheCounterMayNotOverflow) {
    platform.setBaseTemplate(smallTemplate("id-counter=\"18446744073709551615\""));
    EXPECT_EQ(errorOf([&] { generate({channel("Kick", 0)}); })->errorDescription(),
              "The session has no numbers left for new objects (18446744073709551615).");
    platform.setBaseTemplate(smallTemplate("id-counter=\"18446744073709551610\""));
    EXPECT_EQ(errorOf([&] { generate({channel("Kick", 0)}); })->errorCase(), Case::idsExhausted);
}

} // namespace
} // namespace corvane
