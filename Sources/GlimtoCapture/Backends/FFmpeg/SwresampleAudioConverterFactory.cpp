#include "Backends/FFmpeg/SwresampleAudioConverterFactory.h"

#include "Backends/FFmpeg/SwresampleAudioConverter.h"

namespace glimto {

std::unique_ptr<AudioConverter> SwresampleAudioConverterFactory::makeConverter(
    const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping)
{
    return SwresampleAudioConverter::make(input, output, mapping);
}

} // namespace glimto
