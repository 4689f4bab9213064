#include "Stills/ScreenshotMetadataJSON.h"

#include <gtest/gtest.h>

#include "Support/JSONText.h"

namespace glimto {
namespace {

TEST(ScreenshotMetadataJSONTests, IsOneLineWithSortedKeys)
{
    const ScreenshotMetadataJSON metadata = {.path = "/tmp/a b.png",
        .width = 2880,
        .height = 1800,
        .byteSize = 5'000'000'000,
        .captureKind = "region"};
    EXPECT_EQ(encodeScreenCaptureJSON(toJSON(metadata)),
        R"({"byteSize":5000000000,"captureKind":"region","format":"png","height":1800,)"
        R"("path":"/tmp/a b.png","width":2880})");
}

TEST(ScreenshotMetadataJSONTests, APathThatIsNoTextIsStillTold)
{
    const ScreenshotMetadataJSON metadata = {.path = "/tmp/\xff.png", .captureKind = "display"};
    EXPECT_EQ(toJSON(metadata)["path"], "/tmp/\uFFFD.png");
}

} // namespace
} // namespace glimto
