#pragma once

#include <filesystem>

namespace corvane {

/// The folder of the programs that were built with the tests.
std::filesystem::path builtPrograms();

/// tests/data.
std::filesystem::path testData();

/// The base template that ships with the program.
std::filesystem::path seedTemplate();

} // namespace corvane
