#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Fakes/AudioSamples.h"
#include "Platform/AssetWriter.h"

namespace glimto {

// An encoder of one track whose output the test decides; outlives its writer object as a record.
//
// By itself it puts out the initialization segment "INIT" when it starts, and when it finishes, if it
// has taken anything, one segment "MEDIA" of one second.
struct FakeAssetWriterState {
    // Sound that was taken.
    struct Piece {
        MediaTime time;
        AudioFormat format;
        std::size_t frameCount = 0;
        float firstSample = 0;
    };

    // How it behaves.
    bool refusesSettings = false;
    bool failsToStart = false;
    bool isReady = true;
    bool refusesMedia = false;
    bool outputsInitialization = true;
    bool outputsLastSegment = true;
    VideoCodec codec = {.name = "h264", .playlistCodec = "avc1.640028"};
    AssetWriterStatus finalStatus = AssetWriterStatus::completed;
    std::string error;
    std::function<void()> onAppend; // runs within append()
    std::function<void()> onFinish; // runs within finishWriting(); may hang

    // What happened.
    std::optional<VideoEncodingSettings> settings;
    std::optional<AudioEncodingSettings> audioSettings;
    std::optional<MediaTime> segmentInterval;
    std::vector<VideoFrame> frames;
    std::vector<Piece> pieces;
    std::vector<MediaTime> silenceFills;
    std::optional<MediaTime> sessionEnd;
    int finishes = 0;
    std::atomic<int> cancels = 0;
    std::atomic<AssetWriterStatus> status = AssetWriterStatus::unknown;

    AssetWriterDelegate* delegate = nullptr; // null when there is no writer

    void outputInitializationSegment(std::string_view text) const
    {
        delegate->didOutputInitializationSegment(std::as_bytes(std::span(text.data(), text.size())));
    }
    void outputPiece(std::string_view text) const
    {
        delegate->didOutputSegmentData(std::as_bytes(std::span(text.data(), text.size())));
    }
    void finishSegment(
        std::optional<MediaTime> duration, std::optional<MediaTime> earliest = std::nullopt) const
    {
        delegate->didFinishSegment({.duration = duration, .earliestPresentationTime = earliest});
    }
    void outputSegment(std::string_view text, double seconds) const
    {
        outputPiece(text);
        finishSegment(MediaTime::fromSeconds(seconds, 600), MediaTime{0, 600});
    }
};

// What both kinds of writers do alike.
template <typename Interface> class FakeTrackWriter : public Interface {
public:
    explicit FakeTrackWriter(std::shared_ptr<FakeAssetWriterState> state)
        : state_(std::move(state))
    {
    }
    ~FakeTrackWriter() override { state_->delegate = nullptr; }

    bool startWriting() override
    {
        if (state_->failsToStart) {
            state_->status = AssetWriterStatus::failed;
            return false;
        }
        state_->status = AssetWriterStatus::writing;
        if (state_->outputsInitialization)
            state_->outputInitializationSegment("INIT");
        return true;
    }

    bool isReadyForMoreMediaData() const override { return state_->isReady; }

    AssetWriterStatus finishWriting() override
    {
        ++state_->finishes;
        if (state_->onFinish)
            state_->onFinish();
        if (state_->status == AssetWriterStatus::writing) {
            if (state_->outputsLastSegment && !(state_->frames.empty() && state_->pieces.empty()))
                state_->outputSegment("MEDIA", 1.0);
            state_->status = state_->finalStatus;
        }
        return state_->status;
    }

    void cancelWriting() override
    {
        ++state_->cancels;
        state_->status = AssetWriterStatus::cancelled;
    }

    AssetWriterStatus status() const override { return state_->status; }

    std::string error() const override
    {
        return state_->status == AssetWriterStatus::failed ? state_->error : std::string();
    }

protected:
    const std::shared_ptr<FakeAssetWriterState> state_; // shared with the factory
};

class FakeVideoAssetWriter final : public FakeTrackWriter<VideoAssetWriter> {
public:
    using FakeTrackWriter::FakeTrackWriter;

    VideoCodec codec() const override { return state_->codec; }

    bool append(const VideoFrame& frame) override
    {
        if (state_->refusesMedia)
            return false;
        state_->frames.push_back(frame);
        if (state_->onAppend)
            state_->onAppend();
        return true;
    }
};

class FakeAudioAssetWriter final : public FakeTrackWriter<AudioAssetWriter> {
public:
    using FakeTrackWriter::FakeTrackWriter;

    bool append(const AudioBuffer& buffer) override
    {
        if (state_->refusesMedia)
            return false;
        state_->pieces.push_back(
            {buffer.presentationTime, buffer.format, buffer.frameCount, sampleIn(buffer, 0, 0)});
        if (state_->onAppend)
            state_->onAppend();
        return true;
    }

    void fillWithSilence(MediaTime end) override { state_->silenceFills.push_back(end); }

    void endSession(MediaTime end) override { state_->sessionEnd = end; }
};

class FakeAssetWriterFactory final : public VideoAssetWriterFactory, public AudioAssetWriterFactory {
public:
    std::unique_ptr<VideoAssetWriter> makeVideoWriter(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override
    {
        writer->settings = settings;
        return made<FakeVideoAssetWriter>(writer, preferredSegmentInterval, delegate);
    }

    std::unique_ptr<AudioAssetWriter> makeAudioWriter(const AudioEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override
    {
        audioWriter->audioSettings = settings;
        return made<FakeAudioAssetWriter>(audioWriter, preferredSegmentInterval, delegate);
    }

    // Shared with the writers that are made.
    std::shared_ptr<FakeAssetWriterState> writer = std::make_shared<FakeAssetWriterState>();
    std::shared_ptr<FakeAssetWriterState> audioWriter = std::make_shared<FakeAssetWriterState>();

private:
    template <typename Writer>
    static std::unique_ptr<Writer> made(const std::shared_ptr<FakeAssetWriterState>& state,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
    {
        state->segmentInterval = preferredSegmentInterval;
        if (state->refusesSettings)
            return nullptr;
        state->delegate = &delegate;
        return std::make_unique<Writer>(state);
    }
};

} // namespace glimto
