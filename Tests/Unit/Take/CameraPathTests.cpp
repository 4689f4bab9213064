#include <algorithm>
#include <cmath>
#include <fstream>
#include <random>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "GlimtoTake/Plan/CameraPath.h"

namespace glimto {
namespace {

RecordedEvent click(double milliseconds, double x, double y)
{
    return {.t = milliseconds, .x = x, .y = y, .k = InputEventKind::down, .button = 0};
}

void expectWithinThePicture(const CameraView& view)
{
    EXPECT_GE(view.left, -1e-12);
    EXPECT_GE(view.top, -1e-12);
    EXPECT_LE(view.left + view.size, 1 + 1e-12);
    EXPECT_LE(view.top + view.size, 1 + 1e-12);
}

TEST(ZoomPlanTests, ClickIsSeenFromCloseByAndAPauseAsAWhole)
{
    const auto zooms = planZooms({click(5000, 0.25, 0.5)}, 20);
    ASSERT_EQ(zooms.size(), 1U);
    EXPECT_LT(zooms[0].from, 4);
    EXPECT_GT(zooms[0].to, 7);
    EXPECT_EQ(zooms[0], (Zoom{zooms[0].from, zooms[0].to, 0.25, 0.5, 2}));
    const CameraPath path(zooms);
    for (double time = 4.7; time < 6.3; time += 0.1)
        EXPECT_EQ(path.at(time), viewOf(zooms[0])) << time;
    EXPECT_EQ(path.at(2), CameraView());
    EXPECT_EQ(path.at(9), CameraView());
}

TEST(ZoomPlanTests, MovesAloneMoveNothing)
{
    EXPECT_TRUE(planZooms({{.t = 5000, .x = 0.2, .y = 0.2, .k = InputEventKind::move}}, 20).empty());
}

TEST(ZoomPlanTests, ClicksNearEachOtherShareAZoomThatTheyFitIn)
{
    const auto zooms = planZooms({click(5000, 0.2, 0.5), click(6000, 0.6, 0.5)}, 20);
    ASSERT_EQ(zooms.size(), 1U);
    EXPECT_NEAR(zooms[0].scale, 1.5, 1e-9);
    EXPECT_NEAR(zooms[0].x, 0.4, 1e-9);
}

TEST(ZoomPlanTests, ClicksFarFromEachOtherHaveZoomsOfTheirOwnThatDoNotOverlap)
{
    const auto zooms = planZooms({click(5000, 0.05, 0.05), click(9000, 0.95, 0.95)}, 20);
    ASSERT_EQ(zooms.size(), 2U);
    EXPECT_LE(zooms[0].to, zooms[1].from);
    EXPECT_LT(zooms[1].from, 9);
}

TEST(ZoomPlanTests, PlanIsReadAsItWasWritten)
{
    const auto zooms = planZooms({click(5000, 0.05, 0.05), click(12000, 0.95, 0.95)}, 20);
    EXPECT_EQ(readZoomPlan(encodeZoomPlan(zooms)), zooms);
}

TEST(ZoomPlanTests, PlanThatCannotBeFollowedIsRefused)
{
    const auto plan = [](const std::string& zooms) { return R"({"version":1,"zooms":[)" + zooms + "]}"; };
    EXPECT_NO_THROW(readZoomPlan(plan(R"({"from":0,"to":1,"x":0,"y":1,"scale":8})")));
    for (const char* zoom : {R"({"from":1,"to":1,"x":0,"y":1,"scale":2})",
             R"({"from":-1,"to":1,"x":0,"y":1,"scale":2})", R"({"from":0,"to":1,"x":1.1,"y":1,"scale":2})",
             R"({"from":0,"to":1,"x":0,"y":1,"scale":0.5})", R"({"from":0,"to":1,"x":0,"y":1,"scale":9})",
             R"({"from":0,"to":1e300,"x":0,"y":1,"scale":2})", R"({"from":0,"to":1,"x":0,"y":1})",
             R"({"from":0,"to":2,"x":0,"y":1,"scale":2},{"from":1,"to":3,"x":0,"y":1,"scale":2})"})
        EXPECT_ANY_THROW(readZoomPlan(plan(zoom))) << zoom;
    EXPECT_ANY_THROW(readZoomPlan(R"({"version":2,"zooms":[]})"));
}

TEST(CameraPathTests, NeverSeesPastTheEdge)
{
    const CameraPath path(
        planZooms({click(3000, 0, 0), click(6000, 1, 1), click(7000, 0, 1), click(15000, 1, 0)}, 20));
    for (double time = 0; time < 20; time += 0.01)
        expectWithinThePicture(path.at(time));
}

TEST(CameraPathTests, ShowsTheWholePictureBeforeAndAfter)
{
    const CameraPath path({{4, 9, 0.2, 0.2, 2}});
    for (const double time : {0.0, 3.9, 4.0, 9.0, 12.0})
        EXPECT_EQ(path.at(time), CameraView()) << time;
    EXPECT_EQ(path.at(6.5), (CameraView{0, 0, 0.5}));
}

// Screens that a corner of the picture moves.
double distanceMoved(const CameraView& a, const CameraView& b)
{
    return std::hypot(std::max(std::abs(a.left - b.left), std::abs(a.left + a.size - b.left - b.size)),
               std::max(std::abs(a.top - b.top), std::abs(a.top + a.size - b.top - b.size)))
        / std::min(a.size, b.size);
}

bool sees(const CameraView& view, const RecordedEvent& event)
{
    constexpr double rounding = 1e-9;
    return event.x >= view.left - rounding && event.x <= view.left + view.size + rounding
        && event.y >= view.top - rounding && event.y <= view.top + view.size + rounding;
}

// Takes of every pace, from a click a minute to ten a second.
TEST(CameraPathTests, MovesNoFasterThanTheEyeFollowsWithoutJumpsAndSeesEveryClick)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> place(0, 1);
    for (int take = 0; take < 60; ++take) {
        std::exponential_distribution<double> pause(std::pow(10, place(random) * 3 - 2));
        std::deque<RecordedEvent> events;
        for (double time = pause(random); time < 60 && events.size() < 200; time += pause(random))
            events.push_back(click(time * 1000, place(random), place(random)));
        const auto zooms = planZooms(events, 60);
        EXPECT_EQ(readZoomPlan(encodeZoomPlan(zooms)).size(), zooms.size());
        const CameraPath path(zooms);
        constexpr double step = 0.01;
        for (double time = 0; time < 70; time += step) {
            expectWithinThePicture(path.at(time));
            ASSERT_LE(distanceMoved(path.at(time), path.at(time + step)), 1.5 * step * 1.02)
                << take << " " << time;
        }
        for (const RecordedEvent& event : events)
            EXPECT_TRUE(sees(path.at(event.t / 1000), event)) << take << " " << event.t;
    }
}

TEST(ZoomPlanTests, ClicksTooFarApartToFollowAreSeenAsAWhole)
{
    const CameraPath path(
        planZooms({click(5000, 0.05, 0.05), click(5500, 0.95, 0.95), click(6000, 0.05, 0.05)}, 20));
    for (double time = 0; time < 20; time += 0.1)
        EXPECT_EQ(path.at(time), CameraView()) << time;
}

TEST(CameraPathTests, GoesFromOnePlaceToTheNextAtOnceWhenTheyFollowClosely)
{
    const CameraPath path({{2, 6, 0.2, 0.2, 2}, {6, 10, 0.8, 0.8, 2}});
    double widest = 0;
    for (double time = 4; time < 8; time += 0.01)
        widest = std::max(widest, path.at(time).size);
    EXPECT_NEAR(widest, 0.5, 1e-9);
}

// The same views are asked of the development server's page, whose camera has to move alike.
TEST(CameraPathTests, SeesWhatThePageOfTheDevelopmentServerSees)
{
    std::ifstream file(GLIMTO_CAMERA_PATH_VIEWS);
    const auto known = nlohmann::json::parse(file);
    const CameraPath path(readZoomPlan(nlohmann::json{{"version", 1}, {"zooms", known["zooms"]}}.dump()));
    ASSERT_GT(known["views"].size(), 50U);
    for (const auto& view : known["views"]) {
        const CameraView seen = path.at(view[0]);
        EXPECT_NEAR(seen.left, view[1], 1e-8) << view;
        EXPECT_NEAR(seen.top, view[2], 1e-8) << view;
        EXPECT_NEAR(seen.size, view[3], 1e-8) << view;
    }
}

} // namespace
} // namespace glimto
