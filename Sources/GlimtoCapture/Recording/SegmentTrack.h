#pragma once

#include <cstddef>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Artifacts/CapturedSegment.h"
#include "Platform/AssetWriter.h"
#include "Progress/RecordingFigures.h"
#include "Recording/SegmentFileQueue.h"

namespace glimto {

// Puts the output of one asset writer on the disk while it is made: "init.mp4" and "segment_000.m4s",
// "segment_001.m4s" and so on in "segments/<track>" of the take.
//
// A segment streams into a temporary file as its pieces arrive, and gets its name when it is complete,
// so that whoever watches the directory sees whole segments only. After a file that could not be written
// nothing more is. The delegate operations copy the data and leave the file work to the queue; the other
// operations may be called from any thread.
class SegmentTrack final : public AssetWriterDelegate {
public:
    // `track` is "video" or "audio". A segment whose writer tells no duration counts as
    // `segmentDuration` long. `files` must outlive this object. `figures` counts the bytes of segments.
    SegmentTrack(const std::filesystem::path& root, const std::string& track, Seconds segmentDuration,
        SegmentFileQueue& files,
        std::shared_ptr<RecordingFigures> figures = std::make_shared<RecordingFigures>());
    ~SegmentTrack() override;

    void didOutputInitializationSegment(std::span<const std::byte> data) override;
    void didOutputSegmentData(std::span<const std::byte> data) override;
    void didFinishSegment(const SegmentReport& report) override;

    // The relative key of the initialization segment, once it is on the disk.
    std::optional<std::string> initializationSegmentKey() const;

    // The segments on the disk, in order.
    std::vector<CapturedSegment> segments() const;

    // How many files could not be written, and why the first of them could not; null when all could.
    int writeFailures() const;
    std::exception_ptr firstFailure() const;

    // A task for the queue that removes the temporary file of the segment that is not complete.
    std::function<void()> unfinishedSegmentRemoval() const;

private:
    struct Files;

    SegmentFileQueue& queue_;
    std::shared_ptr<Files> files_; // shared with the tasks on the queue
};

} // namespace glimto
