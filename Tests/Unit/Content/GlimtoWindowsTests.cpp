#include "Content/CaptureSourceResolver.h"

#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ContentBuilders.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeProcessEnvironment.h"
#include "Fakes/FakeScreenAccess.h"

namespace glimto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Which of the product's own applications and windows a capture hides and keeps.
class GlimtoWindowsTests : public testing::Test {
protected:
    GlimtoWindowsTests() { content.displays = twoDisplays(); }

    // The IDs of the own windows that may be seen.
    std::vector<std::uint32_t> seen(
        const std::optional<std::vector<std::uint32_t>>& allowedIDs = std::nullopt) const
    {
        return windowIDs(resolver.screenshotWindows(content, allowedIDs));
    }

    FakeProcessEnvironment process;
    FakeScreenAccess screen;
    FakeLineOutput standardError;
    CaptureSourceResolver resolver{process, screen, standardError};
    ShareableContent content;
};

TEST_F(GlimtoWindowsTests, ThisProcessIsOwnWhateverItIsCalled)
{
    EXPECT_TRUE(resolver.isGlimtoApplication({4711, "", "something"}));
}

TEST_F(GlimtoWindowsTests, ApplicationWithOurBundleIdentifierIsOwn)
{
    EXPECT_TRUE(resolver.isGlimtoApplication({1, "com.glimto.capture", "x"}));
    EXPECT_FALSE(resolver.isGlimtoApplication({1, "com.glimto.Capture", "x"}));
    EXPECT_FALSE(resolver.isGlimtoApplication({1, "com.glimto.capture.more", "x"}));
}

TEST_F(GlimtoWindowsTests, EmptyBundleIdentifiersDoNotMatchEachOther)
{
    process.bundleID = "";
    EXPECT_FALSE(resolver.isGlimtoApplication({1, "", "x"}));
}

TEST_F(GlimtoWindowsTests, DesktopApplicationIsOwnByItsBundleIdentifier)
{
    EXPECT_TRUE(resolver.isGlimtoApplication({1, "com.glimto.desktop", "x"}));
    EXPECT_FALSE(resolver.isGlimtoApplication({1, "COM.GLIMTO.DESKTOP", "x"}));
}

TEST_F(GlimtoWindowsTests, DesktopApplicationIsOwnByItsNameInAnyCase)
{
    EXPECT_TRUE(resolver.isGlimtoApplication({1, "", "Glimto"}));
    EXPECT_TRUE(resolver.isGlimtoApplication({1, "", "gLIMTO dESKTOP"}));
    EXPECT_FALSE(resolver.isGlimtoApplication({1, "", "Glimto Desktop 2"}));
    EXPECT_FALSE(resolver.isGlimtoApplication({1, "", "Glimt"}));
    EXPECT_FALSE(resolver.isGlimtoApplication({1, "", ""}));
}

TEST_F(GlimtoWindowsTests, OwnersOfWindowsAreExcludedBeforeOtherApplications)
{
    content.applications = {ownApplication, editor, desktopApplication};
    content.windows = {windowOf(1, editor), windowOf(2, desktopApplication)};
    EXPECT_THAT(
        resolver.glimtoApplicationExclusions(content), ElementsAre(desktopApplication, ownApplication));
}

TEST_F(GlimtoWindowsTests, OwnerMissingFromTheApplicationsIsExcludedAsWell)
{
    content.windows = {windowOf(2, desktopApplication)};
    EXPECT_THAT(resolver.glimtoApplicationExclusions(content), ElementsAre(desktopApplication));
}

TEST_F(GlimtoWindowsTests, EveryProcessIsExcludedOnceAsFirstSeen)
{
    const Application helper = {100, "com.glimto.desktop", "Glimto Desktop"};
    content.windows = {windowOf(1, desktopApplication), windowOf(2, helper), windowOf(3, desktopApplication)};
    content.applications = {helper};
    EXPECT_THAT(resolver.glimtoApplicationExclusions(content), ElementsAre(desktopApplication));
}

TEST_F(GlimtoWindowsTests, ApplicationsOfUnknownProcessesAreToldApart)
{
    const Application one = {0, "com.glimto.desktop", "Glimto"};
    const Application other = {0, "", "Glimto Desktop"};
    content.windows = {windowOf(1, one), windowOf(2, other), windowOf(3, one)};
    EXPECT_THAT(resolver.glimtoApplicationExclusions(content), ElementsAre(one, other));
}

TEST_F(GlimtoWindowsTests, WindowsWithoutOwnerExcludeNothing)
{
    content.windows = {windowOf(1, editor)};
    content.windows[0].owningApplication.reset();
    EXPECT_THAT(resolver.glimtoApplicationExclusions(content), IsEmpty());
}

TEST_F(GlimtoWindowsTests, OwnWindowsAreSeenInTheOrderOfTheContent)
{
    content.windows = {windowOf(3, desktopApplication), windowOf(2, editor), windowOf(1, ownApplication)};
    EXPECT_THAT(seen(), ElementsAre(3U, 1U));
}

TEST_F(GlimtoWindowsTests, OnlyAllowedWindowsAreSeen)
{
    content.windows = {windowOf(1, desktopApplication), windowOf(2, desktopApplication), windowOf(3, editor)};
    EXPECT_THAT(seen({{2, 3, 9}}), ElementsAre(2U));
}

TEST_F(GlimtoWindowsTests, EmptyListAllowsNone)
{
    content.windows = {windowOf(1, desktopApplication)};
    EXPECT_THAT(seen(std::vector<std::uint32_t>{}), IsEmpty());
}

TEST_F(GlimtoWindowsTests, WindowsWithoutOwnerAreNotSeen)
{
    content.windows = {windowOf(1, desktopApplication)};
    content.windows[0].owningApplication.reset();
    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(GlimtoWindowsTests, WindowsOfOtherLayersAreNotSeen)
{
    content.windows = {windowOf(1, desktopApplication), windowOf(2, desktopApplication)};
    content.windows[0].windowLayer = 3;
    content.windows[1].windowLayer = -1;
    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(GlimtoWindowsTests, HiddenWindowsAreNotSeen)
{
    content.windows = {windowOf(1, desktopApplication)};
    content.windows[0].isOnScreen = false;
    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(GlimtoWindowsTests, WindowsWithoutAFiniteFrameAreNotSeen)
{
    content.windows = {windowOf(1, desktopApplication, {std::nan(""), 0, 100, 100}),
        windowOf(2, desktopApplication, {0, 0, INFINITY, 100})};
    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(GlimtoWindowsTests, WindowsOfNoSizeAreNotSeen)
{
    content.windows = {windowOf(1, desktopApplication, {0, 0, 0.001, 100}),
        windowOf(2, desktopApplication, {0, 0, 100, 0.001}),
        windowOf(3, desktopApplication, {0, 0, 0.002, 0.002})};
    EXPECT_THAT(seen(), ElementsAre(3U));
}

TEST_F(GlimtoWindowsTests, WindowsBesideAllDisplaysAreNotSeen)
{
    content.windows = {windowOf(1, desktopApplication, {-200, 0, 100, 100}),
        windowOf(2, desktopApplication, {3150, 900, 100, 300})};
    EXPECT_THAT(seen(), ElementsAre(2U));
}

TEST_F(GlimtoWindowsTests, WithoutForegroundProcessNoWindowIsKept)
{
    content.windows = {windowOf(1, desktopApplication)};
    EXPECT_THAT(resolver.screenshotWindowIDs(content, std::nullopt), IsEmpty());
}

TEST_F(GlimtoWindowsTests, ForegroundProcessKeepsItsOwnWindows)
{
    content.windows
        = {windowOf(5, desktopApplication), windowOf(4, ownApplication), windowOf(3, desktopApplication)};
    EXPECT_THAT(resolver.screenshotWindowIDs(content, 100), ElementsAre(5U, 3U));
}

TEST_F(GlimtoWindowsTests, ForegroundProcessOfAnotherProductKeepsNone)
{
    content.windows = {windowOf(5, desktopApplication), windowOf(4, editor)};
    EXPECT_THAT(resolver.screenshotWindowIDs(content, 200), IsEmpty());
}

TEST_F(GlimtoWindowsTests, NothingIsBurntInWhenNothingIsAsked)
{
    content.windows = {windowOf(1, desktopApplication)};
    EXPECT_THAT(resolver.burnInWindows(std::nullopt, content), IsEmpty());
    EXPECT_EQ(standardError.text(), "");
}

TEST_F(GlimtoWindowsTests, AnyWindowOfTheContentCanBeBurntIn)
{
    content.windows = {windowOf(1, editor), windowOf(2, editor)};
    content.windows[1].isOnScreen = false;
    content.windows[1].owningApplication.reset();
    EXPECT_THAT(windowIDs(resolver.burnInWindows(2, content)), ElementsAre(2U));
    EXPECT_EQ(standardError.text(), "");
}

TEST_F(GlimtoWindowsTests, MissingBurnInWindowIsWarnedOf)
{
    EXPECT_THAT(resolver.burnInWindows(4294967295U, content), IsEmpty());
    EXPECT_EQ(standardError.text(),
        "Warning: Window 4294967295 from --except-window-id is not in the capturable window list; recording "
        "without "
        "it.\n");
}

} // namespace
} // namespace glimto
