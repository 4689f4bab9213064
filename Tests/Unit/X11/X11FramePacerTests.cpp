#include "Backends/X11/Pictures/X11FramePacer.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using Action = X11FramePacer::Action;
using Delivery = X11FramePacer::Delivery;
using PointerPolling = X11FramePacer::PointerPolling;

constexpr std::int64_t millisecond = 1'000'000;

// A pacer of 10 frames a second whose first picture was taken and delivered at 0.
X11FramePacer begun(PointerPolling polling)
{
    X11FramePacer pacer({1, 10}, polling);
    pacer.didTick(0);
    pacer.didDeliver(0, Delivery::newPicture);
    return pacer;
}

TEST(X11FramePacerTests, TheFirstPictureIsTakenAtOnce)
{
    X11FramePacer pacer({1, 10}, PointerPolling::off);
    EXPECT_EQ(pacer.next(123, false).action, Action::grab);
}

TEST(X11FramePacerTests, NothingIsDoneForHalfASecondWhenNothingChanges)
{
    auto pacer = begun(PointerPolling::off);
    const auto step = pacer.next(1 * millisecond, false);
    EXPECT_EQ(step.action, Action::wait);
    EXPECT_EQ(step.until, 500 * millisecond);
    EXPECT_EQ(pacer.next(500 * millisecond, false).action, Action::repeat);
}

TEST(X11FramePacerTests, ARepetitionStartsAnotherHalfSecond)
{
    auto pacer = begun(PointerPolling::off);
    pacer.didDeliver(501 * millisecond, Delivery::repetition);
    EXPECT_EQ(pacer.next(502 * millisecond, false).until, 1000 * millisecond);
}

TEST(X11FramePacerTests, SlowStreamsAreRepeatedNoFasterThanTheirInterval)
{
    X11FramePacer pacer({2, 1}, PointerPolling::off);
    pacer.didTick(0);
    pacer.didDeliver(0, Delivery::newPicture);
    EXPECT_EQ(pacer.next(1 * millisecond, false).until, 2000 * millisecond);
}

TEST(X11FramePacerTests, AChangeWaitsForTheNextPointOfTheGrid)
{
    auto pacer = begun(PointerPolling::off);
    const auto step = pacer.next(130 * millisecond, true);
    EXPECT_EQ(step.action, Action::wait);
    EXPECT_EQ(step.until, 200 * millisecond);
    EXPECT_EQ(pacer.next(200 * millisecond + 70, true).action, Action::grab);
}

TEST(X11FramePacerTests, OnePointGivesOnePictureAtMost)
{
    auto pacer = begun(PointerPolling::off);
    pacer.didTick(100 * millisecond);
    EXPECT_EQ(pacer.next(100 * millisecond, true).until, 200 * millisecond);
}

TEST(X11FramePacerTests, PointsMissedAreSkipped)
{
    auto pacer = begun(PointerPolling::off);
    EXPECT_EQ(pacer.next(50 * millisecond, true).until, 100 * millisecond);
    EXPECT_EQ(pacer.next(455 * millisecond, true).action, Action::grab);
    pacer.didTick(455 * millisecond);
    pacer.didDeliver(455 * millisecond, Delivery::newPicture);
    EXPECT_EQ(pacer.next(456 * millisecond, true).until, 500 * millisecond);
}

TEST(X11FramePacerTests, AChangeThatCouldNotBeTakenIsTriedAtTheNextPoint)
{
    auto pacer = begun(PointerPolling::off);
    pacer.didTick(100 * millisecond);
    EXPECT_EQ(pacer.next(101 * millisecond, true).until, 200 * millisecond);
    EXPECT_EQ(pacer.next(200 * millisecond, true).action, Action::grab);
}

TEST(X11FramePacerTests, ThePointerIsPolledAtEveryPoint)
{
    auto pacer = begun(PointerPolling::on);
    EXPECT_EQ(pacer.next(1 * millisecond, false).until, 100 * millisecond);
    EXPECT_EQ(pacer.next(100 * millisecond, false).action, Action::pollPointer);
    pacer.didTick(100 * millisecond);
    EXPECT_EQ(pacer.next(101 * millisecond, false).until, 200 * millisecond);
}

TEST(X11FramePacerTests, ThePointerIsPolledAtMostSixtyTimesASecond)
{
    X11FramePacer pacer({1, 240}, PointerPolling::on);
    pacer.didTick(0);
    pacer.didDeliver(0, Delivery::newPicture);
    EXPECT_EQ(pacer.next(1, false).until, 16'666'666);
}

TEST(X11FramePacerTests, ThePointerIsPolledLessOftenWhenNothingHasChangedForASecond)
{
    X11FramePacer pacer({1, 30}, PointerPolling::on);
    pacer.didTick(0);
    pacer.didDeliver(0, Delivery::newPicture);
    pacer.didTick(2'000 * millisecond);
    pacer.didDeliver(2'000 * millisecond, Delivery::repetition);
    EXPECT_EQ(pacer.next(2'000 * millisecond + 1, false).until, 2'066'666'666);
}

} // namespace
} // namespace glimto
