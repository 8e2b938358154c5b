// Updates the session "Shows/Gig" below the folder that is its argument, and says on standard error what went
// wrong.

#include "livetrax/session/LiveTraxGenerator.h"
#include "platform/files/JsonUserDefaults.h"
#include "tests/fakes/FakeSystem.h"

#include <cstdio>
#include <exception>
#include <filesystem>

int main(int, char **arguments) {
    using namespace corvane;
    const std::filesystem::path folder = arguments[1];
    ManualQueue main(std::make_shared<ManualClock>(), "main");
    Platform platform{main};
    platform.folders = {folder / "home", folder / "Applications", {}};
    platform.resources =
        FakeBundleResources{{{"LiveTraxSeed.template", folder / "resources/LiveTraxSeed.template"}}};
    platform.applications = std::make_unique<FakeRunningApplications>();
    platform.processes = std::make_unique<FakeProcessLauncher>();
    platform.defaults = std::make_unique<JsonUserDefaults>(folder / "home/.config/corvane/defaults.json");
    platform.clock = [] { return fakeWallTime; };
    const auto channel = [](const char *name, std::int32_t input) {
        return LV1Channel(name, false, "SoundGrid", input, "Mixer_Ch", 1);
    };
    try {
        LiveTraxGenerator::update(platform, folder / "Shows/Gig",
                                  {channel("Bass Drum", 0), channel("Guest", 5)});
        return 0;
    } catch (const std::exception &error) {
        std::fputs(error.what(), stderr);
        return 1;
    }
}
