#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <variant>

#include "Support/FileBelow.h"

namespace glimto {

// One object to upload.
struct UploadArtifact {
    // Bytes in memory (the rewritten manifest), or a file that is read while it is sent.
    using Body = std::variant<std::string, FileBelow>;

    Body body;
    std::string key; // the whole object key
    std::string sourceDescription; // what it came from: a local key, or "rewritten manifest.json"

    // 0 for a file whose size cannot be told: who sends it tells why.
    std::int64_t bytes() const
    {
        if (const auto* text = std::get_if<std::string>(&body))
            return static_cast<std::int64_t>(text->size());
        std::error_code error;
        const auto size = std::filesystem::file_size(std::get<FileBelow>(body).path(), error);
        return error ? 0 : static_cast<std::int64_t>(size);
    }
};

} // namespace glimto
