#include "Support/Paths.h"

#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"

namespace glimto {
namespace {

namespace fs = std::filesystem;

TEST(StandardizedPathTests, IsAbsoluteAndHasNoDetours)
{
    EXPECT_EQ(standardizedPath("/a//b/./c/"), "/a/b/c");
    EXPECT_EQ(standardizedPath("/"), "/");
    EXPECT_EQ(standardizedPath("/.."), "/");
    EXPECT_EQ(standardizedPath("x"), fs::current_path() / "x");
    EXPECT_EQ(standardizedPath(""), fs::current_path());
}

TEST(StandardizedPathTests, WhatDoesNotExistIsSteppedBackFromByName)
{
    EXPECT_EQ(standardizedPath("/nowhere/a/../b"), "/nowhere/b");
    EXPECT_EQ(standardizedPath("/nowhere/a/../../../../b"), "/b");
}

TEST(StandardizedPathTests, BehindALinkAStepBackLeadsToWhereTheSystemGoes)
{
    const TemporaryDirectory directory;
    const fs::path root = fs::canonical(directory.path());
    fs::create_directories(root / "far" / "target" / "inner");
    fs::create_directory_symlink(root / "far" / "target", root / "link");
    fs::create_directory_symlink("link", root / "second");
    EXPECT_EQ(standardizedPath(root / "link" / ".." / "take"), root / "far" / "take");
    EXPECT_EQ(standardizedPath(root / "second" / ".." / "take"), root / "far" / "take");
    EXPECT_EQ(standardizedPath(root / "link" / "inner" / ".." / "take"), root / "link" / "take");
    EXPECT_EQ(standardizedPath(root / "link" / "inner" / ".." / ".." / "take"), root / "far" / "take");
    EXPECT_EQ(standardizedPath(root / "link" / "take"), root / "link" / "take");
}

TEST(StandardizedPathTests, ALinkToNothingKeepsItsStepBack)
{
    const TemporaryDirectory directory;
    fs::create_symlink("nowhere", directory.path() / "link");
    EXPECT_EQ(standardizedPath(directory.path() / "link" / ".." / "take"),
        directory.path() / "link" / ".." / "take");
}

} // namespace
} // namespace glimto
