#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Backends/Tesseract/TextPictures.h"

namespace tesseract {
class TessBaseAPI;
}

namespace glimto {

struct RecognizedLine {
    std::string text; // UTF-8, without line end
    float confidence = 0; // percent
};

// Tesseract with languages loaded. Nothing that it or its libraries have to say reaches the standard
// streams.
class TextReader {
public:
    // `languages` as Tesseract names them, the most likely one first; all are installed. Throws
    // PlatformError when they cannot be loaded.
    explicit TextReader(const std::vector<std::string>& languages);
    ~TextReader();

    // Lines from top to bottom, column by column; what looks like no text is left out.
    std::vector<RecognizedLine> read(const TextPicture& picture);

private:
    std::vector<RecognizedLine> readAs(const TextPicture& picture, int pageSegmentation);

    std::unique_ptr<tesseract::TessBaseAPI> api_;
};

} // namespace glimto
