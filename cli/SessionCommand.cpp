#include "cli/SessionCommand.h"

#include "livetrax/session/LiveTraxGenerator.h"
#include "patch/FiniteColours.h"
#include "patch/PatchDocument.h"
#include "platform/files/Files.h"

namespace corvane::cli {

void refuseWhileLiveTraxRuns(const Platform &platform) {
    if (LiveTraxGenerator::runningApplication(platform))
        throw CommandFailure(status::refused, LiveTraxGenerator::liveTraxRuns);
}

std::vector<LV1Channel> readPatchFile(const std::filesystem::path &file) {
    try {
        const Bytes bytes = readFile(file);
        return readPatchDocument({reinterpret_cast<const char *>(bytes.data()), bytes.size()});
    } catch (const PatchDocumentError &error) {
        throw CommandFailure(status::wrongUsage, file.string() + ": " + error.what());
    } catch (const FileError &error) {
        throw CommandFailure(status::wrongUsage, error.what());
    }
}

void SessionCommand::start() {
    const auto &file = context.options.source.file;
    if (!file) {
        prepare(); // a console may take a while to answer
        return PatchReadingCommand::start();
    }
    Channels channels;
    try {
        channels = readPatchFile(*file);
    } catch (const CommandFailure &) {
        prepare(); // what refuses the command whatever the patch is comes first
        throw;
    }
    patchIs(channels);
}

void SessionCommand::patchIs(const Channels &channels) {
    prepare(); // LiveTrax may have been started meanwhile
    work(withFiniteColours(channels));
    end();
}

} // namespace corvane::cli
