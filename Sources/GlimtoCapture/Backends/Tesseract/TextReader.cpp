#include "Backends/Tesseract/TextReader.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

#include <leptonica/allheaders.h>
#include <omp.h>
#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>

#include "Platform/ErrorDomains.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

std::string textOf(const tesseract::ResultIterator& place, tesseract::PageIteratorLevel level)
{
    const std::unique_ptr<char[]> text(place.GetUTF8Text(level));
    return text ? text.get() : "";
}

float meanOfLetters(tesseract::ResultIterator letter)
{
    float sum = letter.Confidence(tesseract::RIL_SYMBOL);
    float count = 1;
    while (!letter.IsAtFinalElement(tesseract::RIL_TEXTLINE, tesseract::RIL_SYMBOL)
        && letter.Next(tesseract::RIL_SYMBOL)) {
        sum += letter.Confidence(tesseract::RIL_SYMBOL);
        ++count;
    }
    return sum / count;
}

float shareOfKnown(tesseract::ResultIterator word)
{
    std::ptrdiff_t known = 0;
    std::ptrdiff_t all = 0;
    do {
        const auto letters = lettersIn(textOf(word, tesseract::RIL_WORD));
        all += letters;
        known += word.WordIsFromDictionary() ? letters : 0;
    } while (!word.IsAtFinalElement(tesseract::RIL_TEXTLINE, tesseract::RIL_WORD)
        && word.Next(tesseract::RIL_WORD));
    return all > 0 ? static_cast<float>(known) / static_cast<float>(all) : 0;
}

} // namespace

std::ptrdiff_t lettersIn(const std::string& text)
{
    return std::ranges::count_if(
        text, [](unsigned char byte) { return byte >= 0x80 || std::isalpha(byte) != 0; });
}

bool looksLikeText(const RecognizedLine& line)
{
    constexpr std::size_t few = 4; // bytes
    constexpr float sureOfFew = 95;
    constexpr float sureOfMany = 93;
    return line.lettersConfidence >= (line.text.size() <= few ? sureOfFew : sureOfMany);
}

TextReader::TextReader(const std::string& language)
    : api_(std::make_unique<tesseract::TessBaseAPI>())
{
    // Tesseract asks for four threads, which spend most of their time waiting for each other in a loop.
    omp_set_max_active_levels(0);
    setMsgSeverity(L_SEVERITY_NONE);
    api_->SetVariable("debug_file", "/dev/null");
    if (api_->Init(nullptr, language.c_str(), tesseract::OEM_LSTM_ONLY) != 0)
        throw PlatformError(
            errorDomain::tesseract, 0, "The language data of " + language + " could not be loaded.");
}

TextReader::~TextReader() = default;

RecognizedLine TextReader::readLine(Pix* picture)
{
    const auto lines = recognizedLines(picture, tesseract::PSM_SINGLE_LINE);
    return lines.empty() ? RecognizedLine{} : lines.front();
}

std::vector<RecognizedLine> TextReader::readPage(Pix* picture)
{
    return recognizedLines(picture, tesseract::PSM_AUTO);
}

std::vector<RecognizedLine> TextReader::recognizedLines(Pix* picture, int pageSegmentation)
{
    std::vector<RecognizedLine> lines;
    api_->SetPageSegMode(static_cast<tesseract::PageSegMode>(pageSegmentation));
    api_->SetImage(picture);
    if (api_->Recognize(nullptr) != 0)
        return lines;
    const std::unique_ptr<tesseract::ResultIterator> line(api_->GetIterator());
    if (!line)
        return lines;
    do {
        RecognizedLine found{textOf(*line, tesseract::RIL_TEXTLINE),
            line->Confidence(tesseract::RIL_TEXTLINE), meanOfLetters(*line), shareOfKnown(*line)};
        while (!found.text.empty() && (found.text.back() == '\n' || found.text.back() == ' '))
            found.text.pop_back();
        if (!found.text.empty())
            lines.push_back(std::move(found));
    } while (line->Next(tesseract::RIL_TEXTLINE));
    return lines;
}

} // namespace glimto
