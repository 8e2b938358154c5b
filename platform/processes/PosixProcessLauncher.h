#pragma once

#include "platform/processes/Applications.h"

#include <string>
#include <utility>
#include <vector>

namespace corvane {

/// Starts programs by fork and exec, in a session of their own and as nobody's children: they survive this
/// program and leave no zombie to it. May be used from any thread.
class PosixProcessLauncher : public ProcessLauncher {
public:
    /// `environment` is set for every program that is started, under what its own description sets.
    explicit PosixProcessLauncher(std::vector<std::pair<std::string, std::string>> environment = {});

    void start(const ProcessDescription &process, const FileHandle &output) override;

private:
    std::vector<std::pair<std::string, std::string>> environment;
};

} // namespace corvane
