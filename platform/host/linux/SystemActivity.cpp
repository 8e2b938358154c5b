#include "platform/host/SystemActivity.h"

namespace corvane {

std::unique_ptr<SystemActivity> makeSystemActivity() {
    return std::make_unique<SystemActivity>();
}

} // namespace corvane
