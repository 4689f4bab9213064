#include "Backends/Tesseract/ScreenTextReader.h"

#include <utility>

#include "Backends/Tesseract/LanguageChoice.h"

namespace glimto {

namespace {

// A page of icons reads badly in every language; looking for a better one has an end.
constexpr int mostChoices = 4;
constexpr std::size_t tellingLength = 4; // bytes of text

std::size_t length(const std::vector<RecognizedLine>& lines)
{
    std::size_t sum = 0;
    for (const auto& line : lines)
        sum += line.text.size();
    return sum;
}

// The mean of the lines, each as important as it is long; 0 when there are none.
double confidence(const std::vector<RecognizedLine>& lines)
{
    double sum = 0;
    for (const auto& line : lines)
        sum += static_cast<double>(line.confidence) * static_cast<double>(line.text.size());
    return lines.empty() ? 0 : sum / static_cast<double>(length(lines));
}

} // namespace

ScreenTextReader::ScreenTextReader(std::vector<std::string> installed)
    : installed_(std::move(installed))
    , languages_({installed_.front()})
    , choicesLeft_(mostChoices)
{
}

TextReader& ScreenTextReader::readerFor(const std::vector<std::string>& languages)
{
    auto& reader = readers_[languages];
    if (!reader)
        reader = std::make_unique<TextReader>(languages);
    return *reader;
}

bool ScreenTextReader::mayBeInOtherLanguages(const std::vector<RecognizedLine>& lines) const
{
    return installed_.size() > 1 && choicesLeft_ > 0 && length(lines) >= tellingLength
        && confidence(lines) < sureReading;
}

std::vector<RecognizedLine> ScreenTextReader::read(const TextPicture& picture)
{
    std::vector<RecognizedLine> lines = readerFor(languages_).read(picture);
    if (!mayBeInOtherLanguages(lines))
        return lines;

    --choicesLeft_;
    const TextPicture sample = sampleOf(picture);
    const auto chosen = chooseLanguages(installed_,
        [&](const std::string& language) { return confidence(readerFor({language}).read(sample)); });
    if (chosen == languages_)
        return lines;
    auto others = readerFor(chosen).read(picture);
    if (confidence(others) <= confidence(lines))
        return lines;
    languages_ = chosen;
    return others;
}

} // namespace glimto
