#pragma once

#include <memory>

namespace corvane {

/// Tells the system that the program is at work for its user even while its window is hidden, so that its
/// timers and sockets are not slowed down. The computer may still go to sleep when nobody uses it. Used on
/// the main queue. This base class does nothing: it is for systems that do not slow programs down.
class SystemActivity {
public:
    virtual ~SystemActivity() = default;
    /// From now on; nothing changes when it is so already.
    virtual void begin() {}
    virtual void end() {}
};

/// The one of the system that this was built for.
std::unique_ptr<SystemActivity> makeSystemActivity();

} // namespace corvane
