#pragma once

#include <filesystem>
#include <optional>

namespace glimto {

struct TextRecognitionOptions {
    std::optional<std::filesystem::path> pathURL;
};

} // namespace glimto
