#include "TakeRepair.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <functional>
#include <optional>
#include <span>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "Artifacts/RecordingArtifactWriter.h"
#include "GlimtoTake/Media/Decoder.h"
#include "GlimtoTake/Media/SoundSegments.h"
#include "GlimtoTake/Media/TakeExamination.h"
#include "GlimtoTake/Takes/EventsReader.h"
#include "GlimtoTake/Takes/TakeOwnership.h"
#include "Support/AtomicFile.h"
#include "Support/Errors.h"
#include "Support/Paths.h"
#include "Support/RegularFile.h"
#include "Support/Text.h"

namespace glimto {

namespace {

namespace fs = std::filesystem;

constexpr double longestSoundDifference = 0.05; // seconds
constexpr double thumbnailQuality = 0.82;
constexpr double defaultSegmentSeconds = 4;
constexpr int defaultFramesPerSecond = 30;
constexpr const char* unknownSource = "recovered recording";

void moveFile(const fs::path& from, const fs::path& to)
{
    if (::rename(from.c_str(), to.c_str()) != 0)
        throw PlatformError::posix("Could not move " + from.string(), errno);
}

void removeFile(const fs::path& path)
{
    std::error_code error;
    fs::remove(path, error);
    if (error)
        throw PlatformError::posix("Could not remove " + path.string(), error.value());
}

// The first `bytes` of a file in the place of the file.
void cutFile(const fs::path& path, std::uint64_t bytes)
{
    const auto file = RegularFile::open(FileBelow::of(path));
    AtomicFile cut(path);
    std::vector<std::byte> buffer(256 * 1024);
    while (bytes > 0) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), bytes));
        const std::size_t count = file.read(std::span(buffer).first(wanted));
        if (count == 0)
            throw PlatformError::posix("Could not read " + path.string(), EIO);
        cut.write(std::span(buffer).first(count));
        bytes -= count;
    }
    cut.commit();
}

std::string shownSeconds(double seconds)
{
    return shortestDecimal(std::round(seconds * 1000) / 1000) + " s";
}

class Repair {
public:
    Repair(const fs::path& directory, RepairMode mode, ImageCodec& images)
        : mode_(mode)
        , images_(images)
        , take_(examineTake(directory))
        , plan_(take_.files.plan())
    {
    }

    RepairReport run()
    {
        repairEvents();
        report_.wasWhole = take_.problems.empty() && report_.steps.empty() && stands(plan_.thumbnailURL);
        if (!report_.wasWhole) {
            settleFiles(take_.video);
            if (take_.audio)
                settleSound();
            collectTracks();
            repairThumbnail();
            if (!take_.problems.empty())
                writeArtifacts();
        } else {
            collectTracks();
        }
        removeLeftovers();
        for (const auto& segment : report_.tracks.video)
            report_.duration += segment.duration;
        report_.directory = plan_.root;
        return std::move(report_);
    }

private:
    // Does the step now, or only tells of it.
    void step(const std::string& what, const std::function<void()>& action)
    {
        report_.steps.push_back(what);
        if (mode_ == RepairMode::perform)
            action();
    }

    // Every usable piece gets the name that its place asks for, and loses what is torn off. Those that cannot
    // be read go out of the way, but stay.
    void settleFiles(ExaminedTrack& track)
    {
        for (const SegmentFile& file : track.unusable) {
            const fs::path aside
                = file.path.parent_path() / ("." + file.path.filename().string() + ".damaged");
            step("Set aside " + nameIn(track, file.path) + ", which cannot be read.",
                [&] { moveFile(file.path, aside); });
        }
        for (std::size_t at = 0; at < track.pieces.size(); ++at) {
            ExaminedPiece& piece = track.pieces[at];
            if (!piece.extent.isWhole) {
                step("Cut " + nameIn(track, piece.file.path) + " back to its last whole fragment.",
                    [&] { cutFile(piece.file.path, piece.extent.wholeBytes); });
                piece.extent.isWhole = true;
            }
            const fs::path wanted = plan_.root / segmentKey(track.files.name, static_cast<int>(at));
            if (piece.file.path == wanted)
                continue;
            step("Name " + nameIn(track, piece.file.path) + " " + wanted.filename().string() + ".",
                [&] { moveFile(piece.file.path, wanted); });
            if (mode_ == RepairMode::perform)
                piece.file.path = wanted;
            piece.isUnfinished = false;
        }
    }

    static std::string nameIn(const ExaminedTrack& track, const fs::path& path)
    {
        return track.files.name + "/" + singleLine(path.filename().string());
    }

    // Sound that is longer than the picture is cut, sound that is shorter goes on as silence.
    void settleSound()
    {
        ExaminedTrack& audio = *take_.audio;
        settleFiles(audio);
        const double end = take_.video.end();
        const auto endTicks = static_cast<std::int64_t>(std::llround(end * audio.facts.timescale));
        if (audio.end() > end + longestSoundDifference)
            cutSound(endTicks);
        else if (audio.end() < end - longestSoundDifference)
            fillSound(endTicks);
    }

    void cutSound(std::int64_t end)
    {
        ExaminedTrack& audio = *take_.audio;
        while (!audio.pieces.empty() && audio.pieces.back().content.start >= end) {
            const fs::path path = audio.pieces.back().file.path;
            step("Remove " + nameIn(audio, path) + ", which begins after the picture has ended.",
                [&] { removeFile(path); });
            audio.pieces.pop_back();
        }
        if (audio.pieces.empty() || audio.pieces.back().content.end <= end)
            return;
        ExaminedPiece& last = audio.pieces.back();
        last.content.end = end;
        step("Cut " + nameIn(audio, last.file.path) + " where the picture ends.", [&] {
            writeSoundBefore(*audio.files.initializationSegment, {last.file.path, last.extent.wholeBytes},
                end, last.file.path);
            measure(last);
        });
    }

    // Cut as the picture is, on the blocks of the encoder.
    void fillSound(std::int64_t end)
    {
        ExaminedTrack& audio = *take_.audio;
        const auto firstTick = audio.pieces.empty() ? 0 : audio.pieces.back().content.end;
        report_.steps.push_back("Go on with silence where the sound ends early, for "
            + shownSeconds(audio.facts.seconds(end - firstTick)) + ".");
        std::vector<std::int64_t> cuts;
        for (const ExaminedPiece& piece : take_.video.pieces) {
            const double start = take_.video.facts.seconds(piece.content.start);
            const auto tick = static_cast<std::int64_t>(std::llround(start * audio.facts.timescale));
            const auto cut = firstTick + (tick - firstTick) / soundBlockTicks * soundBlockTicks;
            if (cut > firstTick + audio.facts.timescale / 4 && cut < end)
                cuts.push_back(cut);
        }
        cuts.push_back(end);
        std::int64_t start = firstTick;
        for (const std::int64_t cut : cuts) {
            addSilence(start, cut);
            start = cut;
        }
    }

    void addSilence(std::int64_t start, std::int64_t end)
    {
        ExaminedTrack& audio = *take_.audio;
        ExaminedPiece piece;
        piece.file.index = static_cast<int>(audio.pieces.size());
        piece.file.path = plan_.root / segmentKey("audio", piece.file.index);
        piece.content = {.start = start, .end = end, .packetCount = 1, .startsWithKeyframe = true};
        if (mode_ == RepairMode::perform) {
            writeSilence(*audio.files.initializationSegment, start, end, piece.file.path);
            measure(piece);
        }
        audio.pieces.push_back(std::move(piece));
    }

    // Looks at a segment that was just written.
    void measure(ExaminedPiece& piece) const
    {
        piece.extent = fragmentExtent(piece.file.path);
        piece.file.size = piece.extent.wholeBytes;
        const auto scan
            = scanTrack(*take_.audio->files.initializationSegment, {{piece.file.path, piece.file.size}});
        setContent(piece, scan.segments.front());
    }

    void collectTracks()
    {
        report_.tracks.video = take_.video.captured();
        report_.tracks.videoCodec = takeVideoCodec();
        if (take_.audio)
            report_.tracks.audio = take_.audio->captured();
    }

    // The events of a recording that was killed, which also know the picture's exact size.
    void repairEvents()
    {
        if (stands(plan_.eventsURL))
            return readEventsSize();
        const fs::path partial = plan_.root / ".events.partial";
        if (!stands(partial))
            return;
        const auto text = take_.files.text(partial, mostEventsFileBytes);
        const auto document = text ? readPartialEvents(*text) : std::nullopt;
        if (!document)
            return;
        eventsSize_ = {document->display.capturePixelWidth, document->display.capturePixelHeight};
        step("Write events.json with " + std::to_string(document->events.size()) + " event(s).", [&] {
            AtomicFile file(plan_.eventsURL);
            encodeEventsDocument(*document, [&](std::string_view piece) {
                file.write(std::as_bytes(std::span(piece.data(), piece.size())));
            });
            file.commit();
        });
    }

    // A track that cannot be read is left as it is.
    void readEventsSize()
    {
        try {
            const auto text = take_.files.text(plan_.eventsURL, mostEventsFileBytes);
            const auto display = readEventsDocument(text.value()).display;
            eventsSize_ = {display.capturePixelWidth, display.capturePixelHeight};
        } catch (const std::exception&) {
            eventsSize_.reset();
        }
    }

    // Pixels of what was captured, which the encoder may have padded to even sizes.
    std::pair<int, int> pictureSize() const
    {
        const std::pair<int, int> encoded = {take_.video.facts.width, take_.video.facts.height};
        const auto fits = [&](int width, int height) {
            return (width + 1) / 2 * 2 == encoded.first && (height + 1) / 2 * 2 == encoded.second;
        };
        if (take_.manifest && fits(take_.manifest->video.width, take_.manifest->video.height))
            return {take_.manifest->video.width, take_.manifest->video.height};
        if (eventsSize_ && fits(eventsSize_->first, eventsSize_->second))
            return *eventsSize_;
        if (const auto size = thumbnailSize(); size && fits(size->first, size->second))
            return *size;
        return encoded;
    }

    std::optional<std::pair<int, int>> thumbnailSize() const
    {
        std::error_code ignored;
        const bool isFile = fs::symlink_status(plan_.thumbnailURL, ignored).type() == fs::file_type::regular;
        return isFile ? jpegSize(plan_.thumbnailURL) : std::nullopt;
    }

    void repairThumbnail()
    {
        if (stands(plan_.thumbnailURL))
            return;
        step("Make thumbnail.jpg of the first picture.", [&] {
            const auto [width, height] = pictureSize();
            const auto pixels = pictureAt(take_.video, take_.video.start(), width, height);
            writeFileAtomically(
                FileBelow::of(plan_.thumbnailURL), images_.encodeJPEG(pixels, thumbnailQuality));
        });
    }

    int framesPerSecond() const
    {
        if (take_.manifest && take_.manifest->video.framesPerSecond > 0)
            return take_.manifest->video.framesPerSecond;
        const double told = take_.video.facts.framesPerSecond;
        return told >= 1 && told <= 1000 ? static_cast<int>(std::lround(told)) : defaultFramesPerSecond;
    }

    double segmentSeconds() const
    {
        if (take_.manifest && take_.manifest->preferredSegmentDuration > 0)
            return take_.manifest->preferredSegmentDuration;
        const auto& segments = report_.tracks.video;
        if (segments.size() < 2)
            return segments.empty() ? defaultSegmentSeconds
                                    : std::max(defaultSegmentSeconds, segments[0].duration);
        std::vector<double> durations;
        for (std::size_t at = 0; at + 1 < segments.size(); ++at)
            durations.push_back(segments[at].duration);
        std::nth_element(durations.begin(),
            durations.begin() + static_cast<std::ptrdiff_t>(durations.size() / 2), durations.end());
        const double usual = std::round(durations[durations.size() / 2] * 10) / 10;
        return std::max(usual, 0.1);
    }

    RecordOptions options() const
    {
        RecordOptions options;
        options.framesPerSecond = framesPerSecond();
        options.segmentSeconds = segmentSeconds();
        if (!take_.audio)
            return options;
        const std::string source
            = take_.manifest && take_.manifest->audio ? take_.manifest->audio->source : "system";
        options.captureSystemAudio = source != "microphone";
        if (source != "system")
            options.microphoneDeviceID = "";
        return options;
    }

    void writeArtifacts()
    {
        step("Write playlist and manifest.", [&] {
            const auto [width, height] = pictureSize();
            const auto audioKey
                = take_.audio ? std::optional<std::string>("segments/audio/init.mp4") : std::nullopt;
            const RecordingArtifactWriter writer{plan_, take_.audio ? take_.audio->facts.sampleRate : 0,
                take_.audio ? take_.audio->facts.channelCount : 0};
            writer.writeAll({.videoInitSegmentKey = "segments/video/init.mp4",
                .audioInitSegmentKey = audioKey,
                .tracks = report_.tracks,
                .width = width,
                .height = height,
                .options = options(),
                .sourceDescription = take_.manifest ? take_.manifest->video.source : unknownSource});
        });
    }

    // Once all is in place, what the killed process has left serves nobody.
    void removeLeftovers()
    {
        auto files = take_.files.leftovers();
        if (const fs::path partial = plan_.root / ".events.partial"; stands(partial))
            files.push_back(partial);
        std::erase_if(files, [&](const fs::path& path) {
            return mode_ == RepairMode::tellOnly
                && std::any_of(take_.video.pieces.begin(), take_.video.pieces.end(),
                    [&](const ExaminedPiece& piece) { return piece.file.path == path; });
        });
        if (files.empty())
            return;
        report_.wasWhole = false;
        step("Remove " + std::to_string(files.size()) + " unfinished file(s) that the recording has left.",
            [&] {
                for (const fs::path& path : files)
                    removeFile(path);
            });
    }

    const RepairMode mode_;
    ImageCodec& images_;
    TakeExamination take_;
    const OutputPlan plan_;
    std::optional<std::pair<int, int>> eventsSize_;
    RepairReport report_;
};

} // namespace

RepairReport repairTake(const fs::path& directory, RepairMode mode, ImageCodec& images)
{
    const fs::path root = TakeFiles::open(directory).plan().root;
    const TakeOwnership ownership(root);
    return Repair(root, mode, images).run();
}

} // namespace glimto
