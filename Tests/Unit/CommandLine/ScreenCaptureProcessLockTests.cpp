#include "CommandLine/ScreenCaptureProcessLock.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/TemporaryDirectory.h"
#include "Lifecycle/GlimtoCaptureLifecycleError.h"
#include "Support/SHA256.h"

namespace glimto {
namespace {

class ScreenCaptureProcessLockTests : public testing::Test {
protected:
    ScreenCaptureProcessLockTests()
    {
        environment.executable = makeExecutable("glimto-capture");
        environment.caches = directory.path() / "caches";
    }

    std::filesystem::path makeExecutable(const std::string& name) const
    {
        const auto path = directory.path() / name;
        std::ofstream(path) << "program";
        return path;
    }

    std::filesystem::path lockPath() const
    {
        return *environment.caches / "com.glimto.capture" / "locks"
            / (sha256Hex(environment.executable->string()) + ".lock");
    }

    bool takesLock(const Command& command) const
    {
        return ScreenCaptureProcessLock::acquire(command, environment).has_value();
    }

    std::string failure() const
    {
        try {
            ScreenCaptureProcessLock::acquire(RecordOptions(), environment);
        } catch (const Error& error) {
            return error.what();
        }
        return "no error";
    }

    TemporaryDirectory directory;
    FakeProcessEnvironment environment;
};

TEST_F(ScreenCaptureProcessLockTests, IsTakenByCommandsThatUseScreenCapture)
{
    EXPECT_TRUE(takesLock(WindowListOptions()));
    EXPECT_TRUE(takesLock(ScreenshotOptions()));
    EXPECT_TRUE(takesLock(RecordOptions()));
    EXPECT_TRUE(takesLock(SourcesCommand()));
}

TEST_F(ScreenCaptureProcessLockTests, IsNotTakenByOtherCommands)
{
    const auto lock = ScreenCaptureProcessLock::acquire(RecordOptions(), environment);
    EXPECT_FALSE(takesLock(ClipboardImageOptions()));
    EXPECT_FALSE(takesLock(TextRecognitionOptions()));
    EXPECT_FALSE(takesLock(UploadRecordingOptions()));
    EXPECT_FALSE(takesLock(PermissionJSONCommand()));
    EXPECT_FALSE(takesLock(HelpCommand()));
}

TEST_F(ScreenCaptureProcessLockTests, WritesNothingForOtherCommands)
{
    takesLock(HelpCommand());
    EXPECT_FALSE(std::filesystem::exists(*environment.caches));
}

TEST_F(ScreenCaptureProcessLockTests, IsAFileNamedAfterTheExecutableInTheCaches)
{
    takesLock(RecordOptions());
    EXPECT_TRUE(std::filesystem::is_regular_file(lockPath()));
}

TEST_F(ScreenCaptureProcessLockTests, ASecondCommandIsBusy)
{
    const auto lock = ScreenCaptureProcessLock::acquire(RecordOptions(), environment);
    try {
        ScreenCaptureProcessLock::acquire(SourcesCommand(), environment);
        FAIL() << "two commands hold the lock";
    } catch (const GlimtoCaptureLifecycleError& error) {
        EXPECT_EQ(error.code(), "busy");
        EXPECT_STREQ(error.what(),
            "Screen capture is in use. Finish the active capture before starting another capture command.");
    }
}

TEST_F(ScreenCaptureProcessLockTests, IsFreeAfterTheCommand)
{
    EXPECT_TRUE(takesLock(RecordOptions()));
    EXPECT_TRUE(takesLock(RecordOptions()));
}

TEST_F(ScreenCaptureProcessLockTests, CopiesAtDifferentPathsDoNotBlockEachOther)
{
    const auto lock = ScreenCaptureProcessLock::acquire(RecordOptions(), environment);
    environment.executable = makeExecutable("another-copy");
    EXPECT_TRUE(takesLock(RecordOptions()));
}

TEST_F(ScreenCaptureProcessLockTests, ASymbolicLinkToTheExecutableSharesItsLock)
{
    const auto lock = ScreenCaptureProcessLock::acquire(RecordOptions(), environment);
    const auto link = directory.path() / "link";
    std::filesystem::create_symlink(*environment.executable, link);
    environment.executable = link;
    EXPECT_EQ(failure(),
        "Screen capture is in use. Finish the active capture before starting another capture command.");
}

TEST_F(ScreenCaptureProcessLockTests, IsNotTakenThroughASymbolicLink)
{
    std::filesystem::create_directories(lockPath().parent_path());
    std::filesystem::create_symlink(directory.path() / "elsewhere", lockPath());
    EXPECT_EQ(failure(), "Could not open the screen capture process lock.");
    EXPECT_FALSE(std::filesystem::exists(directory.path() / "elsewhere"));
}

TEST_F(ScreenCaptureProcessLockTests, NeedsToKnowTheExecutable)
{
    environment.executable.reset();
    EXPECT_EQ(failure(), "Could not resolve the screen capture executable.");
}

TEST_F(ScreenCaptureProcessLockTests, PassesOnWhyItsDirectoryCannotBeMade)
{
    environment.caches = makeExecutable("file");
    EXPECT_EQ(failure(),
        "Could not create " + (*environment.caches / "com.glimto.capture" / "locks").string()
            + ": Not a directory");
}

TEST_F(ScreenCaptureProcessLockTests, NeedsACachesDirectory)
{
    environment.caches.reset();
    EXPECT_EQ(failure(), "Could not find the user's caches directory: No such file or directory");
}

} // namespace
} // namespace glimto
