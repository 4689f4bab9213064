#pragma once

#include <functional>
#include <map>
#include <string>

#include "Backends/FFmpeg/FFmpegHandles.h"
#include "GlimtoTake/Media/TakeMediaHandles.h"

struct AVRational;

namespace glimto {

// One of libavcodec's encoders, for pictures or sound. Throws PlatformError, and CLIError when this FFmpeg
// has no such encoder.
class FrameEncoder {
public:
    using Sink = std::function<void(AVPacket& packet)>;

    // Where what a decoder needs to begin with stands: in the container's header, or before the packets.
    enum class Header { global, inPackets };

    // All frames are as `like`, with times in `timeBase`.
    FrameEncoder(const std::string& name, const AVFrame& like, AVRational timeBase,
        const std::map<std::string, std::string>& options, Header header);

    static bool exists(const std::string& name);

    void encode(AVFrame& frame, const Sink& sink);
    void finish(const Sink& sink);

    const AVCodecContext& context() const { return *context_; }

    // Valid as long as this object.
    const AVCodecParameters& parameters();

private:
    void receive(const Sink& sink);

    CodecContextHandle context_;
    PacketHandle packet_;
    CodecParametersHandle parameters_;
};

} // namespace glimto
