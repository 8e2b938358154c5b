// What the system is asked for when a file is put in place, in which order, and what becomes of the file when
// it refuses.

#include "platform/files/FileHandle.h"
#include "tests/support/ClosedStandardInput.h"
#include "tests/support/ErrorOf.h"
#include "tests/support/Peers.h"
#include "tests/support/RefusedCalls.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#ifdef __linux__

namespace {

/// Answers this program's calls in the system's place: 0, or the number of an error.
std::function<int(int descriptor)> flushed;
std::function<int(int descriptor)> changedMode;

int answered(int error) {
    errno = error;
    return error == 0 ? 0 : -1;
}

} // namespace

extern "C" int fsync(int descriptor) {
    return flushed ? answered(flushed(descriptor)) : static_cast<int>(::syscall(SYS_fsync, descriptor));
}

extern "C" int fchmod(int descriptor, mode_t mode) noexcept {
    if (const int error = changedMode ? changedMode(descriptor) : 0)
        return answered(error);
    return static_cast<int>(::syscall(SYS_fchmod, descriptor, mode));
}

#endif

namespace corvane {
namespace {

namespace fs = std::filesystem;
using Words = std::vector<std::string>;

#ifdef __linux__

/// Writes down what is flushed, and how the folder looks at that moment.
class FileCalls : public testing::Test {
protected:
    FileCalls() {
        flushed = [this](int descriptor) {
            const auto path = fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
            const bool isTemporary = path.filename().string().starts_with(".corvane-");
            calls.push_back((isTemporary ? "temporary" : fs::relative(path, folder.path()).string()) +
                            " of " + std::to_string(TemporaryFolder::entries(folder.path())) +
                            (fs::exists(file) ? ": " + textOf(file) : ""));
            return 0;
        };
    }
    ~FileCalls() override { flushed = changedMode = nullptr; }

    TemporaryFolder folder;
    const fs::path file = folder / "Show";
    const std::string unwritten = "The file “" + file.string() + "” could not be written: ";
    Words calls;
};

TEST_F(FileCalls, AReplacedFileIsOnDiskBeforeItHasItsNameAndTheNameIsAfterwards) {
    replaceFileAtomically(file, "old");
    EXPECT_EQ(calls, (Words{"temporary of 1", ". of 1: old"}));
    calls.clear();
    replaceFileAtomically(file, "new");
    EXPECT_EQ(calls, (Words{"temporary of 2: old", ". of 1: new"}));
}

TEST_F(FileCalls, ACopyIsOnDiskBeforeItHasItsNameAndTheNameIsAfterwards) {
    const fs::path from = folder.write("from", "new");
    copyFile(from, file);
    EXPECT_EQ(calls, (Words{"temporary of 2", ". of 2: new"}));
}

TEST_F(FileCalls, FoldersThatWereMadeAreOnDiskInThoseAboveThem) {
    createFolders(folder / "a/b/c");
    EXPECT_EQ(calls, (Words{"a/b of 1", "a of 1", ". of 1"}));
    calls.clear();
    createFolders(folder / "a/b/c");
    createFolders(folder / "a/d/");
    EXPECT_EQ(calls, (Words{"a of 1"}));
}

TEST_F(FileCalls, ADescriptorOfNumber0IsOneAsAnyOther) {
    const auto before = openDescriptors();
    {
        const ClosedStandardInput closed;
        const auto within = openDescriptors();
        replaceFileAtomically(file, "new");
        EXPECT_EQ(textOf(file), "new");
        copyFile(file, folder / "copy");
        createFolders(folder / "a");
        FileHandle::openForAppending(folder / "log").write("x");
        EXPECT_EQ(openDescriptors(), within);
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(calls,
              (Words{"temporary of 1", ". of 1: new", "temporary of 2: new", ". of 2: new", ". of 3: new"}));
}

TEST_F(FileCalls, AFlushThatASignalInterruptsIsMadeAgain) {
    int left = 3;
    flushed = [&](int) { return --left > 0 ? EINTR : 0; };
    replaceFileAtomically(file, "new");
    EXPECT_EQ(left, -1) << "three times the file, and once the folder";
}

TEST_F(FileCalls, WhatTheSystemSaysAtTheCloseKeepsAFileFromBeingPutInPlace) {
    folder.write("Show", "old");
    flushed = [](int descriptor) { return ::close(descriptor); }; // as a server that is gone refuses it
    EXPECT_EQ(errorOf([&] { replaceFileAtomically(file, "new"); }), unwritten + "Bad file descriptor.");
    EXPECT_EQ(errorOf([&] { copyFile(file, folder / "copy"); }),
              "The file “" + (folder / "copy").string() + "” could not be written: Bad file descriptor.");
    EXPECT_EQ(textOf(file), "old");
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
}

TEST_F(FileCalls, WhatDoesNotReachTheDiskIsNotPutInPlaceButAFolderMayFailTo) {
    folder.write("Show", "old");
    const fs::path from = folder.write("from", "new");
    flushed = [](int) { return EIO; };
    EXPECT_EQ(errorOf([&] { replaceFileAtomically(file, "new"); }), unwritten + "Input/output error.");
    EXPECT_EQ(textOf(file), "old");
    EXPECT_EQ(errorOf([&] { copyFile(from, folder / "copy"); }),
              "The file “" + (folder / "copy").string() + "” could not be written: Input/output error.");
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 2);
    createFolders(folder / "a");
    EXPECT_TRUE(fs::is_directory(folder / "a"));
}

TEST_F(FileCalls, UntilAFileHasItsModeItIsTheUsersAlone) {
    const fs::path from = folder.write("from", "secret");
    folder.write("Show", "old");
    std::vector<mode_t> modes;
    changedMode = [&](int descriptor) {
        struct stat status {};
        EXPECT_EQ(::fstat(descriptor, &status), 0);
        modes.push_back(status.st_mode & 07777U);
        return EPERM;
    };
    EXPECT_EQ(errorOf([&] { replaceFileAtomically(file, "new"); }), unwritten + "Operation not permitted.");
    EXPECT_EQ(textOf(file), "old");
    fs::remove(file);
    EXPECT_EQ(errorOf([&] { copyFile(from, file); }), unwritten + "Operation not permitted.");
    EXPECT_EQ(modes, (std::vector<mode_t>{0600, 0600}));
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
}

#endif

/// The name of the temporary file that the next one follows.
std::string temporaryName(const TemporaryFolder &folder) {
    std::string name;
    replaceFileAtomically(folder / "any",
                          [&](const FileHandle &) {
                              for (const auto &entry : fs::directory_iterator(folder.path()))
                                  if (entry.path().filename().string().starts_with(".corvane-"))
                                      name = entry.path().filename().string();
                          },
                          {});
    return name;
}

TEST(Files, ATemporaryFileThatAnEarlierProgramLeftIsNotTouched) {
    const TemporaryFolder folder;
    const std::string name = temporaryName(folder);
    const auto beforeNumber = name.rfind('-') + 1;
    EXPECT_EQ(name.substr(0, beforeNumber), ".corvane-" + std::to_string(::getpid()) + "-");
    Words left;
    for (int i = 1; i <= 3; ++i) {
        left.push_back(name.substr(0, beforeNumber) +
                       std::to_string(std::stoi(name.substr(beforeNumber)) + i));
        folder.write(left.back(), "left");
    }
    replaceFileAtomically(folder / "any", "new");
    EXPECT_EQ(folder.read("any"), "new");
    for (const auto &each : left)
        EXPECT_EQ(folder.read(each), "left");
}

TEST(Files, WhereEveryNewNameIsSaidToBeTakenTheFileStaysAndThatIsSaid) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("config", "old");
    const bool isRun = withoutNewNames([&] {
        EXPECT_EQ(errorOf([&] { replaceFileAtomically(file, "new"); }),
                  "The file “" + file.string() + "” could not be written: File exists.");
    });
    if (!isRun)
        GTEST_SKIP() << "this system refuses no calls";
    EXPECT_EQ(textOf(file), "old");
}

TEST(Files, ADriveWithoutHardLinksGetsItsCopyAndNothingThereIsReplacedEither) {
    for (const int error : {EPERM, ENOTSUP, EMLINK, ENOSYS}) {
        const TemporaryFolder folder;
        const fs::path file = folder.write("config", "new");
        const fs::path backup = folder.write("backup", "old");
        const bool isRun = withoutHardLinks(error, [&] {
            EXPECT_NE(::link(file.c_str(), (folder / "second").c_str()), 0);
            EXPECT_EQ(errorOf([&] { copyFile(file, backup); }),
                      "The file “" + backup.string() + "” could not be written: File exists.");
            copyFile(file, folder / "copy");
        });
        if (!isRun)
            GTEST_SKIP() << "this system refuses no calls";
        EXPECT_EQ(textOf(backup), "old");
        EXPECT_EQ(textOf(folder / "copy"), "new");
        EXPECT_EQ(TemporaryFolder::entries(folder.path()), 3);
    }
}

TEST(Files, ACopyThatCannotHaveItsNameForAnyOtherReasonIsNone) {
    const TemporaryFolder folder;
    const fs::path file = folder.write("config", "new");
    const bool isRun = withoutHardLinks(EIO, [&] {
        EXPECT_EQ(errorOf([&] { copyFile(file, folder / "copy"); }),
                  "The file “" + (folder / "copy").string() + "” could not be written: Input/output error.");
    });
    if (!isRun)
        GTEST_SKIP() << "this system refuses no calls";
    EXPECT_EQ(TemporaryFolder::entries(folder.path()), 1);
}

} // namespace
} // namespace corvane
