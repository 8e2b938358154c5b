#include "platform/files/FileHandle.h"
#include "platform/files/Files.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WorkingFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <grp.h>
#include <initializer_list>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

namespace corvane {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

mode_t modeOf(const fs::path &path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0);
    return status.st_mode & 07777U;
}

/// Lets no file grow beyond a size, as a full disk would not.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t size) {
        previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &previous);
        const rlimit limit{size, previous.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &previous);
        std::signal(SIGXFSZ, previousHandler);
    }

private:
    rlimit previous{};
    void (*previousHandler)(int) = nullptr;
};

TEST(Files, AReplacedFileHoldsTheNewBytesAndNothingElseIsLeft) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("Show.ardour", "old");
    replaceFileAtomically(file, std::string_view("n\0w", 3));
    EXPECT_EQ(textOf(file), std::string("n\0w", 3));
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
}

TEST(Files, AFileIsReplacedOnlyAfterTheCallersLastLookWhichMayStillRefuse) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("Show.ardour", "old");
    const auto writeNew = [](const FileHandle &handle) { handle.write("new"); };
    EXPECT_EQ(errorOf([&] {
                  replaceFileAtomically(file, writeNew, [](const FileHandle &) { throw FileError("no"); });
              }),
              "no");
    EXPECT_EQ(textOf(file), "old");
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
    replaceFileAtomically(file, writeNew, [&](const FileHandle &) { EXPECT_EQ(textOf(file), "old"); });
    EXPECT_EQ(textOf(file), "new");
}

TEST(Files, WhatTheCallerLooksAtLastIsWhatWasWritten) {
    const TemporaryFolder folder;
    const fs::path file = folder.path() / "Show.ardour";
    std::string seen(8, '-');
    const auto write = [](const FileHandle &handle) {
        handle.write("ab");
        handle.write("cdef");
    };
    replaceFileAtomically(file, write, [&](const FileHandle &handle) {
        EXPECT_EQ(handle.readAt(2, seen.data(), 3), 3U);
        EXPECT_EQ(handle.readAt(5, seen.data() + 3, 5), 1U);
        EXPECT_EQ(handle.readAt(6, seen.data() + 4, 4), 0U);
    });
    EXPECT_EQ(seen, "cdef----");
    EXPECT_EQ(textOf(file), "abcdef");
}

TEST(Files, AFileThatCannotBeWrittenWholeIsNotPutInPlace) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("Show.ardour", "old");
    bool looked = false;
    const auto write = [](const FileHandle &handle) {
        handle.write("half");
        throw FileError("no more");
    };
    EXPECT_EQ(
        errorOf([&] { replaceFileAtomically(file, write, [&](const FileHandle &) { looked = true; }); }),
        "no more");
    EXPECT_FALSE(looked);
    EXPECT_EQ(textOf(file), "old");
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
}

TEST(Files, AFileThatIsNotThereYetIsCreatedAsTheUsersUmaskSays) {
    const TemporaryFolder folder;
    const mode_t previous = ::umask(027);
    replaceFileAtomically(folder / "new", "x");
    FileHandle::openForAppending(folder / "log");
    ::umask(previous);
    EXPECT_EQ(textOf(folder / "new"), "x");
    EXPECT_EQ(modeOf(folder / "new"), 0640U);
    EXPECT_EQ(modeOf(folder / "log"), 0640U);
}

TEST(Files, TheModeOfAReplacedFileIsKept) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("config", "old");
    for (const mode_t mode : std::initializer_list<mode_t>{0600, 0664, 0444, 0755}) {
        ASSERT_EQ(::chmod(file.c_str(), mode), 0);
        replaceFileAtomically(file, "new");
        EXPECT_EQ(modeOf(file), mode);
    }
}

TEST(Files, TheOwnerOfAReplacedFileIsKept) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may give a file to another user";
    const TemporaryFolder folder;
    const fs::path file = folder.write("config", "old");
    ASSERT_EQ(::chown(file.c_str(), 1234, 5678), 0);
    ASSERT_EQ(::chmod(file.c_str(), 04750), 0);
    replaceFileAtomically(file, "new");
    struct stat status {};
    ASSERT_EQ(::stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_EQ(status.st_gid, 5678U);
    EXPECT_EQ(status.st_mode & 07777U, 04750U);
}

struct Sharing {
    bool isOfTheGroup; ///< who replaces it
    mode_t before;
    mode_t after;
};

TEST(Files, AColleaguesFileStaysTheirSharedGroupsAndNoOtherGroupMayDoWhatThatMight) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may become somebody else";
    constexpr gid_t studio = 5678;
    constexpr gid_t own = 1111;
    for (const auto &[isOfTheGroup, before, after] :
         {Sharing{true, 0660, 0660}, {true, 04664, 0664}, {false, 0660, 0600}, {false, 0664, 0604}}) {
        const TemporaryFolder folder;
        const fs::path file = folder.write("Show/Show.ardour", "old");
        ASSERT_EQ(::chown(file.c_str(), 4321, studio), 0);
        ASSERT_EQ(::chmod(file.c_str(), before), 0);
        ASSERT_EQ(::chmod(file.parent_path().c_str(), 0777), 0);
        ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
        const pid_t colleague = ::fork();
        if (colleague == 0) {
            const bool became =
                ::setgroups(isOfTheGroup ? 1 : 0, &studio) == 0 && ::setgid(own) == 0 && ::setuid(1234) == 0;
            ::_exit(became && errorOf([&] { replaceFileAtomically(file, "new"); }) == "no error" ? 0 : 1);
        }
        int ended = 0;
        ASSERT_EQ(::waitpid(colleague, &ended, 0), colleague);
        ASSERT_EQ(ended, 0);
        struct stat status {};
        ASSERT_EQ(::stat(file.c_str(), &status), 0);
        EXPECT_EQ(textOf(file), "new");
        EXPECT_EQ(status.st_gid, isOfTheGroup ? studio : own);
        EXPECT_EQ(status.st_mode & 07777U, after);
    }
}

TEST(Files, ALinkStaysALinkAndItsFileIsReplaced) {
    const TemporaryFolder folder;
    folder.write("real/config", "old");
    fs::create_symlink("real/config", folder / "relative");
    fs::create_symlink(folder / "relative", folder / "absolute");
    replaceFileAtomically(folder / "absolute", "new");
    EXPECT_TRUE(fs::is_symlink(folder / "absolute"));
    EXPECT_TRUE(fs::is_symlink(folder / "relative"));
    EXPECT_EQ(textOf(folder / "real/config"), "new");
    EXPECT_EQ(TemporaryFolder::entries(folder / "real"), 1);
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 3);
}

TEST(Files, ADanglingLinkGetsTheFileItNames) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "real");
    fs::create_symlink("real/config", folder / "link");
    replaceFileAtomically(folder / "link", "new");
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(textOf(folder / "real/config"), "new");
}

TEST(Files, ALinkToItselfIsAnErrorOfTheSystem) {
    const TemporaryFolder folder;
    fs::create_symlink("b", folder / "a");
    fs::create_symlink("a", folder / "b");
    EXPECT_THAT(errorOf([&] { replaceFileAtomically(folder / "a", "x"); }),
                HasSubstr("could not be written: Too many levels of symbolic links."));
    EXPECT_FALSE(fileExists(folder / "a"));
}

TEST(Files, AsManyLinksAreFollowedAsTheSystemFollows) {
    const TemporaryFolder folder;
    fs::path last = folder.write("config", "old");
    const auto link = [&](int number) {
        fs::create_symlink(last.filename(), folder / std::to_string(number));
        last = folder / std::to_string(number);
    };
    for (int number = 1; number <= 40; ++number)
        link(number);
    replaceFileAtomically(last, "new");
    EXPECT_EQ(textOf(last), "new");
    link(41);
    EXPECT_FALSE(fileExists(last));
    EXPECT_THAT(errorOf([&] { replaceFileAtomically(last, "x"); }), HasSubstr("Too many levels"));
    EXPECT_EQ(textOf(folder / "config"), "new");
}

TEST(Files, WhatCannotBeWrittenWholeLeavesTheOldFileAndNoTemporaryOne) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("Show.ardour", "old");
    std::string error;
    {
        const FileSizeLimit limit(1000);
        error = errorOf([&] { replaceFileAtomically(file, std::string(5000, 'x')); });
    }
    EXPECT_EQ(error, "The file “" + file.string() + "” could not be written: File too large.");
    EXPECT_EQ(textOf(file), "old");
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
}

TEST(Files, AFolderThatIsMissingIsNamedWithTheReason) {
    const TemporaryFolder folder;
    const fs::path file = folder / "none/Show.ardour";
    EXPECT_EQ(errorOf([&] { replaceFileAtomically(file, "x"); }),
              "The file “" + file.string() + "” could not be written: No such file or directory.");
}

TEST(Files, OnlyAnOrdinaryFileIsReplaced) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "folder");
    EXPECT_THAT(errorOf([&] { replaceFileAtomically(folder / "folder", "x"); }),
                HasSubstr("Is a directory."));
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_THAT(errorOf([&] { replaceFileAtomically(folder / "pipe", "x"); }),
                HasSubstr("It is not an ordinary file."));
    EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
}

TEST(Files, ANameAsLongAsNamesCanBeIsReplacedAsWell) {
    const TemporaryFolder folder;
    const fs::path file = folder.write(std::string(255, 'n'), "old");
    replaceFileAtomically(file, "new");
    EXPECT_EQ(textOf(file), "new");
}

TEST(Files, APathWithoutAFolderIsRelativeToTheWorkingFolder) {
    const TemporaryFolder folder;
    const WorkingFolder working(folder.path());
    replaceFileAtomically("plain", "x");
    EXPECT_EQ(textOf(folder / "plain"), "x");
}

TEST(Files, AFileIsReadWholeAlsoWhenItHidesItsSize) {
    const TemporaryFolder folder;
    const std::string large(200'000, 'x');
    EXPECT_EQ(textOf(folder.write("large", large)), large);
    EXPECT_TRUE(textOf(folder.write("empty", "")).empty());
    EXPECT_FALSE(readFile("/proc/self/status").empty());
}

TEST(Files, AFileThatCannotBeReadIsNamedWithTheReason) {
    const TemporaryFolder folder;
    EXPECT_EQ(errorOf([&] { readFile(folder / "none"); }),
              "The file “" + (folder / "none").string() + "” could not be read: No such file or directory.");
    EXPECT_EQ(errorOf([&] { readFile(folder.path()); }),
              "The file “" + folder.path().string() + "” could not be read: Is a directory.");
}

TEST(Files, WhatIsNoFileIsRefusedAtOnce) {
    const TemporaryFolder folder;
    const fs::path pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string refusal =
        "The file “" + pipe.string() + "” could not be read: It is not an ordinary file.";
    EXPECT_EQ(errorOf([&] { readFile(pipe); }), refusal);
    EXPECT_EQ(errorOf([&] { copyFile(pipe, folder / "copy"); }), refusal);
    EXPECT_THAT(errorOf([&] { readFile("/dev/zero"); }), HasSubstr("not an ordinary file"));
}

TEST(Files, ANamedPipeIsNotAppendedToWhetherSomebodyReadsItOrNot) {
    const TemporaryFolder folder;
    const fs::path pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const std::string refusal =
        "The file “" + pipe.string() + "” could not be written: It is not an ordinary file.";
    EXPECT_EQ(errorOf([&] { FileHandle::openForAppending(pipe); }), refusal);
    const FileHandle reader(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK));
    EXPECT_EQ(errorOf([&] { FileHandle::openForAppending(pipe); }), refusal);
}

TEST(Files, AFileThatIsAppendedToIsWaitedForAsEver) {
    const TemporaryFolder folder;
    const FileHandle handle = FileHandle::openForAppending(folder / "log");
    EXPECT_EQ(::fcntl(handle.fileDescriptor(), F_GETFL) & (O_NONBLOCK | O_APPEND), O_APPEND);
}

TEST(Files, ACopyHasTheBytesAndTheModeOfItsFile) {
    const TemporaryFolder folder;
    const std::string content(200'000, 'x');
    const fs::path file = folder.write("config", content);
    ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
    copyFile(file, folder / "backup");
    EXPECT_EQ(textOf(folder / "backup"), content);
    EXPECT_EQ(modeOf(folder / "backup"), 0640U);
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 2);
}

TEST(Files, ACopyNeverReplacesWhatIsThere) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("config", "new");
    const fs::path backup = folder.write("backup", "old");
    EXPECT_EQ(errorOf([&] { copyFile(file, backup); }),
              "The file “" + backup.string() + "” could not be written: File exists.");
    EXPECT_EQ(textOf(backup), "old");
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 2);
}

TEST(Files, ACopyThatFailsLeavesNothing) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("config", std::string(5000, 'x'));
    std::string error;
    {
        const FileSizeLimit limit(1000);
        error = errorOf([&] { copyFile(file, folder / "backup"); });
    }
    EXPECT_THAT(error, HasSubstr("File too large."));
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
    EXPECT_THAT(errorOf([&] { copyFile(folder / "none", folder / "backup"); }),
                HasSubstr("could not be read: No such file or directory."));
    EXPECT_THAT(errorOf([&] { copyFile(folder.path(), folder / "backup"); }), HasSubstr("Is a directory."));
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
}

TEST(Files, FoldersAreCreatedWithThoseAboveThemAndMayBeThere) {
    const TemporaryFolder folder;
    createFolders(folder / "a/b/c");
    createFolders(fs::path((folder / "a/b/c").string() + "/"));
    EXPECT_TRUE(fs::is_directory(folder / "a/b/c"));
    fs::create_directory_symlink("a", folder / "link");
    createFolders(folder / "link/b/d");
    EXPECT_TRUE(fs::is_directory(folder / "a/b/d"));
    folder.write("file", "");
    EXPECT_EQ(errorOf([&] { createFolders(folder / "file/x"); }),
              "The folder “" + (folder / "file/x").string() + "” could not be created: Not a directory.");
    EXPECT_THAT(errorOf([&] { createFolders(folder / "file"); }), HasSubstr("could not be created"));
}

TEST(Files, FoldersAndLinkedFilesExistAndDanglingLinksDoNot) {
    const TemporaryFolder folder;
    folder.write("file", "");
    fs::create_symlink("file", folder / "good");
    fs::create_symlink("none", folder / "bad");
    EXPECT_TRUE(fileExists(folder.path()));
    EXPECT_TRUE(fileExists(folder / "good"));
    EXPECT_FALSE(fileExists(folder / "bad"));
    EXPECT_FALSE(fileExists(folder / "none"));
    EXPECT_FALSE(fileExists(""));
    EXPECT_FALSE(fileExists(folder / std::string(5000, 'n')));
    EXPECT_FALSE(fileExists(folder / std::string("file\0more", 9)));
}

TEST(Files, AComponentIsAlwaysBelowItsFolder) {
    EXPECT_EQ(appending("/out", "Show").string(), "/out/Show");
    EXPECT_EQ(appending("/out/", "Show").string(), "/out/Show");
    EXPECT_EQ(appending("/out", "/x").string(), "/out/x");
    EXPECT_EQ(appending("/out", "//x/").string(), "/out/x");
    EXPECT_EQ(appending("/out", "").string(), "/out");
    EXPECT_EQ(appending("/", "x").string(), "/x");
    EXPECT_EQ(appending("/out", "Contents/MacOS").string(), "/out/Contents/MacOS");
    EXPECT_EQ(appending("/out", "Año \"1\"").string(), "/out/Año \"1\"");
}

TEST(Files, TheLastComponentIsFoundBeforeSlashesAtTheEnd) {
    EXPECT_EQ(lastPathComponent("/a/Show"), "Show");
    EXPECT_EQ(lastPathComponent("/a/Show/"), "Show");
    EXPECT_EQ(lastPathComponent("/a/Show 1.5//"), "Show 1.5");
    EXPECT_EQ(lastPathComponent("Show"), "Show");
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent(""), "");
}

TEST(FileHandle, AppendsAfterWhatIsThere) {
    const TemporaryFolder folder;
    const fs::path log = folder.write("log", "one\n");
    const FileHandle handle = FileHandle::openForAppending(log);
    folder.write("log", "cut\n"); // cut short by somebody else
    handle.write("two\n");
    EXPECT_EQ(textOf(log), "cut\ntwo\n");
}

TEST(FileHandle, IsNeverInherited) {
    const TemporaryFolder folder;
    const FileHandle handle = FileHandle::openForAppending(folder / "log");
    EXPECT_NE(::fcntl(handle.fileDescriptor(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST(FileHandle, AFullDiskIsToldInASentence) {
    const FileHandle handle = FileHandle::openForAppending("/dev/full");
    EXPECT_EQ(errorOf([&] { handle.write("x"); }),
              "The file “/dev/full” could not be written: No space left on device.");
}

TEST(FileHandle, WhatTheSystemSaysAtItsCloseIsTold) {
    const TemporaryFolder folder;
    FileHandle handle = FileHandle::openForAppending(folder / "log");
    ::close(handle.fileDescriptor()); // as a server that is gone refuses it
    EXPECT_THAT(errorOf([&] { handle.close(); }), HasSubstr("could not be written: Bad file descriptor."));
    EXPECT_LT(handle.fileDescriptor(), 0);
}

TEST(FileHandle, EveryErrorNamesTheFileAndWhatCouldNotBeDoneWithIt) {
    FileHandle moved(-1);
    moved = FileHandle(FileHandle(-1, "Show"));
    char room = 0;
    const std::string unread = "The file “Show” could not be read: Bad file descriptor.";
    const std::string unwritten = "The file “Show” could not be written: Bad file descriptor.";
    EXPECT_EQ(errorOf([&] { moved.read(&room, 1); }), unread);
    EXPECT_EQ(errorOf([&] { moved.readAt(0, &room, 1); }), unread);
    EXPECT_EQ(errorOf([&] { moved.write("x"); }), unwritten);
    EXPECT_EQ(errorOf([&] { moved.flush(); }), unwritten);
    EXPECT_EQ(errorOf([&] { moved.close(); }), unwritten);
    EXPECT_TRUE(moved.tryLock()); // whatever keeps a file from being locked but another who has done so
}

TEST(FileHandle, AFolderCannotBeAppendedTo) {
    const TemporaryFolder folder;
    EXPECT_THAT(errorOf([&] { FileHandle::openForAppending(folder.path()); }), HasSubstr("Is a directory."));
}

TEST(FileHandle, IsClosedOnceWhenItWasMoved) {
    const TemporaryFolder folder;
    int descriptor = -1;
    {
        FileHandle first = FileHandle::openForAppending(folder / "log");
        descriptor = first.fileDescriptor();
        FileHandle second = std::move(first);
        FileHandle third(-1);
        third = std::move(second);
        EXPECT_EQ(third.fileDescriptor(), descriptor);
        EXPECT_GE(::fcntl(descriptor, F_GETFD), 0);
    }
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

} // namespace
} // namespace corvane
