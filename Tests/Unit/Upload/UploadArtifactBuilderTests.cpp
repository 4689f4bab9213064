#include "Upload/UploadArtifactBuilder.h"

#include <set>

#include <sys/stat.h>

#include "UploadTestSupport.h"
#include "Upload/UploadInstructionsValidator.h"

namespace glimto {
namespace {

namespace fs = std::filesystem;

class UploadArtifactBuilderTests : public testing::Test {
protected:
    UploadArtifactBuilderTests()
    {
        session.manifestKey = "org/rec/manifest.json";
        instructions.manifestKey = "org/rec/manifest.json";
        instructions.objectPrefix = "org/rec";
        instructions.allowedSegmentKeyPatterns.video.regex = "/video/segment_[0-9]+\\.m4s$";
        instructions.allowedSegmentKeyPatterns.audio.regex = "/audio/segment_[0-9]+\\.m4s$";
        plan(instructions.plannedUploads.required,
            {"manifest.json", "segments/playlist.m3u8", "segments/video/init.mp4"});
        plan(instructions.plannedUploads.optional,
            {"thumbnail.jpg", "events.json", "segments/video/playlist.m3u8", "segments/audio/init.mp4",
                "segments/audio/playlist.m3u8"});
    }

    static void plan(std::vector<PlannedUpload>& uploads, const std::vector<std::string>& relativeKeys)
    {
        for (const auto& key : relativeKeys)
            uploads.push_back({"org/rec/" + key});
    }

    std::vector<UploadArtifact> finalPlan()
    {
        return UploadArtifactBuilder(patterns).buildUploadArtifacts(take(), session, instructions, uploaded);
    }

    std::vector<UploadArtifact> backgroundPlan(const std::vector<std::string>& discovered = {})
    {
        return UploadArtifactBuilder(patterns).buildBackgroundUploadArtifacts(
            take(), instructions, uploaded, discovered);
    }

    std::string finalFailure()
    {
        return failureOf([this] { finalPlan(); });
    }

    void changeManifest(
        const std::function<void(nlohmann::json&)>& change, TakeSound sound = TakeSound::without)
    {
        auto manifest = testManifest(2, sound);
        change(manifest);
        writeTestFile(take() / "manifest.json", manifest.dump());
    }

    static std::vector<std::string> keys(const std::vector<UploadArtifact>& artifacts)
    {
        std::vector<std::string> result;
        for (const auto& artifact : artifacts)
            result.push_back(artifact.key.substr(8)); // without "org/rec/"
        return result;
    }

    fs::path take() const { return directory.path(); }

    using Keys = std::vector<std::string>;

    TemporaryDirectory directory;
    FakeTextPatternCompiler patterns;
    APIRecording session;
    UploadInstructions instructions;
    std::set<std::string> uploaded;
};

TEST_F(UploadArtifactBuilderTests, ATakeWithoutSoundIsListedInItsOrder)
{
    writeTestTake(take(), 2);
    EXPECT_EQ(keys(finalPlan()),
        Keys({"manifest.json", "segments/video/init.mp4", "segments/playlist.m3u8",
            "segments/video/segment_000.m4s", "segments/video/segment_001.m4s", "thumbnail.jpg"}));
}

TEST_F(UploadArtifactBuilderTests, ATakeWithSoundHasTheVariantPlaylistsAsWell)
{
    writeTestTake(take(), 1, TakeSound::with);
    writeTestFile(take() / "events.json", "{}");
    EXPECT_EQ(keys(finalPlan()),
        Keys({"manifest.json", "segments/video/init.mp4", "segments/playlist.m3u8",
            "segments/video/playlist.m3u8", "segments/video/segment_000.m4s", "segments/audio/init.mp4",
            "segments/audio/playlist.m3u8", "segments/audio/segment_000.m4s", "events.json",
            "thumbnail.jpg"}));
}

TEST_F(UploadArtifactBuilderTests, TheManifestGoesWithObjectKeysAndFilesAsTheyAre)
{
    writeTestTake(take(), 1);
    const auto artifacts = finalPlan();
    EXPECT_EQ(artifacts[0].sourceDescription, "rewritten manifest.json");
    const auto manifest = nlohmann::json::parse(std::get<std::string>(artifacts[0].body));
    EXPECT_EQ(manifest["segments"][0]["key"], "org/rec/segments/video/segment_000.m4s");
    EXPECT_EQ(std::get<std::string>(artifacts[0].body), manifest.dump(2));
    EXPECT_EQ(artifacts[1].sourceDescription, "segments/video/init.mp4");
    EXPECT_EQ(std::get<FileBelow>(artifacts[1].body), (FileBelow{take(), "segments/video/init.mp4"}));
}

TEST_F(UploadArtifactBuilderTests, WhatIsUploadedIsLeftOutAndCountsAsCovered)
{
    writeTestTake(take(), 1);
    uploaded = {"org/rec/segments/video/init.mp4", "org/rec/thumbnail.jpg"};
    EXPECT_EQ(keys(finalPlan()),
        Keys({"manifest.json", "segments/playlist.m3u8", "segments/video/segment_000.m4s"}));
    for (const auto& artifact : finalPlan())
        uploaded.insert(artifact.key);
    EXPECT_EQ(keys(finalPlan()), Keys());
}

TEST_F(UploadArtifactBuilderTests, AnUploadedFileNeedNotExistAnyMore)
{
    writeTestTake(take(), 1);
    fs::remove(take() / "segments/video/segment_000.m4s");
    EXPECT_EQ(finalFailure(), "Local artifact file is missing: segments/video/segment_000.m4s");
    uploaded = {"org/rec/segments/video/segment_000.m4s"};
    EXPECT_EQ(finalFailure(), "no failure");
}

TEST_F(UploadArtifactBuilderTests, WhatIsNoFileIsMissing)
{
    writeTestTake(take(), 1);
    fs::remove(take() / "segments/playlist.m3u8");
    fs::create_directory(take() / "segments/playlist.m3u8");
    EXPECT_EQ(finalFailure(), "Local artifact file is missing: segments/playlist.m3u8");
    fs::remove(take() / "segments/playlist.m3u8");
    ASSERT_EQ(::mkfifo((take() / "segments/playlist.m3u8").c_str(), 0600), 0);
    EXPECT_EQ(finalFailure(), "Local artifact file is missing: segments/playlist.m3u8");
}

TEST_F(UploadArtifactBuilderTests, MissingRequiredKeysAreNamedTogetherInOrder)
{
    writeTestTake(take(), 1);
    plan(instructions.plannedUploads.required, {"z.txt", "a.txt", "a.txt"});
    EXPECT_EQ(
        finalFailure(), "Local artifacts are missing required upload key(s): org/rec/a.txt, org/rec/z.txt");
}

TEST_F(UploadArtifactBuilderTests, FilesOfTheUploadItselfAreNeverSent)
{
    writeTestTake(take(), 1);
    writeTestFile(take() / "upload-job.json", "{}");
    writeTestFile(take() / ".ssh/id", "secret");
    plan(instructions.plannedUploads.optional, {"upload-job.json", ".ssh/id"});
    EXPECT_THAT(
        keys(finalPlan()), testing::Not(testing::Contains(testing::AnyOf("upload-job.json", ".ssh/id"))));
    EXPECT_EQ(keys(backgroundPlan()), Keys({"segments/video/init.mp4", "thumbnail.jpg"}));
}

TEST_F(UploadArtifactBuilderTests, OnlyTheTakesOwnFilesAreSentWhateverThePlanAsksFor)
{
    writeTestTake(take(), 1);
    const std::vector<std::string> others = {"notes.txt", "private/key", "upload-job.json", ".ssh/id",
        "segments/other/init.mp4", "segments/notes.txt"};
    for (const auto& name : others)
        writeTestFile(take() / name, "secret");
    writeTestFile(take() / "verification.json", "known");
    auto planned = others;
    planned.emplace_back("verification.json");
    plan(instructions.plannedUploads.optional, planned);
    for (const auto& artifacts : {finalPlan(), backgroundPlan({})}) {
        for (const auto& name : others)
            EXPECT_THAT(keys(artifacts), testing::Not(testing::Contains(name)));
        EXPECT_THAT(keys(artifacts), testing::Contains("verification.json"));
    }
}

TEST_F(UploadArtifactBuilderTests, NothingIsSentThroughALink)
{
    writeTestTake(take(), 2);
    writeTestFile(directory.path() / "secret", "secret");
    std::filesystem::remove(take() / "thumbnail.jpg");
    std::filesystem::create_symlink(directory.path() / "secret", take() / "thumbnail.jpg");
    EXPECT_THAT(keys(finalPlan()), testing::Not(testing::Contains("thumbnail.jpg")));
    EXPECT_THAT(keys(backgroundPlan({})), testing::Not(testing::Contains("thumbnail.jpg")));
    std::filesystem::rename(take() / "segments", directory.path() / "elsewhere");
    std::filesystem::create_directory_symlink(directory.path() / "elsewhere", take() / "segments");
    EXPECT_EQ(failureOf([this] { finalPlan(); }), "Local artifact file is missing: segments/video/init.mp4");
    EXPECT_TRUE(keys(backgroundPlan({})).empty());
    std::filesystem::rename(take() / "manifest.json", directory.path() / "moved.json");
    std::filesystem::create_symlink(directory.path() / "moved.json", take() / "manifest.json");
    EXPECT_THAT(failureOf([this] { finalPlan(); }), testing::StartsWith("Could not read "));
}

TEST_F(UploadArtifactBuilderTests, SegmentsThatNoPatternAllowsAreRefused)
{
    writeTestTake(take(), 1);
    instructions.allowedSegmentKeyPatterns.video.regex = "^nothing$";
    EXPECT_EQ(finalFailure(),
        "Upload artifact key is not allowed by the API contract: org/rec/segments/video/segment_000.m4s");
    instructions.allowedSegmentKeyPatterns.audio.regex = "segment";
    EXPECT_EQ(finalFailure(), "no failure");
}

TEST_F(UploadArtifactBuilderTests, APatternThatDoesNotCompileFailsEveryPlan)
{
    writeTestTake(take(), 1);
    instructions.allowedSegmentKeyPatterns.audio.regex = "(";
    EXPECT_EQ(finalFailure(), "The pattern is no regular expression.");
    EXPECT_EQ(failureOf([&] { backgroundPlan(); }), "The pattern is no regular expression.");
}

TEST_F(UploadArtifactBuilderTests, APatternWithoutEndFailsThePlan)
{
    writeTestTake(take(), 1);
    instructions.allowedSegmentKeyPatterns.video.regex = "endless";
    EXPECT_EQ(finalFailure(), "The search was given up.");
}

TEST_F(UploadArtifactBuilderTests, MismatchedManifestKeysAreRefusedAtTheEnd)
{
    writeTestTake(take(), 1);
    instructions.manifestKey = "org/rec/other.json";
    EXPECT_EQ(finalFailure(), "API returned mismatched manifest keys.");
    plan(instructions.plannedUploads.required, {"a.txt"});
    EXPECT_EQ(finalFailure(), "Local artifacts are missing required upload key(s): org/rec/a.txt");
}

TEST_F(UploadArtifactBuilderTests, AManifestKeyOutsideOfThePrefixIsRefused)
{
    writeTestTake(take(), 1);
    session.manifestKey = "org/recording/manifest.json";
    EXPECT_EQ(
        finalFailure(), "Upload artifact key is outside the assigned prefix: org/recording/manifest.json");
}

TEST_F(UploadArtifactBuilderTests, PlannedKeysOutsideOfThePrefixAreRefused)
{
    writeTestTake(take(), 1);
    instructions.plannedUploads.optional.push_back({"org/recx"});
    EXPECT_EQ(finalFailure(), "Planned upload key is outside the assigned prefix: org/recx");
    instructions.plannedUploads.optional.back().key = "org/rec/../../etc/passwd";
    EXPECT_EQ(finalFailure(), "Local artifact key cannot contain relative path segments: ../../etc/passwd");
}

TEST_F(UploadArtifactBuilderTests, TheVariantPlaylistMustBePlanned)
{
    writeTestTake(take(), 1, TakeSound::with);
    std::erase_if(instructions.plannedUploads.optional,
        [](const auto& upload) { return upload.key == "org/rec/segments/video/playlist.m3u8"; });
    EXPECT_EQ(finalFailure(),
        "Upload instructions do not allow planned local artifact: segments/video/playlist.m3u8");
}

TEST_F(UploadArtifactBuilderTests, KeysOfTheManifestAreChecked)
{
    writeTestTake(take(), 2);
    changeManifest([](auto& manifest) { manifest["segments"][1]["key"] = "segments\\..\\..\\x"; });
    EXPECT_EQ(
        finalFailure(), "Local artifact key cannot contain relative path segments: segments\\..\\..\\x");
    changeManifest([](auto& manifest) { manifest["segments"][1]["key"] = "/etc/passwd"; });
    EXPECT_EQ(finalFailure(), "Local artifact key must point inside segments/: /etc/passwd");
}

TEST_F(UploadArtifactBuilderTests, ASegmentThatIsNamedTwiceIsSentOnce)
{
    writeTestTake(take(), 2);
    changeManifest([](auto& manifest) { manifest["segments"][1] = manifest["segments"][0]; });
    EXPECT_EQ(keys(finalPlan()).size(), 5U);
}

TEST_F(UploadArtifactBuilderTests, ATakeWithoutAManifestCannotBePlanned)
{
    EXPECT_EQ(finalFailure(),
        "Could not read " + (take() / "manifest.json").string() + ": No such file or directory");
    fs::create_directory(take() / "manifest.json");
    EXPECT_EQ(finalFailure(), "Could not read " + (take() / "manifest.json").string() + ": Is a directory");
}

TEST_F(UploadArtifactBuilderTests, ABackgroundPlanHasWhatIsFinal)
{
    writeTestTake(take(), 2, TakeSound::with);
    writeTestFile(take() / "events.json", "{}");
    EXPECT_EQ(keys(backgroundPlan({"org/rec/segments/video/segment_001.m4s",
                  "org/rec/segments/audio/segment_000.m4s", "org/rec/segments/video/segment_001.m4s"})),
        Keys({"segments/audio/init.mp4", "segments/video/init.mp4", "thumbnail.jpg",
            "segments/video/segment_001.m4s", "segments/audio/segment_000.m4s"}));
}

TEST_F(UploadArtifactBuilderTests, ABackgroundPlanNeverHasTheManifestUnderWhateverName)
{
    writeTestTake(take(), 1);
    writeTestFile(take() / "index.json", "{}");
    instructions.manifestKey = "org/rec/index.json";
    plan(instructions.plannedUploads.required, {"index.json"});
    EXPECT_EQ(keys(backgroundPlan()), Keys({"segments/video/init.mp4", "thumbnail.jpg"}));
}

TEST_F(UploadArtifactBuilderTests, ABackgroundPlanLeavesOutWhatIsNotThereOrThereAlready)
{
    EXPECT_EQ(keys(backgroundPlan({"org/rec/segments/video/segment_000.m4s"})), Keys());
    writeTestTake(take(), 1);
    uploaded = {"org/rec/segments/video/init.mp4", "org/rec/segments/video/segment_000.m4s"};
    EXPECT_EQ(keys(backgroundPlan({"org/rec/segments/video/segment_000.m4s"})), Keys({"thumbnail.jpg"}));
}

TEST_F(UploadArtifactBuilderTests, ABackgroundPlanChecksKeysAsWell)
{
    writeTestTake(take(), 1);
    EXPECT_EQ(failureOf([&] { backgroundPlan({"org/other/segments/video/segment_000.m4s"}); }),
        "Planned upload key is outside the assigned prefix: org/other/segments/video/segment_000.m4s");
    EXPECT_EQ(failureOf([&] { backgroundPlan({"org/rec/thumbnail.jpg"}); }),
        "Local artifact key must point inside segments/: thumbnail.jpg");
    instructions.allowedSegmentKeyPatterns.video.regex = "^nothing$";
    EXPECT_EQ(failureOf([&] { backgroundPlan({"org/rec/segments/video/segment_000.m4s"}); }),
        "Upload artifact key is not allowed by the API contract: org/rec/segments/video/segment_000.m4s");
}

TEST_F(UploadArtifactBuilderTests, TheValidatorAllowsThePrefixItselfOnlyWhenItIsPlanned)
{
    const UploadInstructionsValidator validator(instructions, patterns);
    EXPECT_EQ(failureOf([&] { validator.validate("org/rec"); }),
        "Upload artifact key is not allowed by the API contract: org/rec");
    EXPECT_EQ(failureOf([&] { validator.validate("org/record"); }),
        "Upload artifact key is outside the assigned prefix: org/record");
    EXPECT_EQ(failureOf([&] { validator.validate("org/rec/thumbnail.jpg"); }), "no failure");
}

} // namespace
} // namespace glimto
