#pragma once

#include "Platform/AudioConverter.h"
#include "Support/LoadableModule.h"

namespace glimto {

// Makes audio converters with the module of the media libraries, which it opens on first use.
class LazyAudioConverterFactory final : public AudioConverterFactory {
public:
    // `module` outlives the factory.
    explicit LazyAudioConverterFactory(LoadableModule& module);

    // Throws PlatformError when the module cannot be opened.
    std::unique_ptr<AudioConverter> makeConverter(
        const AudioFormat& input, const AudioFormat& output, ChannelMapping mapping) override;

private:
    LoadableModule& module_;
};

} // namespace glimto
