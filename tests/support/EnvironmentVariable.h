#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace corvane {

/// Sets an environment variable (null: takes it away) until the test ends.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char *name, const char *value) : name(name) {
        if (const char *old = std::getenv(name))
            previous = old;
        set(value);
    }
    EnvironmentVariable(const EnvironmentVariable &) = delete;
    EnvironmentVariable &operator=(const EnvironmentVariable &) = delete;
    ~EnvironmentVariable() { set(previous ? previous->c_str() : nullptr); }

private:
    void set(const char *value) const {
        if (value)
            ::setenv(name.c_str(), value, 1);
        else
            ::unsetenv(name.c_str());
    }

    std::string name;
    std::optional<std::string> previous;
};

} // namespace corvane
