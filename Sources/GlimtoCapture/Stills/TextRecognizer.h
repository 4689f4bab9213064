#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include <nlohmann/json.hpp>

#include "Options/TextRecognitionOptions.h"
#include "Platform/TextRecognitionEngine.h"
#include "Support/Errors.h"

namespace glimto {

struct TextRecognitionResult {
    std::string text; // lines separated by "\n"; empty when there is no text
};

// An object with the only key "text". What is not valid UTF-8 becomes U+FFFD.
nlohmann::json toJSON(const TextRecognitionResult& result);

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
