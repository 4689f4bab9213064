#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <ratio>
#include <span>
#include <string>
#include <vector>

#include "Platform/Geometry.h"
#include "Platform/FramePicture.h"
#include "Platform/MediaTime.h"

namespace glimto {

// Times on a video track, from its start: 90,000 ticks a second, of which each usual frame rate has whole
// ones.
using VideoTime = std::chrono::duration<std::int64_t, std::ratio<1, 90'000>>;

// Rounded half away from zero. Must be valid.
inline VideoTime videoTime(const MediaTime& time)
{
    return VideoTime(time.converted(VideoTime::period::den).value);
}

inline MediaTime mediaTime(VideoTime time)
{
    return {time.count(), VideoTime::period::den};
}

// What a take's pictures are encoded with, settled before the first one.
struct VideoEncodingSettings {
    int width = 0; // pixels
    int height = 0;
    int framesPerSecond = 0; // expected at most; time stamps decide
    std::int64_t averageBitRate = 0; // bits a second
    std::int64_t maxKeyFrameInterval = 0; // frames
    Seconds maxKeyFrameIntervalDuration{0};
};

// What the files of a take say of how its pictures are encoded.
struct VideoCodec {
    std::string name; // in the manifest, such as "h264"
    std::string playlistCodec; // in CODECS of a master playlist (RFC 6381 section 3.3), such as "avc1.640028"

    friend bool operator==(const VideoCodec&, const VideoCodec&) = default;
};

// What a container says of an encoder's pictures, once for all of them.
struct VideoSampleDescription {
    std::string format; // four-character code of the sample entry (ISO/IEC 14496-12 section 8.5.2), as "avc1"
    std::vector<std::uint8_t> decoderConfiguration; // as such a sample entry holds it
    int width = 0; // pixels, of the encoded picture
    int height = 0;
};

enum class PictureKind { keyframe, predicted };

// One encoded picture as a sample of the container.
struct EncodedPicture {
    std::vector<std::byte> data;
    VideoTime time{0}; // when it is shown
    VideoTime decodeTime{0}; // not later than `time`; of a keyframe the same
    bool isKeyframe = false;
};

// Encodes the pictures of one track and decides how fine each one is so that the track keeps to its average
// bit rate. What comes out are encoded pictures in the order to decode them, with rising decode times: often
// the one that was given, but an encoder that predicts pictures from later ones as well gives some of them
// later, and some before others that are shown earlier. None is lost, and each keeps its time. All pictures
// given before a keyframe come out before it.
//
// It keeps the picture that it was given last. Used by one thread at a time. `time` rises. A keyframe needs
// nothing before it, and nothing after it needs what was before. What fails throws PlatformError.
class VideoEncoder {
public:
    virtual ~VideoEncoder() = default;

    virtual const VideoCodec& codec() const = 0;
    virtual const VideoSampleDescription& sampleDescription() const = 0;

    // Encodes a picture of the settings' size that differs from the one before in `changedRects` at most.
    virtual std::vector<EncodedPicture> encode(const FramePicture& picture,
        std::span<const PixelRect> changedRects, VideoTime time, PictureKind kind)
        = 0;

    // Encodes the picture that was given last once more.
    virtual std::vector<EncodedPicture> repeat(VideoTime time, PictureKind kind) = 0;

    // The same, finer than before or to let out what is due, for a picture that stands still. Absent when it
    // is not encoded once more, as it is fine enough.
    virtual std::optional<std::vector<EncodedPicture>> refine(VideoTime time) = 0;

    // What has not come out yet. No picture follows.
    virtual std::vector<EncodedPicture> finish() = 0;
};

class VideoEncoderFactory {
public:
    virtual ~VideoEncoderFactory() = default;

    // Null when the encoder refuses the settings. Throws PlatformError.
    virtual std::unique_ptr<VideoEncoder> makeEncoder(const VideoEncodingSettings& settings) = 0;
};

} // namespace glimto
