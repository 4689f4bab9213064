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

#include "Platform/AssetWriter.h"

namespace glimto {

// An encoder whose output the test decides; outlives its writer object as a record.
//
// By itself it puts out the initialization segment "INIT" when it starts, and when it finishes, if it
// has taken a frame, one segment "MEDIA" of one second.
struct FakeAssetWriterState {
    // How it behaves.
    bool refusesSettings = false;
    bool failsToStart = false;
    bool isReady = true;
    bool refusesFrames = false;
    bool outputsInitialization = true;
    bool outputsLastSegment = true;
    AssetWriterStatus finalStatus = AssetWriterStatus::completed;
    std::string error;
    std::function<void()> onAppend; // runs within append()
    std::function<void()> onFinish; // runs within finishWriting(); may hang

    // What happened.
    std::optional<VideoEncodingSettings> settings;
    std::optional<MediaTime> segmentInterval;
    std::vector<VideoFrame> frames;
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

class FakeAssetWriter final : public VideoAssetWriter {
public:
    explicit FakeAssetWriter(std::shared_ptr<FakeAssetWriterState> state)
        : state_(std::move(state))
    {
    }
    ~FakeAssetWriter() override { state_->delegate = nullptr; }

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

    bool append(const VideoFrame& frame) override
    {
        if (state_->refusesFrames)
            return false;
        state_->frames.push_back(frame);
        if (state_->onAppend)
            state_->onAppend();
        return true;
    }

    AssetWriterStatus finishWriting() override
    {
        if (state_->onFinish)
            state_->onFinish();
        if (state_->status == AssetWriterStatus::writing) {
            if (state_->outputsLastSegment && !state_->frames.empty())
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

private:
    std::shared_ptr<FakeAssetWriterState> state_; // shared with the factory
};

class FakeAssetWriterFactory final : public AssetWriterFactory {
public:
    std::unique_ptr<VideoAssetWriter> makeVideoWriter(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override
    {
        writer->settings = settings;
        writer->segmentInterval = preferredSegmentInterval;
        if (writer->refusesSettings)
            return nullptr;
        writer->delegate = &delegate;
        return std::make_unique<FakeAssetWriter>(writer);
    }

    std::unique_ptr<AudioAssetWriter> makeAudioWriter(
        const AudioEncodingSettings&, MediaTime, AssetWriterDelegate&) override
    {
        return nullptr;
    }

    // Shared with the writer that is made.
    std::shared_ptr<FakeAssetWriterState> writer = std::make_shared<FakeAssetWriterState>();
};

} // namespace glimto
