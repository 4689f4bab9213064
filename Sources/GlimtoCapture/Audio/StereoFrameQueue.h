#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace glimto {

// Stereo frames that are added to anywhere and taken away from the front. Samples are interleaved: left,
// right. Keeps its storage: once that has grown to twice what is in use, nothing is allocated any more, and
// what is kept is seldom moved.
class StereoFrameQueue {
public:
    // Room for `capacityFrames` before anything is allocated.
    explicit StereoFrameQueue(std::size_t capacityFrames);

    std::size_t frameCount() const { return (samples_.size() - firstSample_) / 2; }

    // Appends silence until there are at least `frames` frames.
    void extendTo(std::size_t frames);

    // The samples of `count` frames from frame `first` on, all of which exist. Valid until the queue changes.
    std::span<float> frames(std::size_t first, std::size_t count);

    // Takes the first `count` frames away, of which there are as many.
    void removeFirst(std::size_t count);

    void clear();

private:
    std::vector<float> samples_;
    std::size_t firstSample_ = 0; // what lies before was taken away
};

} // namespace glimto
