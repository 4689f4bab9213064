#include "Support/FileLock.h"

#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

class FileLockTests : public testing::Test {
protected:
    TemporaryDirectory directory;
    std::filesystem::path path = directory.path() / "some.lock";
    FileLock lock;
};

TEST_F(FileLockTests, MakesTheFileForTheUserAlone)
{
    ASSERT_EQ(FileLock::tryAcquire(path, lock), FileLockOutcome::acquired);
    struct stat status = {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(FileLockTests, IsHeldByOnlyOneAtATime)
{
    ASSERT_EQ(FileLock::tryAcquire(path, lock), FileLockOutcome::acquired);
    FileLock second;
    EXPECT_EQ(FileLock::tryAcquire(path, second), FileLockOutcome::heldByAnother);
}

TEST_F(FileLockTests, IsFreeAgainWhenItsOwnerIsGoneAndKeepsTheFile)
{
    {
        FileLock first;
        ASSERT_EQ(FileLock::tryAcquire(path, first), FileLockOutcome::acquired);
    }
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(FileLock::tryAcquire(path, lock), FileLockOutcome::acquired);
}

TEST_F(FileLockTests, StaysHeldWhenMoved)
{
    ASSERT_EQ(FileLock::tryAcquire(path, lock), FileLockOutcome::acquired);
    const FileLock moved = std::move(lock);
    FileLock second;
    EXPECT_EQ(FileLock::tryAcquire(path, second), FileLockOutcome::heldByAnother);
}

TEST_F(FileLockTests, DoesNotFollowASymbolicLink)
{
    std::filesystem::create_symlink(directory.path() / "elsewhere", path);
    EXPECT_EQ(FileLock::tryAcquire(path, lock), FileLockOutcome::couldNotOpen);
    EXPECT_FALSE(std::filesystem::exists(directory.path() / "elsewhere"));
}

TEST_F(FileLockTests, CannotBeOpenedInAMissingDirectory)
{
    EXPECT_EQ(
        FileLock::tryAcquire(directory.path() / "nowhere" / "lock", lock), FileLockOutcome::couldNotOpen);
}

TEST_F(FileLockTests, ADirectoryIsLockedWithoutAFileInIt)
{
    FileLock second;
    {
        FileLock first;
        EXPECT_EQ(FileLock::tryAcquireDirectory(directory.path(), first), FileLockOutcome::acquired);
        EXPECT_EQ(FileLock::tryAcquireDirectory(directory.path(), second), FileLockOutcome::heldByAnother);
    }
    EXPECT_EQ(FileLock::tryAcquireDirectory(directory.path(), second), FileLockOutcome::acquired);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
    EXPECT_EQ(
        FileLock::tryAcquireDirectory(directory.path() / "nowhere", second), FileLockOutcome::couldNotOpen);
}

} // namespace
} // namespace glimto
