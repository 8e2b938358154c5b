#include "tests/cli/CommandTest.h"

#include "osc/OSCCodec.h"
#include "patch/PatchDocument.h"
#include "tests/support/BuiltFiles.h"

#include <system_error>
#include <variant>

namespace corvane::cli {

void RecordingOutput::print(std::string_view text) {
    if (full)
        throw std::system_error(ENOSPC, std::generic_category(), "Standard output cannot be written");
    printed += text;
}

CommandTest::CommandTest() {
    fake.network->datagramsBecomeReady = true;
}

CommandTest::~CommandTest() {
    if (command)
        command->stop();
    command.reset();
    fake.clock->run();
}

void CommandTest::begin(const std::vector<std::string> &arguments) {
    auto parsed = parseCommandLine(arguments, fake.folder.path());
    if (const auto *ending = std::get_if<Ending>(&parsed)) {
        outcome = ending->outcome;
        return;
    }
    options = std::get<Options>(parsed);
    command = makeCommand(
        {fake.platform, output, options, [this](std::uint16_t port) { return portHolders[port]; }});
    command->onEnd = [this](Outcome how) { outcome = std::move(how); };
    command->begin();
    fake.clock->run();
}

Outcome CommandTest::run(const std::vector<std::string> &arguments) {
    begin(arguments);
    if (!outcome)
        ADD_FAILURE() << "the command still waits";
    return outcome.value_or(Outcome());
}

void CommandTest::accept() {
    stream().becomeReady();
    fake.clock->run();
    deliver("/handshake", {std::int32_t{1}});
}

void CommandTest::deliver(const std::string &address, const std::vector<OSCValue> &values) {
    stream().deliver(OSCCodec::frame(OSCCodec::message(address, std::span<const OSCValue>(values))));
    fake.clock->run();
}

void CommandTest::deliverPatch(const std::vector<LV1Channel> &channels) {
    std::vector<OSCValue> values{static_cast<std::int32_t>(channels.size())};
    for (const auto &channel : channels) {
        const std::vector<OSCValue> record{channel.name(),       std::int32_t{channel.stereo() ? 1 : 0},
                                           channel.driver(),     channel.inputIndex(),
                                           channel.sourceType(), channel.sourceIndex(),
                                           std::int32_t{0}};
        values.insert(values.end(), record.begin(), record.end());
    }
    deliver("/Notify/IOConnections", values);
}

void CommandTest::announce(const std::string &name, const std::string &host, int port,
                           const std::string &mac) {
    std::vector<OSCValue> values(13, std::int32_t{0});
    values[0] = std::string("_waveslv113._tcp");
    values[3] = name;
    values[4] = std::int32_t{port};
    values[8] = host;
    values[12] = mac;
    fake.multicast->deliver(OSCCodec::message("/zDNS", std::span<const OSCValue>(values)));
    fake.clock->run();
}

void CommandTest::installLiveTrax() {
    fake.folder.write("Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3", "a program");
    fake.resources->files["LiveTraxSeed.template"] = seedTemplate();
}

std::shared_ptr<FakeRunningApplication> CommandTest::startLiveTrax() {
    auto application = std::make_shared<FakeRunningApplication>();
    fake.applications->running["com.harrisonconsoles.LiveTrax3"] = application;
    return application;
}

void CommandTest::rehearse() {
    fake.platform.rehearsal =
        std::make_unique<Rehearsal>(fake.folder.path(), std::vector<std::uint16_t>{}, nullptr);
}

std::string CommandTest::patchFile(const std::vector<LV1Channel> &channels) {
    return fake.folder.write("patch.json", patchDocument(channels)).string();
}

LV1Channel mono(const std::string &name, int input, int number) {
    return {name, false, "SoundGrid", input, "Mixer_Ch", number};
}

LV1Channel stereo(const std::string &name, int input, int number) {
    return {name, true, "SoundGrid", input, "Mixer_Ch", number};
}

} // namespace corvane::cli
