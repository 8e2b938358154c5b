#include "tests/support/BuiltFiles.h"

namespace corvane {

std::filesystem::path builtPrograms() {
    return CORVANE_BUILD_BIN;
}

std::filesystem::path testData() {
    return CORVANE_SOURCE "/tests/data";
}

std::filesystem::path seedTemplate() {
    return CORVANE_SOURCE "/resources/LiveTraxSeed.template";
}

} // namespace corvane
