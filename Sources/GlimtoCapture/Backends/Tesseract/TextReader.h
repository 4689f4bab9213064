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

    // Lines from top to bottom, fields that stand side by side as one line; what looks like no text is left
    // out. The picture has one column.
    std::vector<RecognizedLine> read(const TextPicture& picture);

private:
    void show(const TextPicture& picture, int pageSegmentation);
    bool isSplitIntoFields();
    std::vector<RecognizedLine> recognizedLines();

    std::unique_ptr<tesseract::TessBaseAPI> api_;
};

} // namespace glimto
