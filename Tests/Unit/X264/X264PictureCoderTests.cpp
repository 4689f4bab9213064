#include "Backends/X264/X264PictureCoder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "Unit/X264/GrayPicture.h"

namespace glimto {
namespace {

constexpr int width = 320;
constexpr int height = 240;
constexpr VideoTime step{10}; // from picture to picture

const VideoEncodingSettings settings = {.width = width,
    .height = height,
    .framesPerSecond = 30,
    .averageBitRate = 0, // the caller's business
    .maxKeyFrameInterval = 120,
    .maxKeyFrameIntervalDuration = std::chrono::seconds(4)};

class ThoroughCoder : public testing::Test {
protected:
    void show(int number, PictureKind kind, bool isBetween)
    {
        const GrayPicture gray(
            width, height, [&](int x, int y) { return grainBetween(x + 1.3 * number, y); });
        picture_.update(gray.pixels(), std::array{gray.bounds()});
        X264PictureCoder::Coding coding;
        coding.time = number * step;
        coding.kind = kind;
        coding.isBetween = isBetween;
        coding.quantizer = 30;
        take(coder_->encode(picture_, coding));
    }

    // A letter a picture: I, P, or B for one in between.
    void show(const char* kinds)
    {
        for (; *kinds != 0; ++kinds)
            show(count_++, *kinds == 'I' ? PictureKind::keyframe : PictureKind::predicted, *kinds == 'B');
        take(coder_->finish());
    }

    // Numbers of the pictures in the order to decode them.
    std::vector<int> order() const
    {
        std::vector<int> numbers;
        for (const EncodedPicture& picture : out_)
            numbers.push_back(static_cast<int>(picture.time / step));
        return numbers;
    }

    void expectTimesToDecode() const
    {
        for (std::size_t index = 0; index < out_.size(); ++index) {
            EXPECT_LE(out_[index].decodeTime, out_[index].time) << index;
            if (index > 0) {
                EXPECT_GT(out_[index].decodeTime, out_[index - 1].decodeTime) << index;
            }
            if (out_[index].isKeyframe) {
                EXPECT_EQ(out_[index].decodeTime, out_[index].time) << index;
            }
        }
    }

    void take(const std::vector<EncodedPicture>& pictures)
    {
        out_.insert(out_.end(), pictures.begin(), pictures.end());
    }

    std::unique_ptr<X264PictureCoder> coder_ = X264PictureCoder::make(settings, CodingTools::thorough);
    I420Picture picture_{width, height};
    std::vector<EncodedPicture> out_;
    int count_ = 0;
};

using Numbers = std::vector<int>;

TEST_F(ThoroughCoder, PicturesInBetweenComeAfterTheOneThatFollowsThem)
{
    show("IPBBPBBP");
    EXPECT_EQ(order(), (Numbers{0, 1, 4, 2, 3, 7, 5, 6}));
    expectTimesToDecode();
}

TEST_F(ThoroughCoder, RunsOfPicturesInBetweenMayDiffer)
{
    show("IPBPPBBPBP");
    EXPECT_EQ(order(), (Numbers{0, 1, 3, 2, 4, 7, 5, 6, 9, 8}));
    expectTimesToDecode();
}

TEST_F(ThoroughCoder, PicturesInBetweenComeOutBeforeAKeyframe)
{
    show("IPBBIPBBP");
    EXPECT_EQ(order(), (Numbers{0, 1, 3, 2, 4, 5, 8, 6, 7}));
    expectTimesToDecode();
}

TEST_F(ThoroughCoder, PicturesInBetweenComeOutAtTheEnd)
{
    show("IPBB");
    EXPECT_EQ(order(), (Numbers{0, 1, 3, 2}));
    expectTimesToDecode();
}

TEST_F(ThoroughCoder, OnePictureInBetweenAtTheEndIsOneLikeTheOthers)
{
    show("IPBIB");
    EXPECT_EQ(order(), (Numbers{0, 1, 2, 3, 4}));
    expectTimesToDecode();
}

// Everything moves evenly, and nothing as its neighbours do.
TEST(X264PictureCoderTests, PicturesInBetweenCostLittleWhereSomethingComesNearer)
{
    const auto coder = X264PictureCoder::make(settings, CodingTools::thorough);
    I420Picture picture(width, height);
    std::vector<EncodedPicture> out;
    for (int number = 0; number < 8; ++number) {
        const double part = 1 - 0.03 * number;
        const GrayPicture gray(width, height, [&](int x, int y) {
            const double along = width / 2.0 + (x - width / 2.0) * part;
            const double down = height / 2.0 + (y - height / 2.0) * part;
            return 128 + 60 * std::sin(along * 0.5 + 3 * std::sin(down * 0.2)) * std::cos(down * 0.4);
        });
        picture.update(gray.pixels(), std::array{gray.bounds()});
        X264PictureCoder::Coding coding;
        coding.time = number * step;
        coding.kind = number == 0 ? PictureKind::keyframe : PictureKind::predicted;
        coding.isBetween = number % 3 != 1 && number > 0;
        coding.quantizer = 30;
        std::ranges::move(coder->encode(picture, coding), std::back_inserter(out));
    }
    std::size_t inBetween = 0;
    std::size_t others = 0;
    for (const EncodedPicture& each : out) {
        const auto number = each.time / step;
        if (number > 1)
            (number % 3 != 1 ? inBetween : others) += each.data.size();
    }
    EXPECT_LT(10 * inBetween, 3 * others);
}

// Bytes of a picture of which every second strip of eight rows moves the other way.
std::size_t bytesOfStrips(bool findsPartsThatMove)
{
    const auto coder = X264PictureCoder::make(settings, CodingTools::thorough);
    // What is said last counts.
    coder->findPartsThatMove(!findsPartsThatMove);
    coder->findPartsThatMove(findsPartsThatMove);
    I420Picture picture(width, height);
    std::vector<EncodedPicture> out;
    for (int number = 0; number < 2; ++number) {
        const GrayPicture gray(width, height,
            [&](int x, int y) { return 2 * grain(y / 8 % 2 == 0 ? x + number : x - number, y) - 100; });
        picture.update(gray.pixels(), std::array{gray.bounds()});
        X264PictureCoder::Coding coding;
        coding.time = number * step;
        coding.kind = number == 0 ? PictureKind::keyframe : PictureKind::predicted;
        coding.quantizer = 26;
        std::ranges::move(coder->encode(picture, coding), std::back_inserter(out));
    }
    std::ranges::move(coder->finish(), std::back_inserter(out));
    return out.at(1).data.size();
}

TEST(X264PictureCoderTests, PartsThatMoveByThemselvesAreFoundWhereAskedFor)
{
    EXPECT_LT(2 * bytesOfStrips(true), bytesOfStrips(false));
}

// Bytes of a keyframe of grain that is `strength` times as strong as usual.
std::size_t bytesOfGrain(CodingTools tools, double strength)
{
    const GrayPicture gray(
        width, height, [&](int x, int y) { return 100 + static_cast<int>((grain(x, y) - 100) * strength); });
    I420Picture picture(width, height);
    picture.update(gray.pixels(), std::array{gray.bounds()});
    X264PictureCoder::Coding coding;
    coding.kind = PictureKind::keyframe;
    coding.quantizer = 26;
    const auto coder = X264PictureCoder::make(settings, tools);
    std::vector<EncodedPicture> pictures = coder->encode(picture, coding);
    if (pictures.empty())
        pictures = coder->finish();
    return pictures.at(0).data.size();
}

TEST(X264PictureCoderTests, CompactToolsTakeFewerBytesThanQuickOnes)
{
    EXPECT_LT(20 * bytesOfGrain(CodingTools::compact, 1), 19 * bytesOfGrain(CodingTools::quick, 1));
}

TEST(X264PictureCoderTests, SpreadingToolsMakeFlatPartsFinerAndBusyOnesCoarser)
{
    EXPECT_GT(bytesOfGrain(CodingTools::spreading, 0.25), 2 * bytesOfGrain(CodingTools::thorough, 0.25));
    EXPECT_LT(bytesOfGrain(CodingTools::spreading, 4), bytesOfGrain(CodingTools::thorough, 4));
}

} // namespace
} // namespace glimto
