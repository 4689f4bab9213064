#pragma once

#include "Platform/AssetWriter.h"

namespace glimto {

class FFmpegAssetWriterFactory : public AssetWriterFactory {
public:
    // Pictures are encoded by what `encoders` makes, which outlives the factory.
    explicit FFmpegAssetWriterFactory(VideoEncoderFactory& encoders)
        : encoders_(encoders)
    {
    }

    std::unique_ptr<VideoAssetWriter> makeVideoWriter(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override;
    std::unique_ptr<AudioAssetWriter> makeAudioWriter(const AudioEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override;

private:
    VideoEncoderFactory& encoders_;
};

} // namespace glimto
