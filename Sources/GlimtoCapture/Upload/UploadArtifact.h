#pragma once

#include <filesystem>
#include <string>
#include <variant>

namespace glimto {

// One object to upload.
struct UploadArtifact {
    // Bytes in memory (the rewritten manifest), or a file that is read while it is sent.
    using Body = std::variant<std::string, std::filesystem::path>;

    Body body;
    std::string key; // the whole object key
    std::string sourceDescription; // what it came from: a local key, or "rewritten manifest.json"
};

} // namespace glimto
