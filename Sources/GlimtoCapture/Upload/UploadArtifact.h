#pragma once

#include <cstdint>
#include <string>
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
    std::int64_t bytes = 0; // when it was listed
};

} // namespace glimto
