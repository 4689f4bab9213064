#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Backends/Tesseract/TextPictures.h"
#include "Backends/Tesseract/TextReader.h"

namespace glimto {

// Reads the text pictures of one screen, each in the languages that it is written in.
class ScreenTextReader {
public:
    // `installed` is not empty, the most likely language first.
    explicit ScreenTextReader(std::vector<std::string> installed);

    // Throws PlatformError when a language cannot be loaded.
    std::vector<RecognizedLine> read(const TextPicture& picture);

private:
    TextReader& readerFor(const std::vector<std::string>& languages);
    bool mayBeInOtherLanguages(const std::vector<RecognizedLine>& lines) const;

    std::vector<std::string> installed_;
    std::vector<std::string> languages_; // those of the picture before
    std::map<std::vector<std::string>, std::unique_ptr<TextReader>> readers_;
    int choicesLeft_;
};

} // namespace glimto
