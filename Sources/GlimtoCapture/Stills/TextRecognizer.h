#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "Options/Command.h"
#include "Platform/TextRecognitionEngine.h"
#include "Support/Errors.h"
#include "Support/JSONObject.h"

namespace glimto {

struct TextRecognitionResult {
    std::string text; // lines separated by "\n"; empty when there is no text
};

GLIMTO_JSON_OBJECT(TextRecognitionResult, text)

// There is nothing to be read.
class TextRecognizerError : public Error {
public:
    // "recognize-text requires --path <png>."
    static TextRecognizerError missingPath();

    // "No image found at <path>."
    static TextRecognizerError fileNotFound(const std::filesystem::path& path);

    ErrorFacts facts() const override;

private:
    TextRecognizerError(std::int64_t code, const std::string& message);

    std::int64_t code_;
};

// Reads the text in a picture. The engine outlives it.
class TextRecognizer {
public:
    explicit TextRecognizer(TextRecognitionEngine& engine);

    // The lines in the engine's order, without those that are nothing but the watermark of screenshots.
    // Throws TextRecognizerError, PlatformError when the path names something that is no file, and what the
    // engine throws.
    TextRecognitionResult recognize(const TextRecognitionOptions& options);

private:
    TextRecognitionEngine& engine_;
};

} // namespace glimto
