#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace glimto {

// The last two keyframes of a picture that stands still, to be given again and again instead of encoding more
// of them.
//
// Two keyframes one behind the other differ in their idr_pic_id (ITU-T H.264 section 7.4.3). x264 alternates
// between 0 and 1, and so do the two. As they are encoded alike they are decoded to the same picture, and
// what x264 predicts from the one that it encoded last fits after either.
class KeptKeyframes {
public:
    struct Keyframe {
        int id = 0; // idr_pic_id, 0 or 1
        int quantizer = 0;
        std::vector<std::byte> data;
        bool standsStill = false; // the same picture as the one encoded before
    };

    // A keyframe was encoded and given.
    void keep(Keyframe keyframe);

    // A predicted picture was encoded and given.
    void followedByPredicted();

    // Another coder is in charge from now on.
    void forget();

    // The one to give where another keyframe of the same picture is due; null when it has to be encoded.
    const std::vector<std::byte>* next() const;

    // The one that next() told was given.
    void given() { lastID_ = 1 - *lastID_; }

    // Of the picture that was given last; absent when that is no keyframe.
    std::optional<int> lastID() const { return lastID_; }

private:
    std::array<std::vector<std::byte>, 2> keyframes_; // by id; empty: none
    int quantizer_ = 0;
    std::optional<int> lastID_;
};

} // namespace glimto
