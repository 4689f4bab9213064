#include "Backends/Tesseract/TesseractTextRecognitionEngine.h"

#include <utility>

#include "Backends/Tesseract/GrayPicture.h"
#include "Backends/Tesseract/PictureFile.h"
#include "Backends/Tesseract/ScreenTextReader.h"
#include "Backends/Tesseract/TextLanguages.h"
#include "Backends/Tesseract/TextPictures.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

// A screen of 8K; what is larger is reduced first.
constexpr std::size_t mostPixels = 40'000'000;

std::vector<std::string> installedLanguages()
{
    const auto folder = languageFolder();
    auto languages = languagesIn(folder);
    if (languages.empty())
        throw PlatformError("tesseract", 0,
            "No language is installed for text recognition: there is no language data in " + folder.string()
                + ". Install Tesseract's data for English (tesseract-ocr-eng), or set TESSDATA_PREFIX.");
    return languages;
}

} // namespace

TesseractTextRecognitionEngine::TesseractTextRecognitionEngine(PNGCodec& codec)
    : codec_(codec)
{
}

std::vector<TextObservation> TesseractTextRecognitionEngine::recognizeText(const std::filesystem::path& image)
{
    const auto pixels = readPicture(image, codec_);
    ScreenTextReader reader(installedLanguages());
    std::vector<TextObservation> observations;
    forEachTextPicture(grayPicture(*pixels, mostPixels), [&](const TextPicture& picture) {
        for (auto& line : reader.read(picture))
            observations.push_back({std::move(line.text)});
    });
    return observations;
}

} // namespace glimto
