#pragma once

#include <string>
#include <vector>

#include "Backends/FFmpeg/FFmpegHandles.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"

struct AVFilterContext;
struct AVRational;

namespace glimto {

// Frames through filters of libavfilter, pictures or sound. Throws PlatformError.
class FilterChain {
public:
    // One input, by its label in the description and a frame as all of its frames are.
    struct Input {
        std::string label;
        const AVFrame* like;
    };

    // `description` in libavfilter's syntax; its output is labelled "out". Times of frames are in `timeBase`,
    // on both ends.
    FilterChain(const std::vector<Input>& inputs, AVRational timeBase, const std::string& description);

    // Takes what the frame holds; null at the input's end.
    void push(std::size_t input, AVFrame* frame);

    // False when there is nothing yet, or no more.
    bool pull(AVFrame& frame);

    // Every frame that comes out has so many samples, but the last one.
    void setSamplesPerFrame(int count);

private:
    FilterGraphHandle graph_;
    std::vector<AVFilterContext*> sources_;
    AVFilterContext* sink_ = nullptr;
};

} // namespace glimto
