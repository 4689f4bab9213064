#include "Artifacts/OutputPlan.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class OutputPlanTests : public testing::Test {
protected:
    fs::path root() const { return directory.path() / "take"; }

    static void writeFile(const fs::path& path, const std::string& content)
    {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << content;
    }

    static std::string content(const fs::path& path)
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    // What prepare() without overwrite throws; empty when it throws nothing.
    std::string refusal() const
    {
        try {
            OutputPlan::prepare(root(), OutputPlan::EarlierTake::kept);
        } catch (const CLIError& error) {
            return error.what();
        }
        return {};
    }

    TemporaryDirectory directory;
};

TEST_F(OutputPlanTests, EveryFileHasItsPlaceBelowTheRoot)
{
    const auto plan = OutputPlan::forRoot("/takes/one");
    EXPECT_EQ(plan.root, "/takes/one");
    EXPECT_EQ(plan.segmentsDirectory, "/takes/one/segments");
    EXPECT_EQ(plan.videoSegmentsDirectory, "/takes/one/segments/video");
    EXPECT_EQ(plan.audioSegmentsDirectory, "/takes/one/segments/audio");
    EXPECT_EQ(plan.playlistURL, "/takes/one/segments/playlist.m3u8");
    EXPECT_EQ(plan.manifestURL, "/takes/one/manifest.json");
    EXPECT_EQ(plan.thumbnailURL, "/takes/one/thumbnail.jpg");
    EXPECT_EQ(plan.eventsURL, "/takes/one/events.json");
}

TEST_F(OutputPlanTests, RootIsStandardized)
{
    EXPECT_EQ(OutputPlan::forRoot("/takes/./two/../one/").root.string(), "/takes/one");
    EXPECT_EQ(OutputPlan::forRoot("takes/one/").root.string(), (fs::current_path() / "takes/one").string());
    EXPECT_EQ(OutputPlan::forRoot("").root.string(), fs::current_path().string());
    EXPECT_EQ(OutputPlan::forRoot(".").root.string(), fs::current_path().string());
    EXPECT_EQ(OutputPlan::forRoot("/").root.string(), "/");
}

TEST_F(OutputPlanTests, PrepareReturnsThePlanOfTheRoot)
{
    EXPECT_EQ(OutputPlan::prepare(root(), OutputPlan::EarlierTake::kept), OutputPlan::forRoot(root()));
}

TEST_F(OutputPlanTests, MissingDirectoriesAreMade)
{
    const auto plan = OutputPlan::prepare(root() / "below", OutputPlan::EarlierTake::kept);
    EXPECT_TRUE(fs::is_directory(plan.videoSegmentsDirectory));
    EXPECT_TRUE(fs::is_directory(plan.audioSegmentsDirectory));
}

TEST_F(OutputPlanTests, DirectoryWithUnrelatedFilesPassesAndKeepsThem)
{
    writeFile(root() / "notes.txt", "mine");
    writeFile(root() / "upload-job.json", "{}");
    EXPECT_EQ(refusal(), "");
    OutputPlan::prepare(root(), OutputPlan::EarlierTake::removed);
    EXPECT_EQ(content(root() / "notes.txt"), "mine");
    EXPECT_EQ(content(root() / "upload-job.json"), "{}");
}

TEST_F(OutputPlanTests, EarlierTakeIsRefusedAndLeftAlone)
{
    writeFile(root() / "manifest.json", "{}");
    writeFile(root() / "segments/video/init.mp4", "data");
    EXPECT_EQ(refusal(),
        "Output directory already contains proof artifacts: segments, manifest.json. Use --overwrite or "
        "choose a new "
        "directory.");
    EXPECT_EQ(content(root() / "manifest.json"), "{}");
    EXPECT_EQ(content(root() / "segments/video/init.mp4"), "data");
    EXPECT_FALSE(fs::exists(root() / "segments/audio"));
}

TEST_F(OutputPlanTests, AllKnownArtifactsAreNamedInOrder)
{
    for (const char* name : {"verification.json", "playlist.ffprobe.json", "result.ffprobe.json",
             "result.mp4", "events.json", "thumbnail.jpg", "manifest.json", "segments"})
        writeFile(root() / name, "");
    EXPECT_EQ(refusal(),
        "Output directory already contains proof artifacts: segments, manifest.json, thumbnail.jpg, "
        "events.json, "
        "result.mp4, result.ffprobe.json, playlist.ffprobe.json, verification.json. Use --overwrite or "
        "choose a new "
        "directory.");
}

TEST_F(OutputPlanTests, VerificationAloneIsRefusedWithoutOverwrite)
{
    writeFile(root() / "verification.json", "{}");
    EXPECT_EQ(refusal(),
        "Output directory already contains proof artifacts: verification.json. Use --overwrite or choose a "
        "new "
        "directory.");
    EXPECT_TRUE(fs::exists(root() / "verification.json"));
}

TEST_F(OutputPlanTests, VerificationAloneIsRemovedWithOverwrite)
{
    writeFile(root() / "verification.json", "{}");
    OutputPlan::prepare(root(), OutputPlan::EarlierTake::removed);
    EXPECT_FALSE(fs::exists(root() / "verification.json"));
}

TEST_F(OutputPlanTests, EventsOfAKilledRecordingAreNoArtifactAndGoWithOverwrite)
{
    writeFile(root() / ".events.partial", "{}");
    OutputPlan::prepare(root(), OutputPlan::EarlierTake::kept);
    EXPECT_TRUE(fs::exists(root() / ".events.partial"));
    OutputPlan::prepare(root(), OutputPlan::EarlierTake::removed);
    EXPECT_FALSE(fs::exists(root() / ".events.partial"));
}

TEST_F(OutputPlanTests, OverwriteRemovesTheSegmentsOfTheEarlierTake)
{
    writeFile(root() / "segments/video/segment_000.m4s", "old");
    writeFile(root() / "segments/playlist.m3u8", "old");
    const auto plan = OutputPlan::prepare(root(), OutputPlan::EarlierTake::removed);
    EXPECT_TRUE(fs::is_empty(plan.videoSegmentsDirectory));
    EXPECT_FALSE(fs::exists(plan.playlistURL));
}

TEST_F(OutputPlanTests, OverwriteRemovesALinkButNotWhatItPointsTo)
{
    const auto elsewhere = directory.path() / "elsewhere";
    writeFile(elsewhere / "video/precious.m4s", "keep");
    fs::create_directories(root());
    fs::create_directory_symlink(elsewhere, root() / "segments");
    const auto plan = OutputPlan::prepare(root(), OutputPlan::EarlierTake::removed);
    EXPECT_FALSE(fs::is_symlink(plan.segmentsDirectory));
    EXPECT_EQ(content(elsewhere / "video/precious.m4s"), "keep");
}

TEST_F(OutputPlanTests, OverwriteDoesNotFollowLinksInsideTheSegments)
{
    const auto elsewhere = directory.path() / "elsewhere";
    writeFile(elsewhere / "precious.m4s", "keep");
    fs::create_directories(root() / "segments");
    fs::create_directory_symlink(elsewhere, root() / "segments/video");
    OutputPlan::prepare(root(), OutputPlan::EarlierTake::removed);
    EXPECT_EQ(content(elsewhere / "precious.m4s"), "keep");
}

TEST_F(OutputPlanTests, DanglingLinkInTheWayCountsAsAnArtifact)
{
    fs::create_directories(root());
    fs::create_symlink(directory.path() / "nowhere", root() / "segments");
    EXPECT_THAT(refusal(), HasSubstr("proof artifacts: segments."));
    OutputPlan::prepare(root(), OutputPlan::EarlierTake::removed);
    EXPECT_TRUE(fs::is_directory(fs::symlink_status(root() / "segments")));
}

TEST_F(OutputPlanTests, RootThatIsAFileIsAPlatformErrorThatNamesIt)
{
    writeFile(root(), "file");
    try {
        OutputPlan::prepare(root(), OutputPlan::EarlierTake::removed);
        FAIL() << "nothing was thrown";
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.domain(), "POSIX");
        EXPECT_NE(error.code(), 0);
        EXPECT_THAT(error.what(), StartsWith("Could not create directory " + root().string() + ": "));
    }
    EXPECT_EQ(content(root()), "file");
}

TEST_F(OutputPlanTests, WhatAKilledProcessWasWritingIsRemovedAndNothingElse)
{
    const std::string random = ".0123456789abcdef.tmp";
    const auto plan = OutputPlan::prepare(root(), OutputPlan::EarlierTake::kept);
    const auto ours = {root() / (".manifest.json" + random), root() / (".upload-job.json" + random),
        root() / ".thumbnail-0A-1B.jpg", plan.segmentsDirectory / (".playlist.m3u8" + random),
        plan.videoSegmentsDirectory / (".segment_007.m4s" + random),
        plan.audioSegmentsDirectory / (".init.mp4" + random)};
    const auto others = {root() / (".letter.txt" + random), root() / ".manifest.json.swp",
        root() / ".events.partial", plan.videoSegmentsDirectory / "segment_000.m4s"};
    for (const auto& file : ours)
        writeFile(file, "half");
    for (const auto& file : others)
        writeFile(file, "whole");
    plan.removeLeftovers();
    for (const auto& file : ours)
        EXPECT_FALSE(fs::exists(file)) << file;
    for (const auto& file : others)
        EXPECT_TRUE(fs::exists(file)) << file;
}

TEST_F(OutputPlanTests, AStepBackBehindALinkLeadsToWhereTheShellGoes)
{
    fs::create_directories(directory.path() / "far" / "target");
    fs::create_directory_symlink("far/target", directory.path() / "link");
    OutputPlan::prepare(directory.path() / "link" / ".." / "take", OutputPlan::EarlierTake::kept);
    EXPECT_TRUE(fs::exists(directory.path() / "far" / "take" / "segments"));
    EXPECT_FALSE(fs::exists(root()));
}

TEST_F(OutputPlanTests, AskingChangesNothing)
{
    EXPECT_EQ(OutputPlan::check(root(), OutputPlan::EarlierTake::kept), OutputPlan::forRoot(root()));
    EXPECT_FALSE(fs::exists(root()));
    writeFile(root() / "manifest.json", "{}");
    EXPECT_THROW(OutputPlan::check(root(), OutputPlan::EarlierTake::kept), CLIError);
    EXPECT_NO_THROW(OutputPlan::check(root(), OutputPlan::EarlierTake::removed));
    EXPECT_EQ(content(root() / "manifest.json"), "{}");
}

} // namespace
} // namespace glimto
