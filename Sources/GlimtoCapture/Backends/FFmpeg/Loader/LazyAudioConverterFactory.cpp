#include "Backends/FFmpeg/Loader/LazyAudioConverterFactory.h"

#include "Backends/FFmpeg/Loader/FFmpegModuleEntry.h"

namespace glimto {

LazyAudioConverterFactory::LazyAudioConverterFactory(LoadableModule& module)
    : module_(module)
{
}

std::unique_ptr<AudioConverter> LazyAudioConverterFactory::makeConverter(
    const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping)
{
    const auto factory
        = module_.entry<decltype(glimtoCaptureAudioConverterFactory)>(audioConverterFactoryEntryName);
    return factory()->makeConverter(input, output, mapping);
}

} // namespace glimto
