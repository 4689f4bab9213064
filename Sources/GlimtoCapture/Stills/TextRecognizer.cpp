#include "Stills/TextRecognizer.h"

#include <string_view>

#include "Options/ScreenshotOptions.h"
#include "Stills/ImageFile.h"
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

char32_t firstCharacter(std::string_view text, std::size_t length)
{
    if (length == 1)
        return static_cast<unsigned char>(text[0]);
    char32_t character = static_cast<unsigned char>(text[0]) & (0xFFU >> (length + 1));
    for (std::size_t index = 1; index < length; ++index)
        character = (character << 6U) | (static_cast<unsigned char>(text[index]) & 0x3FU);
    return character;
}

std::size_t sequenceLength(unsigned char lead)
{
    return lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// The letters and digits of valid UTF-8 text, those of ASCII in lower case.
std::string lowercasedAlphanumerics(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const std::size_t length = sequenceLength(static_cast<unsigned char>(text[0]));
        const char32_t character = firstCharacter(text, length);
        if (character >= 'A' && character <= 'Z')
            result += static_cast<char>(character - 'A' + 'a');
        else if ((character >= 'a' && character <= 'z') || (character >= '0' && character <= '9'))
            result += static_cast<char>(character);
        else if (character >= 0x80 && !isForeignSign(character))
            result += text.substr(0, length);
        text.remove_prefix(length);
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
