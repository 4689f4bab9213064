#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "GlimtoTake/Media/FirstPictures.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"
#include "GlimtoTake/Media/TakeSpan.h"

namespace glimto {

// The packets of one track of a take within a span, as they were recorded. Times count from the span's start.
class CopiedTrack {
public:
    // From the keyframe at the span's start, or from pictures that are encoded again up to the next one.
    static std::unique_ptr<CopiedTrack> ofPictures(const ExaminedTrack& video, const TakeSpan& span);

    // One block more than is heard, which a decoder needs to begin with; its time is before the file's zero.
    static std::unique_ptr<CopiedTrack> ofSound(const ExaminedTrack& audio, const TakeSpan& span);

    CopiedTrack(const CopiedTrack&) = delete;
    CopiedTrack& operator=(const CopiedTrack&) = delete;

    const AVStream& stream() const { return reader_.stream(); }
    const AVCodecParameters& parameters() const { return *parameters_; }

    // Reads the first packet.
    void begin() { advance(); }

    bool isOver() const { return !hasNext_; }
    double nextSeconds() const;

    // The packet; call advance() once it is written.
    AVPacket& next() { return *next_; }
    void advance();

private:
    CopiedTrack(const ExaminedTrack& track, std::size_t firstPiece, std::int64_t origin,
        std::int64_t earliest, std::int64_t end);
    void putFirst(FirstPictures pictures);
    void take();

    TrackReader reader_;
    CodecParametersHandle parameters_;
    std::deque<PacketHandle> first_; // come before those that are copied
    const std::int64_t origin_; // ticks of the track
    const std::int64_t earliest_;
    const std::int64_t end_;
    PacketHandle next_;
    bool hasNext_ = false;
};

} // namespace glimto
