#pragma once

#include <memory>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVIOContext;
struct AVPacket;

namespace glimto {

struct FFmpegDeleter {
    void operator()(AVCodecContext* codec) const noexcept;
    void operator()(AVFormatContext* format) const noexcept; // not what it writes to
    void operator()(AVFrame* frame) const noexcept;
    void operator()(AVIOContext* stream) const noexcept; // its buffer as well
    void operator()(AVPacket* packet) const noexcept;
};

using CodecContextHandle = std::unique_ptr<AVCodecContext, FFmpegDeleter>;
using FormatContextHandle = std::unique_ptr<AVFormatContext, FFmpegDeleter>;
using FrameHandle = std::unique_ptr<AVFrame, FFmpegDeleter>;
using IOContextHandle = std::unique_ptr<AVIOContext, FFmpegDeleter>;
using PacketHandle = std::unique_ptr<AVPacket, FFmpegDeleter>;

} // namespace glimto
