#include "Upload/ObjectKeys.h"

#include <functional>

#include <gtest/gtest.h>

#include "Support/Errors.h"

namespace glimto {
namespace {

std::string failureOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const CLIError& error) {
        return error.what();
    }
    return "no failure";
}

std::string normalizingFailure(const std::string& key)
{
    return failureOf([&] { normalizeObjectRelativeKey(key); });
}

TEST(ObjectKeysTests, BackslashesBecomeSlashesAndTheEndsAreTrimmed)
{
    EXPECT_EQ(normalizeObjectRelativeKey("segments\\video\\init.mp4"), "segments/video/init.mp4");
    EXPECT_EQ(normalizeObjectRelativeKey("/segments/a.m4s/"), "segments/a.m4s");
    EXPECT_EQ(normalizeObjectRelativeKey("\\\\a_B=9@x-y.z//"), "a_B=9@x-y.z");
}

TEST(ObjectKeysTests, EmptyPiecesAreRefused)
{
    EXPECT_EQ(normalizingFailure("segments//a.m4s"),
        "Local artifact key must contain non-empty path segments: segments//a.m4s");
    EXPECT_EQ(normalizingFailure(""), "Local artifact key must contain non-empty path segments: ");
    EXPECT_EQ(normalizingFailure("///"), "Local artifact key must contain non-empty path segments: ///");
}

TEST(ObjectKeysTests, EmptinessIsLookedForFirst)
{
    EXPECT_EQ(normalizingFailure("../a b//c"),
        "Local artifact key must contain non-empty path segments: ../a b//c");
}

TEST(ObjectKeysTests, StepsInThePathAreRefused)
{
    EXPECT_EQ(normalizingFailure("segments/../x"),
        "Local artifact key cannot contain relative path segments: segments/../x");
    EXPECT_EQ(normalizingFailure("."), "Local artifact key cannot contain relative path segments: .");
    EXPECT_EQ(
        normalizingFailure("a\\..\\b"), "Local artifact key cannot contain relative path segments: a\\..\\b");
    EXPECT_EQ(normalizeObjectRelativeKey("..."), "...");
}

TEST(ObjectKeysTests, OtherCharactersAreRefused)
{
    for (const char* key : {"segments/a b.m4s", "a:b", "a%2e", "caf\xC3\xA9", "a~", "a*"})
        EXPECT_EQ(normalizingFailure(key),
            std::string("Local artifact key contains an unsupported path segment: ") + key);
    EXPECT_EQ(normalizingFailure("a\nerror: b"),
        "Local artifact key contains an unsupported path segment: a error: b");
}

TEST(ObjectKeysTests, PiecesAreCheckedInOrder)
{
    EXPECT_EQ(
        normalizingFailure("a b/.."), "Local artifact key contains an unsupported path segment: a b/..");
    EXPECT_EQ(
        normalizingFailure("../a b"), "Local artifact key cannot contain relative path segments: ../a b");
}

TEST(ObjectKeysTests, MediaLieInSegments)
{
    EXPECT_EQ(normalizeLocalArtifactKey("/segments/x"), "segments/x");
    EXPECT_EQ(failureOf([] { normalizeLocalArtifactKey("/manifest.json"); }),
        "Local artifact key must point inside segments/: /manifest.json");
    EXPECT_EQ(failureOf([] { normalizeLocalArtifactKey("segments"); }),
        "Local artifact key must point inside segments/: segments");
}

TEST(ObjectKeysTests, ThePrefixIsTakenOff)
{
    EXPECT_EQ(relativeObjectKey("org/rec/segments\\a", "org/rec"), "segments/a");
    EXPECT_EQ(relativeObjectKey("/x", ""), "x");
}

TEST(ObjectKeysTests, AKeyThatOnlyBeginsLikeThePrefixIsOutside)
{
    for (const char* key : {"org/recx", "org/rec", "other/rec/x", ""})
        EXPECT_EQ(failureOf([&] { relativeObjectKey(key, "org/rec"); }),
            std::string("Planned upload key is outside the assigned prefix: ") + key);
}

TEST(ObjectKeysTests, PlannedKeysAreListedOnceInOrder)
{
    UploadInstructions instructions;
    instructions.objectPrefix = "p";
    instructions.plannedUploads.required = {{"p/segments/b"}, {"p/manifest.json"}};
    instructions.plannedUploads.optional = {{"p/segments/a"}, {"p/segments/b"}, {"p/segments\\b"}};
    EXPECT_EQ(plannedRelativeUploadKeys(instructions),
        std::vector<std::string>({"manifest.json", "segments/a", "segments/b"}));
}

TEST(ObjectKeysTests, APlannedKeyOutsideOfThePrefixIsRefused)
{
    UploadInstructions instructions;
    instructions.objectPrefix = "p";
    instructions.plannedUploads.optional = {{"px"}};
    EXPECT_EQ(failureOf([&] { plannedRelativeUploadKeys(instructions); }),
        "Planned upload key is outside the assigned prefix: px");
}

TEST(ObjectKeysTests, FilesLieBelowTheRoot)
{
    const FileBelow file = fileURL("/take", "segments//video/x.m4s");
    EXPECT_EQ(file, (FileBelow{"/take", "segments/video/x.m4s"}));
    EXPECT_EQ(file.path(), "/take/segments/video/x.m4s");
}

} // namespace
} // namespace glimto
