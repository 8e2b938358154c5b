#pragma once

#include <string>
#include <string_view>

namespace corvane::cli {

/// What the program prints. Nothing is buffered: what was printed has been written.
class Output {
public:
    virtual ~Output() = default;
    /// Writes a result to standard output. Throws std::system_error when it cannot be written.
    virtual void print(std::string_view text) = 0;
    /// Shows what is going on, to a person who watches, on one line; never part of a result.
    virtual void progress(const std::string &text) = 0;
};

/// The process's own standard output, and standard error for progress if that is a terminal.
class StandardOutput : public Output {
public:
    StandardOutput();
    ~StandardOutput() override;
    void print(std::string_view text) override;
    void progress(const std::string &text) override;
    /// Takes the progress line off the terminal.
    void clearProgress();

private:
    bool terminal;
    bool progressShown = false;
};

/// Sees to it that the three standard descriptors are open, so that no socket ever gets the number of a
/// closed one, and that a reader who goes away shows as an error of `print` instead of ending the program.
void secureStandardDescriptors();

/// Writes one message and a line end to standard error, without control characters but line feeds.
void printError(const std::string &message);

} // namespace corvane::cli
