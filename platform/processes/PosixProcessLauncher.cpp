#include "platform/processes/PosixProcessLauncher.h"

#include "base/Text.h"
#include "base/Uninterrupted.h"
#include "platform/files/Files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ; // NOLINT(readability-redundant-declaration): macOS declares it nowhere

namespace corvane {
namespace {

using Variables = std::vector<std::pair<std::string, std::string>>;

[[noreturn]] void cannotStart(const std::filesystem::path &program, int errorNumber) {
    throw FileError("The program “" + program.string() +
                    "” could not be started: " + std::generic_category().message(errorNumber) + ".");
}

/// Texts as exec wants them: pointers, ended by a null.
class TextArray {
public:
    explicit TextArray(std::vector<std::string> texts) : texts(std::move(texts)) {
        for (std::string &text : this->texts)
            pointers.push_back(text.data());
        pointers.push_back(nullptr);
    }
    TextArray(const TextArray &) = delete;
    TextArray &operator=(const TextArray &) = delete;

    char **data() { return pointers.data(); }

private:
    std::vector<std::string> texts;
    std::vector<char *> pointers;
};

std::vector<std::string> argumentsOf(const ProcessDescription &process) {
    std::vector<std::string> arguments{process.program.string()};
    arguments.insert(arguments.end(), process.arguments.begin(), process.arguments.end());
    return arguments;
}

void setVariable(std::vector<std::string> &environment, const std::string &name, const std::string &value) {
    const std::string start = name + "=";
    std::erase_if(environment, [&](const std::string &entry) { return entry.starts_with(start); });
    environment.push_back(start + value);
}

std::vector<std::string> environmentOf(const Variables &always, const Variables &own) {
    std::vector<std::string> result;
    for (char **entry = environ; entry && *entry; ++entry)
        result.emplace_back(*entry);
    for (const Variables &variables : {always, own})
        for (const auto &[name, value] : variables)
            setVariable(result, name, value);
    return result;
}

/// The highest descriptor that is open, for systems that cannot close a range of them at once.
int highestDescriptor() {
    int highest = STDERR_FILENO;
    std::error_code error;
    for (auto entry = std::filesystem::directory_iterator("/dev/fd", error);
         !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        if (const auto number = integer(entry->path().filename().string()))
            highest = std::max(highest, static_cast<int>(*number));
    }
    return highest;
}

/// Keeps all signals from this thread, and from what it forks, while it exists.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &previous);
    }
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &previous, nullptr); }

private:
    sigset_t previous{};
};

/// What the new process needs, made ready beforehand: between fork and exec only calls that are safe in a
/// signal handler are allowed, because another thread may have held any lock at that moment.
struct Start {
    const char *program;
    char **arguments;
    char **environment;
    int output;
    int report; ///< where the number of an error goes; closed by a successful exec
    int highestDescriptor;
};

constexpr int reportDescriptor = STDERR_FILENO + 1;

[[noreturn]] void reportAndExit(int report) {
    const int errorNumber = errno;
    // Into an empty pipe, for which nothing is waited that a signal could interrupt.
    [[maybe_unused]] const auto written = ::write(report, &errorNumber, sizeof errorNumber);
    ::_exit(EXIT_FAILURE);
}

/// The result of a call, unless it is an error.
int orExit(int result, int report) {
    if (result < 0)
        reportAndExit(report);
    return result;
}

void closeFrom(int first, int highest) {
#ifdef __linux__
    if (::close_range(static_cast<unsigned>(first), ~0U, 0) == 0)
        return;
#endif
    for (int descriptor = first; descriptor <= highest; ++descriptor)
        ::close(descriptor);
}

/// Leaves /dev/null as standard input, the output twice, the report, and nothing else. Returns the report's
/// descriptor.
int arrangeDescriptors(const Start &start) {
    // Above the four places first: any of them may be one of those places now.
    constexpr int above = reportDescriptor + 1;
    const int report = orExit(::fcntl(start.report, F_DUPFD_CLOEXEC, above), start.report);
    const int output = orExit(::fcntl(start.output, F_DUPFD_CLOEXEC, above), report);
    const int opened = orExit(::open("/dev/null", O_RDONLY | O_CLOEXEC), report);
    const int input = orExit(::fcntl(opened, F_DUPFD_CLOEXEC, above), report);
    for (const auto &[descriptor, place] :
         {std::pair(input, STDIN_FILENO), std::pair(output, STDOUT_FILENO), std::pair(output, STDERR_FILENO),
          std::pair(report, reportDescriptor)})
        orExit(::dup2(descriptor, place), report);
    orExit(::fcntl(reportDescriptor, F_SETFD, FD_CLOEXEC), report);
    closeFrom(above, std::max({start.highestDescriptor, report, output, input}));
    return reportDescriptor;
}

void resetSignals() {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal)
        ::sigaction(signal, &action, nullptr); // refused for a few, which cannot be changed anyway
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

[[noreturn]] void becomeProgram(const Start &start) {
    ::setsid();
    const int report = arrangeDescriptors(start);
    resetSignals();
    ::execve(start.program, start.arguments, start.environment);
    reportAndExit(report);
}

/// A child that only starts another one and ends at once, so that the program becomes a child of the system.
[[noreturn]] void startAndExit(const Start &start) {
    if (orExit(::fork(), start.report) == 0)
        becomeProgram(start);
    ::_exit(0);
}

void waitFor(pid_t child) {
    uninterrupted([child] { return ::waitpid(child, nullptr, 0); });
}

/// A pipe whose ends no program inherits.
std::array<FileHandle, 2> makePipe(const std::filesystem::path &program) {
    std::array<int, 2> ends{};
#ifdef __linux__
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        cannotStart(program, errno);
#else
    if (::pipe(ends.data()) != 0)
        cannotStart(program, errno);
    for (const int end : ends)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
#endif
    return {FileHandle(ends[0]), FileHandle(ends[1])};
}

/// The number of the error that kept the program from starting; 0 when it has started.
int reportedError(const FileHandle &report) {
    int errorNumber = 0;
    uninterrupted([&] { return ::read(report.fileDescriptor(), &errorNumber, sizeof errorNumber); });
    return errorNumber;
}

} // namespace

PosixProcessLauncher::PosixProcessLauncher(Variables environment) : environment(std::move(environment)) {}

void PosixProcessLauncher::start(const ProcessDescription &process, const FileHandle &output) {
    TextArray arguments(argumentsOf(process));
    TextArray variables(environmentOf(environment, process.environment));
    auto [reading, writing] = makePipe(process.program);
    const Start start{process.program.c_str(), arguments.data(),         variables.data(),
                      output.fileDescriptor(), writing.fileDescriptor(), highestDescriptor()};
    pid_t child = -1;
    {
        const SignalsBlocked blocked;
        child = ::fork();
        if (child == 0)
            startAndExit(start);
    }
    if (child < 0)
        cannotStart(process.program, errno);
    writing.close();
    const int errorNumber = reportedError(reading);
    waitFor(child);
    if (errorNumber != 0)
        cannotStart(process.program, errorNumber);
}

} // namespace corvane
