#pragma once

#include <memory>

#include "Backends/FFmpeg/FFmpegHandles.h"

struct AVCodecParameters;
struct AVFilterGraph;
struct SwsContext;

namespace glimto {

struct TakeMediaDeleter {
    void operator()(AVCodecParameters* parameters) const noexcept;
    void operator()(AVFilterGraph* graph) const noexcept;
    void operator()(AVFormatContext* input) const noexcept; // closes it, but not a stream of the caller's
    void operator()(SwsContext* scaler) const noexcept;
};

using CodecParametersHandle = std::unique_ptr<AVCodecParameters, TakeMediaDeleter>;
using FilterGraphHandle = std::unique_ptr<AVFilterGraph, TakeMediaDeleter>;
using InputFormatHandle = std::unique_ptr<AVFormatContext, TakeMediaDeleter>;
using ScalerHandle = std::unique_ptr<SwsContext, TakeMediaDeleter>;

// Empty ones. Throw PlatformError when there is no memory.
FrameHandle makeFrame();
PacketHandle makePacket();

} // namespace glimto
