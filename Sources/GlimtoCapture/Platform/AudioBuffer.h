#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "Platform/MediaTime.h"

namespace glimto {

// Linear PCM in the machine's byte order. Integers are signed and span their whole range; 24-bit samples
// take three bytes each. Full scale of float samples is -1 to 1, but they may go beyond.
enum class AudioSampleType { integer16, integer24, integer32, float32 };

enum class AudioLayout {
    interleaved, // all channels of a frame, then the next frame
    planar, // all frames of a channel, then the next channel
};

// The numbers are part of messages.
enum class AudioFormatStatus : int { usable = 0, sampleRateOutOfRange = 1, channelCountOutOfRange = 2 };

struct AudioFormat {
    static constexpr int lowestSampleRate = 1'000; // Hz
    static constexpr int highestSampleRate = 1'000'000;
    static constexpr int mostChannels = 64;

    int sampleRate = 0; // frames a second
    int channelCount = 0; // two channels are left and right
    AudioSampleType sampleType = AudioSampleType::float32;
    AudioLayout layout = AudioLayout::interleaved;

    // Whether rate and channel count lie within the limits above.
    AudioFormatStatus status() const;
    bool isUsable() const { return status() == AudioFormatStatus::usable; }

    std::size_t bytesPerSample() const;

    // One sample of every channel. The format must be usable.
    std::size_t bytesPerFrame() const;

    // For messages: "2 channels, 44100 Hz, 16-bit integer, interleaved"; a single channel has no layout:
    // "1 channel, 48000 Hz, 32-bit float".
    std::string description() const;

    // Equal formats arrange the same bytes in the same way: the layout of a single channel is ignored.
    friend bool operator==(const AudioFormat& a, const AudioFormat& b);
};

// The numbers are part of messages.
enum class AudioDataStatus : int { whole = 0, bytesMissing = 1 };

// Some frames of sound that nobody changes. A view: the samples are valid during the call that hands the
// buffer over; who needs them longer copies them.
struct AudioBuffer {
    AudioFormat format;
    std::size_t frameCount = 0;

    // Of the first frame, on the clock that the giver of the buffer names.
    MediaTime presentationTime;

    // The samples, at any alignment: at least frameCount * format.bytesPerFrame() bytes, of which only these
    // count. Planar channels follow each other without gaps, each frameCount samples long.
    std::span<const std::byte> bytes;

    // False when the giver could not fill the buffer yet; nothing in it may be used then.
    bool isReady = true;

    // Whether `bytes` holds all frames. The format must be usable.
    AudioDataStatus dataStatus() const;
};

} // namespace glimto
