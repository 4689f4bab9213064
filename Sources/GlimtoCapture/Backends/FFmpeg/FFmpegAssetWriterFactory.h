#pragma once

#include "Platform/AssetWriter.h"

namespace glimto {

class FFmpegAssetWriterFactory final : public AssetWriterFactory {
public:
    std::unique_ptr<AssetWriter> makeVideoWriter(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override;
};

} // namespace glimto
