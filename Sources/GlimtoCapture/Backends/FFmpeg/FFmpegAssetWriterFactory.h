#pragma once

#include "Platform/AssetWriter.h"

namespace glimto {

class FFmpegAssetWriterFactory final : public AssetWriterFactory {
public:
    std::unique_ptr<VideoAssetWriter> makeVideoWriter(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override;
    std::unique_ptr<AudioAssetWriter> makeAudioWriter(const AudioEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override;
};

} // namespace glimto
