#include "livetrax/session/LiveTraxGenerator.h"
#include "livetrax/session/RecorderConfiguration.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace corvane {
namespace {

RecorderConfiguration configuration(const std::string &content) {
    return configurationOf(XMLDocument::parse("<Ardour>" + content + "</Ardour>", "The test's text").root());
}

const std::string surface = R"xml(<Protocol name="Open Sound Control (OSC)" active=")xml";

TEST(RecorderConfiguration, TheSurfaceIsOnWhenItIsActiveOnThePortThatCorvaneSpeaksTo) {
    const std::string active = "<ControlProtocols>" + surface + "1\"/></ControlProtocols>";
    EXPECT_TRUE(configuration(active).surfaceIsOn());
    EXPECT_TRUE(
        configuration(active + R"(<Config><Option name="osc-port" value="3819"/></Config>)").surfaceIsOn());
    EXPECT_FALSE(
        configuration(active + R"(<Config><Option name="osc-port" value="8000"/></Config>)").surfaceIsOn());
    EXPECT_FALSE(configuration("<ControlProtocols>" + surface + "0\"/></ControlProtocols>" +
                               R"(<Config><Option name="use-osc" value="1"/></Config>)")
                     .surfaceIsOn());
}

TEST(RecorderConfiguration, WithoutTheSurfaceInTheListTheOptionCounts) {
    EXPECT_TRUE(configuration(R"(<Config><Option name="use-osc" value="1"/></Config>)").surfaceIsOn());
    EXPECT_FALSE(configuration(R"(<Config><Option name="use-osc" value="0"/></Config>)").surfaceIsOn());
    EXPECT_FALSE(configuration("").surfaceIsOn());
}

TEST(RecorderConfiguration, WhatCorvaneSwitchesOnIsOn) {
    for (const std::string start : {"<Config/>", "<Config/><ControlProtocols>"}) {
        const bool listed = start.find("ControlProtocols") != std::string::npos;
        auto document = XMLDocument::parse(
            "<Ardour>" + start + (listed ? surface + "0\"/></ControlProtocols>" : "") + "</Ardour>", "test");
        EXPECT_FALSE(configurationOf(document.root()).surfaceIsOn()) << start;
        LiveTraxGenerator::enableOSC(document.root());
        EXPECT_TRUE(configurationOf(document.root()).surfaceIsOn()) << start;
    }
}

TEST(RecorderConfiguration, TellsWhichDevicesWereUsedAndNoOtherOptions) {
    const auto found = configuration(
        R"(<Config><Option name="default-session-parent-dir" value="/Users/maria"/>
           <Option name="osc-port" value="3819"/></Config>
           <Extra><AudioMIDISetup><EngineStates>
           <State backend="CoreAudio" driver="" device="Waves SoundGrid" sample-rate="48000"/>
           <State backend="ALSA" driver="Duplex" device="hw:1" sample-rate="96000"/>
           </EngineStates></AudioMIDISetup></Extra>)");
    EXPECT_THAT(found.options, testing::ElementsAre(testing::Pair("osc-port", "3819")));
    EXPECT_THAT(found.devices,
                testing::ElementsAre("CoreAudio;;Waves SoundGrid at 48000", "ALSA;Duplex;hw:1 at 96000"));
}

TEST(RecorderConfiguration, ALiveTraxThatWasNeverStartedHasNone) {
    const TemporaryFolder folder;
    EXPECT_EQ(std::nullopt, readConfiguration(folder.path()));
    folder.write("config", "<Ardour/>");
    EXPECT_EQ(RecorderConfiguration(), readConfiguration(folder.path()));
    folder.write("config", "<Ardour>");
    EXPECT_THROW(readConfiguration(folder.path()), XMLError);
}

} // namespace
} // namespace corvane
