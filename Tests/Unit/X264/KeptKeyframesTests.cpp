#include "Backends/X264/KeptKeyframes.h"

#include <cstddef>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

std::vector<std::byte> bytes(unsigned value)
{
    return {static_cast<std::byte>(value)};
}

TEST(KeptKeyframesTests, TwoAlikeAreGivenByTurns)
{
    KeptKeyframes kept;
    kept.keep({.id = 1, .quantizer = 20, .data = bytes(1)});
    EXPECT_EQ(kept.next(), nullptr);
    kept.keep({.id = 0, .quantizer = 20, .data = bytes(2), .standsStill = true});
    for (const unsigned expected : {1U, 2U, 1U}) {
        ASSERT_NE(kept.next(), nullptr);
        EXPECT_EQ(*kept.next(), bytes(expected));
        kept.given();
        EXPECT_EQ(kept.lastID(), expected == 1U ? 1 : 0);
    }
}

TEST(KeptKeyframesTests, OfAnotherQuantizerOrPictureOrCoderTheyAreNotAlike)
{
    KeptKeyframes kept;
    kept.keep({.id = 0, .quantizer = 20, .data = bytes(1)});
    kept.keep({.id = 1, .quantizer = 19, .data = bytes(2), .standsStill = true});
    EXPECT_EQ(kept.next(), nullptr);
    kept.keep({.id = 0, .quantizer = 19, .data = bytes(3)});
    EXPECT_EQ(kept.next(), nullptr);
    kept.forget();
    EXPECT_EQ(kept.lastID(), 0);
    kept.keep({.id = 1, .quantizer = 19, .data = bytes(4), .standsStill = true});
    EXPECT_EQ(kept.next(), nullptr);
}

TEST(KeptKeyframesTests, NothingIsGivenAgainAfterAPredictedPicture)
{
    KeptKeyframes kept;
    kept.keep({.id = 0, .quantizer = 20, .data = bytes(1)});
    kept.keep({.id = 1, .quantizer = 20, .data = bytes(2), .standsStill = true});
    kept.followedByPredicted();
    EXPECT_EQ(kept.next(), nullptr);
    EXPECT_EQ(kept.lastID(), std::nullopt);
}

} // namespace
} // namespace glimto
