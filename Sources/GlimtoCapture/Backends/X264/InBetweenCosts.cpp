#include "Backends/X264/InBetweenCosts.h"

#include <cmath>

namespace glimto {

void InBetweenCosts::learn(bool isBetween, int quantizer, std::int64_t bits)
{
    constexpr double weight = 0.1;
    const double cost = static_cast<double>(bits) * std::exp2(quantizer / 6.0);
    double& known = isBetween ? inBetween_ : others_;
    known = known > 0 ? known * (1 - weight) + cost * weight : cost;
}

double InBetweenCosts::share() const
{
    return others_ > 0 ? inBetween_ / others_ : 0;
}

bool InBetweenChoice::choose(bool areNeeded, double costOfChange)
{
    constexpr int picturesOfTrial = 24; // until costs have been learnt
    constexpr double dear = 1.25; // times the cost with them
    if (chosen_ && !areNeeded) {
        costWith_ = costOfChange;
        picturesWithout_ = 0;
    }
    if (!chosen_ && ++picturesWithout_ == picturesOfTrial)
        isProven_ = costOfChange > dear * costWith_;
    return chosen_ = areNeeded || isProven_;
}

} // namespace glimto
