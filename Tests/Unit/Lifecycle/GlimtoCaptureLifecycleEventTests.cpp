#include "Lifecycle/GlimtoCaptureLifecycleEvent.h"

#include <string>

#include <gtest/gtest.h>

#include "Lifecycle/GlimtoCaptureLifecycleError.h"

namespace glimto {
namespace {

GlimtoCaptureEventError errorWithMessage(const std::string& message)
{
    return {"code", {message, "CLIError", "GlimtoCapture.CLIError", 1}};
}

TEST(GlimtoCaptureLifecycleEventTests, KeepsAMessageOf2000Characters)
{
    const std::string message(2000, 'x');
    EXPECT_EQ(errorWithMessage(message).message, message);
}

TEST(GlimtoCaptureLifecycleEventTests, CutsALongMessageTo2000Characters)
{
    EXPECT_EQ(errorWithMessage(std::string(2001, 'x')).message, std::string(2000, 'x'));
    EXPECT_EQ(errorWithMessage(std::string(5000, 'x')).message, std::string(2000, 'x'));
}

TEST(GlimtoCaptureLifecycleEventTests, CountsCharactersNotBytes)
{
    std::string longMessage;
    std::string expected;
    for (int count = 0; count < 2500; ++count) {
        longMessage += "\u20AC";
        if (count < 2000)
            expected += "\u20AC";
    }
    EXPECT_EQ(errorWithMessage(longMessage).message, expected);
}

TEST(GlimtoCaptureLifecycleEventTests, AMessageIsAlwaysText)
{
    EXPECT_EQ(errorWithMessage("file \xFF").message, "file \uFFFD");
}

TEST(GlimtoCaptureLifecycleEventTests, KeepsTheFactsOfTheError)
{
    const GlimtoCaptureEventError error("window_not_found", {"gone", "PlatformError", "X11", 3});
    EXPECT_EQ(error.code, "window_not_found");
    EXPECT_EQ(error.message, "gone");
    EXPECT_EQ(error.type, "PlatformError");
    EXPECT_EQ(error.domain, "X11");
    EXPECT_EQ(error.nsCode, 3);
}

TEST(GlimtoCaptureLifecycleEventTests, ALifecycleErrorHasACodeAndASentence)
{
    const GlimtoCaptureLifecycleError error("busy", "Screen capture is in use.");
    EXPECT_EQ(error.code(), "busy");
    EXPECT_STREQ(error.what(), "Screen capture is in use.");
    EXPECT_EQ(errorFacts(error).type, "GlimtoCaptureLifecycleError");
    EXPECT_EQ(errorFacts(error).message, "Screen capture is in use.");
}

TEST(GlimtoCaptureLifecycleEventTests, PermissionIsGrantedOrDenied)
{
    EXPECT_EQ(toJSON(ScreenCapturePermissionJSON::fromPreflight(true)).dump(),
        R"({"preflightGranted":true,"screenRecording":"granted"})");
    EXPECT_EQ(toJSON(ScreenCapturePermissionJSON::fromPreflight(false)).dump(),
        R"({"preflightGranted":false,"screenRecording":"denied"})");
}

} // namespace
} // namespace glimto
