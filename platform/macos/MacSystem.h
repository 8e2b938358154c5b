#pragma once

#include "platform/files/StandardFolders.h"
#include "platform/files/UserDefaults.h"
#include "platform/host/HostInformation.h"
#include "platform/processes/Applications.h"

#include <memory>

namespace corvane {

/// Finds running applications by bundle identifier, wherever they were started from.
class MacRunningApplications final : public RunningApplications {
public:
    std::shared_ptr<RunningApplication> find(const std::string &bundleIdentifier,
                                             const std::filesystem::path &program) const override;
};

/// The user's defaults of "app.corvane.Corvane", for the window and for the command line alike.
class MacUserDefaults final : public UserDefaults {
public:
    std::optional<std::string> string(const std::string &key) const override;
    void set(const std::string &key, const std::string &value) override;
};

class MacFolders final : public StandardFolders {
public:
    std::filesystem::path home() const override;
    std::filesystem::path applications() const override { return "/Applications"; }
    std::optional<std::filesystem::path> music() const override;
};

class MacHostInformation final : public HostInformation {
public:
    std::optional<std::string> localizedName() const override;
    std::vector<std::string> ethernetAddresses() const override;
    std::string makeUUID() const override;
};

} // namespace corvane
