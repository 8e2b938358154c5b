#pragma once

#include "platform/bonjour/ServiceBrowser.h"

namespace corvane {

/// Finds nothing, on purpose: in a rehearsal Bonjour is off.
class SilentServiceBrowser final : public ServiceBrowser {
public:
    void setDelegate(std::weak_ptr<ServiceBrowserDelegate> /*delegate*/) override {}
    void search(const std::string & /*type*/, const std::string & /*domain*/) override {}
    void stop() override {}
    std::optional<std::string> obstacle() const override { return std::nullopt; }
};

} // namespace corvane
