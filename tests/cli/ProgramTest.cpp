#include "tests/cli/ProgramTest.h"

#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/support/BuiltFiles.h"

#include <cstdlib>

namespace corvane::cli {

Console::Console(std::vector<std::string> arguments)
    : process(builtPrograms() / "lv1-console-sim", std::move(arguments)) {
    if (!process.says("\n"))
        throw std::runtime_error("the console does not listen: " + process.errors());
    const std::string output = process.output();
    portNumber = static_cast<std::uint16_t>(std::stoi(output.substr(std::string("listening on ").size())));
}

std::vector<std::string> Console::address() const {
    return {"--host", "127.0.0.1", "--port", std::to_string(portNumber)};
}

void ProgramTest::SetUp() {
    CORVANE_ENTER_PRIVATE_NETWORK();
    platform = makePlatform(main, {room});
}

void ProgramTest::TearDown() {
    if (platform && liveTrax()) {
        liveTrax()->forceTerminate();
        EXPECT_TRUE(eventually([&] { return !liveTrax(); }));
    }
}

std::unique_ptr<ChildProcess> ProgramTest::start(Arguments arguments) const {
    arguments.insert(arguments.end(), {"--rehearse", room.string()});
    return std::make_unique<ChildProcess>(program, arguments);
}

Ran ProgramTest::run(const Arguments &arguments) const {
    return finish(*start(arguments));
}

Ran ProgramTest::finish(ChildProcess &process) {
    const auto status = process.exitStatus();
    EXPECT_TRUE(status) << "does not end";
    return {status.value_or(-1000), process.output(), process.errors()};
}

Ran ProgramTest::shell(const std::string &line) const {
    const std::string names =
        "corvanectl='" + program + "' room='" + room.string() + "' work='" + work.path().string() + "'; ";
    ChildProcess process("/bin/sh", {"-c", names + line});
    return finish(process);
}

void ProgramTest::installLiveTrax() const {
    const auto bundle = room / "Applications/LiveTrax3.app/Contents";
    std::filesystem::create_directories(bundle / "MacOS");
    std::filesystem::create_directories(bundle / "Resources");
    std::filesystem::copy_file(builtPrograms() / "livetrax-sim", bundle / "MacOS/LiveTrax3");
}

std::shared_ptr<RunningApplication> ProgramTest::liveTrax() const {
    return LiveTraxGenerator::runningApplication(*platform);
}

bool ProgramTest::liveTraxAnswers() const {
    return eventually([&] { return run({"transport"}).status == 0; });
}

void ProgramTest::quitLiveTrax() const {
    const auto application = liveTrax();
    ASSERT_TRUE(application);
    application->terminate();
    EXPECT_TRUE(eventually([&] { return application->isTerminated(); }));
}

} // namespace corvane::cli
