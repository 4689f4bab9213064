#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/AudioMixerSource.h"
#include "Platform/AudioBuffer.h"
#include "Platform/AudioConverter.h"

namespace glimto {

// 32-bit float samples of one or two channels; a single channel stands as left and right. Valid until the
// next buffer is read, and as long as the buffer that was read.
struct ReadChannels {
    const std::byte* left = nullptr; // frameCount samples each, at any alignment
    const std::byte* right = nullptr;
    std::size_t frameCount = 0;
};

// One source of the mixer: reads its buffers in whatever format they come, and knows where the source is on
// the timeline. Used by one thread at a time.
class AudioSourceTrack {
public:
    // `sampleRate` is the mixer's, in Hz. `converters` outlives the track.
    AudioSourceTrack(AudioMixerSource source, int sampleRate, AudioConverterFactory& converters);

    // The frames of `buffer` at the mixer's rate. They may be fewer or more than the buffer has, or none:
    // resampling holds some back for the next one. Nothing, and the track's warning if that is the first,
    // when they cannot be read. Allocates only when the format changes or a buffer is larger than all before
    // it.
    std::optional<ReadChannels> read(const AudioBuffer& buffer);

    // What is to be told of the source: once, what went wrong first.
    std::optional<std::string> takeWarning() { return std::exchange(warning_, std::nullopt); }

    // The frame of the timeline just after the source's last accepted one.
    std::optional<std::int64_t> nextFrame;

private:
    void configure(const AudioFormat& format);
    std::optional<ReadChannels> readConverted(const AudioBuffer& buffer);
    std::size_t convertAll(const AudioBuffer& buffer);
    std::array<std::span<float>, 2> planes(std::size_t first, std::size_t count);
    void warn(const std::string& text);

    std::string name_;
    int sampleRate_;
    AudioConverterFactory* converters_;

    std::optional<AudioFormat> inputFormat_; // of the last buffer
    bool canRead_ = false; // buffers of that format
    AudioFormat mixFormat_; // what they are read as
    std::unique_ptr<AudioConverter> converter_; // null when the two formats are equal
    std::array<std::vector<float>, 2> converted_; // as large as ever needed
    bool didWarn_ = false;
    std::optional<std::string> warning_;
};

} // namespace glimto
