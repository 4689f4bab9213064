#include "Backends/FFmpeg/FFmpegAssetWriterFactory.h"

#include "Backends/FFmpeg/FFmpegAssetWriter.h"

namespace glimto {

std::unique_ptr<AssetWriter> FFmpegAssetWriterFactory::makeVideoWriter(
    const VideoEncodingSettings& settings, MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate)
{
    return FFmpegAssetWriter::make(settings, preferredSegmentInterval, delegate);
}

} // namespace glimto
