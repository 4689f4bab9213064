#pragma once

#include "Backends/X264/I420Picture.h"

namespace glimto {

// How a picture came from the one before.
enum class Movement {
    unknown, // nobody looked, or little moves
    copied, // by a program, as when it scrolls
    own, // as no program copies it
};

// What one picture has of the one before it, found out from a sample of its changed blocks.
//
// Programs that scroll and drag copy: what moves stands in the picture before as it is, some whole pixels
// away. What a camera, a zoom or a film moves does not.
struct PictureMotion {
    int movedBlocks = 0; // that look different now; flat ones do not count
    int copiedBlocks = 0; // of these, the ones that stand somewhere in the picture before

    double copiedShare() const
    {
        return movedBlocks == 0 ? 0 : static_cast<double>(copiedBlocks) / movedBlocks;
    }

    Movement movement() const;
};

// `after` is the picture that follows `before`, of the same size. Takes a millisecond or two.
PictureMotion motionBetween(const I420Picture& before, const I420Picture& after);

// How much more there is in the blocks of that sample than in what is left of them when the most alike ones
// that stand close by in the picture before are taken away, both as differences of luma: 2 and more in slow
// zooms, 1 to 1.7 in films and fractals, less where nothing is alike. 0 when nothing moves. Takes some
// milliseconds.
double likenessOf(const I420Picture& before, const I420Picture& after);

} // namespace glimto
