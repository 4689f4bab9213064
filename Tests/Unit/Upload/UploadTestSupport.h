#pragma once

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Fakes/FakeHTTPTransport.h"
#include "Fakes/FakeLineOutput.h"
#include "Fakes/FakeRecordingAPI.h"
#include "Fakes/FakeStopRequests.h"
#include "Fakes/FakeTextPattern.h"
#include "Fakes/FakeUploadClock.h"
#include "Fakes/TemporaryDirectory.h"
#include "Support/Errors.h"
#include "Upload/RecordingUploadJobStore.h"
#include "Upload/UploadServices.h"

namespace glimto {

inline void writeTestFile(const std::filesystem::path& path, std::string_view content)
{
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string testFileText(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The message of the error that `action` ends with, or "no failure".
inline std::string failureOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no failure";
}

enum class TakeSound { without, with };

// The manifest of a take with `segmentCount` video segments, and as many of sound.
inline nlohmann::json testManifest(int segmentCount, TakeSound sound = TakeSound::without)
{
    const auto segments = [segmentCount](const std::string& track) {
        auto list = nlohmann::json::array();
        for (int index = 0; index < segmentCount; ++index)
            list.push_back({{"index", index},
                {"key", "segments/" + track + "/segment_00" + std::to_string(index) + ".m4s"},
                {"duration", 4.0}, {"bytes", 3}, {"earliestPresentationTime", 4.0 * index}});
        return list;
    };
    nlohmann::json manifest = {{"manifestVersion", 1}, {"createdAt", "2024-01-31T15:45:02.123Z"},
        {"state", "complete"}, {"initSegmentKey", "segments/video/init.mp4"},
        {"playlistKey", "segments/playlist.m3u8"}, {"preferredSegmentDuration", 4.0}, {"totalDuration", 8.0},
        {"totalBytes", 6}, {"segments", segments("video")},
        {"video",
            {{"source", "screen:0"}, {"codec", "h264"}, {"container", "fmp4"}, {"width", 640},
                {"height", 480}, {"framesPerSecond", 30}, {"hasAudio", sound == TakeSound::with}}},
        {"notes", {"a note"}}};
    if (sound == TakeSound::with) {
        manifest["audio"] = {{"source", "system"}, {"codec", "aac"}, {"sampleRate", 48000},
            {"channelCount", 2}, {"initSegmentKey", "segments/audio/init.mp4"},
            {"playlistKey", "segments/audio/playlist.m3u8"}, {"segmentCount", segmentCount}};
        manifest["audioSegments"] = segments("audio");
    }
    return manifest;
}

inline void writeTestSegment(const std::filesystem::path& take, const std::string& track, int index)
{
    writeTestFile(take / "segments" / track / ("segment_00" + std::to_string(index) + ".m4s"),
        track + std::to_string(index));
}

// A finished take: every file of it, each with a text of its own.
inline void writeTestTake(
    const std::filesystem::path& take, int segmentCount, TakeSound sound = TakeSound::without)
{
    writeTestFile(take / "segments/video/init.mp4", "video init");
    writeTestFile(take / "segments/playlist.m3u8", "playlist");
    for (int index = 0; index < segmentCount; ++index)
        writeTestSegment(take, "video", index);
    if (sound == TakeSound::with) {
        writeTestFile(take / "segments/video/playlist.m3u8", "video playlist");
        writeTestFile(take / "segments/audio/init.mp4", "audio init");
        writeTestFile(take / "segments/audio/playlist.m3u8", "audio playlist");
        for (int index = 0; index < segmentCount; ++index)
            writeTestSegment(take, "audio", index);
    }
    writeTestFile(take / "thumbnail.jpg", "thumbnail");
    writeTestFile(take / "manifest.json", testManifest(segmentCount, sound).dump());
}

// A take with a job for the recording "rec", a server and a clock.
class UploadTests : public testing::Test {
protected:
    std::filesystem::path take() const { return directory.path() / "take"; }

    void cancel() const { writeTestFile(take() / ".upload-canceled", ""); }

    std::string object(const std::string& relativeKey) const
    {
        const auto objects = api.objects();
        const auto found = objects.find("org/rec/" + relativeKey);
        return found == objects.end() ? "none" : found->second;
    }

    TemporaryDirectory directory;
    RecordingUploadOptions options{
        .accessKey = "key", .apiBaseURL = FakeRecordingAPI::address, .recordingId = "rec"};
    RecordingUploadJobStore job{take(), options, TakeUse::capturing, std::nullopt};
    FakeHTTPTransport transport;
    FakeRecordingAPI api{transport};
    FakeTextPatternCompiler patterns;
    FakeUploadClock clock;
    FakeStopRequests stopRequests;
    FakeLineOutput standardOutput;
    FakeLineOutput standardError;
    UploadServices services{transport, patterns, clock, stopRequests, {standardOutput, standardError}};
};

} // namespace glimto
