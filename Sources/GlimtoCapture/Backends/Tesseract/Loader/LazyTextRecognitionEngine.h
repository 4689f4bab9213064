#pragma once

#include "Platform/PNGCodec.h"
#include "Platform/TextRecognitionEngine.h"
#include "Support/LoadableModule.h"

namespace glimto {

// Recognizes text with the module of the text recognition libraries, which it opens on first use.
class LazyTextRecognitionEngine final : public TextRecognitionEngine {
public:
    // `module` and `codec` outlive the engine.
    LazyTextRecognitionEngine(LoadableModule& module, PNGCodec& codec);

    // Throws PlatformError when the module cannot be opened, too.
    std::vector<TextObservation> recognizeText(const std::filesystem::path& image) override;

private:
    LoadableModule& module_;
    PNGCodec& codec_;
};

} // namespace glimto
