#include "Backends/FFmpeg/FFmpegAssetWriterFactory.h"
#include "Backends/FFmpeg/Loader/FFmpegModuleEntry.h"

// The factory lives as long as the process.
extern "C" glimto::AssetWriterFactory* glimtoCaptureAssetWriterFactory()
{
    static glimto::FFmpegAssetWriterFactory factory;
    return &factory;
}
