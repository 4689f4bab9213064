#include "Backends/Tesseract/Loader/LazyTextRecognitionEngine.h"

#include <memory>

#include "Backends/Tesseract/Loader/TextModuleEntry.h"

namespace glimto {

LazyTextRecognitionEngine::LazyTextRecognitionEngine(LoadableModule& module, PNGCodec& codec)
    : module_(module)
    , codec_(codec)
{
}

std::vector<TextObservation> LazyTextRecognitionEngine::recognizeText(const std::filesystem::path& image)
{
    const auto makeEngine
        = module_.entry<decltype(glimtoCaptureMakeTextRecognitionEngine)>(textRecognitionEngineEntryName);
    const std::unique_ptr<TextRecognitionEngine> engine(makeEngine(&codec_));
    return engine->recognizeText(image);
}

} // namespace glimto
