#include "Content/ScreenCapturePayloads.h"

#include <chrono>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "ContentBuilders.h"
#include "Support/Errors.h"
#include "Support/JSONText.h"

namespace glimto {
namespace {

constexpr std::chrono::system_clock::time_point midday{std::chrono::milliseconds(1'769'860'800'123)};

ShareableContent contentWithWindows(std::uint32_t count)
{
    ShareableContent content;
    for (std::uint32_t id = 1; id <= count; ++id)
        content.windows.push_back(windowOf(id, editor));
    return content;
}

template <typename Payload> std::string text(const Payload& payload)
{
    return encodeScreenCaptureJSON(toJSON(payload));
}

TEST(ScreenCaptureFrameJSONTests, ComponentsThatAreNotFiniteAreZero)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(text(ScreenCaptureFrameJSON({std::nan(""), -1.5, infinity, -infinity})),
        R"({"height":0.0,"width":0.0,"x":0.0,"y":-1.5})");
}

TEST(ScreenCaptureDisplayJSONTests, TellsFrameSizeAndScale)
{
    EXPECT_EQ(text(ScreenCaptureDisplayJSON(displayAt(4294967295U, {-1512, 0, 1512, 982}, 2))),
        R"({"frame":{"height":982.0,"width":1512.0,"x":-1512.0,"y":0.0},"height":982,"id":4294967295,"scale":2.0,)"
        R"("width":1512})");
}

TEST(ScreenCaptureDisplayJSONTests, UnknownScaleHasNoKey)
{
    EXPECT_EQ(text(ScreenCaptureDisplayJSON(Display{})),
        R"({"frame":{"height":0.0,"width":0.0,"x":0.0,"y":0.0},"height":0,"id":0,"width":0})");
}

TEST(ScreenCaptureWindowJSONTests, TellsTrimmedTitleAndOwner)
{
    auto window = windowOf(7, editor);
    window.title = "\t notes/a.txt \n";
    EXPECT_EQ(text(ScreenCaptureWindowJSON(window)),
        R"({"frame":{"height":80.0,"width":100.0,"x":10.0,"y":10.0},)"
        R"("owningApplication":{"bundleID":"org.example.editor","name":"Editor","pid":200},)"
        R"("title":"notes/a.txt","windowID":7})");
}

TEST(ScreenCaptureWindowJSONTests, BlankTitleAndMissingOwnerHaveNoKeys)
{
    auto window = windowOf(7, editor);
    window.title = "   ";
    window.owningApplication.reset();
    EXPECT_EQ(text(ScreenCaptureWindowJSON(window)),
        R"({"frame":{"height":80.0,"width":100.0,"x":10.0,"y":10.0},"windowID":7})");
}

TEST(ScreenCaptureWindowJSONTests, OwnerWithoutNamesIsStillThere)
{
    EXPECT_EQ(text(ScreenCaptureWindowJSON(windowOf(7, {0, "", ""}))),
        R"({"frame":{"height":80.0,"width":100.0,"x":10.0,"y":10.0},)"
        R"("owningApplication":{"bundleID":"","name":"","pid":0},"windowID":7})");
}

TEST(ScreenCaptureWindowJSONTests, TextThatIsNoUTF8BecomesValid)
{
    auto window = windowOf(7, {1, "b\xFF", "n\xFF"});
    window.title = "t\xFF";
    const auto json = toJSON(ScreenCaptureWindowJSON(window));
    EXPECT_EQ(json["title"], "t\xEF\xBF\xBD");
    EXPECT_EQ(json["owningApplication"]["name"], "n\xEF\xBF\xBD");
    EXPECT_EQ(json["owningApplication"]["bundleID"], "b\xEF\xBF\xBD");
}

TEST(ScreenCaptureErrorJSONTests, TellsWhereTheErrorCameFrom)
{
    EXPECT_EQ(
        text(ScreenCaptureErrorJSON("sckEnumerationFailed", PlatformError("X11", -3, "no server at \xFF"))),
        "{\"code\":\"sckEnumerationFailed\",\"domain\":\"X11\",\"message\":\"no server at \xEF\xBF\xBD\","
        "\"nsCode\":-3,\"type\":\"PlatformError\"}");
}

TEST(ScreenCaptureWindowListPayloadTests, ListsAllDisplaysAndWindowsInOrder)
{
    ShareableContent content;
    content.displays = twoDisplays();
    content.windows = {windowOf(9, desktopApplication), windowOf(3, editor, {0, 0, 0, 0})};
    content.windows[1].isOnScreen = false;
    content.windows[1].windowLayer = 25;
    EXPECT_EQ(text(ScreenCaptureWindowListPayload::success(
                  content, ScreenCaptureWindowListScope::visible, true, true, midday)),
        R"({"coordinateSpace":"screenCaptureKitGlobalDisplayPoints","displays":[)"
        R"({"frame":{"height":1080.0,"width":1920.0,"x":0.0,"y":0.0},"height":1080,"id":71,"scale":1.0,"width":1920},)"
        R"({"frame":{"height":1024.0,"width":1280.0,"x":1920.0,"y":0.0},"height":1024,"id":72,"scale":1.0,)"
        R"("width":1280}],"enumeration":{"excludingDesktopWindows":true,"onScreenWindowsOnly":true},)"
        R"("generatedAt":"2026-01-31T12:00:00.123Z",)"
        R"("permission":{"preflightGranted":true,"screenRecording":"granted"},"schemaVersion":1,"windows":[)"
        R"({"frame":{"height":80.0,"width":100.0,"x":10.0,"y":10.0},)"
        R"("owningApplication":{"bundleID":"com.glimto.desktop","name":"Glimto","pid":100},"windowID":9},)"
        R"({"frame":{"height":0.0,"width":0.0,"x":0.0,"y":0.0},)"
        R"("owningApplication":{"bundleID":"org.example.editor","name":"Editor","pid":200},"windowID":3}]})");
}

TEST(ScreenCaptureWindowListPayloadTests, WithoutEnumerationThereIsNoKeyOfIt)
{
    EXPECT_EQ(text(ScreenCaptureWindowListPayload::success(
                  {}, ScreenCaptureWindowListScope::all, false, true, midday)),
        R"({"coordinateSpace":"screenCaptureKitGlobalDisplayPoints","displays":[],)"
        R"("generatedAt":"2026-01-31T12:00:00.123Z",)"
        R"("permission":{"preflightGranted":true,"screenRecording":"granted"},"schemaVersion":1,"windows":[]})");
}

TEST(ScreenCaptureWindowListPayloadTests, EnumerationOfTheScopeAllFiltersNothing)
{
    const auto json = toJSON(
        ScreenCaptureWindowListPayload::success({}, ScreenCaptureWindowListScope::all, true, true, midday));
    EXPECT_EQ(json["enumeration"].dump(), R"({"excludingDesktopWindows":false,"onScreenWindowsOnly":false})");
}

TEST(ScreenCaptureWindowListPayloadTests, FalsePreflightAfterSuccessIsUnknown)
{
    const auto json = toJSON(
        ScreenCaptureWindowListPayload::success({}, ScreenCaptureWindowListScope::all, false, false, midday));
    EXPECT_EQ(json["permission"].dump(), R"({"preflightGranted":false,"screenRecording":"unknown"})");
}

TEST(ScreenCaptureWindowListPayloadTests, WhatIsNotToldOfWindowsIsAnErrorBesideTheLists)
{
    ShareableContent content = contentWithWindows(1);
    content.windowsObstacle = PlatformError("Wayland", 10, "Nobody tells where windows are.");
    const auto json = toJSON(ScreenCaptureWindowListPayload::success(
        content, ScreenCaptureWindowListScope::all, false, true, midday));
    EXPECT_EQ(json["windows"].size(), 1U);
    EXPECT_EQ(json["error"].dump(),
        R"({"code":"sckEnumerationFailed","domain":"Wayland","message":"Nobody tells where windows are.",)"
        R"("nsCode":10,"type":"PlatformError"})");
}

TEST(ScreenCaptureWindowListPayloadTests, FailureTellsTheErrorAndListsNothing)
{
    EXPECT_EQ(text(ScreenCaptureWindowListPayload::failure(PlatformError("X11", 5, "The X server is gone."),
                  ScreenCaptureWindowListScope::visible, true, false, midday)),
        R"({"coordinateSpace":"screenCaptureKitGlobalDisplayPoints","displays":[],)"
        R"("enumeration":{"excludingDesktopWindows":true,"onScreenWindowsOnly":true},)"
        R"("error":{"code":"sckEnumerationFailed","domain":"X11","message":"The X server is gone.","nsCode":5,)"
        R"("type":"PlatformError"},"generatedAt":"2026-01-31T12:00:00.123Z",)"
        R"("permission":{"preflightGranted":false,"screenRecording":"denied"},"schemaVersion":1,"windows":[]})");
}

TEST(ScreenCaptureWindowListPayloadTests, FailureWithAGrantedPreflightSaysGranted)
{
    const auto json = toJSON(ScreenCaptureWindowListPayload::failure(
        CLIError("broken"), ScreenCaptureWindowListScope::all, false, true, midday));
    EXPECT_EQ(json["permission"].dump(), R"({"preflightGranted":true,"screenRecording":"granted"})");
    EXPECT_FALSE(json.contains("enumeration"));
}

TEST(ScreenCaptureWindowResolutionFailurePayloadTests, ListsTheWindowsThereAre)
{
    EXPECT_EQ(text(ScreenCaptureWindowResolutionFailurePayload(12, contentWithWindows(1), midday)),
        R"({"candidateCount":1,"candidateWindows":[{"frame":{"height":80.0,"width":100.0,"x":10.0,"y":10.0},)"
        R"("owningApplication":{"bundleID":"org.example.editor","name":"Editor","pid":200},"windowID":1}],)"
        R"("code":"sckWindowIDNotFound","coordinateSpace":"screenCaptureKitGlobalDisplayPoints",)"
        R"("enumeration":{"excludingDesktopWindows":false,"onScreenWindowsOnly":false},)"
        R"("generatedAt":"2026-01-31T12:00:00.123Z","schemaVersion":1,"selectedWindow":{"windowID":12},)"
        R"("truncated":false})");
}

TEST(ScreenCaptureWindowResolutionFailurePayloadTests, ListsTheFirstFiftyOfManyWindows)
{
    const auto json
        = toJSON(ScreenCaptureWindowResolutionFailurePayload(12, contentWithWindows(120), midday));
    EXPECT_EQ(json["candidateCount"], 120);
    EXPECT_EQ(json["truncated"], true);
    ASSERT_EQ(json["candidateWindows"].size(), 50U);
    EXPECT_EQ(json["candidateWindows"][0]["windowID"], 1);
    EXPECT_EQ(json["candidateWindows"][49]["windowID"], 50);
}

TEST(ScreenCaptureWindowResolutionFailurePayloadTests, FiftyWindowsAreNotTruncated)
{
    const auto json = toJSON(ScreenCaptureWindowResolutionFailurePayload(12, contentWithWindows(50), midday));
    EXPECT_EQ(json["candidateCount"], 50);
    EXPECT_EQ(json["truncated"], false);
    EXPECT_EQ(json["candidateWindows"].size(), 50U);
}

TEST(WindowResolutionFailureMessageTests, PayloadStandsOnTheSecondLine)
{
    const auto payload
        = toJSON(ScreenCaptureWindowResolutionFailurePayload(12, contentWithWindows(2), midday));
    EXPECT_EQ(windowResolutionFailureMessage(12, payload),
        "No capturable ScreenCaptureKit window with id 12. Try selecting the window again.\n"
        "GLIMTO_CAPTURE_ERROR_JSON="
            + encodeScreenCaptureJSON(payload));
}

TEST(WindowResolutionFailureMessageTests, PayloadThatCannotBeEncodedGivesWayToTheID)
{
    EXPECT_EQ(windowResolutionFailureMessage(12, {{"title", "\xFF"}}),
        "No capturable ScreenCaptureKit window with id 12. Try selecting the window again.\n"
        R"(GLIMTO_CAPTURE_ERROR_JSON={"code":"sckWindowIDNotFound","selectedWindow":{"windowID":12}})");
}

} // namespace
} // namespace glimto
