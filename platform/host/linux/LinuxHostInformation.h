#pragma once

#include "platform/host/HostInformation.h"

#include <filesystem>

namespace corvane {

/// What this computer says of itself on Linux.
class LinuxHostInformation : public HostInformation {
public:
    explicit LinuxHostInformation(std::filesystem::path machineInfo = "/etc/machine-info");

    /// The pretty host name that the computer was given, else its host name without the domain.
    std::optional<std::string> localizedName() const override;
    std::vector<std::string> ethernetAddresses() const override;
    std::string makeUUID() const override;

private:
    std::filesystem::path machineInfo;
};

} // namespace corvane
