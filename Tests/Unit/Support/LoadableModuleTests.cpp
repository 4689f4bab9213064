#include "Support/LoadableModule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Fakes/TemporaryDirectory.h"
#include "Support/AtomicFile.h"
#include "Support/Errors.h"
#include "Support/ProcessWide.h"
#include "Unit/Support/Modules/Greeter.h"

namespace glimto {
namespace {

// Outlives the module's greeter, which keeps it.
std::string neighbour = "neighbour";

std::string failureOf(LoadableModule& module)
{
    try {
        module.service<Greeter>();
    } catch (const PlatformError& error) {
        EXPECT_EQ(error.domain(), "module");
        return error.what();
    }
    return "no failure";
}

std::string failureOfMissing(const char* fileName, const char* purpose)
{
    LoadableModule module(fileName, {"/nonexistent"}, purpose);
    return failureOf(module);
}

LoadableModule builtModule(const char* fileName)
{
    return LoadableModule(fileName, {GLIMTO_TEST_MODULES}, "Greeting");
}

TEST(LoadableModuleTests, MissingModuleIsNamed)
{
    EXPECT_EQ(failureOfMissing("glimto-capture-ffmpeg.so", "The media encoder"),
        "The media encoder is not available: glimto-capture-ffmpeg.so is missing beside the program.");
    EXPECT_EQ(failureOfMissing("glimto-capture-network.so", "The network"),
        "The network is not available: glimto-capture-network.so is missing beside the program.");
    EXPECT_EQ(failureOfMissing("glimto-capture-text.so", "Text recognition"),
        "Text recognition is not available: glimto-capture-text.so is missing beside the program.");
}

TEST(LoadableModuleTests, ModuleThatCannotBeLoadedIsReportedWithTheLoadersWords)
{
    const TemporaryDirectory directory;
    writeFileAtomically(directory.path() / "glimto-capture-ffmpeg.so", std::string_view("not a library"));
    LoadableModule module("glimto-capture-ffmpeg.so", {directory.path()}, "The media encoder");
    module.beginLoading();
    EXPECT_THAT(failureOf(module), testing::HasSubstr("glimto-capture-ffmpeg.so"));
    EXPECT_THAT(failureOf(module), testing::StartsWith("The media encoder is not available: "));
}

TEST(LoadableModuleTests, ServiceOfAModuleIsMadeOnceAndWithWhatItAsksFor)
{
    auto module = builtModule("glimto-test-greeter.so");
    module.beginLoading();
    auto& greeter = module.service<Greeter>(&neighbour);
    EXPECT_EQ(greeter.greeting(), "Hello neighbour");
    EXPECT_EQ(&module.service<Greeter>(), &greeter);
}

TEST(LoadableModuleTests, ModuleUsesWhatThereIsOnceInTheProcess)
{
    auto module = builtModule("glimto-test-greeter.so");
    EXPECT_EQ(module.service<Greeter>(&neighbour).processWideOfTheModule(), &processWide());
}

TEST(LoadableModuleTests, ModuleOfAnotherVersionIsRefused)
{
    auto module = builtModule("glimto-test-other-greeter.so");
    EXPECT_EQ(failureOf(module),
        "Greeting is not available: glimto-test-other-greeter.so belongs to another version of this "
        "program.");
}

TEST(LoadableModuleTests, WhatAModuleDoesNotHaveIsNamed)
{
    auto module = builtModule("glimto-test-greeter.so");
    EXPECT_THROW(module.service<Stranger>(), PlatformError);
}

} // namespace
} // namespace glimto
