#include "Backends/X264/X264VideoEncoder.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Unit/X264/GrayPicture.h"

namespace glimto {
namespace {

constexpr int width = 320;
constexpr int height = 240;
constexpr VideoTime frameDuration = VideoTime(std::chrono::seconds(1)) / 30;
constexpr int framesASegment = 120;

// The bits of a NAL unit from its second byte on (ITU-T H.264 sections 7.2 and 9.1), as far as none of them
// is an emulation prevention byte.
class Bits {
public:
    explicit Bits(const std::byte* unit)
        : bytes_(unit + 1)
    {
    }

    unsigned read(int count)
    {
        unsigned value = 0;
        for (; count > 0; --count, ++at_)
            value = value << 1U | (std::to_integer<unsigned>(bytes_[at_ / 8]) >> (7 - at_ % 8) & 1U);
        return value;
    }

    unsigned readExpGolomb()
    {
        int zeros = 0;
        while (read(1) == 0)
            ++zeros;
        return (1U << static_cast<unsigned>(zeros)) - 1 + read(zeros);
    }

private:
    const std::byte* bytes_;
    unsigned at_ = 0;
};

// Of the first sequence parameter set, which both coders have in common.
int frameNumberBits(const std::vector<std::uint8_t>& decoderConfiguration)
{
    Bits set(reinterpret_cast<const std::byte*>(&decoderConfiguration[8]));
    set.read(24); // profile, constraints, level
    for (int field = 0; field < 4; ++field)
        set.readExpGolomb(); // id, chroma format, bit depths
    set.read(2);
    return static_cast<int>(set.readExpGolomb()) + 4;
}

int lines(int x, int y)
{
    return y % 16 < 8 && x % 7 < 3 ? 20 : 240;
}

// Shows pictures to an encoder, 30 a second; a segment begins every four seconds.
class Recording {
public:
    explicit Recording(std::int64_t bitsPerSecond = 2'000'000)
        : encoder_(factory_.makeEncoder({.width = width,
            .height = height,
            .framesPerSecond = 30,
            .averageBitRate = bitsPerSecond,
            .maxKeyFrameInterval = framesASegment,
            .maxKeyFrameIntervalDuration = std::chrono::seconds(4)}))
        , frameNumberBits_(frameNumberBits(encoder_->sampleDescription().decoderConfiguration))
    {
    }

    template <typename Level> void show(Level level)
    {
        const GrayPicture picture(width, height, level);
        take(encoder_->encode(MemoryPicture(picture.pixels()), std::array{picture.bounds()}, time(), kind()));
        ++frame_;
    }

    // A change of the first row of macroblocks.
    void showStrip(int gray)
    {
        const GrayPicture picture(
            width, height, [gray](int x, int y) { return y < 16 ? gray : lines(x, y); });
        take(encoder_->encode(
            MemoryPicture(picture.pixels()), std::array{PixelRect{0, 0, width, 16}}, time(), kind()));
        ++frame_;
    }

    // Until the end of a segment.
    void restUntil(int segment)
    {
        while (frame_ < segment * framesASegment)
            rest();
    }

    void rest()
    {
        if (kind() == PictureKind::keyframe)
            take(encoder_->repeat(time(), PictureKind::keyframe));
        else if (auto finer = encoder_->refine(time()))
            take(std::move(*finer));
        ++frame_;
    }

    void finish() { take(encoder_->finish()); }

    const std::vector<EncodedPicture>& pictures() const { return pictures_; }

    std::vector<EncodedPicture> keyframes() const
    {
        std::vector<EncodedPicture> keyframes;
        std::ranges::copy_if(pictures_, std::back_inserter(keyframes), &EncodedPicture::isKeyframe);
        return keyframes;
    }

    // idr_pic_id
    unsigned idOf(const EncodedPicture& keyframe) const
    {
        constexpr std::size_t lengthBytes = 4;
        EXPECT_EQ(std::to_integer<int>(keyframe.data[lengthBytes]) & 0x1F, 5);
        Bits slice(&keyframe.data[lengthBytes]);
        for (int field = 0; field < 3; ++field)
            slice.readExpGolomb(); // place, type, parameter set
        EXPECT_EQ(slice.read(frameNumberBits_), 0U);
        return slice.readExpGolomb();
    }

    int keyframePairsOfOneID() const
    {
        int count = 0;
        for (std::size_t index = 1; index < pictures_.size(); ++index) {
            const EncodedPicture& before = pictures_[index - 1];
            const EncodedPicture& after = pictures_[index];
            count += before.isKeyframe && after.isKeyframe && idOf(before) == idOf(after) ? 1 : 0;
        }
        return count;
    }

    std::size_t bytes() const
    {
        std::size_t sum = 0;
        for (const EncodedPicture& picture : pictures_)
            sum += picture.data.size();
        return sum;
    }

private:
    VideoTime time() const { return frameDuration * frame_; }

    PictureKind kind() const
    {
        return frame_ % framesASegment == 0 ? PictureKind::keyframe : PictureKind::predicted;
    }

    void take(std::vector<EncodedPicture> pictures)
    {
        std::ranges::move(pictures, std::back_inserter(pictures_));
    }

    X264VideoEncoderFactory factory_;
    std::unique_ptr<VideoEncoder> encoder_;
    const int frameNumberBits_;
    std::vector<EncodedPicture> pictures_;
    int frame_ = 0;
};

TEST(StillPictureTests, KeyframesAreTheSameTwoByTurns)
{
    Recording recording;
    recording.show(lines);
    recording.restUntil(9);

    const auto keyframes = recording.keyframes();
    ASSERT_EQ(keyframes.size(), 9U);
    for (std::size_t index = 4; index < keyframes.size(); ++index) {
        EXPECT_EQ(keyframes[index].time, index * std::chrono::seconds(4));
        EXPECT_EQ(keyframes[index].data, keyframes[index - 2].data) << index;
        EXPECT_NE(keyframes[index].data, keyframes[index - 1].data) << index;
    }
    EXPECT_EQ(recording.keyframePairsOfOneID(), 0);
}

TEST(StillPictureTests, PictureThatWasMadeFinerStaysSoWhereASegmentBegins)
{
    Recording recording(150'000);
    recording.show(grain);
    recording.restUntil(9);

    ASSERT_GT(recording.pictures().size(), 9U); // it was made finer
    const std::size_t withoutKeyframes = recording.pictures().size() - recording.keyframes().size();
    EXPECT_LE(withoutKeyframes, 4U);
    const auto keyframes = recording.keyframes();
    EXPECT_EQ(keyframes[8].data, keyframes[6].data);
}

TEST(StillPictureTests, PictureThatChangesWhereASegmentBeginsHasAnotherID)
{
    for (const int segments : {1, 2, 3, 4, 5, 6}) {
        Recording recording;
        recording.show(lines);
        recording.restUntil(segments);
        recording.show([](int x, int y) { return lines(x, y + 8); });
        recording.restUntil(segments + 4);
        EXPECT_EQ(recording.keyframes().size(), static_cast<std::size_t>(segments) + 4);
        EXPECT_EQ(recording.keyframePairsOfOneID(), 0) << segments;
    }
}

// It begins with a keyframe of another coder.
TEST(StillPictureTests, SceneAfterTheStartOfASegmentHasAnotherID)
{
    for (const int segments : {3, 4, 5}) {
        Recording recording;
        recording.show(lines);
        for (const int gray : {50, 60, 70, 80, 90, 100})
            recording.showStrip(gray);
        recording.restUntil(segments);
        recording.rest();
        for (int frame = 0; frame < 20; ++frame)
            recording.show([frame](int x, int y) { return grainBetween(x + 1.37 * frame, y); });
        recording.finish();
        EXPECT_EQ(recording.keyframes().size(), static_cast<std::size_t>(segments) + 2);
        EXPECT_EQ(recording.keyframePairsOfOneID(), 0) << segments;
    }
}

TEST(StillPictureTests, PictureThatChangedWithinASegmentIsNotTheOneFromBefore)
{
    Recording recording;
    recording.show(lines);
    recording.restUntil(5);
    recording.rest();
    recording.showStrip(128);
    recording.restUntil(9);

    const auto keyframes = recording.keyframes();
    ASSERT_EQ(keyframes.size(), 9U);
    for (std::size_t index = 6; index < keyframes.size(); ++index) {
        EXPECT_NE(keyframes[index].data, keyframes[4].data) << index;
        EXPECT_NE(keyframes[index].data, keyframes[5].data) << index;
    }
    EXPECT_EQ(keyframes[8].data, keyframes[6].data);
}

TEST(StillPictureTests, RepeatedKeyframesKeepToTheBitRate)
{
    constexpr int segments = 40;
    for (const int bitsPerSecond : {60'000, 150'000, 600'000}) {
        Recording recording(bitsPerSecond);
        recording.show(grain);
        recording.restUntil(segments);
        const double seconds = segments * 4.0;
        EXPECT_LE(static_cast<double>(recording.bytes()) * 8, bitsPerSecond * seconds * 1.05)
            << bitsPerSecond;
    }
}

} // namespace
} // namespace glimto
