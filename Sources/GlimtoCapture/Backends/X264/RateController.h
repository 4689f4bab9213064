#pragma once

#include <cstdint>

#include "Backends/X264/PictureMotion.h"
#include "Platform/VideoEncoder.h"

namespace glimto {

// Chooses the quantizer of each picture so that a take keeps to its average bit rate.
//
// Unused bits gather in a reserve of four seconds' worth, so a picture that moves after a rest may cost
// more for a while. How many bits a picture will need is estimated from the ones before it and from how
// much of it changed, and for a picture that nothing before it helps to predict from its detail; a bit
// count halves with every six steps of the quantizer.
//
// This replaces x264's own average rate control, which looks at every whole picture once more before it is
// encoded: a quarter of the time of encoding it.
class RateController {
public:
    // Finer than this a desktop looks no better and only costs bits.
    static constexpr int finestQuantizer = 11;
    static constexpr int coarsestQuantizer = 48;

    // `framesPerSecond` is the rate of a picture that moves all the time.
    RateController(std::int64_t bitsPerSecond, int framesPerSecond, int macroblockCount);

    struct Picture {
        PictureKind kind = PictureKind::predicted;
        int changedMacroblocks = 0;
        bool hasRested = false; // the picture before was seen for a while
        Seconds sinceLast{0}; // since the picture before
        double detail = 0; // as PictureDetail tells it, of the whole picture; 0
                           // when nobody looked
        double motionShare = 0; // of the picture, how much will move from now on; 0 when unknown
        double likeness = 0; // as likenessOf() tells it, of the picture and the next one; 0 when unknown
        Movement movement = Movement::unknown; // of what moves in it
    };

    // How a picture shall be encoded.
    struct Plan {
        PictureKind kind = PictureKind::predicted;
        int quantizer = 0; // finestQuantizer to coarsestQuantizer
        double changedShare = 1; // 0 to 1
        double detail = 0;
        bool isNewScene = false; // it shows something else than the one before
    };

    // Whether it pays to look at the picture's detail first.
    bool needsDetail(PictureKind kind, int changedMacroblocks, bool hasRested) const;

    // Plans the next picture. What became of those before need not be known yet.
    Plan plan(const Picture& picture);

    // For one that stands still and was encoded with `quantizer`: the finer one that can be afforded, or
    // the same when it is fine enough.
    int refinedQuantizer(int quantizer, double detail) const;

    // For a keyframe that was planned with `planned`, of a picture that stands still and was shown with
    // `shown` last: that one, so that nothing is seen of the keyframe, or one that can be afforded again and
    // again.
    int standingQuantizer(int planned, int shown, double detail) const;

    // Whether a keyframe of so many bits can be given once more, so long after the picture before.
    bool affordsOnceMore(Seconds sinceLast, std::int64_t bits) const;

    // What a refinement or a repetition took, which tells nothing of what pictures cost that change.
    void pictureRefined(Seconds sinceLast, std::int64_t bits);

    // What became of a plan, in the order of the plans.
    void pictureEncoded(const Plan& plan, std::int64_t bits);

    // Of the predicted pictures, lately: how much of them changed, 0 to 1, and how coarse they were.
    double usualChangedShare() const { return usualChangedShare_; }
    double usualQuantizer() const { return usualQuantizer_; }

    // Whether much of the picture moves; and whether that takes more than half of the bits that there are, as
    // fine as it gets.
    bool isMoving() const { return lastPredictedQuantizer_ > 0 && usualChangedShare_ > 0.3; }
    bool isBusy() const;

    // Whether it is known by now what the pictures of a moving scene cost.
    bool knowsScene() const;

    // Whether pictures of own movement need what predicting from both sides saves; when they do so `already`,
    // whether they still would without.
    bool needsInBetween(bool already) const;

    // What a changed macroblock of a predicted picture costs, in bits at quantizer 0.
    double costOfChange() const { return changeCost_; }

    // Whether a scene that moves has begun, and not yet what its pictures cost is known.
    bool beginsMotion() const { return beginsMotion_; }

private:
    double reserveAfter(Seconds sinceLast) const;
    void earn(Seconds sinceLast);
    void spend(std::int64_t bits);
    void expectOfFirst(const Plan& plan, double gain, double changedShare);
    int beginMotion(const Plan& plan, double share, double likeness);
    void learnCostOfChange(const Plan& plan, double cost);
    int quantizerOfKeyframe(const Plan& plan, Movement movement) const;
    int quantizerOfPredicted(const Plan& plan, Movement movement) const;
    int quantizerOfNewScene(const Plan& plan) const;
    double bitsForFrame() const;
    double bitsForScene() const;

    const double bitsPerSecond_;
    const double bitsPerFrame_;
    const double macroblockCount_;
    double reserve_; // bits; below zero when too much was spent
    double usualChangedShare_ = 0;
    double usualQuantizer_ = 0;
    double detailCost_; // bits at quantizer 0 that a unit of detail costs in a
                        // keyframe
    double changeCost_ = 0; // bits at quantizer 0 of a changed macroblock in a
                            // predicted picture; 0: unknown
    int picturesOfScene_ = 0; // predicted ones since its costs became known
    bool beginsMotion_ = false;
    int surprises_ = 0; // pictures in a row that cost far more than expected
    int lastPredictedQuantizer_ = 0; // 0 before the first
};

} // namespace glimto
