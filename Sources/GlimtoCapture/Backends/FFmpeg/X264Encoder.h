#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Backends/FFmpeg/I420Picture.h"
#include "Platform/AssetWriter.h"

struct x264_t;
struct x264_picture_t;

namespace glimto {

// One encoded access unit, as ISO/IEC 14496-15 stores it: NAL units behind 4-byte lengths.
struct EncodedPicture {
    std::vector<std::byte> data;
    std::int64_t time = 0; // presentation and decode time, ticks
    bool isKeyframe = false;
    int quantizer = 0; // average, 0 to 51
};

enum class PictureKind { keyframe, predicted };

// H.264 High profile by x264, pictures in order. x264 gives out a picture only when it has seen the time
// of the next one: rate control needs its duration.
//
// x264 is used directly because it alone takes hints about macroblocks that did not change, which
// saves a quarter of the time on a desktop where little moves.
class X264Encoder {
public:
    // Pictures have the padded size of I420Picture. Null when x264 refuses the settings.
    static std::unique_ptr<X264Encoder> make(const VideoEncodingSettings& settings, std::int32_t timescale);
    ~X264Encoder();
    X264Encoder(const X264Encoder&) = delete;
    X264Encoder& operator=(const X264Encoder&) = delete;

    // The avcC record (ISO/IEC 14496-15 section 5.3.3.1) with the parameter sets.
    const std::vector<std::uint8_t>& decoderConfiguration() const { return decoderConfiguration_; }

    // Copies the picture. `time` must rise. `quantizer` overrides rate control. Returns an earlier
    // picture that is done now, if there is one. Throws PlatformError when x264 fails.
    std::optional<EncodedPicture> encode(
        const I420Picture& picture, std::int64_t time, PictureKind kind, std::optional<int> quantizer);

    // The next of the pictures that are still inside; nothing when all are out. Ends the encoding.
    std::optional<EncodedPicture> flush();

private:
    explicit X264Encoder(x264_t* encoder);
    bool readParameterSets();
    std::optional<EncodedPicture> run(x264_picture_t* input);

    x264_t* encoder_;
    std::vector<std::uint8_t> decoderConfiguration_;
};

} // namespace glimto
