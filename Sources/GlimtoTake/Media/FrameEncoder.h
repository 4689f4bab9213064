#pragma once

#include <functional>
#include <map>
#include <string>

#include "Backends/FFmpeg/FFmpegHandles.h"

struct AVCodecParameters;
struct AVRational;

namespace glimto {

// One of libavcodec's encoders, for pictures or sound. Throws PlatformError, and CLIError when this FFmpeg
// has no such encoder.
class FrameEncoder {
public:
    using Sink = std::function<void(AVPacket& packet)>;

    // All frames are as `like`, with times in `timeBase`.
    FrameEncoder(const std::string& name, const AVFrame& like, AVRational timeBase,
        const std::map<std::string, std::string>& options, bool hasGlobalHeader);

    static bool exists(const std::string& name);

    void encode(AVFrame& frame, const Sink& sink);
    void finish(const Sink& sink);

    const AVCodecContext& context() const { return *context_; }

    // To be freed by the caller's container writer: valid as long as this object.
    const AVCodecParameters& parameters();

    FrameEncoder(const FrameEncoder&) = delete;
    FrameEncoder& operator=(const FrameEncoder&) = delete;
    ~FrameEncoder();

private:
    void receive(const Sink& sink);

    CodecContextHandle context_;
    PacketHandle packet_;
    AVCodecParameters* parameters_ = nullptr;
};

} // namespace glimto
