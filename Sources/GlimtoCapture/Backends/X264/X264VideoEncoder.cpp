#include "Backends/X264/X264VideoEncoder.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Backends/X264/I420Picture.h"
#include "Backends/X264/InBetweenCosts.h"
#include "Backends/X264/KeptKeyframes.h"
#include "Backends/X264/PictureDetail.h"
#include "Backends/X264/PictureMotion.h"
#include "Backends/X264/RateController.h"
#include "Backends/X264/X264PictureCoder.h"
#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

// Motion that stays coarser than this, although it gets all bits that there are, is worth thorough tools;
// what quick ones find well is as fine as motion gets.
constexpr int coarseInMotion = 22;

// A scene that begins coarser than this is worth thorough tools at once, whether it will move or not.
constexpr int coarseBeginning = 27;

// A picture in between may be coarser than those that others are predicted from.
constexpr int coarserInBetween = 3;
constexpr int finerBesides = 1;

// Where pictures in between cost so much in parts of the others, and all are this coarse, it is worth the
// time to look for parts of macroblocks that move by themselves.
constexpr double costWhereLittleIsPredicted = 0.34;
constexpr double costWhereMuchIsPredicted = 0.3;
constexpr double veryCoarse = 32;
constexpr double lessCoarse = 30;

// With thorough tools a picture waits for the next ones. Where none comes because nothing changes, it is let
// out after so long, but not less than so many frames: a film shows every fourth or fifth picture twice,
// which is no rest.
constexpr Seconds restBeforeRelease{2.0 / 30};
constexpr int framesBeforeRelease = 2;

// While much changes again and again, a picture is not made finer before it has stood still for so long: the
// next one needs the bits.
constexpr Seconds restBeforeRefinement{4.0 / 30};
constexpr int framesBeforeRefinement = 4;

// What comes after so long a rest has nothing to do with what moved before it.
constexpr Seconds restBetweenScenes{0.25};

// While the quality suffers, every fourth picture is compared with the one before; with thorough tools fewer
// are, and so many of these looks in a row that find copied motion show that the tools are not needed.
constexpr int picturesBetweenLooks = 4;
constexpr int thoroughPicturesBetweenLooks = 16;
constexpr int copiedLooksToGiveBack = 2;

// Smaller changes are not worth a keyframe.
constexpr double largeShare = 0.6;
constexpr double smallShare = 0.1;

// Where pictures are coarse, flat parts that are finer than busy ones show.
constexpr double coarseEnoughToSpread = 30;
constexpr double fineEnoughNotTo = 27;

void append(std::vector<std::uint8_t>& record, const std::vector<std::uint8_t>& parameterSet)
{
    record.push_back(static_cast<std::uint8_t>(parameterSet.size() >> 8U));
    record.push_back(static_cast<std::uint8_t>(parameterSet.size() & 0xFFU));
    record.insert(record.end(), parameterSet.begin(), parameterSet.end());
}

// The avcC record (ISO/IEC 14496-15 section 5.3.3.1) with the parameter sets of all coders.
std::vector<std::uint8_t> decoderConfiguration(const std::vector<X264PictureCoder::ParameterSets>& sets)
{
    constexpr int lengthBytes = 4;
    const auto setCount = static_cast<std::uint8_t>(sets.size());
    // A player that can decode the highest level can decode all.
    std::uint8_t level = 0;
    for (const X264PictureCoder::ParameterSets& set : sets)
        level = std::max(level, set.sequence[3]);
    std::vector<std::uint8_t> record = {1, sets[0].sequence[1], sets[0].sequence[2], level,
        0xFC | (lengthBytes - 1), static_cast<std::uint8_t>(0xE0 | setCount)};
    for (const X264PictureCoder::ParameterSets& set : sets)
        append(record, set.sequence);
    record.push_back(setCount);
    for (const X264PictureCoder::ParameterSets& set : sets)
        append(record, set.picture);
    // High profile adds the chroma format and bit depths: 4:2:0, 8 and 8.
    record.insert(record.end(), {0xFC | 1, 0xF8, 0xF8, 0});
    return record;
}

std::int64_t bitsOf(const std::vector<std::byte>& data)
{
    return static_cast<std::int64_t>(data.size()) * 8;
}

class X264VideoEncoder final : public VideoEncoder {
public:
    // Null when x264 refuses the settings.
    static std::unique_ptr<X264VideoEncoder> make(const VideoEncodingSettings& settings)
    {
        std::vector<X264PictureCoder::ParameterSets> sets;
        std::unique_ptr<X264PictureCoder> coder;
        for (const CodingTools tools : allCodingTools) {
            auto made = X264PictureCoder::make(settings, tools);
            if (!made)
                return nullptr;
            sets.push_back(made->parameterSets());
            if (tools == CodingTools::quick)
                coder = std::move(made);
        }
        auto configuration = decoderConfiguration(sets);
        return std::unique_ptr<X264VideoEncoder>(
            new X264VideoEncoder(settings, std::move(coder), std::move(configuration)));
    }

    const VideoCodec& codec() const override { return codec_; }
    const VideoSampleDescription& sampleDescription() const override { return sampleDescription_; }

    std::vector<EncodedPicture> encode(const FramePicture& picture, std::span<const PixelRect> changedRects,
        VideoTime time, PictureKind kind) override
    {
        const bool looksBack = opening_ || isTimeToLook(kind);
        if (looksBack) {
            if (!before_)
                before_.emplace(settings_.width, settings_.height);
            before_->show(picture_);
        }
        picture_.update(picture.pixels(), changedRects);
        const int changed = picture_.changedMacroblockCount();
        const bool isMotion = changedShare() > smallShare;
        if (hasRested(time, restBeforeRefinement, framesBeforeRefinement))
            motionsInARow_ = 0;
        motionsInARow_ += isMotion ? 1 : 0;
        isAfterRest_ = hasRested(time, restBetweenScenes, framesBeforeRefinement);
        lastChange_ = time;
        std::vector<EncodedPicture> pictures;
        movement_ = looksBack ? movementAfter(*before_) : Movement::unknown;
        if (movement_ != Movement::unknown)
            copiedLooks_ = movement_ == Movement::copied ? copiedLooks_ + 1 : 0;
        if (opening_)
            open(pictures, *before_, movement_, movement_ == Movement::own ? changedShare() : 0);
        if (isOpening(kind, changed))
            opening_ = {.time = time,
                .kind = kind,
                .changedMacroblocks = changed,
                .isAfterRest = isAfterRest_,
                .isUnusual = !looksAhead(tools_) && isUnusual(kind, changed)};
        else
            encodePicture(pictures, time, kind, changed);
        return pictures;
    }

    std::vector<EncodedPicture> repeat(VideoTime time, PictureKind kind) override
    {
        std::vector<EncodedPicture> pictures;
        openAtRest(pictures);
        picture_.markAllUnchanged();
        if (kind != PictureKind::keyframe || !giveKeptKeyframe(pictures, time))
            encodePicture(pictures, time, kind, 0);
        return pictures;
    }

    std::optional<std::vector<EncodedPicture>> refine(VideoTime time) override
    {
        std::vector<EncodedPicture> pictures;
        const bool opens = opening_.has_value();
        openAtRest(pictures);
        const bool isWaiting = !std::ranges::all_of(given_, &Given::isRefinement);
        const bool isDue = opens
            || (isWaiting
                && (hasRested(time, restBeforeRelease, framesBeforeRelease)
                    || given_.back().plan.kind == PictureKind::keyframe));
        if (!isWaiting || isDue)
            refine(pictures, time, isDue);
        if (pictures.empty())
            return std::nullopt;
        return pictures;
    }

    std::vector<EncodedPicture> finish() override
    {
        std::vector<EncodedPicture> pictures;
        openAtRest(pictures);
        finishCoder(pictures);
        return pictures;
    }

private:
    X264VideoEncoder(const VideoEncodingSettings& settings, std::unique_ptr<X264PictureCoder> coder,
        std::vector<std::uint8_t> decoderConfiguration)
        // The playlist's text is a fixed contract: High profile at level 4.0, also where x264 chose another
        // level.
        : codec_{.name = "h264", .playlistCodec = "avc1.640028"}
        , settings_(settings)
        , coder_(std::move(coder))
        , picture_(settings.width, settings.height)
        , sampleDescription_{.format = "avc1",
              .decoderConfiguration = std::move(decoderConfiguration),
              .width = picture_.width(),
              .height = picture_.height()}
        , rate_(settings.averageBitRate, settings.framesPerSecond, picture_.macroblockCount())
    {
    }

    struct Given {
        VideoTime time{0};
        Seconds sinceLast{0}; // since the picture before
        RateController::Plan plan;
        bool isBetween = false;
        bool isRefinement = false;
        int quantizer = 0; // its own; the plan's is the average of those around it
    };

    // A picture that may begin a moving scene; how it is encoded depends on the next one.
    struct Opening {
        VideoTime time{0};
        PictureKind kind = PictureKind::predicted;
        int changedMacroblocks = 0;
        bool isAfterRest = false;
        bool isUnusual = false;
    };

    // Whether the picture may begin a scene, unlike any that moved lately; or, after a rest, another one.
    bool isUnusual(PictureKind kind, int changedMacroblocks) const
    {
        return !lastTime_
            || (kind == PictureKind::predicted && rate_.needsDetail(kind, changedMacroblocks, false));
    }

    bool isOpening(PictureKind kind, int changedMacroblocks) const
    {
        if (!X264PictureCoder::hasTimeToBeThorough(settings_))
            return false;
        const bool isLarge = changedMacroblocks > largeShare * picture_.macroblockCount();
        if (kind == PictureKind::predicted && isLarge && isAfterRest_)
            return true;
        return !looksAhead(tools_) && (!lastTime_ || isLarge) && isUnusual(kind, changedMacroblocks);
    }

    bool isTimeToLook(PictureKind kind)
    {
        if (looksAhead(tools_))
            return ++picturesSinceLook_ % thoroughPicturesBetweenLooks == 0;
        const bool mayChooseAnew = kind == PictureKind::keyframe && rate_.isMoving()
            && X264PictureCoder::hasTimeToBeThorough(settings_);
        return mayChooseAnew || (suffers() && picturesSinceLook_++ % picturesBetweenLooks == 0);
    }

    double changedShare() const
    {
        return static_cast<double>(picture_.changedMacroblockCount()) / picture_.macroblockCount();
    }

    Movement movementAfter(const I420Picture& before) const
    {
        if (changedShare() <= smallShare)
            return Movement::unknown;
        return motionBetween(before, picture_).movement();
    }

    bool hasRested(VideoTime time, Seconds seconds, int frames) const
    {
        const Seconds least(static_cast<double>(frames) / std::max(settings_.framesPerSecond, 1));
        constexpr Seconds jitter{0.002};
        return time - lastChange_ >= std::max(seconds, least) - jitter;
    }

    bool isAtRest(VideoTime time) const
    {
        return rate_.usualChangedShare() <= smallShare || motionsInARow_ < 2
            || hasRested(time, restBeforeRefinement, framesBeforeRefinement);
    }

    void openAtRest(std::vector<EncodedPicture>& pictures)
    {
        if (opening_)
            open(pictures, picture_, Movement::unknown, 0);
    }

    void open(
        std::vector<EncodedPicture>& pictures, I420Picture& picture, Movement movement, double motionShare)
    {
        const Opening opening = *opening_;
        opening_.reset();
        RateController::Picture facts = {.kind = opening.kind,
            .changedMacroblocks = opening.changedMacroblocks,
            .hasRested = opening.isAfterRest,
            .sinceLast = sinceLast(opening.time),
            .detail = detailOf(picture),
            .motionShare = motionShare,
            .movement = movement};
        if (!opening.isUnusual && movement != Movement::unknown) {
            facts.hasRested = false; // it goes on as what moved before the rest
            facts.detail = 0;
            facts.motionShare = 0;
        } else if (motionShare > 0) {
            facts.kind = PictureKind::keyframe; // the first one of a coder
            facts.likeness = likenessOf(picture, picture_);
        }
        RateController::Plan planned = rate_.plan(facts);
        if (facts.motionShare > 0) {
            // Until it is known how coarse it gets; a part of the screen seldom does.
            takeOver(pictures, motionShare > largeShare ? CodingTools::spreading : CodingTools::thorough);
        } else if (opening.isUnusual && planned.quantizer >= coarseBeginning) {
            takeOver(pictures, CodingTools::thorough);
            planned.kind = PictureKind::keyframe;
        }
        lastQuantizer_ = planned.quantizer;
        give(pictures, picture, {.time = opening.time, .plan = planned});
    }

    void refine(std::vector<EncodedPicture>& pictures, VideoTime time, bool isDue)
    {
        const int finer = !isAtRest(time) || lastQuantizer_ <= RateController::finestQuantizer
            ? lastQuantizer_
            : rate_.refinedQuantizer(lastQuantizer_, detailOf(picture_));
        if (finer >= lastQuantizer_ && !isDue)
            return;
        picture_.markAllUnchanged();
        lastQuantizer_ = std::min(finer, lastQuantizer_);
        give(pictures, picture_,
            {.time = time,
                .sinceLast = sinceLast(time),
                .plan = {.quantizer = lastQuantizer_},
                .isRefinement = true});
    }

    void encodePicture(
        std::vector<EncodedPicture>& pictures, VideoTime time, PictureKind kind, int changedMacroblocks)
    {
        const CodingTools wanted = wantedTools(kind);
        if (wanted != tools_) {
            takeOver(pictures, wanted);
            kind = PictureKind::keyframe; // the first one of a coder
        }
        RateController::Plan planned = plan(time, kind, changedMacroblocks);
        if (kind == PictureKind::keyframe && standingQuantizer_ > 0)
            planned.quantizer
                = rate_.standingQuantizer(planned.quantizer, standingQuantizer_, planned.detail);
        lastQuantizer_ = planned.quantizer;
        give(pictures, picture_, {.time = time, .plan = planned, .isBetween = isBetween(time, planned)});
    }

    bool giveKeptKeyframe(std::vector<EncodedPicture>& pictures, VideoTime time)
    {
        const auto* kept = kept_.next();
        const Seconds rested = sinceLast(time);
        if (!kept || !rate_.affordsOnceMore(rested, bitsOf(*kept)))
            return false;
        rate_.pictureRefined(rested, bitsOf(*kept));
        pictures.push_back({.data = *kept, .time = time, .decodeTime = time, .isKeyframe = true});
        kept_.given();
        lastTime_ = time;
        return true;
    }

    void give(std::vector<EncodedPicture>& pictures, I420Picture& picture, const Given& given)
    {
        const bool standsStill = picture.changedMacroblockCount() == 0;
        if (given.plan.kind == PictureKind::keyframe || given.isRefinement)
            standingQuantizer_ = given.plan.quantizer;
        else if (!standsStill)
            standingQuantizer_ = 0;
        given_.push_back(given);
        given_.back().quantizer = quantizerOf(given);
        inBetween_ = given.isBetween ? inBetween_ + 1 : 0;
        lastTime_ = given.time;
        std::vector<EncodedPicture> made = coder_->encode(picture,
            {.time = given.time,
                .kind = given.plan.kind,
                .isBetween = given.isBetween,
                .quantizer = given_.back().quantizer,
                .keyframeIDBefore = kept_.lastID()});
        learn(made);
        keep(given, made, standsStill);
        std::move(made.begin(), made.end(), std::back_inserter(pictures));
    }

    void keep(const Given& given, const std::vector<EncodedPicture>& made, bool standsStill)
    {
        if (given.plan.kind != PictureKind::keyframe)
            return kept_.followedByPredicted();
        const auto own = std::ranges::find(made, given.time, &EncodedPicture::time);
        kept_.keep({.id = coder_->lastKeyframeID(),
            .quantizer = given.plan.quantizer,
            .data = own != made.end() ? own->data : std::vector<std::byte>{},
            .standsStill = standsStill});
    }

    bool isBetween(VideoTime time, const RateController::Plan& plan) const
    {
        constexpr VideoTime leastTime{2}; // one for each of the two that are decoded until then
        return usesInBetween_ && plan.kind == PictureKind::predicted && !plan.isNewScene
            && (rate_.knowsScene() || rate_.beginsMotion()) && !given_.empty()
            && inBetween_ < X264PictureCoder::mostInBetween && time - *lastTime_ >= leastTime;
    }

    // Rate control knows of the average only.
    int quantizerOf(const Given& given) const
    {
        const bool alternates = usesInBetween_ && given.plan.kind == PictureKind::predicted
            && !given.isRefinement && !given.plan.isNewScene;
        const int step = !alternates ? 0 : given.isBetween ? coarserInBetween : -finerBesides;
        return std::clamp(
            given.plan.quantizer + step, RateController::finestQuantizer, RateController::coarsestQuantizer);
    }

    void learn(const std::vector<EncodedPicture>& pictures)
    {
        for (const EncodedPicture& picture : pictures) {
            learnCost(picture);
            bitsOfGroup_ += bitsOf(picture.data);
            endOfGroup_ = std::max(endOfGroup_, picture.time);
            ++picturesOfGroup_;
            if (given_[picturesOfGroup_ - 1].time < endOfGroup_)
                continue;
            // Those in between are cheap because the one after them is not.
            const std::int64_t bits = bitsOfGroup_ / static_cast<std::int64_t>(picturesOfGroup_);
            for (bitsOfGroup_ = 0; picturesOfGroup_ > 0; --picturesOfGroup_) {
                learn(given_.front(), bits);
                given_.pop_front();
            }
        }
    }

    void learnCost(const EncodedPicture& picture)
    {
        const auto own = std::ranges::find(given_, picture.time, &Given::time);
        const bool isMotion = looksAhead(tools_) && own->plan.kind == PictureKind::predicted
            && !own->isRefinement && !own->plan.isNewScene && own->plan.changedShare > smallShare;
        if (!isMotion)
            return;
        costs_.learn(own->isBetween, own->quantizer, bitsOf(picture.data));
        if (costs_.share() > costWhereLittleIsPredicted && rate_.usualQuantizer() > veryCoarse)
            coder_->findPartsThatMove(true);
        else if (costs_.share() < costWhereMuchIsPredicted || rate_.usualQuantizer() < lessCoarse)
            coder_->findPartsThatMove(false);
    }

    void learn(const Given& given, std::int64_t bits)
    {
        if (given.isRefinement)
            rate_.pictureRefined(given.sinceLast, bits);
        else
            rate_.pictureEncoded(given.plan, bits);
    }

    Seconds sinceLast(VideoTime time) const { return lastTime_ ? time - *lastTime_ : Seconds(0); }

    RateController::Plan plan(VideoTime time, PictureKind kind, int changedMacroblocks)
    {
        usesInBetween_ = looksAhead(tools_)
            && inBetweenChoice_.choose(rate_.needsInBetween(inBetweenChoice_.chosen()), rate_.costOfChange());
        return rate_.plan({.kind = kind,
            .changedMacroblocks = changedMacroblocks,
            .hasRested = isAfterRest_,
            .sinceLast = sinceLast(time),
            .detail = rate_.needsDetail(kind, changedMacroblocks, isAfterRest_) ? detailOf(picture_) : 0,
            .movement = looksAhead(tools_) ? Movement::own : movement_});
    }

    CodingTools wantedTools(PictureKind kind) const
    {
        if (!X264PictureCoder::hasTimeToBeThorough(settings_))
            return CodingTools::quick;
        if ((suffers() && movement_ == Movement::own) || becameCoarse())
            return toolsOfOwnMovement(rate_.usualQuantizer());
        if (kind != PictureKind::keyframe || !lastTime_)
            return tools_;
        if (rate_.usualChangedShare() <= smallShare || picture_.changedMacroblockCount() == 0)
            return CodingTools::quick;
        if (looksAhead(tools_) && copiedLooks_ < copiedLooksToGiveBack)
            return toolsOfOwnMovement(rate_.usualQuantizer());
        return rate_.isBusy() && (looksAhead(tools_) || movement_ == Movement::copied) ? CodingTools::compact
                                                                                       : CodingTools::quick;
    }

    bool becameCoarse() const
    {
        return tools_ == CodingTools::thorough && rate_.knowsScene()
            && rate_.usualQuantizer() >= coarseEnoughToSpread;
    }

    CodingTools toolsOfOwnMovement(double quantizer) const
    {
        const double limit = tools_ == CodingTools::spreading ? fineEnoughNotTo : coarseEnoughToSpread;
        return quantizer >= limit ? CodingTools::spreading : CodingTools::thorough;
    }

    bool suffers() const
    {
        return !looksAhead(tools_) && X264PictureCoder::hasTimeToBeThorough(settings_)
            && rate_.usualQuantizer() >= coarseInMotion && rate_.usualChangedShare() > smallShare;
    }

    // Another coder is in charge from now on; its first picture is a keyframe. What the old one still had
    // comes out.
    void takeOver(std::vector<EncodedPicture>& pictures, CodingTools tools)
    {
        finishCoder(pictures);
        coder_.reset(); // first: two of them would need twice the memory
        coder_ = X264PictureCoder::make(settings_, tools);
        if (!coder_)
            throw PlatformError(errorDomain::x264, 0, "The H.264 encoder could not be made.");
        tools_ = tools;
        costs_ = {};
        inBetweenChoice_ = {};
        kept_.forget();
        copiedLooks_ = 0;
    }

    void finishCoder(std::vector<EncodedPicture>& pictures)
    {
        std::vector<EncodedPicture> made = coder_->finish();
        learn(made);
        std::move(made.begin(), made.end(), std::back_inserter(pictures));
    }

    const VideoCodec codec_;
    const VideoEncodingSettings settings_;
    std::unique_ptr<X264PictureCoder> coder_;
    CodingTools tools_ = CodingTools::quick;
    I420Picture picture_;
    const VideoSampleDescription sampleDescription_;
    RateController rate_;
    std::optional<I420Picture> before_; // the memory is kept for the next look
    Movement movement_ = Movement::unknown;
    int copiedLooks_ = 0; // in a row
    int picturesSinceLook_ = 0;
    std::optional<Opening> opening_; // the picture that was given last, not yet encoded
    std::optional<VideoTime> lastTime_;
    int lastQuantizer_ = 0;
    int standingQuantizer_ = 0; // of the whole picture, 0 when some of it changed later
    KeptKeyframes kept_;
    std::deque<Given> given_; // to the coder, and not back yet
    InBetweenChoice inBetweenChoice_;
    bool usesInBetween_ = false;
    int inBetween_ = 0; // pictures in a row, the last one given
    InBetweenCosts costs_;
    // Of a picture that came out before those in between that are shown before it, and of these, until all
    // are there.
    std::size_t picturesOfGroup_ = 0;
    std::int64_t bitsOfGroup_ = 0;
    VideoTime endOfGroup_{0};
    VideoTime lastChange_{0};
    bool isAfterRest_ = false; // the picture given last
    int motionsInARow_ = 0; // since it last stood still for some frames
};

} // namespace

std::unique_ptr<VideoEncoder> X264VideoEncoderFactory::makeEncoder(const VideoEncodingSettings& settings)
{
    return X264VideoEncoder::make(settings);
}

} // namespace glimto
