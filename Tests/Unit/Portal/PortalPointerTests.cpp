#include "Backends/Portal/PortalPointer.h"

#include <chrono>
#include <vector>

#include <gtest/gtest.h>

namespace glimto {
namespace {

constexpr std::uint64_t moves = std::uint64_t{1} << static_cast<unsigned>(InputEventType::mouseMoved);

HostTime at(std::int64_t nanoseconds)
{
    return HostTime(std::chrono::nanoseconds(nanoseconds));
}

class PortalPointerTests : public testing::Test {
protected:
    // What the tap delivers until it is stopped, which it has been before it runs.
    std::vector<InputEvent> heard(EventTap& tap)
    {
        std::vector<InputEvent> events;
        tap.stop();
        tap.run(std::chrono::hours(1),
            {.onEvent = [&](const InputEvent& event) { events.push_back(event); }, .onTimer = [] {}});
        return events;
    }

    std::shared_ptr<PortalPointer> pointer = std::make_shared<PortalPointer>();
    PortalEventTapFactory factory{pointer};
};

TEST_F(PortalPointerTests, WithoutWordOfThePointerThereIsNoTap)
{
    EXPECT_EQ(factory.makeListenOnlyTap(moves), nullptr);
    pointer->setIsTold(true);
    EXPECT_EQ(factory.makeListenOnlyTap(0), nullptr);
    EXPECT_NE(factory.makeListenOnlyTap(moves), nullptr);
}

TEST_F(PortalPointerTests, MovesAreHeardInTheirOrder)
{
    pointer->setIsTold(true);
    const auto tap = factory.makeListenOnlyTap(moves);
    pointer->moved({1, 2}, at(100));
    pointer->moved({3, 4}, at(200));

    const auto events = heard(*tap);

    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].globalLocation, (Point{1, 2}));
    EXPECT_EQ(events[1].globalLocation, (Point{3, 4}));
    EXPECT_LE(events[0].time, events[1].time);
}

TEST_F(PortalPointerTests, APlaceAsBeforeIsNoMove)
{
    pointer->setIsTold(true);
    const auto tap = factory.makeListenOnlyTap(moves);
    pointer->moved({1, 2}, at(100));
    pointer->moved({1, 2}, at(200));

    EXPECT_EQ(heard(*tap).size(), 1U);
}

TEST_F(PortalPointerTests, ATapBeginsWithWhereThePointerIs)
{
    pointer->setIsTold(true);
    pointer->moved({1, 2}, at(100));
    pointer->moved({3, 4}, at(200));
    const auto tap = factory.makeListenOnlyTap(moves);

    const auto events = heard(*tap);

    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].globalLocation, (Point{3, 4}));
}

TEST_F(PortalPointerTests, TimesNeverRunBackwards)
{
    const HostTime later = at(std::int64_t{1} << 62U);
    pointer->setIsTold(true);
    const auto tap = factory.makeListenOnlyTap(moves);
    pointer->moved({1, 2}, later);
    pointer->moved({3, 4}, at(100));

    const auto events = heard(*tap);

    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].time, later);
    EXPECT_EQ(events[1].time, later);
}

TEST_F(PortalPointerTests, ATapThatTakesNothingCostsABoundedMemory)
{
    pointer->setIsTold(true);
    const auto tap = factory.makeListenOnlyTap(moves);
    for (int x = 0; x < 20'000; ++x)
        pointer->moved({static_cast<double>(x), 0}, at(x));

    const auto events = heard(*tap);

    EXPECT_EQ(events.size(), 10'000U);
    EXPECT_EQ(events.back().globalLocation, (Point{19'999, 0}));
}

} // namespace
} // namespace glimto
