#include "Stills/TextRecognizer.h"

#include <string_view>

#include "Options/ScreenshotOptions.h"
#include "Platform/ImageFile.h"
#include "Support/Text.h"

namespace glimto {

namespace {

enum Code : std::int64_t { missingPathCode = 0, fileNotFoundCode = 1 };

// Whether a character outside of ASCII is neither a letter nor a digit: Latin-1 signs, general punctuation,
// arrows, mathematical and technical signs, boxes and shapes, CJK punctuation, the replacement character,
// pictographs.
bool isForeignSign(char32_t character)
{
    constexpr std::u32string_view lettersAndDigits
        = U"\u00AA\u00B2\u00B3\u00B5\u00B9\u00BA\u00BC\u00BD\u00BE";
    if (character <= 0xBF)
        return lettersAndDigits.find(character) == std::u32string_view::npos;
    return character == 0xD7 || character == 0xF7 || (character >= 0x2000 && character <= 0x206F)
        || (character >= 0x20A0 && character <= 0x20CF) || (character >= 0x2190 && character <= 0x245F)
        || (character >= 0x2500 && character <= 0x2BFF) || (character >= 0x3000 && character <= 0x3004)
        || (character >= 0x3008 && character <= 0x3020) || (character >= 0xFE00 && character <= 0xFE6F)
        || (character >= 0xFFE0 && character <= 0xFFFF) || (character >= 0x1F000 && character <= 0x1FAFF);
}

// The letters and digits of valid UTF-8 text, those of ASCII in lower case.
std::string lowercasedAlphanumerics(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const CodePoint point = takeCodePoint(text);
        const bool isASCII = point.value < 0x80;
        if (isASCII ? isAlphanumeric(static_cast<char>(point.value)) : !isForeignSign(point.value))
            result += lowercased(point.bytes);
    }
    return result;
}

} // namespace

TextRecognizerError::TextRecognizerError(std::int64_t code, const std::string& message)
    : Error(message)
    , code_(code)
{
}

TextRecognizerError TextRecognizerError::missingPath()
{
    return {missingPathCode, "recognize-text requires --path <png>."};
}

TextRecognizerError TextRecognizerError::fileNotFound(const std::filesystem::path& path)
{
    return {fileNotFoundCode, "No image found at " + path.string() + "."};
}

ErrorFacts TextRecognizerError::facts() const
{
    return {what(), "TextRecognizerError", "GlimtoCapture.TextRecognizerError", code_};
}

TextRecognizer::TextRecognizer(TextRecognitionEngine& engine)
    : engine_(engine)
{
}

TextRecognitionResult TextRecognizer::recognize(const TextRecognitionOptions& options)
{
    if (!options.pathURL)
        throw TextRecognizerError::missingPath();
    const auto kind = imageFileKind(*options.pathURL);
    if (kind == ImageFileKind::none)
        throw TextRecognizerError::fileNotFound(*options.pathURL);
    // An engine that opened a pipe would wait for its writer.
    if (kind != ImageFileKind::regularFile)
        throw notARegularFile(*options.pathURL);

    const std::string watermark = lowercasedAlphanumerics(watermarkText);
    TextRecognitionResult result;
    bool isFirst = true;
    for (const auto& observation : engine_.recognizeText(*options.pathURL)) {
        if (!observation.topCandidate)
            continue;
        const std::string line = validUTF8(*observation.topCandidate);
        if (lowercasedAlphanumerics(line) == watermark)
            continue;
        if (!isFirst)
            result.text += '\n';
        isFirst = false;
        result.text += line;
    }
    return result;
}

} // namespace glimto
