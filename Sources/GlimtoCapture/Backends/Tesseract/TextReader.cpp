#include "Backends/Tesseract/TextReader.h"

#include <algorithm>
#include <cstddef>

#include <leptonica/allheaders.h>
#include <omp.h>
#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>

#include "Platform/Geometry.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

std::string joined(const std::vector<std::string>& languages)
{
    std::string text;
    for (const auto& language : languages)
        text += (text.empty() ? "" : "+") + language;
    return text;
}

bool isLetterOrDigit(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    // Beyond ASCII nearly all is letters: they count by their first byte.
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z')
        || byte >= 0xc0;
}

// Icons and edges read as a few characters that Tesseract is not sure of. What is longer is text, though
// perhaps with errors.
bool looksLikeText(const RecognizedLine& line)
{
    constexpr std::ptrdiff_t fewCharacters = 3;
    constexpr float sureOfFew = 50;
    constexpr float sureOfMany = 10;
    const auto characters = std::count_if(line.text.begin(), line.text.end(), isLetterOrDigit);
    return line.confidence >= (characters <= fewCharacters ? sureOfFew : sureOfMany);
}

// Icons, bullets and check boxes are about as wide as high.
bool isWord(const PixelRect& line)
{
    return line.width >= 2 * line.height;
}

// Whether most lines that have words beside them stand in one row with those.
bool areFields(std::vector<PixelRect> lines)
{
    constexpr int fewestCovered = 70; // percent of the height of the lower one of two lines in a row
    std::erase_if(lines, [](const PixelRect& line) { return !isWord(line); });
    std::size_t beside = 0;
    std::size_t inRow = 0;
    for (const auto& line : lines) {
        int mostCovered = 0;
        for (const auto& other : lines) {
            const bool apart = other.x >= line.x + line.width || line.x >= other.x + other.width;
            const int covered
                = std::min(line.y + line.height, other.y + other.height) - std::max(line.y, other.y);
            if (apart)
                mostCovered = std::max(mostCovered, 100 * covered / std::min(line.height, other.height));
        }
        beside += mostCovered > 0;
        inRow += mostCovered >= fewestCovered;
    }
    return beside > 0 && 3 * inRow >= 2 * beside;
}

std::string textOf(const tesseract::ResultIterator& line)
{
    const std::unique_ptr<char[]> text(line.GetUTF8Text(tesseract::RIL_TEXTLINE));
    return text ? text.get() : "";
}

} // namespace

TextReader::TextReader(const std::vector<std::string>& languages)
    : api_(std::make_unique<tesseract::TessBaseAPI>())
{
    // Tesseract asks for four threads, which spend most of their time waiting for each other in a loop.
    omp_set_max_active_levels(0);
    setMsgSeverity(L_SEVERITY_NONE);
    api_->SetVariable("debug_file", "/dev/null");
    const std::string names = joined(languages);
    if (api_->Init(nullptr, names.c_str(), tesseract::OEM_LSTM_ONLY) != 0)
        throw PlatformError("tesseract", 0, "The language data of " + names + " could not be loaded.");
}

TextReader::~TextReader() = default;

std::vector<RecognizedLine> TextReader::read(const TextPicture& picture)
{
    show(picture, tesseract::PSM_AUTO);
    // The analysis of pages takes aligned words for columns, as in tables, logs and source code.
    if (isSplitIntoFields())
        show(picture, tesseract::PSM_SINGLE_BLOCK);
    auto lines = recognizedLines();
    if (!lines.empty())
        return lines;
    // The analysis of pages passes over a single word; looking for any sees words in icons, too.
    constexpr float sureOfAny = 75;
    show(picture, tesseract::PSM_SPARSE_TEXT);
    lines = recognizedLines();
    std::erase_if(lines, [](const RecognizedLine& line) { return line.confidence < sureOfAny; });
    return lines;
}

void TextReader::show(const TextPicture& picture, int pageSegmentation)
{
    api_->SetPageSegMode(static_cast<tesseract::PageSegMode>(pageSegmentation));
    api_->SetImage(picture.pixels.get());
}

// Whether the analysis of the page finds lines side by side that continue each other. Recognizing goes on
// from the analysis, so that it is not made twice.
bool TextReader::isSplitIntoFields()
{
    const std::unique_ptr<tesseract::PageIterator> line(api_->AnalyseLayout());
    if (!line)
        return false;
    std::vector<PixelRect> bounds;
    do {
        int left = 0;
        int top = 0;
        int right = 0;
        int bottom = 0;
        if (line->BoundingBox(tesseract::RIL_TEXTLINE, &left, &top, &right, &bottom))
            bounds.push_back({left, top, right - left, bottom - top});
    } while (line->Next(tesseract::RIL_TEXTLINE));
    return areFields(bounds);
}

std::vector<RecognizedLine> TextReader::recognizedLines()
{
    std::vector<RecognizedLine> lines;
    if (api_->Recognize(nullptr) != 0)
        return lines;
    const std::unique_ptr<tesseract::ResultIterator> line(api_->GetIterator());
    if (!line)
        return lines;
    do {
        RecognizedLine found{textOf(*line), line->Confidence(tesseract::RIL_TEXTLINE)};
        while (!found.text.empty() && (found.text.back() == '\n' || found.text.back() == ' '))
            found.text.pop_back();
        if (!found.text.empty() && looksLikeText(found))
            lines.push_back(std::move(found));
    } while (line->Next(tesseract::RIL_TEXTLINE));
    return lines;
}

} // namespace glimto
