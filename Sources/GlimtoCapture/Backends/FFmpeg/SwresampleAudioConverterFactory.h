#pragma once

#include "Platform/AudioConverter.h"

namespace glimto {

class SwresampleAudioConverterFactory final : public AudioConverterFactory {
public:
    std::unique_ptr<AudioConverter> makeConverter(
        const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping) override;
};

} // namespace glimto
