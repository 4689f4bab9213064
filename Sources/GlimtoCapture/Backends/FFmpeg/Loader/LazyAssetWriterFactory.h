#pragma once

#include "Platform/AssetWriter.h"
#include "Support/LoadableModule.h"

namespace glimto {

// Makes asset writers with the module of the media libraries, which it opens on first use.
class LazyAssetWriterFactory final : public AssetWriterFactory {
public:
    // `module` outlives the factory.
    explicit LazyAssetWriterFactory(LoadableModule& module);

    // Both throw PlatformError when the module cannot be opened.
    std::unique_ptr<VideoAssetWriter> makeVideoWriter(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override;
    std::unique_ptr<AudioAssetWriter> makeAudioWriter(const AudioEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override;

private:
    AssetWriterFactory& factory();

    LoadableModule& module_;
};

} // namespace glimto
