#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

namespace glimto {

// Sound on its way to an encoder: an unbroken stretch of frames from frame zero of a timeline on. What comes
// late, early or not at all is evened out when it is put in. Silence takes no memory.
class SoundQueue {
public:
    // Memory for `capacity` frames is there from the beginning; it grows only if more are held at once.
    // Less than `tolerance` frames between one piece of sound and the next count as none.
    SoundQueue(int channelCount, std::size_t capacity, std::int64_t tolerance);

    // Puts in interleaved 32-bit floats, at any alignment, whose first frame belongs at `start`: silence
    // fills the gap before it, what overlaps the end is left out.
    void append(std::int64_t start, std::span<const std::byte> samples);

    // Makes the stretch reach `end` with silence; does nothing when it already does.
    void fillWithSilence(std::int64_t end);

    // Moves the oldest frames to the start of `samples`, which holds whole interleaved frames, as many as
    // there are and fit. Returns their number.
    std::size_t take(std::span<float> samples);

    // Just after the last frame that was put in.
    std::int64_t end() const { return end_; }

    // Frames that are not silence made here.
    std::size_t soundFrameCount() const { return soundFrames_; }

private:
    enum class Kind { sound, silence };
    struct Run {
        Kind kind = Kind::silence;
        std::int64_t frameCount = 0;
    };

    void extend(Kind kind, std::int64_t frameCount);
    void store(std::span<const std::byte> samples, std::size_t frameCount);
    void makeRoomFor(std::size_t frameCount);
    std::size_t takeFrom(Run& run, std::span<float> samples);

    std::size_t channelCount_;
    std::int64_t tolerance_;
    std::deque<Run> runs_; // oldest first; two neighbours differ in kind
    std::vector<float> ring_; // the frames of all runs of sound, from `first_` on, around its end
    std::size_t capacity_; // frames
    std::size_t first_ = 0;
    std::size_t soundFrames_ = 0;
    std::int64_t end_ = 0;
};

} // namespace glimto
