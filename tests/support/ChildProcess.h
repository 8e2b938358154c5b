#pragma once

#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

extern char **environ; // NOLINT(readability-redundant-declaration): not declared by every system's headers

namespace corvane {

/// A program that a test runs beside itself, with a pipe to its standard input and its output kept in files.
/// Killed at the end when it still runs.
class ChildProcess {
public:
    explicit ChildProcess(const std::filesystem::path &program, std::vector<std::string> arguments = {}) {
        int input[2];
        if (::pipe(input) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe");
        for (const int end : input)
            ::fcntl(end, F_SETFD, FD_CLOEXEC);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, input[0], STDIN_FILENO);
        sendOutputTo(files, STDOUT_FILENO, "stdout");
        sendOutputTo(files, STDERR_FILENO, "stderr");
        arguments.insert(arguments.begin(), program.string());
        std::vector<char *> pointers;
        pointers.reserve(arguments.size() + 1);
        for (auto &each : arguments)
            pointers.push_back(each.data());
        pointers.push_back(nullptr);
        const int error = ::posix_spawn(&pid, program.c_str(), &files, nullptr, pointers.data(), environ);
        posix_spawn_file_actions_destroy(&files);
        ::close(input[0]);
        inputPipe = input[1];
        if (error != 0)
            throw std::system_error(error, std::generic_category(), program.string());
    }

    ~ChildProcess() {
        closeInput();
        if (!status) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
    }

    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    void type(const std::string &line) const {
        const auto text = line + "\n";
        if (::write(inputPipe, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            throw std::system_error(errno, std::generic_category(), "write");
    }
    void closeInput() {
        if (inputPipe >= 0)
            ::close(std::exchange(inputPipe, -1));
    }
    void signal(int number) const { ::kill(pid, number); }

    std::string output() const { return folder.read("stdout"); }
    std::string errors() const { return folder.read("stderr"); }

    /// Waits until the output holds the text; false when it does not come.
    bool says(std::string_view text) const {
        return eventually([&] { return output().find(text) != std::string::npos; });
    }
    bool complains(std::string_view text) const {
        return eventually([&] { return errors().find(text) != std::string::npos; });
    }

    /// Waits for the end: the exit status, or the negative number of the signal that ended it; none when it
    /// does not end.
    std::optional<int> exitStatus() {
        int raw = 0;
        const auto ended = [&] { return !status && ::waitpid(pid, &raw, WNOHANG) == pid; };
        if (!status && eventually(ended))
            status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -WTERMSIG(raw);
        return status;
    }

private:
    void sendOutputTo(posix_spawn_file_actions_t &files, int descriptor, const char *name) const {
        const auto path = folder.write(name, "");
        posix_spawn_file_actions_addopen(&files, descriptor, path.c_str(), O_WRONLY | O_APPEND, 0);
    }

    TemporaryFolder folder;
    pid_t pid = -1;
    int inputPipe = -1;
    std::optional<int> status;
};

} // namespace corvane
