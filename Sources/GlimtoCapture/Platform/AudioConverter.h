#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "Platform/AudioBuffer.h"

namespace glimto {

// Where the output channels come from when the input has more of them.
enum class ChannelMapping {
    firstChannels, // the first input channels; the others are dropped
    downmix, // all input channels, weighted as their usual places around the listener ask for
};

// Converts one continuous stream of sound into 32-bit float planes. It remembers the stream: resampling may
// hold frames back until later input tells how they go on, so output can come late, but none is lost or
// invented.
//
// Used by one thread at a time.
class AudioConverter {
public:
    virtual ~AudioConverter() = default;

    // Takes all frames of `input`, which is whole and has the converter's input format, and writes
    // converted frames to the start of the planes: one plane a channel of the output format, all of the
    // same length, which is how many frames may be written. Returns the number of frames written to each
    // plane. Fewer than the planes' length means that there are no more for now; otherwise the rest waits
    // for convertRemaining(). Throws PlatformError when the input cannot be converted; it is lost then, and
    // the converter may be used on.
    virtual std::size_t convert(const AudioBuffer& input, std::span<const std::span<float>> planes) = 0;

    // The same without new input.
    virtual std::size_t convertRemaining(std::span<const std::span<float>> planes) = 0;
};

class AudioConverterFactory {
public:
    virtual ~AudioConverterFactory() = default;

    // A converter from `input`, any usable format, to `output`, which is 32-bit float and planar. A single
    // input channel goes to all output channels. Null when it cannot be converted. Throws PlatformError
    // when there is no converter at all.
    virtual std::unique_ptr<AudioConverter> makeConverter(
        const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping)
        = 0;
};

} // namespace glimto
