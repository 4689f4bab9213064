#pragma once

#include <filesystem>
#include <optional>

#include "Platform/ProcessEnvironment.h"
#include "Platform/TextDrawing.h"

namespace glimto {

// Watermarks that were set before, in the user's directory for caches. To draw one again takes no font, and
// none of the libraries that read fonts, whose loading costs as much as the rest of a screenshot.
//
// One is found again only while all that it was set from is as it was: each file has the same inode, size and
// time of its last change or is still missing, each variable of the environment has the same value.
class WatermarkCache {
public:
    // `process` outlives this object. Without a directory for caches nothing is kept.
    explicit WatermarkCache(const ProcessEnvironment& process);

    // Font sizes are whole pixels. Neither throws: what cannot be read or written is not kept.
    std::optional<TextLine> find(double fontSize) const noexcept;
    void keep(double fontSize, const TextLine& line) const noexcept;

private:
    std::filesystem::path fileOf(double fontSize) const;

    const ProcessEnvironment& process_;
    std::filesystem::path directory_; // may be empty
};

} // namespace glimto
