#pragma once

#include <cstdint>

namespace glimto {

// What pictures in between cost, in parts of what those cost that they are predicted from. A tenth where
// everything moves evenly; nearly a half where little of a picture stands in the ones around it.
class InBetweenCosts {
public:
    // A predicted picture, much of which moves, has taken so many bits.
    void learn(bool isBetween, int quantizer, std::int64_t bits);

    // At the same quantizer, over the last dozens of pictures; 0 until pictures of both kinds are known.
    double share() const;

private:
    double inBetween_ = 0; // bits at quantizer 0; 0: unknown
    double others_ = 0;
};

} // namespace glimto
