#pragma once

#include <exception>
#include <filesystem>
#include <vector>

#include "Platform/TextRecognitionEngine.h"

namespace glimto {

// Reads the same lines in every picture, or throws.
class FakeTextRecognitionEngine final : public TextRecognitionEngine {
public:
    std::vector<TextObservation> observations;
    std::exception_ptr error; // thrown instead when set
    std::vector<std::filesystem::path> images; // that were read

    std::vector<TextObservation> recognizeText(const std::filesystem::path& image) override
    {
        images.push_back(image);
        if (error)
            std::rethrow_exception(error);
        return observations;
    }
};

} // namespace glimto
