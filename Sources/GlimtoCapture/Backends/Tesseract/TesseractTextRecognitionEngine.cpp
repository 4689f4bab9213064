#include "Backends/Tesseract/TesseractTextRecognitionEngine.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "Backends/Tesseract/TextLanguages.h"
#include "Backends/Tesseract/TextPictures.h"
#include "Backends/Tesseract/TextReader.h"
#include "Platform/ErrorDomains.h"
#include "Platform/ImageFile.h"
#include "Platform/PNGCodec.h"
#include "Support/Errors.h"

namespace glimto {

namespace {

[[noreturn]] void throwUnreadable(const std::string& message)
{
    throw PlatformError(errorDomain::png, 0, message);
}

std::uint32_t bigEndian(const std::byte* bytes)
{
    return std::accumulate(bytes, bytes + 4, std::uint32_t{0}, [](std::uint32_t value, std::byte next) {
        return value << 8 | std::to_integer<std::uint32_t>(next);
    });
}

// Throws PlatformError when the file cannot be read, is no PNG, is damaged, or declares more pixels than
// the codec decodes.
std::shared_ptr<const PixelBuffer> readPicture(const std::filesystem::path& path, PNGCodec& codec)
{
    const auto bytes = readPNGFile(path);
    if (!bytes)
        throwUnreadable("The image at " + path.string() + " is not a PNG.");

    // The header chunk comes first and begins with width and height (ISO/IEC 15948, 11.2.2).
    constexpr std::size_t widthPlace = 16;
    if (bytes->size() >= widthPlace + 8) {
        const std::uint64_t width = bigEndian(bytes->data() + widthPlace);
        const std::uint64_t height = bigEndian(bytes->data() + widthPlace + 4);
        if (width > PNGCodec::largestDecodedSide || height > PNGCodec::largestDecodedSide
            || width * height > PNGCodec::mostDecodedPixels)
            throwUnreadable("The image at " + path.string() + " is too large to be read: "
                + std::to_string(width) + "x" + std::to_string(height) + " pixels.");
    }
    auto picture = codec.decode(*bytes);
    if (!picture || picture->width <= 0 || picture->height <= 0)
        throwUnreadable("The image at " + path.string() + " is damaged or incomplete.");
    return picture;
}

// In percent: a reading this sure is in the right language, no other one has to be tried.
constexpr float sureReading = 95;
// By so much has another language to be better for a row, and for the rows after it.
constexpr float surer = 2;
constexpr float muchSurer = 4;
constexpr float fairlySure = 85;
// Text in another language of a script is read better than that, text in another script worse than that.
constexpr float sameScript = 60;
constexpr float foreignScript = 75;
// Shares of a text that are in the dictionary: that of its language holds so much of it, and so much more
// than that of another one.
constexpr float mostlyKnown = 0.7F;
constexpr float moreKnown = 0.2F;
// Of another script Tesseract reads some letters or other, less sure of each than that.
constexpr float foreignLetters = 97;
constexpr std::size_t tellingLength = 12; // bytes
// Below this the rows may be no rows at all, and lines that are less sure than that are noise.
constexpr float doubtfulPage = 70;
constexpr float noise = 50;
constexpr std::size_t tellingLines = 10;

// A language that was never far better in so many trials is not that of the screen; code and figures read
// badly in every language, so looking for a better one has an end.
constexpr int mostTrials = 3;
constexpr std::size_t mostTrialsOfAll = 40;

// Whether a text is long enough to tell its language, and made of letters, not of figures and signs.
bool isTelling(const std::string& text)
{
    const auto letters = lettersIn(text);
    const auto spaces = std::count(text.begin(), text.end(), ' ');
    return letters >= static_cast<std::ptrdiff_t>(tellingLength)
        && 4 * letters >= 3 * (static_cast<std::ptrdiff_t>(text.size()) - spaces);
}

// How much text was read, and how sure: each byte counts as much as its line is surer than `least`, in
// percent.
double weight(const std::vector<RecognizedLine>& lines, float least)
{
    return std::accumulate(lines.begin(), lines.end(), 0.0, [least](double sum, const RecognizedLine& line) {
        return sum + static_cast<double>(line.confidence - least) * static_cast<double>(line.text.size());
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
    return weight(lines, doubtfulPage) < 0;
}

// What became of the text of a screen.
struct TextCounts {
    std::size_t rows = 0; // found
    std::size_t unreadRows = 0; // in which nothing was recognized that looks like text
    std::size_t graphics = 0; // frames, rules, icons and pictures, which were not read
    std::size_t trials = 0; // readings in further languages
    bool isPlain = false; // the page as Tesseract finds it read better
};

// Reads the text of screens, each row in the language that it is written in.
class ScreenTextReader {
public:
    // `installed` is not empty, the most likely language first.
    explicit ScreenTextReader(const std::vector<std::string>& installed)
    {
        for (const auto& name : installed)
            languages_.push_back({name, scriptOf(name), nullptr});
    }

    // Lines in reading order. Throws PlatformError when a language cannot be loaded.
    std::vector<RecognizedLine> read(Pix* picture)
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
        if (screen && weight(plain, 0) <= weight(lines, 0))
            return lines;
        counts_.isPlain = true;
        return plain;
    }

    // Of the picture that was read last.
    const TextCounts& counts() const { return counts_; }

private:
    struct Language {
        std::string name;
        std::string script;
        std::unique_ptr<TextReader> reader; // null until it is needed
        int trials = 0;
        int wins = 0; // fields that it read far better than those before it
    };

    TextReader& readerOf(Language& language)
    {
        if (!language.reader)
            language.reader = std::make_unique<TextReader>(language.name);
        return *language.reader;
    }

    std::vector<RecognizedLine> readRows(const TextScreen& screen)
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

    RecognizedLine readField(Pix* picture)
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
            if (language.script == best->script
                    ? other.confidence < line.confidence || other.known < line.known + moreKnown
                    : other.lettersConfidence < line.lettersConfidence + surer)
                continue;
            if (other.confidence >= fairlySure
                && (other.known >= mostlyKnown || other.confidence >= line.confidence + muchSurer)) {
                next = index;
                ++language.wins;
                for (Language& each : languages_)
                    each.trials = 0;
            }
            best = &language;
            line = std::move(other);
        }
        if (!looksLikeText(line))
            line = {};
        const auto winner = languages_.begin() + static_cast<std::ptrdiff_t>(next);
        std::rotate(languages_.begin(), winner, winner + 1);
        return line;
    }

    // Of a foreign script only its first language is tried, until that one has read something best.
    bool isWorthATrial(const Language& language, const RecognizedLine& line) const
    {
        if (language.trials >= mostTrials || counts_.trials >= mostTrialsOfAll + counts_.rows / 2)
            return false;
        if (language.script == languages_.front().script)
            return line.confidence >= sameScript && line.confidence < sureReading && line.known < mostlyKnown
                && isTelling(line.text);
        return line.confidence < foreignScript && line.lettersConfidence < foreignLetters
            && line.text.size() >= tellingLength
            && std::none_of(languages_.begin(), languages_.end(), [&](const Language& other) {
                   return &other != &language && other.script == language.script && other.trials > 0
                       && other.wins == 0;
               });
    }

    std::vector<Language> languages_; // that of the field before first
    TextCounts counts_;
};

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
        throw PlatformError(errorDomain::tesseract, 0,
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
    for (auto& line : reader.read(grayPicture(*pixels, mostPixels).get()))
        observations.push_back({std::move(line.text)});
    if (std::getenv(debugVariable))
        describe(reader.counts());
    return observations;
}

} // namespace glimto
