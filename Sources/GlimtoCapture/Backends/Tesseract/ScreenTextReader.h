#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Backends/Tesseract/GrayPicture.h"
#include "Backends/Tesseract/TextPictures.h"
#include "Backends/Tesseract/TextReader.h"

namespace glimto {

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
    explicit ScreenTextReader(const std::vector<std::string>& installed);

    // Lines in reading order. Throws PlatformError when a language cannot be loaded.
    std::vector<RecognizedLine> read(const GrayPicture& picture);

    // Of the picture that was read last.
    const TextCounts& counts() const { return counts_; }

private:
    struct Language {
        std::string name;
        std::string script;
        std::unique_ptr<TextReader> reader; // null until it is needed
        int trials = 0;
        int wins = 0; // fields that it read best
    };

    TextReader& readerOf(Language& language);
    std::vector<RecognizedLine> readRows(const TextScreen& screen);
    RecognizedLine readField(Pix* picture);
    bool isWorthATrial(const Language& language, const RecognizedLine& line) const;

    std::vector<Language> languages_; // that of the field before first
    TextCounts counts_;
};

} // namespace glimto
