#include "fuzz/Fuzzing.h"
#include "patch/PatchDocument.h"

using namespace corvane;

/// Any text as a patch file: it is refused with a reason, or what was read, written and read again is the
/// same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::vector<LV1Channel> channels;
    try {
        channels = readPatchDocument({reinterpret_cast<const char *>(data), size});
    } catch (const PatchDocumentError &error) {
        require(error.what()[0] != '\0', "a refusal says why");
        return 0;
    }
    require(readPatchDocument(patchDocument(channels)) == channels, "what was written can be read");
    patchTable(channels);
    return 0;
}
