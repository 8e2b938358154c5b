#include "app/Desktop.h"

#include "platform/macos/MacApplication.h"

namespace corvane {

void prepareDesktop() {
    prepareApplication();
}

void bringApplicationToFront() {
    activateApplication();
}

} // namespace corvane
