#pragma once

#include "livetrax/session/LiveTraxGenerator.h"
#include "tests/app/ControllerFixture.h"
#include "tests/app/Recording.h"
#include "tests/support/BuiltFiles.h"

#include <chrono>
#include <filesystem>
#include <string>

namespace corvane {

/// The controller with a LiveTrax to be installed, and sessions made the way LiveTrax makes them.
class WorkflowTest : public ControllerFixture {
protected:
    WorkflowTest() { fakes.resources->files["LiveTraxSeed.template"] = seedTemplate(); }

    void installLiveTrax() { fakes.folder.write("Applications/LiveTrax3.app/Contents/MacOS/LiveTrax3", ""); }

    static std::string signature(const Channels &channels) {
        return LiveTraxGenerator::patchSignature(channels);
    }

    std::filesystem::path templateFile(const std::string &name) const {
        return fakes.folders->home / "Library/Preferences/LiveTrax3/templates" / name / (name + ".template");
    }
    /// What LiveTrax does with the user template: it becomes the session's file.
    std::filesystem::path makeSessionFolder(const std::string &name) const {
        const auto folder = *fakes.musicFolder / name;
        std::filesystem::create_directories(folder);
        std::filesystem::copy_file(templateFile(name), folder / (name + ".ardour"));
        return folder;
    }
    void touch(const std::filesystem::path &file) const {
        std::filesystem::last_write_time(file,
                                         std::filesystem::last_write_time(file) + std::chrono::seconds(2));
    }
};

} // namespace corvane
