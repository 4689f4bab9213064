#include "Backends/X11/Pictures/X11FramePacer.h"

#include <gtest/gtest.h>

namespace glimto {
namespace {

using Action = X11FramePacer::Action;
using Delivery = X11FramePacer::Delivery;
using PointerPolling = X11FramePacer::PointerPolling;

using namespace std::chrono_literals;

HostTime at(std::chrono::nanoseconds time)
{
    return HostTime(time);
}

// A pacer of 10 frames a second whose first picture was taken and delivered at 0.
X11FramePacer begun(PointerPolling polling)
{
    X11FramePacer pacer({1, 10}, polling);
    pacer.didTick(at(0s));
    pacer.didDeliver(at(0s), Delivery::newPicture);
    return pacer;
}

TEST(X11FramePacerTests, TheFirstPictureIsTakenAtOnce)
{
    X11FramePacer pacer({1, 10}, PointerPolling::off);
    EXPECT_EQ(pacer.next(at(123ns), false).action, Action::grab);
}

TEST(X11FramePacerTests, NothingIsDoneForAQuarterOfASecondWhenNothingChanges)
{
    auto pacer = begun(PointerPolling::off);
    const auto step = pacer.next(at(1ms), false);
    EXPECT_EQ(step.action, Action::wait);
    EXPECT_EQ(step.until, at(200ms)); // the last point of the grid within that time
    EXPECT_EQ(pacer.next(at(200ms), false).action, Action::repeat);
}

TEST(X11FramePacerTests, ARepetitionIsFollowedByHalfASecond)
{
    auto pacer = begun(PointerPolling::off);
    pacer.didDeliver(at(501ms), Delivery::repetition);
    EXPECT_EQ(pacer.next(at(502ms), false).until, at(1000ms));
}

TEST(X11FramePacerTests, SlowStreamsAreRepeatedNoFasterThanTheirInterval)
{
    X11FramePacer pacer({2, 1}, PointerPolling::off);
    pacer.didTick(at(0s));
    pacer.didDeliver(at(0s), Delivery::newPicture);
    EXPECT_EQ(pacer.next(at(1ms), false).until, at(2000ms));
}

TEST(X11FramePacerTests, AChangeWaitsForTheNextPointOfTheGrid)
{
    auto pacer = begun(PointerPolling::off);
    const auto step = pacer.next(at(130ms), true);
    EXPECT_EQ(step.action, Action::wait);
    EXPECT_EQ(step.until, at(200ms));
    EXPECT_EQ(pacer.next(at(200ms + 70ns), true).action, Action::grab);
}

TEST(X11FramePacerTests, OnePointGivesOnePictureAtMost)
{
    auto pacer = begun(PointerPolling::off);
    pacer.didTick(at(100ms));
    EXPECT_EQ(pacer.next(at(100ms), true).until, at(200ms));
}

TEST(X11FramePacerTests, PointsMissedAreSkipped)
{
    auto pacer = begun(PointerPolling::off);
    EXPECT_EQ(pacer.next(at(50ms), true).until, at(100ms));
    EXPECT_EQ(pacer.next(at(455ms), true).action, Action::grab);
    pacer.didTick(at(455ms));
    pacer.didDeliver(at(455ms), Delivery::newPicture);
    EXPECT_EQ(pacer.next(at(456ms), true).until, at(500ms));
}

TEST(X11FramePacerTests, AChangeThatCouldNotBeTakenIsTriedAtTheNextPoint)
{
    auto pacer = begun(PointerPolling::off);
    pacer.didTick(at(100ms));
    EXPECT_EQ(pacer.next(at(101ms), true).until, at(200ms));
    EXPECT_EQ(pacer.next(at(200ms), true).action, Action::grab);
}

TEST(X11FramePacerTests, ThePointerIsPolledAtEveryPoint)
{
    auto pacer = begun(PointerPolling::on);
    EXPECT_EQ(pacer.next(at(1ms), false).until, at(100ms));
    EXPECT_EQ(pacer.next(at(100ms), false).action, Action::pollPointer);
    pacer.didTick(at(100ms));
    EXPECT_EQ(pacer.next(at(101ms), false).until, at(200ms));
}

TEST(X11FramePacerTests, ThePointerIsPolledAtMostSixtyTimesASecond)
{
    X11FramePacer pacer({1, 240}, PointerPolling::on);
    pacer.didTick(at(0s));
    pacer.didDeliver(at(0s), Delivery::newPicture);
    EXPECT_EQ(pacer.next(at(1ns), false).until, at(16'666'666ns));
}

TEST(X11FramePacerTests, ThePointerIsPolledLessOftenWhenNothingHasChangedForASecond)
{
    X11FramePacer pacer({1, 30}, PointerPolling::on);
    pacer.didTick(at(0s));
    pacer.didDeliver(at(0s), Delivery::newPicture);
    pacer.didTick(at(2s));
    pacer.didDeliver(at(2s), Delivery::repetition);
    EXPECT_EQ(pacer.next(at(2s + 1ns), false).until, at(2'066'666'666ns));
}

} // namespace
} // namespace glimto
