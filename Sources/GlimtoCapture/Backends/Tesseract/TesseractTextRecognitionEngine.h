#pragma once

#include "Platform/PNGCodec.h"
#include "Platform/TextRecognitionEngine.h"

namespace glimto {

// Recognizes text with Tesseract's neural network, on one thread.
//
// Languages are looked for where Tesseract looks: in TESSDATA_PREFIX, else in its own folder.
class TesseractTextRecognitionEngine final : public TextRecognitionEngine {
public:
    // `codec` outlives the engine.
    explicit TesseractTextRecognitionEngine(PNGCodec& codec);

    std::vector<TextObservation> recognizeText(const std::filesystem::path& image) override;

private:
    PNGCodec& codec_;
};

} // namespace glimto
