#include "Backends/FFmpeg/FFmpegAssetWriterFactory.h"
#include "Backends/FFmpeg/Loader/FFmpegModuleEntry.h"
#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"
#include "Backends/X264/X264VideoEncoder.h"

// The factories live as long as the process.
extern "C" glimto::AssetWriterFactory* glimtoCaptureAssetWriterFactory()
{
    static glimto::X264VideoEncoderFactory encoders;
    static glimto::FFmpegAssetWriterFactory factory(encoders);
    return &factory;
}

extern "C" glimto::AudioConverterFactory* glimtoCaptureAudioConverterFactory()
{
    static glimto::SwresampleAudioConverterFactory factory;
    return &factory;
}
