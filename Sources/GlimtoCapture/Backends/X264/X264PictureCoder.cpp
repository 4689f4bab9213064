#include "Backends/X264/X264PictureCoder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <new>
#include <span>
#include <thread>
#include <utility>

#include <x264.h>

#include "Backends/X264/RateController.h"
#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

// The most that x264 takes; it would refuse as well, but not without losing some memory.
constexpr int largestSide = 16384;

// From here on one core is not enough: 1080p at 45 frames a second.
constexpr std::int64_t pixelsPerSecondOfOneThread = 1920LL * 1080 * 45;

// Takes about a third of a core; the rest is for what is recorded.
constexpr std::int64_t thoroughPixelsPerSecondOfOneCore = 1920LL * 1080 * 30;

std::int64_t pixelsPerSecond(const VideoEncodingSettings& settings)
{
    return static_cast<std::int64_t>(settings.width) * settings.height * settings.framesPerSecond;
}

int threadCount(const VideoEncodingSettings& settings)
{
    const bool isTall = settings.height >= 256; // a slice of a few rows is not worth a thread
    if (pixelsPerSecond(settings) <= pixelsPerSecondOfOneThread || !isTall)
        return 1;
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 4);
}

// With a constant quantizer for the whole of a picture x264 takes the one given with each picture, but only
// between those of its own keyframes and B-frames: their distance from the middle has to span the whole
// range.
void takeQuantizersFromCaller(x264_param_t& parameters)
{
    parameters.rc.i_aq_mode = X264_AQ_NONE;
    constexpr int middle = (RateController::finestQuantizer + RateController::coarsestQuantizer) / 2;
    constexpr double stepsPerDoubling = 6;
    parameters.rc.i_rc_method = X264_RC_CQP;
    parameters.rc.i_qp_constant = middle;
    parameters.rc.f_ip_factor
        = static_cast<float>(std::exp2((middle - RateController::finestQuantizer) / stepsPerDoubling));
    parameters.rc.f_pb_factor
        = static_cast<float>(std::exp2((RateController::coarsestQuantizer - middle) / stepsPerDoubling));
}

// Where the quantizer differs within a picture x264 takes the caller's as it is; flat parts become finer than
// that, busy ones coarser. It has to look at each picture once more for that.
void spreadQuantizers(x264_param_t& parameters)
{
    parameters.rc.i_rc_method = X264_RC_CRF;
    parameters.rc.i_aq_mode = X264_AQ_VARIANCE;
    parameters.rc.f_aq_strength = 0.8F; // stronger ones take too much from edges and grain
    // Smaller coefficients than x264 usually keeps (21 and 11): much of what is weak is lost otherwise.
    parameters.analyse.i_luma_deadzone[0] = 16; // inter
    parameters.analyse.i_luma_deadzone[1] = 8; // intra
}

// The superfast preset without what costs more than it brings on a screen: measured in Benchmarks/record.
void chooseAnalysis(x264_param_t& parameters)
{
    parameters.rc.b_mb_tree = 0;
    parameters.rc.i_lookahead = 0;
    parameters.analyse.i_weighted_pred = X264_WEIGHTP_NONE;
    parameters.analyse.b_transform_8x8 = 1; // what makes it High profile
    parameters.analyse.b_mb_info = 1;
    parameters.i_scenecut_threshold = 0;
    parameters.i_bframe = 0;
    parameters.i_bframe_adaptive = X264_B_ADAPT_NONE;
    parameters.i_bframe_pyramid = X264_B_PYRAMID_NONE;
    parameters.i_sync_lookahead = 0;
}

void chooseTools(x264_param_t& parameters, CodingTools tools, const VideoEncodingSettings& settings)
{
    parameters.i_sps_id = static_cast<int>(tools);
    parameters.b_cabac = tools != CodingTools::quick ? 1 : 0;
    if (tools == CodingTools::spreading)
        spreadQuantizers(parameters);
    else
        takeQuantizersFromCaller(parameters);
    if (!looksAhead(tools)) {
        parameters.analyse.inter = 0;
        parameters.analyse.i_subpel_refine = 0;
        if (!X264PictureCoder::hasTimeToBeThorough(settings))
            return;
        // A scrolled page jumps by more than a step or two, and between lines of text nothing leads there.
        parameters.analyse.i_me_method = X264_ME_UMH;
        parameters.analyse.i_me_range = 24;
    } else {
        parameters.analyse.inter = X264_ANALYSE_I4x4; // 8x8 ones blur what comes nearer
        // What moves evenly is where the pictures around it say, also where its neighbours move otherwise.
        parameters.analyse.i_direct_mv_pred = X264_DIRECT_PRED_TEMPORAL;
        parameters.analyse.i_subpel_refine = 1;
        parameters.analyse.i_me_method = X264_ME_DIA; // wider searches bring nothing here
        parameters.i_bframe = X264PictureCoder::mostInBetween;
    }
}

void chooseColor(x264_param_t& parameters)
{
    // Pixels through the BT.601 matrix, limited range (ITU-T H.264 Annex E). They are sRGB, but where a track
    // says so, mpv converts them to a display of another gamma, and its shadows become too bright.
    parameters.vui.b_fullrange = 0;
    parameters.vui.i_colorprim = 1;
    parameters.vui.i_transfer = 1;
    parameters.vui.i_colmatrix = 6;
}

x264_param_t encoderParameters(const VideoEncodingSettings& settings, CodingTools tools)
{
    x264_param_t parameters;
    x264_param_default_preset(&parameters, "superfast", nullptr);
    parameters.i_log_level = X264_LOG_NONE;
    parameters.i_csp = X264_CSP_I420;
    parameters.i_width = (settings.width + 1) / 2 * 2;
    parameters.i_height = (settings.height + 1) / 2 * 2;
    parameters.i_threads = threadCount(settings);
    parameters.b_sliced_threads = parameters.i_threads > 1 ? 1 : 0;
    parameters.i_fps_num = static_cast<std::uint32_t>(std::max(settings.framesPerSecond, 1));
    parameters.i_fps_den = 1;
    parameters.b_vfr_input = 0; // else each picture waits for the next
    parameters.i_timebase_num = 1;
    parameters.i_timebase_den = VideoTime::period::den;
    parameters.i_keyint_max = static_cast<int>(
        std::clamp<std::int64_t>(settings.maxKeyFrameInterval, 1, X264_KEYINT_MAX_INFINITE));
    parameters.i_keyint_min = 1;
    parameters.b_repeat_headers = 0;
    parameters.b_annexb = 0;
    chooseAnalysis(parameters);
    chooseTools(parameters, tools, settings);
    chooseColor(parameters);
    x264_param_apply_profile(&parameters, "high");
    return parameters;
}

} // namespace

std::unique_ptr<X264PictureCoder> X264PictureCoder::make(
    const VideoEncodingSettings& settings, CodingTools tools)
{
    if (settings.width > largestSide || settings.height > largestSide)
        return nullptr;
    x264_param_t parameters = encoderParameters(settings, tools);
    x264_t* opened = x264_encoder_open(&parameters);
    if (!opened)
        return nullptr;
    std::unique_ptr<X264PictureCoder> encoder(new X264PictureCoder(opened, tools));
    if (!encoder->readParameterSets())
        return nullptr;
    return encoder;
}

bool X264PictureCoder::hasTimeToBeThorough(const VideoEncodingSettings& settings)
{
    const auto cores = static_cast<std::int64_t>(std::max(std::thread::hardware_concurrency(), 1U));
    return pixelsPerSecond(settings) <= thoroughPixelsPerSecondOfOneCore * cores;
}

X264PictureCoder::X264PictureCoder(x264_t* encoder, CodingTools tools)
    : encoder_(encoder)
    , tools_(tools)
{
}

X264PictureCoder::~X264PictureCoder()
{
    x264_encoder_close(encoder_);
}

bool X264PictureCoder::readParameterSets()
{
    x264_nal_t* units = nullptr;
    int unitCount = 0;
    if (x264_encoder_headers(encoder_, &units, &unitCount) < 0)
        return false;
    constexpr int lengthBytes = 4;
    for (const x264_nal_t& unit : std::span(units, static_cast<std::size_t>(unitCount))) {
        const std::span payload(
            unit.p_payload + lengthBytes, static_cast<std::size_t>(unit.i_payload - lengthBytes));
        if (unit.i_type == NAL_SPS)
            parameterSets_.sequence.assign(payload.begin(), payload.end());
        else if (unit.i_type == NAL_PPS)
            parameterSets_.picture.assign(payload.begin(), payload.end());
    }
    return parameterSets_.sequence.size() >= 4 && !parameterSets_.picture.empty();
}

// Where x264's next id has just been used, a keyframe that nobody gets to see takes it.
std::vector<EncodedPicture> X264PictureCoder::encode(I420Picture& picture, const Coding& coding)
{
    if (coding.kind == PictureKind::keyframe) {
        lastKeyframeID_ = 1 - lastKeyframeID_;
        if (coding.keyframeIDBefore == lastKeyframeID_) {
            lastKeyframeID_ = 1 - lastKeyframeID_;
            give(picture, coding, this);
        }
    }
    return give(picture, coding, nullptr);
}

// Pictures with a mark do not come out.
std::vector<EncodedPicture> X264PictureCoder::give(I420Picture& picture, const Coding& coding, void* mark)
{
    x264_picture_t input;
    x264_picture_init(&input);
    input.i_type = coding.kind == PictureKind::keyframe ? X264_TYPE_IDR
        : coding.isBetween                              ? X264_TYPE_B
                                                        : X264_TYPE_P;
    input.i_pts = coding.time.count();
    input.opaque = mark;
    input.i_qpplus1 = coding.quantizer + 1;
    input.img.i_csp = X264_CSP_I420;
    input.img.i_plane = 3;
    for (int index = 0; index < 3; ++index) {
        input.img.plane[index] = picture.plane(index);
        input.img.i_stride[index] = picture.stride(index);
    }
    giveMarks(input, picture.unchangedMacroblocks(), coding);
    if (coding.isBetween)
        timesInBetween_.push_back(coding.time);
    return run(&input);
}

void X264PictureCoder::findPartsThatMove(bool shallFind)
{
    if (shallFind == findsPartsThatMove_)
        return;
    x264_param_t parameters;
    x264_encoder_parameters(encoder_, &parameters);
    parameters.analyse.inter &= ~X264_ANALYSE_PSUB16x16;
    if (shallFind)
        parameters.analyse.inter |= X264_ANALYSE_PSUB16x16;
    if (x264_encoder_reconfig(encoder_, &parameters) == 0)
        findsPartsThatMove_ = shallFind;
}

std::vector<EncodedPicture> X264PictureCoder::finish()
{
    std::vector<EncodedPicture> pictures;
    while (x264_encoder_delayed_frames(encoder_) > 0) {
        for (EncodedPicture& picture : run(nullptr))
            pictures.push_back(std::move(picture));
    }
    return pictures;
}

// A picture is predicted from the last one that is not in between, so its marks count for all since then.
void X264PictureCoder::giveMarks(
    x264_picture_t& input, const std::vector<std::uint8_t>& unchanged, const Coding& coding)
{
    static_assert(X264_MBINFO_CONSTANT == 1, "the picture marks unchanged macroblocks with this value");
    unchangedBefore_.resize(unchanged.size(), 1);
    std::ranges::transform(unchangedBefore_, unchanged, unchangedBefore_.begin(), std::bit_and());
    if (coding.isBetween)
        return;
    auto* marks = static_cast<std::uint8_t*>(std::malloc(unchanged.size()));
    if (!marks)
        throw std::bad_alloc();
    std::ranges::copy(unchangedBefore_, marks);
    unchangedBefore_.clear();
    input.prop.mb_info = marks; // looked at later, and freed by x264
    input.prop.mb_info_free = std::free;
}

// Null lets out what waits.
std::vector<EncodedPicture> X264PictureCoder::run(x264_picture_t* input)
{
    x264_picture_t output;
    x264_nal_t* units = nullptr;
    int unitCount = 0;
    const int size = x264_encoder_encode(encoder_, &units, &unitCount, input, &output);
    const bool mayWait = input && looksAhead(tools_);
    if (size < 0 || (size == 0 && !mayWait))
        throw PlatformError(errorDomain::x264, size, "The H.264 encoder failed.");
    if (size == 0 || output.opaque)
        return {};
    EncodedPicture encoded;
    // x264 lays the units of one picture out one behind the other.
    const auto bytes = std::as_bytes(std::span(units[0].p_payload, static_cast<std::size_t>(size)));
    encoded.data.assign(bytes.begin(), bytes.end());
    encoded.time = VideoTime(output.i_pts);
    encoded.decodeTime = lastDecodeTime_ = decodeTimeOf(encoded.time);
    encoded.isKeyframe = output.b_keyframe != 0;
    return {std::move(encoded)};
}

// Pictures are decoded when they are shown, but what is shown after those in between is needed for them: half
// way between the picture decoded before and the first one in between, which is never too late and leaves no
// time that is negative.
VideoTime X264PictureCoder::decodeTimeOf(VideoTime time)
{
    const auto own = std::ranges::find(timesInBetween_, time);
    const bool isAhead = !timesInBetween_.empty() && time > timesInBetween_.front();
    const VideoTime decodeTime
        = isAhead ? lastDecodeTime_ + (timesInBetween_.front() - lastDecodeTime_) / 2 : time;
    if (own != timesInBetween_.end())
        timesInBetween_.erase(own);
    return decodeTime;
}

} // namespace glimto
