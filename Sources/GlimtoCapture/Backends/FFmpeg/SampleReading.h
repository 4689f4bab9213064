#pragma once

#include <span>

#include "Platform/AudioBuffer.h"

namespace glimto {

// Writes one channel of a whole buffer, as 32-bit floats, to the start of `samples`, which has room for all
// frames. The largest integers become just less than 1; 24 bits and less are exact.
void readChannel(const AudioBuffer& buffer, int channel, std::span<float> samples);

} // namespace glimto
