#include "Composition/SessionWindowSystem.h"

#include <gtest/gtest.h>

#include "Composition/UnavailableWindowSystem.h"
#include "Fakes/FakeCaptureStream.h"
#include "Fakes/FakeEventTap.h"
#include "Fakes/FakePasteboard.h"
#include "Fakes/FakeScreenAccess.h"
#include "Fakes/FakeShareableContentProvider.h"
#include "Fakes/FakeStillCapture.h"
#include "Fakes/FakeWindowSystem.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

class SessionWindowSystemTests : public testing::Test {
protected:
    SessionWindowSystem::Way way(const std::string& name, WindowSystem& system)
    {
        return {name, [this, name, &system]() -> WindowSystem& {
                    opened += name + " ";
                    return system;
                }};
    }

    SessionWindowSystem session(std::vector<SessionWindowSystem::Way> ways)
    {
        return {std::move(ways), nullptr, [this](const std::string& sentence) { told += sentence + "\n"; }};
    }

    FakeScreenAccess access;
    FakeShareableContentProvider content;
    FakeScreenCapture capture;
    FakeEventTapFactory eventTaps;
    FakePasteboard pasteboard;
    FakeStillCapture stills;
    FakeWindowSystem open{access, content, capture, eventTaps, pasteboard, stills};
    UnavailableWindowSystem closed{"Closed."};
    std::string opened;
    std::string told;
};

TEST_F(SessionWindowSystemTests, TheFirstWayThatIsOpenIsTaken)
{
    auto system = session({way("first", closed), way("second", open), way("third", open)});

    EXPECT_EQ(&system.content(), &content);
    EXPECT_EQ(opened, "first second ");
    EXPECT_EQ(told, "first is no way to the screen: Closed.\nsecond is the way to the screen: fake.\n");
}

TEST_F(SessionWindowSystemTests, NoWayIsTriedBeforeItIsNeededNorTwice)
{
    auto system = session({way("first", open)});
    EXPECT_EQ(opened, "");

    system.access();
    system.capture();

    EXPECT_EQ(opened, "first ");
}

TEST_F(SessionWindowSystemTests, AWayOfAMissingModuleIsPassedOver)
{
    auto system
        = session({{"first", []() -> WindowSystem& { throw PlatformError("test", 1, "It is missing."); }},
            way("second", open)});

    EXPECT_STREQ(system.name(), "fake");
}

TEST_F(SessionWindowSystemTests, WithoutAnyWayAllReasonsAreTold)
{
    auto system = session({way("first", closed), way("second", closed)});

    EXPECT_EQ(system.access().preflightScreenCaptureAccess().obstacle, "Closed. Closed.");
}

TEST_F(SessionWindowSystemTests, AWayThatAsksTheUserIsOpen)
{
    access.verdict = ScreenCaptureAccess::Verdict::onlyAskingTells;
    auto system = session({way("first", open)});

    EXPECT_STREQ(system.name(), "fake");
}

} // namespace
} // namespace glimto
