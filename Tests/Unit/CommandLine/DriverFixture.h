#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "CommandLine/Driver.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakePlatform.h"
#include "Fakes/TemporaryDirectory.h"

namespace glimto {

// A machine with one display of 640x480 points, whose stream delivers one frame as it starts.
class DriverFixture : public testing::Test, protected FakePlatform {
protected:
    DriverFixture()
    {
        process.executable = directory.path() / "glimto-capture";
        process.caches = directory.path() / "caches";
        content.content.displays = {{.displayID = 1,
            .frame = {0, 0, 640, 480},
            .width = 640,
            .height = 480,
            .pixelsWide = 640,
            .pixelsHigh = 480}};
        auto* stream = captureStreams.stream.get();
        stream->onStart = [stream] { stream->deliver(fakeFrame(1'000'000'000)); };
    }

    int run(const std::vector<std::string>& arguments)
    {
        return Driver(services, {standardOutput, standardError}).run(arguments);
    }

    // A recording that a stop file ends in its first round.
    int record(const std::vector<std::string>& options = {})
    {
        std::ofstream(directory.path() / "stop") << "stop";
        std::vector<std::string> arguments
            = {"record", "-o", take().string(), "--stop-file", (directory.path() / "stop").string()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments);
    }

    std::filesystem::path take() const { return directory.path() / "take"; }

    // The JSON lines on standard output.
    std::vector<nlohmann::json> documents() const
    {
        std::vector<nlohmann::json> result;
        for (const auto& line : standardOutput.lines())
            if (line.starts_with('{'))
                result.push_back(nlohmann::json::parse(line));
        return result;
    }

    TemporaryDirectory directory;
    FakeLineOutput standardOutput;
    FakeLineOutput standardError;
};

} // namespace glimto
