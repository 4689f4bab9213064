#include "Recording/SegmentTrack.h"

#include <utility>

#include "Support/AtomicFile.h"
#include "Support/Guarded.h"

namespace glimto {

namespace {

using Bytes = std::vector<std::byte>;

// Owned by the task that writes it.
std::shared_ptr<const Bytes> copied(std::span<const std::byte> data)
{
    return std::make_shared<const Bytes>(data.begin(), data.end());
}

} // namespace

struct SegmentTrack::Files {
    struct Outcome {
        std::optional<std::string> initializationSegmentKey;
        std::vector<CapturedSegment> segments;
        int writeFailures = 0;
        std::exception_ptr firstFailure;
    };

    std::filesystem::path root;
    std::string keyPrefix; // "segments/video/"
    Seconds segmentDuration{0};
    std::shared_ptr<RecordingFigures> figures;
    Guarded<Outcome> outcome;

    // Touched on the queue only.
    int nextIndex = 0;
    std::unique_ptr<AtomicFile> unfinished;
    bool hasFailed = false;

    // Nothing may leave a task of the queue, so a failure is kept for whoever asks. After one, the take
    // is over: a segment behind a hole would be of no use to anybody.
    template <typename Function> bool attempt(Function&& function)
    {
        try {
            function();
            return true;
        } catch (...) {
            outcome.with([error = std::current_exception()](Outcome& state) {
                ++state.writeFailures;
                if (!state.firstFailure)
                    state.firstFailure = error;
            });
            hasFailed = true;
            return false;
        }
    }

    void writeInitializationSegment(const Bytes& data)
    {
        const std::string key = keyPrefix + "init.mp4";
        if (!hasFailed && attempt([&] { writeFileAtomically(FileBelow{root, key}, data); }))
            outcome.with([&](Outcome& state) { state.initializationSegmentKey = key; });
    }

    void writePiece(const Bytes& data)
    {
        if (hasFailed)
            return;
        const bool isWritten = attempt([&] {
            // The index is taken only when the segment turns out to count.
            if (!unfinished)
                unfinished
                    = std::make_unique<AtomicFile>(FileBelow{root, keyPrefix + segmentFileName(nextIndex)});
            unfinished->write(data);
            figures->noteBytes(static_cast<std::int64_t>(data.size()));
        });
        // What cannot be completed should not keep a full disk full.
        if (!isWritten)
            unfinished.reset();
    }

    void finishSegment(const SegmentReport& report)
    {
        const auto file = std::move(unfinished);
        const double duration = report.duration && report.duration->isValid() ? report.duration->seconds()
                                                                              : segmentDuration.count();
        if (!file || !(duration > 0))
            return;
        const int index = nextIndex++;
        if (!attempt([&] { file->commit(); }))
            return;
        CapturedSegment segment;
        segment.index = index;
        segment.relativeKey = keyPrefix + segmentFileName(index);
        segment.duration = duration;
        segment.bytes = static_cast<std::int64_t>(file->size());
        if (report.earliestPresentationTime && report.earliestPresentationTime->isValid())
            segment.earliestPresentationTime = report.earliestPresentationTime->seconds();
        outcome.with([&](Outcome& state) { state.segments.push_back(std::move(segment)); });
    }
};

SegmentTrack::SegmentTrack(const std::filesystem::path& root, const std::string& track,
    Seconds segmentDuration, SegmentFileQueue& files, std::shared_ptr<RecordingFigures> figures)
    : queue_(files)
    , files_(std::make_shared<Files>())
{
    files_->root = root;
    files_->keyPrefix = "segments/" + track + "/";
    files_->segmentDuration = segmentDuration;
    files_->figures = std::move(figures);
}

SegmentTrack::~SegmentTrack() = default;

void SegmentTrack::didOutputInitializationSegment(std::span<const std::byte> data)
{
    queue_.post(
        data.size(), [files = files_, bytes = copied(data)] { files->writeInitializationSegment(*bytes); });
}

void SegmentTrack::didOutputSegmentData(std::span<const std::byte> data)
{
    queue_.post(data.size(), [files = files_, bytes = copied(data)] { files->writePiece(*bytes); });
}

void SegmentTrack::didFinishSegment(const SegmentReport& report)
{
    queue_.post(0, [files = files_, report] { files->finishSegment(report); });
}

std::optional<std::string> SegmentTrack::initializationSegmentKey() const
{
    return files_->outcome.with([](const Files::Outcome& state) { return state.initializationSegmentKey; });
}

std::vector<CapturedSegment> SegmentTrack::segments() const
{
    return files_->outcome.with([](const Files::Outcome& state) { return state.segments; });
}

int SegmentTrack::writeFailures() const
{
    return files_->outcome.with([](const Files::Outcome& state) { return state.writeFailures; });
}

std::exception_ptr SegmentTrack::firstFailure() const
{
    return files_->outcome.with([](const Files::Outcome& state) { return state.firstFailure; });
}

std::function<void()> SegmentTrack::unfinishedSegmentRemoval() const
{
    return [files = files_] { files->unfinished.reset(); };
}

} // namespace glimto
