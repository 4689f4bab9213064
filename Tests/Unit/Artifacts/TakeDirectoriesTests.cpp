#include "Artifacts/TakeDirectories.h"

#include <fstream>

#include <gtest/gtest.h>

#include "Artifacts/OutputPlan.h"
#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

TEST(TakeDirectoriesTests, EverythingThatPreparingMadeGoesAgain)
{
    const TemporaryDirectory parent;
    const auto root = parent.path() / "runs" / "take";
    const TakeDirectories directories(root);
    OutputPlan::prepare(root, false);
    directories.removeEmpty();
    EXPECT_FALSE(std::filesystem::exists(parent.path() / "runs"));
    EXPECT_TRUE(std::filesystem::exists(parent.path()));
}

TEST(TakeDirectoriesTests, RootThatWasThereStays)
{
    const TemporaryDirectory root;
    const TakeDirectories directories(root.path());
    OutputPlan::prepare(root.path(), false);
    directories.removeEmpty();
    EXPECT_TRUE(std::filesystem::is_empty(root.path()));
}

TEST(TakeDirectoriesTests, WhatHoldsASegmentStays)
{
    const TemporaryDirectory parent;
    const auto root = parent.path() / "take";
    const TakeDirectories directories(root);
    const auto plan = OutputPlan::prepare(root, false);
    std::ofstream(plan.videoSegmentsDirectory / "segment_000.m4s") << "media";
    directories.removeEmpty();
    EXPECT_TRUE(std::filesystem::exists(plan.videoSegmentsDirectory / "segment_000.m4s"));
    EXPECT_FALSE(std::filesystem::exists(plan.audioSegmentsDirectory));
}

} // namespace
} // namespace glimto
