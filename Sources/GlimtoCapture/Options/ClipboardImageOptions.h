#pragma once

#include <filesystem>
#include <optional>

namespace glimto {

struct ClipboardImageOptions {
    std::optional<std::filesystem::path> pathURL;
};

} // namespace glimto
