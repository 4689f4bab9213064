#include "Upload/UploadManifest.h"

#include "UploadTestSupport.h"

namespace glimto {
namespace {

nlohmann::json rewritten(const nlohmann::json& manifest, const std::string& prefix)
{
    return toJSON(rewritingObjectKeys(decodeMediaManifest(manifest.dump()), prefix));
}

TEST(UploadManifestTests, AManifestComesBackAsItWas)
{
    for (const TakeSound sound : {TakeSound::without, TakeSound::with}) {
        const auto manifest = testManifest(2, sound);
        EXPECT_EQ(toJSON(decodeMediaManifest(manifest.dump())), manifest);
    }
}

TEST(UploadManifestTests, OptionalFieldsMayBeMissing)
{
    auto manifest = testManifest(1);
    manifest["segments"][0].erase("earliestPresentationTime");
    EXPECT_EQ(toJSON(decodeMediaManifest(manifest.dump())), manifest);
}

TEST(UploadManifestTests, EveryKeyGetsThePrefixAndNothingElseChanges)
{
    auto expected = testManifest(2, TakeSound::with);
    for (auto* key : {&expected["initSegmentKey"], &expected["playlistKey"],
             &expected["audio"]["initSegmentKey"], &expected["audio"]["playlistKey"],
             &expected["segments"][0]["key"], &expected["segments"][1]["key"],
             &expected["audioSegments"][0]["key"], &expected["audioSegments"][1]["key"]})
        *key = "org/rec/" + key->get<std::string>();
    EXPECT_EQ(rewritten(testManifest(2, TakeSound::with), "org/rec"), expected);
}

TEST(UploadManifestTests, KeysAreNormalized)
{
    auto manifest = testManifest(1);
    manifest["segments"][0]["key"] = "\\segments\\video\\x.m4s";
    EXPECT_EQ(rewritten(manifest, "p")["segments"][0]["key"], "p/segments/video/x.m4s");
}

TEST(UploadManifestTests, AKeyThatIsNoneFailsTheRewrite)
{
    auto manifest = testManifest(1, TakeSound::with);
    manifest["audioSegments"][0]["key"] = "manifest.json";
    EXPECT_EQ(failureOf([&] { rewritten(manifest, "p"); }),
        "Local artifact key must point inside segments/: manifest.json");
    manifest["playlistKey"] = "segments/../x";
    EXPECT_EQ(failureOf([&] { rewritten(manifest, "p"); }),
        "Local artifact key cannot contain relative path segments: segments/../x");
}

TEST(UploadManifestTests, WhatIsNoManifestIsToldByItsField)
{
    EXPECT_EQ(failureOf([] { decodeMediaManifest("{}"); }),
        "Could not read manifest.json: manifestVersion is missing.");
    auto manifest = testManifest(1);
    manifest["segments"][0]["bytes"] = "many";
    EXPECT_EQ(failureOf([&] { decodeMediaManifest(manifest.dump()); }),
        "Could not read manifest.json: segments[0].bytes is no whole number within its range.");
    manifest["video"] = 3;
    EXPECT_EQ(failureOf([&] { decodeMediaManifest(manifest.dump()); }),
        "Could not read manifest.json: video is no object.");
}

} // namespace
} // namespace glimto
