#include "Backends/FFmpeg/FFmpegAssetWriterFactory.h"
#include "Backends/FFmpeg/Loader/FFmpegModuleEntry.h"
#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"

// The factories live as long as the process.
extern "C" glimto::AssetWriterFactory* glimtoCaptureAssetWriterFactory()
{
    static glimto::FFmpegAssetWriterFactory factory;
    return &factory;
}

extern "C" glimto::AudioConverterFactory* glimtoCaptureAudioConverterFactory()
{
    static glimto::SwresampleAudioConverterFactory factory;
    return &factory;
}
