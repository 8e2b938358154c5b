#include "cli/ChannelSource.h"

#include "patch/FiniteColours.h"
#include "patch/PatchDocument.h"
#include "platform/files/Files.h"

#include <utility>

namespace corvane::cli {

void ChannelSource::obtain(std::function<void(const Channels &)> onChannels,
                           std::function<void(const Outcome &)> onFailure) {
    const auto &source = context.options.source;
    if (source.file) {
        onChannels(readPatchFile(*source.file));
        return;
    }
    reader =
        std::make_shared<PatchReader>(context.platform, context.output, source, PatchReader::defaultTimeout);
    reader->onPatch = [take = std::move(onChannels)](const Channels &channels) {
        take(withFiniteColours(channels));
    };
    reader->onFailure = std::move(onFailure);
    reader->start();
}

void ChannelSource::stop() {
    if (reader)
        reader->stop();
    reader.reset();
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

} // namespace corvane::cli
