#include "GlimtoTake/Media/TakeExamination.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <utility>

#include "Artifacts/HLSPlaylist.h"
#include "GlimtoTake/Takes/TakeOwnership.h"
#include "Support/Errors.h"
#include "Support/Text.h"
#include "Upload/UploadManifest.h"

namespace glimto {

namespace {

constexpr std::size_t mostManifestBytes = std::size_t{64} << 20U;
constexpr std::size_t mostJobBytes = std::size_t{4} << 20U;
constexpr int mostRereadings = 16; // of a track with unreadable segments
constexpr double shortestGap = 0.002; // seconds; what is shorter comes of rounding
constexpr double longestSoundDifference = 0.05; // seconds between the ends of a take's tracks
constexpr double timeTolerance = 0.0015; // seconds between a manifest and its segments

std::string nameOf(const SegmentFile& file)
{
    return singleLine(file.path.filename().string());
}

// The segments whose boxes hold, and the one that was growing when its writer was killed.
void collectPieces(ExaminedTrack& track)
{
    std::set<int> seen;
    for (const SegmentFile& file : track.files.segments) {
        const FragmentExtent extent = fragmentExtent(file.path);
        seen.insert(file.index);
        if (extent.fragmentCount > 0)
            track.pieces.push_back({file, extent, false, {}});
        else
            track.unusable.push_back(file);
    }
    const int next = seen.empty() ? 0 : *seen.rbegin() + 1;
    for (const SegmentFile& file : track.files.unfinished) {
        const FragmentExtent extent = fragmentExtent(file.path);
        if (file.index == next && seen.insert(next).second && extent.fragmentCount > 0)
            track.pieces.push_back({file, extent, true, {}});
    }
}

// Reads the content. A segment that stops the reading is left out, and the rest read again.
void scanPieces(ExaminedTrack& track)
{
    for (int round = 0;; ++round) {
        TrackScan scan = scanTrack(*track.files.initializationSegment, track.mediaPieces());
        auto contents = std::exchange(scan.segments, {});
        track.facts = std::move(scan);
        for (std::size_t at = 0; at < contents.size(); ++at)
            setContent(track.pieces[at], contents[at]);
        const auto isEmpty = [](const ExaminedPiece& piece) {
            return piece.content.packetCount == 0 || !piece.content.startsWithKeyframe;
        };
        const auto bad = std::find_if(track.pieces.begin(), track.pieces.end(), isEmpty);
        if (bad == track.pieces.end())
            return;
        const auto end = round + 1 < mostRereadings ? bad + 1 : track.pieces.end();
        for (auto piece = bad; piece != end; ++piece) {
            if (!piece->isUnfinished)
                track.unusable.push_back(piece->file);
        }
        track.pieces.erase(bad, end);
    }
}

void requireRisingTimes(const ExaminedTrack& track)
{
    for (std::size_t at = 1; at < track.pieces.size(); ++at) {
        const auto& before = track.pieces[at - 1];
        const auto& piece = track.pieces[at];
        if (piece.content.start <= before.content.lastTime)
            throw CLIError("The segments " + nameOf(before.file) + " and " + nameOf(piece.file) + " of the "
                + track.files.name + " overlap in time: they are not of one recording.");
    }
}

ExaminedTrack examineTrack(const TakeFiles& files, const std::string& name)
{
    ExaminedTrack track;
    track.files = files.track(name);
    if (!track.files.initializationSegment)
        return track;
    collectPieces(track);
    scanPieces(track);
    requireRisingTimes(track);
    return track;
}

void noteFiles(const ExaminedTrack& track, TakeExamination& take)
{
    const std::string of = " of the " + track.files.name;
    int wanted = 0;
    for (const SegmentFile& file : track.files.segments) {
        if (file.index != wanted)
            take.problems.push_back("Segment " + std::to_string(wanted) + of + " is missing.");
        wanted = file.index + 1;
    }
    for (const SegmentFile& file : track.unusable)
        take.problems.push_back(nameOf(file) + of + " cannot be read.");
    for (const ExaminedPiece& piece : track.pieces) {
        if (piece.isUnfinished)
            take.problems.push_back(
                "Segment " + std::to_string(piece.file.index) + of + " was not finished.");
        else if (!piece.extent.isWhole)
            take.problems.push_back(nameOf(piece.file) + of + " is torn.");
    }
}

void noteGaps(const ExaminedTrack& track, TakeExamination& take)
{
    double end = 0;
    for (const ExaminedPiece& piece : track.pieces) {
        const double start = track.facts.seconds(piece.content.start);
        if (start - end > shortestGap)
            take.gaps.push_back({track.files.name, end, start});
        end = track.facts.seconds(piece.content.end);
    }
}

void noteSoundEnd(TakeExamination& take)
{
    if (!take.audio)
        return;
    const double end = take.audio->pieces.empty() ? 0 : take.audio->end();
    if (std::abs(end - take.video.end()) > longestSoundDifference)
        take.problems.push_back("Sound and picture do not end together.");
}

std::string differenceOf(
    const std::vector<CapturedSegment>& listed, const std::vector<CapturedSegment>& found)
{
    if (listed.size() != found.size())
        return "lists " + std::to_string(listed.size()) + " segments, there are "
            + std::to_string(found.size());
    for (std::size_t at = 0; at < listed.size(); ++at) {
        const bool isSame = listed[at].index == found[at].index
            && listed[at].relativeKey == found[at].relativeKey && listed[at].bytes == found[at].bytes
            && std::abs(listed[at].duration - found[at].duration) <= timeTolerance;
        if (!isSame)
            return "differs from segment " + std::to_string(at);
    }
    return {};
}

void compareWithManifest(TakeExamination& take)
{
    const MediaManifest& manifest = *take.manifest;
    const auto note
        = [&](const std::string& what) { take.problems.push_back("manifest.json " + what + "."); };
    if (const std::string what = differenceOf(manifest.segments, take.video.captured()); !what.empty())
        note(what + " of the video");
    if (manifest.audio.has_value() != take.audio.has_value()
        || manifest.audioSegments.has_value() != take.audio.has_value())
        note("disagrees with the take about sound");
    else if (take.audio) {
        if (const std::string what = differenceOf(*manifest.audioSegments, take.audio->captured());
            !what.empty())
            note(what + " of the audio");
    }
}

void readManifest(TakeExamination& take)
{
    const auto text = take.files.text(take.files.plan().manifestURL, mostManifestBytes);
    if (!text) {
        take.problems.push_back("There is no manifest.json.");
        return;
    }
    try {
        take.manifest = decodeMediaManifest(*text);
    } catch (const std::exception& error) {
        take.problems.push_back("manifest.json cannot be used: " + singleLine(error.what()) + ".");
        return;
    }
    compareWithManifest(take);
}

void comparePlaylist(const TakeFiles& files, const std::filesystem::path& path, const std::string& expected,
    std::vector<std::string>& problems)
{
    const auto text = files.text(path, mostManifestBytes);
    const std::string name = singleLine(std::filesystem::relative(path, files.plan().root).string());
    if (!text)
        problems.push_back("There is no " + name + ".");
    else if (*text != expected)
        problems.push_back(name + " does not fit the segments.");
}

// As the manifest has the durations, so that a take is not broken by a rounding.
void comparePlaylists(TakeExamination& take)
{
    if (!take.problems.empty())
        return;
    const MediaManifest& manifest = *take.manifest;
    const OutputPlan& plan = take.files.plan();
    const auto compare = [&](const std::filesystem::path& path, const std::string& text) {
        comparePlaylist(take.files, path, text, take.problems);
    };
    if (!take.audio) {
        compare(plan.playlistURL,
            mediaPlaylistText(manifest.initSegmentKey, manifest.segments, PlaylistPlacement::aboveSegments));
        return;
    }
    compare(plan.videoSegmentsDirectory / "playlist.m3u8",
        mediaPlaylistText(manifest.initSegmentKey, manifest.segments, PlaylistPlacement::besideSegments));
    compare(plan.audioSegmentsDirectory / "playlist.m3u8",
        mediaPlaylistText(
            manifest.audio->initSegmentKey, *manifest.audioSegments, PlaylistPlacement::besideSegments));
    compare(plan.playlistURL,
        masterPlaylistText(manifest.video.width, manifest.video.height, manifest.video.framesPerSecond,
            takeVideoCodec().playlistCodec));
}

void readJob(TakeExamination& take)
{
    try {
        if (const auto text = take.files.text(take.files.plan().root / "upload-job.json", mostJobBytes))
            take.job = decodeRecordingUploadJob(*text);
    } catch (const std::exception& error) {
        take.problems.push_back("upload-job.json cannot be used: " + singleLine(error.what()));
    }
}

TakeState stateOf(const TakeExamination& take)
{
    if (TakeOwnership::isBeingRecorded(take.files.plan().root))
        return TakeState::recording;
    if (!take.problems.empty())
        return TakeState::interrupted;
    const bool isUploaded = take.job && take.job->state == RecordingUploadJob::State::completed;
    return isUploaded ? TakeState::uploaded : TakeState::whole;
}

} // namespace

VideoCodec takeVideoCodec()
{
    return {.name = "h264", .playlistCodec = "avc1.640028"};
}

void setContent(ExaminedPiece& piece, const ScannedSegment& content)
{
    piece.content = content;
    // libavformat guesses how long the last packet of a segment lasts.
    if (piece.extent.lastSampleDuration > 0)
        piece.content.end = content.lastDecodeTime + piece.extent.lastSampleDuration;
}

std::vector<MediaPiece> ExaminedTrack::mediaPieces(std::size_t first) const
{
    std::vector<MediaPiece> result;
    for (std::size_t at = first; at < pieces.size(); ++at)
        result.push_back({pieces[at].file.path, pieces[at].extent.wholeBytes});
    return result;
}

double ExaminedTrack::start() const
{
    return pieces.empty() ? 0 : facts.seconds(pieces.front().content.start);
}

double ExaminedTrack::end() const
{
    return pieces.empty() ? 0 : facts.seconds(pieces.back().content.end);
}

std::vector<CapturedSegment> ExaminedTrack::captured() const
{
    std::vector<CapturedSegment> result;
    for (std::size_t at = 0; at < pieces.size(); ++at) {
        const ExaminedPiece& piece = pieces[at];
        const std::int64_t end = at + 1 < pieces.size() ? pieces[at + 1].content.start : piece.content.end;
        const int index = static_cast<int>(at);
        result.push_back({.index = index,
            .relativeKey = segmentKey(files.name, index),
            .duration = facts.seconds(end - piece.content.start),
            .bytes = static_cast<std::int64_t>(piece.extent.wholeBytes),
            .earliestPresentationTime = facts.seconds(piece.content.start)});
    }
    return result;
}

std::int64_t TakeExamination::bytes() const
{
    std::int64_t sum = 0;
    for (const ExaminedTrack* track : {&video, audio ? &*audio : nullptr}) {
        if (!track)
            continue;
        for (const ExaminedPiece& piece : track->pieces)
            sum += static_cast<std::int64_t>(piece.extent.wholeBytes);
    }
    return sum;
}

std::pair<int, int> TakeExamination::pictureSize() const
{
    if (manifest && manifest->video.width > 0 && manifest->video.height > 0)
        return {manifest->video.width, manifest->video.height};
    return {video.facts.width, video.facts.height};
}

const char* takeStateText(TakeState state)
{
    // In the order of the enumerators.
    constexpr std::array texts = {"whole", "interrupted", "recording", "uploaded"};
    return texts.at(static_cast<std::size_t>(state));
}

TakeExamination examineTake(const std::filesystem::path& directory)
{
    TakeExamination take;
    take.files = TakeFiles::open(directory);
    take.video = examineTrack(take.files, "video");
    if (take.video.pieces.empty())
        throw CLIError("The take holds no picture: " + singleLine(take.files.plan().root.string()));
    if (take.video.facts.width <= 0 || take.video.facts.height <= 0)
        throw CLIError(
            "The take's video track holds no picture: " + singleLine(take.files.plan().root.string()));
    auto audio = examineTrack(take.files, "audio");
    if (audio.files.initializationSegment) {
        if (audio.facts.sampleRate <= 0)
            throw CLIError(
                "The take's audio track holds no sound: " + singleLine(take.files.plan().root.string()));
        take.audio = std::move(audio);
    }
    noteFiles(take.video, take);
    noteGaps(take.video, take);
    if (take.audio) {
        noteFiles(*take.audio, take);
        noteGaps(*take.audio, take);
    }
    noteSoundEnd(take);
    readManifest(take);
    if (take.manifest)
        comparePlaylists(take);
    readJob(take);
    take.state = stateOf(take);
    return take;
}

} // namespace glimto
