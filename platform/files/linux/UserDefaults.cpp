#include "platform/files/UserDefaults.h"

#include "platform/files/JsonUserDefaults.h"
#include "platform/files/StandardFolders.h"

namespace corvane {

std::unique_ptr<UserDefaults> makeUserDefaults() {
    return std::make_unique<JsonUserDefaults>(JsonUserDefaults::fileIn(configurationFolder()));
}

} // namespace corvane
