#pragma once

#include <cstdint>

#include "Platform/VideoEncoder.h"

namespace glimto {

// Chooses the quantizer of each picture so that a take keeps to its average bit rate.
//
// Unused bits gather in a reserve of four seconds' worth, so a picture that moves after a rest may cost
// more for a while. How many bits a picture will need is estimated from the ones before it and from how
// much of it changed; a bit count halves with every six steps of the quantizer.
//
// This replaces x264's own average rate control, which looks at every whole picture once more before it
// is encoded: a quarter of the time of encoding it.
class RateController {
public:
    // Finer than this a desktop looks no better and only costs bits.
    static constexpr int finestQuantizer = 16;
    static constexpr int coarsestQuantizer = 48;

    // `framesPerSecond` is the rate of a picture that moves all the time.
    RateController(std::int64_t bitsPerSecond, int framesPerSecond, int macroblockCount);

    // The quantizer (16 to 48) for a picture of which `changedMacroblocks` changed, and which comes
    // `seconds` after the last one.
    int chooseQuantizer(PictureKind kind, int changedMacroblocks, double seconds);

    // What became of that picture.
    void pictureEncoded(PictureKind kind, int quantizer, std::int64_t bits);

private:
    int quantizerOfKeyframe() const;
    int quantizerOfPredicted() const;
    bool isMoving() const;

    const double bitsPerSecond_;
    const double bitsPerFrame_;
    const double macroblockCount_;
    double reserve_; // bits; below zero when too much was spent
    double changedShare_ = 1; // of the picture being encoded, 0 to 1
    double usualChangedShare_ = 0; // of the predicted pictures before it
    double keyframeCost_; // bits a macroblock would need at quantizer 0
    double changeCost_; // the same for a changed macroblock of a predicted picture
    int lastPredictedQuantizer_ = 0; // 0 before the first
};

} // namespace glimto
