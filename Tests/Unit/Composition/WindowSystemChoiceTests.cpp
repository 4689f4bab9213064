#include "Composition/WindowSystemChoice.h"

#include <array>
#include <span>

#include <gtest/gtest.h>

#include "Composition/UnavailableWindowSystem.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeProcessEnvironment.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

TEST(WindowSystemChoiceTests, TheXServerBesideAWaylandSessionIsNeverTaken)
{
    FakeProcessEnvironment process;
    FakeLineOutput diagnostics;
    process.variables = {{"WAYLAND_DISPLAY", "wayland-0"}, {"DISPLAY", ":0"}};

    const auto system = chooseWindowSystem(process, {}, diagnostics);

    EXPECT_STRNE(system->name(), "X11");
    EXPECT_FALSE(system->access().preflightScreenCaptureAccess().allowsOpening());
}

TEST(WindowSystemChoiceTests, PeopleWhoKnowMayOverrideTheChoice)
{
    FakeProcessEnvironment process;
    FakeLineOutput diagnostics;
    process.variables
        = {{"WAYLAND_DISPLAY", "wayland-0"}, {"DISPLAY", ":0"}, {"GLIMTO_WINDOW_SYSTEM", "x11"}};

    EXPECT_STREQ(chooseWindowSystem(process, {}, diagnostics)->name(), "X11");
}

TEST(WindowSystemChoiceTests, AnUnknownWishIsRefused)
{
    FakeProcessEnvironment process;
    FakeLineOutput diagnostics;
    process.variables = {{"DISPLAY", ":0"}, {"GLIMTO_WINDOW_SYSTEM", "mir"}};

    EXPECT_EQ(chooseWindowSystem(process, {}, diagnostics)->access().preflightScreenCaptureAccess().obstacle,
        "GLIMTO_WINDOW_SYSTEM names \"mir\"; there are \"x11\", \"wayland\" and \"portal\".");
}

TEST(WindowSystemChoiceTests, AnEmptyVariableIsNoSession)
{
    FakeProcessEnvironment process;
    FakeLineOutput diagnostics;
    process.variables = {{"WAYLAND_DISPLAY", ""}, {"DISPLAY", ":0"}};

    EXPECT_STREQ(chooseWindowSystem(process, {}, diagnostics)->name(), "X11");
}

TEST(WindowSystemChoiceTests, AnOrdinaryStartIsNoService)
{
    std::string name = "glimto-capture";
    std::string argument = "sources";
    std::array<char*, 3> arguments = {name.data(), argument.data(), nullptr};

    EXPECT_EQ(
        runWindowSystemService(2, arguments.data(), [] { return std::vector<std::filesystem::path>(); }),
        std::nullopt);
}

TEST(UnavailableWindowSystemTests, EveryServiceRefusesForTheSameReason)
{
    UnavailableWindowSystem system("There is nothing here.");

    const auto access = system.access().preflightScreenCaptureAccess();
    EXPECT_FALSE(access.allowsOpening());
    EXPECT_EQ(access.obstacle, "There is nothing here.");
    EXPECT_EQ(system.access().cursorLocation(), std::nullopt);
    EXPECT_EQ(system.eventTaps().makeListenOnlyTap(1), nullptr);
    EXPECT_EQ(system.pasteboard().setPNG({}), "There is nothing here.");
    EXPECT_EQ(system.stills(), nullptr);
    EXPECT_FALSE(system.capabilities().listsWindows);
    try {
        system.content().fetch({});
        FAIL() << "nothing was thrown";
    } catch (const PlatformError& error) {
        EXPECT_STREQ(error.what(), "There is nothing here.");
    }
    EXPECT_THROW(system.capture().makeOpening({})->open(), PlatformError);
}

} // namespace
} // namespace glimto
