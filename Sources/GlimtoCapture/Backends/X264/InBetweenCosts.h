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

// Whether pictures shall be predicted from both sides, in one scene. Where bits suffice without it is tried
// to do without, which takes a quarter less time and keeps grain better; where that proves dear it is not
// tried again.
class InBetweenChoice {
public:
    // For the next picture. `areNeeded`: the bits would not suffice otherwise. `costOfChange`: what pictures
    // cost lately, in any unit.
    bool choose(bool areNeeded, double costOfChange);

    // What was chosen last, at first that they shall.
    bool chosen() const { return chosen_; }

private:
    bool chosen_ = true;
    bool isProven_ = false;
    double costWith_ = 0;
    int picturesWithout_ = 0;
};

} // namespace glimto
