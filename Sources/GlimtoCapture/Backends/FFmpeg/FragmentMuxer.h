#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "Backends/FFmpeg/FFmpegHandles.h"
#include "Platform/VideoEncoder.h"

namespace glimto {

// AAC. The timescale is the sample rate.
struct AudioTrackDescription {
    std::int32_t sampleRate = 0; // Hz
    int channelCount = 0;
    int framesPerSample = 0; // of a sample in the container's sense, which is one block of the encoder
    std::span<const std::uint8_t> decoderConfiguration; // AudioSpecificConfig
    std::int64_t averageBitRate = 0;
};

// One track of fragmented MP4 (ISO/IEC 14496-12) in memory, by libavformat. Throws PlatformError
// with FFmpeg's error numbers.
class FragmentMuxer {
public:
    // The initialization segment lies ready in takeOutput() afterwards.
    // `timescale` is ticks a second. The sample entry is any that MP4 has a code for.
    FragmentMuxer(const VideoSampleDescription& samples, std::int32_t timescale, std::int64_t averageBitRate);
    explicit FragmentMuxer(const AudioTrackDescription& track);
    FragmentMuxer(const FragmentMuxer&) = delete;
    FragmentMuxer& operator=(const FragmentMuxer&) = delete;

    // What a sample is stored with; times in ticks.
    struct SampleFacts {
        std::int64_t decodeTime = 0; // rises by exactly the duration of the sample before
        std::int64_t duration = 0; // until the next one is decoded
        std::int64_t time = 0; // when it is shown, not before it is decoded
        bool isKeyframe = false;
    };

    // Adds a sample to the current fragment.
    void addSample(std::span<const std::byte> data, const SampleFacts& facts);

    // Ends the current fragment, if it has a sample: "moof" and "mdat" come out.
    void endFragment();

    // What has been written since the last call; the caller's to keep.
    std::vector<std::byte> takeOutput() { return std::exchange(output_, {}); }

    // Payload bytes in the fragment that is not ended yet.
    std::size_t pendingBytes() const { return pendingBytes_; }

private:
    static int receive(void* opaque, std::uint8_t* data, int size);
    AVStream& makeStream();
    void writeHeader(std::int32_t timescale);

    IOContextHandle stream_; // outlives the format, which writes to it
    FormatContextHandle format_;
    PacketHandle packet_;
    std::vector<std::byte> output_;
    std::size_t pendingBytes_ = 0;
};

} // namespace glimto
