#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "Backends/X264/I420Picture.h"
#include "Platform/VideoEncoder.h"

struct x264_picture_t;
struct x264_t;

namespace glimto {

enum class CodingTools {
    quick, // motion by whole pixels, which is all that windows and pages have
    compact, // the same with CABAC: a sixth fewer bits where most of a picture moves, in a sixth more time
    thorough, // motion by parts of a pixel, as zooms, turns and films need it, and pictures in between
    spreading, // also makes flat parts finer than busy ones, which shows where pictures are coarse
};

inline constexpr std::array allCodingTools
    = {CodingTools::quick, CodingTools::compact, CodingTools::thorough, CodingTools::spreading};

// Whether there can be pictures that are predicted from one after them too, which therefore has to be known
// first.
constexpr bool looksAhead(CodingTools tools)
{
    return tools >= CodingTools::thorough;
}

// H.264 High profile by x264. The caller chooses the quantizers and which pictures are predicted from both
// sides.
//
// Each picture comes out at once, or with tools that look ahead `mostInBetween` pictures later.
//
// x264 is used directly because it alone takes hints about macroblocks that did not change, which saves a
// quarter of the time on a desktop where little moves.
class X264PictureCoder {
public:
    // Pictures have the padded size of I420Picture. Null when x264 refuses the settings.
    static std::unique_ptr<X264PictureCoder> make(const VideoEncodingSettings& settings, CodingTools tools);
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

    static constexpr int mostInBetween = 2; // more in a row lose where something turns or comes nearer

    struct Coding {
        VideoTime time{0}; // rises, by 2 ticks at least where a picture is in between
        PictureKind kind = PictureKind::predicted;
        // Predicted from the next picture that is not in between too, and nothing is predicted from it; with
        // tools that look ahead only. Where no such one comes, or a keyframe, it becomes one like the others.
        bool isBetween = false;
        int quantizer = 0;
        std::optional<int> keyframeIDBefore; // of the picture given before, if that is a keyframe
    };

    // What comes out: access units as ISO/IEC 14496-15 stores them, NAL units behind 4-byte lengths. At most
    // one when a picture goes in. Throws PlatformError when x264 fails.
    std::vector<EncodedPicture> encode(I420Picture& picture, const Coding& coding);

    // Whether to look for parts of macroblocks that move by themselves, from the next picture on; at first
    // nobody does. With tools that look ahead only.
    void findPartsThatMove(bool shallFind);

    // The idr_pic_id of the last keyframe given, 0 or 1; differs from `keyframeIDBefore`.
    int lastKeyframeID() const { return lastKeyframeID_; }

    // What has not come out yet. No picture follows.
    std::vector<EncodedPicture> finish();

private:
    X264PictureCoder(x264_t* encoder, CodingTools tools);
    bool readParameterSets();
    void giveMarks(x264_picture_t& input, const std::vector<std::uint8_t>& unchanged, const Coding& coding);
    std::vector<EncodedPicture> give(I420Picture& picture, const Coding& coding, void* mark);
    std::vector<EncodedPicture> run(x264_picture_t* input);
    VideoTime decodeTimeOf(VideoTime time);

    x264_t* encoder_;
    const CodingTools tools_;
    ParameterSets parameterSets_;
    int lastKeyframeID_ = 1; // x264 begins with 0
    std::deque<VideoTime> timesInBetween_; // of the pictures in between that are not out
    VideoTime lastDecodeTime_{0};
    bool findsPartsThatMove_ = false;
    std::vector<std::uint8_t> unchangedBefore_; // marks of pictures in between that wait for the next one
};

} // namespace glimto
