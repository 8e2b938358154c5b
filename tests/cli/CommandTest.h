#pragma once

#include "cli/Commands.h"
#include "lv1/LV1Channel.h"
#include "osc/OSCValue.h"
#include "tests/fakes/FakeSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvane::cli {

/// Keeps what is printed; can be made to fail as a full disk does.
class RecordingOutput : public Output {
public:
    void print(std::string_view text) override;
    void progress(const std::string &text) override { shown.push_back(text); }

    std::string printed;
    std::vector<std::string> shown;
    bool full = false;
};

/// Commands on fakes and a manual clock: no socket, no process, no waiting.
class CommandTest : public testing::Test {
protected:
    CommandTest();
    ~CommandTest() override;

    /// Begins the command and runs what needs no time.
    void begin(const std::vector<std::string> &arguments);
    /// Begins a command that needs no time and returns its outcome.
    Outcome run(const std::vector<std::string> &arguments);
    bool ended() const { return outcome.has_value(); }
    nlohmann::json printedJson() const { return nlohmann::json::parse(output.printed); }

    /// The console's end of the connection made last.
    FakeStreamConnection &stream() { return *fake.network->streams.back(); }
    /// The console accepts the link.
    void accept();
    void deliver(const std::string &address, const std::vector<OSCValue> &values);
    void deliverPatch(const std::vector<LV1Channel> &channels);
    /// A host is heard by multicast.
    void announce(const std::string &name, const std::string &host, int port,
                  const std::string &mac = "aa:bb");

    /// A LiveTrax 3 installation and the base template.
    void installLiveTrax();
    std::shared_ptr<FakeRunningApplication> startLiveTrax();
    /// From now on the test's folder is that of a rehearsal.
    void rehearse();
    /// A patch file of these channels.
    std::string patchFile(const std::vector<LV1Channel> &channels);

    FakePlatform fake;
    RecordingOutput output;
    Options options;
    std::map<std::uint16_t, std::vector<UDPPortHolder>> portHolders;
    std::shared_ptr<Command> command;
    std::optional<Outcome> outcome;
};

LV1Channel mono(const std::string &name, int input, int number);
LV1Channel stereo(const std::string &name, int input, int number);

} // namespace corvane::cli
