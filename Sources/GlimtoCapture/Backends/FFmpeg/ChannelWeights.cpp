#include "Backends/FFmpeg/ChannelWeights.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace glimto {

namespace {

constexpr float minus3dB = 0.70710678F;
constexpr float minus6dB = 0.5F;

struct StereoWeights {
    float left = 0;
    float right = 0;
};

// Left, Right, Center, low Frequencies, Back center; l and r are surround. One text for each number of
// channels from three on.
constexpr std::array<std::string_view, 6> places = {"LRC", "LRlr", "LRClr", "LRCFlr", "LRCFBlr", "LRCFlrlr"};

StereoWeights weightsOf(char place)
{
    switch (place) {
    case 'L':
        return {1, 0};
    case 'R':
        return {0, 1};
    case 'C':
        return {minus3dB, minus3dB};
    case 'B':
        return {minus6dB, minus6dB};
    case 'l':
        return {minus3dB, 0};
    case 'r':
        return {0, minus3dB};
    default:
        return {};
    }
}

char placeOf(int input, int inputCount)
{
    if (inputCount == 2)
        return input == 0 ? 'L' : 'R';
    const auto row = static_cast<std::size_t>(inputCount - 3);
    if (row < places.size())
        return places[row][static_cast<std::size_t>(input)];
    return input % 2 == 0 ? 'l' : 'r';
}

} // namespace

float channelWeight(int input, int inputCount, int output, int outputCount, ChannelMapping mapping)
{
    if (inputCount == 1)
        return 1;
    if (mapping == ChannelMapping::firstChannels || outputCount >= std::min(inputCount, 3))
        return input == output ? 1 : 0;
    const StereoWeights weights = weightsOf(placeOf(input, inputCount));
    if (outputCount == 1)
        return (weights.left + weights.right) / 2;
    return output == 0 ? weights.left : weights.right;
}

} // namespace glimto
