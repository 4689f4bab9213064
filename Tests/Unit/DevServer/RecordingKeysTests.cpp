#include "RecordingKeys.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

TEST(RecordingKeysTests, IdsAreOnePlainPiece)
{
    for (const char* id : {"rec_abcdefghijklmnop", "a", "A.b=c@d-e_1"})
        EXPECT_TRUE(isRecordingId(id)) << id;
    for (const char* id : {"", ".", "..", "a/b", "a b", "a\nb", "<b>", "a%2e", "\xC3\xA4", "a\\b"})
        EXPECT_FALSE(isRecordingId(id)) << id;
    EXPECT_TRUE(isRecordingId(std::string(128, 'a')));
    EXPECT_FALSE(isRecordingId(std::string(129, 'a')));
}

TEST(RecordingKeysTests, KeysNeverLeaveTheirDirectory)
{
    EXPECT_TRUE(isObjectKey("organizations/local/recordings/r/segments/video/segment_000.m4s"));
    for (const char* key :
        {"", "/a", "a/", "a//b", "../a", "a/../b", "a/./b", "a/..", "a\\b", "a/b c", "a/b\n", "a/%2e%2e/b"})
        EXPECT_FALSE(isObjectKey(key)) << key;
    EXPECT_FALSE(isObjectKey("a/" + std::string(600, 'b')));
}

TEST(RecordingKeysTests, TypesFollowTheNamesEnding)
{
    EXPECT_EQ(contentTypeOfKey("a/playlist.m3u8"), "application/vnd.apple.mpegurl");
    EXPECT_EQ(contentTypeOfKey("a/segment_000.m4s"), "video/iso.segment");
    EXPECT_EQ(contentTypeOfKey("a/init.mp4"), "video/mp4");
    EXPECT_EQ(contentTypeOfKey("a/thumbnail.jpg"), "image/jpeg");
    EXPECT_EQ(contentTypeOfKey("a/manifest.json"), "application/json");
    EXPECT_EQ(contentTypeOfKey("a/other"), "application/octet-stream");
}

} // namespace
} // namespace glimto
