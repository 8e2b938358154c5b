#pragma once

#include "platform/files/Files.h"
#include "tests/app/WorkflowFixture.h"

#include <filesystem>
#include <string>

namespace corvane {

/// A console in step with the session "Show", which LiveTrax has open.
class NoticesFixture : public WorkflowTest {
protected:
    /// A session of these channels, made before the program starts.
    std::filesystem::path makeSession(const std::string &name, const Channels &list) {
        installLiveTrax();
        LiveTraxGenerator::generate(fakes.platform, name, *fakes.musicFolder, list);
        return makeSessionFolder(name);
    }
    static std::string textOf(const std::filesystem::path &file) {
        const Bytes bytes = readFile(file);
        return {bytes.begin(), bytes.end()};
    }
    void opensLast(const std::filesystem::path &session) {
        fakes.folder.write("home/Library/Preferences/LiveTrax3/recent",
                           session.filename().string() + "\n" + session.string() + "\n");
    }
    void begin(const Channels &ofTheConsole) {
        show = makeSession("Show", kickAndKeys());
        opensLast(show);
        launch();
        consoleSendsPatch(ofTheConsole);
        fakes.clock->run();
    }
    std::string text() const { return view.notice ? view.notice->text : ""; }

    std::filesystem::path show;
};

} // namespace corvane
