#pragma once

#include "platform/processes/Applications.h"

#include <filesystem>
#include <optional>

namespace corvane {

/// Finds running programs by the exact path of their program file; bundle identifiers mean nothing here.
class ProgramRunningApplications : public RunningApplications {
public:
    /// With `within`, a program is only found when its file is below that folder, whatever links lead to it.
    explicit ProgramRunningApplications(std::optional<std::filesystem::path> within = std::nullopt);

    std::shared_ptr<RunningApplication> find(const std::string &bundleIdentifier,
                                             const std::filesystem::path &program) const override;

private:
    std::optional<std::filesystem::path> within;
};

} // namespace corvane
