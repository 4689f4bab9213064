#include "Backends/Tesseract/TesseractTextRecognitionEngine.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "Backends/Tesseract/GrayPicture.h"
#include "Backends/Tesseract/PictureFile.h"
#include "Backends/Tesseract/ScreenTextReader.h"
#include "Backends/Tesseract/TextLanguages.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

// A screen of 8K; what is larger is reduced first.
constexpr std::size_t mostPixels = 40'000'000;

// Set to anything, it makes the engine tell on standard error what became of the text it found.
constexpr const char* debugVariable = "GLIMTO_CAPTURE_TEXT_DEBUG";

void describe(const TextCounts& counts)
{
    std::fprintf(stderr,
        "text: %zu rows, %zu of them not read; %zu graphics left out; %zu trials of languages%s\n",
        counts.rows, counts.unreadRows, counts.graphics, counts.trials,
        counts.isPlain ? "; the whole page read as it is" : "");
}

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
    for (auto& line : reader.read(grayPicture(*pixels, mostPixels)))
        observations.push_back({std::move(line.text)});
    if (std::getenv(debugVariable))
        describe(reader.counts());
    return observations;
}

} // namespace glimto
