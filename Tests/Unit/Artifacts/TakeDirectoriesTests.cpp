#include "Artifacts/TakeDirectories.h"

#include <fstream>

#include <gtest/gtest.h>

#include "Artifacts/OutputPlan.h"
#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

TEST(TakeDirectoriesTests, EverythingThatPreparingMadeGoesAgain)
{
    const TemporaryDirectory parent;
    const auto root = parent.path() / "runs" / "take";
    const TakeDirectories directories(root);
    OutputPlan::prepare(root, OutputPlan::EarlierTake::kept);
    directories.removeEmpty();
    EXPECT_FALSE(std::filesystem::exists(parent.path() / "runs"));
    EXPECT_TRUE(std::filesystem::exists(parent.path()));
}

TEST(TakeDirectoriesTests, RootThatWasThereStays)
{
    const TemporaryDirectory root;
    const TakeDirectories directories(root.path());
    OutputPlan::prepare(root.path(), OutputPlan::EarlierTake::kept);
    directories.removeEmpty();
    EXPECT_TRUE(std::filesystem::is_empty(root.path()));
}

TEST(TakeDirectoriesTests, WhatHoldsASegmentStays)
{
    const TemporaryDirectory parent;
    const auto root = parent.path() / "take";
    const TakeDirectories directories(root);
    const auto plan = OutputPlan::prepare(root, OutputPlan::EarlierTake::kept);
    std::ofstream(plan.videoSegmentsDirectory / "segment_000.m4s") << "media";
    directories.removeEmpty();
    EXPECT_TRUE(std::filesystem::exists(plan.videoSegmentsDirectory / "segment_000.m4s"));
    EXPECT_FALSE(std::filesystem::exists(plan.audioSegmentsDirectory));
}

TEST(TakeDirectoriesTests, OneProcessRecordsIntoADirectory)
{
    const TemporaryDirectory parent;
    const auto root = parent.path() / "take";
    TakeDirectories second(root);
    {
        TakeDirectories first(root);
        first.claim();
        try {
            second.claim();
            FAIL() << "took what another has";
        } catch (const CLIError& error) {
            EXPECT_STREQ(error.what(), "Recording is in use by another process.");
        }
    }
    EXPECT_NO_THROW(second.claim());
    EXPECT_TRUE(std::filesystem::is_empty(root));
}

TEST(TakeDirectoriesTests, EverythingThatPreparingMadeCanBeFlushed)
{
    const TemporaryDirectory parent;
    const TakeDirectories directories(parent.path() / "runs" / "take");
    OutputPlan::prepare(parent.path() / "runs" / "take", OutputPlan::EarlierTake::kept);
    EXPECT_NO_THROW(directories.sync());
    std::filesystem::remove_all(parent.path() / "runs");
    EXPECT_THROW(directories.sync(), PlatformError);
}

} // namespace
} // namespace glimto
