#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace glimto {

// A place in a picture that looks like a line of text.
struct TextObservation {
    std::optional<std::string> topCandidate; // UTF-8; absent when nothing could be made of it
};

class TextRecognitionEngine {
public:
    virtual ~TextRecognitionEngine() = default;

    // Reads the picture in a file, accurately rather than fast, in the languages that the text is in, as
    // far as they are installed. Lines come from top to bottom and from left to right, column by column.
    // Throws PlatformError when the file is no picture that can be read, or no language is installed.
    virtual std::vector<TextObservation> recognizeText(const std::filesystem::path& image) = 0;
};

} // namespace glimto
