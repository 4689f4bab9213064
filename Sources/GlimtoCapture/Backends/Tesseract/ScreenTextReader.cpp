#include "Backends/Tesseract/ScreenTextReader.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

#include "Backends/Tesseract/TextLanguages.h"

namespace glimto {

namespace {

// In percent: a reading this sure is in the right language, no other one has to be tried.
constexpr float sureReading = 93;
// By so much has another language to be better for a row, and for the rows after it.
constexpr float surer = 2;
constexpr float muchSurer = 4;
constexpr float fairlySure = 85;
// Below this the rows may be no rows at all, and lines that are less sure than that are noise.
constexpr double doubtfulPage = 70;
constexpr float noise = 50;
constexpr std::size_t tellingLines = 10;

// A language that was never better in so many trials is not that of the screen; code and figures read badly
// in every language, so looking for a better one has an end.
constexpr int mostTrials = 4;
constexpr std::size_t mostTrialsOfAll = 40;

// Whether a text is long enough to tell its language, and made of letters, not of figures and signs.
bool isTelling(const std::string& text)
{
    constexpr std::ptrdiff_t fewestLetters = 12; // bytes
    const auto letters = std::count_if(text.begin(), text.end(),
        [](unsigned char character) { return character >= 0x80 || std::isalpha(character) != 0; });
    const auto spaces = std::count(text.begin(), text.end(), ' ');
    return letters >= fewestLetters && 4 * letters >= 3 * (static_cast<std::ptrdiff_t>(text.size()) - spaces);
}

// How much text was read, and how sure: each byte counts as much as its line is sure, in percent.
double weight(const std::vector<RecognizedLine>& lines)
{
    return std::accumulate(lines.begin(), lines.end(), 0.0, [](double sum, const RecognizedLine& line) {
        return sum + static_cast<double>(line.confidence) * static_cast<double>(line.text.size());
    });
}

// Adds a field to the line that it stands in; the line is as sure as its fields, by their lengths.
void append(const RecognizedLine& field, RecognizedLine& line)
{
    if (field.text.empty())
        return;
    const auto length = static_cast<float>(field.text.size());
    const auto before = static_cast<float>(line.text.size());
    line.confidence = (line.confidence * before + field.confidence * length) / (before + length);
    line.text += (line.text.empty() ? "" : " ") + field.text;
}

bool isDoubtful(const std::vector<RecognizedLine>& lines)
{
    const auto length = std::accumulate(lines.begin(), lines.end(), std::size_t{0},
        [](std::size_t sum, const RecognizedLine& line) { return sum + line.text.size(); });
    return weight(lines) < doubtfulPage * static_cast<double>(length);
}

} // namespace

ScreenTextReader::ScreenTextReader(const std::vector<std::string>& installed)
{
    for (const auto& name : installed)
        languages_.push_back({name, scriptOf(name), nullptr});
}

TextReader& ScreenTextReader::readerOf(Language& language)
{
    if (!language.reader)
        language.reader = std::make_unique<TextReader>(std::vector{language.name});
    return *language.reader;
}

std::vector<RecognizedLine> ScreenTextReader::read(const GrayPicture& picture)
{
    counts_ = {};
    auto screen = textScreen(picture);
    std::vector<RecognizedLine> lines;
    if (screen) {
        counts_.rows = screen->rows.size();
        counts_.graphics = screen->graphics;
        lines = readRows(*screen);
        if (!isDoubtful(lines))
            return lines;
    }
    auto plain = readerOf(languages_.front()).readPage(plainPicture(picture).get());
    for (auto* reading : {&lines, &plain})
        std::erase_if(*reading, [](const RecognizedLine& line) { return line.confidence < noise; });
    if (screen && weight(plain) <= weight(lines))
        return lines;
    counts_.isPlain = true;
    return plain;
}

std::vector<RecognizedLine> ScreenTextReader::readRows(const TextScreen& screen)
{
    std::vector<RecognizedLine> lines;
    for (const auto& row : screen.rows) {
        RecognizedLine line;
        for (const auto& field : fieldsOf(row))
            append(readField(rowPicture(screen.pixels.get(), field).get()), line);
        if (line.text.empty())
            ++counts_.unreadRows;
        else
            lines.push_back(std::move(line));
        if (lines.size() == tellingLines && isDoubtful(lines))
            break;
    }
    return lines;
}

// Of a foreign script only its first language is tried, until that one has read something best.
bool ScreenTextReader::isWorthATrial(const Language& language, const RecognizedLine& line) const
{
    if (line.confidence >= sureReading || !isTelling(line.text)
        || language.trials >= mostTrials * (1 + language.wins)
        || counts_.trials >= mostTrialsOfAll + counts_.rows / 2)
        return false;
    return language.script == languages_.front().script
        || std::none_of(languages_.begin(), languages_.end(), [&](const Language& other) {
               return &other != &language && other.script == language.script && other.trials > 0
                   && other.wins == 0;
           });
}

RecognizedLine ScreenTextReader::readField(Pix* picture)
{
    RecognizedLine line = readerOf(languages_.front()).readLine(picture);
    Language* best = &languages_.front();
    std::size_t next = 0; // the language to begin the next row with
    for (std::size_t index = 1; index < languages_.size(); ++index) {
        Language& language = languages_[index];
        if (!isWorthATrial(language, line))
            continue;
        ++language.trials;
        ++counts_.trials;
        RecognizedLine other = readerOf(language).readLine(picture);
        if (other.confidence < line.confidence + surer)
            continue;
        if (other.confidence >= fairlySure && other.confidence >= line.confidence + muchSurer)
            next = index;
        best = &language;
        line = std::move(other);
    }
    ++best->wins;
    const auto first = languages_.begin();
    std::rotate(
        first, first + static_cast<std::ptrdiff_t>(next), first + static_cast<std::ptrdiff_t>(next) + 1);
    return line;
}

} // namespace glimto
