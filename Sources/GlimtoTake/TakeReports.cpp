#include "TakeReports.h"

#include <array>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "GlimtoTake/Takes/EventsReader.h"
#include "Support/JSONText.h"
#include "Support/Text.h"

namespace glimto {

namespace {

std::string shownSize(std::int64_t bytes)
{
    constexpr std::array units = {"bytes", "kB", "MB", "GB", "TB"};
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; value >= 1000 && unit + 1 < units.size(); ++unit)
        value /= 1000;
    char text[48];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", value, units[unit]);
    return text;
}

// "1:02:03.4"
std::string shownDuration(double seconds)
{
    const auto tenths = static_cast<long long>(std::llround(seconds * 10));
    const long long whole = tenths / 10;
    char text[64];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld.%lld", whole / 3600, whole / 60 % 60, whole % 60,
            tenths % 10);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld.%lld", whole / 60, whole % 60, tenths % 10);
    return text;
}

int framesPerSecond(const TakeExamination& take)
{
    if (take.manifest)
        return take.manifest->video.framesPerSecond;
    return static_cast<int>(std::lround(take.video.facts.framesPerSecond));
}

int frameCount(const TakeExamination& take)
{
    int count = 0;
    for (const ExaminedPiece& piece : take.video.pieces)
        count += piece.content.packetCount;
    return count;
}

// How many events the take's track holds; nothing when there is none that can be read.
std::optional<std::size_t> eventCount(const TakeExamination& take)
{
    try {
        const auto text = take.files.text(take.files.plan().eventsURL, mostEventsFileBytes);
        if (text)
            return readEventsDocument(*text).events.size();
    } catch (const std::exception&) {
        return std::nullopt;
    }
    return std::nullopt;
}

std::string soundLine(const ExaminedTrack& audio)
{
    return "Sound: AAC, " + std::to_string(audio.facts.sampleRate) + " Hz, "
        + std::to_string(audio.facts.channelCount) + " channel(s), " + std::to_string(audio.pieces.size())
        + " segment(s)";
}

nlohmann::json gapsJSON(const TakeExamination& take)
{
    auto list = nlohmann::json::array();
    for (const TakeGap& gap : take.gaps)
        list.push_back({{"track", gap.track}, {"from", gap.from}, {"to", gap.to}});
    return list;
}

} // namespace

std::vector<std::string> infoLines(const TakeExamination& take)
{
    const auto [width, height] = take.pictureSize();
    std::vector<std::string> lines = {
        "Take: " + singleLine(take.files.plan().root.string()),
        std::string("State: ") + takeStateText(take.state),
        "Length: " + shownDuration(take.duration()) + ", " + shownSize(take.bytes()),
        "Picture: H.264, " + std::to_string(width) + "x" + std::to_string(height) + ", up to "
            + std::to_string(framesPerSecond(take)) + " fps, " + std::to_string(frameCount(take))
            + " frame(s), " + std::to_string(take.video.pieces.size()) + " segment(s)",
        take.audio ? soundLine(*take.audio) : "Sound: none",
    };
    if (take.manifest)
        lines.push_back("Source: " + singleLine(take.manifest->video.source) + ", "
            + singleLine(take.manifest->createdAt));
    if (const auto events = eventCount(take))
        lines.push_back("Events: " + std::to_string(*events));
    for (const TakeGap& gap : take.gaps)
        lines.push_back(
            "Gap: " + gap.track + " from " + shownDuration(gap.from) + " to " + shownDuration(gap.to));
    for (const std::string& problem : take.problems)
        lines.push_back("Problem: " + problem);
    return lines;
}

std::string infoJSON(const TakeExamination& take)
{
    const auto [width, height] = take.pictureSize();
    nlohmann::json object = {
        {"path", validUTF8(take.files.plan().root.string())},
        {"state", takeStateText(take.state)},
        {"duration", take.duration()},
        {"bytes", take.bytes()},
        {"width", width},
        {"height", height},
        {"framesPerSecond", framesPerSecond(take)},
        {"frameCount", frameCount(take)},
        {"videoSegmentCount", take.video.pieces.size()},
        {"gaps", gapsJSON(take)},
        {"problems", nlohmann::json::array()},
    };
    for (const std::string& problem : take.problems)
        object["problems"].push_back(validUTF8(problem));
    if (take.audio)
        object["audio"] = {{"sampleRate", take.audio->facts.sampleRate},
            {"channelCount", take.audio->facts.channelCount}, {"segmentCount", take.audio->pieces.size()}};
    if (take.manifest) {
        object["source"] = validUTF8(take.manifest->video.source);
        object["createdAt"] = validUTF8(take.manifest->createdAt);
        if (take.audio && take.manifest->audio)
            object["audio"]["source"] = validUTF8(take.manifest->audio->source);
    }
    if (const auto events = eventCount(take))
        object["eventCount"] = *events;
    return encodeScreenCaptureJSON(object);
}

std::vector<std::string> repairLines(const RepairReport& report, RepairMode mode)
{
    if (report.wasWhole)
        return {"The take is whole, nothing was done: " + singleLine(report.directory.string())};
    const std::string contents = std::to_string(report.tracks.video.size()) + " video segment(s), "
        + std::to_string(report.tracks.audio.size()) + " audio segment(s), " + shownDuration(report.duration);
    if (mode == RepairMode::perform)
        return {"Repaired " + singleLine(report.directory.string()) + ": " + contents};
    std::vector<std::string> lines;
    for (const std::string& step : report.steps)
        lines.push_back("Would do: " + step);
    return lines;
}

std::string repairJSON(const RepairReport& report, RepairMode mode)
{
    nlohmann::json object = {
        {"path", validUTF8(report.directory.string())},
        {"state",
            report.wasWhole                   ? "whole"
                : mode == RepairMode::perform ? "repaired"
                                              : "interrupted"},
        {"steps", nlohmann::json::array()},
        {"duration", report.duration},
        {"videoSegmentCount", report.tracks.video.size()},
        {"audioSegmentCount", report.tracks.audio.size()},
    };
    for (const std::string& step : report.steps)
        object["steps"].push_back(validUTF8(step));
    return encodeScreenCaptureJSON(object);
}

std::string exportLine(const ExportReport& report)
{
    std::string line = "Wrote " + singleLine(report.file.string()) + ": ";
    if (report.duration > 0)
        line += shownDuration(report.duration) + ", ";
    return line + shownSize(static_cast<std::int64_t>(report.bytes));
}

std::string exportJSON(const ExportReport& report)
{
    nlohmann::json object
        = {{"path", validUTF8(std::filesystem::absolute(report.file).string())}, {"bytes", report.bytes}};
    if (report.duration > 0)
        object["duration"] = report.duration;
    return encodeScreenCaptureJSON(object);
}

} // namespace glimto
