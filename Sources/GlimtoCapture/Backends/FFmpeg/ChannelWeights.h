#pragma once

#include "Platform/AudioConverter.h"

namespace glimto {

// How much of an input channel goes to an output channel; both count from 0.
//
// A single input channel goes whole to all outputs. Otherwise output n is input n, and an output beyond
// the inputs is silent, unless more inputs are to be mixed down to one or two outputs. Then they are taken to
// lie around the listener, in this order:
//
//     channels   places
//     3          left, right, center
//     4          left, right, surround left, surround right
//     5          left, right, center, surround left, surround right
//     6          left, right, center, low frequencies, surround left, surround right
//     7          as 6, with back center before the surround channels
//     8          as 6, with a second surround left and right
//
// They are weighted as in ITU-R BS.775: center and surround are 3 dB lower than left and right, back center
// is 6 dB lower, and low frequencies are left out. More than eight channels have no usual places; they go
// left and right by turns, 3 dB lower. The sum is not scaled down: what lies on left and right alone keeps
// its level, and loud sound everywhere may go beyond full scale. A single output is the mean of left and
// right.
float channelWeight(int input, int inputCount, int output, int outputCount, ChannelMapping mapping);

} // namespace glimto
