#include "Backends/FFmpeg/Loader/LazyAssetWriterFactory.h"

#include "Backends/FFmpeg/Loader/FFmpegModuleEntry.h"

namespace glimto {

LazyAssetWriterFactory::LazyAssetWriterFactory(LoadableModule& module)
    : module_(module)
{
}

AssetWriterFactory& LazyAssetWriterFactory::factory()
{
    return *module_.entry<decltype(glimtoCaptureAssetWriterFactory)>(assetWriterFactoryEntryName)();
}

std::unique_ptr<VideoAssetWriter> LazyAssetWriterFactory::makeVideoWriter(
    const VideoEncodingSettings& settings, MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
{
    return factory().makeVideoWriter(settings, preferredSegmentInterval, delegate);
}

std::unique_ptr<AudioAssetWriter> LazyAssetWriterFactory::makeAudioWriter(
    const AudioEncodingSettings& settings, MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
{
    return factory().makeAudioWriter(settings, preferredSegmentInterval, delegate);
}

} // namespace glimto
