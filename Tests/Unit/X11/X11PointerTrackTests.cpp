#include "Backends/X11/Pointer/X11PointerTrack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace glimto {
namespace {

using testing::ElementsAre;
using Kind = X11Motion::Kind;

X11Motion by(double x, double y)
{
    return {.kind = Kind::relative, .x = x, .y = y};
}

X11Motion to(double x, double y)
{
    return {.kind = Kind::absolute, .x = x, .y = y};
}

X11Motion fromTestClient(double x, double y)
{
    return {.kind = Kind::either, .x = x, .y = y};
}

const X11Motion button;

using Motions = std::vector<X11Motion>;

// A pointer at (100, 100) of a root of 640x480.
class X11PointerTrackTests : public testing::Test {
protected:
    X11PointerTrackTests() { track.follow({}, Point{100, 100}); }

    X11PointerTrack track{640, 480};
};

TEST_F(X11PointerTrackTests, StepsLeadFromOneAnswerToTheNext)
{
    EXPECT_THAT(track.follow(Motions{by(5, 0), button, by(0, -7)}, Point{105, 93}),
        ElementsAre(Point{105, 100}, Point{105, 100}, Point{105, 93}));
}

TEST_F(X11PointerTrackTests, AButtonBeforeAMoveIsWhereThePointerWas)
{
    EXPECT_THAT(track.follow(Motions{button, by(50, 50)}, Point{150, 150}),
        ElementsAre(Point{100, 100}, Point{150, 150}));
}

TEST_F(X11PointerTrackTests, FractionsOfAPixelAddUp)
{
    EXPECT_THAT(track.follow(Motions{by(0.6, 0), by(0.6, 0)}, Point{101, 100}),
        ElementsAre(Point{100, 100}, Point{101, 100}));
    EXPECT_THAT(track.follow(Motions{by(0.7, 0), by(0.2, 0)}, Point{102, 100}),
        ElementsAre(Point{101, 100}, Point{102, 100}));
}

TEST_F(X11PointerTrackTests, TheLastEventAgreesWithTheAnswerThatIsAPixelOff)
{
    EXPECT_THAT(track.follow(Motions{by(2.5, 0), by(2.5, 0)}, Point{104, 100}),
        ElementsAre(Point{101, 100}, Point{104, 100}));
}

TEST_F(X11PointerTrackTests, AButtonAloneIsWhereTheAnswerSays)
{
    EXPECT_THAT(
        track.follow(Motions{button, button}, Point{300, 20}), ElementsAre(Point{300, 20}, Point{300, 20}));
    EXPECT_THAT(track.follow(Motions{button}, Point{301, 20}), ElementsAre(Point{301, 20}));
}

TEST_F(X11PointerTrackTests, APointerSetDownElsewhereIsFollowedBackFromTheAnswer)
{
    EXPECT_THAT(track.follow(Motions{by(5, 0), button, by(0, 5)}, Point{305, 205}),
        ElementsAre(Point{305, 200}, Point{305, 200}, Point{305, 205}));
}

TEST_F(X11PointerTrackTests, StepsStopAtTheEdgesOfTheRoot)
{
    EXPECT_THAT(track.follow(Motions{by(-500, 0), by(30, 500), by(0, -9)}, Point{30, 470}),
        ElementsAre(Point{0, 100}, Point{30, 479}, Point{30, 470}));
}

TEST_F(X11PointerTrackTests, AnAbsoluteDeviceSaysWhereItIs)
{
    EXPECT_THAT(track.follow(Motions{to(10.4, 20.2), button, to(30, 40)}, Point{30, 40}),
        ElementsAre(Point{10, 20}, Point{10, 20}, Point{30, 40}));
}

TEST_F(X11PointerTrackTests, AnAbsoluteDeviceMayLeaveOutTheAxisThatRests)
{
    EXPECT_THAT(track.follow(Motions{{.kind = Kind::absolute, .x = 7, .y = {}}}, Point{7, 100}),
        ElementsAre(Point{7, 100}));
}

TEST_F(X11PointerTrackTests, ATestClientsStepsAreStepsWhenTheyLeadToTheAnswer)
{
    EXPECT_THAT(track.follow(Motions{fromTestClient(20, 30), fromTestClient(1, 1)}, Point{121, 131}),
        ElementsAre(Point{120, 130}, Point{121, 131}));
}

TEST_F(X11PointerTrackTests, ATestClientsPlacesAreFoundOutByTheAnswer)
{
    EXPECT_THAT(track.follow(Motions{fromTestClient(20, 30), button, fromTestClient(60, 70)}, Point{60, 70}),
        ElementsAre(Point{20, 30}, Point{20, 30}, Point{60, 70}));
}

TEST_F(X11PointerTrackTests, ATestClientMayStepFromAPlace)
{
    EXPECT_THAT(track.follow(Motions{fromTestClient(300, 200), fromTestClient(-3, 0)}, Point{297, 200}),
        ElementsAre(Point{300, 200}, Point{297, 200}));
}

TEST_F(X11PointerTrackTests, WithoutAnAnswerTheStepsDecide)
{
    EXPECT_THAT(track.follow(Motions{by(5, 5), button}, {}), ElementsAre(Point{105, 105}, Point{105, 105}));
    EXPECT_THAT(track.follow(Motions{by(1, 0)}, {}), ElementsAre(Point{106, 105}));
}

TEST_F(X11PointerTrackTests, ALargerScreenHasRoomForMore)
{
    track.setScreenSize(1000, 1000);
    EXPECT_THAT(track.follow(Motions{by(700, 800)}, Point{800, 900}), ElementsAre(Point{800, 900}));
}

TEST(X11PointerTrackFirstAnswerTests, TheFirstAnswerIsFollowedBack)
{
    X11PointerTrack track(640, 480);
    EXPECT_THAT(track.follow(Motions{by(5, 0), by(5, 0)}, Point{110, 50}),
        ElementsAre(Point{105, 50}, Point{110, 50}));
}

} // namespace
} // namespace glimto
