#include "Content/ScreenCaptureListings.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ContentBuilders.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeScreenAccess.h"
#include "Fakes/FakeShareableContentProvider.h"
#include "Support/Errors.h"

namespace glimto {
namespace {

using testing::MatchesRegex;

class ScreenCaptureListingsTests : public testing::Test {
protected:
    std::string sources()
    {
        listSources(provider, output);
        return output.text();
    }

    // The one line that is printed, as JSON.
    nlohmann::json windows(const WindowListOptions& options)
    {
        listWindowsJSON(provider, screen, options, output);
        EXPECT_EQ(output.lines().size(), 1U);
        return nlohmann::json::parse(output.lines().front());
    }

    FakeShareableContentProvider provider;
    FakeScreenAccess screen;
    FakeLineOutput output;
};

TEST_F(ScreenCaptureListingsTests, SourcesAreDisplaysAndApplicationsByName)
{
    provider.content.displays
        = {displayAt(1, {0, 0, 1512, 982}, 2), displayAt(4294967295U, {1512, 0, 640, 480})};
    provider.content.applications = {{1, "org.example.beta", "beta"}, {2, "org.example.alpha", "Alpha"},
        {3, "org.example.first", "Same"}, {4, "org.example.second", "Same"}, {5, "org.example.z", "Zürich"},
        {6, "org.example.ae", "Ärger"}};
    EXPECT_EQ(sources(),
        "Screens:\n"
        "  screen:0 -> Display 1 (1512x982) id=1\n"
        "  screen:1 -> Display 2 (640x480) id=4294967295\n"
        "\n"
        "Applications with windows:\n"
        "  Alpha\n"
        "    App ID: org.example.alpha\n"
        "  Same\n"
        "    App ID: org.example.first\n"
        "  Same\n"
        "    App ID: org.example.second\n"
        "  Zürich\n"
        "    App ID: org.example.z\n"
        "  beta\n"
        "    App ID: org.example.beta\n"
        "  Ärger\n"
        "    App ID: org.example.ae\n");
}

TEST_F(ScreenCaptureListingsTests, ManyApplicationsOfOneNameKeepTheirOrder)
{
    std::string expected = "Screens: none\n\nApplications with windows:\n";
    for (int number = 0; number < 100; ++number) {
        const std::string identifier = "org.example.app" + std::to_string(number);
        provider.content.applications.push_back({number, identifier, "Same"});
        expected += "  Same\n    App ID: " + identifier + "\n";
    }
    EXPECT_EQ(sources(), expected);
}

TEST_F(ScreenCaptureListingsTests, SourcesIncludeDesktopAndHiddenWindows)
{
    sources();
    ASSERT_EQ(provider.queries.size(), 1U);
    EXPECT_FALSE(provider.queries[0].excludingDesktopWindows);
    EXPECT_FALSE(provider.queries[0].onScreenWindowsOnly);
}

TEST_F(ScreenCaptureListingsTests, SourcesWithoutDisplaysAreNone)
{
    EXPECT_EQ(sources(), "Screens: none\n");
}

TEST_F(ScreenCaptureListingsTests, ApplicationsWithoutNameOrIdentifierAreLeftOut)
{
    provider.content.applications = {{1, "", "Nameless"}, {2, "org.example.anonymous", ""}};
    EXPECT_EQ(sources(), "Screens: none\n");
}

TEST_F(ScreenCaptureListingsTests, ApplicationsAreListedEvenWithoutDisplays)
{
    provider.content.applications = {editor};
    EXPECT_EQ(sources(),
        "Screens: none\n"
        "\n"
        "Applications with windows:\n"
        "  Editor\n"
        "    App ID: org.example.editor\n");
}

TEST_F(ScreenCaptureListingsTests, SourcesPassOnTheErrorOfThePlatform)
{
    provider.error = std::make_exception_ptr(PlatformError("X11", 1, "Could not reach the display."));
    EXPECT_EQ(messageOf<PlatformError>([&] { sources(); }), "Could not reach the display.");
    EXPECT_EQ(output.text(), "");
}

TEST_F(ScreenCaptureListingsTests, VisibleWindowsAreFetchedAsPickerCandidates)
{
    provider.content.displays = twoDisplays();
    provider.content.windows = {windowOf(1, editor), windowOf(2, desktopApplication)};
    const auto json = windows({ScreenCaptureWindowListScope::visible, true});
    ASSERT_EQ(provider.queries.size(), 1U);
    EXPECT_TRUE(provider.queries[0].excludingDesktopWindows);
    EXPECT_TRUE(provider.queries[0].onScreenWindowsOnly);
    EXPECT_EQ(json["enumeration"].dump(), R"({"excludingDesktopWindows":true,"onScreenWindowsOnly":true})");
    EXPECT_EQ(json["displays"].size(), 2U);
    EXPECT_EQ(json["windows"].size(), 2U);
    EXPECT_EQ(json["permission"]["screenRecording"], "granted");
    EXPECT_FALSE(json.contains("error"));
    EXPECT_THAT(json["generatedAt"].get<std::string>(),
        MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z"));
}

TEST_F(ScreenCaptureListingsTests, AllWindowsAreFetchedAsRecordingSources)
{
    const auto json = windows({ScreenCaptureWindowListScope::all, false});
    ASSERT_EQ(provider.queries.size(), 1U);
    EXPECT_FALSE(provider.queries[0].excludingDesktopWindows);
    EXPECT_FALSE(provider.queries[0].onScreenWindowsOnly);
    EXPECT_FALSE(json.contains("enumeration"));
}

TEST_F(ScreenCaptureListingsTests, ContentThatCannotBeFetchedIsPrintedAsAnError)
{
    screen.granted = false;
    provider.error = std::make_exception_ptr(PlatformError("X11", 1, "Could not reach the display."));
    const auto json = windows({ScreenCaptureWindowListScope::visible, false});
    EXPECT_EQ(json["permission"].dump(), R"({"preflightGranted":false,"screenRecording":"denied"})");
    EXPECT_EQ(json["displays"].dump(), "[]");
    EXPECT_EQ(json["windows"].dump(), "[]");
    EXPECT_EQ(json["error"].dump(),
        R"({"code":"sckEnumerationFailed","domain":"X11","message":"Could not reach the display.","nsCode":1,)"
        R"("type":"PlatformError"})");
}

TEST_F(ScreenCaptureListingsTests, ErrorOfAnotherKindIsPrintedAsWell)
{
    provider.error = std::make_exception_ptr(std::runtime_error("odd"));
    const auto json = windows({ScreenCaptureWindowListScope::all, false});
    EXPECT_EQ(json["error"].dump(),
        R"({"code":"sckEnumerationFailed","domain":"std","message":"odd","nsCode":0,"type":"std::runtime_error"})");
}

} // namespace
} // namespace glimto
