#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

struct Pix;

namespace tesseract {
class TessBaseAPI;
}

namespace glimto {

struct RecognizedLine {
    std::string text; // UTF-8, without line end
    float confidence = 0; // percent; falls to nothing beside white that may be none
    float lettersConfidence = 0; // percent, the mean of the letters'; hardly less than 85 even for noise
    float known = 0; // share of its letters that stand in words of the dictionary
};

// The bytes of letters in `text`, as a measure of how much of it is words.
std::ptrdiff_t lettersIn(const std::string& text);

// Icons, edges and noise read as characters that Tesseract is not sure of, most of all the few ones.
bool looksLikeText(const RecognizedLine& line);

// Tesseract with a language loaded. Nothing that it has to say reaches the standard streams.
class TextReader {
public:
    // `language` as Tesseract names it; it is installed. Throws PlatformError when it cannot be loaded.
    explicit TextReader(const std::string& language);
    ~TextReader();

    // A picture of one line, which may be none.
    RecognizedLine readLine(Pix* picture);

    // The lines of a whole page as Tesseract finds them.
    std::vector<RecognizedLine> readPage(Pix* picture);

private:
    std::vector<RecognizedLine> recognizedLines(Pix* picture, int pageSegmentation);

    std::unique_ptr<tesseract::TessBaseAPI> api_;
};

} // namespace glimto
