#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Backends/X264/I420Picture.h"
#include "Platform/VideoEncoder.h"

struct x264_t;

namespace glimto {

// Quick tools find motion by whole pixels, which is all that windows and pages have; what zooms, turns and
// films need is found by thorough ones, at half as much time again.
enum class CodingTools { quick, thorough };

// H.264 High profile by x264: one picture in, the same picture out. The caller chooses the quantizers.
//
// x264 is used directly because it alone takes hints about macroblocks that did not change, which saves a
// quarter of the time on a desktop where little moves.
class X264PictureCoder {
public:
    // Pictures have the padded size of I420Picture. Null when x264 refuses the settings.
    static std::unique_ptr<X264PictureCoder> make(
        const VideoEncodingSettings& settings, std::int32_t timescale, CodingTools tools);
    ~X264PictureCoder();

    // Whether this machine encodes such pictures as fast as they come, whatever they show. If not, quick
    // tools are even quicker.
    static bool hasTimeToBeThorough(const VideoEncodingSettings& settings);

    X264PictureCoder(const X264PictureCoder&) = delete;
    X264PictureCoder& operator=(const X264PictureCoder&) = delete;

    // As x264 writes them, without a length (ITU-T H.264 sections 7.3.2.1 and 7.3.2.2).
    struct ParameterSets {
        std::vector<std::uint8_t> sequence;
        std::vector<std::uint8_t> picture;
    };
    const ParameterSets& parameterSets() const { return parameterSets_; }

    // One access unit as ISO/IEC 14496-15 stores it: NAL units behind 4-byte lengths. `time` must rise.
    // Throws PlatformError when x264 fails.
    EncodedPicture encode(I420Picture& picture, std::int64_t time, PictureKind kind, int quantizer);

private:
    explicit X264PictureCoder(x264_t* encoder);
    bool readParameterSets();

    x264_t* encoder_;
    ParameterSets parameterSets_;
};

} // namespace glimto
